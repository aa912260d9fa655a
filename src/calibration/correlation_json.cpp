#include "calibration/correlation_json.h"

#include "calibration/date_json.h"
#include "util/date_time.h"
#include "util/fixed_buffer_text.h"

#include <cstddef>
#include <cstdint>

namespace vesk {

namespace {

// One member list per record, shared by writing and reading so that the two directions cannot
// drift apart: each hands every member with its key to `visit`, which then writes or reads it.
// Members whose structures have no name of their own are reached through decltype.

using Criterion = decltype(MDCSSG2CalibrationData::brightness);
using MeasuredPair = decltype(KMCAL_MEASDATA_USERPROOF::red);
using Tone = decltype(R2XC_RefParam::red);

template <class Visit>
void visitMembers(KMCAL_G2XYZcnt& record, Visit& visit) {
  visit("X", record.X);
  visit("Y", record.Y);
  visit("Z", record.Z);
}

template <class Visit>
void visitMembers(KMCAL_G2RGBems& record, Visit& visit) {
  visit("R", record.R);
  visit("G", record.G);
  visit("B", record.B);
}

template <class Visit>
void visitMembers(KMCAL_CALDATA_USERPROOF& record, Visit& visit) {
  visit("XYZ0", record.XYZ0);
  visit("XYZBlack", record.XYZBlack);
  visit("a", record.a);
  visit("b", record.b);
}

template <class Visit>
void visitMembers(MeasuredPair& record, Visit& visit) {
  visit("reference", record.reference);
  visit("XYZ", record.XYZ);
}

template <class Visit>
void visitMembers(KMCAL_MEASDATA_USERPROOF& record, Visit& visit) {
  visit("red", record.red);
  visit("green", record.green);
  visit("blue", record.blue);
  visit("white", record.white);
  visit("black", record.black);
}

template <class Visit>
void visitMembers(KMCAL_CALDATA_CORRECT& record, Visit& visit) {
  visit("reference", record.reference);
  visit("XYZ", record.XYZ);
}

template <class Visit>
void visitMembers(KMCAL_MEASDATA_CORRECT_GRAY& record, Visit& visit) {
  visit("reference", record.reference);
  visit("RGB", record.RGB);
}

template <class Visit>
void visitMembers(Criterion& record, Visit& visit) {
  visit("criterion", record.criterion);
}

template <class Visit>
void visitMembers(MDCSSG2CalibrationData& record, Visit& visit) {
  visit("brightness", record.brightness);
  visit("temperature", record.temperature);
  visit("coefficientType", record.coefficientType);
  visit("calibration", record.calibration);
  visit("measurement", record.measurement);
}

template <class Visit>
void visitMembers(MDCSSG2CorrectionData& record, Visit& visit) {
  visit("gamma", record.gamma);
  visit("threshold", record.threshold);
  visit("step", record.step);
  visit("correction", record.correction);
  visit("measurement", record.measurement);
}

template <class Visit>
void visitMembers(MDCSSG2LuminanceLevelCorrectionParams& record, Visit& visit) {
  visit("brightness", record.brightness);
  visit("dimmerOut", record.dimmerOut);
}

template <class Visit>
void visitMembers(MDCSSG2CorrelationDataEx& record, Visit& visit) {
  visit("calibrationData", record.calibrationData);
  visit("correctionData", record.correctionData);
  visit("luminanceLevelCorrection", record.luminanceLevelCorrection);
}

template <class Visit>
void visitMembers(R2XC_Value& record, Visit& visit) {
  visit("X", record.X);
  visit("Y", record.Y);
  visit("Z", record.Z);
  visit("R", record.R);
  visit("G", record.G);
  visit("B", record.B);
}

template <class Visit>
void visitMembers(R2XC_ValueRGBK& record, Visit& visit) {
  visit("red", record.red);
  visit("green", record.green);
  visit("blue", record.blue);
  visit("black", record.black);
}

template <class Visit>
void visitMembers(Tone& record, Visit& visit) {
  visit("tone", record.tone);
}

template <class Visit>
void visitMembers(R2XC_RefParam& record, Visit& visit) {
  visit("ambientTemperature", record.ambientTemperature);
  visit("setTemperature", record.setTemperature);
  visit("dimmerOut", record.dimmerOut);
  visit("red", record.red);
  visit("green", record.green);
  visit("blue", record.blue);
}

template <class Visit>
void visitMembers(R2XC_RefToneParam& record, Visit& visit) {
  visit("tone", record.tone);
  visit("gamma", record.gamma);
}

template <class Visit>
void visitMembers(R2XC_ToneCorrectionParam& record, Visit& visit) {
  visit("red", record.red);
  visit("green", record.green);
  visit("blue", record.blue);
}

template <class Visit>
void visitMembers(MDIFSv3CorrelationData& record, Visit& visit) {
  visit("reference", record.reference);
  visit("referenceTone", record.referenceTone);
  visit("normalizedMeasurement", record.normalizedMeasurement);
  visit("toneCorrection", record.toneCorrection);
}

template <std::size_t Count>
cairnjson::Value numbers(const double (&values)[Count]) {
  cairnjson::Value array(cairnjson::Type::Array);
  for (const double number : values) array.push_back(cairnjson::Value::makeDouble(number));
  return array;
}

// Fills `json`, an object, with the members it is handed.
class Writer {
 public:
  explicit Writer(cairnjson::Value& json) : json_(json) {}

