// libmeasurementdevice_x64.so: sensors, their state and their measurements.
#include "src/implementations.h"
#include "src/measurement.h"
#include "src/records.h"
#include "src/simulator.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace quilbysim::impl {
namespace {

// Sensor queries that answer a truth value: 0 for a handle that is not open.
template <class Query>
int ask(const char* function, MDHandle handle, Query query) {
  Call call(function, {form::sensorHandle(handle)});
  Sensor* sensor = call.sensor(handle);
  return call.value(0, form::integer, [&]() -> int { return sensor && query(*sensor) ? 1 : 0; });
}

// The common frame of the EmError functions on a sensor handle: a handle that is not open
// (NULL, closed, from before a reset, foreign) gives EMERR_INVALID_ARGUMENT.
template <class Body>
EmError onSensor(Call& call, MDHandle handle, Body body) {
  Sensor* sensor = call.sensor(handle);
  return call.status([&]() -> EmError { return sensor ? body(*sensor) : EMERR_INVALID_ARGUMENT; });
}

// Opens `sensor` through `call`: stores the handle and journals it.
EmError open(Call& call, const Sensor& sensor, MDHandle* handle) {
  const std::size_t index = static_cast<std::size_t>(&sensor - call.world().sensors.data());
  *handle = call.simulator().openHandle(index);
  call.opened(*handle);
  return EMERR_OK;
}

std::vector<const CorrelationRecord*> correctionsFor(World& world, const Sensor& sensor) {
  std::vector<const CorrelationRecord*> list;
  const Monitor* monitor = world.monitorOf(sensor);
  if (!monitor) return list;
  for (const CorrelationRecord& record : world.correlations) {
    if (record.monitorSerial == monitor->serial && record.monitorProduct == monitor->product) {
      list.push_back(&record);
    }
  }
  return list;
}

}  // namespace

// ---- Start-up and the measurement subprocess ----------------------------------------------------

EmError MDInitDeviceLibrariesDirectoryPath(const char* directory) {
  Call call("MDInitDeviceLibrariesDirectoryPath", {form::text(directory)});
  return call.status([&]() -> EmError {
    if (!directory || !*directory) return EMERR_INVALID_ARGUMENT;
    std::error_code error;
    if (!std::filesystem::is_directory(directory, error)) return EMERR_DLL_NOT_FOUND;
    call.world().libraryDirectory = directory;
    return EMERR_OK;
  });
}

EmError MDLaunchSubprocess(const char* executablePath, const char* applicationName) {
  Call call("MDLaunchSubprocess", {form::text(executablePath), form::text(applicationName)});
  return call.status([&]() -> EmError {
    if (!executablePath || !*executablePath || !applicationName) return EMERR_INVALID_ARGUMENT;
    Subprocess& subprocess = call.world().subprocess;
    if (subprocess.running) return EMERR_ALREADY_CREATED;
    subprocess.running = true;
    subprocess.executablePath = executablePath;
    subprocess.applicationName = applicationName;
    return EMERR_OK;
  });
}

EmError MDQuitSubprocess(void) {
  Call call("MDQuitSubprocess", {});
  return call.status([&]() -> EmError {
    Subprocess& subprocess = call.world().subprocess;
    if (!subprocess.running) return EMERR_INVALID_PRECONDITION;
    subprocess.running = false;
    return EMERR_OK;
  });
}

int MDSupportsSubprocess(const MDDeviceID* ids, uint32_t count) {
  Call call("MDSupportsSubprocess", {form::deviceIDs(ids, count), form::integer(count)});
  return call.value(0, form::integer, [&]() -> int {
    if (!ids) return 0;
    const std::vector<MDDeviceID>& needing = call.world().subprocess.deviceIDs;
    for (uint32_t i = 0; i < count; ++i) {
      if (std::find(needing.begin(), needing.end(), ids[i]) != needing.end()) return 1;
    }
    return 0;
  });
}

// ---- Enumeration and opening --------------------------------------------------------------------

