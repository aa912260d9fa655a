#include "util/uuid.h"

#include <uuid/uuid.h>

namespace uuid {

std::string create() {
  uuid_t binary;
  uuid_generate(binary);
  char text[37];  // 36 characters and the terminating NUL that uuid_unparse_lower writes
  uuid_unparse_lower(binary, text);
  return std::string(text, 36);
}

}  // namespace uuid
