#include "calibration/date_json.h"

#include "util/string_conversion.h"

#include <cstddef>
#include <string>

namespace vesk {

namespace {

// The field at text[position, position + length), which the caller has checked to lie inside.
std::int32_t fieldAt(const std::string& text, std::size_t position, std::size_t length) {
  return string::to<int>(text.substr(position, length));
}

DateTime dateFromText(const std::string& text) {
  const std::size_t length = text.size();
  if (length < 4) return DateTime(2000, 1, 1, 0, 0, 0);
  DateTime date(fieldAt(text, 0, 4), 1, 1, 0, 0, 0);
  // A field is read once the text reaches the end of its two digits.
  if (length >= 7) date.month = fieldAt(text, 5, 2);
  if (length >= 10) date.day = fieldAt(text, 8, 2);
  if (length >= 13) date.hour = fieldAt(text, 11, 2);
  if (length >= 16) date.minute = fieldAt(text, 14, 2);
  if (length >= 19) date.second = fieldAt(text, 17, 2);
  return date;
}

}  // namespace

cairnjson::Value ToJson(const DateTime& date, bool withDateString, bool withSecond,
                        bool withMsec) {
  cairnjson::Value json(cairnjson::Type::Object);
  json["year"].setInteger(date.year);
  json["month"].setInteger(date.month);
  json["day"].setInteger(date.day);
  json["hour"].setInteger(date.hour);
  json["minute"].setInteger(date.minute);
  if (withSecond) json["second"].setInteger(date.second);
  if (withMsec) json["msec"].setInteger(date.msec);
  if (withDateString) json["dateString"].setString(date.toString());
  return json;
}

DateTime DateTimeFromJson(const cairnjson::Value& json) {
  if (json.isString()) return dateFromText(json.toString(std::string()));
  DateTime date;
  date.second = json["second"].toInt(0);
  date.minute = json["minute"].toInt(0);
  date.hour = json["hour"].toInt(0);
  date.day = json["day"].toInt(0);
  date.month = json["month"].toInt(0);
  date.year = json["year"].toInt(0);
  return date;
}

}  // namespace vesk
