#include "src/world_reader.h"

#include "src/color_model.h"
#include "src/records.h"
#include "src/status_names.h"

#include "json/parser.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <limits>
#include <set>
#include <string>
#include <vector>

namespace quilbysim {
namespace {

std::string quoted(const std::string& text) { return "\"" + text + "\""; }

// A value of the world text and its place in it, with checked conversions that throw
// WorldFormatError naming the place.
class Node {
 public:
  Node(const cairnjson::Value& value, std::string place)
      : value_(value), place_(std::move(place)) {}

  const cairnjson::Value& value() const { return value_; }
  const std::string& place() const { return place_; }
  [[noreturn]] void fail(const std::string& problem) const {
    throw WorldFormatError(place_, problem);
  }

  // Whether the object has `key` with a value other than null.
  bool has(const char* key) const { return value_.contains(key) && !value_[key].isNull(); }
  Node operator[](const char* key) const {
    return Node(value_[key], place_.empty() ? key : place_ + "." + key);
  }

  // Checks that this is an object whose keys are all among `keys`.
  void expectObject(std::initializer_list<const char*> keys) const {
    requirePresent();
    if (!value_.isObject()) fail("expected an object");
    for (const auto& [key, member] : value_.members()) {
      bool known = false;
      for (const char* allowed : keys) known = known || key == allowed;
      if (!known) (*this)[key.c_str()].fail("unknown key");
    }
  }

  std::vector<Node> elements() const {
    requirePresent();
    if (!value_.isArray()) fail("expected an array");
    std::vector<Node> nodes;
    for (std::size_t i = 0; i < value_.size(); ++i) {
      nodes.emplace_back(value_.elements()[i], place_ + "[" + std::to_string(i) + "]");
    }
    return nodes;
  }

  bool boolean() const {
    requirePresent();
    if (!value_.isBool()) fail("expected true or false");
    return value_.toInt(0) != 0;
  }

  double number(double minimum, double maximum) const {
    requirePresent();
    if (!value_.isNumber()) fail("expected a number");
    const double number = value_.toDouble(0.0);
    if (!std::isfinite(number) || number < minimum || number > maximum) {
      fail("out of range (" + formatted(minimum) + " to " + formatted(maximum) + ")");
    }
    return number;
  }

  long long integer(long long minimum, long long maximum) const {
    requirePresent();
    if (!value_.isInteger()) fail("expected an integer");
    const long long number = value_.toLLong(0);
    if (number < minimum || number > maximum) {
      fail("out of range (" + std::to_string(minimum) + " to " + std::to_string(maximum) + ")");
    }
    return number;
  }

  std::string text(std::size_t maximumLength, bool mayBeEmpty = true) const {
    requirePresent();
    if (!value_.isString()) fail("expected a string");
    const std::string& text = value_.stringRef();
    if (text.size() > maximumLength) {
      fail("longer than " + std::to_string(maximumLength) + " characters");
    }
    if (!mayBeEmpty && text.empty()) fail("empty");
    return text;
  }

 private:
  // Required keys are read without a has() test; absent (or null) they read as null.
  void requirePresent() const {
    if (value_.isNull()) fail("missing");
  }

  static std::string formatted(double number) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", number);
    return text;
  }

