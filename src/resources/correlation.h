// Correlation of a sensor with a reference instrument: the stored correlation corrections, the
// nine-point correction of an arm sensor, the criterion sensor description of a built-in sensor
// and the correlation records held in a built-in sensor.
//
// Every handler first resolves the sensor from the "id" path parameter under its resource word:
// 400 "URI is invalid." for a missing or empty id, 404 "Not found." for an unknown one, before any
// other check. A failing library status ends the request with the library-status error (500
// "EmError", with "code" and "reason") under the step text given below; state the library changed
// before that stays changed. Query keys are tested for presence only, never for their value.
#ifndef QUILBY_RESOURCES_CORRELATION_H
#define QUILBY_RESOURCES_CORRELATION_H

#include "bridge/bridge.h"
#include "quilby/device_types.h"

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

// Sensors/{id}/Correlation/9Points: clears the nine-point correlation correction of an arm
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
//    "referenceSensor": {"deviceID": 48, "serial": "QS20-240117"}}
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

// Sensors/{id}/Correlation/Data: the correlation records held in a monitor's built-in sensor,
// in its user data set: the CSSG2 records (calibration, correction, luminance level) and the
// IFSv3 records (reference, reference tone, normalized measurement, tone correction). Each record
// travels in the JSON form of calibration/correlation_json.h, under the key that names it in
// MDCSSG2CorrelationDataEx or MDIFSv3CorrelationData:
//   "calibrationData"           MDCSSG2CalibrationData
//   "correctionData"            MDCSSG2CorrectionData
//   "luminanceLevelCorrection"  MDCSSG2LuminanceLevelCorrectionParams
//   "normalizedMeasurement"     R2XC_ValueRGBK
//   "reference"                 R2XC_RefParam
//   "referenceTone"             R2XC_RefToneParam
//   "toneCorrection"            R2XC_ToneCorrectionParam
// So an answer of Get compares as it stands with MDCSSG2CorrelationDataExEquals and
// MDIFSv3CorrelationDataEquals.
//
// Both methods need the monitor's HID handle (a sensor without one fails with the library-status
// error 0x80000000 under "Get HID handle.") and select the user data set
// (ApplyBuiltinSensorDataIndex, flag false, with its failures) before the records are touched.
// The colour-sensor calls of one request run inside one stay in the monitor's critical section,
// which is always left before the answer.
class SensorCorrelationData : public vesk::Bridge {
 public:
  // Answers an object with all seven records; "luminanceLevelCorrection" only when
  // CSSG2H_SupportedLuminanceLevelCorrectionParams says the sensor has it. Steps, in the order the
  // records are read: "Get color sensor calib data.", "Get color sensor correction data.",
  // "Get luminance level correction params.", "Get normalized measurement value.",
  // "Get ref param.", "Get ref tone param.", "Get tone correction param.".
  BridgeResult Get(const BridgeData& data) override;

  // Writes each record the body names and leaves the others alone. The body must be an object
  // (else 400 "data must be object."), every record key in it must hold an object (else 400
  // "<key> must be object.", e.g. "reference must be object.") and it must name at least one
  // record (else 400 "data must have calibrationData, correctionData, luminanceLevelCorrection,
  // normalizedMeasurement, reference, referenceTone or toneCorrection."); other keys are ignored.
  // These checks run before any library call, right after the sensor is resolved. The records
  // themselves are read leniently (missing members are 0).
  //
  // The records are written in the order of the table above, with the steps "Set color sensor
  // calib data.", "Set color sensor correction data.", "Set luminance level correction params.",
  // "Set normalized measurement value.", "Set ref param.", "Set ref tone param.",
  // "Set tone correction param.". With the "send" query the calibration and correction records
  // go to the sensor through the Send functions instead ("Send color sensor calib data.",
  // "Send color sensor correction data."); the others have no Send form. The first failure ends
  // the request; the records written before it stay written. A luminance-level record for a
  // sensor without luminance-level correction is the library's to refuse. Answers null.
  BridgeResult Put(const BridgeData& data) override;
};

// The CSSG2 correlation record of the selected data set of the built-in sensor of the monitor
// with HID handle `hid`: calibration ("Get color sensor calib data.") and correction ("Get color
// sensor correction data.") data, and the luminance-level parameters ("Get luminance level
// correction params.") when CSSG2H_SupportedLuminanceLevelCorrectionParams says the sensor has
// them; otherwise they stay zero and `*hasLuminanceLevelCorrection` (which may be null) is false.
// A failing status throws the library-status error under its step; a missing library or function
// throws its 404.
// REQUIRES: the data set is selected (ApplyBuiltinSensorDataIndex) and the caller holds the
// monitor's MonitorLock (this function takes none, so that one stay covers several reads).
MDCSSG2CorrelationDataEx ReadColorSensorCorrelationDataEx(void* hid,
                                                          bool* hasLuminanceLevelCorrection);

// The IFSv3 correlation record of the same data set: reference ("Get ref param."), reference
// tone ("Get ref tone param."), normalized measurement ("Get normalized measurement value.") and
// tone correction ("Get tone correction param."). Failures and requirements as above.
MDIFSv3CorrelationData ReadColorSensorIFSv3CorrelationData(void* hid);

// The id of a stored correction or matrix from a JSON value: an integer below 1 gives 0; a
// floating number is rounded half away from zero and gives 0 when negative, above 2^63 or NaN;
// a boolean gives 0 or 1; a string that is wholly an integer literal (as Value::toLLong reads
// it) gives its value, or 0 when negative; every other kind gives 0. Examples: 2.5 gives 3, -4
// gives 0, 7 gives 7.
[[nodiscard]] std::uint64_t CorrelationIdFromJson(const cairnjson::Value& value);

}  // namespace vesk::bridge

#endif  // QUILBY_RESOURCES_CORRELATION_H
