// The device-ID table: the devices, listed in the web page's "did.json", for which the
// measurement library's subprocess is wanted.
#ifndef QUILBY_DEVICE_DEVICE_ID_TABLE_H
#define QUILBY_DEVICE_DEVICE_ID_TABLE_H

#include "quilby/device_types.h"

#include <vector>

namespace vesk::device {

// Reads "did.json" from the host's web page directory, afresh on every call. The file holds one
// JSON array (a leading byte-order mark is allowed); each element gives one id, in order,
// duplicates and zeros kept: an integer truncated to 32 bits, true 1 and false 0, a floating
// number rounded half away from zero (0 beyond the 64-bit range) and truncated, a string read
// as an integer in the base its prefix gives ("0x1234", "017", "42"; 0 unless the whole string
// is a number), anything else 0. A missing, unreadable, empty or malformed file, or one that
// does not hold an array, gives an empty list. Never throws for bad content.
[[nodiscard]] std::vector<MDDeviceID> LoadDeviceIDs();

// Asks the measurement library whether any of `ids` needs the subprocess (a null pointer and 0
// for an empty list).
[[nodiscard]] bool SupportsSubprocess(const std::vector<MDDeviceID>& ids);

}  // namespace vesk::device

#endif  // QUILBY_DEVICE_DEVICE_ID_TABLE_H
