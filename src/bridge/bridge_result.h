// The outcome of one request: a status code, an error record and a JSON value.
//
// Handlers return BridgeResultOK and throw BridgeResultError; the dispatcher (BridgeTemplate) is
// the one place where a thrown error becomes the answer delivered to the host.
#ifndef QUILBY_BRIDGE_BRIDGE_RESULT_H
#define QUILBY_BRIDGE_BRIDGE_RESULT_H

#include "json/value.h"

#include <string>

// HTTP-like status of an answer. Other codes may be carried by casting.
enum class BridgeStatusCode : int {
  OK = 200,
  BadRequest = 400,
  NotFound = 404,
  MethodNotAllowed = 405,
  InternalServerError = 500,
};

// What went wrong: the kind ("BadRequestError", "MethodError", "EmError", "UnknownError", ...),
// a human-readable message, and extra members of the error object (null unless the error adds
// some, such as "code" and "reason"). All empty on success.
struct BridgeError {
  std::string name;
  std::string message;
  cairnjson::Value value;
};

struct BridgeResult {
  BridgeStatusCode code = BridgeStatusCode::OK;
  BridgeError error;
  // The answer's payload; null when there is none.
  cairnjson::Value value;
};

// Success: status 200 with `value` as the payload; without one, the payload is null.
struct BridgeResultOK : BridgeResult {
  BridgeResultOK() : BridgeResultOK(cairnjson::Value()) {}
  explicit BridgeResultOK(const cairnjson::Value& value);
};

// Failure, thrown by value from handlers: status `code`, error kind `kind`, `message`; the payload
// and the extra error members start null.
struct BridgeResultError : BridgeResult {
  BridgeResultError(const BridgeStatusCode& code, const std::string& kind,
                    const std::string& message);
};

// Returns when `condition` holds; otherwise throws BridgeResultError(400, "BadRequestError",
// message). The messages are the resources' fixed sentences, e.g. "data must be boolean.".
void BridgeCheckRequestCondition(bool condition, const std::string& message);

#endif  // QUILBY_BRIDGE_BRIDGE_RESULT_H
