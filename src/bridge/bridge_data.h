// BridgeData: one request as the handlers see it.
#ifndef QUILBY_BRIDGE_BRIDGE_DATA_H
#define QUILBY_BRIDGE_BRIDGE_DATA_H

#include "json/value.h"

// The four texts of an entry point's call, parsed. A text that is empty or not JSON gives null,
// except the body: a body that is not JSON arrives as a string holding its text.
struct BridgeData {
  // The call's description; its "method" selects the handler.
  cairnjson::Value request;
  // The path parameters; "id" names an opened sensor.
  cairnjson::Value parameters;
  // The query keys; handlers test keys for presence only.
  cairnjson::Value query;
  // The body.
  cairnjson::Value data;
};

#endif  // QUILBY_BRIDGE_BRIDGE_DATA_H
