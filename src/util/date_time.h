// DateTime: a calendar date and time of day as plain fields, with a fixed text form.
#ifndef QUILBY_UTIL_DATE_TIME_H
#define QUILBY_UTIL_DATE_TIME_H

#include <cstdint>
#include <string>

// A broken-down date and time. The fields are stored as given and never checked or normalised
// (a month of 13 stays 13); the time zone is whatever the producer used (fs::file_modification_date
// gives UTC). A default DateTime has every field 0. The destructor is virtual so that callers may
// derive their own record kinds from it.
class DateTime {
 public:
  DateTime() = default;
  DateTime(std::int32_t year, std::int32_t month, std::int32_t day, std::int32_t hour,
           std::int32_t minute, std::int32_t second, std::int32_t msec = 0)
      : year(year), month(month), day(day), hour(hour), minute(minute), second(second),
        msec(msec) {}
  DateTime(const DateTime&) = default;
  DateTime(DateTime&&) noexcept = default;
  DateTime& operator=(const DateTime&) = default;
  DateTime& operator=(DateTime&&) noexcept = default;
  virtual ~DateTime() = default;

  // Field-by-field equality, msec included.
  bool operator==(const DateTime& other) const = default;

  // "YYYY-MM-DD hh:mm:ss": the year padded with zeros to 4 digits, the other fields to 2. A value
  // needing more digits is written in full, and a sign counts towards the padding (a year of -5
  // gives "-005"). msec is not written.
  // Example: 7 March 2024 at 9:05:00 gives "2024-03-07 09:05:00"; the default gives
  // "0000-00-00 00:00:00".
  [[nodiscard]] std::string toString() const;

  std::int32_t year = 0;    // full year, e.g. 2024
  std::int32_t month = 0;   // 1 to 12
  std::int32_t day = 0;     // 1 to 31
  std::int32_t hour = 0;    // 0 to 23
  std::int32_t minute = 0;  // 0 to 59
  std::int32_t second = 0;  // 0 to 59 (60 for a leap second)
  std::int32_t msec = 0;    // milliseconds, 0 to 999
};

#endif  // QUILBY_UTIL_DATE_TIME_H
