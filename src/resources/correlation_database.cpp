#include "resources/correlation_database.h"

#include "resources/correlation_matrix.h"

#include "bridge/em_error.h"
#include "calibration/correlation_json.h"
#include "calibration/tolerant_compare.h"
#include "device/monitor_lock.h"
#include "loader/loaders.h"
#include "quilby/color_sensor.h"
#include "quilby/correction.h"
#include "quilby/monitor_control.h"
#include "resources/builtin_sensor_data_index.h"
#include "resources/correlation.h"
#include "resources/sensor_lookup.h"
#include "util/fixed_buffer_text.h"

#include <climits>
#include <cstdint>
#include <string>
#include <vector>

namespace vesk::bridge {

namespace {

constexpr const char* kDatabaseWord = "Correlation/Database";
constexpr const char* kMatrixDatabaseWord = "CorrelationMatrix/Database";

// A correction matrix row holds the X, Y and Z terms.
constexpr std::size_t kColumns = 3;

// The built-in sensor's monitor, identified as the monitor-control library names it.
struct Monitor {
  void* hid = nullptr;
  char serial[EMCTRL_SERIAL_SIZE] = {};
  char product[EMCTRL_PRODUCT_SIZE] = {};
};

Monitor monitorOf(MDHandle handle) {
  Monitor monitor;
  monitor.hid = BuiltInSensorHIDHandle(handle);
  GetSerialProductWithHIDHandle(monitor.hid, monitor.serial, monitor.product, true);
  return monitor;
}

std::uint16_t panelRevision(const Monitor& monitor) {
  return libemcLoader::loader().call(QUILBY_DEVICE_FUNCTION(EmCtrlGetPanelRevision), monitor.serial,
                                     monitor.product);
}

// The reference instrument named by a Post body, checked before any library call.
struct ReferenceSensor {
  MDDeviceID deviceID = 0;
  std::string serial;
};

ReferenceSensor referenceSensorFromBody(const cairnjson::Value& body) {
  const cairnjson::Value& reference = body["referenceSensor"];
  BridgeCheckRequestCondition(reference.isObject(), "data must have referenceSensor.");
  const cairnjson::Value& deviceID = reference["deviceID"];
  // Two different fallbacks agree only when the number converts.
  const unsigned int low = deviceID.toUInt(0);
  const bool wholeUnsigned32 = deviceID.isNumber() && low == deviceID.toUInt(1);
  BridgeCheckRequestCondition(wholeUnsigned32 && reference["serial"].isString(),
                              "referenceSensor must have deviceID, serial.");
  ReferenceSensor sensor;
  sensor.deviceID = low;
  sensor.serial = reference["serial"].stringRef();
  BridgeCheckRequestCondition(sensor.serial.size() < MD_REFERENCE_SERIAL_SIZE,
                              "serial must be 32 bytes or less.");
  return sensor;
}

cairnjson::Value storedEntry(std::int64_t id, const MDDate& date, MDDeviceID referenceDeviceID,
                             const char* referenceSerial) {
  cairnjson::Value entry(cairnjson::Type::Object);
  entry["id"] = cairnjson::Value::makeInteger(id);
  entry["date"] = ToJson(date);
  entry["referenceSensor"] =
      ReferenceSensorToJson(referenceDeviceID, referenceSerial, MD_REFERENCE_SERIAL_SIZE);
  return entry;
}

// One listed entry before its date is asked for: dates are read after the listing so that no
// other call runs between two steps of the library's enumeration.
struct Listed {
  std::int64_t id = 0;
  MDDeviceID referenceDeviceID = 0;
  char referenceSerial[MD_REFERENCE_SERIAL_SIZE] = {};
};

template <class DateFunction>
cairnjson::Value datedEntries(const std::vector<Listed>& listed,
                              DeviceFunction<DateFunction> dateFunction, const char* step) {
  const libmdcorrectorLoader& corrector = libmdcorrectorLoader::loader();
  cairnjson::Value entries(cairnjson::Type::Array);
  for (const Listed& item : listed) {
    MDDate date{};
    BridgeCheckEmError(corrector.call(dateFunction, item.id, &date), step);
    entries.push_back(storedEntry(item.id, date, item.referenceDeviceID, item.referenceSerial));
  }
  return entries;
}

// ---- Correlation records ------------------------------------------------------------------------

enum class RecordKind { CSSG2, IFSv3 };

cairnjson::Value kindName(RecordKind kind) {
  cairnjson::Value name;
  name.setString(kind == RecordKind::CSSG2 ? "CSSG2" : "IFSv3");
  return name;
}

// The record of the sensor's user data set, of the given kind, in JSON.
cairnjson::Value sensorRecord(void* hid, RecordKind kind) {
  ApplyBuiltinSensorDataIndex(hid, nullptr, false);
  MonitorLock section(hid);
  section.lock();
  if (kind == RecordKind::CSSG2) return ToJson(ReadColorSensorCorrelationDataEx(hid, nullptr));
  return ToJson(ReadColorSensorIFSv3CorrelationData(hid));
}

// The id of the "id" query: a JSON number or the text of an integer.
std::int64_t queryId(const BridgeData& data) {
  const cairnjson::Value& id = data.query()["id"];
  const long long low = id.toLLong(LLONG_MIN);
  BridgeCheckRequestCondition((id.isNumber() || id.isString()) && low == id.toLLong(LLONG_MAX),
                              "id must be number.");
  return low;
}

cairnjson::Value listCorrelations(const Monitor& monitor) {
  const libmdcorrectorLoader& corrector = libmdcorrectorLoader::loader();
  std::vector<Listed> listed;
  for (std::uint32_t index = 0;; ++index) {
    Listed item;
    char monitorProduct[MD_CORRELATION_PRODUCT_SIZE] = {};
    char monitorSerial[MD_CORRELATION_SERIAL_SIZE] = {};
    // Whatever ends the listing (past the end, or a failure) is the library's to explain.
    if (corrector.call(QUILBY_DEVICE_FUNCTION(MDEnumCorrelationInfo), index,
                       &item.referenceDeviceID, item.referenceSerial, monitorProduct, monitorSerial,
                       &item.id) != EMERR_OK) {
      break;
    }
    if (string::fromFixedBuffer(monitorSerial, sizeof monitorSerial) ==
            string::fromFixedBuffer(monitor.serial, sizeof monitor.serial) &&
        string::fromFixedBuffer(monitorProduct, sizeof monitorProduct) ==
            string::fromFixedBuffer(monitor.product, sizeof monitor.product)) {
      listed.push_back(item);
    }
  }
  return datedEntries(listed, QUILBY_DEVICE_FUNCTION(MDGetCorrelationDataDate),
                      "Get correlation data date.");
}

cairnjson::Value storedCorrelation(void* hid, std::int64_t id) {
  const libmdcorrectorLoader& corrector = libmdcorrectorLoader::loader();
  RecordKind kind = RecordKind::CSSG2;
  cairnjson::Value stored;
  MDCSSG2CorrelationDataEx cssg2{};
  const EmError status =
      corrector.call(QUILBY_DEVICE_FUNCTION(MDGetCSSG2CorrelationDataEx), id, &cssg2);
  if (status == EMERR_INVALID_DATA) {
    kind = RecordKind::IFSv3;
    MDIFSv3CorrelationData ifsv3{};
    BridgeCheckEmError(
        corrector.call(QUILBY_DEVICE_FUNCTION(MDGetIFSv3CorrelationData), id, &ifsv3),
        "Get IFSv3 correlation data.");
    stored = ToJson(ifsv3);
  } else {
    BridgeCheckEmError(status, "Get CSSG2 correlation data.");
    stored = ToJson(cssg2);
  }

  const cairnjson::Value current = sensorRecord(hid, kind);
  const bool matches = kind == RecordKind::CSSG2 ? MDCSSG2CorrelationDataExEquals(current, stored)
                                                : MDIFSv3CorrelationDataEquals(current, stored);
  cairnjson::Value answer(cairnjson::Type::Object);
  answer["id"] = cairnjson::Value::makeInteger(id);
  answer["kind"] = kindName(kind);
  answer["data"] = stored;
  answer["matchesSensor"] = cairnjson::Value::makeBool(matches);
  return answer;
}

// ---- Correlation matrices -----------------------------------------------------------------------

// The correction matrix of the sensor's user data set, row-major, in the form the sensor takes.
std::vector<double> sensorMatrix(void* hid) {
  ApplyBuiltinSensorDataIndex(hid, nullptr, false);
  return ReadSensorCorrectionMatrix(hid);
}

}  // namespace

BridgeResult SensorCorrelationDatabase::Get(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), kDatabaseWord);
  const bool byId = HasQueryKey(data, "id");
  const std::int64_t id = byId ? queryId(data) : 0;
  const Monitor monitor = monitorOf(handle);
  if (!byId) return BridgeResultOK(listCorrelations(monitor));
  return BridgeResultOK(storedCorrelation(monitor.hid, id));
}

