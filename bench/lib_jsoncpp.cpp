#include "libraries.h"

#include <json/json.h>

#include <memory>

namespace quilby_bench {

namespace {

// Compact, and UTF-8 passed through as the other libraries do; JsonCpp would otherwise escape
// every non-ASCII character and write more text than the others.
Json::StreamWriterBuilder compactWriter() {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  builder["emitUTF8"] = true;
  return builder;
}

bool parseText(Json::CharReader& reader, const std::string& text, Json::Value& root,
               std::string* errors) {
  return reader.parse(text.data(), text.data() + text.size(), &root, errors);
}

std::unique_ptr<Json::CharReader> newReader() {
  const Json::CharReaderBuilder builder;
  return std::unique_ptr<Json::CharReader>(builder.newCharReader());
}

std::string checkParse(const std::string& text) {
  const auto reader = newReader();
  Json::Value root;
  std::string errors;
  if (!parseText(*reader, text, root, &errors)) return "parse failed: " + errors;
  return {};
}

std::string checkSerialize(const std::string& text, std::string& out) {
  const auto reader = newReader();
  Json::Value root;
  std::string errors;
  if (!parseText(*reader, text, root, &errors)) return "parse failed: " + errors;
  out = Json::writeString(compactWriter(), root);
  return {};
}

void parse(benchmark::State& state, const std::string& text) {
  const auto reader = newReader();
  for (auto _ : state) {
    Json::Value root;
    if (!parseText(*reader, text, root, nullptr)) {
      state.SkipWithError("parse failed");
      break;
    }
    benchmark::DoNotOptimize(root);
  }
}

void serialize(benchmark::State& state, const std::string& text) {
  const auto reader = newReader();
  Json::Value root;
  if (!parseText(*reader, text, root, nullptr)) {
    state.SkipWithError("parse failed");
    return;
  }
  const Json::StreamWriterBuilder writer = compactWriter();
  for (auto _ : state) {
    std::string out = Json::writeString(writer, root);
    benchmark::DoNotOptimize(out);
  }
}

}  // namespace

Library jsoncppLibrary() {
  Library library;
  library.name = "jsoncpp";
  library.checkParse = checkParse;
  library.checkSerialize = checkSerialize;
  library.parse = parse;
  library.serialize = serialize;
  return library;
}

}  // namespace quilby_bench
