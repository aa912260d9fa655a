// cairnjson::Double: the one rule by which a double becomes JSON number text.
//
// The text is what printf's "%.17g" prints, with the locale's decimal point written as "." so the
// result never depends on the locale; zeros of either sign are "0.0"; NaN and the infinities are
// "nan", "inf" and "-inf" and make toString() report false. Examples: 1.0 gives "1", 0.1 gives
// "0.10000000000000001", 1e21 gives "1e+21".
#ifndef CAIRNJSON_DOUBLE_H
#define CAIRNJSON_DOUBLE_H

#include <cstddef>

namespace cairnjson {

class Double {
 public:
  // Room format() needs: the longest text is 24 bytes ("-2.2250738585072014e-308"), and the
  // formatting writes a little past the text's end.
  static constexpr std::size_t kMaxText = 48;

  explicit Double(double value) noexcept : value_(value) {}

  [[nodiscard]] double value() const noexcept { return value_; }

  // Writes the number text through `out`. Returns false for NaN and infinities (after writing
  // their text), true otherwise.
  template <class OutIt>
  [[nodiscard]] bool toString(OutIt out) const {
    char text[kMaxText];
    std::size_t length = 0;
    const bool finite = format(text, length);
    for (std::size_t i = 0; i < length; ++i) *out++ = text[i];
    return finite;
  }

  // Writes the number text into `text` (at least kMaxText bytes, not NUL-terminated) and its
  // length into `length`. Same result as toString().
  [[nodiscard]] bool format(char* text, std::size_t& length) const noexcept;

 private:
  double value_;
};

}  // namespace cairnjson

#endif  // CAIRNJSON_DOUBLE_H