BridgeResult SensorCorrelationDatabase::Post(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), kDatabaseWord);
  const cairnjson::Value& body = data.data();
  const ReferenceSensor reference = referenceSensorFromBody(body);
  const RecordKind kind =
      body["kind"].toString(std::string()) == "IFSv3" ? RecordKind::IFSv3 : RecordKind::CSSG2;
  const bool dated = !body["date"].isNull();
  BridgeCheckRequestCondition(!(dated && kind == RecordKind::IFSv3),
                              "date is not supported for IFSv3 data.");
  const Monitor monitor = monitorOf(handle);

  ApplyBuiltinSensorDataIndex(monitor.hid, nullptr, false);
  MDCSSG2CorrelationDataEx cssg2{};
  MDIFSv3CorrelationData ifsv3{};
  {
    MonitorLock section(monitor.hid);
    section.lock();
    if (kind == RecordKind::CSSG2) {
      cssg2 = ReadColorSensorCorrelationDataEx(monitor.hid, nullptr);
    } else {
      ifsv3 = ReadColorSensorIFSv3CorrelationData(monitor.hid);
    }
  }

  const libmdcorrectorLoader& corrector = libmdcorrectorLoader::loader();
  std::int64_t id = 0;
  if (kind == RecordKind::IFSv3) {
    BridgeCheckEmError(
        corrector.call(QUILBY_DEVICE_FUNCTION(MDAddIFSv3CorrelationData), monitor.serial,
                       monitor.product, reference.deviceID, reference.serial.c_str(), &ifsv3, &id),
        "Add IFSv3 correlation data.");
  } else if (dated) {
    const MDDate date = MDDateFromJson(body["date"]);
    BridgeCheckEmError(corrector.call(QUILBY_DEVICE_FUNCTION(MDAddCSSG2CorrelationDataWithDateEx),
                                      monitor.serial, monitor.product, reference.deviceID,
                                      reference.serial.c_str(), &cssg2, &date, &id),
                       "Add CSSG2 correlation data with date.");
  } else {
    BridgeCheckEmError(
        corrector.call(QUILBY_DEVICE_FUNCTION(MDAddCSSG2CorrelationDataEx), monitor.serial,
                       monitor.product, reference.deviceID, reference.serial.c_str(), &cssg2, &id),
        "Add CSSG2 correlation data.");
  }
  return BridgeResultOK(cairnjson::Value::makeInteger(id));
}