  void operator()(const char* key, double& member) {
    json_[key] = cairnjson::Value::makeDouble(member);
  }
  void operator()(const char* key, std::int32_t& member) { json_[key].setInteger(member); }
  template <std::size_t Count>
  void operator()(const char* key, double (&member)[Count]) {
    json_[key] = numbers(member);
  }
  template <std::size_t Rows, std::size_t Columns>
  void operator()(const char* key, double (&member)[Rows][Columns]) {
    cairnjson::Value rows(cairnjson::Type::Array);
    for (const auto& row : member) rows.push_back(numbers(row));
    json_[key] = rows;
  }
  template <class Nested>
  void operator()(const char* key, Nested& member) {
    cairnjson::Value nested(cairnjson::Type::Object);
    Writer writer(nested);
    visitMembers(member, writer);
    json_[key] = nested;
  }

 private:
  cairnjson::Value& json_;
};

// Reads the members it is handed from `json` with the lenient conversions; only the const lookups
// are used, so a missing member or a wrong kind reads as null.
class Reader {
 public:
  explicit Reader(const cairnjson::Value& json) : json_(json) {}

  void operator()(const char* key, double& member) { member = json_[key].toDouble(0.0); }
  void operator()(const char* key, std::int32_t& member) { member = json_[key].toInt(0); }
  template <std::size_t Count>
  void operator()(const char* key, double (&member)[Count]) {
    readNumbers(json_[key], member);
  }
  template <std::size_t Rows, std::size_t Columns>
  void operator()(const char* key, double (&member)[Rows][Columns]) {
    const cairnjson::Value& rows = json_[key];
    for (std::size_t row = 0; row < Rows; ++row) readNumbers(rows[row], member[row]);
  }
  template <class Nested>
  void operator()(const char* key, Nested& member) {
    Reader reader(json_[key]);
    visitMembers(member, reader);
  }

 private:
  template <std::size_t Count>
  static void readNumbers(const cairnjson::Value& array, double (&values)[Count]) {
    for (std::size_t index = 0; index < Count; ++index) values[index] = array[index].toDouble(0.0);
  }

