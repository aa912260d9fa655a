// Correlation of a sensor with a reference instrument: the stored correlation corrections, the
// nine-point correction of a swing sensor, the criterion sensor description of a built-in sensor
// and the correlation data.
//
// Every handler first resolves the sensor from the "id" path parameter under its resource word:
// 400 "URI is invalid." for a missing or empty id, 404 "Not found." for an unknown one, before any
// other check. A failing library status ends the request with the library-status error (500
// "EmError", with "code" and "reason") under the step text given below; state the library changed
// before that stays changed. Query keys are tested for presence only, never for their value.
#ifndef QUILBY_RESOURCES_CORRELATION_H
#define QUILBY_RESOURCES_CORRELATION_H

#include "bridge/bridge.h"

#include <cstdint>

namespace vesk::bridge {

// Sensors/{id}/Correlation: the measurement library's stored correlation corrections. Takes no
// lock; works on any opened sensor.
class SensorCorrelation : public vesk::Bridge {
 public:
  // Needs the "available" query (else 400 "requires 'available' query."). Answers the corrections
  // listed for the sensor, in the library's order, as
  //   [{"id": n, "monitor": {"product": s, "serial": s},
  //     "referenceSensor": {"deviceID": n, "serial": s}}, ...]
  // ([] when there are none). The status that ends the listing is never reported.
  BridgeResult Get(const BridgeData& data) override;

  // Applies the correction whose id is the body's "id", a JSON number (else 400 "data must have
  // id."), converted by CorrelationIdFromJson. With "type" "recalc", the body's "targetWhite"
  // must be an object (else 400 "data must have targetWhite.") whose "x", "y" and "Y" are all
  // numbers (else 400 "targetWhite must have x, y, Y."); the correction is then applied with the
  // luminance level recalculated for that white, step "Apply correlation correction with recalc
  // luminance level correction.". Any other "type", or none, applies it plainly, step "Apply
  // correlation correction.". Answers null.
  BridgeResult Put(const BridgeData& data) override;

  // With the "swingSensor" query clears the nine-point correction (as SensorCorrelation9Points
  // does), otherwise releases the applied correction, step "Release correlation correction.".
  // Answers null.
  BridgeResult Delete(const BridgeData& data) override;
};

// Sensors/{id}/Correlation/9Points: clears the nine-point correlation correction of a swing
// sensor, step "Clear 9 points correlation correction.". Answers null. Takes no lock.
class SensorCorrelation9Points : public vesk::Bridge {
 public:
  BridgeResult Delete(const BridgeData& data) override;
};

// Sensors/{id}/Correlation/Description: the description of the reference ("criterion") sensor a
// monitor's built-in sensor was correlated to, in the sensor's user data set.
//
// Every method first needs the monitor's HID handle (a sensor without one fails with the
// library-status error 0x80000000 under "Get HID handle.") and then selects the user data set
// (see ApplyBuiltinSensorDataIndex, flag false, with its failures). The colour-sensor call runs
// inside the monitor's critical section, which is always left before the answer.
//
// The JSON form of a description:
//   {"date": {"dateString": "2024-03-07 09:05:00", "day": 7, "hour": 9, "minute": 5,
//             "month": 3, "year": 2024},
//    "referenceSensor": {"deviceID": 48, "serial": "S5-240117"}}
class SensorCorrelationDescription : public vesk::Bridge {
 public:
  // The stored description, or null when it is absent (date, time and device id all 0 and the
  // serial empty). Step "Get criterion sensor descripction.".
  BridgeResult Get(const BridgeData& data) override;

  // Stores the body's description. Never refuses the body: the date is read leniently
  // (DateTimeFromJson: an object of numbers or a date text; seconds are dropped), a device id
  // that is not a 32-bit integer (after rounding a floating number) reads as 0, and only the
  // first 32 bytes of the serial's text are kept. Step "Set criterion sensor descripction.".
  // Answers null.
  BridgeResult Put(const BridgeData& data) override;

  // Stores the absent description (everything zero, empty serial), as Put of a null body does.
  // Answers null.
  BridgeResult Delete(const BridgeData& data) override;
};

// Sensors/{id}/Correlation/Data: not implemented yet; every method answers 405 "MethodError".
class SensorCorrelationData : public vesk::Bridge {};

// The id of a stored correction or matrix from a JSON value: an integer below 1 gives 0; a
// floating number is rounded half away from zero and gives 0 when negative, above 2^63 or NaN;
// a boolean gives 0 or 1; a string that is wholly an integer literal (as Value::toLLong reads
// it) gives its value, or 0 when negative; every other kind gives 0. Examples: 2.5 gives 3, -4
// gives 0, 7 gives 7.
std::uint64_t CorrelationIdFromJson(const cairnjson::Value& value);

}  // namespace vesk::bridge

#endif  // QUILBY_RESOURCES_CORRELATION_H