BridgeResult SensorCorrelationMatrixDatabase::Get(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), kMatrixDatabaseWord);
  const Monitor monitor = monitorOf(handle);
  const std::uint16_t revision = panelRevision(monitor);

  const libmdcorrectorLoader& corrector = libmdcorrectorLoader::loader();
  std::vector<Listed> listed;
  for (std::uint32_t index = 0;; ++index) {
    Listed item;
    // Whatever ends the listing (past the end, or a failure) is the library's to explain.
    if (corrector.call(QUILBY_DEVICE_FUNCTION(MDEnumCorrelationMatrixInfo), monitor.product,
                       revision, index, &item.referenceDeviceID, item.referenceSerial,
                       &item.id) != EMERR_OK) {
      break;
    }
    listed.push_back(item);
  }

  cairnjson::Value answer(cairnjson::Type::Object);
  answer["matrices"] = datedEntries(listed, QUILBY_DEVICE_FUNCTION(MDGetCorrelationMatrixDate),
                                    "Get correlation matrix date.");
  cairnjson::Value latest;
  if (!listed.empty()) {
    std::int64_t latestID = 0;
    BridgeCheckEmError(corrector.call(QUILBY_DEVICE_FUNCTION(MDGetLatestCorrelationMatrixID),
                                      monitor.product, revision, &latestID),
                       "Get latest correlation matrix id.");
    latest.setInteger(latestID);
  }
  answer["latestID"] = latest;
  return BridgeResultOK(answer);
}

BridgeResult SensorCorrelationMatrixDatabase::Post(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), kMatrixDatabaseWord);
  const ReferenceSensor reference = referenceSensorFromBody(data.data());
  const Monitor monitor = monitorOf(handle);
  const std::uint16_t revision = panelRevision(monitor);
  const std::vector<double> matrix = sensorMatrix(monitor.hid);

  std::int64_t id = 0;
  BridgeCheckEmError(libmdcorrectorLoader::loader().call(
                         QUILBY_DEVICE_FUNCTION(MDAddCorrelationMatrix), monitor.product, revision,
                         reference.deviceID, reference.serial.c_str(), matrix.data(),
                         static_cast<std::uint32_t>(matrix.size() / kColumns), &id),
                     "Add correlation matrix.");
  return BridgeResultOK(cairnjson::Value::makeInteger(id));
}

}  // namespace vesk::bridge
