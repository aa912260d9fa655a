#include "libraries.h"

#include <rapidjson/document.h>
#include <rapidjson/error/en.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace quilby_bench {

namespace {

// RapidJSON's defaults are kept (no RAPIDJSON_SSE2/SSE42), as a project including the packaged
// headers would get them.

template <unsigned Flags>
std::string parseDocument(const std::string& text, rapidjson::Document& document) {
  document.Parse<Flags>(text.data(), text.size());
  if (!document.HasParseError()) return {};
  return std::string("parse failed at offset ") + std::to_string(document.GetErrorOffset()) +
         ": " + rapidjson::GetParseError_En(document.GetParseError());
}

std::string writeDocument(const rapidjson::Document& document) {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  document.Accept(writer);
  // The copy out of the StringBuffer is part of the work: every other row ends with the text in a
  // std::string, and so does a caller handing the text on.
  return std::string(buffer.GetString(), buffer.GetSize());
}

template <unsigned Flags>
std::string checkParse(const std::string& text) {
  rapidjson::Document document;
  return parseDocument<Flags>(text, document);
}

// Serialization does not depend on the parse flags; the full-precision document is written so the
// output reads back as exactly the input.
std::string checkSerialize(const std::string& text, std::string& out) {
  rapidjson::Document document;
  std::string error = parseDocument<rapidjson::kParseFullPrecisionFlag>(text, document);
  if (!error.empty()) return error;
  out = writeDocument(document);
  return {};
}

template <unsigned Flags>
void parse(benchmark::State& state, const std::string& text) {
  for (auto _ : state) {
    rapidjson::Document document;
    document.Parse<Flags>(text.data(), text.size());
    if (document.HasParseError()) {
      state.SkipWithError("parse failed");
      break;
    }
    benchmark::DoNotOptimize(document);
  }
}

void serialize(benchmark::State& state, const std::string& text) {
  rapidjson::Document document;
  const std::string error = parseDocument<rapidjson::kParseFullPrecisionFlag>(text, document);
  if (!error.empty()) {
    state.SkipWithError(error.c_str());
    return;
  }
  for (auto _ : state) {
    std::string out = writeDocument(document);
    benchmark::DoNotOptimize(out);
  }
}

}  // namespace

std::vector<Library> rapidjsonLibraries() {
  Library standard;
  standard.name = "rapidjson";
  standard.checkParse = checkParse<rapidjson::kParseDefaultFlags>;
  standard.checkSerialize = checkSerialize;
  standard.parse = parse<rapidjson::kParseDefaultFlags>;
  standard.serialize = serialize;

  Library fullPrecision;
  fullPrecision.name = "rapidjson-fullprec";
  fullPrecision.checkParse = checkParse<rapidjson::kParseFullPrecisionFlag>;
  fullPrecision.parse = parse<rapidjson::kParseFullPrecisionFlag>;

  return {standard, fullPrecision};
}

}  // namespace quilby_bench