  const cairnjson::Value& value_;
  std::string place_;
};

constexpr long long kUint32Max = 0xFFFFFFFFLL;
constexpr std::size_t kTextMax = 4096;

uint32_t readUint32(const Node& node) { return static_cast<uint32_t>(node.integer(0, kUint32Max)); }

MDDate readDate(const Node& node) {
  MDDate date{};
  records::read(node.value(), &date, records::kDate, node.place());
  if (date.month < 1 || date.month > 12) node["month"].fail("out of range (1 to 12)");
  if (date.day < 1 || date.day > 31) node["day"].fail("out of range (1 to 31)");
  if (date.hour > 23) node["hour"].fail("out of range (0 to 23)");
  if (date.minute > 59) node["minute"].fail("out of range (0 to 59)");
  return date;
}

Chromaticity readChromaticity(const Node& node) {
  node.expectObject({"x", "y"});
  Chromaticity chromaticity{node["x"].number(0.0, 1.0), node["y"].number(0.0, 1.0)};
  if (chromaticity.y <= 0.0 || chromaticity.x + chromaticity.y > 1.0) {
    node.fail("not a chromaticity (needs y > 0 and x + y <= 1)");
  }
  return chromaticity;
}

Vec3 readVec3(const Node& node, double minimum, double maximum) {
  const std::vector<Node> elements = node.elements();
  if (elements.size() != 3) node.fail("expected 3 elements");
  return {elements[0].number(minimum, maximum), elements[1].number(minimum, maximum),
          elements[2].number(minimum, maximum)};
}

constexpr double kHuge = 1e12;

// A matrix written as rows of 3 numbers; `rowCounts` lists the accepted numbers of rows.
std::vector<double> readRows(const Node& node, std::initializer_list<std::size_t> rowCounts) {
  const std::vector<Node> rows = node.elements();
  bool accepted = false;
  std::string counts;
  for (std::size_t count : rowCounts) {
    accepted = accepted || rows.size() == count;
    counts += (counts.empty() ? "" : " or ") + std::to_string(count);
  }
  if (!accepted) node.fail("expected " + counts + " rows");
  std::vector<double> values;
  for (const Node& row : rows) {
    const Vec3 line = readVec3(row, -kHuge, kHuge);
    values.insert(values.end(), line.begin(), line.end());
  }
  return values;
}

Matrix3 readMatrix3(const Node& node) {
  const std::vector<double> values = readRows(node, {3});
  Matrix3 matrix;
  std::copy(values.begin(), values.end(), matrix.begin());
  return matrix;
}

TermMatrix readTermMatrix(const Node& node, bool eightRowsAllowed, uint32_t* rows = nullptr) {
  const std::vector<double> values =
      eightRowsAllowed ? readRows(node, {3, 8}) : readRows(node, {3});
  TermMatrix matrix{};
  std::copy(values.begin(), values.end(), matrix.begin());
  if (rows) *rows = static_cast<uint32_t>(values.size() / 3);
  return matrix;
}

template <class Record>
void readRecord(const Node& node, Record& record, const records::Layout& layout) {
  record = Record{};
  records::read(node.value(), &record, layout, node.place());
}

EmError readStatus(const Node& node) {
  if (node.value().isInteger()) return static_cast<EmError>(node.integer(0, kUint32Max));
  const std::string text = node.text(64);
  if (const auto status = statusFromName(text)) return *status;
  if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
    char* end = nullptr;
    const unsigned long long value = std::strtoull(text.c_str() + 2, &end, 16);
    if (*end == '\0' && value <= static_cast<unsigned long long>(kUint32Max)) {
      return static_cast<EmError>(value);
    }
  }
  node.fail("expected a status: an integer, \"0x\" and hexadecimal digits, or an EMERR_ name");
}

// ---- Parts of the world -------------------------------------------------------------------------

void readNoise(const Node& node, Noise& noise) {
  node.expectObject({"seed", "amplitude"});
  if (node.has("seed")) {
    noise.seed =
        static_cast<uint64_t>(node["seed"].integer(0, std::numeric_limits<long long>::max()));
  }
  if (node.has("amplitude")) noise.amplitude = node["amplitude"].number(0.0, 0.1);
}

void readEnvironment(const Node& node, Environment& environment) {
  node.expectObject({"ambient", "illuminance", "sample"});
  if (node.has("ambient")) environment.ambient = readChromaticity(node["ambient"]);
  if (node.has("illuminance")) environment.illuminance = node["illuminance"].number(0.0, kHuge);
  if (node.has("sample")) {
    const Node sample = node["sample"];
    sample.expectObject({"X", "Y", "Z"});
    environment.sample = {sample["X"].number(0.0, kHuge), sample["Y"].number(0.0, kHuge),
                          sample["Z"].number(0.0, kHuge)};
  }
}

