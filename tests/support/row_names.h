// Test names for the rows of a parameterised table whose rows carry no name of their own.
#ifndef QUILBY_TESTS_SUPPORT_ROW_NAMES_H
#define QUILBY_TESTS_SUPPORT_ROW_NAMES_H

#include <cstddef>
#include <string>
#include <string_view>

namespace quilby_test {

// The name of row `index`, made from a text the row holds: "6_method_put" for row 6 and
// {"method":"put"}, "15_minus1e400" for row 15 and -1e400. ASCII letters and digits are kept, a
// minus reads "minus" and a plus "plus", and every other run of characters becomes one '_'. The
// row's number keeps apart two texts that differ only in what that drops.
inline std::string rowName(std::size_t index, std::string_view text) {
  std::string name = std::to_string(index);
  bool gap = true;
  const auto add = [&](std::string_view part) {
    if (gap) name += '_';
    name += part;
    gap = false;
  };
  for (const char c : text) {
    if ((c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z')) {
      add(std::string_view(&c, 1));
    } else if (c == '-' || c == '+') {
      add(c == '-' ? "minus" : "plus");
    } else {
      gap = true;
    }
  }
  return name;
}

}  // namespace quilby_test

#endif  // QUILBY_TESTS_SUPPORT_ROW_NAMES_H
