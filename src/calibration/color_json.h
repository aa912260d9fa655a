// The measurement library's colour record (MDColor) in JSON.
#ifndef QUILBY_CALIBRATION_COLOR_JSON_H
#define QUILBY_CALIBRATION_COLOR_JSON_H

#include "json/value.h"
#include "quilby/device_types.h"

#include <string>

namespace vesk {

// An object with one floating member per letter of `letters`, in the record's units: "X", "Y",
// "Z" (tristimulus), "x", "y" (CIE 1931 chromaticity), "u", "v" (CIE 1976 u', v'); any other
// letter adds nothing. The letters "CMYK" taken as a whole give "C", "M", "Y", "K" from the
// record's cyan, magenta, yellow and black instead. Example: "XYZ" gives {"X", "Y", "Z"}.
[[nodiscard]] cairnjson::Value ColorToJson(const MDColor& color, const std::string& letters);

// A zeroed record with the members named by `letters` read from `json` (floating conversion,
// default 0.0). Example: "xyY" reads "x", "y" and "Y".
MDColor ColorFromJson(const cairnjson::Value& json, const std::string& letters);

}  // namespace vesk

#endif  // QUILBY_CALIBRATION_COLOR_JSON_H
