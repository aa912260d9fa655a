#include "colour/export.h"

#include "colour/number_text.h"

#include <lcms2.h>

#include <chrono>
#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>

namespace quilbycolour {

namespace {

// One column of a file: its name and its text for a reading with its derived values.
struct Column {
  std::string name;
  std::function<std::string(const ExportReading&, const Derived&)> text;
};

// Digits that keep what a sensor resolves: XYZ to 1e-4 of a cd/m², chromaticities to 1e-5.
constexpr int kXyzDecimals = 4;
constexpr int kChromaticityDecimals = 5;
constexpr int kLabDecimals = 3;

std::string correctedText(const std::optional<bool>& corrected) {
  return corrected ? (*corrected ? "true" : "false") : "";
}

bool anyLabel(const std::vector<ExportReading>& readings) {
  for (const ExportReading& reading : readings) {
    if (!reading.label.empty()) return true;
  }
  return false;
}

std::vector<Column> xyzColumns(const char* x, const char* y, const char* z) {
  return {
      {x, [](const ExportReading&, const Derived& d) { return fixedText(d.xyz.X, kXyzDecimals); }},
      {y, [](const ExportReading&, const Derived& d) { return fixedText(d.xyz.Y, kXyzDecimals); }},
      {z, [](const ExportReading&, const Derived& d) { return fixedText(d.xyz.Z, kXyzDecimals); }},
  };
}

std::vector<Column> labColumns(const char* l, const char* a, const char* b) {
  const auto part = [](double Lab::*member) {
    return [member](const ExportReading&, const Derived& d) {
      return d.lab ? fixedText((*d.lab).*member, kLabDecimals) : "";
    };
  };
  return {{l, part(&Lab::L)}, {a, part(&Lab::a)}, {b, part(&Lab::b)}};
}

std::vector<Column> csvColumns(bool labelled, bool withLab) {
  const auto chromaticity = [](std::optional<Chromaticity> Derived::*member, bool second) {
    return [member, second](const ExportReading&, const Derived& d) {
      const std::optional<Chromaticity>& point = d.*member;
      if (!point) return std::string();
      return fixedText(second ? point->second : point->first, kChromaticityDecimals);
    };
  };
  std::vector<Column> columns = {
      {"time", [](const ExportReading& r, const Derived&) { return r.time; }},
      {"sensor", [](const ExportReading& r, const Derived&) { return r.sensor; }},
      {"mode", [](const ExportReading& r, const Derived&) { return r.mode; }},
      {"corrected", [](const ExportReading& r, const Derived&) { return correctedText(r.corrected); }},
  };
  if (labelled) {
    columns.push_back({"label", [](const ExportReading& r, const Derived&) { return r.label; }});
  }
  for (Column& column : xyzColumns("X", "Y", "Z")) columns.push_back(std::move(column));
  columns.push_back({"x", chromaticity(&Derived::xy, false)});
  columns.push_back({"y", chromaticity(&Derived::xy, true)});
  columns.push_back({"u'", chromaticity(&Derived::uv, false)});
  columns.push_back({"v'", chromaticity(&Derived::uv, true)});
  columns.push_back({"CCT", [](const ExportReading&, const Derived& d) {
                       return d.temperature ? fixedText(d.temperature->kelvin, 1) : "";
                     }});
  columns.push_back({"Duv", [](const ExportReading&, const Derived& d) {
                       return d.temperature ? fixedText(d.temperature->duv, kChromaticityDecimals)
                                            : "";
                     }});
  if (withLab) {
    for (Column& column : labColumns("L*", "a*", "b*")) columns.push_back(std::move(column));
  }
  return columns;
}

std::string csvField(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"') quoted += '"';
    quoted += c;
  }
  return quoted + "\"";
}

// A text as one CGATS value. Little CMS's writer puts quotes around a value only when it holds a
// space and writes every other value bare, which its own reader then takes for a number or a
// keyword ("2026-11-24T12:00:00.000Z" comes back mangled, an empty value shifts the row). So
// values without a space get their quotes here. Its reader also takes an empty value ("") for
// the string before it, so an empty text is written as "-". Quotes and line breaks cannot be
// escaped in CGATS: they become apostrophes and spaces.
std::string cgatsText(const std::string& text) {
  if (text.empty()) return "\"-\"";
  std::string clean = text;
  for (char& c : clean) {
    if (c == '"') c = '\'';
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = ' ';
  }
  if (clean.find(' ') != std::string::npos) return clean;
  return "\"" + clean + "\"";
}

// The fields outside CGATS.17's standard set, declared with KEYWORD so that strict readers take
// them.
const char* const kDeclaredFields[] = {"TIME", "SENSOR", "MODE", "CORRECTED", "WHITE_XYZ"};

std::vector<Column> cgatsColumns(bool labelled, bool withLab) {
  std::vector<Column> columns;
  if (labelled) {
    columns.push_back(
        {"SAMPLE_NAME", [](const ExportReading& r, const Derived&) { return cgatsText(r.label); }});
  }
  for (Column& column : xyzColumns("XYZ_X", "XYZ_Y", "XYZ_Z")) columns.push_back(std::move(column));
  if (withLab) {
    for (Column& column : labColumns("LAB_L", "LAB_A", "LAB_B")) {
      columns.push_back(std::move(column));
    }
  }
  columns.push_back({"TIME", [](const ExportReading& r, const Derived&) { return cgatsText(r.time); }});
  columns.push_back(
      {"SENSOR", [](const ExportReading& r, const Derived&) { return cgatsText(r.sensor); }});
  columns.push_back({"MODE", [](const ExportReading& r, const Derived&) { return cgatsText(r.mode); }});
  columns.push_back({"CORRECTED", [](const ExportReading& r, const Derived&) {
                       return cgatsText(correctedText(r.corrected));
                     }});
  return columns;
}

using It8Handle = std::unique_ptr<void, decltype(&cmsIT8Free)>;

std::string propertyText(const std::string& text) {
  // SetPropertyStr adds the quotes itself.
  const std::string quoted = cgatsText(text);
  return quoted.front() == '"' ? quoted.substr(1, quoted.size() - 2) : quoted;
}

}  // namespace

