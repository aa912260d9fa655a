#include "bridge/bridge.h"

#include "bridge/logger.h"

#include <optional>
#include <string>

namespace vesk {

namespace {

// The request's "method" as text, upper-cased; GET when it is missing, null or not a scalar.
std::string loggedMethod(const BridgeData& data) {
  const std::optional<cairnjson::Member>& method = data.method();
  if (!method || method->type() == cairnjson::Type::Null ||
      method->type() == cairnjson::Type::Object || method->type() == cairnjson::Type::Array) {
    return "GET";
  }
  std::string text(method->text());
  for (char& c : text) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return text;
}

}  // namespace

Bridge::Bridge() : uri_(kBridgeRootPrefix) {
  // Room for the longest usual path ("Sensors/" + a 36-character id + a resource word), so that
  // handlers extend it without growing it.
  uri_.reserve(kUriReserve);
}

void Bridge::onEndBridge(const BridgeData& data, const BridgeResult& result) {
  QuilbyLogger::Instance().logResult(loggedMethod(data), uri_, result);
}

}  // namespace vesk