void readDisplay(const Node& node, Display& display) {
  node.expectObject({"red", "green", "blue", "white", "luminance", "gamma"});
  if (node.has("red")) display.red = readChromaticity(node["red"]);
  if (node.has("green")) display.green = readChromaticity(node["green"]);
  if (node.has("blue")) display.blue = readChromaticity(node["blue"]);
  if (node.has("white")) display.white = readChromaticity(node["white"]);
  if (node.has("luminance")) display.luminance = node["luminance"].number(0.001, 100000.0);
  if (node.has("gamma")) {
    const Node gamma = node["gamma"];
    if (gamma.value().isString()) {
      if (gamma.text(16) != "sRGB") gamma.fail("expected a number or \"sRGB\"");
      display.srgbCurve = true;
    } else {
      display.srgbCurve = false;
      display.gamma = gamma.number(0.5, 5.0);
    }
  }
  const Matrix3 matrix = primariesMatrix(display);
  Matrix3 inverse;
  if (!invert(matrix, inverse)) node.fail("the primaries and white do not span a colour space");
}

DataSet readDataSet(const Node& node, bool supports8x3) {
  node.expectObject({"index", "matrix", "criterionSensor", "calibrationData", "correctionData",
                     "luminanceLevelCorrection", "normalizedMeasurement", "refParam",
                     "refToneParam", "toneCorrection"});
  DataSet set;
  set.index = static_cast<uint32_t>(node["index"].integer(0, 3));
  if (node.has("matrix")) {
    set.matrix = readTermMatrix(node["matrix"], supports8x3);
  }
  if (node.has("criterionSensor")) {
    readRecord(node["criterionSensor"], set.criterionSensor, records::kCriterionSensorDescription);
  }
  if (node.has("calibrationData")) {
    readRecord(node["calibrationData"], set.calibrationData, records::kCalibrationData);
  }
  if (node.has("correctionData")) {
    readRecord(node["correctionData"], set.correctionData, records::kCorrectionData);
  }
  if (node.has("luminanceLevelCorrection")) {
    readRecord(node["luminanceLevelCorrection"], set.luminanceLevelCorrection,
               records::kLuminanceLevelCorrectionParams);
  }
  if (node.has("normalizedMeasurement")) {
    readRecord(node["normalizedMeasurement"], set.normalizedMeasurement, records::kValueRGBK);
  }
  if (node.has("refParam")) readRecord(node["refParam"], set.refParam, records::kRefParam);
  if (node.has("refToneParam")) {
    readRecord(node["refToneParam"], set.refToneParam, records::kRefToneParam);
  }
  if (node.has("toneCorrection")) {
    readRecord(node["toneCorrection"], set.toneCorrection, records::kToneCorrectionParam);
  }
  return set;
}

