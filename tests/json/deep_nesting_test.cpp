// Documents nested far deeper than any thread stack could recurse through are parsed, copied,
// compared, serialized and destroyed on a thread with a 256 KiB stack.
#include "json/cairnjson.h"
#include "support/json_helpers.h"
#include "support/small_stack.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace {

using cairnjson::Parser;
using cairnjson::Value;
using quilby_test::runOnSmallStack;

constexpr std::size_t kDepth = 1000000;

// Arrays and objects alternate, so that both kinds are a million levels deep together. The
// document is parsed, copied, compared, serialized and destroyed, and must round-trip unchanged.
TEST(DeepNestingTest, MixedContainersAMillionLevelsDeep) {
  std::string text;
  std::string close;
  for (std::size_t i = 0; i < kDepth; ++i) {
    text += i % 2 ? "{\"k\":" : "[0,";
    close += i % 2 ? '}' : ']';
  }
  text += "null" + std::string(close.rbegin(), close.rend());
  bool roundTripped = false;
  bool comparedEqual = false;
  bool copyDetached = false;
  runOnSmallStack([&] {
    Parser parser;
    Value value;
    if (!parser.parse(text, value)) return;
    Value copy = value;
    comparedEqual = copy == value;
    // Writing through the copy's outermost level detaches just that level.
    copy.push_back(Value());
    copyDetached = !(copy == value);
    std::string written;
    auto out = std::back_inserter(written);
    roundTripped = cairnjson::Serializer::serialize(out, value, {}, -1, nullptr) && written == text;
  });
  EXPECT_TRUE(comparedEqual);
  EXPECT_TRUE(copyDetached);
  EXPECT_TRUE(roundTripped);
}

TEST(DeepNestingTest, UnterminatedAndFailingDocumentsKeepWhatWasRead) {
  bool unterminatedAccepted = false;
  bool failureReported = false;
  std::size_t partialSize = 0;
  runOnSmallStack([&] {
    Parser parser;
    Value unterminated;
    unterminatedAccepted = parser.parse(std::string(kDepth, '['), unterminated);
    Value failing;
    failureReported = !parser.parse(std::string(kDepth, '[') + "x", failing) &&
                      parser.error() == "Unexpected character exists while parsing.";
    partialSize = failing.size();
  });
  EXPECT_TRUE(unterminatedAccepted);
  EXPECT_TRUE(failureReported);
  EXPECT_EQ(partialSize, 1u);
}

TEST(DeepNestingTest, EventsForADeepDocumentNeedNoStack) {
  struct Counting : cairnjson::AbstractParseHandler {
    std::size_t starts = 0;
    std::size_t ends = 0;
    bool onNull() override { return true; }
    bool onBool(bool) override { return true; }
    bool onInteger(std::int64_t) override { return true; }
    bool onDouble(double) override { return true; }
    bool onString(const std::string&) override { return true; }
    bool onStartArray() override { return ++starts, true; }
    bool onEndArray() override { return ++ends, true; }
    bool onStartObject() override { return true; }
    bool onKey(const std::string&) override { return true; }
    bool onEndObject() override { return true; }
  } handler;
  bool parsedAll = false;
  const std::string text = std::string(kDepth, '[') + "1" + std::string(kDepth, ']');
  runOnSmallStack([&] { parsedAll = Parser().parse(text, handler); });
  EXPECT_TRUE(parsedAll);
  EXPECT_EQ(handler.starts, kDepth);
  EXPECT_EQ(handler.ends, kDepth);
}

}  // namespace
