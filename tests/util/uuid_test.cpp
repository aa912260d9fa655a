#include "util/uuid.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

TEST(UuidTest, CreateGivesDistinctLowerCaseRandomIdentifiers) {
  std::set<std::string> seen;
  for (int round = 0; round < 10000; ++round) {
    const std::string id = uuid::create();
    seen.insert(id);
    ASSERT_EQ(id.size(), 36u) << id;
    for (std::size_t i = 0; i < id.size(); ++i) {
      const bool hyphen = i == 8 || i == 13 || i == 18 || i == 23;
      const bool hexDigit = (id[i] >= '0' && id[i] <= '9') || (id[i] >= 'a' && id[i] <= 'f');
      ASSERT_TRUE(hyphen ? id[i] == '-' : hexDigit) << id << " at " << i;
    }
    // Version 4 (random), standard variant.
    ASSERT_TRUE(id[14] == '4' && std::string("89ab").find(id[19]) != std::string::npos) << id;
  }
  EXPECT_EQ(seen.size(), 10000u);
}

}  // namespace