EmError MDEnumConnectedDevices(uint32_t index, MDDeviceID* deviceID, uint64_t* individualID) {
  Call call("MDEnumConnectedDevices", {form::integer(index)});
  return call.status([&]() -> EmError {
    if (!deviceID || !individualID) return EMERR_INVALID_BUFFER;
    // Serial sensors are found only through their USB device, built-in ones through the monitor.
    uint32_t position = 0;
    for (const Sensor& sensor : call.world().sensors) {
      if (sensor.connection != Connection::Usb) continue;
      if (position++ == index) {
        *deviceID = sensor.deviceID;
        *individualID = sensor.individualID;
        return EMERR_OK;
      }
    }
    return EMERR_NO_MORE_DATA;
  });
}

const char* MDGetNameFromDeviceID(MDDeviceID deviceID) {
  Call call("MDGetNameFromDeviceID", {form::integer(deviceID)});
  return call.value<const char*>(nullptr, form::text, [&]() -> const char* {
    for (const Sensor& sensor : call.world().sensors) {
      if (sensor.deviceID == deviceID) {
        std::string& kept = call.simulator().nameFromDeviceID();
        kept = sensor.name;
        return kept.c_str();
      }
    }
    return nullptr;
  });
}

EmError MDOpenXRiteControlPanel(void) {
  Call call("MDOpenXRiteControlPanel", {});
  return call.status([&]() -> EmError {
    ++call.world().controlPanelOpenings;
    return EMERR_OK;
  });
}

EmError MDOpen(MDDeviceID deviceID, MDHandle* handle) {
  Call call("MDOpen", {form::integer(deviceID)});
  return call.status([&]() -> EmError {
    if (!handle) return EMERR_INVALID_BUFFER;
    for (const Sensor& sensor : call.world().sensors) {
      if (sensor.deviceID != deviceID) continue;
      if (sensor.connection == Connection::BuiltIn) return EMERR_SENSOR_CONNECTION_ERROR;
      if (sensor.connection == Connection::Serial &&
          !call.world().usbDevicePresent(sensor.usbDevice)) {
        return EMERR_SENSOR_CONNECTION_ERROR;
      }
      return open(call, sensor, handle);
    }
    return EMERR_SENSOR_CONNECTION_ERROR;
  });
}

EmError MDOpenWithHIDHandle(void* hid, MDHandle* handle) {
  Call call("MDOpenWithHIDHandle", {form::hid(hid)});
  Monitor* monitor = call.monitorByHid(hid);
  return call.status([&]() -> EmError {
    if (!hid) return EMERR_INVALID_ARGUMENT;
    if (!handle) return EMERR_INVALID_BUFFER;
    if (!monitor) return EMERR_MONITOR_CONNECTION_ERROR;
    const Sensor* sensor = call.world().builtInSensor(*monitor);
    if (!sensor) return EMERR_SENSOR_CONNECTION_ERROR;
    return open(call, *sensor, handle);
  });
}

EmError MDOpenWithIndividualID(uint64_t individualID, MDHandle* handle) {
  Call call("MDOpenWithIndividualID", {form::individualID(individualID)});
  return call.status([&]() -> EmError {
    if (!handle) return EMERR_INVALID_BUFFER;
    for (const Sensor& sensor : call.world().sensors) {
      if (sensor.individualID == individualID) return open(call, sensor, handle);
    }
    return EMERR_SENSOR_CONNECTION_ERROR;
  });
}

EmError MDClose(MDHandle* handle) {
  Call call("MDClose", {form::sensorHandle(handle ? *handle : nullptr)});
  if (handle) call.sensor(*handle);
  return call.status([&]() -> EmError {
    if (!handle || !*handle || !call.simulator().closeHandle(*handle)) {
      return EMERR_INVALID_ARGUMENT;
    }
    *handle = nullptr;
    return EMERR_OK;
  });
}

// ---- Identity and capabilities ------------------------------------------------------------------

void* MDGetHIDHandle(MDHandle handle) {
  Call call("MDGetHIDHandle", {form::sensorHandle(handle)});
  Sensor* sensor = call.sensor(handle);
  return call.value<void*>(nullptr, form::hid, [&]() -> void* {
    if (!sensor || sensor->connection != Connection::BuiltIn) return nullptr;
    const Monitor* monitor = call.world().monitorOf(*sensor);
    return monitor ? hidPointer(monitor->hid) : nullptr;
  });
}

