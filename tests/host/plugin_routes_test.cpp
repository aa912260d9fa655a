// The development host's simulator routes against the real plug-in and the simulated device
// libraries, checked in the world they change and in the plug-in's answers. What the plug-in's
// routes become is routes_test.cpp's, how they reach a plug-in http_server_test.cpp's.
#include "frontend.h"
#include "host_thread.h"
#include "simulator_control.h"
#include "support/registry_fixture.h"

#include <memory>
#include <string>
#include <tuple>

namespace {

using quilby_test::parsed;
using quilbyhost::HostResponse;

class PluginRoutesTest : public quilby_test::RegistryTest {
 protected:
  void SetUp() override {
    RegistryTest::SetUp();
    simulator_ = quilbyhost::SimulatorControl::attach();
    ASSERT_TRUE(simulator_);
    frontend_ = std::make_unique<quilbyhost::Frontend>(thread_, simulator_.get(), "");
  }

  HostResponse request(const std::string& method, const std::string& target,
                       const std::string& body = "") {
    return frontend_->handle(method, target, body);
  }

  // The colour monitor `serial` of the world shows, as compact JSON.
  std::string shown(const std::string& serial) {
    const cairnjson::Value world = parsed(request("GET", "/sim/world").body)["value"];
    for (const cairnjson::Value& entry : world["monitors"].elements()) {
      if (entry["serial"].stringRef() == serial) return quilby_test::compact(entry["shownColor"]);
    }
    return "none";
  }

  quilbyhost::HostThread thread_;
  std::unique_ptr<quilbyhost::SimulatorControl> simulator_;
  std::unique_ptr<quilbyhost::Frontend> frontend_;
};

// A failure armed by its status's name fails the next call (one by default); clearing removes one
// armed by its code before it is used. The journal gives the last calls, or all of them.
TEST_F(PluginRoutesTest, InjectedFailuresReachThePlugInsAnswerAndTheJournalHasTheCalls) {
  const std::string byName = R"({"function": "MDOpen", "status": "EMERR_SENSOR_CONNECTION_ERROR"})";
  ASSERT_EQ(request("POST", "/sim/failures", byName).status, 200);
  const HostResponse failed = request("POST", "/Sensors/33");
  EXPECT_EQ(failed.status, 500);
  EXPECT_EQ(failed.body,
            R"({"error":{"code":2147549186,"message":"Sensor connection error.","name":"EmError",)"
            R"("reason":"Open sensor."},"value":null})");
  EXPECT_EQ(request("POST", "/Sensors/33").status, 200);
  const std::string byCode = R"({"function": "MDOpen", "status": "0x80000007"})";
  ASSERT_EQ(request("POST", "/sim/failures", byCode).status, 200);
  EXPECT_EQ(request("DELETE", "/sim/failures").status, 200);
  EXPECT_EQ(request("POST", "/Sensors/33").status, 200);
  EXPECT_EQ(parsed(request("GET", "/sim/journal?last=2").body)["value"].size(), 2u);
  EXPECT_EQ(parsed(request("GET", "/sim/journal?last=0").body)["value"].size(), 0u);
  EXPECT_GT(parsed(request("GET", "/sim/journal").body)["value"].size(), 2u);
  EXPECT_EQ(request("DELETE", "/sim/journal").status, 200);
  EXPECT_EQ(journal().size(), 0u);
}

TEST_F(PluginRoutesTest, ANewWorldReplacesTheOldOneAndClosesItsSensors) {
  const std::string id = parsed(request("POST", "/Sensors/33").body)["value"].toString("");
  const std::string studio = "/sim/monitors/QM7A0451/QM-27-Studio-Lab/shownColor";
  EXPECT_EQ(request("PUT", studio, "[0, 0.5, 1]").status, 200);
  EXPECT_EQ(shown("QM7A0451"), "[0.0,0.5,1]");
  EXPECT_NE(handleOf(id), nullptr);
  EXPECT_EQ(request("POST", "/sim/reset").status, 200);
  EXPECT_EQ(handleOf(id), nullptr);
  EXPECT_EQ(shown("QM7A0451"), "[1,1,1]");
  EXPECT_EQ(journal().size(), 0u) << "the closing of the old handles is not journaled";
  // A world of its own replaces the built-in one.
  const HostResponse loaded = request(
      "PUT", "/sim/world", R"({"monitors": [{"serial": "M1", "product": "P", "hidHandle": 7}]})");
  EXPECT_EQ(loaded.status, 200) << loaded.body;
  EXPECT_EQ(shown("QM7A0451"), "none");
  EXPECT_EQ(shown("M1"), "[1,1,1]");
}

// A refusal changes nothing: the built-in world stays, its monitors showing white. Other paths
// under /sim have no route.
TEST_F(PluginRoutesTest, SimulatorRoutesRefuseWhatTheyCannotDo) {
  const std::string office = "/sim/monitors/QM4C0088/QM-24-Office/";
  // Each refusal's status and part of its message; the error's name is SimulatorError.
  const std::tuple<const char*, std::string, const char*, int, const char*> cases[] = {
      {"PUT", office + "shownColor", "[1, 0.5]", 400, "[red, green, blue], each from 0 to 1"},
      {"PUT", office + "shownColor", "[1, 0.5, 1.5]", 400, "each from 0 to 1"},
      {"PUT", office + "shownColor", R"(["1", 0, 0])", 400, "each from 0 to 1"},
      {"PUT", "/sim/monitors/NOPE/QM-24-Office/shownColor", "[0, 0, 0]", 404, "No monitor NOPE"},
      {"PUT", office + "held", "1", 400, "must be true"},
      {"PUT", "/sim/world", R"({"monitors": [{"serial": "X"}]})", 400, "monitors[0]"},
      {"GET", "/sim/journal?last=two", "", 400, "last must be a whole number"},
      {"POST", "/sim/failures", R"({"function": "NoSuchFunction"})", 400, "is not a device"},
      {"POST", "/sim/failures", R"({"function": "MDOpen", "status": "EMERR_NOPE"})", 400,
       "\"EMERR_NOPE\" is not"},
      {"POST", "/sim/failures", R"({"function": "MDOpen", "count": -1})", 400, "count must be"},
      {"POST", "/sim/failures", "MDOpen", 400, "The body must be"},
  };
  for (const auto& [method, target, body, status, message] : cases) {
    const HostResponse response = request(method, target, body);
    EXPECT_EQ(response.status, status) << target << " " << body;
    const cairnjson::Value error = parsed(response.body)["error"];
    EXPECT_EQ(error["name"].stringRef(), "SimulatorError") << target << " " << body;
    EXPECT_NE(error["message"].stringRef().find(message), std::string::npos) << response.body;
  }
  const std::pair<const char*, const char*> unrouted[] = {
      {"GET", "/sim"},
      {"GET", "/sim/"},
      {"POST", "/sim/world"},
      {"GET", "/sim/monitors"},
  };
  for (const auto& [method, target] : unrouted) {
    const HostResponse response = request(method, target);
    EXPECT_EQ(response.status, 404) << method << " " << target;
    EXPECT_EQ(parsed(response.body)["error"]["name"].stringRef(), "HostError");
  }
  EXPECT_EQ(shown("QM4C0088"), "[1,1,1]");
}

}  // namespace
