#include "libraries.h"

#include <nlohmann/json.hpp>

namespace quilby_bench {

namespace {

std::string checkParse(const std::string& text) {
  try {
    const nlohmann::json document = nlohmann::json::parse(text);
    benchmark::DoNotOptimize(document);
  } catch (const nlohmann::json::exception& error) {
    return std::string("parse failed: ") + error.what();
  }
  return {};
}

std::string checkSerialize(const std::string& text, std::string& out) {
  try {
    const nlohmann::json document = nlohmann::json::parse(text);
    out = document.dump();
  } catch (const nlohmann::json::exception& error) {
    return std::string("failed: ") + error.what();
  }
  return {};
}

void parse(benchmark::State& state, const std::string& text) {
  for (auto _ : state) {
    // The non-throwing form, so a failure can be reported instead of ending the program; it
    // takes the same path as the throwing one on valid input.
    nlohmann::json document = nlohmann::json::parse(text, nullptr, false);
    if (document.is_discarded()) {
      state.SkipWithError("parse failed");
      break;
    }
    benchmark::DoNotOptimize(document);
  }
}

void serialize(benchmark::State& state, const std::string& text) {
  const nlohmann::json document = nlohmann::json::parse(text, nullptr, false);
  if (document.is_discarded()) {
    state.SkipWithError("parse failed");
    return;
  }
  for (auto _ : state) {
    std::string out = document.dump();
    benchmark::DoNotOptimize(out);
  }
}

}  // namespace

Library nlohmannLibrary() {
  Library library;
  library.name = "nlohmann";
  library.checkParse = checkParse;
  library.checkSerialize = checkSerialize;
  library.parse = parse;
  library.serialize = serialize;
  return library;
}

std::string compareDocuments(const std::string& expected, const std::string& actual) {
  nlohmann::json left;
  nlohmann::json right;
  try {
    left = nlohmann::json::parse(expected);
  } catch (const nlohmann::json::exception& error) {
    return std::string("the input does not read back: ") + error.what();
  }
  try {
    right = nlohmann::json::parse(actual);
  } catch (const nlohmann::json::exception& error) {
    return std::string("the output is not JSON: ") + error.what();
  }
  if (left == right) return {};
  // The first differing place makes the message actionable.
  const nlohmann::json patch = nlohmann::json::diff(left, right);
  std::string where = patch.empty() ? std::string("?") : patch.front().dump();
  if (where.size() > 200) where = where.substr(0, 200) + "...";
  return "the output reads back as a different document (" + std::to_string(patch.size()) +
         " differences; first: " + where + ")";
}

}  // namespace quilby_bench