Monitor readMonitor(const Node& node) {
  node.expectObject({"serial", "product", "hidHandle", "panelRevision", "duePriority",
                     "presenceDetection", "supports8x3", "supportsLuminanceLevelCorrection",
                     "dataIndexByFlags", "dataIndex", "dataSets", "display", "shownColor",
                     "criticalSection"});
  Monitor monitor;
  monitor.serial = node["serial"].text(kMonitorSerialMax, false);
  monitor.product = node["product"].text(kMonitorProductMax, false);
  if (node.has("hidHandle")) {
    monitor.hid =
        static_cast<uint64_t>(node["hidHandle"].integer(1, std::numeric_limits<long long>::max()));
  }
  if (node.has("panelRevision")) {
    monitor.panelRevision = static_cast<uint16_t>(node["panelRevision"].integer(0, 0xFFFF));
  }
  if (node.has("duePriority")) monitor.duePriority = readUint32(node["duePriority"]);
  if (node.has("presenceDetection")) {
    const Node presence = node["presenceDetection"];
    presence.expectObject({"on", "mode", "modes"});
    monitor.presence.supported = true;
    if (presence.has("modes")) {
      monitor.presence.modes = static_cast<uint32_t>(presence["modes"].integer(1, 256));
    }
    if (presence.has("on")) monitor.presence.on = presence["on"].boolean();
    if (presence.has("mode")) {
      monitor.presence.mode =
          static_cast<uint32_t>(presence["mode"].integer(0, monitor.presence.modes - 1));
    }
  }
  if (node.has("supports8x3")) monitor.supports8x3 = node["supports8x3"].boolean();
  if (node.has("supportsLuminanceLevelCorrection")) {
    monitor.supportsLuminanceLevelCorrection = node["supportsLuminanceLevelCorrection"].boolean();
  }
  if (node.has("dataIndexByFlags")) monitor.dataIndexByFlags = node["dataIndexByFlags"].boolean();
  if (node.has("dataSets")) {
    std::set<uint32_t> indexes;
    for (const Node& element : node["dataSets"].elements()) {
      DataSet set = readDataSet(element, monitor.supports8x3);
      if (!indexes.insert(set.index).second) element["index"].fail("the same index twice");
      monitor.dataSets.push_back(set);
    }
    if (monitor.dataSets.empty()) node["dataSets"].fail("needs at least one data set");
  } else {
    for (uint32_t index : {0u, 1u, 3u}) monitor.dataSets.push_back(DataSet{.index = index});
  }
  monitor.dataIndex = monitor.dataSets.back().index;
  if (node.has("dataIndex")) {
    monitor.dataIndex = static_cast<uint32_t>(node["dataIndex"].integer(0, 3));
    if (!monitor.dataSet(monitor.dataIndex)) node["dataIndex"].fail("no data set has this index");
  }
  if (node.has("display")) readDisplay(node["display"], monitor.display);
  if (node.has("shownColor")) monitor.shownColor = readVec3(node["shownColor"], 0.0, 1.0);
  if (node.has("criticalSection")) {
    const std::string owner = node["criticalSection"].text(16);
    if (owner == "process") {
      monitor.criticalSection = Owner::Process;
    } else if (owner == "other") {
      monitor.criticalSection = Owner::Other;
    } else {
      node["criticalSection"].fail("expected null, \"process\" or \"other\"");
    }
  }
  return monitor;
}

uint64_t readIndividualID(const Node& node) {
  if (node.value().isInteger()) {
    return static_cast<uint64_t>(node.integer(0, std::numeric_limits<long long>::max()));
  }
  const std::string text = node.text(16, false);
  char* end = nullptr;
  const unsigned long long value = std::strtoull(text.c_str(), &end, 16);
  if (*end != '\0' || text[0] == '-' || text[0] == '+' || text[0] == ' ') {
    node.fail("expected an integer or up to 16 hexadecimal digits");
  }
  return value;
}

void readCapabilities(const Node& node, Capabilities& capabilities) {
  node.expectObject({"ambient", "reflectance", "arm", "multiplePositions", "targetMarker",
                     "exteriorLight", "needsCalibration", "spectrum"});
  const std::pair<const char*, bool*> flags[] = {
      {"ambient", &capabilities.ambient},
      {"reflectance", &capabilities.reflectance},
      {"arm", &capabilities.arm},
      {"multiplePositions", &capabilities.multiplePositions},
      {"targetMarker", &capabilities.targetMarker},
      {"exteriorLight", &capabilities.exteriorLight},
      {"needsCalibration", &capabilities.needsCalibration},
  };
  for (const auto& [key, flag] : flags) {
    if (node.has(key)) *flag = node[key].boolean();
  }
  if (node.has("spectrum")) {
    const Node spectrum = node["spectrum"];
    spectrum.expectObject({"min", "max", "bandWidth", "count"});
    Spectrum range;
    range.min = static_cast<uint64_t>(spectrum["min"].integer(1, 100000));
    range.max = static_cast<uint64_t>(spectrum["max"].integer(1, 100000));
    range.bandWidth = static_cast<uint64_t>(spectrum["bandWidth"].integer(1, 100000));
    range.count = static_cast<uint64_t>(spectrum["count"].integer(1, 100000));
    if (range.max <= range.min) spectrum["max"].fail("not above min");
    capabilities.spectrum = range;
  }
}

