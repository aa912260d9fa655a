#include "bench_data.h"
#include "libraries.h"

#include <simdjson.h>

namespace quilby_bench {

namespace {

static_assert(kTextPadding >= simdjson::SIMDJSON_PADDING,
              "the sample texts must keep the spare capacity simdjson reads into");

// The parser owns the document's memory and is meant to be reused; a fresh parser per iteration
// would time its buffer allocation instead of the parse.

std::string checkParse(const std::string& text) {
  simdjson::dom::parser parser;
  simdjson::dom::element root;
  const simdjson::error_code error = parser.parse(text).get(root);
  if (error != simdjson::SUCCESS) {
    return std::string("parse failed: ") + simdjson::error_message(error);
  }
  return {};
}

void parse(benchmark::State& state, const std::string& text) {
  simdjson::dom::parser parser;
  for (auto _ : state) {
    simdjson::dom::element root;
    const simdjson::error_code error = parser.parse(text).get(root);
    if (error != simdjson::SUCCESS) {
      state.SkipWithError(simdjson::error_message(error));
      break;
    }
    benchmark::DoNotOptimize(root);
  }
}

}  // namespace

Library simdjsonLibrary() {
  Library library;
  library.name = "simdjson";
  library.checkParse = checkParse;
  library.parse = parse;
  return library;
}

}  // namespace quilby_bench
