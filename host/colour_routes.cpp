#include "colour_routes.h"

#include "colour/colorimetry.h"
#include "colour/export.h"
#include "json/cairnjson.h"

#include <charconv>
#include <cmath>
#include <initializer_list>
#include <optional>
#include <vector>

namespace quilbyhost {

namespace {

using cairnjson::Value;
using quilbycolour::Xyz;

HostResponse refusal(const std::string& message) {
  HostResponse response;
  response.status = 400;
  response.body = hostErrorEnvelope("HostError", message);
  return response;
}

// Reads [X, Y, Z], or {"X", "Y", "Z"} as the sensor answers it: three finite numbers, each 0 or
// more, or with `positive` each above 0.
bool readXyz(const Value& value, bool positive, Xyz& xyz) {
  const bool asObject = value.isObject() && value.size() == 3;
  if (!asObject && !(value.isArray() && value.size() == 3)) return false;
  double components[3];
  for (unsigned long i = 0; i < 3; ++i) {
    const Value& component = asObject ? value[std::string(1, "XYZ"[i])] : value[i];
    if (!component.isNumber()) return false;
    components[i] = component.toDouble(-1);
    if (!std::isfinite(components[i]) || components[i] < 0 || (positive && components[i] == 0)) {
      return false;
    }
  }
  xyz = {components[0], components[1], components[2]};
  return true;
}

// The name of the first member of `object` not among `known`, or empty.
std::string unknownMember(const Value& object, std::initializer_list<const char*> known) {
  for (const auto& [name, member] : object.members()) {
    bool found = false;
    for (const char* candidate : known) found = found || name == candidate;
    if (!found) return name;
  }
  return "";
}

// What the two routes share: the readings array's bounds and the optional white. False with the
// sentence in `error`.
bool readCommon(const Value& body, std::optional<Xyz>& white, std::string& error) {
  const Value& readings = body["readings"];
  if (!readings.isArray()) {
    error = "readings must be an array of readings.";
    return false;
  }
  if (readings.size() == 0) {
    error = "readings must hold at least one reading.";
    return false;
  }
  if (readings.size() > kMaxColourReadings) {
    error = "readings holds " + std::to_string(readings.size()) + " readings; at most " +
            std::to_string(kMaxColourReadings) + " are taken at once.";
    return false;
  }
  if (body.contains("white") && !body["white"].isNull()) {
    Xyz xyz;
    if (!readXyz(body["white"], true, xyz)) {
      error = "white must be [X, Y, Z]: three finite numbers above 0.";
      return false;
    }
    white = xyz;
  }
  return true;
}

// Numbers of the derive answer in their shortest text that reads back as the same double
// ("95.047", not the 17 digits of the JSON library's fixed rule), as a browser writes them.
std::string numberText(double value) {
  char text[32];
  const auto [end, error] = std::to_chars(text, text + sizeof text, value);
  return error == std::errc() ? std::string(text, end) : "null";
}

std::string numbersText(std::initializer_list<double> values) {
  std::string text = "[";
  for (const double value : values) text += (text.size() > 1 ? "," : "") + numberText(value);
  return text + "]";
}

template <class T, class Write>
std::string optionalText(const std::optional<T>& value, Write write) {
  return value ? write(*value) : "null";
}

// One derived object, members in key order as every envelope writes them.
std::string derivedText(const quilbycolour::Derived& derived) {
  using quilbycolour::Chromaticity;
  const auto pair = [](const Chromaticity& point) {
    return numbersText({point.first, point.second});
  };
  return "{\"Lab\":" +
         optionalText(derived.lab,
                      [](const quilbycolour::Lab& lab) { return numbersText({lab.L, lab.a, lab.b}); }) +
         ",\"XYZ\":" + numbersText({derived.xyz.X, derived.xyz.Y, derived.xyz.Z}) +
         ",\"cct\":" +
         optionalText(derived.temperature,
                      [](const quilbycolour::ColourTemperature& t) { return numberText(t.kelvin); }) +
         ",\"deltaE2000\":" + optionalText(derived.deltaE2000, numberText) +
         ",\"deltaUV\":" + optionalText(derived.deltaUv, numberText) +
         ",\"duv\":" +
         optionalText(derived.temperature,
                      [](const quilbycolour::ColourTemperature& t) { return numberText(t.duv); }) +
         ",\"uv\":" + optionalText(derived.uv, pair) + ",\"xy\":" + optionalText(derived.xy, pair) +
         "}";
}

bool parseObject(const std::string& text, Value& value) {
  cairnjson::Parser parser;
  return parser.parse(text, value) && value.isObject();
}

// Reads one reading of an export. False with the sentence in `error`.
bool readExportReading(const Value& value, const std::string& where,
                       quilbycolour::ExportReading& reading, std::string& error) {
  if (!value.isObject()) {
    error = where + " must be an object with \"XYZ\": [X, Y, Z].";
    return false;
  }
  if (const std::string unknown =
          unknownMember(value, {"time", "sensor", "mode", "corrected", "label", "XYZ"});
      !unknown.empty()) {
    error = where + " has an unknown member \"" + unknown +
            "\": a reading takes time, sensor, mode, corrected, label and XYZ.";
    return false;
  }
  if (!readXyz(value["XYZ"], false, reading.xyz)) {
    error = where + ".XYZ must be [X, Y, Z]: three finite numbers, none negative.";
    return false;
  }
  const std::pair<const char*, std::string*> texts[] = {
      {"time", &reading.time}, {"sensor", &reading.sensor}, {"mode", &reading.mode},
      {"label", &reading.label}};
  for (const auto& [name, text] : texts) {
    const Value& member = value[name];
    if (member.isNull()) continue;
    if (!member.isString()) {
      error = where + "." + name + " must be a string.";
      return false;
    }
    *text = member.stringRef();
  }
  const Value& corrected = value["corrected"];
  if (corrected.isBool()) {
    reading.corrected = corrected.toInt(0) != 0;
  } else if (!corrected.isNull()) {
    error = where + ".corrected must be true or false.";
    return false;
  }
  return true;
}

}  // namespace

HostResponse deriveReadings(const std::string& body) {
  Value parsed;
  if (!parseObject(body, parsed)) {
    return refusal("The body must be a JSON object: {\"readings\": [[X, Y, Z], ...]}, with "
                   "\"white\" and \"reference\" optional.");
  }
  const Value& request = parsed;
  if (const std::string unknown = unknownMember(request, {"readings", "white", "reference"});
      !unknown.empty()) {
    return refusal("Unknown member \"" + unknown +
                   "\": the body takes readings, white and reference.");
  }
  std::optional<Xyz> white;
  std::string error;
  if (!readCommon(request, white, error)) return refusal(error);
  std::optional<Xyz> reference;
  if (!request["reference"].isNull()) {
    Xyz xyz;
    if (!readXyz(request["reference"], false, xyz)) {
      return refusal("reference must be [X, Y, Z]: three finite numbers, none negative.");
    }
    reference = xyz;
  }
  const Value::Elements& readings = request["readings"].elements();
  std::string derived;
  for (std::size_t i = 0; i < readings.size(); ++i) {
    Xyz xyz;
    if (!readXyz(readings[i], false, xyz)) {
      return refusal("readings[" + std::to_string(i) +
                     "] must be [X, Y, Z]: three finite numbers, none negative.");
    }
    derived += (i == 0 ? "" : ",") + derivedText(quilbycolour::derive(xyz, white, reference));
  }
  HostResponse response;
  response.body = R"({"error":null,"value":{"derived":[)" + derived + "]}}";
  return response;
}

HostResponse exportReadings(const std::string& rawQuery, const std::string& body,
                            const std::string& created) {
  const Value query = queryObject(rawQuery);
  if (!query["format"].isString()) {
    return refusal("The format is missing: ?format=csv or ?format=cgats.");
  }
  const std::string format = query["format"].stringRef();
  if (format != "csv" && format != "cgats") {
    return refusal("format must be csv or cgats, not \"" + format + "\".");
  }
  Value parsed;
  if (!parseObject(body, parsed)) {
    return refusal("The body must be a JSON object: {\"readings\": [{\"time\", \"sensor\", "
                   "\"mode\", \"corrected\", \"XYZ\"}, ...]}, with \"white\" optional.");
  }
  // Read through a const reference: the writing operator[] would add the members it looks for.
  const Value& request = parsed;
  if (const std::string unknown = unknownMember(request, {"readings", "white"});
      !unknown.empty()) {
    return refusal("Unknown member \"" + unknown + "\": the body takes readings and white.");
  }
  std::optional<Xyz> white;
  std::string error;
  if (!readCommon(request, white, error)) return refusal(error);
  std::vector<quilbycolour::ExportReading> readings;
  const Value::Elements& elements = request["readings"].elements();
  readings.reserve(elements.size());
  for (std::size_t i = 0; i < elements.size(); ++i) {
    quilbycolour::ExportReading reading;
    if (!readExportReading(elements[i], "readings[" + std::to_string(i) + "]", reading, error)) {
      return refusal(error);
    }
    readings.push_back(std::move(reading));
  }

  HostResponse response;
  if (format == "csv") {
    response.body = quilbycolour::readingsCsv(readings, white);
    response.contentType = "text/csv; charset=utf-8";
    response.headers.emplace_back("Content-Disposition",
                                  "attachment; filename=\"quilby-readings.csv\"");
    return response;
  }
  const std::optional<std::string> cgats = quilbycolour::readingsCgats(
      readings, white, {std::string("quilby-host ") + QUILBY_HOST_VERSION, created});
  if (!cgats) {
    response.status = 500;
    response.body = hostErrorEnvelope("HostError", "Little CMS could not write the CGATS file.");
    return response;
  }
  response.body = *cgats;
  response.contentType = "text/plain; charset=utf-8";
  response.headers.emplace_back("Content-Disposition",
                                "attachment; filename=\"quilby-readings.cgats.txt\"");
  return response;
}

}  // namespace quilbyhost
