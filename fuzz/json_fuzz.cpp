// Parses arbitrary bytes; whatever parses must survive serialize and parse again unchanged, and
// reading a member straight from the bytes must answer as reading it from the parsed document.
//
// The one difference a round trip may make is the documented number asymmetry: a Double holding
// an integral value below 1e17 is written without fraction or exponent and so reads back as the
// equal Integer.
#include "json/cairnjson.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

using cairnjson::Type;
using cairnjson::Value;

void check(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "json_fuzz: %s\n", what);
  std::abort();
}

bool sameNumber(const Value& written, const Value& read) {
  if (written.isDouble() && read.isInteger()) {
    const double number = written.toDouble(0.0);
    return number == std::trunc(number) && number == static_cast<double>(read.toLLong(0));
  }
  return false;
}

// Value equality, walked without recursion, allowing the integral-double asymmetry.
bool equalAfterRoundTrip(const Value& first, const Value& second) {
  std::vector<std::pair<const Value*, const Value*>> pending{{&first, &second}};
  while (!pending.empty()) {
    const auto [a, b] = pending.back();
    pending.pop_back();
    if (a->type() != b->type()) {
      if (!sameNumber(*a, *b)) return false;
      continue;
    }
    if (a->isArray()) {
      if (a->size() != b->size()) return false;
      for (std::size_t i = 0; i < a->size(); ++i) pending.emplace_back(&a->elements()[i], &b->elements()[i]);
    } else if (a->isObject()) {
      if (a->size() != b->size()) return false;
      auto right = b->members().begin();
      for (const auto& [key, member] : a->members()) {
        if (key != right->first) return false;
        pending.emplace_back(&member, &right->second);
        ++right;
      }
    } else if (!(*a == *b)) {
      return false;
    }
  }
  return true;
}

std::string serialized(const Value& value) {
  std::string text;
  auto out = std::back_inserter(text);
  std::string error;
  check(cairnjson::Serializer::serialize(out, value, {}, -1, &error), "serialize failed");
  return text;
}

// Reading one member straight from the text answers as parsing the document and reading it.
void checkMemberReading(const std::string& input) {
  for (const char* key : {"id", "method", "a"}) {
    cairnjson::Parser parser;
    Value parsed;
    const bool ok = parser.parse(input, parsed);
    const std::optional<cairnjson::Member> expected =
        ok ? cairnjson::memberOf(parsed, key) : std::nullopt;
    const std::optional<cairnjson::Member> found =
        cairnjson::findMember(input.data(), input.data() + input.size(), key);
    check(found.has_value() == expected.has_value(), "a member was found differently");
    if (found) {
      check(found->type() == expected->type() && found->text() == expected->text(),
            "a member was read differently");
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  checkMemberReading(input);
  cairnjson::Parser parser;
  Value first;
  if (!parser.parse(input, first) || cairnjson::holdsNonFiniteNumber(first)) return 0;

  const std::string written = serialized(first);
  Value second;
  check(parser.parse(written, second), "serialized text does not parse");
  check(equalAfterRoundTrip(first, second), "value changed across serialize and parse");
  check(serialized(second) == written, "second serialization differs");
  const Value copy = first;
  check(copy == first, "copy differs from its source");
  return 0;
}