MDDeviceID MDGetDeviceID(MDHandle handle) {
  // Catches everything itself: the table's generic guard would answer a status, not an id.
  try {
    Call call("MDGetDeviceID", {form::sensorHandle(handle)});
    Sensor* sensor = call.sensor(handle);
    return call.value<MDDeviceID>(0, form::unsignedInteger,
                                  [&] { return sensor ? sensor->deviceID : 0; });
  } catch (...) {
    return 0;
  }
}

const char* MDGetName(MDHandle handle) {
  Call call("MDGetName", {form::sensorHandle(handle)});
  call.sensor(handle);
  return call.value<const char*>(nullptr, form::text, [&]() -> const char* {
    const OpenSensor* open = call.simulator().findHandle(handle);
    return open ? open->name.c_str() : nullptr;
  });
}

const char* MDGetSerialNumber(MDHandle handle) {
  Call call("MDGetSerialNumber", {form::sensorHandle(handle)});
  call.sensor(handle);
  return call.value<const char*>(nullptr, form::text, [&]() -> const char* {
    const OpenSensor* open = call.simulator().findHandle(handle);
    return open ? open->serial.c_str() : nullptr;
  });
}

int MDIsValidConnection(MDHandle handle) {
  return ask("MDIsValidConnection", handle, [](const Sensor&) { return true; });
}

int MDIsCalibrationNecessary(MDHandle handle) {
  return ask("MDIsCalibrationNecessary", handle, [](const Sensor& sensor) {
    return sensor.capabilities.needsCalibration && !sensor.state.calibrated;
  });
}

int MDSupportsAmbient(MDHandle handle) {
  return ask("MDSupportsAmbient", handle,
             [](const Sensor& sensor) { return sensor.capabilities.ambient; });
}

int MDSupportsReflectance(MDHandle handle) {
  return ask("MDSupportsReflectance", handle,
             [](const Sensor& sensor) { return sensor.capabilities.reflectance; });
}

int MDHasArm(MDHandle handle) {
  return ask("MDHasArm", handle, [](const Sensor& sensor) { return sensor.capabilities.arm; });
}

int MDHasMultipleSensorPosition(MDHandle handle) {
  return ask("MDHasMultipleSensorPosition", handle,
             [](const Sensor& sensor) { return sensor.capabilities.multiplePositions; });
}

int MDHasTargetMarker(MDHandle handle) {
  return ask("MDHasTargetMarker", handle,
             [](const Sensor& sensor) { return sensor.capabilities.targetMarker; });
}

int MDHasExteriorLight(MDHandle handle) {
  return ask("MDHasExteriorLight", handle,
             [](const Sensor& sensor) { return sensor.capabilities.exteriorLight; });
}

EmError MDSpectralRadianceFixedData(MDHandle handle, uint64_t* min, uint64_t* max,
                                    uint64_t* bandWidth, uint64_t* count) {
  Call call("MDSpectralRadianceFixedData", {form::sensorHandle(handle)});
  return onSensor(call, handle, [&](Sensor& sensor) -> EmError {
    if (!min || !max || !bandWidth || !count) return EMERR_INVALID_BUFFER;
    if (!sensor.capabilities.spectrum) return EMERR_UNSUPPORTED;
    *min = sensor.capabilities.spectrum->min;
    *max = sensor.capabilities.spectrum->max;
    *bandWidth = sensor.capabilities.spectrum->bandWidth;
    *count = sensor.capabilities.spectrum->count;
    return EMERR_OK;
  });
}

// ---- Configuration and measurement --------------------------------------------------------------

EmError MDSetMode(MDHandle handle, uint32_t mode, uint32_t observerKey) {
  Call call("MDSetMode",
            {form::sensorHandle(handle), form::integer(mode), form::integer(observerKey)});
  return onSensor(call, handle, [&](Sensor& sensor) -> EmError {
    if (mode > kModeReflectance || observerKey > kObserver10Degree) return EMERR_OUT_OF_RANGE;
    if ((mode == kModeAmbient && !sensor.capabilities.ambient) ||
        (mode == kModeReflectance && !sensor.capabilities.reflectance)) {
      return EMERR_UNSUPPORTED;
    }
    sensor.state.mode = mode;
    sensor.state.observer = observerKey;
    // The sensor head turns to the position that serves the mode.
    if (sensor.capabilities.multiplePositions) sensor.state.position = mode;
    return EMERR_OK;
  });
}

