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

inline constexpr const char* kOK = R"({"error":null,"value":null})";

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

// The status the tests make a library call fail with, and the envelope of that failure.
inline constexpr std::uint32_t kInjected = 0x80010003;
inline std::string injected(const std::string& reason) {
  return emError(kInjected, "Measure error.", reason);
}

inline const std::string kNoHid = emError(0x80000000, "Failed.", "Get HID handle.");

inline std::string badRequest(const std::string& message) {
  return R"({"error":{"message":")" + message + R"(","name":"BadRequestError"},"value":null})";
}

class CorrelationTest : public quilby_test::PluginTest {
 protected:
  // The parameters naming a sensor. "studio" opens the arm sensor of the studio monitor (DUE
  // priority 2, 8x3 matrix, luminance levels); "office" the panel sensor of the office monitor
  // (older firmware: data index by flags; no DUE priority; 3x3 matrix only); "usb" a USB
  // colorimeter (no HID handle). Any other text is the parameters themselves.
  std::string sensor(const std::string& which) {
    const char* parameters =
        which == "studio"   ? R"({"serial":"QM7A0451","product":"QM-27-Studio-Lab"})"
        : which == "office" ? R"({"serial":"QM4C0088","product":"QM-24-Office"})"
        : which == "usb"    ? R"({"deviceID":33})"
                            : nullptr;
    if (!parameters) return which;
    const Reply reply = call(which == "usb" ? "DeviceID" : "Monitors", "POST", parameters);
    EXPECT_EQ(reply.status, 200) << reply.envelope;
    return R"({"id":")" + reply.value.stringRef() + "\"}";
  }

  // The monitor with that serial in `world`, for editing.
  static cairnjson::Value& monitorIn(cairnjson::Value& world, const std::string& serial) {
    for (unsigned long i = 0; i < world["monitors"].size(); ++i) {
      if (world["monitors"][i]["serial"].toString("") == serial) return world["monitors"][i];
    }
    ADD_FAILURE() << "no monitor " << serial;
    return world["monitors"][0ul];
  }

  // Replaces the world by the default one with monitor `serial` changed by `edit`; handles opened
  // before are gone.
  static void loadDefaultWorldWith(const std::string& serial,
                                   const std::function<void(cairnjson::Value&)>& edit) {
    cairnjson::Value world = simWorld();
    edit(monitorIn(world, serial));
    char error[512] = {};
    ASSERT_EQ(QuilbySimLoadWorld(compact(world).c_str(), error, sizeof error), 0) << error;
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

  // Every colour-sensor call of the journal ran inside its monitor's section and every DUE
  // priority query outside it, and every section has been left.
  void expectSectionsKept() const {
    const cairnjson::Value entries = journal();
    for (const cairnjson::Value& entry : entries.elements()) {
      const std::string& function = entry["function"].stringRef();
      EXPECT_TRUE(!function.starts_with("CSSG2H_") || heldSection(entry)) << function;
      EXPECT_FALSE(function.ends_with("DUEPriority") && heldSection(entry)) << function;
    }
    EXPECT_TRUE(sectionsFree());
  }
};

}  // namespace correlation_test

#endif  // QUILBY_TESTS_CORRELATION_CORRELATION_TEST_SUPPORT_H
