// The readings taken so far as files other colour tools read: CSV, and CGATS.17 written with
// Little CMS's IT8/CGATS writer. The HTTP route /colour/export and `quilby-host measure` both
// write through here.
#ifndef QUILBY_HOST_COLOUR_EXPORT_H
#define QUILBY_HOST_COLOUR_EXPORT_H

#include "colour/colorimetry.h"

#include <optional>
#include <string>
#include <vector>

namespace quilbycolour {

// One reading and what is known of how it was taken. The texts are written as given (an empty
// one stays empty); `corrected` absent writes an empty value.
struct ExportReading {
  // When it was taken, ISO 8601 in UTC ("2026-11-24T12:00:00.000Z").
  std::string time;
  // The sensor, as a person names it ("QM arm sensor (QMA-0451)").
  std::string sensor;
  // The sensor's measuring mode, or the kind of reading.
  std::string mode;
  // Whether the monitor's correlation correction was applied (the corrected XYZ, not the raw).
  std::optional<bool> corrected;
  // What was measured, e.g. the colour the monitor showed. Files get a label column only when
  // some reading has one.
  std::string label;
  Xyz xyz;
};

// The CSV text (RFC 4180: CRLF line ends, fields quoted where they hold a comma, a quote or a
// line break). A header row, then one row per reading: time, sensor, mode, corrected, [label,]
// X, Y, Z, x, y, u', v', CCT, Duv, and L*, a*, b* when `white` is given (every component above
// 0). A value the reading does not define (no CCT far from the locus) is an empty field.
std::string readingsCsv(const std::vector<ExportReading>& readings,
                        const std::optional<Xyz>& white);

// What the CGATS file says about itself.
struct CgatsHeader {
  // The program that wrote it ("quilby-host 0.1.0").
  std::string originator;
  // When it was written, ISO 8601.
  std::string created;
};

// The CGATS.17 text: the keywords ORIGINATOR, DESCRIPTOR, CREATED (and WHITE_XYZ with `white`),
// then one data set per reading with the standard fields SAMPLE_ID, [SAMPLE_NAME for the label,]
// XYZ_X, XYZ_Y, XYZ_Z (and LAB_L, LAB_A, LAB_B against `white`), and the declared fields TIME,
// SENSOR, MODE and CORRECTED, where an empty text is written as "-". Readable back with
// cmsIT8LoadFromMem. None when Little CMS refuses (out of memory).
std::optional<std::string> readingsCgats(const std::vector<ExportReading>& readings,
                                         const std::optional<Xyz>& white,
                                         const CgatsHeader& header);

// The current time as the exports write it: ISO 8601 in UTC to the millisecond,
// "2026-11-24T12:00:00.000Z".
std::string currentUtcTime();

}  // namespace quilbycolour

#endif  // QUILBY_HOST_COLOUR_EXPORT_H
