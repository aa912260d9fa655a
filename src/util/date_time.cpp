#include "util/date_time.h"

#include <cstdio>

std::string DateTime::toString() const {
  // Seven fields of at most 11 characters each plus the separators fit with room to spare.
  char text[96];
  const int length = std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d",
                                   static_cast<int>(year), static_cast<int>(month),
                                   static_cast<int>(day), static_cast<int>(hour),
                                   static_cast<int>(minute), static_cast<int>(second));
  return length > 0 ? std::string(text, static_cast<std::size_t>(length)) : std::string();
}
