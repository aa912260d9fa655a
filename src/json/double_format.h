// The number text of doubles ("%.17g" with "." as the decimal point), split into an inline fast
// path for the common magnitudes and the general case out of line. Internal to cairnjson: use
// cairnjson::Double.
#ifndef CAIRNJSON_DOUBLE_FORMAT_H
#define CAIRNJSON_DOUBLE_FORMAT_H

#include "json/locale_decimal_point.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace cairnjson::detail {

using uint128 = unsigned __int128;

// Room formatDouble needs: the longest text is 24 bytes ("-2.2250738585072014e-308"), and the
// word stores write a little past the text's end.
inline constexpr std::size_t kDoubleTextRoom = 48;

// Every case: zeros, NaN and infinities, other locales, all magnitudes.
[[nodiscard]] bool formatDoubleSlow(double value, DecimalPoint point, char* text, std::size_t& length) noexcept;

inline constexpr std::uint64_t kTenTo16 = 10000000000000000ULL;
inline constexpr std::uint64_t kTenTo17 = 100000000000000000ULL;
inline constexpr std::uint64_t kTenTo18 = 1000000000000000000ULL;

inline constexpr std::array<std::uint64_t, 28> kPowersOfFive = [] {
  std::array<std::uint64_t, 28> powers{};
  powers[0] = 1;
  for (std::size_t i = 1; i < powers.size(); ++i) powers[i] = powers[i - 1] * 5;
  return powers;
}();

// The eight decimal digits of `value` (below 10^8) as ASCII, first digit in the lowest byte, so
// one little-endian store writes them in reading order. Splits into 4-, 2- and 1-digit lanes
// with multiply-shift divisions that stay inside their lanes.
[[nodiscard]] inline std::uint64_t eightDigits(std::uint32_t value) {
  std::uint64_t lanes = (value / 10000) | (std::uint64_t{value % 10000} << 32);
  std::uint64_t high = ((lanes * 10486) >> 20) & 0x0000007F0000007FULL;  // lane / 100
  lanes = high | ((lanes - high * 100) << 16);
  high = ((lanes * 103) >> 10) & 0x000F000F000F000FULL;  // lane / 10
  lanes = high | ((lanes - high * 10) << 8);
  return lanes | 0x3030303030303030ULL;
}

inline void storeWord(char* out, std::uint64_t word) { std::memcpy(out, &word, sizeof word); }

#ifdef __SSE2__
// The eight decimal digits of `value` (below 10^8) in the 16-bit lanes of a vector: split into
// two 4-digit groups, each spread over four lanes, divided there by 1000, 100, 10 and 1 with
// multiply-high steps, and each quotient freed of the digits before it.
inline __m128i digitLanes(std::uint32_t value) {
  const __m128i whole = _mm_cvtsi32_si128(static_cast<int>(value));
  const __m128i upper = _mm_srli_epi64(_mm_mul_epu32(whole, _mm_set1_epi32(static_cast<int>(0xD1B71759))), 45);
  const __m128i lower = _mm_sub_epi32(whole, _mm_mul_epu32(upper, _mm_set1_epi32(10000)));
  const __m128i groups = _mm_slli_epi64(_mm_unpacklo_epi16(upper, lower), 2);
  const __m128i pairs = _mm_unpacklo_epi16(groups, groups);
  const __m128i spread = _mm_unpacklo_epi32(pairs, pairs);
  const __m128i divisors = _mm_setr_epi16(8389, 5243, 13108, -32768, 8389, 5243, 13108, -32768);
  const __m128i shifts = _mm_setr_epi16(1 << 7, 1 << 11, 1 << 13, -32768, 1 << 7, 1 << 11, 1 << 13, -32768);
  const __m128i quotients = _mm_mulhi_epu16(_mm_mulhi_epu16(spread, divisors), shifts);
  const __m128i tens = _mm_slli_epi64(_mm_mullo_epi16(quotients, _mm_set1_epi16(10)), 16);
  return _mm_sub_epi16(quotients, tens);
}

