#include "src/world_writer.h"

#include "src/journal.h"
#include "src/records.h"
#include "src/status_names.h"

namespace quilbysim {
namespace {

using cairnjson::Value;
// World counts never leave the signed 64-bit range (the reader caps them), so they stay integers.
using form::unsignedInteger;

Value text(const std::string& text) { return Value::makeString(text); }

Value chromaticity(const Chromaticity& c) {
  Value json;
  json["x"] = Value::makeDouble(c.x);
  json["y"] = Value::makeDouble(c.y);
  return json;
}

Value vec3(const Vec3& values) {
  Value json(cairnjson::Type::Array);
  for (double value : values) json.push_back(Value::makeDouble(value));
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
  json["luminance"] = Value::makeDouble(display.luminance);
  json["gamma"] = display.srgbCurve ? text("sRGB") : Value::makeDouble(display.gamma);
  return json;
}

Value dataSet(const DataSet& set, bool supports8x3) {
  Value json;
  json["index"] = Value::makeInteger(set.index);
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
  json["panelRevision"] = Value::makeInteger(monitor.panelRevision);
  json["duePriority"] = monitor.duePriority ? Value::makeInteger(*monitor.duePriority) : Value();
  if (monitor.presence.supported) {
    Value& presence = json["presenceDetection"];
    presence["on"] = Value::makeBool(monitor.presence.on);
    presence["mode"] = Value::makeInteger(monitor.presence.mode);
    presence["modes"] = Value::makeInteger(monitor.presence.modes);
  } else {
    json["presenceDetection"] = Value();
  }
  json["supports8x3"] = Value::makeBool(monitor.supports8x3);
  json["supportsLuminanceLevelCorrection"] =
      Value::makeBool(monitor.supportsLuminanceLevelCorrection);
  json["dataIndexByFlags"] = Value::makeBool(monitor.dataIndexByFlags);
  json["dataIndex"] = Value::makeInteger(monitor.dataIndex);
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
  json["ambient"] = Value::makeBool(capabilities.ambient);
  json["reflectance"] = Value::makeBool(capabilities.reflectance);
  json["arm"] = Value::makeBool(capabilities.arm);
  json["multiplePositions"] = Value::makeBool(capabilities.multiplePositions);
  json["targetMarker"] = Value::makeBool(capabilities.targetMarker);
  json["exteriorLight"] = Value::makeBool(capabilities.exteriorLight);
  json["needsCalibration"] = Value::makeBool(capabilities.needsCalibration);
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
  json["mode"] = Value::makeInteger(state.mode);
  json["observer"] = Value::makeInteger(state.observer);
  json["calibrated"] = Value::makeBool(state.calibrated);
  json["armOut"] = Value::makeBool(state.armOut);
  json["position"] = Value::makeInteger(state.position);
  json["targetMarker"] = Value::makeBool(state.targetMarker);
  json["exteriorLight"] = Value::makeBool(state.exteriorLight);
  json["brightCorrectParamUpdate"] = Value::makeBool(state.brightCorrectParamUpdate);
  json["correction"] = optionalMatrix(state.correction);
  json["exCorrection"] = matrix3(state.exCorrection);
  json["ninePointCorrection"] = optionalMatrix(state.ninePointCorrection);
  json["appliedCorrelation"] =
      state.appliedCorrelation ? Value::makeInteger(*state.appliedCorrelation) : Value();
  if (state.targetWhite) {
    Value& white = json["targetWhite"];
    white["x"] = Value::makeDouble(state.targetWhite->x);
    white["y"] = Value::makeDouble(state.targetWhite->y);
    white["Y"] = Value::makeDouble(state.targetWhite->luminance);
  } else {
    json["targetWhite"] = Value();
  }
  json["appliedMatrix"] = state.appliedMatrix ? Value::makeInteger(*state.appliedMatrix) : Value();
  json["measurements"] = unsignedInteger(state.measurements);
  json["temperatureCorrections"] = unsignedInteger(state.temperatureCorrections);
  return json;
}

Value sensor(const Sensor& sensor) {
  Value json;
  json["deviceID"] = Value::makeInteger(sensor.deviceID);
  json["individualID"] = form::individualID(sensor.individualID);
  json["name"] = text(sensor.name);
  json["serial"] = text(sensor.serial);
  static constexpr const char* kConnections[] = {"usb", "serial", "builtIn"};
  json["connection"] = text(kConnections[static_cast<int>(sensor.connection)]);
  json["usbDevice"] = sensor.usbDevice.empty() ? Value() : text(sensor.usbDevice);
  json["monitor"] = sensor.monitor.empty() ? Value() : text(sensor.monitor);
  json["capabilities"] = capabilities(sensor.capabilities);
  json["response"] = matrix3(sensor.response);
  json["countsPerUnit"] = Value::makeDouble(sensor.countsPerUnit);
  Value& options = json["deviceOptions"];
  options.setType(cairnjson::Type::Object);
  for (const auto& [option, value] : sensor.deviceOptions) {
    options[std::to_string(option)] = Value::makeInteger(value);
  }
  json["parameterDescription"] = text(sensor.parameterDescription);
  json["state"] = state(sensor.state);
  return json;
}

Value reference(MDDeviceID deviceID, const std::string& serial) {
  Value json;
  json["deviceID"] = Value::makeInteger(deviceID);
  json["serial"] = text(serial);
  return json;
}

Value correlation(const CorrelationRecord& record) {
  Value json;
  json["id"] = Value::makeInteger(record.id);
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
  json["id"] = Value::makeInteger(matrix.id);
  json["product"] = text(matrix.product);
  json["panelRevision"] = Value::makeInteger(matrix.panelRevision);
  json["reference"] = reference(matrix.referenceDeviceID, matrix.referenceSerial);
  json["date"] = date(matrix.date);
  json["matrix"] = rows(matrix.matrix.data(), matrix.rows);
  return json;
}

Value failure(const Failure& failure) {
  Value json;
  json["function"] = text(failure.function);
  const char* name = statusName(failure.status);
  json["status"] = name ? text(name) : Value::makeInteger(failure.status);
  json["count"] = Value::makeInteger(failure.count);
  json["skip"] = Value::makeInteger(failure.skip);
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
  json["noise"]["amplitude"] = Value::makeDouble(world.noise.amplitude);
  json["clock"] = world.clock ? date(*world.clock) : Value();
  Value& environment = json["environment"];
  environment["ambient"] = chromaticity(world.environment.ambient);
  environment["illuminance"] = Value::makeDouble(world.environment.illuminance);
  environment["sample"]["X"] = Value::makeDouble(world.environment.sample[0]);
  environment["sample"]["Y"] = Value::makeDouble(world.environment.sample[1]);
  environment["sample"]["Z"] = Value::makeDouble(world.environment.sample[2]);
  json["monitors"] = list(world.monitors, monitor);
  json["sensors"] = list(world.sensors, sensor);
  json["usbDevices"] = list(world.usbDevices, text);
  json["correlations"] = list(world.correlations, correlation);
  json["correlationMatrices"] = list(world.correlationMatrices, correlationMatrix);
  Value& subprocess = json["subprocess"];
  subprocess["deviceIDs"] =
      list(world.subprocess.deviceIDs, [](MDDeviceID id) { return Value::makeInteger(id); });
  subprocess["running"] = Value::makeBool(world.subprocess.running);
  subprocess["executablePath"] = text(world.subprocess.executablePath);
  subprocess["applicationName"] = text(world.subprocess.applicationName);
  json["libraryDirectory"] = text(world.libraryDirectory);
  json["controlPanelOpenings"] = unsignedInteger(world.controlPanelOpenings);
  json["failures"] = list(world.failures, failure);
  return json;
}

}  // namespace quilbysim
