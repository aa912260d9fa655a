// The correction library's databases as seen from a monitor's built-in sensor: the stored
// correlation records made on that monitor, and the stored correlation matrices of its product
// and panel revision. Both resources list what is stored and store the sensor's current data.
//
// Every handler first resolves the sensor from the "id" path parameter under its resource word
// (400 "URI is invalid.", 404 "Not found."), then checks the query and the body (400 with the
// fixed sentences below, before any library call), then needs the monitor's HID handle: a sensor
// without one fails with the library-status error 0x80000000 under "Get HID handle.", and a HID
// handle that no monitor has fails with 404 "Error" "HID handle is not found.". A failing library
// status ends the request with the library-status error (500 "EmError", with "code" and
// "reason") under the step given below; a missing library or function with its 404
// "FunctionNotFoundError". Colour-sensor calls run inside the monitor's critical section
// (MonitorLock), which is always left before the correction library is called and before the
// answer.
//
// A stored entry in JSON:
//   {"id": 4, "date": {"dateString": "2024-06-02 13:15:00", "day": 2, "hour": 13, "minute": 15,
//                      "month": 6, "year": 2024},
//    "referenceSensor": {"deviceID": 48, "serial": "QS20-240117"}}
//
// The body of both Posts names the reference instrument the current data was made against:
//   {"referenceSensor": {"deviceID": 48, "serial": "QS20-240117"}, ...}
// "referenceSensor" must be an object (else 400 "data must have referenceSensor.") whose
// "deviceID" is a JSON number that is a whole unsigned 32-bit value after rounding half away from
// zero and whose "serial" is a string (else 400 "referenceSensor must have deviceID, serial.") of
// at most 32 bytes (else 400 "serial must be 32 bytes or less.").
#ifndef QUILBY_RESOURCES_CORRELATION_DATABASE_H
#define QUILBY_RESOURCES_CORRELATION_DATABASE_H

#include "bridge/bridge.h"

namespace vesk::bridge {

// Sensors/{id}/Correlation/Database: the stored correlation records made on the sensor's
// monitor. Each holds either an MDCSSG2CorrelationDataEx (kind "CSSG2") or an
// MDIFSv3CorrelationData (kind "IFSv3"), in the JSON form of calibration/correlation_json.h.
class SensorCorrelationDatabase : public vesk::Bridge {
 public:
  // Without the "id" query: the stored entries whose monitor serial and product are those of the
  // sensor's monitor, in the library's order, each as a stored entry above ([] when there are
  // none). The status that ends MDEnumCorrelationInfo is never reported; each entry's date comes
  // from MDGetCorrelationDataDate, step "Get correlation data date.".
  //
  // With "id": the query's value must be a JSON number (rounded half away from zero) or the text
  // of an integer, as REST queries give it (else 400 "id must be number."). Answers
  //   {"id": 4, "kind": "CSSG2", "data": <the stored record>, "matchesSensor": true}
  // The record is read as the CSSG2 kind ("Get CSSG2 correlation data."); when the library
  // refuses that with 0x8000001A ("Invalid data.", the entry holds the other kind) it is read as
  // the IFSv3 kind ("Get IFSv3 correlation data."). "matchesSensor" tells whether the sensor's
  // user data set holds the same record, by MDCSSG2CorrelationDataExEquals or
  // MDIFSv3CorrelationDataEquals with the sensor's record as the first argument (so a member that
  // is zero in the sensor matches any stored value). Reading the sensor's record selects the user
  // data set (ApplyBuiltinSensorDataIndex, flag false) and takes the steps of
  // ReadColorSensorCorrelationDataEx or ReadColorSensorIFSv3CorrelationData; a sensor without
  // luminance-level correction compares as zero there.
  BridgeResult Get(const BridgeData& data) override;

  // Stores the correlation record of the sensor's user data set as a new entry for its monitor
  // against the body's reference instrument, and answers the new id (an integer). Body keys
  // besides "referenceSensor":
  //   "kind": the text "IFSv3" stores the IFSv3 record (MDAddIFSv3CorrelationData, step "Add
  //     IFSv3 correlation data."); anything else, or no key, the CSSG2 record.
  //   "date": the entry's date, read by MDDateFromJson (an object of numbers or a date text).
  //     With it the CSSG2 record is stored by MDAddCSSG2CorrelationDataWithDateEx ("Add CSSG2
  //     correlation data with date."), without it (or null) by MDAddCSSG2CorrelationDataEx ("Add
  //     CSSG2 correlation data."), which dates the entry itself. The IFSv3 store takes no date:
  //     a "date" with "kind" "IFSv3" is refused with 400 "date is not supported for IFSv3 data.".
  BridgeResult Post(const BridgeData& data) override;
};

// Sensors/{id}/CorrelationMatrix/Database: the stored correlation matrices of the product and
// panel revision (EmCtrlGetPanelRevision) of the sensor's monitor.
class SensorCorrelationMatrixDatabase : public vesk::Bridge {
 public:
  // Answers {"matrices": [<stored entry>, ...], "latestID": id}: the entries listed by
  // MDEnumCorrelationMatrixInfo in the library's order (the status that ends the listing is never
  // reported), each dated by MDGetCorrelationMatrixDate ("Get correlation matrix date."), and the
  // id MDGetLatestCorrelationMatrixID names ("Get latest correlation matrix id."); "latestID" is
  // null, and the library not asked, when nothing is listed. The stored coefficients cannot be
  // read back: the correction library offers no function for it.
  BridgeResult Get(const BridgeData& data) override;

  // Stores the correction matrix of the sensor's user data set for the monitor's product and
  // panel revision against the body's reference instrument (MDAddCorrelationMatrix, "Add
  // correlation matrix.") and answers the new id (an integer). The matrix is read as the
  // correlation matrix data resource reads it: 8 rows of 3 where
  // CSSG2H_SupportedXYZCorrectionMatrix8DXT says so ("Get color sensor correction matrix 8x3."),
  // 3 rows of 3 otherwise ("Get color sensor correction matrix 3x3.").
  BridgeResult Post(const BridgeData& data) override;
};

}  // namespace vesk::bridge

#endif  // QUILBY_RESOURCES_CORRELATION_DATABASE_H
