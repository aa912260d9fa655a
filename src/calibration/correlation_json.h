// The calibration and correlation records of the colour-sensor and correction libraries in JSON.
//
// A record's JSON form is an object whose keys are the record's member names, the same keys the
// tolerant comparators of calibration/tolerant_compare.h read, so a record written here can be
// compared as it stands:
//   - a nested structure is an object, e.g. "brightness": {"criterion": 120.0};
//   - an array of doubles is an array of floating numbers; a two-dimensional one is an array of
//     rows, e.g. "a": [[1.0, 0.0, 0.0], [0.0, 1.0, 0.0], [0.0, 0.0, 1.0]];
//   - a double is a floating number (Double kind, also when it is whole; its text is the number
//     text of cairnjson::Double, so a whole 160.0 reads "160" and parses back as an Integer,
//     which reading converts);
//   - an int32_t is an integer (Integer kind).
// Example, an MDCSSG2LuminanceLevelCorrectionParams: {"brightness": 160.0, "dimmerOut": 1023}.
//
// Writing (ToJson) emits every member, zero ones included. A double that JSON cannot carry (NaN,
// an infinity) is stored as it is; the serializer refuses such a document, so an answer holding
// one becomes the dispatcher's 500 "UnknownError" rather than invalid JSON.
//
// Reading (<Record>FromJson) is lenient, as everywhere in the plug-in, and never fails: it starts
// from a zeroed record and reads each member it finds.
//   - A missing member, a member of the wrong kind that does not convert, or a `json` that is not
//     an object (null included) leaves the member 0.
//   - Doubles are read with Value::toDouble(0.0): integers convert, booleans are 0.0 or 1.0,
//     numeric strings are parsed.
//   - int32_t members are read with Value::toInt(0): floating numbers are rounded half away from
//     zero; values outside the 32-bit range, and strings that are not wholly an integer literal,
//     give 0.
//   - Arrays are read element by element up to the record's bound; missing elements stay 0 and
//     extra ones are ignored. A row that is not an array leaves its row 0.
// Members not in the record (unknown keys) are ignored.
//
// Nothing here takes a lock or touches a library; only a failed allocation (std::bad_alloc)
// escapes.
#ifndef QUILBY_CALIBRATION_CORRELATION_JSON_H
#define QUILBY_CALIBRATION_CORRELATION_JSON_H

#include "json/value.h"
#include "quilby/device_types.h"

#include <cstddef>

