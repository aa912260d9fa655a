#include "src/records.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace quilbysim::records {
namespace {

constexpr Field scalar(const char* key, std::size_t offset) {
  return {key, offset, Kind::Double, 0, 0};
}
constexpr Field array(const char* key, std::size_t offset, std::size_t count) {
  return {key, offset, Kind::Double, 0, count};
}
constexpr Field matrix(const char* key, std::size_t offset, std::size_t rows, std::size_t columns) {
  return {key, offset, Kind::Double, rows, columns};
}
constexpr Field nested(const char* key, std::size_t offset, const Layout& layout) {
  return {key, offset, Kind::Record, 0, 0, &layout};
}

// ---- Layouts, innermost first -------------------------------------------------------------------

constexpr Field kDateFields[] = {
    {"year", offsetof(MDDate, year), Kind::Uint16},
    {"month", offsetof(MDDate, month), Kind::Uint8},
    {"day", offsetof(MDDate, day), Kind::Uint8},
    {"hour", offsetof(MDDate, hour), Kind::Uint8},
    {"minute", offsetof(MDDate, minute), Kind::Uint8},
};

constexpr Field kColorFields[] = {
    scalar("X", offsetof(MDColor, X)),
    scalar("Y", offsetof(MDColor, Y)),
    scalar("Z", offsetof(MDColor, Z)),
    scalar("x", offsetof(MDColor, x)),
    scalar("y", offsetof(MDColor, y)),
    scalar("u", offsetof(MDColor, u)),
    scalar("v", offsetof(MDColor, v)),
    scalar("cyan", offsetof(MDColor, cyan)),
    scalar("magenta", offsetof(MDColor, magenta)),
    scalar("yellow", offsetof(MDColor, yellow)),
    scalar("black", offsetof(MDColor, black)),
};

using Description = MDCSSG2CriterionSensorDescription;
constexpr Field kDescriptionFields[] = {
    nested("date", offsetof(Description, date), kDate),
    {"deviceID", offsetof(Description, deviceID), Kind::Int32},
    {"serial", offsetof(Description, serial), Kind::Text, 0, MD_REFERENCE_SERIAL_SIZE},
};

constexpr Field kXYZFields[] = {
    scalar("X", offsetof(KMCAL_G2XYZcnt, X)),
    scalar("Y", offsetof(KMCAL_G2XYZcnt, Y)),
    scalar("Z", offsetof(KMCAL_G2XYZcnt, Z)),
};
constexpr Layout kXYZ{sizeof(KMCAL_G2XYZcnt), kXYZFields};

constexpr Field kRGBFields[] = {
    scalar("R", offsetof(KMCAL_G2RGBems, R)),
    scalar("G", offsetof(KMCAL_G2RGBems, G)),
    scalar("B", offsetof(KMCAL_G2RGBems, B)),
};
constexpr Layout kRGB{sizeof(KMCAL_G2RGBems), kRGBFields};

constexpr Field kUserProofFields[] = {
    nested("XYZ0", offsetof(KMCAL_CALDATA_USERPROOF, XYZ0), kXYZ),
    nested("XYZBlack", offsetof(KMCAL_CALDATA_USERPROOF, XYZBlack), kXYZ),
    matrix("a", offsetof(KMCAL_CALDATA_USERPROOF, a), 3, 3),
    array("b", offsetof(KMCAL_CALDATA_USERPROOF, b), 3),
};
constexpr Layout kUserProof{sizeof(KMCAL_CALDATA_USERPROOF), kUserProofFields};

using ReferencePair = decltype(KMCAL_MEASDATA_USERPROOF::red);
constexpr Field kReferencePairFields[] = {
    nested("reference", offsetof(ReferencePair, reference), kXYZ),
    nested("XYZ", offsetof(ReferencePair, XYZ), kXYZ),
};
constexpr Layout kReferencePair{sizeof(ReferencePair), kReferencePairFields};

constexpr Field kUserProofMeasurementFields[] = {
    nested("red", offsetof(KMCAL_MEASDATA_USERPROOF, red), kReferencePair),
    nested("green", offsetof(KMCAL_MEASDATA_USERPROOF, green), kReferencePair),
    nested("blue", offsetof(KMCAL_MEASDATA_USERPROOF, blue), kReferencePair),
    nested("white", offsetof(KMCAL_MEASDATA_USERPROOF, white), kReferencePair),
    nested("black", offsetof(KMCAL_MEASDATA_USERPROOF, black), kReferencePair),
};
constexpr Layout kUserProofMeasurement{sizeof(KMCAL_MEASDATA_USERPROOF),
                                       kUserProofMeasurementFields};

using Criterion = decltype(MDCSSG2CalibrationData::brightness);
constexpr Field kCriterionFields[] = {scalar("criterion", offsetof(Criterion, criterion))};
constexpr Layout kCriterion{sizeof(Criterion), kCriterionFields};

constexpr Field kCalibrationFields[] = {
    nested("brightness", offsetof(MDCSSG2CalibrationData, brightness), kCriterion),
    nested("temperature", offsetof(MDCSSG2CalibrationData, temperature), kCriterion),
    {"coefficientType", offsetof(MDCSSG2CalibrationData, coefficientType), Kind::Int32},
    nested("calibration", offsetof(MDCSSG2CalibrationData, calibration), kUserProof),
    nested("measurement", offsetof(MDCSSG2CalibrationData, measurement), kUserProofMeasurement),
};

constexpr Field kCorrectFields[] = {
    nested("reference", offsetof(KMCAL_CALDATA_CORRECT, reference), kXYZ),
    nested("XYZ", offsetof(KMCAL_CALDATA_CORRECT, XYZ), kXYZ),
};
constexpr Layout kCorrect{sizeof(KMCAL_CALDATA_CORRECT), kCorrectFields};

constexpr Field kGrayFields[] = {
    nested("reference", offsetof(KMCAL_MEASDATA_CORRECT_GRAY, reference), kXYZ),
    nested("RGB", offsetof(KMCAL_MEASDATA_CORRECT_GRAY, RGB), kRGB),
};
constexpr Layout kGray{sizeof(KMCAL_MEASDATA_CORRECT_GRAY), kGrayFields};

constexpr Field kCorrectionFields[] = {
    scalar("gamma", offsetof(MDCSSG2CorrectionData, gamma)),
    scalar("threshold", offsetof(MDCSSG2CorrectionData, threshold)),
    array("step", offsetof(MDCSSG2CorrectionData, step), 8),
    nested("correction", offsetof(MDCSSG2CorrectionData, correction), kCorrect),
    nested("measurement", offsetof(MDCSSG2CorrectionData, measurement), kGray),
};

using LuminanceLevel = MDCSSG2LuminanceLevelCorrectionParams;
constexpr Field kLuminanceLevelFields[] = {
    scalar("brightness", offsetof(LuminanceLevel, brightness)),
    {"dimmerOut", offsetof(LuminanceLevel, dimmerOut), Kind::Int32},
};

constexpr Field kValueFields[] = {
    scalar("X", offsetof(R2XC_Value, X)), scalar("Y", offsetof(R2XC_Value, Y)),
    scalar("Z", offsetof(R2XC_Value, Z)), scalar("R", offsetof(R2XC_Value, R)),
    scalar("G", offsetof(R2XC_Value, G)), scalar("B", offsetof(R2XC_Value, B)),
};
constexpr Layout kValue{sizeof(R2XC_Value), kValueFields};

constexpr Field kValueRGBKFields[] = {
    nested("red", offsetof(R2XC_ValueRGBK, red), kValue),
    nested("green", offsetof(R2XC_ValueRGBK, green), kValue),
    nested("blue", offsetof(R2XC_ValueRGBK, blue), kValue),
    nested("black", offsetof(R2XC_ValueRGBK, black), kValue),
};

using Tone = decltype(R2XC_RefParam::red);
constexpr Field kToneFields[] = {scalar("tone", offsetof(Tone, tone))};
constexpr Layout kTone{sizeof(Tone), kToneFields};

constexpr Field kRefParamFields[] = {
    scalar("ambientTemperature", offsetof(R2XC_RefParam, ambientTemperature)),
    scalar("setTemperature", offsetof(R2XC_RefParam, setTemperature)),
    {"dimmerOut", offsetof(R2XC_RefParam, dimmerOut), Kind::Int32},
    nested("red", offsetof(R2XC_RefParam, red), kTone),
    nested("green", offsetof(R2XC_RefParam, green), kTone),
    nested("blue", offsetof(R2XC_RefParam, blue), kTone),
};

constexpr Field kRefToneParamFields[] = {
    array("tone", offsetof(R2XC_RefToneParam, tone), 3),
    array("gamma", offsetof(R2XC_RefToneParam, gamma), 3),
};

constexpr Field kToneCorrectionFields[] = {
    nested("red", offsetof(R2XC_ToneCorrectionParam, red), kValue),
    nested("green", offsetof(R2XC_ToneCorrectionParam, green), kValue),
    nested("blue", offsetof(R2XC_ToneCorrectionParam, blue), kValue),
};

// ---- Writing ------------------------------------------------------------------------------------

const unsigned char* at(const void* record, std::size_t offset) {
  return static_cast<const unsigned char*>(record) + offset;
}

double doubleAt(const void* record, std::size_t offset) {
  double value;
  std::memcpy(&value, at(record, offset), sizeof value);
  return value;
}

template <class Integer>
Integer integerAt(const void* record, std::size_t offset) {
  Integer value;
  std::memcpy(&value, at(record, offset), sizeof value);
  return value;
}

// Null when every element is zero, so that the member is left out.
cairnjson::Value writeDoubles(const void* record, const Field& field) {
  bool allZero = true;
  auto element = [&](std::size_t index) {
    const double value = doubleAt(record, field.offset + index * sizeof(double));
    if (value != 0.0) allZero = false;
    return number(value);
  };
  cairnjson::Value json;
  if (field.columns == 0) {
    json = element(0);
  } else if (field.rows == 0) {
    for (std::size_t column = 0; column < field.columns; ++column) json.push_back(element(column));
  } else {
    for (std::size_t row = 0; row < field.rows; ++row) {
      cairnjson::Value line(cairnjson::Type::Array);
      for (std::size_t column = 0; column < field.columns; ++column) {
        line.push_back(element(row * field.columns + column));
      }
      json.push_back(line);
    }
  }
  return allZero ? cairnjson::Value() : json;
}

cairnjson::Value writeField(const void* record, const Field& field) {
  cairnjson::Value json;
  switch (field.kind) {
    case Kind::Double:
      return writeDoubles(record, field);
    case Kind::Int32: {
      const auto value = integerAt<int32_t>(record, field.offset);
      if (value != 0) json.setInteger(value);
      return json;
    }
    case Kind::Uint16: {
      const auto value = integerAt<uint16_t>(record, field.offset);
      if (value != 0) json.setInteger(value);
      return json;
    }
    case Kind::Uint8: {
      const auto value = integerAt<uint8_t>(record, field.offset);
      if (value != 0) json.setInteger(value);
      return json;
    }
    case Kind::Text: {
      const char* text = reinterpret_cast<const char*>(at(record, field.offset));
      const std::size_t length = strnlen(text, field.columns - 1);
      if (length != 0) json.setString(std::string(text, length));
      return json;
    }
    case Kind::Record: {
      json = write(at(record, field.offset), *field.record);
      return json.size() == 0 ? cairnjson::Value() : json;
    }
  }
  return json;
}

// ---- Reading ------------------------------------------------------------------------------------

unsigned char* at(void* record, std::size_t offset) {
  return static_cast<unsigned char*>(record) + offset;
}

double readNumber(const cairnjson::Value& value, const std::string& place) {
  if (!value.isNumber()) throw WorldFormatError(place, "expected a number");
  const double number = value.toDouble(0.0);
  if (!std::isfinite(number)) throw WorldFormatError(place, "expected a finite number");
  return number;
}

void readDoubles(const cairnjson::Value& value, void* record, const Field& field,
                 const std::string& place) {
  auto store = [&](std::size_t index, const cairnjson::Value& element, const std::string& where) {
    const double number = readNumber(element, where);
    std::memcpy(at(record, field.offset + index * sizeof(double)), &number, sizeof number);
  };
  auto expectArray = [](const cairnjson::Value& array, std::size_t length,
                        const std::string& where) {
    if (!array.isArray()) throw WorldFormatError(where, "expected an array");
    if (array.size() != length) {
      throw WorldFormatError(where, "expected " + std::to_string(length) + " elements");
    }
  };
  if (field.columns == 0) {
    store(0, value, place);
  } else if (field.rows == 0) {
    expectArray(value, field.columns, place);
    for (std::size_t column = 0; column < field.columns; ++column) {
      store(column, value.elements()[column], place + "[" + std::to_string(column) + "]");
    }
  } else {
    expectArray(value, field.rows, place);
    for (std::size_t row = 0; row < field.rows; ++row) {
      const std::string rowPlace = place + "[" + std::to_string(row) + "]";
      const cairnjson::Value& line = value.elements()[row];
      expectArray(line, field.columns, rowPlace);
      for (std::size_t column = 0; column < field.columns; ++column) {
        store(row * field.columns + column, line.elements()[column],
              rowPlace + "[" + std::to_string(column) + "]");
      }
    }
  }
}

template <class Integer>
void readInteger(const cairnjson::Value& value, void* record, std::size_t offset,
                 const std::string& place) {
  if (!value.isInteger()) throw WorldFormatError(place, "expected an integer");
  const long long number = value.toLLong(0);
  if (number < std::numeric_limits<Integer>::min() ||
      number > std::numeric_limits<Integer>::max()) {
    throw WorldFormatError(place, "out of range");
  }
  const auto stored = static_cast<Integer>(number);
  std::memcpy(at(record, offset), &stored, sizeof stored);
}

void readField(const cairnjson::Value& value, void* record, const Field& field,
               const std::string& place) {
  switch (field.kind) {
    case Kind::Double:
      readDoubles(value, record, field, place);
      return;
    case Kind::Int32:
      readInteger<int32_t>(value, record, field.offset, place);
      return;
    case Kind::Uint16:
      readInteger<uint16_t>(value, record, field.offset, place);
      return;
    case Kind::Uint8:
      readInteger<uint8_t>(value, record, field.offset, place);
      return;
    case Kind::Text: {
      if (!value.isString()) throw WorldFormatError(place, "expected a string");
      const std::string& text = value.stringRef();
      if (text.size() > field.columns - 1) {
        throw WorldFormatError(place,
                               "longer than " + std::to_string(field.columns - 1) + " characters");
      }
      std::memcpy(at(record, field.offset), text.data(), text.size());
      return;
    }
    case Kind::Record:
      read(value, at(record, field.offset), *field.record, place);
      return;
  }
}

}  // namespace

