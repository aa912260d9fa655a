#include "json/double.h"

#include "json/double_format.h"
#include "json/locale_decimal_point.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace cairnjson {

static_assert(Double::kMaxText >= detail::kDoubleTextRoom);

namespace {

using detail::kTenTo16;
using detail::kTenTo17;
using detail::layOutDigits;
using detail::uint128;

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

// Powers of five that keep m * 5^s within 128 bits for a 53-bit m.
constexpr int kMaxFivePower = 32;
// Powers of five that fit a 64-bit divisor.
constexpr int kMaxFiveDivisor = 27;

constexpr std::array<uint128, kMaxFivePower + 1> kFivePowers = [] {
  std::array<uint128, kMaxFivePower + 1> powers{};
  powers[0] = 1;
  for (int i = 1; i <= kMaxFivePower; ++i) powers[i] = powers[i - 1] * 5;
  return powers;
}();

int bitLength(uint128 value) {
  const auto high = static_cast<std::uint64_t>(value >> 64);
  if (high != 0) return 128 - __builtin_clzll(high);
  const auto low = static_cast<std::uint64_t>(value);
  return low == 0 ? 0 : 64 - __builtin_clzll(low);
}

// The exact value m * 2^e * 10^s split into its integer part and how the fraction compares with
// one half (-1 below, 0 equal, 1 above). False when the numbers leave the 128-bit fast range.
bool scaleExactly(std::uint64_t m, int e, int s, std::uint64_t& integer, int& fraction) {
  if (s >= 0) {
    if (s > kMaxFivePower) return false;
    const uint128 product = s <= kMaxFiveDivisor
                                ? uint128{m} * static_cast<std::uint64_t>(kFivePowers[s])
                                : m * kFivePowers[s];
    const int shift = e + s;
    if (shift >= 0) {
      if (bitLength(product) + shift > 64) return false;
      integer = static_cast<std::uint64_t>(product << shift);
      fraction = -1;
      return true;
    }
    const int right = -shift;
    if (right >= 128) return false;
    const uint128 whole = product >> right;
    if (whole >> 64 != 0) return false;
    const uint128 remainder = product - (whole << right);
    const uint128 half = uint128{1} << (right - 1);
    integer = static_cast<std::uint64_t>(whole);
    fraction = remainder < half ? -1 : (remainder == half ? 0 : 1);
    return true;
  }
  const int q = -s;
  const int shift = e - q;
  if (q > kMaxFiveDivisor || shift < 0 || 64 - __builtin_clzll(m) + shift > 127) return false;
  const uint128 numerator = uint128{m} << shift;
  const auto divisor = static_cast<std::uint64_t>(kFivePowers[q]);
  const uint128 whole = numerator / divisor;
  if (whole >> 64 != 0) return false;
  // An odd divisor never leaves a remainder of exactly one half.
  const uint128 twiceRemainder = (numerator - whole * divisor) * 2;
  integer = static_cast<std::uint64_t>(whole);
  fraction = twiceRemainder < divisor ? -1 : 1;
  return true;
}

// The 17 significant digits of |value| rounded half to even, as a number in [10^16, 10^17), and
// the decimal exponent of the first digit. False when the value needs the general algorithm.
bool seventeenDigits(double value, std::uint64_t& digits, int& exponent) {
  std::uint64_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  const auto biased = static_cast<int>((bits >> 52) & 0x7FF);
  std::uint64_t m = bits & ((std::uint64_t{1} << 52) - 1);
  int e;
  if (biased == 0) {
    e = -1074;
  } else {
    m |= std::uint64_t{1} << 52;
    e = biased - 1075;
  }
  // 2^top <= |value| < 2^(top+1), so the decimal exponent is floor(top * log10 2) or one more.
  const int top = e + 63 - __builtin_clzll(m);
  int k = (top * 78913) >> 18;
  for (int attempt = 0; attempt < 2; ++attempt, ++k) {
    std::uint64_t integer = 0;
    int fraction = 0;
    if (!scaleExactly(m, e, 16 - k, integer, fraction)) return false;
    if (integer >= kTenTo17) continue;
    if (integer < kTenTo16) return false;
    if (fraction > 0 || (fraction == 0 && (integer & 1) != 0)) ++integer;
    if (integer == kTenTo17) {
      integer = kTenTo16;
      ++k;
    }
    digits = integer;
    exponent = k;
    return true;
  }
  return false;
}

}  // namespace

bool Double::format(char* text, std::size_t& length) const noexcept {
  return detail::formatDouble(value_, detail::localeDecimalPoint(), text, length);
}

namespace detail {

bool formatDoubleSlow(double value, DecimalPoint point, char* text, std::size_t& length) noexcept {
  std::uint64_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  if ((bits & ~(std::uint64_t{1} << 63)) == 0) {
    length = copyText(text, "0.0");
    return true;
  }
  if (std::isnan(value)) {
    length = copyText(text, "nan");
    return false;
  }
  if (std::isinf(value)) {
    length = copyText(text, value < 0 ? "-inf" : "inf");
    return false;
  }
  if (!point.plain) {
    length = formatWithPrintf(value, point.first, text);
    return true;
  }
  // With a plain one-byte decimal point the printf text differs from the C locale's only in that
  // byte, which the rule maps back to "."; so the C-locale text is computed directly: exactly in
  // 128-bit integers for the common magnitudes, else by std::to_chars, which with a precision
  // prints what printf does.
  std::uint64_t digits = 0;
  int exponent = 0;
  if (seventeenDigits(value, digits, exponent)) {
    length = layOutDigits(std::signbit(value), digits, exponent, text);
    return true;
  }
  const auto result =
      std::to_chars(text, text + kDoubleTextRoom, value, std::chars_format::general, 17);
  length = static_cast<std::size_t>(result.ptr - text);
  return true;
}

}  // namespace detail
}  // namespace cairnjson