TargetWhite readTargetWhite(const Node& node) {
  node.expectObject({"x", "y", "Y"});
  TargetWhite white;
  white.x = node["x"].number(0.0, 1.0);
  white.y = node["y"].number(0.000001, 1.0);
  white.luminance = node["Y"].number(0.000001, kHuge);
  return white;
}

void readSensorState(const Node& node, const Capabilities& capabilities, SensorState& state) {
  node.expectObject({"mode", "observer", "calibrated", "armOut", "position", "targetMarker",
                     "exteriorLight", "brightCorrectParamUpdate", "correction", "exCorrection",
                     "ninePointCorrection", "appliedCorrelation", "targetWhite", "appliedMatrix",
                     "measurements", "temperatureCorrections"});
  if (node.has("mode")) {
    state.mode = static_cast<uint32_t>(node["mode"].integer(0, 2));
    if ((state.mode == kModeAmbient && !capabilities.ambient) ||
        (state.mode == kModeReflectance && !capabilities.reflectance)) {
      node["mode"].fail("the sensor does not support this mode");
    }
  }
  state.position = capabilities.multiplePositions ? state.mode : 0;
  if (node.has("observer")) state.observer = static_cast<uint32_t>(node["observer"].integer(0, 1));
  if (node.has("calibrated")) state.calibrated = node["calibrated"].boolean();
  if (node.has("armOut")) {
    state.armOut = node["armOut"].boolean();
    if (state.armOut && !capabilities.arm) node["armOut"].fail("the sensor has no arm");
  }
  if (node.has("position")) {
    state.position = static_cast<uint32_t>(node["position"].integer(0, kPositionCalibration));
    if (!capabilities.multiplePositions && state.position != 0) {
      node["position"].fail("the sensor has one position, 0");
    }
  }
  if (node.has("targetMarker")) state.targetMarker = node["targetMarker"].boolean();
  if (node.has("exteriorLight")) state.exteriorLight = node["exteriorLight"].boolean();
  if (node.has("brightCorrectParamUpdate")) {
    state.brightCorrectParamUpdate = node["brightCorrectParamUpdate"].boolean();
  }
  if (node.has("correction")) state.correction = readMatrix3(node["correction"]);
  if (node.has("exCorrection")) state.exCorrection = readMatrix3(node["exCorrection"]);
  if (node.has("ninePointCorrection")) {
    state.ninePointCorrection = readMatrix3(node["ninePointCorrection"]);
  }
  if (node.has("appliedCorrelation")) {
    state.appliedCorrelation =
        node["appliedCorrelation"].integer(1, std::numeric_limits<long long>::max());
  }
  if (node.has("targetWhite")) {
    if (!state.appliedCorrelation) node["targetWhite"].fail("needs appliedCorrelation");
    state.targetWhite = readTargetWhite(node["targetWhite"]);
  }
  if (node.has("appliedMatrix")) {
    state.appliedMatrix = node["appliedMatrix"].integer(1, std::numeric_limits<long long>::max());
  }
  if (node.has("measurements")) {
    state.measurements = static_cast<uint64_t>(
        node["measurements"].integer(0, std::numeric_limits<long long>::max()));
  }
  if (node.has("temperatureCorrections")) {
    state.temperatureCorrections = static_cast<uint64_t>(
        node["temperatureCorrections"].integer(0, std::numeric_limits<long long>::max()));
  }
}

