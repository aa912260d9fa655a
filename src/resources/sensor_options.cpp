#include "resources/sensor_options.h"

#include "bridge/em_error.h"
#include "calibration/matrix_json.h"
#include "loader/loaders.h"
#include "quilby/measurement_device.h"
#include "resources/sensor_lookup.h"
#include "util/fixed_buffer_text.h"

#include <climits>
#include <cstdint>

namespace vesk::bridge {

namespace {


// An on/off setting read and written through run-time functions of the measurement library
// that share one shape: Get(handle, uint32_t*), Set(handle, uint32_t), and optionally
// Has(handle) for the "supports" query. A function of another shape does not fit its member.
struct Switch {
  DeviceFunction<int(MDHandle)> has;  // null name: the query is not offered
  DeviceFunction<EmError(MDHandle, std::uint32_t*)> get;
  DeviceFunction<EmError(MDHandle, std::uint32_t)> set;
  const char* getText;
  const char* setText;
};

BridgeResult getSwitch(const Switch& setting, const BridgeData& data, MDHandle handle) {
  libmeasurementdeviceLoader& library = libmeasurementdeviceLoader::loader();
  if (setting.has.name && HasQueryKey(data, "supports")) {
    return BridgeResultOK(cairnjson::Value::makeBool(library.call(setting.has, handle) != 0));
  }
  std::uint32_t state = 0;
  BridgeCheckEmError(library.call(setting.get, handle, &state), setting.getText);
  return BridgeResultOK(cairnjson::Value::makeBool(state != 0));
}

BridgeResult putSwitch(const Switch& setting, const BridgeData& data, MDHandle handle) {
  BridgeCheckRequestCondition(data.data().isBool(), "data must be boolean.");
  const std::uint32_t state = data.data().toInt(0) != 0 ? 1 : 0;
  BridgeCheckEmError(libmeasurementdeviceLoader::loader().call(setting.set, handle, state),
                     setting.setText);
  return BridgeResultOK();
}

constexpr Switch kExteriorLight{QUILBY_DEVICE_FUNCTION(MDHasExteriorLight),
                                QUILBY_DEVICE_FUNCTION(MDGetExteriorLightingState),
                                QUILBY_DEVICE_FUNCTION(MDSetExteriorLightingState),
                                "Get exterior lighting state.", "Set exterior lighting state."};
constexpr Switch kTargetMarker{
    QUILBY_DEVICE_FUNCTION(MDHasTargetMarker), QUILBY_DEVICE_FUNCTION(MDGetTargetMarker),
    QUILBY_DEVICE_FUNCTION(MDSetTargetMarker), "Get target marker.", "Set target marker."};
constexpr Switch kBrightCorrectionUpdate{
    {nullptr},
    QUILBY_DEVICE_FUNCTION(MDGetIFSBrightCorrectParamUpdateEnabled),
    QUILBY_DEVICE_FUNCTION(MDSetIFSBrightCorrectParamUpdateEnabled),
    "Get IFS bright correct param update enabled.",
    "Set IFS bright correct param update enabled."};

// The 3x3 row-major matrix of a body that is exactly three rows of three numbers.
void readSquareMatrix(const cairnjson::Value& body, double matrix[9]) {
  BridgeCheckRequestCondition(IsSquareMatrixJson(body), "data must be 3x3 matrix.");
  MatrixFromJson(body, 3, matrix);
}

// An unsigned 32-bit number given as a number or as its text, or -1.
long long optionNumber(const cairnjson::Value& value) {
  if (!value.isNumber() && !value.isString()) return -1;
  const long long number = value.toLLong(-1);
  return number >= 0 && number <= UINT32_MAX ? number : -1;
}

}  // namespace

BridgeResult SensorExteriorLight::Get(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), "ExteriorLight");
  return getSwitch(kExteriorLight, data, handle);
}

BridgeResult SensorExteriorLight::Put(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), "ExteriorLight");
  return putSwitch(kExteriorLight, data, handle);
}

BridgeResult SensorParameterDescription::Get(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), "ParameterDescription");
  char description[MD_PARAMETER_DESCRIPTION_SIZE] = {};
  BridgeCheckEmError(libmeasurementdeviceLoader::loader().call(
                         QUILBY_DEVICE_FUNCTION(MDGetParameterDescription), handle, description),
                     "Get parameter description.");
  cairnjson::Value value;
  value.setString(string::fromFixedBuffer(description, sizeof description));
  return BridgeResultOK(value);
}

