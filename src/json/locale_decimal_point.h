// The current C locale's decimal point, as the number rules of the parser, the serializer and
// Value::toDouble need it. Internal to cairnjson.
#ifndef CAIRNJSON_LOCALE_DECIMAL_POINT_H
#define CAIRNJSON_LOCALE_DECIMAL_POINT_H

#include <langinfo.h>

namespace cairnjson::detail {

struct DecimalPoint {
  // The first byte of the locale's decimal point text.
  char first;
  // True when the decimal point is exactly one byte that cannot be mistaken for any other part of
  // number text (a digit, a sign or an exponent letter). Then "%.17g" and strtod behave as in the
  // C locale except for that one byte, and the fast, locale-free conversions give the same result.
  bool plain;
};

// Reads the calling thread's current LC_NUMERIC setting (uselocale and setlocale both count).
inline DecimalPoint localeDecimalPoint() noexcept {
  const char* text = nl_langinfo(RADIXCHAR);
  const char first = text ? text[0] : '.';
  const bool oneByte = first != '\0' && text[1] == '\0';
  const bool digit = first >= '0' && first <= '9';
  const bool numberSyntax = first == 'e' || first == 'E' || first == '+' || first == '-';
  return {first, oneByte && !digit && !numberSyntax};
}

}  // namespace cairnjson::detail

#endif  // CAIRNJSON_LOCALE_DECIMAL_POINT_H
