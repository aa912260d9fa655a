// Which requests the development host accepts: addressed to itself, from its own pages.
#include "access_policy.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace {

using quilbyhost::AccessPolicy;

std::optional<std::string> header(const char* value) {
  return value ? std::optional<std::string>(value) : std::nullopt;
}

TEST(AccessPolicyTest, AcceptsOnlyItsOwnAddressAndPages) {
  const struct {
    const char* host;  // null: no such header
    const char* origin;
    bool allowed;
  } cases[] = {
      {"127.0.0.1:8771", nullptr, true},
      {"localhost:8771", nullptr, true},
      {"LocalHost:8771", nullptr, true},
      {"[::1]:8771", nullptr, true},
      {"127.0.0.1:8771", "http://127.0.0.1:8771", true},
      {"localhost:8771", "http://localhost:8771", true},
      {"devbox.lan:8771", "http://devbox.lan:8771", true},  // --allow-host, in any case
      {nullptr, nullptr, false},
      {"", nullptr, false},
      // DNS rebinding: another name that resolves to the loopback, with or without its page.
      {"attacker.example:8771", nullptr, false},
      {"attacker.example:8771", "http://attacker.example:8771", false},
      {"localhost.attacker.example:8771", nullptr, false},
      {"127.0.0.1:8772", nullptr, false},
      {"127.0.0.1", nullptr, false},  // the default port 80 is not ours
      {"127.0.0.1:87x1", nullptr, false},
      // Pages of other origins.
      {"127.0.0.1:8771", "http://attacker.example", false},
      {"127.0.0.1:8771", "http://127.0.0.1:9000", false},
      {"127.0.0.1:8771", "null", false},
      {"127.0.0.1:8771", "https://127.0.0.1:8771", false},
      {"127.0.0.1:8771", "http://127.0.0.1:8771/x", false},
  };
  const AccessPolicy policy("127.0.0.1", 8771, {"DevBox.lan"});
  for (const auto& c : cases) {
    const std::optional<std::string> refusal = policy.refusal(header(c.host), header(c.origin));
    EXPECT_EQ(!refusal, c.allowed) << (c.host ? c.host : "(no Host)") << " "
                                   << (c.origin ? c.origin : "(no Origin)");
    EXPECT_FALSE(refusal.value_or("allowed").empty());
  }
}

TEST(AccessPolicyTest, AcceptsTheBoundAddressUnlessItIsAWildcard) {
  const AccessPolicy bound("192.168.1.20", 80, {});
  EXPECT_FALSE(bound.refusal(std::string("192.168.1.20"), std::string("http://192.168.1.20")));
  const AccessPolicy wildcard("0.0.0.0", 8771, {});
  EXPECT_TRUE(wildcard.refusal(std::string("0.0.0.0:8771"), std::nullopt));
  EXPECT_TRUE(wildcard.refusal(std::string("192.168.1.20:8771"), std::nullopt));
  EXPECT_EQ(AccessPolicy("::1", 8771, {}).authorities().size(), 3u);
}

}  // namespace