Sensor readSensor(const Node& node) {
  node.expectObject({"deviceID", "individualID", "name", "serial", "connection", "usbDevice",
                     "monitor", "capabilities", "response", "countsPerUnit", "deviceOptions",
                     "parameterDescription", "state"});
  Sensor sensor;
  sensor.deviceID = static_cast<MDDeviceID>(node["deviceID"].integer(1, kUint32Max));
  sensor.individualID = readIndividualID(node["individualID"]);
  sensor.name = node["name"].text(kTextMax, false);
  sensor.serial = node["serial"].text(kTextMax, false);
  const Node connection = node["connection"];
  const std::string kind = connection.text(16);
  if (kind == "usb") {
    sensor.connection = Connection::Usb;
  } else if (kind == "serial") {
    sensor.connection = Connection::Serial;
  } else if (kind == "builtIn") {
    sensor.connection = Connection::BuiltIn;
  } else {
    connection.fail("expected \"usb\", \"serial\" or \"builtIn\"");
  }
  if (node.has("usbDevice")) {
    if (sensor.connection != Connection::Serial) {
      node["usbDevice"].fail("only serial sensors have one");
    }
    sensor.usbDevice = node["usbDevice"].text(kTextMax, false);
  } else if (sensor.connection == Connection::Serial) {
    node["usbDevice"].fail("a serial sensor needs the USB device that carries its link");
  }
  if (node.has("monitor")) {
    sensor.monitor = node["monitor"].text(kMonitorSerialMax, false);
  } else if (sensor.connection == Connection::BuiltIn) {
    node["monitor"].fail("a built-in sensor needs the monitor it is built into");
  }
  if (node.has("capabilities")) readCapabilities(node["capabilities"], sensor.capabilities);
  if (node.has("response")) sensor.response = readMatrix3(node["response"]);
  if (node.has("countsPerUnit")) sensor.countsPerUnit = node["countsPerUnit"].number(0.001, 1e9);
  if (node.has("deviceOptions")) {
    const Node options = node["deviceOptions"];
    if (!options.value().isObject()) options.fail("expected an object");
    for (const auto& [key, value] : options.value().members()) {
      const Node option = options[key.c_str()];
      char* end = nullptr;
      const unsigned long long number = std::strtoull(key.c_str(), &end, 10);
      if (key.empty() || *end != '\0' || key[0] < '0' || key[0] > '9' ||
          number > static_cast<unsigned long long>(kUint32Max)) {
        option.fail("an option key is a decimal number from 0 to 4294967295");
      }
      sensor.deviceOptions[static_cast<uint32_t>(number)] = static_cast<int32_t>(
          option.integer(std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()));
    }
  }
  if (node.has("parameterDescription")) {
    sensor.parameterDescription = node["parameterDescription"].text(kParameterDescriptionMax);
  }
  sensor.state.position = 0;
  if (node.has("state")) readSensorState(node["state"], sensor.capabilities, sensor.state);
  return sensor;
}

void readReference(const Node& node, MDDeviceID& deviceID, std::string& serial) {
  node.expectObject({"deviceID", "serial"});
  deviceID = readUint32(node["deviceID"]);
  serial = node.has("serial") ? node["serial"].text(kReferenceSerialMax) : std::string();
}

CorrelationRecord readCorrelation(const Node& node) {
  node.expectObject({"id", "monitor", "reference", "date", "kind", "data"});
  CorrelationRecord record;
  record.id = node["id"].integer(1, std::numeric_limits<long long>::max());
  const Node monitor = node["monitor"];
  monitor.expectObject({"serial", "product"});
  record.monitorSerial = monitor["serial"].text(kCorrelationSerialMax, false);
  record.monitorProduct = monitor["product"].text(kCorrelationProductMax, false);
  readReference(node["reference"], record.referenceDeviceID, record.referenceSerial);
  record.date = readDate(node["date"]);
  if (node.has("kind")) {
    const std::string kind = node["kind"].text(16);
    if (kind == "IFSv3") {
      record.kind = CorrelationKind::IFSv3;
    } else if (kind != "CSSG2") {
      node["kind"].fail("expected \"CSSG2\" or \"IFSv3\"");
    }
  }
  if (node.has("data")) {
    if (record.kind == CorrelationKind::CSSG2) {
      readRecord(node["data"], record.cssg2, records::kCSSG2CorrelationDataEx);
    } else {
      readRecord(node["data"], record.ifsv3, records::kIFSv3CorrelationData);
    }
  }
  return record;
}

