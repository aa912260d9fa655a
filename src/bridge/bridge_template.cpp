#include "bridge/bridge_template.h"

#include "json/cairnjson.h"
#include "quilby/host.h"

#include <string>

namespace {

// One argument as a JSON value: null when empty or not JSON. Text after the value is ignored.
cairnjson::Value parseArgument(const std::string& text) {
  cairnjson::ParseOption option;
  option.flags = cairnjson::ParseOption::kAllowTrailingText;
  cairnjson::Parser parser;
  cairnjson::Value value;
  if (text.empty() || !parser.parse(text, value, option)) return cairnjson::Value();
  return value;
}

std::string lowerCase(std::string text) {
  for (char& c : text) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return text;
}

enum class Method { Get, Put, Post, Delete };

Method methodOf(const cairnjson::Value& request) {
  if (!request.isObject() || !request.contains("method")) return Method::Get;
  const std::string method = lowerCase(request["method"].toString(std::string()));
  if (method == "put") return Method::Put;
  if (method == "post") return Method::Post;
  if (method == "delete") return Method::Delete;
  return Method::Get;
}

BridgeResultError refuse(const char* method) {
  return BridgeResultError(BridgeStatusCode::MethodNotAllowed, "MethodError",
                           std::string(method) + " method is not allowed.");
}

// The answer used when even building the real one failed (out of memory, say).
constexpr const char* kUnknownErrorEnvelope =
    R"({"error":{"message":"Unknown error occurred.","name":"UnknownError"},"value":null})";

BridgeResultError unknownError() {
  return BridgeResultError(BridgeStatusCode::InternalServerError, "UnknownError",
                           "Unknown error occurred.");
}

}  // namespace

BridgeResult BridgeTemplate::execute(const char* request, const char* parameters,
                                     const char* query, const char* data) {
  BridgeData bridgeData;
  bridgeData.request = parseArgument(request ? request : "");
  bridgeData.parameters = parseArgument(parameters ? parameters : "");
  bridgeData.query = parseArgument(query ? query : "");
  const std::string body = data ? data : "";
  bridgeData.data = parseArgument(body);
  // A body that is not JSON reaches the handler as the text it is.
  if (bridgeData.data.isNull() && !body.empty()) bridgeData.data.setString(body);

  BridgeResult result;
  try {
    onBeginBridge(bridgeData);
    switch (methodOf(bridgeData.request)) {
      case Method::Get: result = Get(bridgeData); break;
      case Method::Put: result = Put(bridgeData); break;
      case Method::Post: result = Post(bridgeData); break;
      case Method::Delete: result = Delete(bridgeData); break;
    }
  } catch (const BridgeResultError& error) {
    result = error;
  } catch (...) {
    result = unknownError();
  }
  // A number JSON has no text for (a NaN from a degenerate measurement, say) cannot be answered.
  if (cairnjson::holdsNonFiniteNumber(result.value) ||
      cairnjson::holdsNonFiniteNumber(result.error.value)) {
    result = unknownError();
  }
  try {
    onEndBridge(bridgeData, result);
  } catch (...) {
    // The request has its answer; a failure while recording it must not replace that answer.
  }
  return result;
}

void BridgeTemplate::onBeginBridge(const BridgeData&) {}

void BridgeTemplate::onEndBridge(const BridgeData&, const BridgeResult&) {}

BridgeResult BridgeTemplate::Get(const BridgeData&) { throw refuse("GET"); }
BridgeResult BridgeTemplate::Put(const BridgeData&) { throw refuse("PUT"); }
BridgeResult BridgeTemplate::Post(const BridgeData&) { throw refuse("POST"); }
BridgeResult BridgeTemplate::Delete(const BridgeData&) { throw refuse("DELETE"); }

bool BridgeEnvelopeText(const BridgeResult& result, std::string& text) {
  cairnjson::Value envelope(cairnjson::Type::Object);
  const BridgeError& error = result.error;
  if (error.name.empty() && error.message.empty() && error.value.size() == 0) {
    envelope["error"];
  } else {
    cairnjson::Value& errorObject = envelope["error"];
    errorObject = error.value;
    errorObject["name"].setString(error.name);
    errorObject["message"].setString(error.message);
  }
  envelope["value"] = result.value;
  text.clear();
  return cairnjson::Serializer::compact(envelope, text);
}

int BridgeTemplate::operator()(const char* request, const char* parameters, const char* query,
                               const char* data) noexcept {
  const int promiseId = BridgeHelperCreatePromiseID();
  int status = static_cast<int>(BridgeStatusCode::InternalServerError);
  const char* answer = kUnknownErrorEnvelope;
  std::string text;
  try {
    const BridgeResult result = execute(request, parameters, query, data);
    if (BridgeEnvelopeText(result, text)) {
      status = static_cast<int>(result.code);
      answer = text.c_str();
    }
  } catch (...) {
    // Out of memory while answering: the fixed answer above still goes out.
  }
  BridgeHelperSetResponse(promiseId, status, answer);
  return promiseId;
}
