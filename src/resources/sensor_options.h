// Further settings of an opened sensor: exterior light, parameter description, corrections,
// target marker, device options, and the temperature and brightness correction of built-in
// sensors. They follow the conventions of the other per-sensor resources: the sensor is resolved
// first (400 "URI is invalid.", 404 "Not found."); a query key is tested for presence only; a
// malformed body is refused with a fixed sentence before the library is asked; a failing library
// status is reported with the step's operation text.
#ifndef QUILBY_RESOURCES_SENSOR_OPTIONS_H
#define QUILBY_RESOURCES_SENSOR_OPTIONS_H

#include "bridge/bridge.h"

namespace vesk::bridge {

// Sensors/{id}/ExteriorLight.
//   GET ?supports: boolean, MDHasExteriorLight. GET: boolean, the light is on
//   ("Get exterior lighting state."). PUT boolean: switches it ("Set exterior lighting state.").
class SensorExteriorLight : public vesk::Bridge {
 public:
  BridgeResult Get(const BridgeData& data) override;
  BridgeResult Put(const BridgeData& data) override;
};

// Sensors/{id}/ParameterDescription.
//   GET: string ("Get parameter description."). PUT string of at most 255 bytes ("Set parameter
//   description."); "data must be string." / "data must be 255 bytes or less." otherwise.
class SensorParameterDescription : public vesk::Bridge {
 public:
  BridgeResult Get(const BridgeData& data) override;
  BridgeResult Put(const BridgeData& data) override;
};

// Sensors/{id}/Correction: the user's 3x3 correction of measured XYZ.
//   PUT [[3 numbers] x 3] ("Set correction."); "data must be 3x3 matrix." otherwise.
//   DELETE: removes it ("Clear correction.").
class SensorCorrection : public vesk::Bridge {
 public:
  BridgeResult Put(const BridgeData& data) override;
  BridgeResult Delete(const BridgeData& data) override;
};

// Sensors/{id}/ExCorrection: the extra 3x3 correction.
//   GET: [[3 numbers] x 3] ("Get extra correction."). PUT the same ("Set extra correction.").
class SensorExCorrection : public vesk::Bridge {
 public:
  BridgeResult Get(const BridgeData& data) override;
  BridgeResult Put(const BridgeData& data) override;
};

// Sensors/{id}/TargetMarker.
//   GET ?supports: boolean, MDHasTargetMarker. GET: boolean, the marker is on ("Get target
//   marker."). PUT boolean ("Set target marker.").
class SensorTargetMarker : public vesk::Bridge {
 public:
  BridgeResult Get(const BridgeData& data) override;
  BridgeResult Put(const BridgeData& data) override;
};

// Sensors/{id}/IFSTempCorrectParam.
//   POST: recalculates the built-in sensor's temperature correction ("Calculate IFS temperature
//   correction parameter.").
class SensorIFSTempCorrectParam : public vesk::Bridge {
 public:
  BridgeResult Post(const BridgeData& data) override;
};

// Sensors/{id}/IFSBrightCorrectParamUpdate: whether the brightness correction follows changes.
//   GET: boolean ("Get IFS bright correct param update enabled."). PUT boolean ("Set IFS bright
//   correct param update enabled.").
class SensorIFSBrightCorrectParamUpdate : public vesk::Bridge {
 public:
  BridgeResult Get(const BridgeData& data) override;
  BridgeResult Put(const BridgeData& data) override;
};

// Sensors/{id}/DeviceOption: the device's numbered option values.
//   GET ?option=N: integer ("Get device option value."); "requires 'option' query." without the
//   key, "option must be number." when it is not an unsigned 32-bit number (as a number or as
//   text). PUT {"option": number, "value": number} ("Set device option value."); "data requires
//   'option'." / "data requires 'value'." otherwise. The value is a signed 32-bit number.
class SensorDeviceOption : public vesk::Bridge {
 public:
  BridgeResult Get(const BridgeData& data) override;
  BridgeResult Put(const BridgeData& data) override;
};

}  // namespace vesk::bridge

#endif  // QUILBY_RESOURCES_SENSOR_OPTIONS_H