const Layout kDate{sizeof(MDDate), kDateFields};
const Layout kColor{sizeof(MDColor), kColorFields};
const Layout kCriterionSensorDescription{sizeof(Description), kDescriptionFields};
const Layout kCalibrationData{sizeof(MDCSSG2CalibrationData), kCalibrationFields};
const Layout kCorrectionData{sizeof(MDCSSG2CorrectionData), kCorrectionFields};
const Layout kLuminanceLevelCorrectionParams{sizeof(LuminanceLevel), kLuminanceLevelFields};
const Layout kValueRGBK{sizeof(R2XC_ValueRGBK), kValueRGBKFields};
const Layout kRefParam{sizeof(R2XC_RefParam), kRefParamFields};
const Layout kRefToneParam{sizeof(R2XC_RefToneParam), kRefToneParamFields};
const Layout kToneCorrectionParam{sizeof(R2XC_ToneCorrectionParam), kToneCorrectionFields};

namespace {
constexpr Field kCorrelationDataExFields[] = {
    nested("calibrationData", offsetof(MDCSSG2CorrelationDataEx, calibrationData),
           kCalibrationData),
    nested("correctionData", offsetof(MDCSSG2CorrelationDataEx, correctionData), kCorrectionData),
    nested("luminanceLevelCorrection", offsetof(MDCSSG2CorrelationDataEx, luminanceLevelCorrection),
           kLuminanceLevelCorrectionParams),
};
constexpr Field kIFSv3Fields[] = {
    nested("reference", offsetof(MDIFSv3CorrelationData, reference), kRefParam),
    nested("referenceTone", offsetof(MDIFSv3CorrelationData, referenceTone), kRefToneParam),
    nested("normalizedMeasurement", offsetof(MDIFSv3CorrelationData, normalizedMeasurement),
           kValueRGBK),
    nested("toneCorrection", offsetof(MDIFSv3CorrelationData, toneCorrection),
           kToneCorrectionParam),
};
}  // namespace