namespace vesk {

// {"X", "Y", "Z"}.
[[nodiscard]] cairnjson::Value ToJson(const KMCAL_G2XYZcnt& record);
KMCAL_G2XYZcnt KMCAL_G2XYZcntFromJson(const cairnjson::Value& json);

// {"R", "G", "B"}.
[[nodiscard]] cairnjson::Value ToJson(const KMCAL_G2RGBems& record);
KMCAL_G2RGBems KMCAL_G2RGBemsFromJson(const cairnjson::Value& json);

// {"XYZ0": XYZ, "XYZBlack": XYZ, "a": 3 rows of 3, "b": [3]}.
[[nodiscard]] cairnjson::Value ToJson(const KMCAL_CALDATA_USERPROOF& record);
KMCAL_CALDATA_USERPROOF KMCAL_CALDATA_USERPROOFFromJson(const cairnjson::Value& json);

// {"red", "green", "blue", "white", "black"}, each {"reference": XYZ, "XYZ": XYZ}.
[[nodiscard]] cairnjson::Value ToJson(const KMCAL_MEASDATA_USERPROOF& record);
KMCAL_MEASDATA_USERPROOF KMCAL_MEASDATA_USERPROOFFromJson(const cairnjson::Value& json);

// {"reference": XYZ, "XYZ": XYZ}.
[[nodiscard]] cairnjson::Value ToJson(const KMCAL_CALDATA_CORRECT& record);
KMCAL_CALDATA_CORRECT KMCAL_CALDATA_CORRECTFromJson(const cairnjson::Value& json);

// {"reference": XYZ, "RGB": RGB}.
[[nodiscard]] cairnjson::Value ToJson(const KMCAL_MEASDATA_CORRECT_GRAY& record);
KMCAL_MEASDATA_CORRECT_GRAY KMCAL_MEASDATA_CORRECT_GRAYFromJson(const cairnjson::Value& json);

// {"brightness": {"criterion"}, "temperature": {"criterion"}, "coefficientType": integer,
//  "calibration": KMCAL_CALDATA_USERPROOF, "measurement": KMCAL_MEASDATA_USERPROOF}.
[[nodiscard]] cairnjson::Value ToJson(const MDCSSG2CalibrationData& record);
MDCSSG2CalibrationData MDCSSG2CalibrationDataFromJson(const cairnjson::Value& json);

// {"gamma", "threshold", "step": [8], "correction": KMCAL_CALDATA_CORRECT,
//  "measurement": KMCAL_MEASDATA_CORRECT_GRAY}.
[[nodiscard]] cairnjson::Value ToJson(const MDCSSG2CorrectionData& record);
MDCSSG2CorrectionData MDCSSG2CorrectionDataFromJson(const cairnjson::Value& json);

// {"brightness", "dimmerOut": integer}.
[[nodiscard]] cairnjson::Value ToJson(const MDCSSG2LuminanceLevelCorrectionParams& record);
MDCSSG2LuminanceLevelCorrectionParams MDCSSG2LuminanceLevelCorrectionParamsFromJson(
    const cairnjson::Value& json);

// {"calibrationData", "correctionData", "luminanceLevelCorrection"}, the three records above.
[[nodiscard]] cairnjson::Value ToJson(const MDCSSG2CorrelationDataEx& record);
MDCSSG2CorrelationDataEx MDCSSG2CorrelationDataExFromJson(const cairnjson::Value& json);

// {"X", "Y", "Z", "R", "G", "B"}.
[[nodiscard]] cairnjson::Value ToJson(const R2XC_Value& record);
R2XC_Value R2XC_ValueFromJson(const cairnjson::Value& json);

// {"red", "green", "blue", "black"}, each an R2XC_Value.
[[nodiscard]] cairnjson::Value ToJson(const R2XC_ValueRGBK& record);
R2XC_ValueRGBK R2XC_ValueRGBKFromJson(const cairnjson::Value& json);

// {"ambientTemperature", "setTemperature", "dimmerOut": integer, "red": {"tone"},
//  "green": {"tone"}, "blue": {"tone"}}.
[[nodiscard]] cairnjson::Value ToJson(const R2XC_RefParam& record);
R2XC_RefParam R2XC_RefParamFromJson(const cairnjson::Value& json);

// {"tone": [3], "gamma": [3]}.
[[nodiscard]] cairnjson::Value ToJson(const R2XC_RefToneParam& record);
R2XC_RefToneParam R2XC_RefToneParamFromJson(const cairnjson::Value& json);

// {"red", "green", "blue"}, each an R2XC_Value.
[[nodiscard]] cairnjson::Value ToJson(const R2XC_ToneCorrectionParam& record);
R2XC_ToneCorrectionParam R2XC_ToneCorrectionParamFromJson(const cairnjson::Value& json);

// A library date in the JSON date form of calibration/date_json.h, as ToJson(DateTime, true,
// false, false) writes it: {"dateString": "2024-03-07 09:05:00", "day": 7, "hour": 9,
// "minute": 5, "month": 3, "year": 2024} (the seconds are always 0).
[[nodiscard]] cairnjson::Value ToJson(const MDDate& date);
// DateTimeFromJson (an object of numbers or a date text, read leniently), each field cut to the
// record's width (a year above 65535 or a month above 255 wraps; seconds are dropped). Invalid
// dates (a month of 13) pass through for the library to judge.
MDDate MDDateFromJson(const cairnjson::Value& json);

// {"deviceID": integer, "serial"}: the reference sensor a correlation was made against, its serial
// read from the library's fixed-size buffer of `serialSize` bytes (which it may fill to the last
// byte).
[[nodiscard]] cairnjson::Value ReferenceSensorToJson(long long deviceID, const char* serial,
                                       std::size_t serialSize);

// {"reference": R2XC_RefParam, "referenceTone": R2XC_RefToneParam,
//  "normalizedMeasurement": R2XC_ValueRGBK, "toneCorrection": R2XC_ToneCorrectionParam}.
[[nodiscard]] cairnjson::Value ToJson(const MDIFSv3CorrelationData& record);
MDIFSv3CorrelationData MDIFSv3CorrelationDataFromJson(const cairnjson::Value& json);

}  // namespace vesk

#endif  // QUILBY_CALIBRATION_CORRELATION_JSON_H
