#include "bridge/bridge_template.h"

#include "json/cairnjson.h"
#include "quilby/host.h"

#include <iterator>
#include <optional>
#include <string>
#include <string_view>

namespace {

enum class Method { Get, Put, Post, Delete };

// Byte by byte, ASCII letters only, as the methods are named.
bool equalsIgnoringCase(std::string_view text, std::string_view lowerCaseWord) {
  if (text.size() != lowerCaseWord.size()) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    char c = text[i];
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    if (c != lowerCaseWord[i]) return false;
  }
  return true;
}

// The request's "method" in its text form picks the handler; anything else means GET.
Method methodOf(const BridgeData& data) {
  const std::optional<cairnjson::Member>& method = data.method();
  if (!method) return Method::Get;
  if (equalsIgnoringCase(method->text(), "put")) return Method::Put;
  if (equalsIgnoringCase(method->text(), "post")) return Method::Post;
  if (equalsIgnoringCase(method->text(), "delete")) return Method::Delete;
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

// Appends `value` as compact JSON; false at a NaN or an infinity.
bool appendJson(std::string& text, const cairnjson::Value& value) {
  auto out = std::back_inserter(text);
  return cairnjson::Serializer::serialize(out, value, cairnjson::Serializer::Attributes{}, -1,
                                          nullptr);
}

}  // namespace

BridgeResult BridgeTemplate::execute(const char* request, const char* parameters,
                                     const char* query, const char* data) {
  const BridgeData bridgeData(request, parameters, query, data);
  BridgeResult result;
  try {
    onBeginBridge(bridgeData);
    switch (methodOf(bridgeData)) {
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
  // The answer's text is written before the request is logged, because a number JSON has no
  // text for (a NaN from a degenerate measurement, say) makes the answer an UnknownError, and the
  // log records what is answered.
  if (!BridgeEnvelopeText(result, envelope_)) {
    result = unknownError();
    if (!BridgeEnvelopeText(result, envelope_)) envelope_.clear();
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
  text.clear();
  text.append(R"({"error":)");
  bool written = true;
  const BridgeError& error = result.error;
  if (error.name.empty() && error.message.empty() && error.value.size() == 0) {
    text.append("null");
  } else {
    // The extra members, then the kind and the message over any of the same names.
    cairnjson::Value errorObject = error.value;
    errorObject["name"].setString(error.name);
    errorObject["message"].setString(error.message);
    written = appendJson(text, errorObject);
  }
  text.append(R"(,"value":)");
  written = written && appendJson(text, result.value);
  text.push_back('}');
  return written;
}

int BridgeTemplate::operator()(const char* request, const char* parameters, const char* query,
                               const char* data) noexcept {
  const int promiseId = BridgeHelperCreatePromiseID();
  int status = static_cast<int>(BridgeStatusCode::InternalServerError);
  const char* answer = kUnknownErrorEnvelope;
  try {
    // One buffer for the answer's text, reserved at a size most answers fit.
    envelope_.reserve(kEnvelopeReserve);
    const BridgeResult result = execute(request, parameters, query, data);
    if (!envelope_.empty()) {
      status = static_cast<int>(result.code);
      answer = envelope_.c_str();
    }
  } catch (...) {
    // Out of memory while answering: the fixed answer above still goes out.
  }
  BridgeHelperSetResponse(promiseId, status, answer);
  return promiseId;
}
