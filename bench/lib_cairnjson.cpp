#include "json/cairnjson.h"
#include "libraries.h"

#include <iterator>

namespace quilby_bench {

namespace {

std::string checkParse(const std::string& text) {
  cairnjson::Parser parser;
  cairnjson::Value value;
  if (!parser.parse(text, value)) return "parse failed: " + parser.error();
  return {};
}

std::string checkSerialize(const std::string& text, std::string& out) {
  cairnjson::Parser parser;
  cairnjson::Value value;
  if (!parser.parse(text, value)) return "parse failed: " + parser.error();
  std::string error;
  auto it = std::back_inserter(out);
  if (!cairnjson::Serializer::serialize(it, value, cairnjson::Serializer::Attributes{}, -1,
                                        &error)) {
    return "serialize failed: " + error;
  }
  return {};
}

void parse(benchmark::State& state, const std::string& text) {
  cairnjson::Parser parser;
  for (auto _ : state) {
    cairnjson::Value value;
    const bool ok = parser.parse(text, value);
    if (!ok) {
      state.SkipWithError(("parse failed: " + parser.error()).c_str());
      break;
    }
    benchmark::DoNotOptimize(value);
  }
}

void serialize(benchmark::State& state, const std::string& text) {
  cairnjson::Parser parser;
  cairnjson::Value value;
  if (!parser.parse(text, value)) {
    state.SkipWithError(("parse failed: " + parser.error()).c_str());
    return;
  }
  const cairnjson::Serializer::Attributes compact{};
  for (auto _ : state) {
    std::string out;
    auto it = std::back_inserter(out);
    const bool ok = cairnjson::Serializer::serialize(it, value, compact, -1, nullptr);
    if (!ok) {
      state.SkipWithError("serialize failed");
      break;
    }
    benchmark::DoNotOptimize(out);
  }
}

}  // namespace

Library cairnjsonLibrary() {
  Library library;
  library.name = "cairnjson";
  library.checkParse = checkParse;
  library.checkSerialize = checkSerialize;
  library.parse = parse;
  library.serialize = serialize;
  return library;
}

}  // namespace quilby_bench
