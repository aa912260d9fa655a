// Correlation matrices: the measurement library's stored matrices, made for one monitor product
// and panel revision against a reference instrument, and the XYZ correction matrix held in a
// monitor's built-in sensor itself (3 rows of 3 coefficients, or 8 rows of 3 where the sensor
// takes that form).
//
// Every handler first resolves the sensor from the "id" path parameter under its resource word:
// 400 "URI is invalid." for a missing or empty id, 404 "Not found." for an unknown one, before any
// other check. A failing library status ends the request with the library-status error (500
// "EmError", with "code" and "reason") under the step text given below; a library lacking a
// function answers 404 "FunctionNotFoundError". Query keys are tested for presence only.
#ifndef QUILBY_RESOURCES_CORRELATION_MATRIX_H
#define QUILBY_RESOURCES_CORRELATION_MATRIX_H

#include "bridge/bridge.h"

#include <vector>

namespace vesk::bridge {

// Sensors/{id}/CorrelationMatrix. Takes no lock.
class SensorCorrelationMatrix : public vesk::Bridge {
 public:
  // Needs the "available" query (else 400 "requires 'available' query.") and a sensor built into
  // a monitor (else the library-status error 0x80000000 under "Get HID handle."; a HID handle no
  // monitor has: 404 "Error" "HID handle is not found."). Answers the stored matrices for the
  // monitor's product and panel revision, in the library's order, as
  //   [{"id": n, "referenceSensor": {"deviceID": n, "serial": s}}, ...]
  // ([] when there are none). The status that ends the listing is never reported.
  BridgeResult Get(const BridgeData& data) override;

  // Applies the matrix whose id is the whole body, a bare JSON number (else 400 "data must be
  // number."), converted by CorrelationIdFromJson (6.5 gives 7). Step "Apply correlation
  // matrix.". Works on any opened sensor. Answers null.
  BridgeResult Put(const BridgeData& data) override;

  // Releases the applied matrix, step "Release correlation matrix.". Works on any opened sensor.
  // Answers null.
  BridgeResult Delete(const BridgeData& data) override;
};

// Sensors/{id}/CorrelationMatrix/Data: the built-in sensor's own correction matrix, as an array
// of rows of three floating numbers (3 rows, or 8 where the sensor supports the 8x3 form).
//
// Both methods first need the monitor's HID handle (else the library-status error 0x80000000
// under "Get HID handle.") and select the sensor's user data set (ApplyBuiltinSensorDataIndex,
// flag false, with its failures). The colour-sensor calls on the matrix run inside the monitor's
// critical section, which is always left before the answer.
class SensorCorrelationMatrixData : public vesk::Bridge {
 public:
  // {"matrix": rows} of the user set; steps "Get color sensor correction matrix 3x3." and "Get
  // color sensor correction matrix 8x3.". With the "checksFactoryData" query, also "isFactory":
  // whether the factory set's matrix (selected with flag true, which stays selected afterwards)
  // serializes to the same JSON text.
  BridgeResult Get(const BridgeData& data) override;

  // Writes the rows under the body's "matrix" key, which must be an array (else 400 "matrix data
  // type is not array."). With 8 or more rows on a sensor with the 8x3 form, rows 0-7 are written
  // as an 8x3 matrix (step "Set color sensor correction matrix 8x3."); otherwise rows 0-2 as a
  // 3x3 matrix (step "Set color sensor correction matrix 3x3."), which needs at least 3 rows
  // (else 400 "matrix data size is invalid."). Further rows and columns are ignored; a missing
  // element reads 0, a non-numeric one by Value::toDouble with default 0. Answers null.
  BridgeResult Put(const BridgeData& data) override;
};

// The correction matrix of the built-in sensor's selected data set, row-major: 3 rows, or 8 when
// the sensor takes the 8x3 form. Read inside the monitor's critical section; a failing status is
// reported as "Get color sensor correction matrix 3x3." or "... 8x3.".
[[nodiscard]] std::vector<double> ReadSensorCorrectionMatrix(void* hid);

}  // namespace vesk::bridge

#endif  // QUILBY_RESOURCES_CORRELATION_MATRIX_H
