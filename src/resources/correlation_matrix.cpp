#include "resources/correlation_matrix.h"

#include "bridge/em_error.h"
#include "calibration/correlation_json.h"
#include "calibration/matrix_json.h"
#include "device/monitor_lock.h"
#include "json/serializer.h"
#include "loader/loaders.h"
#include "quilby/color_sensor.h"
#include "quilby/measurement_device.h"
#include "quilby/monitor_control.h"
#include "resources/builtin_sensor_data_index.h"
#include "resources/correlation.h"
#include "resources/sensor_lookup.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vesk::bridge {

namespace {

constexpr const char* kMatrixWord = "CorrelationMatrix";

constexpr std::size_t kColumns = 3;
constexpr std::size_t kSquareRows = 3;
constexpr std::size_t kTermRows = 8;

// ---- The built-in sensor's correction matrix ----------------------------------------------------

bool supports8x3(const libmSensorLoader& sensor, void* hid) {
  return sensor.call(QUILBY_DEVICE_FUNCTION(CSSG2H_SupportedXYZCorrectionMatrix8DXT), hid) != 0;
}

// The matrix of the selected data set, in the form the sensor supports.
cairnjson::Value sensorMatrixJson(void* hid) {
  const std::vector<double> matrix = ReadSensorCorrectionMatrix(hid);
  return MatrixToJson(matrix.data(), matrix.size() / kColumns);
}

void writeSensorMatrix(void* hid, const cairnjson::Value& rows) {
  BridgeCheckRequestCondition(rows.isArray(), "matrix data type is not array.");
  // Fewer than 3 rows can only take the 3x3 path, which refuses them; refuse before locking.
  BridgeCheckRequestCondition(rows.size() >= kSquareRows, "matrix data size is invalid.");
  // The support query runs inside the section too, so that the form asked about is the form
  // written.
  MonitorLock section(hid);
  section.lock();
  const libmSensorLoader& sensor = libmSensorLoader::loader();
  if (rows.size() >= kTermRows && supports8x3(sensor, hid)) {
    double matrix[kTermRows * kColumns] = {};
    MatrixFromJson(rows, kTermRows, matrix);
    BridgeCheckEmError(
        sensor.call(QUILBY_DEVICE_FUNCTION(CSSG2H_SetXYZCorrectionMatrix8DXT), hid, matrix),
        "Set color sensor correction matrix 8x3.");
    return;
  }
  double matrix[kSquareRows * kColumns] = {};
  MatrixFromJson(rows, kSquareRows, matrix);
  BridgeCheckEmError(
      sensor.call(QUILBY_DEVICE_FUNCTION(CSSG2H_SetXYZCorrectionMatrix), hid, matrix),
      "Set color sensor correction matrix 3x3.");
}

// What Get and Put of the matrix data share: the built-in sensor's monitor, user set selected.
void* matrixDataMonitor(MDHandle handle) {
  void* hid = BuiltInSensorHIDHandle(handle);
  ApplyBuiltinSensorDataIndex(hid, nullptr, false);
  return hid;
}

}  // namespace

std::vector<double> ReadSensorCorrectionMatrix(void* hid) {
  MonitorLock section(hid);
  section.lock();
  const libmSensorLoader& sensor = libmSensorLoader::loader();
  if (!supports8x3(sensor, hid)) {
    std::vector<double> matrix(kSquareRows * kColumns, 0.0);
    BridgeCheckEmError(
        sensor.call(QUILBY_DEVICE_FUNCTION(CSSG2H_GetXYZCorrectionMatrix), hid, matrix.data()),
        "Get color sensor correction matrix 3x3.");
    return matrix;
  }
  std::vector<double> matrix(kTermRows * kColumns, 0.0);
  BridgeCheckEmError(
      sensor.call(QUILBY_DEVICE_FUNCTION(CSSG2H_GetXYZCorrectionMatrix8DXT), hid, matrix.data()),
      "Get color sensor correction matrix 8x3.");
  return matrix;
}