BridgeResult SensorParameterDescription::Put(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), "ParameterDescription");
  BridgeCheckRequestCondition(data.data().isString(), "data must be string.");
  const std::string& description = data.data().stringRef();
  BridgeCheckRequestCondition(description.size() < MD_PARAMETER_DESCRIPTION_SIZE,
                              "data must be 255 bytes or less.");
  BridgeCheckEmError(
      libmeasurementdeviceLoader::loader().call(QUILBY_DEVICE_FUNCTION(MDSetParameterDescription),
                                                handle, description.c_str()),
      "Set parameter description.");
  return BridgeResultOK();
}

BridgeResult SensorCorrection::Put(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), "Correction");
  double matrix[9];
  readSquareMatrix(data.data(), matrix);
  BridgeCheckEmError(MDSetCorrection(handle, matrix), "Set correction.");
  return BridgeResultOK();
}

BridgeResult SensorCorrection::Delete(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), "Correction");
  BridgeCheckEmError(MDClearCorrection(handle), "Clear correction.");
  return BridgeResultOK();
}

BridgeResult SensorExCorrection::Get(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), "ExCorrection");
  double matrix[9] = {};
  BridgeCheckEmError(MDGetExCorrection(handle, matrix), "Get extra correction.");
  return BridgeResultOK(MatrixToJson(matrix, 3));
}

BridgeResult SensorExCorrection::Put(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), "ExCorrection");
  double matrix[9];
  readSquareMatrix(data.data(), matrix);
  BridgeCheckEmError(MDSetExCorrection(handle, matrix), "Set extra correction.");
  return BridgeResultOK();
}

BridgeResult SensorTargetMarker::Get(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), "TargetMarker");
  return getSwitch(kTargetMarker, data, handle);
}

BridgeResult SensorTargetMarker::Put(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), "TargetMarker");
  return putSwitch(kTargetMarker, data, handle);
}

BridgeResult SensorIFSTempCorrectParam::Post(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), "IFSTempCorrectParam");
  BridgeCheckEmError(libmeasurementdeviceLoader::loader().call(
                         QUILBY_DEVICE_FUNCTION(MDCalcIFSTempCorrectParam), handle),
                     "Calculate IFS temperature correction parameter.");
  return BridgeResultOK();
}

BridgeResult SensorIFSBrightCorrectParamUpdate::Get(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), "IFSBrightCorrectParamUpdate");
  return getSwitch(kBrightCorrectionUpdate, data, handle);
}

BridgeResult SensorIFSBrightCorrectParamUpdate::Put(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), "IFSBrightCorrectParamUpdate");
  return putSwitch(kBrightCorrectionUpdate, data, handle);
}

BridgeResult SensorDeviceOption::Get(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), "DeviceOption");
  BridgeCheckRequestCondition(HasQueryKey(data, "option"), "requires 'option' query.");
  const long long option = optionNumber(data.query()["option"]);
  BridgeCheckRequestCondition(option >= 0, "option must be number.");
  std::int32_t value = 0;
  BridgeCheckEmError(
      libmeasurementdeviceLoader::loader().call(QUILBY_DEVICE_FUNCTION(MDGetDeviceOptionValue),
                                                handle, static_cast<std::uint32_t>(option), &value),
      "Get device option value.");
  return BridgeResultOK(cairnjson::Value::makeInteger(value));
}

BridgeResult SensorDeviceOption::Put(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), "DeviceOption");
  const long long option = optionNumber(data.data()["option"]);
  BridgeCheckRequestCondition(data.data()["option"].isNumber() && option >= 0,
                              "data requires 'option'.");
  const cairnjson::Value& value = data.data()["value"];
  BridgeCheckRequestCondition(value.isNumber() && value.toLLong(LLONG_MIN) >= INT32_MIN &&
                                  value.toLLong(LLONG_MAX) <= INT32_MAX,
                              "data requires 'value'.");
  BridgeCheckEmError(
      libmeasurementdeviceLoader::loader().call(QUILBY_DEVICE_FUNCTION(MDSetDeviceOptionValue),
                                                handle, static_cast<std::uint32_t>(option),
                                                static_cast<std::int32_t>(value.toLLong(0))),
      "Set device option value.");
  return BridgeResultOK();
}

}  // namespace vesk::bridge
