#include "bridge/bridge_result.h"

BridgeResultOK::BridgeResultOK(const cairnjson::Value& value) { this->value = value; }

BridgeResultError::BridgeResultError(const BridgeStatusCode& code, const std::string& kind,
                                     const std::string& message) {
  this->code = code;
  error.name = kind;
  error.message = message;
}

void BridgeCheckRequestCondition(bool condition, const std::string& message) {
  if (!condition) throw BridgeResultError(BridgeStatusCode::BadRequest, "BadRequestError", message);
}
