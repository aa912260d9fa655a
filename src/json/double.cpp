#include "json/double.h"

#include "json/locale_decimal_point.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace cairnjson {
namespace {

std::size_t copyText(char* text, const char* source) {
  const std::size_t length = std::strlen(source);
  std::memcpy(text, source, length);
  return length;
}

// The literal rule: "%.17g" into a zero-filled 128-byte buffer, then every occurrence of the
// locale's decimal point character written as ".". Only reached for exotic locales.
std::size_t formatWithPrintf(double value, char decimalPoint, char* text) {
  char buffer[128] = {};
  const int printed = std::snprintf(buffer, 127, "%.17g", value);
  if (printed < 1) return 0;
  std::size_t length = 0;
  for (const char* c = buffer; *c != '\0' && length < Double::kMaxText; ++c) {
    text[length++] = (*c == decimalPoint) ? '.' : *c;
  }
  return length;
}

}  // namespace

bool Double::format(char* text, std::size_t& length) const noexcept {
  std::uint64_t bits;
  std::memcpy(&bits, &value_, sizeof bits);
  if ((bits & ~(std::uint64_t{1} << 63)) == 0) {
    length = copyText(text, "0.0");
    return true;
  }
  if (std::isnan(value_)) {
    length = copyText(text, "nan");
    return false;
  }
  if (std::isinf(value_)) {
    length = copyText(text, value_ < 0 ? "-inf" : "inf");
    return false;
  }
  const detail::DecimalPoint point = detail::localeDecimalPoint();
  if (!point.plain) {
    length = formatWithPrintf(value_, point.first, text);
    return true;
  }
  // std::to_chars with a precision prints exactly what printf does in the C locale, and with a
  // plain one-byte decimal point the printf text differs from it only in that byte, which the
  // rule maps back to ".".
  const auto result = std::to_chars(text, text + kMaxText, value_, std::chars_format::general, 17);
  length = static_cast<std::size_t>(result.ptr - text);
  return true;
}

}  // namespace cairnjson
