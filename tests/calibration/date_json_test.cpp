#include "calibration/date_json.h"

#include "support/json_helpers.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

using quilby_test::compact;
using quilby_test::parsed;

TEST(DateJsonTest, ToJsonWritesTheChosenMembersAsIntegers) {
  const DateTime march7(2024, 3, 7, 9, 5, 30, 250);
  EXPECT_EQ(compact(vesk::ToJson(march7, true, false, false)),
            R"({"dateString":"2024-03-07 09:05:30",)"
            R"("day":7,"hour":9,"minute":5,"month":3,"year":2024})");
  EXPECT_EQ(compact(vesk::ToJson(march7, false, false, false)),
            R"({"day":7,"hour":9,"minute":5,"month":3,"year":2024})");
  EXPECT_EQ(compact(vesk::ToJson(march7, false, true, true)),
            R"({"day":7,"hour":9,"minute":5,"month":3,"msec":250,"second":30,"year":2024})");
}

TEST(DateJsonTest, FromJsonReadsTextByLengthAndObjectsByMemberWithoutMsec) {
  // Text rows sit at both ends of each length band: a field is read only once its digits fit.
  const std::pair<const char*, DateTime> rows[] = {
      {R"("")", DateTime(2000, 1, 1, 0, 0, 0)},
      {R"("202")", DateTime(2000, 1, 1, 0, 0, 0)},
      {R"("2024")", DateTime(2024, 1, 1, 0, 0, 0)},
      {R"("2024-0")", DateTime(2024, 1, 1, 0, 0, 0)},
      {R"("2024-03")", DateTime(2024, 3, 1, 0, 0, 0)},
      {R"("2024-03-0")", DateTime(2024, 3, 1, 0, 0, 0)},
      {R"("2024-03-07 09")", DateTime(2024, 3, 7, 9, 0, 0)},
      {R"("2024-03-07 09:05:3")", DateTime(2024, 3, 7, 9, 5, 0)},
      {R"("2024-03-07 09:05:30.250Z")", DateTime(2024, 3, 7, 9, 5, 30)},  // tail ignored
      {R"("2024/03/07T09.05.30")", DateTime(2024, 3, 7, 9, 5, 30)},  // separators not examined
      {R"("2024-xx-7x 25:61:99")", DateTime(2024, 0, 7, 25, 61, 99)},  // pieces read as streams
      // Anything but text is an object of numbers; what is not one reads as zeros.
      {"null", DateTime()},
      {"[2024,3,7]", DateTime()},
      {R"({"year":2024})", DateTime(2024, 0, 0, 0, 0, 0)},
      {R"({"year":"2024","month":2.6,"day":true,"msec":250})", DateTime(2024, 3, 1, 0, 0, 0)},
  };
  for (const auto& [json, expected] : rows) {
    const DateTime date = vesk::DateTimeFromJson(parsed(json));
    EXPECT_EQ(date, expected) << json << " gave " << date.toString() << " msec " << date.msec;
  }
}

}  // namespace
