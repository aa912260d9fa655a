#include "json/parser.h"

#include "support/json_helpers.h"
#include "support/row_names.h"
#include "support/small_stack.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace {

using cairnjson::ParseOption;
using cairnjson::Parser;
using cairnjson::Type;
using cairnjson::Value;
using quilby_test::compact;
using quilby_test::runOnSmallStack;

// One whole-text parse: whether it succeeds, the error text, and the value read (also on failure).
struct ParseCase {
  const char* name;
  std::string input;
  bool ok;
  const char* error;
  const char* value;
  std::uint32_t flags = 0;  // ParseOption's
};

class ParserTableTest : public testing::TestWithParam<ParseCase> {};

TEST_P(ParserTableTest, GivesTheExpectedValueAndError) {
  const ParseCase& row = GetParam();
  Parser parser;
  Value value;
  ParseOption option;
  option.flags = row.flags;
  EXPECT_EQ(parser.parse(row.input, value, option), row.ok);
  EXPECT_EQ(parser.error(), row.error);
  EXPECT_EQ(compact(value), row.value);
}

const char* const kUnexpectedCharacter = "Unexpected character exists while parsing.";
const char* const kObjectString = "Unexpected string exists while parsing object.";
const char* const kArrayString = "Unexpected string exists while parsing array.";
const char* const kSurrogate = "Invalid unicode surrogate pair is found while parsing string.";
const char* const kBadEscape = "Unexpected escape character is found while parsing string.";
const char* const kBadHex = "Invalid unicode hex string is found while parsing string.";