// The sixteen digits of `high` and `low` (each below 10^8) as ASCII, as two words in reading
// order.
inline void sixteenDigits(std::uint32_t high, std::uint32_t low, std::uint64_t& first8,
                          std::uint64_t& second8) {
  const __m128i text = _mm_add_epi8(_mm_packus_epi16(digitLanes(high), digitLanes(low)),
                                    _mm_set1_epi8('0'));
  first8 = static_cast<std::uint64_t>(_mm_cvtsi128_si64(text));
  second8 = static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm_unpackhi_epi64(text, text)));
}
#else
inline void sixteenDigits(std::uint32_t high, std::uint32_t low, std::uint64_t& first8,
                          std::uint64_t& second8) {
  first8 = eightDigits(high);
  second8 = eightDigits(low);
}
#endif

// Room writeInteger needs: a sign, 20 digits, and the bytes a word store writes past them.
inline constexpr std::size_t kIntegerTextRoom = 32;

// Writes the decimal digits of `value` (below 10^8) without leading zeros; returns the end.
inline char* writeShortUnsigned(char* out, std::uint32_t value) {
  if (value < 10) {
    *out = static_cast<char>('0' + value);
    return out + 1;
  }
  const std::uint64_t digits = eightDigits(value);
  const int leadingZeros = __builtin_ctzll(digits ^ 0x3030303030303030ULL) / 8;
  storeWord(out, digits >> (8 * leadingZeros));
  return out + 8 - leadingZeros;
}

// Writes `value` as "%lld" prints it into `out` (kIntegerTextRoom bytes); returns the end.
inline char* writeInteger(char* out, long long value) {
  std::uint64_t magnitude = static_cast<std::uint64_t>(value);
  if (value < 0) {
    *out++ = '-';
    magnitude = 0 - magnitude;
  }
  if (magnitude < 100000000) return writeShortUnsigned(out, static_cast<std::uint32_t>(magnitude));
  const std::uint64_t lowest = magnitude % 100000000;
  magnitude /= 100000000;
  if (magnitude < 100000000) {
    out = writeShortUnsigned(out, static_cast<std::uint32_t>(magnitude));
  } else {
    out = writeShortUnsigned(out, static_cast<std::uint32_t>(magnitude / 100000000));
    storeWord(out, eightDigits(static_cast<std::uint32_t>(magnitude % 100000000)));
    out += 8;
  }
  storeWord(out, eightDigits(static_cast<std::uint32_t>(lowest)));
  return out + 8;
}

// Writes the 17 significant digits `digits` (in [10^16, 10^17)) whose first digit has decimal
// exponent `exponent` as "%.17g" lays them out: fixed notation for exponents from -4 to 16,
// otherwise one digit, the point and an exponent of at least two digits; trailing zeros of the
// fraction and a bare point are dropped. Every write is a whole word from registers; up to
// kDoubleTextRoom bytes of `text` may be written. Returns the length of the text.
[[nodiscard]] inline std::size_t layOutDigits(bool negative, std::uint64_t digits, int exponent, char* text) {
  const std::uint64_t upper = digits / 100000000;
  std::uint64_t middle;
  std::uint64_t lower;
  sixteenDigits(static_cast<std::uint32_t>(upper % 100000000),
                static_cast<std::uint32_t>(digits % 100000000), middle, lower);
  const std::uint64_t first = '0' + upper / 100000000;
  constexpr std::uint64_t kZeros = 0x3030303030303030ULL;
  int significant = 17;
  if (lower != kZeros) {
    significant -= __builtin_clzll(lower ^ kZeros) / 8;
  } else {
    significant -= 8 + (middle != kZeros ? __builtin_clzll(middle ^ kZeros) / 8 : 8);
  }

  char* out = text;
  *out = '-';
  out += negative ? 1 : 0;
  if (exponent >= 0 && exponent < 17) {
    // The digits are `first`, then the words `middle` and `lower`; the point goes after digit
    // `point`, inside one of the two words. The word holding it is written once for the digits
    // before the point and once, shifted, for those after; later stores overwrite the excess.
    const int point = exponent + 1;
    out[0] = static_cast<char>(first);
    storeWord(out + 1, middle);
    storeWord(out + 9, lower);
    if (significant <= point) return static_cast<std::size_t>(out - text) + point;
    if (point <= 8) {
      storeWord(out + point + 1, middle >> (8 * (point - 1)));
      storeWord(out + 10, lower);
    } else {
      storeWord(out + point + 1, lower >> (8 * (point - 9)));
    }
    out[point] = '.';
    return static_cast<std::size_t>(out - text) + significant + 1;
  }
  if (exponent < 0 && exponent >= -4) {
    storeWord(out, 0x3030303030302E30ULL);  // "0.000000"
    out += 1 - exponent;
    out[0] = static_cast<char>(first);
    storeWord(out + 1, middle);
    storeWord(out + 9, lower);
    return static_cast<std::size_t>(out - text) + significant;
  }
  out[0] = static_cast<char>(first);
  out[1] = '.';
  storeWord(out + 2, middle);
  storeWord(out + 10, lower);
  out += significant > 1 ? significant + 1 : 1;
  *out++ = 'e';
  *out++ = exponent < 0 ? '-' : '+';
  unsigned magnitude = static_cast<unsigned>(exponent < 0 ? -exponent : exponent);
  if (magnitude >= 100) {
    *out++ = static_cast<char>('0' + magnitude / 100);
    magnitude %= 100;
  }
  out[0] = static_cast<char>('0' + magnitude / 10);
  out[1] = static_cast<char>('0' + magnitude % 10);
  return static_cast<std::size_t>(out + 2 - text);
}

