#include "world_writer.h"

#include "records.h"
#include "status_names.h"

#include <cinttypes>
#include <cstdio>

namespace quilbysim {
namespace {

using cairnjson::Value;

Value integer(long long number) {
  Value json;
  json.setInteger(number);
  return json;
}

Value unsignedInteger(uint64_t number) { return integer(static_cast<long long>(number)); }

Value real(double number) {
  Value json;
  json.setDouble(number);
  return json;
}

Value boolean(bool flag) {
  Value json;
  json.setBool(flag);
  return json;
}

Value text(const std::string& text) { return Value::makeString(text); }

Value chromaticity(const Chromaticity& c) {
  Value json;
  json["x"] = real(c.x);
  json["y"] = real(c.y);
  return json;
}

Value vec3(const Vec3& values) {
  Value json(cairnjson::Type::Array);
  for (double value : values) json.push_back(real(value));
  return json;
}

Value rows(const double* values, std::size_t rowCount) {
  Value json(cairnjson::Type::Array);
  for (std::size_t row = 0; row < rowCount; ++row) {
    json.push_back(vec3({values[row * 3], values[row * 3 + 1], values[row * 3 + 2]}));
  }
  return json;
}

Value matrix3(const Matrix3& matrix) { return rows(matrix.data(), 3); }

Value date(const MDDate& date) { return records::write(&date, records::kDate); }

Value display(const Display& display) {
  Value json;
  json["red"] = chromaticity(display.red);
  json["green"] = chromaticity(display.green);
  json["blue"] = chromaticity(display.blue);
  json["white"] = chromaticity(display.white);
  json["luminance"] = real(display.luminance);
  json["gamma"] = display.srgbCurve ? text("sRGB") : real(display.gamma);
  return json;
}

Value dataSet(const DataSet& set, bool supports8x3) {
  Value json;
  json["index"] = integer(set.index);
  json["matrix"] = rows(set.matrix.data(), supports8x3 ? 8 : 3);
  const std::pair<const char*, Value> recordsOfSet[] = {
      {"criterionSensor",
       records::write(&set.criterionSensor, records::kCriterionSensorDescription)},
      {"calibrationData", records::write(&set.calibrationData, records::kCalibrationData)},
      {"correctionData", records::write(&set.correctionData, records::kCorrectionData)},
      {"luminanceLevelCorrection",
       records::write(&set.luminanceLevelCorrection, records::kLuminanceLevelCorrectionParams)},
      {"normalizedMeasurement", records::write(&set.normalizedMeasurement, records::kValueRGBK)},
      {"refParam", records::write(&set.refParam, records::kRefParam)},
      {"refToneParam", records::write(&set.refToneParam, records::kRefToneParam)},
      {"toneCorrection", records::write(&set.toneCorrection, records::kToneCorrectionParam)},
  };
  // All-zero records are left out, as a missing record reads as zero.
  for (const auto& [key, record] : recordsOfSet) {
    if (record.size() != 0) json[key] = record;
  }
  return json;
}

Value monitor(const Monitor& monitor) {
  Value json;
  json["serial"] = text(monitor.serial);
  json["product"] = text(monitor.product);
  json["hidHandle"] = monitor.hid == 0 ? Value() : unsignedInteger(monitor.hid);
  json["panelRevision"] = integer(monitor.panelRevision);
  json["duePriority"] = monitor.duePriority ? integer(*monitor.duePriority) : Value();
  if (monitor.presence.supported) {
    Value& presence = json["presenceDetection"];
    presence["on"] = boolean(monitor.presence.on);
    presence["mode"] = integer(monitor.presence.mode);
    presence["modes"] = integer(monitor.presence.modes);
  } else {
    json["presenceDetection"] = Value();
  }
  json["supports8x3"] = boolean(monitor.supports8x3);
  json["supportsLuminanceLevelCorrection"] = boolean(monitor.supportsLuminanceLevelCorrection);
  json["dataIndexByFlags"] = boolean(monitor.dataIndexByFlags);
  json["dataIndex"] = integer(monitor.dataIndex);
  Value& sets = json["dataSets"];
  sets.setType(cairnjson::Type::Array);
  for (const DataSet& set : monitor.dataSets) sets.push_back(dataSet(set, monitor.supports8x3));
  json["display"] = display(monitor.display);
  json["shownColor"] = vec3(monitor.shownColor);
  json["criticalSection"] = ownerForm(monitor.criticalSection);
  return json;
}

Value capabilities(const Capabilities& capabilities) {
  Value json;
  json["ambient"] = boolean(capabilities.ambient);
  json["reflectance"] = boolean(capabilities.reflectance);
  json["arm"] = boolean(capabilities.arm);
  json["multiplePositions"] = boolean(capabilities.multiplePositions);
  json["targetMarker"] = boolean(capabilities.targetMarker);
  json["exteriorLight"] = boolean(capabilities.exteriorLight);
  json["needsCalibration"] = boolean(capabilities.needsCalibration);
  if (capabilities.spectrum) {
    Value& spectrum = json["spectrum"];
    spectrum["min"] = unsignedInteger(capabilities.spectrum->min);
    spectrum["max"] = unsignedInteger(capabilities.spectrum->max);
    spectrum["bandWidth"] = unsignedInteger(capabilities.spectrum->bandWidth);
    spectrum["count"] = unsignedInteger(capabilities.spectrum->count);
  } else {
    json["spectrum"] = Value();
  }
  return json;
}

Value optionalMatrix(const std::optional<Matrix3>& matrix) {
  return matrix ? matrix3(*matrix) : Value();
}

Value state(const SensorState& state) {
  Value json;
  json["mode"] = integer(state.mode);
  json["observer"] = integer(state.observer);
  json["calibrated"] = boolean(state.calibrated);
  json["armOut"] = boolean(state.armOut);
  json["position"] = integer(state.position);
  json["targetMarker"] = boolean(state.targetMarker);
  json["exteriorLight"] = boolean(state.exteriorLight);
  json["brightCorrectParamUpdate"] = boolean(state.brightCorrectParamUpdate);
  json["correction"] = optionalMatrix(state.correction);
  json["exCorrection"] = matrix3(state.exCorrection);
  json["ninePointCorrection"] = optionalMatrix(state.ninePointCorrection);
  json["appliedCorrelation"] =
      state.appliedCorrelation ? integer(*state.appliedCorrelation) : Value();
  if (state.targetWhite) {
    Value& white = json["targetWhite"];
    white["x"] = real(state.targetWhite->x);
    white["y"] = real(state.targetWhite->y);
    white["Y"] = real(state.targetWhite->luminance);
  } else {
    json["targetWhite"] = Value();
  }
  json["appliedMatrix"] = state.appliedMatrix ? integer(*state.appliedMatrix) : Value();
  json["measurements"] = unsignedInteger(state.measurements);
  json["temperatureCorrections"] = unsignedInteger(state.temperatureCorrections);
  return json;
}

Value individualID(uint64_t id) {
  char digits[20];
  std::snprintf(digits, sizeof digits, "%016" PRIx64, id);
  return Value::makeString(digits);
}

Value sensor(const Sensor& sensor) {
  Value json;
  json["deviceID"] = integer(sensor.deviceID);
  json["individualID"] = individualID(sensor.individualID);
  json["name"] = text(sensor.name);
  json["serial"] = text(sensor.serial);
  static constexpr const char* kConnections[] = {"usb", "serial", "builtIn"};
  json["connection"] = text(kConnections[static_cast<int>(sensor.connection)]);
  json["usbDevice"] = sensor.usbDevice.empty() ? Value() : text(sensor.usbDevice);
  json["monitor"] = sensor.monitor.empty() ? Value() : text(sensor.monitor);
  json["capabilities"] = capabilities(sensor.capabilities);
  json["response"] = matrix3(sensor.response);
  json["countsPerUnit"] = real(sensor.countsPerUnit);
  Value& options = json["deviceOptions"];
  options.setType(cairnjson::Type::Object);
  for (const auto& [option, value] : sensor.deviceOptions) {
    options[std::to_string(option)] = integer(value);
  }
  json["parameterDescription"] = text(sensor.parameterDescription);
  json["state"] = state(sensor.state);
  return json;
}

Value reference(MDDeviceID deviceID, const std::string& serial) {
  Value json;
  json["deviceID"] = integer(deviceID);
  json["serial"] = text(serial);
  return json;
}

Value correlation(const CorrelationRecord& record) {
  Value json;
  json["id"] = integer(record.id);
  json["monitor"]["serial"] = text(record.monitorSerial);
  json["monitor"]["product"] = text(record.monitorProduct);
  json["reference"] = reference(record.referenceDeviceID, record.referenceSerial);
  json["date"] = date(record.date);
  if (record.kind == CorrelationKind::CSSG2) {
    json["kind"] = text("CSSG2");
    json["data"] = records::write(&record.cssg2, records::kCSSG2CorrelationDataEx);
  } else {
    json["kind"] = text("IFSv3");
    json["data"] = records::write(&record.ifsv3, records::kIFSv3CorrelationData);
  }
  return json;
}

Value correlationMatrix(const CorrelationMatrix& matrix) {
  Value json;
  json["id"] = integer(matrix.id);
  json["product"] = text(matrix.product);
  json["panelRevision"] = integer(matrix.panelRevision);
  json["reference"] = reference(matrix.referenceDeviceID, matrix.referenceSerial);
  json["date"] = date(matrix.date);
  json["matrix"] = rows(matrix.matrix.data(), matrix.rows);
  return json;
}

Value failure(const Failure& failure) {
  Value json;
  json["function"] = text(failure.function);
  const char* name = statusName(failure.status);
  json["status"] = name ? text(name) : integer(failure.status);
  json["count"] = integer(failure.count);
  json["skip"] = integer(failure.skip);
  return json;
}

template <class Item, class Writer>
Value list(const std::vector<Item>& items, Writer writer) {
  Value json(cairnjson::Type::Array);
  for (const Item& item : items) json.push_back(writer(item));
  return json;
}

}  // namespace

Value ownerForm(Owner owner) {
  switch (owner) {
    case Owner::Process:
      return text("process");
    case Owner::Other:
      return text("other");
    case Owner::None:
      break;
  }
  return Value();
}

Value writeWorld(const World& world) {
  Value json;
  json["noise"]["seed"] = unsignedInteger(world.noise.seed);
  json["noise"]["amplitude"] = real(world.noise.amplitude);
  json["clock"] = world.clock ? date(*world.clock) : Value();
  Value& environment = json["environment"];
  environment["ambient"] = chromaticity(world.environment.ambient);
  environment["illuminance"] = real(world.environment.illuminance);
  environment["sample"]["X"] = real(world.environment.sample[0]);
  environment["sample"]["Y"] = real(world.environment.sample[1]);
  environment["sample"]["Z"] = real(world.environment.sample[2]);
  json["monitors"] = list(world.monitors, monitor);
  json["sensors"] = list(world.sensors, sensor);
  json["usbDevices"] = list(world.usbDevices, text);
  json["correlations"] = list(world.correlations, correlation);
  json["correlationMatrices"] = list(world.correlationMatrices, correlationMatrix);
  Value& subprocess = json["subprocess"];
  subprocess["deviceIDs"] =
      list(world.subprocess.deviceIDs, [](MDDeviceID id) { return integer(id); });
  subprocess["running"] = boolean(world.subprocess.running);
  subprocess["executablePath"] = text(world.subprocess.executablePath);
  subprocess["applicationName"] = text(world.subprocess.applicationName);
  json["libraryDirectory"] = text(world.libraryDirectory);
  json["controlPanelOpenings"] = unsignedInteger(world.controlPanelOpenings);
  json["failures"] = list(world.failures, failure);
  return json;
}

}  // namespace quilbysim