EmError MDCalibrate(MDHandle handle) {
  Call call("MDCalibrate", {form::sensorHandle(handle)});
  return onSensor(call, handle, [&](Sensor& sensor) -> EmError {
    // A zero calibration needs the sensor in the dark, so an arm out over the screen spoils it.
    if (sensor.capabilities.arm && sensor.state.armOut) return EMERR_ZERO_CALIBRATION_ERROR;
    sensor.state.calibrated = true;
    return EMERR_OK;
  });
}

EmError MDTakeOutArm(MDHandle handle) {
  Call call("MDTakeOutArm", {form::sensorHandle(handle)});
  return onSensor(call, handle, [&](Sensor& sensor) -> EmError {
    if (!sensor.capabilities.arm) return EMERR_UNSUPPORTED;
    sensor.state.armOut = true;
    return EMERR_OK;
  });
}

EmError MDTakeInArm(MDHandle handle) {
  Call call("MDTakeInArm", {form::sensorHandle(handle)});
  return onSensor(call, handle, [&](Sensor& sensor) -> EmError {
    if (!sensor.capabilities.arm) return EMERR_UNSUPPORTED;
    sensor.state.armOut = false;
    return EMERR_OK;
  });
}

EmError MDGetSensorPosition(MDHandle handle, uint32_t* position) {
  Call call("MDGetSensorPosition", {form::sensorHandle(handle)});
  return onSensor(call, handle, [&](Sensor& sensor) -> EmError {
    if (!position) return EMERR_INVALID_BUFFER;
    *position = sensor.state.position;
    return EMERR_OK;
  });
}

EmError MDMeasureXYZ2(MDHandle handle, MDColor* raw, MDColor* corrected) {
  Call call("MDMeasureXYZ2", {form::sensorHandle(handle)});
  return onSensor(call, handle, [&](Sensor& sensor) -> EmError {
    if (!raw || !corrected) return EMERR_INVALID_BUFFER;
    if (const EmError problem = readiness(sensor)) return problem;
    const Reading reading = measure(call.world(), sensor, call.simulator().noise());
    const double white = referenceWhite(call.world(), sensor);
    *raw = colourRecord(reading.raw, white);
    *corrected = colourRecord(reading.corrected, white);
    return EMERR_OK;
  });
}

EmError MDMeasureRaw(MDHandle handle, double raw[3]) {
  Call call("MDMeasureRaw", {form::sensorHandle(handle)});
  return onSensor(call, handle, [&](Sensor& sensor) -> EmError {
    if (!raw) return EMERR_INVALID_BUFFER;
    if (const EmError problem = readiness(sensor)) return problem;
    const Vec3 channels =
        filterChannels(sensor, measure(call.world(), sensor, call.simulator().noise()));
    std::copy(channels.begin(), channels.end(), raw);
    return EMERR_OK;
  });
}

// ---- Correlation corrections --------------------------------------------------------------------

EmError MDEnumCorrelationCorrection(MDHandle handle, uint32_t index, MDDeviceID* referenceDeviceID,
                                    char referenceSerial[MD_REFERENCE_SERIAL_SIZE],
                                    char monitorProduct[MD_CORRELATION_PRODUCT_SIZE],
                                    char monitorSerial[MD_CORRELATION_SERIAL_SIZE], int64_t* id) {
  Call call("MDEnumCorrelationCorrection", {form::sensorHandle(handle), form::integer(index)});
  return onSensor(call, handle, [&](Sensor& sensor) -> EmError {
    if (!referenceDeviceID || !referenceSerial || !monitorProduct || !monitorSerial || !id) {
      return EMERR_INVALID_BUFFER;
    }
    const std::vector<const CorrelationRecord*> list = correctionsFor(call.world(), sensor);
    if (index >= list.size()) return EMERR_NO_MORE_DATA;
    const CorrelationRecord& record = *list[index];
    *referenceDeviceID = record.referenceDeviceID;
    copyText(referenceSerial, MD_REFERENCE_SERIAL_SIZE, record.referenceSerial);
    copyText(monitorProduct, MD_CORRELATION_PRODUCT_SIZE, record.monitorProduct);
    copyText(monitorSerial, MD_CORRELATION_SERIAL_SIZE, record.monitorSerial);
    *id = record.id;
    return EMERR_OK;
  });
}

