// Presence sensing: switching a monitor's presence detection and setting its level.
#include "sensors/sensor_test_support.h"

#include "quilby_sim/control.h"

#include <string>

namespace {

using quilby_test::Reply;
using quilby_test::SensorTest;

class PresenceTest : public SensorTest {
 protected:
  // The value the colour-sensor library was last asked to set through `function`.
  long long lastSet(const std::string& function) const {
    const auto sets = calls(function);
    return sets.empty() ? -1 : sets.back()["arguments"][1].toLLong(-1);
  }
};

TEST_F(PresenceTest, OnOffIsReadAsAnIntegerAndSwitchedByBooleansAndNumbers) {
  const std::string sensor = swingSensor();
  EXPECT_EQ(call("SensorAmbraSense", "GET", sensor).envelope, ok("0"));
  const std::pair<const char*, long long> rows[] = {
      {"true", 1}, {"false", 0}, {"1", 1}, {"0", 0}, {"0.4", 1}, {"-3", 1}, {"0.0", 0}};
  for (const auto& [body, onOff] : rows) {
    EXPECT_EQ(call("SensorAmbraSense", "PUT", sensor, "", body).envelope, ok("null")) << body;
    EXPECT_EQ(lastSet("CSSG2H_SetHumanDetectOnOff"), onOff) << body;
    EXPECT_EQ(call("SensorAmbraSense", "GET", sensor).envelope, ok(std::to_string(onOff))) << body;
  }
}

TEST_F(PresenceTest, LevelIsReadAsAnIntegerAndSetToRoundedNumbers) {
  const std::string sensor = swingSensor();
  EXPECT_EQ(call("SensorAmbraSenseLevel", "GET", sensor).envelope, ok("1"));
  const std::pair<const char*, long long> rows[] = {{"2", 2}, {"0", 0}, {"1.5", 2}, {"0.49", 0}};
  for (const auto& [body, mode] : rows) {
    EXPECT_EQ(call("SensorAmbraSenseLevel", "PUT", sensor, "", body).envelope, ok("null")) << body;
    EXPECT_EQ(lastSet("CSSG2H_SetHumanDetectMode"), mode) << body;
    EXPECT_EQ(call("SensorAmbraSenseLevel", "GET", sensor).envelope, ok(std::to_string(mode)));
  }
  // Passed through unchecked: the monitor knows three modes, so 2.6 (mode 3) is its to refuse.
  EXPECT_EQ(call("SensorAmbraSenseLevel", "PUT", sensor, "", "2.6").envelope,
            emError(0x8000000A, "Out of range.", "Set human detect mode."));
  EXPECT_EQ(lastSet("CSSG2H_SetHumanDetectMode"), 3);
}

// A bad body is refused before the monitor's section is entered or its library asked.
TEST_F(PresenceTest, BadBodiesAreRefusedBeforeTheMonitorIsAsked) {
  const std::string sensor = swingSensor();
  struct Row {
    const char* resource;
    const char* body;
    const char* message;
  };
  const Row rows[] = {
      {"SensorAmbraSense", "\"true\"", "data must be number or boolean."},
      {"SensorAmbraSense", "null", "data must be number or boolean."},
      {"SensorAmbraSense", "", "data must be number or boolean."},
      {"SensorAmbraSense", "[1]", "data must be number or boolean."},
      {"SensorAmbraSense", "{\"on\":true}", "data must be number or boolean."},
      {"SensorAmbraSenseLevel", "true", "data must be number."},
      {"SensorAmbraSenseLevel", "\"2\"", "data must be number."},
      {"SensorAmbraSenseLevel", "null", "data must be number."},
  };
  for (const Row& row : rows) {
    clearJournal();
    EXPECT_EQ(call(row.resource, "PUT", sensor, "", row.body).envelope, badRequest(row.message))
        << row.resource << " " << row.body;
    EXPECT_EQ(deviceCalls(), std::vector<std::string>{"MDGetHIDHandle"});
  }
  // The sensor check comes before the body check.
  EXPECT_EQ(call("SensorAmbraSense", "PUT", colorimeter(), "", "\"x\"").envelope,
            emError(0x80000000, "Failed.", "Get HID handle."));
}

TEST_F(PresenceTest, MonitorWithoutPresenceDetectionRefusesThroughItsLibrary) {
  const std::string sensor = frontSensor();
  const Reply onOff = call("SensorAmbraSense", "GET", sensor);
  EXPECT_EQ(onOff.status, 500);
  EXPECT_EQ(onOff.error["reason"].stringRef(), "Get human detect on off.");
  EXPECT_EQ(call("SensorAmbraSenseLevel", "PUT", sensor, "", "1").error["reason"].stringRef(),
            "Set human detect mode.");
  EXPECT_EQ(sectionOwners(), (std::vector<std::string>{"", "", ""}));
}

}  // namespace
