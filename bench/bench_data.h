// The sample documents json_bench runs on, read once into memory before any timing.
#ifndef QUILBY_BENCH_BENCH_DATA_H
#define QUILBY_BENCH_BENCH_DATA_H

#include <cstddef>
#include <string>
#include <vector>

namespace quilby_bench {

// Spare capacity kept behind every text: simdjson reads up to this far past the end, and would
// otherwise copy the whole document into a padded buffer on each parse.
inline constexpr std::size_t kTextPadding = 64;

struct Sample {
  std::string name;  // the file name without ".json"; the column label and the case name part
  std::string path;
  std::string text;  // the whole file, with kTextPadding bytes of spare capacity
};

// QUILBY_BENCH_DATA when set and not empty, else the directory configured at build time.
std::string dataDirectory();

// Reads canada, citm_catalog and twitter from dataDirectory(). On failure returns false with a
// message naming the file and how to point the program elsewhere.
bool loadSamples(std::vector<Sample>& samples, std::string& error);

}  // namespace quilby_bench

#endif  // QUILBY_BENCH_BENCH_DATA_H