  const cairnjson::Value& json_;
};

template <class Record>
cairnjson::Value recordToJson(const Record& record) {
  // The member list hands out writable members; the copy keeps the caller's record untouched.
  Record copy = record;
  cairnjson::Value json(cairnjson::Type::Object);
  Writer writer(json);
  visitMembers(copy, writer);
  return json;
}

template <class Record>
Record recordFromJson(const cairnjson::Value& json) {
  Record record{};
  Reader reader(json);
  visitMembers(record, reader);
  return record;
}

}  // namespace

cairnjson::Value ToJson(const KMCAL_G2XYZcnt& record) { return recordToJson(record); }
KMCAL_G2XYZcnt KMCAL_G2XYZcntFromJson(const cairnjson::Value& json) {
  return recordFromJson<KMCAL_G2XYZcnt>(json);
}

cairnjson::Value ToJson(const KMCAL_G2RGBems& record) { return recordToJson(record); }
KMCAL_G2RGBems KMCAL_G2RGBemsFromJson(const cairnjson::Value& json) {
  return recordFromJson<KMCAL_G2RGBems>(json);
}

cairnjson::Value ToJson(const KMCAL_CALDATA_USERPROOF& record) { return recordToJson(record); }
KMCAL_CALDATA_USERPROOF KMCAL_CALDATA_USERPROOFFromJson(const cairnjson::Value& json) {
  return recordFromJson<KMCAL_CALDATA_USERPROOF>(json);
}

cairnjson::Value ToJson(const KMCAL_MEASDATA_USERPROOF& record) { return recordToJson(record); }
KMCAL_MEASDATA_USERPROOF KMCAL_MEASDATA_USERPROOFFromJson(const cairnjson::Value& json) {
  return recordFromJson<KMCAL_MEASDATA_USERPROOF>(json);
}

cairnjson::Value ToJson(const KMCAL_CALDATA_CORRECT& record) { return recordToJson(record); }
KMCAL_CALDATA_CORRECT KMCAL_CALDATA_CORRECTFromJson(const cairnjson::Value& json) {
  return recordFromJson<KMCAL_CALDATA_CORRECT>(json);
}

cairnjson::Value ToJson(const KMCAL_MEASDATA_CORRECT_GRAY& record) { return recordToJson(record); }
KMCAL_MEASDATA_CORRECT_GRAY KMCAL_MEASDATA_CORRECT_GRAYFromJson(const cairnjson::Value& json) {
  return recordFromJson<KMCAL_MEASDATA_CORRECT_GRAY>(json);
}

cairnjson::Value ToJson(const MDCSSG2CalibrationData& record) { return recordToJson(record); }
MDCSSG2CalibrationData MDCSSG2CalibrationDataFromJson(const cairnjson::Value& json) {
  return recordFromJson<MDCSSG2CalibrationData>(json);
}

cairnjson::Value ToJson(const MDCSSG2CorrectionData& record) { return recordToJson(record); }
MDCSSG2CorrectionData MDCSSG2CorrectionDataFromJson(const cairnjson::Value& json) {
  return recordFromJson<MDCSSG2CorrectionData>(json);
}

cairnjson::Value ToJson(const MDCSSG2LuminanceLevelCorrectionParams& record) {
  return recordToJson(record);
}
MDCSSG2LuminanceLevelCorrectionParams MDCSSG2LuminanceLevelCorrectionParamsFromJson(
    const cairnjson::Value& json) {
  return recordFromJson<MDCSSG2LuminanceLevelCorrectionParams>(json);
}

cairnjson::Value ToJson(const MDCSSG2CorrelationDataEx& record) { return recordToJson(record); }
MDCSSG2CorrelationDataEx MDCSSG2CorrelationDataExFromJson(const cairnjson::Value& json) {
  return recordFromJson<MDCSSG2CorrelationDataEx>(json);
}

cairnjson::Value ToJson(const R2XC_Value& record) { return recordToJson(record); }
R2XC_Value R2XC_ValueFromJson(const cairnjson::Value& json) {
  return recordFromJson<R2XC_Value>(json);
}

cairnjson::Value ToJson(const R2XC_ValueRGBK& record) { return recordToJson(record); }
R2XC_ValueRGBK R2XC_ValueRGBKFromJson(const cairnjson::Value& json) {
  return recordFromJson<R2XC_ValueRGBK>(json);
}

cairnjson::Value ToJson(const R2XC_RefParam& record) { return recordToJson(record); }
R2XC_RefParam R2XC_RefParamFromJson(const cairnjson::Value& json) {
  return recordFromJson<R2XC_RefParam>(json);
}

cairnjson::Value ToJson(const R2XC_RefToneParam& record) { return recordToJson(record); }
R2XC_RefToneParam R2XC_RefToneParamFromJson(const cairnjson::Value& json) {
  return recordFromJson<R2XC_RefToneParam>(json);
}

cairnjson::Value ToJson(const R2XC_ToneCorrectionParam& record) { return recordToJson(record); }
R2XC_ToneCorrectionParam R2XC_ToneCorrectionParamFromJson(const cairnjson::Value& json) {
  return recordFromJson<R2XC_ToneCorrectionParam>(json);
}

cairnjson::Value ToJson(const MDIFSv3CorrelationData& record) { return recordToJson(record); }
MDIFSv3CorrelationData MDIFSv3CorrelationDataFromJson(const cairnjson::Value& json) {
  return recordFromJson<MDIFSv3CorrelationData>(json);
}

cairnjson::Value ToJson(const MDDate& date) {
  return ToJson(DateTime(date.year, date.month, date.day, date.hour, date.minute, 0, 0), true,
                false, false);
}

MDDate MDDateFromJson(const cairnjson::Value& json) {
  const DateTime date = DateTimeFromJson(json);
  MDDate record{};
  record.year = static_cast<std::uint16_t>(date.year);
  record.month = static_cast<std::uint8_t>(date.month);
  record.day = static_cast<std::uint8_t>(date.day);
  record.hour = static_cast<std::uint8_t>(date.hour);
  record.minute = static_cast<std::uint8_t>(date.minute);
  return record;
}

cairnjson::Value ReferenceSensorToJson(long long deviceID, const char* serial,
                                       std::size_t serialSize) {
  cairnjson::Value reference(cairnjson::Type::Object);
  reference["deviceID"] = cairnjson::Value::makeInteger(deviceID);
  reference["serial"].setString(string::fromFixedBuffer(serial, serialSize));
  return reference;
}

}  // namespace vesk
