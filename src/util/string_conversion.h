// string::to<T>: decimal text to a number, the way a stream reads it.
#ifndef QUILBY_UTIL_STRING_CONVERSION_H
#define QUILBY_UTIL_STRING_CONVERSION_H

#include <locale>
#include <sstream>
#include <string>
#include <type_traits>

namespace string {

// Reads a number from the start of `text` by stream extraction: leading white space is skipped,
// reading stops at the first character that cannot continue the number, and the rest is ignored.
// Never fails and never throws for bad text:
//   - no leading number (empty text, letters first) gives 0;
//   - a number out of the range of T gives T's nearest limit.
// The classic "C" locale is used, so the host's locale (digit grouping) never changes the result.
//
// Example: string::to<int>(" 42abc") == 42, string::to<int>("abc") == 0.
template <class T>
T to(const std::string& text) {
  static_assert(std::is_arithmetic_v<T>, "string::to reads numbers only");
  std::istringstream stream(text);
  stream.imbue(std::locale::classic());
  T value{};
  stream >> value;
  return value;
}

}  // namespace string

#endif  // QUILBY_UTIL_STRING_CONVERSION_H