BridgeResult SensorCorrelationMatrix::Get(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), kMatrixWord);
  BridgeCheckRequestCondition(HasQueryKey(data, "available"), "requires 'available' query.");
  void* hid = BuiltInSensorHIDHandle(handle);
  char serial[EMCTRL_SERIAL_SIZE] = {};
  char product[EMCTRL_PRODUCT_SIZE] = {};
  GetSerialProductWithHIDHandle(hid, serial, product, true);
  const std::uint16_t panelRevision =
      libemcLoader::loader().call(QUILBY_DEVICE_FUNCTION(EmCtrlGetPanelRevision), serial, product);

  const libmeasurementdeviceLoader& library = libmeasurementdeviceLoader::loader();
  cairnjson::Value matrices(cairnjson::Type::Array);
  for (std::uint32_t index = 0;; ++index) {
    MDDeviceID referenceDeviceID = 0;
    char referenceSerial[MD_REFERENCE_SERIAL_SIZE] = {};
    std::int64_t id = 0;
    // Whatever ends the listing (past the end, or a failure) is the library's to explain.
    if (library.call(QUILBY_DEVICE_FUNCTION(MDEnumCorrelationMatrix), handle, product,
                     panelRevision, index, &referenceDeviceID, referenceSerial, &id) != EMERR_OK) {
      break;
    }
    cairnjson::Value matrix(cairnjson::Type::Object);
    matrix["referenceSensor"] =
        ReferenceSensorToJson(referenceDeviceID, referenceSerial, sizeof referenceSerial);
    matrix["id"] = cairnjson::Value::makeInteger(id);
    matrices.push_back(matrix);
  }
  return BridgeResultOK(matrices);
}

BridgeResult SensorCorrelationMatrix::Put(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), kMatrixWord);
  BridgeCheckRequestCondition(data.data().isNumber(), "data must be number.");
  const std::uint64_t id = CorrelationIdFromJson(data.data());
  const libmeasurementdeviceLoader& library = libmeasurementdeviceLoader::loader();
  BridgeCheckEmError(library.call(QUILBY_DEVICE_FUNCTION(MDApplyCorrelationMatrix), handle, id),
                     "Apply correlation matrix.");
  return BridgeResultOK();
}

BridgeResult SensorCorrelationMatrix::Delete(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), kMatrixWord);
  const libmeasurementdeviceLoader& library = libmeasurementdeviceLoader::loader();
  BridgeCheckEmError(library.call(QUILBY_DEVICE_FUNCTION(MDReleaseCorrelationMatrix), handle),
                     "Release correlation matrix.");
  return BridgeResultOK();
}

BridgeResult SensorCorrelationMatrixData::Get(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), "CorrelationMatrix/Data");
  void* hid = matrixDataMonitor(handle);
  const cairnjson::Value matrix = sensorMatrixJson(hid);
  cairnjson::Value answer(cairnjson::Type::Object);
  answer["matrix"] = matrix;
  if (HasQueryKey(data, "checksFactoryData")) {
    ApplyBuiltinSensorDataIndex(hid, nullptr, true);
    const cairnjson::Value factoryMatrix = sensorMatrixJson(hid);
    std::string user;
    std::string factory;
    const bool userSerialized = cairnjson::Serializer::compact(matrix, user);
    const bool factorySerialized = cairnjson::Serializer::compact(factoryMatrix, factory);
    answer["isFactory"] =
        cairnjson::Value::makeBool(userSerialized && factorySerialized && user == factory);
  }
  return BridgeResultOK(answer);
}

BridgeResult SensorCorrelationMatrixData::Put(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), "CorrelationMatrix/Data");
  void* hid = matrixDataMonitor(handle);
  writeSensorMatrix(hid, data.data()["matrix"]);
  return BridgeResultOK();
}

}  // namespace vesk::bridge
