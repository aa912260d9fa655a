// What the request table and the correlation tests share: the built-in world's monitors and data sets,
// the answer of an injected library failure, and the journal's view of the monitors' critical
// sections.
#ifndef QUILBY_TESTS_RESOURCES_CORRELATION_FIXTURE_H
#define QUILBY_TESTS_RESOURCES_CORRELATION_FIXTURE_H

#include "support/registry_fixture.h"

#include <cstdint>
#include <string>

namespace correlation_test {

using namespace quilby_test;

// The status the tests make a library call fail with, and the answer of that failure.
inline constexpr std::uint32_t kInjected = 0x80010003;
inline std::string injected(const std::string& reason) {
  return emError(kInjected, "Measure error.", reason);
}

inline const std::string kNoHid = emError(0x80000000, "Failed.", "Get HID handle.");
// A database entry's reference sensor, the object left open for further members.
inline const std::string kReference =
    R"({"referenceSensor":{"deviceID":48,"serial":"QS20-240117"})";

inline cairnjson::Value simWorld() { return parsed(controlText(QuilbySimWorld)); }
// The places in the built-in world of the monitors of the "studio" and "office" sensors.
inline const std::string kStudioMonitor = "monitors[0]";
inline const std::string kOfficeMonitor = "monitors[2]";

class CorrelationTest : public RegistryTest {
 protected:
  // The parameters naming a sensor: "studio" the arm sensor of the studio monitor (luminance-level
  // correction, 8x3 matrix; two CSSG2 correlations and two matrices stored), "office" the panel
  // sensor of the office monitor (neither, 3x3 matrix; one IFSv3 correlation and one matrix), "usb"
  // a USB colorimeter (no HID handle). Any other text is the parameters themselves.
  std::string sensor(const std::string& which) {
    if (which == "studio") return armSensor();
    if (which == "office") return panelSensor();
    if (which == "usb") return colorimeter();
    return which;
  }

  // The user data set (index 3) of the monitor at `monitor` in the current world.
  static cairnjson::Value userSet(const std::string& monitor) {
    cairnjson::Value world = simWorld();
    return valueAt(world, monitor + ".dataSets[2]");
  }

  // Whether every monitor's critical section is free, as it must be between requests.
  static bool sectionsFree() {
    const std::vector<std::string> owners = sectionOwners();
    return !owners.empty() && std::all_of(owners.begin(), owners.end(),
                                          [](const std::string& owner) { return owner.empty(); });
  }

  // Every colour-sensor call of the journal ran inside its monitor's section and every DUE
  // priority query outside it, and every section has been left.
  void expectSectionsKept() const {
    const cairnjson::Value entries = journal();
    for (const cairnjson::Value& entry : entries.elements()) {
      const std::string& function = entry["function"].stringRef();
      const bool held = entry["sectionHeld"].isBool() && entry["sectionHeld"].toLLong(0) == 1;
      EXPECT_TRUE(!function.starts_with("CSSG2H_") || held) << function;
      EXPECT_FALSE(function.ends_with("DUEPriority") && held) << function;
    }
    EXPECT_TRUE(sectionsFree());
  }
};

}  // namespace correlation_test

#endif  // QUILBY_TESTS_RESOURCES_CORRELATION_FIXTURE_H
