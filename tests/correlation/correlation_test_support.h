// What the correlation tests share: opening the default world's sensors, worlds derived from the
// default one, the envelopes of library failures, and the journal's view of the monitors'
// critical sections.
#ifndef QUILBY_TESTS_CORRELATION_CORRELATION_TEST_SUPPORT_H
#define QUILBY_TESTS_CORRELATION_CORRELATION_TEST_SUPPORT_H

#include "support/json_helpers.h"
#include "support/plugin_fixture.h"

#include "quilby_sim/control.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace correlation_test {

using quilby_test::compact;
using quilby_test::parsed;
using quilby_test::Reply;

inline constexpr const char* kStudio = R"({"serial":"27Q00451","product":"CX271-Studio"})";
inline constexpr const char* kOffice = R"({"serial":"24S10088","product":"CS240-Office"})";

// A text of the simulator's control interface.
inline std::string controlText(std::uint32_t (*read)(char*, std::uint32_t)) {
  std::string text(read(nullptr, 0) + 1, '\0');
  text.resize(read(text.data(), static_cast<std::uint32_t>(text.size())));
  return text;
}

inline cairnjson::Value simWorld() { return parsed(controlText(QuilbySimWorld)); }

// The envelope of a library failure: its code, the code's text and the step that failed.
inline std::string emError(std::uint32_t code, const std::string& message,
                           const std::string& reason) {
  return R"({"error":{"code":)" + std::to_string(code) + R"(,"message":")" + message +
         R"(","name":"EmError","reason":")" + reason + R"("},"value":null})";
}

inline std::string badRequest(const std::string& message) {
  return R"({"error":{"message":")" + message + R"(","name":"BadRequestError"},"value":null})";
}

inline constexpr const char* kOK = R"({"error":null,"value":null})";

class CorrelationTest : public quilby_test::PluginTest {
 protected:
  // Opens a sensor and returns the parameters object naming it.
  std::string open(const std::string& entryPoint, const std::string& parameters) {
    const Reply reply = call(entryPoint, "POST", parameters);
    EXPECT_EQ(reply.status, 200) << reply.envelope;
    return R"({"id":")" + reply.value.stringRef() + "\"}";
  }
  // The swing sensor of the studio monitor: DUE priority 2, 8x3 matrix, luminance levels.
  std::string studio() { return open("Monitors", kStudio); }
  // The front sensor of the office monitor: older firmware (data index by flags), no DUE
  // priority, 3x3 matrix only.
  std::string office() { return open("Monitors", kOffice); }
  // A USB colorimeter: no HID handle.
  std::string colorimeter() { return open("DeviceID", R"({"deviceID":33})"); }

  // Replaces the world by the default one changed by `edit`; handles opened before are gone.
  static void loadDefaultWorldWith(const std::function<void(cairnjson::Value&)>& edit) {
    cairnjson::Value world = simWorld();
    edit(world);
    char error[512] = {};
    ASSERT_EQ(QuilbySimLoadWorld(compact(world).c_str(), error, sizeof error), 0) << error;
  }

  // The default world's monitor with that serial, for editing.
  static cairnjson::Value& monitorIn(cairnjson::Value& world, const std::string& serial) {
    for (unsigned long i = 0; i < world["monitors"].size(); ++i) {
      if (world["monitors"][i]["serial"].toString("") == serial) return world["monitors"][i];
    }
    ADD_FAILURE() << "no monitor " << serial;
    return world["monitors"][0ul];
  }

  // The data set `index` of monitor `serial` in the current world.
  static cairnjson::Value dataSet(const std::string& serial, long long index) {
    cairnjson::Value world = simWorld();
    for (const cairnjson::Value& set : monitorIn(world, serial)["dataSets"].elements()) {
      if (set["index"].toLLong(-1) == index) return set;
    }
    ADD_FAILURE() << "no data set " << index << " on " << serial;
    return cairnjson::Value();
  }

  // The state of the sensor with that serial in the current world (absent members are null).
  static cairnjson::Value sensorState(const std::string& serial) {
    const cairnjson::Value world = simWorld();
    for (const cairnjson::Value& sensor : world["sensors"].elements()) {
      if (sensor["serial"].toString("") == serial) return sensor["state"];
    }
    ADD_FAILURE() << "no sensor " << serial;
    return cairnjson::Value();
  }

  // The numbers of a JSON array of numbers, as doubles.
  static std::vector<double> numbers(const cairnjson::Value& array) {
    std::vector<double> values;
    for (const cairnjson::Value& element : array.elements()) {
      values.push_back(element.toDouble(-1e300));
    }
    return values;
  }

  // Whether a journal entry's call started inside this process's critical section.
  static bool heldSection(const cairnjson::Value& entry) {
    return entry["sectionHeld"].isBool() && entry["sectionHeld"].toLLong(0) == 1;
  }

  // Whether every monitor's critical section is free, as it must be between requests.
  static bool sectionsFree() {
    const cairnjson::Value sections = parsed(controlText(QuilbySimCriticalSections));
    for (const cairnjson::Value& section : sections.elements()) {
      if (!section["owner"].isNull()) return false;
    }
    return sections.size() > 0;
  }

  // The journal entries of the colour-sensor library (every "CSSG2H_" call), in order.
  std::vector<cairnjson::Value> colorSensorCalls() const {
    std::vector<cairnjson::Value> found;
    const cairnjson::Value entries = journal();
    for (const cairnjson::Value& entry : entries.elements()) {
      if (entry["function"].stringRef().rfind("CSSG2H_", 0) == 0) found.push_back(entry);
    }
    return found;
  }
};

}  // namespace correlation_test

#endif  // QUILBY_TESTS_CORRELATION_CORRELATION_TEST_SUPPORT_H
