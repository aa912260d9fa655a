#include "util/date_time.h"

#include <gtest/gtest.h>

namespace {

TEST(DateTimeTest, ToStringPadsFieldsAndOmitsMsec) {
  EXPECT_EQ(DateTime().toString(), "0000-00-00 00:00:00");
  EXPECT_EQ(DateTime(2024, 3, 7, 9, 5, 0, 250).toString(), "2024-03-07 09:05:00");
  EXPECT_EQ(DateTime(1999, 12, 31, 23, 59, 58).toString(), "1999-12-31 23:59:58");
  EXPECT_EQ(DateTime(5, 1, 2, 3, 4, 6).toString(), "0005-01-02 03:04:06");
  EXPECT_EQ(DateTime(12345, 123, 1, 0, 0, 0).toString(), "12345-123-01 00:00:00");
  EXPECT_EQ(DateTime(-5, 1, 1, 0, 0, 0).toString(), "-005-01-01 00:00:00");
}

}  // namespace
