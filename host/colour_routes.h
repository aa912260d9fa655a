// The host's colour routes: the values colour people read first, derived from XYZ readings, and
// the readings as CSV or CGATS files. Computed in the host (colour/), without the plug-in or the
// simulator; docs/api.md describes the bodies and answers.
//
//   POST /colour/derive                     {"readings": [[X, Y, Z], ...], "white", "reference"}
//   POST /colour/export?format=csv|cgats    {"readings": [{"time", "sensor", "mode",
//                                            "corrected", "label", "XYZ"}, ...], "white"}
#ifndef QUILBY_HOST_COLOUR_ROUTES_H
#define QUILBY_HOST_COLOUR_ROUTES_H

#include "frontend.h"

#include <string>

namespace quilbyhost {

// The most readings one request takes.
inline constexpr std::size_t kMaxColourReadings = 10000;

// POST /colour/derive: 200 with {"derived": [...]} in the envelope, one object per reading; 400
// HostError with a sentence naming the problem for a malformed body.
HostResponse deriveReadings(const std::string& body);

// POST /colour/export: 200 with the file itself as the body (contentType text/csv or
// text/plain, Content-Disposition naming the file); 400 HostError for an unknown format or a
// malformed body. `created` is the time the CGATS file says it was written.
HostResponse exportReadings(const std::string& rawQuery, const std::string& body,
                            const std::string& created);

}  // namespace quilbyhost

#endif  // QUILBY_HOST_COLOUR_ROUTES_H
