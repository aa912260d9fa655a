// string::fromFixedBuffer: the text a C library left in a fixed-size character buffer.
#ifndef QUILBY_UTIL_FIXED_BUFFER_TEXT_H
#define QUILBY_UTIL_FIXED_BUFFER_TEXT_H

#include <cstddef>
#include <cstring>
#include <string>

namespace string {

// The bytes of `buffer` up to its first NUL, or all `size` of them when the library filled the
// buffer to the last byte and left no terminator.
[[nodiscard]] inline std::string fromFixedBuffer(const char* buffer, std::size_t size) {
  return std::string(buffer, strnlen(buffer, size));
}

}  // namespace string

#endif  // QUILBY_UTIL_FIXED_BUFFER_TEXT_H