const Layout kCSSG2CorrelationDataEx{sizeof(MDCSSG2CorrelationDataEx), kCorrelationDataExFields};
const Layout kIFSv3CorrelationData{sizeof(MDIFSv3CorrelationData), kIFSv3Fields};

cairnjson::Value number(double value) {
  cairnjson::Value json;
  if (std::isfinite(value)) {
    json.setDouble(value);
  } else {
    json.setString(std::isnan(value) ? "nan" : value > 0.0 ? "inf" : "-inf");
  }
  return json;
}

bool finite(const void* record, const Layout& layout) {
  for (const Field& field : layout.fields) {
    if (field.kind == Kind::Record) {
      if (!finite(at(record, field.offset), *field.record)) return false;
    } else if (field.kind == Kind::Double) {
      const std::size_t count =
          field.columns == 0 ? 1 : (field.rows == 0 ? 1 : field.rows) * field.columns;
      for (std::size_t i = 0; i < count; ++i) {
        if (!std::isfinite(doubleAt(record, field.offset + i * sizeof(double)))) return false;
      }
    }
  }
  return true;
}

bool allFinite(const double* values, std::size_t count) {
  return std::all_of(values, values + count, [](double value) { return std::isfinite(value); });
}

cairnjson::Value write(const void* record, const Layout& layout) {
  cairnjson::Value json(cairnjson::Type::Object);
  for (const Field& field : layout.fields) {
    cairnjson::Value member = writeField(record, field);
    if (!member.isNull()) json[field.key] = member;
  }
  return json;
}

void read(const cairnjson::Value& value, void* record, const Layout& layout,
          const std::string& place) {
  if (!value.isObject()) throw WorldFormatError(place, "expected an object");
  for (const auto& [key, member] : value.members()) {
    const Field* match = nullptr;
    for (const Field& field : layout.fields) {
      if (key == field.key) match = &field;
    }
    const std::string memberPlace = place.empty() ? key : place + "." + key;
    if (!match) throw WorldFormatError(memberPlace, "unknown key");
    readField(member, record, *match, memberPlace);
  }
}

}  // namespace quilbysim::records