EmError MDApplyCorrelationCorrection(MDHandle handle, uint64_t id) {
  Call call("MDApplyCorrelationCorrection",
            {form::sensorHandle(handle), form::unsignedInteger(id)});
  return onSensor(call, handle, [&](Sensor& sensor) -> EmError {
    const auto key = static_cast<int64_t>(id);
    if (!call.world().findCorrelation(key)) return EMERR_NOT_REGISTERED;
    sensor.state.appliedCorrelation = key;
    sensor.state.targetWhite.reset();
    return EMERR_OK;
  });
}

EmError MDApplyCorrelationCorrectionWithRecalcLuminanceLevelCorrection(MDHandle handle, uint64_t id,
                                                                       MDColor targetWhite) {
  Call call("MDApplyCorrelationCorrectionWithRecalcLuminanceLevelCorrection",
            {form::sensorHandle(handle), form::unsignedInteger(id),
             form::record(&targetWhite, records::kColor)});
  return onSensor(call, handle, [&](Sensor& sensor) -> EmError {
    const auto key = static_cast<int64_t>(id);
    if (!call.world().findCorrelation(key)) return EMERR_NOT_REGISTERED;
    // The luminance level is the monitor's: only a built-in sensor can recalculate it.
    Monitor* monitor =
        sensor.connection == Connection::BuiltIn ? call.world().monitorOf(sensor) : nullptr;
    if (!monitor || !monitor->supportsLuminanceLevelCorrection) return EMERR_UNSUPPORTED;
    const bool chromaticity =
        targetWhite.x > 0.0 && targetWhite.y > 0.0 && targetWhite.x + targetWhite.y < 1.0;
    if (!chromaticity || !(targetWhite.Y > 0.0) || !std::isfinite(targetWhite.Y)) {
      return EMERR_OUT_OF_DOMAIN;
    }
    sensor.state.appliedCorrelation = key;
    sensor.state.targetWhite = TargetWhite{targetWhite.x, targetWhite.y, targetWhite.Y};
    // The dimmer output (10 bits) that brings the panel's white to the target luminance.
    MDCSSG2LuminanceLevelCorrectionParams& level =
        monitor->selectedDataSet().luminanceLevelCorrection;
    level.brightness = targetWhite.Y;
    level.dimmerOut = static_cast<int32_t>(
        std::lround(std::clamp(1023.0 * targetWhite.Y / monitor->display.luminance, 0.0, 1023.0)));
    return EMERR_OK;
  });
}

EmError MDReleaseCorrelationCorrection(MDHandle handle) {
  Call call("MDReleaseCorrelationCorrection", {form::sensorHandle(handle)});
  return onSensor(call, handle, [&](Sensor& sensor) -> EmError {
    sensor.state.appliedCorrelation.reset();
    sensor.state.targetWhite.reset();
    return EMERR_OK;
  });
}

EmError MDClear9PointsCorrelationCorrection(MDHandle handle) {
  Call call("MDClear9PointsCorrelationCorrection", {form::sensorHandle(handle)});
  return onSensor(call, handle, [&](Sensor& sensor) -> EmError {
    // Nine-point corrections belong to arm sensors, the ones on an arm.
    if (!sensor.capabilities.arm) return EMERR_UNSUPPORTED;
    sensor.state.ninePointCorrection.reset();
    return EMERR_OK;
  });
}

// ---- User corrections ---------------------------------------------------------------------------

EmError MDSetCorrection(MDHandle handle, const double matrix[9]) {
  Call call("MDSetCorrection", {form::sensorHandle(handle), form::doubles(matrix, 9)});
  return onSensor(call, handle, [&](Sensor& sensor) -> EmError {
    if (!matrix) return EMERR_INVALID_BUFFER;
    if (!records::allFinite(matrix, 9)) return EMERR_INVALID_DATA;
    Matrix3 correction;
    std::copy(matrix, matrix + 9, correction.begin());
    sensor.state.correction = correction;
    return EMERR_OK;
  });
}

EmError MDClearCorrection(MDHandle handle) {
  Call call("MDClearCorrection", {form::sensorHandle(handle)});
  return onSensor(call, handle, [&](Sensor& sensor) -> EmError {
    sensor.state.correction.reset();
    return EMERR_OK;
  });
}

