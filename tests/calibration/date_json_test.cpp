#include "calibration/date_json.h"

#include "json/cairnjson.h"

#include <gtest/gtest.h>

#include <iterator>
#include <string>

namespace {

std::string compact(const cairnjson::Value& value) {
  std::string text;
  auto out = std::back_inserter(text);
  cairnjson::Serializer::serialize(out, value, {}, -1, nullptr);
  return text;
}

cairnjson::Value parsed(const std::string& text) {
  cairnjson::Value value;
  EXPECT_TRUE(cairnjson::Parser().parse(text, value)) << text;
  return value;
}

const DateTime kMarch7(2024, 3, 7, 9, 5, 30, 250);

TEST(DateJsonTest, ToJsonWritesChosenMembersAsIntegers) {
  EXPECT_EQ(compact(vesk::ToJson(kMarch7, true, false, false)),
            R"({"dateString":"2024-03-07 09:05:30",)"
            R"("day":7,"hour":9,"minute":5,"month":3,"year":2024})");
  EXPECT_EQ(compact(vesk::ToJson(kMarch7, false, false, false)),
            R"({"day":7,"hour":9,"minute":5,"month":3,"year":2024})");
  EXPECT_EQ(compact(vesk::ToJson(kMarch7, false, true, true)),
            R"({"day":7,"hour":9,"minute":5,"month":3,"msec":250,"second":30,"year":2024})");
}

struct FromJsonCase {
  const char* name;
  const char* json;
  DateTime expected;
};

class DateJsonFromJsonTest : public testing::TestWithParam<FromJsonCase> {};

TEST_P(DateJsonFromJsonTest, ReadsLenientlyWithoutMsec) {
  const DateTime date = vesk::DateTimeFromJson(parsed(GetParam().json));
  EXPECT_EQ(date, GetParam().expected) << date.toString() << " msec " << date.msec;
}

// Text rows sit at both ends of each length band: a field is read only once its digits fit.
const FromJsonCase kFromJsonCases[] = {
    {"EmptyText", R"("")", DateTime(2000, 1, 1, 0, 0, 0)},
    {"ThreeCharacters", R"("202")", DateTime(2000, 1, 1, 0, 0, 0)},
    {"YearOnly", R"("2024")", DateTime(2024, 1, 1, 0, 0, 0)},
    {"SixCharactersStillYearOnly", R"("2024-0")", DateTime(2024, 1, 1, 0, 0, 0)},
    {"YearAndMonth", R"("2024-03")", DateTime(2024, 3, 1, 0, 0, 0)},
    {"NineCharactersNoDay", R"("2024-03-0")", DateTime(2024, 3, 1, 0, 0, 0)},
    {"Hour", R"("2024-03-07 09")", DateTime(2024, 3, 7, 9, 0, 0)},
    {"EighteenCharactersNoSecond", R"("2024-03-07 09:05:3")", DateTime(2024, 3, 7, 9, 5, 0)},
    {"TailIgnored", R"("2024-03-07 09:05:30.250Z")", DateTime(2024, 3, 7, 9, 5, 30)},
    {"SeparatorsNotExamined", R"("2024/03/07T09.05.30")", DateTime(2024, 3, 7, 9, 5, 30)},
    {"PiecesReadLikeStreams", R"("2024-xx-7x 25:61:99")", DateTime(2024, 0, 7, 25, 61, 99)},
    {"NullIsAllZeros", "null", DateTime()},
    {"ArrayIsAllZeros", "[2024,3,7]", DateTime()},
    {"MissingMembersAreZero", R"({"year":2024})", DateTime(2024, 0, 0, 0, 0, 0)},
    {"MembersConvertedMsecIgnored", R"({"year":"2024","month":2.6,"day":true,"msec":250})",
     DateTime(2024, 3, 1, 0, 0, 0)},
};

INSTANTIATE_TEST_SUITE_P(Rows, DateJsonFromJsonTest, testing::ValuesIn(kFromJsonCases),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
