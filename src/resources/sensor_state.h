// An opened sensor's identity and capabilities, closing, mode, calibration, arm and position.
//
// The sensor is named by the "id" path parameter: a missing or empty id answers 400
// "BadRequestError" "URI is invalid." and an id the sensor cache does not know 404 "Error"
// "Not found.", before any query or body check. A query key is tested for presence only (any
// value, even false or null, counts; a query that is not an object holds no key). Truth values in
// answers are JSON booleans, codes JSON integers. A failing library status ends the request with
// the library-status error (500 "EmError") under the handler's step text and leaves the sensor
// open. Methods not listed answer 405.
#ifndef QUILBY_RESOURCES_SENSOR_STATE_H
#define QUILBY_RESOURCES_SENSOR_STATE_H

#include "bridge/bridge.h"

namespace vesk::bridge {

// Sensors/{id}
class Sensor : public vesk::Bridge {
 public:
  // With the query key "connection": whether the connection is valid (boolean). Otherwise the
  // identity and capabilities: {"deviceID", "name", "serial", "needsCalibration",
  // "supportsAmbient", "supportsReflectance", "hasArm", "hasMultipleSensorPosition",
  // "hasTargetMarker" (only when the measurement library offers MDHasTargetMarker), "spectrum"
  // ({"min", "max", "bandWidth", "count"}, only when the library reports a non-zero band count)}.
  BridgeResult Get(const BridgeData& data) override;
  // Forgets the id, then closes the sensor; answers null. A close failure is not reported.
  BridgeResult Delete(const BridgeData& data) override;
};

// Sensors/{id}/Mode
class SensorMode : public vesk::Bridge {
 public:
  // Requires the query key "supports" (400 "requires 'supports' query."); answers the modes the
  // sensor can measure besides display, {"ambient": bool, "reflectance": bool}. The mode that is
  // set cannot be read.
  BridgeResult Get(const BridgeData& data) override;
  // Body {"mode": number, "observerKey": number}, the measurement library's own codes passed
  // through unchecked (floating numbers rounded half away from zero, then taken as unsigned
  // 32-bit). 400 "data requires 'mode'." / "data requires 'observerKey'." when either is absent or
  // not a number (a numeric string is not a number). Step text "Set sensor mode."; answers null.
  BridgeResult Put(const BridgeData& data) override;
};

// Sensors/{id}/Calibration
class SensorCalibration : public vesk::Bridge {
 public:
  // Requires the query key "needs" (400 "requires 'needs' query."); answers whether the sensor
  // must be calibrated before it measures (boolean).
  BridgeResult Get(const BridgeData& data) override;
  // Calibrates; the body is not read. Step text "Calibrate sensor."; answers null.
  BridgeResult Put(const BridgeData& data) override;
};

// Sensors/{id}/Arm
class SensorArm : public vesk::Bridge {
 public:
  // Requires the query key "supports" (400 "requires 'supports' query."); answers whether the
  // sensor has a motorised arm (boolean).
  BridgeResult Get(const BridgeData& data) override;
  // Body true takes the arm out (step text "Open sensor arm."), false takes it in ("Close sensor
  // arm."); any other body, 1 and "true" included, is 400 "data must be boolean.". Answers null.
  BridgeResult Put(const BridgeData& data) override;
};

// Sensors/{id}/Position
class SensorPosition : public vesk::Bridge {
 public:
  // With the query key "supports": whether the sensor has several positions (boolean). Otherwise
  // the current position code (integer, step text "Get sensor position.").
  BridgeResult Get(const BridgeData& data) override;
};

}  // namespace vesk::bridge

#endif  // QUILBY_RESOURCES_SENSOR_STATE_H
