#include "colour/number_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace quilbycolour {

std::string fixedText(double value, int decimals) {
  if (std::isnan(value)) return "nan";
  if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
  decimals = std::clamp(decimals, 0, 17);
  // 309 digits before the point at most, the point, 17 decimals and the sign.
  char buffer[340];
  const auto [end, error] =
      std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, decimals);
  std::string text(buffer, error == std::errc() ? end : buffer);
  // A negative value that rounds to zero is written as zero.
  if (!text.empty() && text.front() == '-' &&
      text.find_first_not_of("0.", 1) == std::string::npos) {
    text.erase(0, 1);
  }
  return text;
}

std::string signedFixedText(double value, int decimals) {
  std::string text = fixedText(value, decimals);
  const bool zero = text.find_first_not_of("0.") == std::string::npos;
  if (zero || text.front() == '-' || !std::isfinite(value)) return text;
  return "+" + text;
}

}  // namespace quilbycolour