EmError MDGetExCorrection(MDHandle handle, double matrix[9]) {
  Call call("MDGetExCorrection", {form::sensorHandle(handle)});
  return onSensor(call, handle, [&](Sensor& sensor) -> EmError {
    if (!matrix) return EMERR_INVALID_BUFFER;
    std::copy(sensor.state.exCorrection.begin(), sensor.state.exCorrection.end(), matrix);
    return EMERR_OK;
  });
}

EmError MDSetExCorrection(MDHandle handle, const double matrix[9]) {
  Call call("MDSetExCorrection", {form::sensorHandle(handle), form::doubles(matrix, 9)});
  return onSensor(call, handle, [&](Sensor& sensor) -> EmError {
    if (!matrix) return EMERR_INVALID_BUFFER;
    if (!records::allFinite(matrix, 9)) return EMERR_INVALID_DATA;
    std::copy(matrix, matrix + 9, sensor.state.exCorrection.begin());
    return EMERR_OK;
  });
}

// ---- Correlation matrices -----------------------------------------------------------------------

EmError MDEnumCorrelationMatrix(MDHandle handle, const char* product, uint16_t panelRevision,
                                uint32_t index, MDDeviceID* referenceDeviceID,
                                char referenceSerial[MD_REFERENCE_SERIAL_SIZE], int64_t* id) {
  Call call("MDEnumCorrelationMatrix", {form::sensorHandle(handle), form::text(product),
                                        form::integer(panelRevision), form::integer(index)});
  return onSensor(call, handle, [&](Sensor&) -> EmError {
    if (!product) return EMERR_INVALID_ARGUMENT;
    if (!referenceDeviceID || !referenceSerial || !id) return EMERR_INVALID_BUFFER;
    const std::vector<const CorrelationMatrix*> list =
        call.world().correlationMatricesFor(inputText(product, EMCTRL_PRODUCT_SIZE), panelRevision);
    if (index >= list.size()) return EMERR_NO_MORE_DATA;
    const CorrelationMatrix& matrix = *list[index];
    *referenceDeviceID = matrix.referenceDeviceID;
    copyText(referenceSerial, MD_REFERENCE_SERIAL_SIZE, matrix.referenceSerial);
    *id = matrix.id;
    return EMERR_OK;
  });
}

EmError MDApplyCorrelationMatrix(MDHandle handle, uint64_t id) {
  Call call("MDApplyCorrelationMatrix", {form::sensorHandle(handle), form::unsignedInteger(id)});
  return onSensor(call, handle, [&](Sensor& sensor) -> EmError {
    const auto key = static_cast<int64_t>(id);
    if (!call.world().findCorrelationMatrix(key)) return EMERR_NOT_REGISTERED;
    sensor.state.appliedMatrix = key;
    return EMERR_OK;
  });
}

EmError MDReleaseCorrelationMatrix(MDHandle handle) {
  Call call("MDReleaseCorrelationMatrix", {form::sensorHandle(handle)});
  return onSensor(call, handle, [&](Sensor& sensor) -> EmError {
    sensor.state.appliedMatrix.reset();
    return EMERR_OK;
  });
}

// ---- Further settings ---------------------------------------------------------------------------

EmError MDGetExteriorLightingState(MDHandle handle, uint32_t* state) {
  Call call("MDGetExteriorLightingState", {form::sensorHandle(handle)});
  return onSensor(call, handle, [&](Sensor& sensor) -> EmError {
    if (!state) return EMERR_INVALID_BUFFER;
    if (!sensor.capabilities.exteriorLight) return EMERR_UNSUPPORTED;
    *state = sensor.state.exteriorLight ? 1 : 0;
    return EMERR_OK;
  });
}

EmError MDSetExteriorLightingState(MDHandle handle, uint32_t state) {
  Call call("MDSetExteriorLightingState", {form::sensorHandle(handle), form::integer(state)});
  return onSensor(call, handle, [&](Sensor& sensor) -> EmError {
    if (!sensor.capabilities.exteriorLight) return EMERR_UNSUPPORTED;
    sensor.state.exteriorLight = state != 0;
    return EMERR_OK;
  });
}

EmError MDGetParameterDescription(MDHandle handle,
                                  char description[MD_PARAMETER_DESCRIPTION_SIZE]) {
  Call call("MDGetParameterDescription", {form::sensorHandle(handle)});
  return onSensor(call, handle, [&](Sensor& sensor) -> EmError {
    if (!description) return EMERR_INVALID_BUFFER;
    copyText(description, MD_PARAMETER_DESCRIPTION_SIZE, sensor.parameterDescription);
    return EMERR_OK;
  });
}

