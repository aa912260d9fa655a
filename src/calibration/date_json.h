// The JSON form of DateTime inside calibration and correlation records.
#ifndef QUILBY_CALIBRATION_DATE_JSON_H
#define QUILBY_CALIBRATION_DATE_JSON_H

#include "json/value.h"
#include "util/date_time.h"

namespace vesk {

// An object with the Integer members "year", "month", "day", "hour" and "minute"; also "second"
// when `withSecond`, "msec" when `withMsec`, and the String "dateString" (DateTime::toString(),
// which always carries the seconds) when `withDateString`. Fields are written as they are, without
// range checks. Does not fail.
//
// Example: 2024-03-07 09:05:30.250 with (true, false, false) serializes as
//   {"dateString":"2024-03-07 09:05:30","day":7,"hour":9,"minute":5,"month":3,"year":2024}
[[nodiscard]] cairnjson::Value ToJson(const DateTime& date, bool withDateString, bool withSecond,
                        bool withMsec);

// Reads a date leniently; never fails, msec is always 0.
//   - A String is read at the fixed positions of "YYYY-MM-DD hh:mm:ss", each piece with
//     string::to<int>; the separators are never looked at, and the text may stop early: the
//     fields it does not reach are month 1, day 1 and 0 for the time. A text of 3 characters or
//     fewer gives 2000-01-01 00:00:00; characters after the seconds are ignored. So "2024-03"
//     gives 2024-03-01 00:00:00 and "2024/03/07T09.05.30" reads like "2024-03-07 09:05:30".
//   - Anything else is read as an object of numeric members "year", "month", "day", "hour",
//     "minute" and "second" (Value::toInt with default 0); a missing member, or a value that is
//     not an object (null included), gives 0 for that field. "msec" is not read.
// Out-of-range numbers pass through unchanged (a month of 13 stays 13).
[[nodiscard]] DateTime DateTimeFromJson(const cairnjson::Value& json);

}  // namespace vesk

#endif  // QUILBY_CALIBRATION_DATE_JSON_H
