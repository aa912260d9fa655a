// The instrument model: what light reaches a sensor and how the sensor and the measurement
// library turn it into readings.
//
//   light      the monitor's emission for the colour it shows (display mode), the room's light
//              (ambient mode) or the sample's XYZ (reflectance mode), seen by the 2- or 10-degree
//              observer
//   seen       the sensor's response matrix applied to the light, times 1 + noise
//   counts     seen times the sensor's countsPerUnit: the uncorrelated counts of built-in sensors
//   raw        built-in sensors: the monitor's selected term matrix applied to seen; other
//              sensors: seen. MDMeasureXYZ2's raw record.
//   corrected  raw through the nine-point correction, the applied correlation correction
//              (a * v + b of its calibration data), the applied correlation matrix, the user
//              correction and the extra correction, in that order. MDMeasureXYZ2's corrected
//              record.
#ifndef QUILBY_SIM_SRC_MEASUREMENT_H
#define QUILBY_SIM_SRC_MEASUREMENT_H

#include "src/color_model.h"
#include "src/world.h"

namespace quilbysim {

struct Reading {
  Vec3 seen;
  Vec3 counts;
  Vec3 raw;
  Vec3 corrected;
};

// EMERR_OK when the sensor can measure in its mode now; EMERR_INVALID_PRECONDITION when it needs
// a calibration it has not had; EMERR_SENSOR_POSITION_ERROR when its arm is in (display mode) or
// its position does not match its mode.
EmError readiness(const Sensor& sensor);

// One reading: draws noise and counts the measurement in the sensor's state.
Reading measure(World& world, Sensor& sensor, NoiseSource& noise);

// The luminance the reading is relative to for the colour record's CMYK.
double referenceWhite(World& world, const Sensor& sensor);

// The three filter channels of MDMeasureRaw, in counts.
Vec3 filterChannels(const Sensor& sensor, const Reading& reading);

// CSSG2H_MeasureRGB: the light split onto the monitor's primaries, each as the luminance that
// primary contributes (so R + G + B is Y).
Vec3 primaryShares(const Monitor& monitor, const Reading& reading);

// CSSG2H_GetIRValue: infrared from the backlight and the room.
double infrared(const World& world, const Reading& reading);

}  // namespace quilbysim

#endif  // QUILBY_SIM_SRC_MEASUREMENT_H