EmError MDSetParameterDescription(MDHandle handle, const char* description) {
  Call call("MDSetParameterDescription", {form::sensorHandle(handle), form::text(description)});
  return onSensor(call, handle, [&](Sensor& sensor) -> EmError {
    if (!description) return EMERR_INVALID_ARGUMENT;
    if (std::strlen(description) > kParameterDescriptionMax) return EMERR_INVALID_DATA_SIZE;
    sensor.parameterDescription = description;
    return EMERR_OK;
  });
}

EmError MDGetTargetMarker(MDHandle handle, uint32_t* on) {
  Call call("MDGetTargetMarker", {form::sensorHandle(handle)});
  return onSensor(call, handle, [&](Sensor& sensor) -> EmError {
    if (!on) return EMERR_INVALID_BUFFER;
    if (!sensor.capabilities.targetMarker) return EMERR_UNSUPPORTED;
    *on = sensor.state.targetMarker ? 1 : 0;
    return EMERR_OK;
  });
}

EmError MDSetTargetMarker(MDHandle handle, uint32_t on) {
  Call call("MDSetTargetMarker", {form::sensorHandle(handle), form::integer(on)});
  return onSensor(call, handle, [&](Sensor& sensor) -> EmError {
    if (!sensor.capabilities.targetMarker) return EMERR_UNSUPPORTED;
    sensor.state.targetMarker = on != 0;
    return EMERR_OK;
  });
}

EmError MDGetDeviceOptionValue(MDHandle handle, uint32_t option, int32_t* value) {
  Call call("MDGetDeviceOptionValue", {form::sensorHandle(handle), form::integer(option)});
  return onSensor(call, handle, [&](Sensor& sensor) -> EmError {
    if (!value) return EMERR_INVALID_BUFFER;
    const auto found = sensor.deviceOptions.find(option);
    if (found == sensor.deviceOptions.end()) return EMERR_INVALID_KEY;
    *value = found->second;
    return EMERR_OK;
  });
}

EmError MDSetDeviceOptionValue(MDHandle handle, uint32_t option, int32_t value) {
  Call call("MDSetDeviceOptionValue",
            {form::sensorHandle(handle), form::integer(option), form::integer(value)});
  return onSensor(call, handle, [&](Sensor& sensor) -> EmError {
    const auto found = sensor.deviceOptions.find(option);
    if (found == sensor.deviceOptions.end()) return EMERR_INVALID_KEY;
    found->second = value;
    return EMERR_OK;
  });
}

EmError MDGetIFSBrightCorrectParamUpdateEnabled(MDHandle handle, uint32_t* enabled) {
  Call call("MDGetIFSBrightCorrectParamUpdateEnabled", {form::sensorHandle(handle)});
  return onSensor(call, handle, [&](Sensor& sensor) -> EmError {
    if (!enabled) return EMERR_INVALID_BUFFER;
    if (sensor.connection != Connection::BuiltIn) return EMERR_UNSUPPORTED;
    *enabled = sensor.state.brightCorrectParamUpdate ? 1 : 0;
    return EMERR_OK;
  });
}

EmError MDSetIFSBrightCorrectParamUpdateEnabled(MDHandle handle, uint32_t enabled) {
  Call call("MDSetIFSBrightCorrectParamUpdateEnabled",
            {form::sensorHandle(handle), form::integer(enabled)});
  return onSensor(call, handle, [&](Sensor& sensor) -> EmError {
    if (sensor.connection != Connection::BuiltIn) return EMERR_UNSUPPORTED;
    sensor.state.brightCorrectParamUpdate = enabled != 0;
    return EMERR_OK;
  });
}

EmError MDCalcIFSTempCorrectParam(MDHandle handle) {
  Call call("MDCalcIFSTempCorrectParam", {form::sensorHandle(handle)});
  return onSensor(call, handle, [&](Sensor& sensor) -> EmError {
    if (sensor.connection != Connection::BuiltIn) return EMERR_UNSUPPORTED;
    ++sensor.state.temperatureCorrections;
    return EMERR_OK;
  });
}

}  // namespace quilbysim::impl
