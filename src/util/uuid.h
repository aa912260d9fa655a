// uuid::create: fresh random identifiers, used among others as the identifiers of opened sensors.
#ifndef QUILBY_UTIL_UUID_H
#define QUILBY_UTIL_UUID_H

#include <string>

namespace uuid {

// A new random 128-bit identifier in its 36-character text form: lower-case hexadecimal digits
// in groups of 8-4-4-4-12 joined by "-", e.g. "1b4e28ba-2fa1-41d2-883f-0016d3cca427".
// Does not fail and takes no lock of this library.
[[nodiscard]] std::string create();

}  // namespace uuid

#endif  // QUILBY_UTIL_UUID_H
