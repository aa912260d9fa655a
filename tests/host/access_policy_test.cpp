// Which requests the development host accepts: addressed to itself, from its own pages.
#include "access_policy.h"

#include <gtest/gtest.h>

#include <optional>
#include <ostream>
#include <string>

namespace {

using quilbyhost::AccessPolicy;

struct AccessCase {
  const char* name;
  std::optional<std::string> host;
  std::optional<std::string> origin;
  bool allowed;
};

void PrintTo(const AccessCase& c, std::ostream* out) { *out << c.name; }

const AccessCase kCases[] = {
    {"CurlByAddress", "127.0.0.1:8771", std::nullopt, true},
    {"CurlByName", "localhost:8771", std::nullopt, true},
    {"NameInAnyCase", "LocalHost:8771", std::nullopt, true},
    {"Ipv6Loopback", "[::1]:8771", std::nullopt, true},
    {"OwnPage", "127.0.0.1:8771", "http://127.0.0.1:8771", true},
    {"OwnPageByName", "localhost:8771", "http://localhost:8771", true},
    {"ExtraHost", "devbox.lan:8771", "http://devbox.lan:8771", true},
    {"NoHost", std::nullopt, std::nullopt, false},
    {"EmptyHost", "", std::nullopt, false},
    {"RebindingName", "attacker.example:8771", std::nullopt, false},
    {"RebindingNameFromItsOwnPage", "attacker.example:8771", "http://attacker.example:8771",
     false},
    {"OtherPort", "127.0.0.1:8772", std::nullopt, false},
    {"DefaultPortImplied", "127.0.0.1", std::nullopt, false},
    {"PortNotNumeric", "127.0.0.1:87x1", std::nullopt, false},
    {"NameThatOnlyStartsRight", "localhost.attacker.example:8771", std::nullopt, false},
    {"ForeignSite", "127.0.0.1:8771", "http://attacker.example", false},
    {"ForeignPortOfOwnAddress", "127.0.0.1:8771", "http://127.0.0.1:9000", false},
    {"OpaqueOrigin", "127.0.0.1:8771", "null", false},
    {"HttpsIsAnotherOrigin", "127.0.0.1:8771", "https://127.0.0.1:8771", false},
    {"OriginWithPath", "127.0.0.1:8771", "http://127.0.0.1:8771/x", false},
};

class AccessPolicyTest : public testing::TestWithParam<AccessCase> {};

TEST_P(AccessPolicyTest, AcceptsOnlyItsOwnAddressAndPages) {
  const AccessCase& c = GetParam();
  const AccessPolicy policy("127.0.0.1", 8771, {"DevBox.lan"});
  const std::optional<std::string> refusal = policy.refusal(c.host, c.origin);
  EXPECT_EQ(!refusal.has_value(), c.allowed) << refusal.value_or("allowed");
  if (refusal) {
    EXPECT_FALSE(refusal->empty());
  }
}

INSTANTIATE_TEST_SUITE_P(Requests, AccessPolicyTest, testing::ValuesIn(kCases),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(AccessPolicyAddressTest, AcceptsTheBoundAddressUnlessItIsAWildcard) {
  const AccessPolicy bound("192.168.1.20", 80, {});
  EXPECT_FALSE(bound.refusal(std::string("192.168.1.20"), std::string("http://192.168.1.20")));
  const AccessPolicy wildcard("0.0.0.0", 8771, {});
  EXPECT_TRUE(wildcard.refusal(std::string("0.0.0.0:8771"), std::nullopt));
  EXPECT_TRUE(wildcard.refusal(std::string("192.168.1.20:8771"), std::nullopt));
  const AccessPolicy v6("::1", 8771, {});
  EXPECT_EQ(v6.authorities().size(), 3u);
}

}  // namespace