CorrelationMatrix readCorrelationMatrix(const Node& node) {
  node.expectObject({"id", "product", "panelRevision", "reference", "date", "matrix"});
  CorrelationMatrix matrix;
  matrix.id = node["id"].integer(1, std::numeric_limits<long long>::max());
  matrix.product = node["product"].text(kCorrelationProductMax, false);
  matrix.panelRevision = static_cast<uint16_t>(node["panelRevision"].integer(0, 0xFFFF));
  readReference(node["reference"], matrix.referenceDeviceID, matrix.referenceSerial);
  matrix.date = readDate(node["date"]);
  matrix.matrix = readTermMatrix(node["matrix"], true, &matrix.rows);
  return matrix;
}

void readSubprocess(const Node& node, Subprocess& subprocess) {
  node.expectObject({"deviceIDs", "running", "executablePath", "applicationName"});
  if (node.has("deviceIDs")) {
    for (const Node& id : node["deviceIDs"].elements()) {
      subprocess.deviceIDs.push_back(readUint32(id));
    }
  }
  if (node.has("running")) subprocess.running = node["running"].boolean();
  if (node.has("executablePath")) subprocess.executablePath = node["executablePath"].text(kTextMax);
  if (node.has("applicationName")) {
    subprocess.applicationName = node["applicationName"].text(kTextMax);
  }
}

Failure readFailure(const Node& node) {
  node.expectObject({"function", "status", "count", "skip"});
  Failure failure;
  failure.function = node["function"].text(128, false);
  if (!isDeviceFunction(failure.function)) node["function"].fail("not a device-library function");
  failure.status = node.has("status") ? readStatus(node["status"]) : EMERR_FAILED;
  failure.count =
      node.has("count") ? static_cast<uint32_t>(node["count"].integer(1, kUint32Max)) : 1;
  if (node.has("skip")) failure.skip = readUint32(node["skip"]);
  return failure;
}

// ---- References between the parts --------------------------------------------------------------

void checkReferences(const Node& root, const World& world) {
  // The lists were read already; one the text leaves out left the world's list empty.
  const std::vector<Node> monitorNodes =
      root.has("monitors") ? root["monitors"].elements() : std::vector<Node>();
  for (std::size_t i = 0; i < world.monitors.size(); ++i) {
    const Node& monitor = monitorNodes[i];
    for (std::size_t j = 0; j < i; ++j) {
      if (world.monitors[j].serial == world.monitors[i].serial) {
        monitor["serial"].fail("same as monitors[" + std::to_string(j) + "].serial");
      }
      if (world.monitors[i].hid != 0 && world.monitors[j].hid == world.monitors[i].hid) {
        monitor["hidHandle"].fail("same as monitors[" + std::to_string(j) + "].hidHandle");
      }
    }
  }
  const std::vector<Node> sensorNodes =
      root.has("sensors") ? root["sensors"].elements() : std::vector<Node>();
  for (std::size_t i = 0; i < world.sensors.size(); ++i) {
    const Sensor& sensor = world.sensors[i];
    const Node& node = sensorNodes[i];
    for (std::size_t j = 0; j < i; ++j) {
      const std::string other = "sensors[" + std::to_string(j) + "]";
      if (world.sensors[j].deviceID == sensor.deviceID) {
        node["deviceID"].fail("same as " + other + ".deviceID");
      }
      if (world.sensors[j].individualID == sensor.individualID) {
        node["individualID"].fail("same as " + other + ".individualID");
      }
    }
    if (!sensor.monitor.empty()) {
      const Monitor* monitor = world.findMonitorBySerial(sensor.monitor);
      if (!monitor) node["monitor"].fail("no monitor with serial " + quoted(sensor.monitor));
      if (sensor.connection == Connection::BuiltIn) {
        if (monitor->hid == 0) {
          node["monitor"].fail("monitor " + quoted(sensor.monitor) + " has no HID handle");
        }
        for (std::size_t j = 0; j < i; ++j) {
          if (world.sensors[j].connection == Connection::BuiltIn &&
              world.sensors[j].monitor == sensor.monitor) {
            node["monitor"].fail("sensors[" + std::to_string(j) + "] is already built into it");
          }
        }
      }
    }
    if (sensor.connection == Connection::Serial && !world.usbDevicePresent(sensor.usbDevice)) {
      node["usbDevice"].fail("not among usbDevices");
    }
    const SensorState& state = sensor.state;
    if (state.appliedCorrelation && !world.findCorrelation(*state.appliedCorrelation)) {
      node["state"]["appliedCorrelation"].fail("no correlation has this id");
    }
    if (state.appliedMatrix && !world.findCorrelationMatrix(*state.appliedMatrix)) {
      node["state"]["appliedMatrix"].fail("no correlation matrix has this id");
    }
  }
  for (std::size_t i = 0; i < world.correlations.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      if (world.correlations[j].id == world.correlations[i].id) {
        root["correlations"].elements()[i]["id"].fail("same as correlations[" + std::to_string(j) +
                                                      "].id");
      }
    }
  }
  for (std::size_t i = 0; i < world.correlationMatrices.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      if (world.correlationMatrices[j].id == world.correlationMatrices[i].id) {
        root["correlationMatrices"].elements()[i]["id"].fail("same as correlationMatrices[" +
                                                             std::to_string(j) + "].id");
      }
    }
  }
  for (std::size_t i = 0; i < world.failures.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      if (world.failures[j].function == world.failures[i].function) {
        root["failures"].elements()[i]["function"].fail("same as failures[" + std::to_string(j) +
                                                        "].function");
      }
    }
  }
}

}  // namespace

