// JSON form of the C records of device_types.h, for the world file, the world dump and the
// journal.
//
// A record is an object whose keys are its member names: a nested record becomes an object, an
// array an array (two-dimensional: an array of rows), a double a floating number, an integer an
// integer, a text a string. Writing leaves out every member that is zero (numbers 0, texts empty,
// nested records and arrays all zero), so stored records stay short; reading starts from a zeroed
// record, so a missing member reads as zero and writing then reading gives the record back.
#ifndef QUILBY_SIM_SRC_RECORDS_H
#define QUILBY_SIM_SRC_RECORDS_H

#include "quilby/device_types.h"

#include "json/value.h"

#include <cstddef>
#include <span>
#include <stdexcept>
#include <string>

namespace quilbysim {

// A world text that cannot be read: the message names the place and the problem, for example
// "monitors[1].serial: longer than 8 characters".
class WorldFormatError : public std::runtime_error {
 public:
  WorldFormatError(const std::string& place, const std::string& problem)
      : std::runtime_error((place.empty() ? std::string("world") : place) + ": " + problem) {}
};

namespace records {

enum class Kind { Double, Int32, Uint16, Uint8, Text, Record };

struct Layout;

struct Field {
  const char* key;
  std::size_t offset;
  Kind kind;
  // Double: `rows` x `columns` elements; rows 0 is a flat array of `columns`, columns 0 a scalar.
  // Text: `columns` is the buffer size including the NUL.
  std::size_t rows = 0;
  std::size_t columns = 0;
  const Layout* record = nullptr;  // Kind::Record
};

struct Layout {
  std::size_t size;
  std::span<const Field> fields;
};

extern const Layout kDate;
extern const Layout kColor;
extern const Layout kCriterionSensorDescription;
extern const Layout kCalibrationData;
extern const Layout kCorrectionData;
extern const Layout kLuminanceLevelCorrectionParams;
extern const Layout kCSSG2CorrelationDataEx;
extern const Layout kValueRGBK;
extern const Layout kRefParam;
extern const Layout kRefToneParam;
extern const Layout kToneCorrectionParam;
extern const Layout kIFSv3CorrelationData;

// A double as JSON: a floating number, or, for the values JSON cannot carry, the texts "nan",
// "inf" and "-inf" (so that a journal entry of a call given such a value stays readable).
cairnjson::Value number(double value);

// Whether every floating member of the record at `record` is a finite number. The simulated
// libraries refuse to store records that are not, so that the world always dumps and loads.
bool finite(const void* record, const Layout& layout);
// The same for a plain array of `count` doubles, such as a matrix handed in by a caller.
bool allFinite(const double* values, std::size_t count);

// The record at `record` as JSON, zero members left out (an all-zero record gives {}); non-finite
// members as number() writes them.
cairnjson::Value write(const void* record, const Layout& layout);

// Fills the zeroed record at `record` from `value`. Throws WorldFormatError naming `place` (the
// path of `value` in the world text) for a value that is not an object, an unknown key, a wrong
// kind, an array of the wrong length, a number out of its member's range or a text too long.
void read(const cairnjson::Value& value, void* record, const Layout& layout,
          const std::string& place);

}  // namespace records
}  // namespace quilbysim

#endif  // QUILBY_SIM_SRC_RECORDS_H
