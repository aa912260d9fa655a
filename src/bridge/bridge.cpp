#include "bridge/bridge.h"

#include "bridge/logger.h"

namespace vesk {

namespace {

std::string upperCase(std::string text) {
  for (char& c : text) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return text;
}

}  // namespace

Bridge::Bridge() : uri_(kBridgeRootPrefix) {}

void Bridge::onEndBridge(const BridgeData& data, const BridgeResult& result) {
  const std::string method = upperCase(data.request["method"].toString("GET"));
  QuilbyLogger::Instance().logResult(method, uri_, result);
}

}  // namespace vesk
