// Measurements: XYZ, raw, RGB, IR and uncorrelated XYZ values of an opened sensor.
//
// Every resource answers GET only (other methods: 405). The sensor is named by the "id" path
// parameter (400 "URI is invalid." when missing or empty, 404 "Not found." when unknown, before
// anything else); query and body are never read. Every number in an answer is a JSON floating
// number, reported as the library gave it; an output the library leaves alone reads 0. A failing
// library status ends the request with the library-status error (500 "EmError") under the
// resource's step text, with no partial answer.
#ifndef QUILBY_RESOURCES_MEASUREMENTS_H
#define QUILBY_RESOURCES_MEASUREMENTS_H

#include "bridge/bridge.h"

namespace vesk::bridge {

// GET Sensors/{id}/XYZ: one MDMeasureXYZ2 measurement, {"rawXYZ": {"X", "Y", "Z"}, "XYZ": {"X",
// "Y", "Z"}}, the raw record before the applied corrections and the corrected one after them.
// Step text "Measure XYZ.". Takes no lock.
class SensorXYZ : public vesk::Bridge {
 public:
  BridgeResult Get(const BridgeData& data) override;
};

// GET Sensors/{id}/RawData: the three channel readings of MDMeasureRaw, {"rawData": [d0, d1, d2]}.
// Step text "Measure raw data."; a measurement library without MDMeasureRaw answers 404
// "FunctionNotFoundError". Takes no lock.
class SensorRawData : public vesk::Bridge {
 public:
  BridgeResult Get(const BridgeData& data) override;
};

// The three resources below reach a sensor built into a monitor through the monitor's HID handle
// and the colour-sensor library, inside the monitor's critical section (entered when it can be,
// and always left before the answer goes out, on failures too). A sensor without a HID handle
// fails with the library-status error 0x80000000 under "Get HID handle." before the colour-sensor
// library is asked; a colour-sensor library lacking the function answers 404
// "FunctionNotFoundError". When another program holds the section, the colour-sensor library's
// refusal reaches the page as its status.

// GET Sensors/{id}/RGB: CSSG2H_MeasureRGB, {"RGB": {"R", "G", "B"}}. Step text "Measure RGB.".
class SensorRGB : public vesk::Bridge {
 public:
  BridgeResult Get(const BridgeData& data) override;
};

// GET Sensors/{id}/IR: CSSG2H_GetIRValue, {"IR": value}; the library's second output is dropped.
// Step text "Get IR value.".
class SensorIR : public vesk::Bridge {
 public:
  BridgeResult Get(const BridgeData& data) override;
};

// GET Sensors/{id}/XYZWithoutCorrelation: CSSG2H_MeasureNotCorrelatedXYZCount, {"XYZ": {"X", "Y",
// "Z"}} in the sensor's counts. Step text "Measure not correlated XYZ count.".
class SensorXYZWithoutCorrelation : public vesk::Bridge {
 public:
  BridgeResult Get(const BridgeData& data) override;
};

}  // namespace vesk::bridge

#endif  // QUILBY_RESOURCES_MEASUREMENTS_H
