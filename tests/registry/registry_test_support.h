// What the registry's end-to-end tests share: the plug-in's sensor-handle functions, opening
// sensors of the built-in simulated world, and the sensor handles as the journal writes them.
#ifndef QUILBY_TESTS_REGISTRY_REGISTRY_TEST_SUPPORT_H
#define QUILBY_TESTS_REGISTRY_REGISTRY_TEST_SUPPORT_H

#include "quilby/plugin.h"
#include "quilby_sim/control.h"
#include "support/plugin_fixture.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace quilby_test {

// The built-in world's sensors and monitors used by these tests.
inline constexpr MDDeviceID kColorimeter = 33;        // USB
inline constexpr MDDeviceID kSpectrophotometer = 48;  // USB, needs calibration
inline constexpr MDDeviceID kSerialReference = 82;    // on "Lumetra R2 Serial Bridge"
inline constexpr MDDeviceID kSwingSensor = 4144;      // built into the studio monitor
inline constexpr const char* kStudioSerial = "27Q00451";
inline constexpr const char* kOfficeSerial = "24S10088";
inline constexpr const char* kUnlinkedSerial = "27U00912";  // known, but without HID handle
inline constexpr const char* kStudioProduct = "CX271-Studio";
inline constexpr const char* kOfficeProduct = "CS240-Office";

// The plug-in's sensor-handle functions, looked up in the loaded plug-in.
struct SensorHandleFunctions {
  decltype(&SensorControlGetHandleForID) getHandleForID;
  decltype(&QuilbyGetHandleForHIDHandle) getHandleForHIDHandle;
  decltype(&QuilbyGetHandleForDeviceID) getHandleForDeviceID;
  decltype(&QuilbyRemoveSensor) removeSensor;
  decltype(&QuilbyPreUpdateBuiltInSensorHandle) preUpdate;
  decltype(&QuilbyUpdateBuiltInSensorHandle) update;
  decltype(&QuilbyEnumConnectedSerialSensors) enumSerial;
  decltype(&QuilbyLockSensors) lock;
  decltype(&QuilbyUnlockSensors) unlock;
};

// The functions of the plug-in loaded now; the test fails when one is missing.
inline SensorHandleFunctions sensorHandleFunctions() {
  const auto find = [](auto& function, const char* name) {
    function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(
        quilbyhost::PluginHost::Instance().symbol(name));
    EXPECT_NE(function, nullptr) << name;
  };
  SensorHandleFunctions f{};
  find(f.getHandleForID, "SensorControlGetHandleForID");
  find(f.getHandleForHIDHandle, "QuilbyGetHandleForHIDHandle");
  find(f.getHandleForDeviceID, "QuilbyGetHandleForDeviceID");
  find(f.removeSensor, "QuilbyRemoveSensor");
  find(f.preUpdate, "QuilbyPreUpdateBuiltInSensorHandle");
  find(f.update, "QuilbyUpdateBuiltInSensorHandle");
  find(f.enumSerial, "QuilbyEnumConnectedSerialSensors");
  find(f.lock, "QuilbyLockSensors");
  find(f.unlock, "QuilbyUnlockSensors");
  return f;
}

// A simulated sensor handle as the journal writes it ("md:<n>"); "null" for NULL.
inline std::string journalForm(MDHandle handle) {
  constexpr std::uint64_t kBase = 0x5153000000000000ULL;
  if (!handle) return "null";
  return "md:" + std::to_string(reinterpret_cast<std::uint64_t>(handle) - kBase);
}

// A journal argument or result as text ("null" for null), to compare with journalForm.
inline std::string journalText(const cairnjson::Value& value) {
  return value.isNull() ? "null" : value.toString("<not text>");
}

inline std::vector<std::string> sorted(std::vector<std::string> texts) {
  std::sort(texts.begin(), texts.end());
  return texts;
}

class RegistryTest : public PluginTest {
 protected:
  void SetUp() override {
    PluginTest::SetUp();
    functions = sensorHandleFunctions();
  }

  // Opens a sensor through the page's resources and returns its identifier; the test fails
  // unless the answer is 200 with a string.
  std::string openByDeviceID(MDDeviceID deviceID) {
    return identifierOf(call("DeviceID", "POST", R"({"deviceID":)" + std::to_string(deviceID) + "}"));
  }
  std::string openMonitor(const std::string& serial, const std::string& product) {
    return identifierOf(call("Monitors", "POST",
                             R"({"serial":")" + serial + R"(","product":")" + product + "\"}"));
  }

  // The handle registered under `id` (NULL when unknown or closed in place).
  MDHandle handleOf(const std::string& id) {
    MDHandle handle = nullptr;
    functions.getHandleForID(id.c_str(), &handle);
    return handle;
  }

  // The identifiers the page lists (Sensors GET).
  cairnjson::Value openedIdentifiers() { return call("Sensors", "GET").value; }

  // The handle arguments of every journaled call of `function`, in order.
  std::vector<std::string> handleArguments(const std::string& function) {
    std::vector<std::string> handles;
    for (const cairnjson::Value& entry : calls(function)) {
      handles.push_back(journalText(entry["arguments"][0ul]));
    }
    return handles;
  }

  // The journaled calls other than the plug-in's logging.
  std::vector<cairnjson::Value> deviceCalls() {
    std::vector<cairnjson::Value> found;
    const cairnjson::Value entries = journal();
    for (const cairnjson::Value& entry : entries.elements()) {
      if (entry["function"].stringRef().rfind("mirelto_", 0) != 0) found.push_back(entry);
    }
    return found;
  }

  SensorHandleFunctions functions{};

 private:
  static std::string identifierOf(const Reply& reply) {
    EXPECT_EQ(reply.status, 200) << reply.envelope;
    EXPECT_TRUE(reply.value.isString()) << reply.envelope;
    return reply.value.stringRef();
  }
};

// Replaces the simulated world by `world` (JSON); the test fails when it is refused.
inline void loadWorld(const std::string& world) {
  char error[512] = {};
  ASSERT_EQ(QuilbySimLoadWorld(world.c_str(), error, sizeof error), 0) << error;
}

}  // namespace quilby_test

#endif  // QUILBY_TESTS_REGISTRY_REGISTRY_TEST_SUPPORT_H