INSTANTIATE_TEST_SUITE_P(
    Errors, ParserTableTest,
    testing::Values(
        ParseCase{"Empty", "", false, kUnexpectedCharacter, "null"},
        ParseCase{"UnknownByte", "@", false, kUnexpectedCharacter, "null"},
        ParseCase{"BadTrue", "tru", false, "Invalid boolean type string exists.", "null"},
        ParseCase{"BadFalse", "falsy", false, "Invalid boolean type string exists.", "null"},
        ParseCase{"BadNull", "nul", false, "Invalid null type string exists.", "null"},
        ParseCase{"UnterminatedString", "\"abc", false,
                  "Expected string ending character '\"' is not found.", "null"},
        ParseCase{"BadEscape", "\"\\x\"", false, kBadEscape, "null"},
        ParseCase{"EscapeAtEnd", "\"\\", false, kBadEscape, "null"},
        ParseCase{"BadHex", "\"\\u12G4\"", false, kBadHex, "null"},
        ParseCase{"HexCutShort", "\"\\u12", false, kBadHex, "null"},
        ParseCase{"LoneHighSurrogate", "\"\\ud83d\"", false, kSurrogate, "null"},
        ParseCase{"HighSurrogateThenBmp", "\"\\ud83d\\u0041\"", false, kSurrogate, "null"},
        ParseCase{"HighSurrogateThenBadHex", "\"\\ud83d\\uzzzz\"", false, kSurrogate, "null"},
        ParseCase{"LoneLowSurrogateHasNoText", "\"\\ude00\"", false, "", "null"},
        ParseCase{"LeadingZero", "01", false,
                  "Unexpected '0' character is found while parsing number.", "null"},
        ParseCase{"LoneMinus", "-", false, "Digit is not found while parsing number.", "null"},
        ParseCase{"PointWithoutDigit", "1.", false,
                  "Digit is not found after the decimal point while parsing number.", "null"},
        ParseCase{"ExponentWithoutDigit", "1e", false,
                  "Digit is not found after exponent keyword while parsing number.", "null"},
        ParseCase{"ObjectTrailingComma", "{\"a\":1,}", false,
                  "Unexpected comma exists while parsing object.", "{\"a\":1}"},
        ParseCase{"ArrayTrailingComma", "[1,]", false,
                  "Unexpected comma exists while parsing array.", "[1]"},
        ParseCase{"ArrayMissingComma", "[1 2]", false, kArrayString, "[1]"},
        ParseCase{"ObjectMissingColon", "{\"a\" 1}", false, kObjectString, "{}"},
        ParseCase{"ObjectMissingComma", "{\"a\":1 \"b\":2}", false, kObjectString, "{\"a\":1}"},
        ParseCase{"ObjectValueMissing", "{\"a\":", false, kUnexpectedCharacter, "{\"a\":null}"},
        ParseCase{"ArrayBlankToEnd", "[1, ", false, kUnexpectedCharacter, "[1,null]"},
        ParseCase{"FailedElementKeepsWhatCameBefore", "[1,{\"a\":tru", false,
                  "Invalid boolean type string exists.", "[1,{\"a\":null}]"},
        ParseCase{"TrailingText", "{} x", false, "Gabage string exists after json string.", "{}"}),
    [](const testing::TestParamInfo<ParseCase>& info) { return std::string(info.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Leniencies, ParserTableTest,
    testing::Values(
        ParseCase{"UnterminatedObject", "{\"a\":1", true, "", "{\"a\":1}"},
        ParseCase{"UnterminatedArray", "[1,2", true, "", "[1,2]"},
        ParseCase{"ArrayEndsAfterComma", "[1,", true, "", "[1]"},
        ParseCase{"ObjectEndsAfterBrace", "{", true, "", "{}"},
        ParseCase{"NestedUnterminated", "[[1", true, "", "[[1]]"},
        ParseCase{"StrayCommaBeforeMember", "{,\"a\":1}", true, "", "{\"a\":1}"},
        ParseCase{"StrayBytesBetweenMembers", "{\"a\":1, x \"b\":2}", true, "",
                  "{\"a\":1,\"b\":2}"},
        ParseCase{"FirstDuplicateWins", "{\"a\":1,\"a\":2}", true, "", "{\"a\":1}"},
        ParseCase{"NulEndsTheText", std::string("{}\0junk", 7), true, "", "{}"},
        ParseCase{"ByteOrderMark", "\xEF\xBB\xBF[1]", true, "", "[1]"},
        ParseCase{"PartialByteOrderMark", "\xEF\xBB[1]", true, "", "[1]"},
        ParseCase{"FirstByteOfMark", "\xEF" "7", true, "", "7"},
        ParseCase{"MarkBytesOutOfOrder", "\xBB\xEF[1]", false, kUnexpectedCharacter, "null"},
        ParseCase{"RawControlBytesAndHighBytes", "\"a\tb\xff\"", true, "", "\"a\\tb\xff\""},
        ParseCase{"AllWhiteSpaceKinds", " \t\r\n[ \t\r\n1 \t\r\n] \t\r\n", true, "", "[1]"},
        ParseCase{"EmptyContainers", "[{},[],\"\"]", true, "", "[{},[],\"\"]"},
        ParseCase{"TrailingCommaOptionInObject", "{\"a\":1,}", true, "", "{\"a\":1}",
                  ParseOption::kAllowTrailingComma},
        ParseCase{"TrailingCommaOptionInArray", "[1,]", true, "", "[1]",
                  ParseOption::kAllowTrailingComma},
        ParseCase{"TrailingTextOption", "[1] junk", true, "", "[1]",
                  ParseOption::kAllowTrailingText}),
    [](const testing::TestParamInfo<ParseCase>& info) { return std::string(info.param.name); });

TEST(ParserTest, EscapesGiveTheirBytes) {
  Parser parser;
  Value value;
  ASSERT_TRUE(parser.parse(R"("\"\/\\\b\f\n\r\t\u0041\u00e9\u20ac\ud83d\ude00\u0000")", value));
  EXPECT_EQ(value.stringRef(), std::string("\"/\\\b\f\n\r\tA\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\0", 19));
}

struct NumberCase {
  const char* text;
  Type type;
  long long integer;
  double real;
};

class ParserNumberTest : public testing::TestWithParam<NumberCase> {};

TEST_P(ParserNumberTest, ClassifiesAndConverts) {
  const NumberCase& row = GetParam();
  Parser parser;
  Value value;
  ASSERT_TRUE(parser.parse(row.text, value)) << parser.error();
  ASSERT_EQ(value.type(), row.type) << row.text;
  if (row.type == Type::Integer) {
    EXPECT_EQ(value.toLLong(0), row.integer);
  } else {
    EXPECT_EQ(value.toDouble(0), row.real);
    EXPECT_EQ(std::signbit(value.toDouble(0)), std::signbit(row.real));
  }
}

INSTANTIATE_TEST_SUITE_P(
    Table, ParserNumberTest,
    testing::Values(NumberCase{"5", Type::Integer, 5, 0}, NumberCase{"-0", Type::Integer, 0, 0},
                    NumberCase{"5e0", Type::Integer, 5, 0}, NumberCase{"5E+00", Type::Integer, 5, 0},
                    NumberCase{"7e-0", Type::Integer, 7, 0},
                    NumberCase{"9223372036854775807", Type::Integer, 9223372036854775807LL, 0},
                    NumberCase{"-9223372036854775807", Type::Integer, -9223372036854775807LL, 0},
                    // Twenty digits whose digits after the bound are all below 8 wrap around.
                    NumberCase{"92233720368547758070", Type::Integer, -10, 0},
                    NumberCase{"5.0", Type::Double, 0, 5.0}, NumberCase{"5e1", Type::Double, 0, 50.0},
                    NumberCase{"1.5e-0", Type::Double, 0, 1.5}, NumberCase{"-0.0", Type::Double, 0, -0.0},
                    NumberCase{"9223372036854775808", Type::Double, 0, 9223372036854775808.0},
                    NumberCase{"-9223372036854775808", Type::Double, 0, -9223372036854775808.0},
                    NumberCase{"1e400", Type::Double, 0, HUGE_VAL},
                    NumberCase{"-1e400", Type::Double, 0, -HUGE_VAL},
                    NumberCase{"1e-400", Type::Double, 0, 0.0},
                    NumberCase{"1e00000000000000000000000", Type::Integer, 1, 0},
                    NumberCase{"1e18446744073709551616", Type::Double, 0, HUGE_VAL}),
    [](const auto& info) { return quilby_test::rowName(info.index, info.param.text); });

TEST(ParserTest, DoublesAreCorrectlyRoundedLikeStrtod) {
  std::mt19937_64 random(20261121);
  Parser parser;
  // Texts exactly halfway between two doubles round to the even one.
  for (const std::string text :
       {"9007199254740993.0", "9007199254740995.0",
        "1.00000000000000011102230246251565404236316680908203125", "2.2250738585072011e-308",
        "4.9406564584124654e-324", "1.7976931348623157e308"}) {
    Value value;
    ASSERT_TRUE(parser.parse(text, value)) << text;
    EXPECT_EQ(value.toDouble(0), std::strtod(text.c_str(), nullptr)) << text;
  }
  for (int i = 0; i < 20000; ++i) {
    std::string text = std::to_string(random() % 100000000000000000ULL);
    text.insert(1 + random() % (text.size()), ".");
    if (text.back() == '.') text += "5";
    if (random() % 2) text += "e" + std::to_string(static_cast<int>(random() % 640) - 320);
    if (random() % 2) text.insert(0, "-");
    Value value;
    ASSERT_TRUE(parser.parse(text, value)) << text;
    EXPECT_EQ(value.toDouble(0), std::strtod(text.c_str(), nullptr)) << text;
  }
}

TEST(ParserTest, ReadingIntoAHeldContainerJoinsIt) {
  Parser parser;
  Value object = quilby_test::parsed("{\"a\":1}");
  EXPECT_TRUE(parser.parse("{\"a\":2,\"b\":3}", object));
  EXPECT_EQ(compact(object), "{\"a\":1,\"b\":3}");
  Value array = quilby_test::parsed("[1]");
  EXPECT_TRUE(parser.parse("[2]", array));
  EXPECT_EQ(compact(array), "[1,2]");
  Value scalar = quilby_test::parsed("[1]");
  EXPECT_TRUE(parser.parse("\"s\"", scalar));
  EXPECT_EQ(compact(scalar), "\"s\"");
}

TEST(ParserTest, BuildingBlocksStartAtTheCurrentPosition) {
  Parser parser;
  const std::string input = "\"k\\u0041\" 12.5e1 \\u00e9 [1]";
  Parser::Iterator<std::string::const_iterator> it{input.begin(), input.end()};
  std::string key;
  ASSERT_TRUE(parser.parse_string(key, it));
  EXPECT_EQ(key, "kA");
  Parser::skip_white_space(it);
  Value number;
  ASSERT_TRUE(parser.parse_number(&number, nullptr, it));
  EXPECT_EQ(number.toDouble(0), 125.0);
  Parser::skip_white_space(it);
  it.current += 2;
  unsigned short hex = 0;
  ASSERT_TRUE(parser.parse_hex(hex, it));
  EXPECT_EQ(hex, 0x00e9);
  Parser::skip_white_space(it);
  Value array;
  ASSERT_TRUE(parser.parse_array(&array, nullptr, it, ParseOption{}));
  EXPECT_EQ(compact(array), "[1]");
  EXPECT_TRUE(it.atEnd());
}

// Writes every event as a token so the sequence can be compared as text.
class RecordingHandler : public cairnjson::AbstractParseHandler {
 public:
  std::string events;
  int cancelAt = -1;

  bool onNull() override { return record("null"); }
  bool onBool(bool value) override { return record(value ? "true" : "false"); }
  bool onInteger(std::int64_t value) override { return record("i" + std::to_string(value)); }
  bool onDouble(double value) override { return record("d" + std::to_string(value)); }
  bool onString(const std::string& value) override { return record("s:" + value); }
  bool onStartArray() override { return record("["); }
  bool onEndArray() override { return record("]"); }
  bool onStartObject() override { return record("{"); }
  bool onKey(const std::string& key) override { return record("k:" + key); }
  bool onEndObject() override { return record("}"); }

 private:
  bool record(const std::string& event) {
    if (count_++ == cancelAt) return false;
    events += event + " ";
    return true;
  }
  int count_ = 0;
};

TEST(ParserTest, HandlerReceivesEventsInOrderAndCanCancel) {
  Parser parser;
  RecordingHandler handler;
  ASSERT_TRUE(parser.parse(R"({"a":[1,2.5,"x",true,null],"b":{},"c":[]})", handler));
  EXPECT_EQ(handler.events, "{ k:a [ i1 d2.500000 s:x true null ] k:b { k:c [ } ");
  RecordingHandler canceling;
  canceling.cancelAt = 3;
  EXPECT_FALSE(parser.parse("[[1,2]]", canceling));
  EXPECT_EQ(parser.error(), "SAX handler cancels parsing.");
  EXPECT_EQ(canceling.events, "[ [ i1 ");
  // The next parse clears the error.
  Value value;
  EXPECT_TRUE(parser.parse("1", value));
  EXPECT_EQ(parser.error(), "");
}

TEST(ParserTest, ParseInsideAHandlerUsesItsOwnStacks) {
  // Each string event parses the string's text as a document of its own, mid-parse.
  struct NestingHandler : RecordingHandler {
    std::vector<std::string> inner;
    bool onString(const std::string& value) override {
      Parser nested;
      Value document;
      if (!nested.parse(value, document)) return false;
      inner.push_back(compact(document));
      return RecordingHandler::onString(value);
    }
  } handler;
  Parser parser;
  ASSERT_TRUE(parser.parse(R"([["[1,[2]]", {"k":"{\"a\":[3]}"}], 4])", handler)) << parser.error();
  EXPECT_EQ(handler.events, "[ [ s:[1,[2]] { k:k s:{\"a\":[3]} } ] i4 ] ");
  EXPECT_EQ(handler.inner, (std::vector<std::string>{"[1,[2]]", "{\"a\":[3]}"}));
}

// Documents nested far deeper than any thread stack could recurse through, on a thread with a
// 256 KiB stack.
constexpr std::size_t kDepth = 1000000;

// Arrays and objects alternate, so that both kinds are a million levels deep together. Parsed,
// copied, compared, serialized and destroyed, the document must round-trip unchanged.
TEST(DeepNestingTest, MixedContainersAMillionLevelsDeep) {
  std::string text;
  std::string close;
  for (std::size_t i = 0; i < kDepth; ++i) {
    text += i % 2 ? "{\"k\":" : "[0,";
    close += i % 2 ? '}' : ']';
  }
  text += "null" + std::string(close.rbegin(), close.rend());
  runOnSmallStack([&] {
    Parser parser;
    Value value;
    ASSERT_TRUE(parser.parse(text, value));
    Value copy = value;
    EXPECT_TRUE(copy == value);
    // Writing through the copy's outermost level detaches just that level.
    copy.push_back(Value());
    EXPECT_FALSE(copy == value);
    std::string written;
    auto out = std::back_inserter(written);
    EXPECT_TRUE(cairnjson::Serializer::serialize(out, value, {}, -1, nullptr));
    EXPECT_TRUE(written == text);  // too long to print
  });
}

TEST(DeepNestingTest, UnterminatedAndFailingDocumentsKeepWhatWasRead) {
  runOnSmallStack([] {
    Parser parser;
    Value unterminated;
    EXPECT_TRUE(parser.parse(std::string(kDepth, '['), unterminated));
    Value failing;
    EXPECT_FALSE(parser.parse(std::string(kDepth, '[') + "x", failing));
    EXPECT_EQ(parser.error(), "Unexpected character exists while parsing.");
    EXPECT_EQ(failing.size(), 1u);
  });
}

TEST(DeepNestingTest, EventsForADeepDocumentNeedNoStack) {
  RecordingHandler handler;
  const std::string text = std::string(kDepth, '[') + "1" + std::string(kDepth, ']');
  runOnSmallStack([&] { EXPECT_TRUE(Parser().parse(text, handler)); });
  std::string opened;
  std::string closed;
  for (std::size_t i = 0; i < kDepth; ++i) {
    opened += "[ ";
    closed += "] ";
  }
  EXPECT_TRUE(handler.events == opened + "i1 " + closed);  // too long to print
}

}  // namespace