std::string currentUtcTime() {
  const auto now = std::chrono::system_clock::now();
  const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
  const auto milliseconds =
      std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
  std::tm parts{};
  gmtime_r(&seconds, &parts);
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", parts.tm_year + 1900,
                parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec,
                static_cast<int>(milliseconds));
  return text;
}

std::string readingsCsv(const std::vector<ExportReading>& readings,
                        const std::optional<Xyz>& white) {
  const std::vector<Column> columns = csvColumns(anyLabel(readings), white.has_value());
  std::string text;
  for (std::size_t i = 0; i < columns.size(); ++i) {
    text += (i == 0 ? "" : ",") + csvField(columns[i].name);
  }
  text += "\r\n";
  for (const ExportReading& reading : readings) {
    const Derived derived = derive(reading.xyz, white, std::nullopt);
    for (std::size_t i = 0; i < columns.size(); ++i) {
      text += (i == 0 ? "" : ",") + csvField(columns[i].text(reading, derived));
    }
    text += "\r\n";
  }
  return text;
}

std::optional<std::string> readingsCgats(const std::vector<ExportReading>& readings,
                                         const std::optional<Xyz>& white,
                                         const CgatsHeader& header) {
  const It8Handle it8(cmsIT8Alloc(nullptr), &cmsIT8Free);
  if (!it8) return std::nullopt;
  cmsHANDLE handle = it8.get();
  const std::vector<Column> columns = cgatsColumns(anyLabel(readings), white.has_value());
  bool written = cmsIT8SetSheetType(handle, "CGATS.17") &&
                 cmsIT8SetPropertyStr(handle, "ORIGINATOR", propertyText(header.originator).c_str()) &&
                 cmsIT8SetPropertyStr(handle, "DESCRIPTOR", "Colour readings") &&
                 cmsIT8SetPropertyStr(handle, "CREATED", propertyText(header.created).c_str());
  if (white) {
    const std::string xyz = fixedText(white->X, kXyzDecimals) + " " +
                            fixedText(white->Y, kXyzDecimals) + " " +
                            fixedText(white->Z, kXyzDecimals);
    written = written && cmsIT8SetPropertyStr(handle, "WHITE_XYZ", xyz.c_str());
  }
  written = written &&
            cmsIT8SetPropertyDbl(handle, "NUMBER_OF_FIELDS", static_cast<double>(columns.size() + 1)) &&
            cmsIT8SetPropertyDbl(handle, "NUMBER_OF_SETS", static_cast<double>(readings.size())) &&
            cmsIT8SetDataFormat(handle, 0, "SAMPLE_ID");
  for (std::size_t i = 0; written && i < columns.size(); ++i) {
    written = cmsIT8SetDataFormat(handle, static_cast<int>(i + 1), columns[i].name.c_str());
  }
  for (std::size_t row = 0; written && row < readings.size(); ++row) {
    const Derived derived = derive(readings[row].xyz, white, std::nullopt);
    const int r = static_cast<int>(row);
    written = cmsIT8SetDataRowCol(handle, r, 0, std::to_string(row + 1).c_str());
    for (std::size_t i = 0; written && i < columns.size(); ++i) {
      written = cmsIT8SetDataRowCol(handle, r, static_cast<int>(i + 1),
                                    columns[i].text(readings[row], derived).c_str());
    }
  }
  cmsUInt32Number size = 0;
  if (!written || !cmsIT8SaveToMem(handle, nullptr, &size) || size == 0) return std::nullopt;
  std::string text(size, '\0');
  if (!cmsIT8SaveToMem(handle, text.data(), &size)) return std::nullopt;
  // The size counts the terminating NUL.
  text.resize(text.find('\0') == std::string::npos ? text.size() : text.find('\0'));

  // Little CMS writes KEYWORD declarations only when built for strict CGATS; they follow the
  // first line, the sheet type.
  std::string declarations;
  for (const char* field : kDeclaredFields) {
    if (std::string(field) == "WHITE_XYZ" && !white) continue;
    declarations += std::string("KEYWORD\t\"") + field + "\"\n";
  }
  const std::size_t firstLineEnd = text.find('\n');
  if (firstLineEnd == std::string::npos) return std::nullopt;
  text.insert(firstLineEnd + 1, declarations);
  if (text.back() != '\n') text += '\n';
  return text;
}

}  // namespace quilbycolour
