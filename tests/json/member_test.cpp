// findMember reads one member straight from the text; whatever the text, it must answer what
// parsing the whole document and then reading the member answers. The oracle is the parser
// itself: every case, fixed or generated, is checked against it, with and without text allowed
// after the value.
#include "json/member.h"
#include "json/parser.h"

#include <gtest/gtest.h>

#include <optional>
#include <random>
#include <string>
#include <vector>

namespace {

using cairnjson::Member;
using cairnjson::ParseOption;

std::optional<Member> throughTheParser(const std::string& text, std::string_view key,
                                       const ParseOption& option) {
  cairnjson::Parser parser;
  cairnjson::Value value;
  if (!parser.parse(text.data(), text.data() + text.size(), value, option)) return std::nullopt;
  return cairnjson::memberOf(value, key);
}

std::string describe(const std::optional<Member>& member) {
  if (!member) return "absent";
  return std::to_string(static_cast<int>(member->type())) + ":" + std::string(member->text());
}

void expectAsTheParser(const std::string& text, std::string_view key) {
  for (const std::uint32_t flags : {0u, ParseOption::kAllowTrailingText}) {
    ParseOption option;
    option.flags = flags;
    const std::optional<Member> found =
        cairnjson::findMember(text.data(), text.data() + text.size(), key, option);
    EXPECT_EQ(describe(found), describe(throughTheParser(text, key, option)))
        << "text " << text << ", key " << key << ", flags " << flags;
  }
}

const char* const kKeys[] = {"id", "method", "a", "supports", "", "\xC3\xA9"};

// The shapes the fast reading takes and every way around it: nesting (the key deeper down, after
// empty or cut-short containers), duplicates, escapes, numbers, the parser's lenient readings
// (byte-order marks, stray bytes, cut-short objects), text after the value and non-objects.
const char* const kTexts[] = {
    R"({"id":"3f2b8c1e-9a47-4d2e-b1c3-0e5f6a7b8c9d"})",
    R"({"method":"GET"})",
    R"({"supports":null})",
    R"( { "id" : "x" , "method" : true , "a" : false } )",
    R"({"id":"first","id":"second"})",
    R"({"a":{"id":"deep"},"id":"top"})",
    R"({"a":{},"id":"after an empty object"})",
    R"({"a":[],"id":"after an empty array"})",
    R"({"a":{"b":{}},"id":"x"})",
    R"({"a":[{},[],{"id":1}],"id":2})",
    R"({"id":{"id":"inner"}})",
    R"({"id":[1,2]})",
    R"({"id":{}})",
    R"({"id":12345678901234567890})",
    R"({"id":-0.0})",
    R"({"id":7,"method":"put"})",
    R"({"i\u0064":"escaped key"})",
    R"({"id":"quote\"inside"})",
    "{\"id\":\"raw \x01 control\"}",
    "{\"id\":\"del \x7f byte\"}",
    "{\"id\":\"utf8 \xC3\xA9\"}",
    "{\"\xC3\xA9\":\"key in utf8\"}",
    "\xEF\xBB\xBF{\"id\":\"after a byte-order mark\"}",
    "\xEF\xBB{\"id\":\"after a cut mark\"}",
    "\xEF{\"id\":\"after one byte of it\"}",
    R"({,"id":"after a stray comma"})",
    R"({x"id":"after a stray byte"})",
    R"({"id":"x",})",
    R"({"id":"x")",
    R"({"id":)",
    R"({"id")",
    R"({"id":"unterminated)",
    R"({"id":"x"} trailing)",
    R"({"id":"x"}   )",
    R"({"id":nul})",
    R"({"id":truex})",
    R"({"id" "x"})",
    R"({"id":"x" "a":1})",
    R"({})",
    R"({ })",
    R"([{"id":"in an array"}])",
    R"("id")",
    "",
    R"({"":"empty key"})",
};

TEST(FindMemberTest, AnswersAsParsingTheDocumentWould) {
  for (const char* text : kTexts) {
    for (const char* key : kKeys) expectAsTheParser(text, key);
  }
  // Text after a NUL: a literal above would end at the NUL.
  const std::string withNul("{\"id\":\"x\"}\0rest", 15);
  expectAsTheParser(withNul, "id");
}

// Texts made by changing, dropping and inserting bytes of the fixed ones, from a fixed seed: the
// answers must still agree.
TEST(FindMemberTest, AnswersAsTheParserForChangedTexts) {
  std::mt19937 random(20261124);
  const std::string alphabet = "{}[]\":,\\ ul0e1-.tfxid\xEF\xBB\xBF\x01";
  for (int round = 0; round < 4000; ++round) {
    std::string text = kTexts[random() % std::size(kTexts)];
    const int edits = 1 + static_cast<int>(random() % 3);
    for (int edit = 0; edit < edits; ++edit) {
      const std::size_t at = text.empty() ? 0 : random() % (text.size() + 1);
      const char byte = alphabet[random() % alphabet.size()];
      switch (random() % 3) {
        case 0: text.insert(text.begin() + static_cast<std::ptrdiff_t>(at), byte); break;
        case 1: if (at < text.size()) text.erase(at, 1); break;
        default: if (at < text.size()) text[at] = byte; break;
      }
    }
    expectAsTheParser(text, kKeys[random() % std::size(kKeys)]);
    if (HasFailure()) break;
  }
}

// Texts up to Member::kInPlace bytes are kept inside the member, longer ones beside it.
TEST(FindMemberTest, KeepsTextsWholeAtEveryLength) {
  for (const std::size_t length : {std::size_t{0}, Member::kInPlace - 1, Member::kInPlace,
                                   Member::kInPlace + 1, std::size_t{200}}) {
    const std::string value(length, 'x');
    const std::string text = R"({"id":")" + value + "\"}";
    const auto found = cairnjson::findMember(text.data(), text.data() + text.size(), "id");
    ASSERT_TRUE(found) << length;
    const Member copied = *found;  // a copy carries its own text
    EXPECT_EQ(copied.text(), value) << length;
  }
}

}  // namespace