// Writes the number text of `value` into `text` (kDoubleTextRoom bytes) and its length into
// `length`; returns false for NaN and infinities. `point` is the locale's decimal point.
//
// The fast path covers normal numbers from about 1e-11 to 1e15 in a locale with a plain decimal
// point: there the value scaled to 17 integer digits, m * 5^s / 2^r, is exact in 128 bits with
// its fraction in the low word, so the digits and their rounding (half to even, as printf
// rounds) come from one multiplication.
[[nodiscard]] inline bool formatDouble(double value, DecimalPoint point, char* text, std::size_t& length) noexcept {
  std::uint64_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  const auto biased = static_cast<int>((bits >> 52) & 0x7FF);
  if (biased == 0 || biased == 0x7FF || !point.plain) {
    return formatDoubleSlow(value, point, text, length);
  }
  const std::uint64_t m = (bits & ((std::uint64_t{1} << 52) - 1)) | (std::uint64_t{1} << 52);
  const int e = biased - 1075;
  // 2^(e+52) <= |value| < 2^(e+53): the decimal exponent is this estimate or one more.
  int exponent = ((e + 52) * 78913) >> 18;
  const int s = 16 - exponent;
  const int right = -(e + s);
  if (s < 0 || s >= static_cast<int>(kPowersOfFive.size()) || right < 1 || right > 63) {
    return formatDoubleSlow(value, point, text, length);
  }
  const uint128 product = uint128{m} * kPowersOfFive[s];
  const auto low = static_cast<std::uint64_t>(product);
  const auto high = static_cast<std::uint64_t>(product >> 64);
  if ((high >> right) != 0) return formatDoubleSlow(value, point, text, length);
  std::uint64_t whole = (high << (64 - right)) | (low >> right);
  const std::uint64_t fraction = low & ((std::uint64_t{1} << right) - 1);
  bool roundUp;
  if (whole >= kTenTo17) {
    // One digit too many: drop it, rounding on it and on whether a fraction followed.
    if (whole >= kTenTo18) return formatDoubleSlow(value, point, text, length);
    const std::uint64_t dropped = whole % 10;
    whole /= 10;
    ++exponent;
    roundUp = dropped > 5 || (dropped == 5 && (fraction != 0 || (whole & 1) != 0));
  } else {
    if (whole < kTenTo16) return formatDoubleSlow(value, point, text, length);
    const std::uint64_t half = std::uint64_t{1} << (right - 1);
    roundUp = fraction > half || (fraction == half && (whole & 1) != 0);
  }
  whole += roundUp ? 1 : 0;
  if (whole == kTenTo17) {
    whole = kTenTo16;
    ++exponent;
  }
  length = layOutDigits((bits >> 63) != 0, whole, exponent, text);
  return true;
}

}  // namespace cairnjson::detail

#endif  // CAIRNJSON_DOUBLE_FORMAT_H
