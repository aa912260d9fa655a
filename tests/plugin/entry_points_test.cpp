// Every resource entry point of the built plug-in answers through the host's bridge and leaves
// one line in the request log.
#include "quilby/resource_list.h"
#include "support/registry_fixture.h"

#include <iterator>
#include <set>
#include <string>

namespace {

using quilby_test::Reply;

class EntryPointsTest : public quilby_test::RegistryTest {};

struct Resource {
  const char* name;
  std::string methods;  // separated by spaces
};

#define QUILBY_TEST_RESOURCE(Name, Methods, Path) Resource{#Name, Methods},
const Resource kResources[] = {QUILBY_RESOURCES(QUILBY_TEST_RESOURCE)};
#undef QUILBY_TEST_RESOURCE

// The resource list names exactly the methods each resource implements: the others are refused
// with 405 and logged, and the listed ones reach a handler.
TEST_F(EntryPointsTest, ListedMethodsReachHandlersAndOthersAnswer405AndAreLogged) {
  ASSERT_EQ(std::size(kResources), 34u);
  for (const auto& [resource, implemented] : kResources) {
    for (const std::string method : {"GET", "PUT", "POST", "DELETE"}) {
      clearJournal();
      const Reply reply = call(resource, method);
      if ((" " + implemented + " ").find(" " + method + " ") != std::string::npos) {
        EXPECT_NE(reply.status, 405) << resource << " " << method;
        continue;
      }
      const std::string message = method + " method is not allowed.";
      EXPECT_EQ(reply.status, 405) << resource << " " << method;
      EXPECT_EQ(reply.envelope,
                R"({"error":{"message":")" + message + R"(","name":"MethodError"},"value":null})");
      const auto lines = logLines();
      ASSERT_EQ(lines.size(), 1u) << resource << " " << method;
      EXPECT_EQ(lines[0].first, 5);
      EXPECT_EQ(lines[0].second, "statusCode:405\tmethod:" + method +
                                     "\turi:/quilby/\terr:MethodError\tmsg:" + message);
    }
  }
}

// DeviceID implements POST alone, so every request below is refused and logged.
TEST_F(EntryPointsTest, LoggedMethodIsTheRequestsMethodText) {
  const std::pair<const char*, const char*> table[] = {
      {R"({"method":"put"})", "PUT"}, {R"({"method":"Patch"})", "PATCH"},
      {R"({"method":7})", "7"},       {R"({"method":true})", "TRUE"},
      {R"({"method":1.5})", "1.5"},   {R"({"method":null})", "GET"},
      {R"({"method":[1]})", "GET"},   {"{}", "GET"},
      {"", "GET"},                    {"no json", "GET"}};
  for (const auto& [request, logged] : table) {
    clearJournal();
    quilbyhost::Answer answer;
    std::string error;
    ASSERT_TRUE(
        quilbyhost::PluginHost::Instance().call("DeviceID", request, "", "", "", answer, error))
        << error;
    const auto lines = logLines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].second.substr(0, lines[0].second.find("\turi:")),
              std::string("statusCode:405\tmethod:") + logged)
        << request;
  }
}

TEST_F(EntryPointsTest, WithoutTheLoggingLibraryRequestsAreAnsweredSilently) {
  reloadWith("", "libmirelto2_x64.so");
  EXPECT_EQ(call("DeviceID", "GET").status, 405);
  EXPECT_TRUE(logLines().empty());
}

}  // namespace
