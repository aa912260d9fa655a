// The JSON libraries json_bench compares, each behind the same small set of entry points.
//
// Every library does the same work so the rows compare:
//   parse      the in-memory std::string into a fresh document each iteration (reusable parser
//              or reader objects are built once, before the loop, as a caller would keep them);
//   serialize  a document parsed once before the loop, compact, into a fresh std::string each
//              iteration, UTF-8 written as it is.
#ifndef QUILBY_BENCH_LIBRARIES_H
#define QUILBY_BENCH_LIBRARIES_H

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace quilby_bench {

struct Library {
  std::string name;  // the row label and the case name part, e.g. "nlohmann"

  // Parses `text` once; returns the failure reason, empty on success.
  std::string (*checkParse)(const std::string& text) = nullptr;
  // Parses `text` and serializes it once into `out`; returns the failure reason, empty on
  // success. Null for a parse-only row.
  std::string (*checkSerialize)(const std::string& text, std::string& out) = nullptr;

  void (*parse)(benchmark::State& state, const std::string& text) = nullptr;
  // Null for a parse-only row.
  void (*serialize)(benchmark::State& state, const std::string& text) = nullptr;
};

Library cairnjsonLibrary();
Library nlohmannLibrary();
Library jsoncppLibrary();
// "rapidjson" (default parse flags) and "rapidjson-fullprec" (kParseFullPrecisionFlag).
std::vector<Library> rapidjsonLibraries();
Library simdjsonLibrary();

// Whether `expected` and `actual` hold the same JSON document (numbers compared by value, object
// members in any order). Returns the difference found, empty when they match.
std::string compareDocuments(const std::string& expected, const std::string& actual);

}  // namespace quilby_bench

#endif  // QUILBY_BENCH_LIBRARIES_H