World readWorld(const std::string& text) {
  cairnjson::Parser parser;
  cairnjson::Value document;
  if (!parser.parse(text, document)) throw WorldFormatError("JSON", parser.error());
  const Node root(document, "");
  root.expectObject({"noise", "clock", "environment", "monitors", "sensors", "usbDevices",
                     "correlations", "correlationMatrices", "subprocess", "libraryDirectory",
                     "controlPanelOpenings", "failures"});
  World world;
  if (root.has("noise")) readNoise(root["noise"], world.noise);
  if (root.has("clock")) world.clock = readDate(root["clock"]);
  if (root.has("environment")) readEnvironment(root["environment"], world.environment);
  if (root.has("monitors")) {
    for (const Node& node : root["monitors"].elements()) {
      world.monitors.push_back(readMonitor(node));
    }
  }
  if (root.has("usbDevices")) {
    for (const Node& node : root["usbDevices"].elements()) {
      world.usbDevices.push_back(node.text(kTextMax, false));
    }
  }
  if (root.has("sensors")) {
    for (const Node& node : root["sensors"].elements()) world.sensors.push_back(readSensor(node));
  }
  if (root.has("correlations")) {
    for (const Node& node : root["correlations"].elements()) {
      world.correlations.push_back(readCorrelation(node));
    }
  }
  if (root.has("correlationMatrices")) {
    for (const Node& node : root["correlationMatrices"].elements()) {
      world.correlationMatrices.push_back(readCorrelationMatrix(node));
    }
  }
  if (root.has("subprocess")) readSubprocess(root["subprocess"], world.subprocess);
  if (root.has("libraryDirectory")) {
    world.libraryDirectory = root["libraryDirectory"].text(kTextMax);
  }
  if (root.has("controlPanelOpenings")) {
    world.controlPanelOpenings = static_cast<uint64_t>(
        root["controlPanelOpenings"].integer(0, std::numeric_limits<long long>::max()));
  }
  if (root.has("failures")) {
    for (const Node& node : root["failures"].elements()) {
      world.failures.push_back(readFailure(node));
    }
  }
  checkReferences(root, world);
  return world;
}

}  // namespace quilbysim
