#include "src/measurement.h"

namespace quilbysim {
namespace {

Vec3 incidentLight(World& world, const Sensor& sensor) {
  Vec3 light{};
  switch (sensor.state.mode) {
    case kModeAmbient:
      light = fromChromaticity(world.environment.ambient, world.environment.illuminance);
      break;
    case kModeReflectance:
      light = world.environment.sample;
      break;
    default:
      // A sensor looking at no monitor sees a dark room.
      if (const Monitor* monitor = world.monitorOf(sensor)) {
        light = emittedXYZ(monitor->display, monitor->shownColor);
      }
      break;
  }
  return sensor.state.observer == kObserver10Degree ? tenDegreeObserver(light) : light;
}

bool allZero(const double* values, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    if (values[i] != 0.0) return false;
  }
  return true;
}

Vec3 applyCorrelation(const CorrelationRecord& record, const Vec3& value) {
  if (record.kind != CorrelationKind::CSSG2) return value;
  const KMCAL_CALDATA_USERPROOF& calibration = record.cssg2.calibrationData.calibration;
  // A record without a matrix (all zero) is read as the identity, not as "measure nothing".
  Matrix3 matrix = kIdentity3;
  if (!allZero(&calibration.a[0][0], 9)) {
    for (int row = 0; row < 3; ++row) {
      for (int column = 0; column < 3; ++column) {
        matrix[row * 3 + column] = calibration.a[row][column];
      }
    }
  }
  Vec3 result = multiply(matrix, value);
  for (int i = 0; i < 3; ++i) result[i] += calibration.b[i];
  return result;
}

}  // namespace

EmError readiness(const Sensor& sensor) {
  const SensorState& state = sensor.state;
  if (sensor.capabilities.needsCalibration && !state.calibrated) return EMERR_INVALID_PRECONDITION;
  if (sensor.capabilities.arm && !state.armOut && state.mode == kModeDisplay) {
    return EMERR_SENSOR_POSITION_ERROR;
  }
  if (sensor.capabilities.multiplePositions && state.position != state.mode) {
    return EMERR_SENSOR_POSITION_ERROR;
  }
  return EMERR_OK;
}

Reading measure(World& world, Sensor& sensor, NoiseSource& noise) {
  Reading reading;
  reading.seen = multiply(sensor.response, incidentLight(world, sensor));
  for (double& component : reading.seen) component *= 1.0 + world.noise.amplitude * noise.next();
  for (int i = 0; i < 3; ++i) reading.counts[i] = reading.seen[i] * sensor.countsPerUnit;

  reading.raw = reading.seen;
  if (sensor.connection == Connection::BuiltIn) {
    if (const Monitor* monitor = world.monitorOf(sensor)) {
      reading.raw = applyTerms(monitor->selectedDataSet().matrix, reading.seen);
    }
  }

  const SensorState& state = sensor.state;
  Vec3 value = reading.raw;
  if (state.ninePointCorrection) value = multiply(*state.ninePointCorrection, value);
  if (state.appliedCorrelation) {
    if (const CorrelationRecord* record = world.findCorrelation(*state.appliedCorrelation)) {
      value = applyCorrelation(*record, value);
    }
  }
  if (state.appliedMatrix) {
    if (const CorrelationMatrix* matrix = world.findCorrelationMatrix(*state.appliedMatrix)) {
      value = applyTerms(matrix->matrix, value);
    }
  }
  if (state.correction) value = multiply(*state.correction, value);
  reading.corrected = multiply(state.exCorrection, value);

  ++sensor.state.measurements;
  return reading;
}

double referenceWhite(World& world, const Sensor& sensor) {
  switch (sensor.state.mode) {
    case kModeAmbient:
      return world.environment.illuminance;
    case kModeReflectance:
      return 100.0;
    default: {
      const Monitor* monitor = world.monitorOf(sensor);
      return monitor ? monitor->display.luminance : 100.0;
    }
  }
}

Vec3 filterChannels(const Sensor& sensor, const Reading& reading) {
  // Cone-like filters (Hunt-Pointer-Estevez), the kind of channels a tristimulus head has.
  static constexpr Matrix3 kFilters = {0.38971,  0.68898, -0.07868,  //
                                       -0.22981, 1.18340, 0.04641,   //
                                       0.0,      0.0,     1.0};
  Vec3 channels = multiply(kFilters, reading.seen);
  for (double& channel : channels) channel *= sensor.countsPerUnit;
  return channels;
}

Vec3 primaryShares(const Monitor& monitor, const Reading& reading) {
  const Matrix3 primaries = primariesMatrix(monitor.display);
  Matrix3 inverse;
  if (!invert(primaries, inverse)) return {};
  const Vec3 linear = multiply(inverse, reading.seen);
  return {linear[0] * primaries[3], linear[1] * primaries[4], linear[2] * primaries[5]};
}

double infrared(const World& world, const Reading& reading) {
  return 0.04 * reading.seen[1] + 0.002 * world.environment.illuminance;
}

}  // namespace quilbysim
