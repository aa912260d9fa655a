// The plug-in's sensor-handle C interface, called as another component of the host would, on
// sensors the page opened through the resources.
#include "support/registry_fixture.h"

#include <algorithm>
#include <chrono>
#include <future>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace quilby_test;
using namespace std::chrono_literals;

class SensorHandleInterfaceTest : public RegistryTest {
 protected:
  using LogLine = std::pair<int, std::string>;
  const LogLine closed{3, "Close sensor on pre update built-in sensor handle."};
  const LogLine notClosed{5, "Failed to close sensor on pre update built-in sensor handle."};
  const LogLine reopened{3, "Reopen sensor on update built-in sensor handle."};
  const LogLine notReopened{5, "Failed to open sensor on update built-in sensor handle."};

  // The handle that the journaled call number `index` of `function` opened.
  std::string openedHandle(const std::string& function, std::size_t index = 0) {
    return calls(function).at(index)["handle"].toString("");
  }

  // A made-up handle value that the simulator never hands out.
  static MDHandle bogusHandle() { return reinterpret_cast<MDHandle>(0x5153000000fffff0ULL); }
  // The status of a lookup and the handle it stored; bogusHandle() when none.
  using Found = std::pair<EmError, MDHandle>;
  Found byHID(std::uintptr_t hid) {
    MDHandle handle = bogusHandle();
    return Found(functions.getHandleForHIDHandle(reinterpret_cast<void*>(hid), &handle), handle);
  }
  Found byDeviceID(MDDeviceID deviceID) {
    MDHandle handle = bogusHandle();
    return Found(functions.getHandleForDeviceID(deviceID, &handle), handle);
  }
};

TEST_F(SensorHandleInterfaceTest, LooksUpByIdentifierHIDHandleAndDeviceIDInIdentifierOrder) {
  const std::string colorimeter = openByDeviceID(kColorimeter);
  // By identifier: exactly 1 or 0; the handle is stored when asked for, null when unknown.
  MDHandle handle = bogusHandle();
  EXPECT_EQ(functions.getHandleForID(colorimeter.c_str(), &handle), 1);
  EXPECT_EQ(journalForm(handle), openedHandle("MDOpen"));
  EXPECT_EQ(functions.getHandleForID(colorimeter.c_str(), nullptr), 1);
  EXPECT_EQ(functions.getHandleForID("00000000-0000-0000-0000-000000000000", &handle), 0);
  EXPECT_EQ(handle, nullptr);
  EXPECT_EQ(functions.getHandleForID(nullptr, &handle), 0);
  const std::string office = openMonitor(kOfficeSerial, kOfficeProduct);
  const MDHandle studio = handleOf(std::min(openMonitor(kStudioSerial, kStudioProduct),
                                            openMonitor(kStudioSerial, kStudioProduct)));
  EXPECT_EQ(byHID(0x1001), Found(EMERR_OK, studio));
  EXPECT_EQ(byHID(0x1002), Found(EMERR_OK, handleOf(office)));
  EXPECT_EQ(byDeviceID(kArmSensor), Found(EMERR_OK, studio));
  EXPECT_EQ(byDeviceID(kColorimeter), Found(EMERR_OK, handleOf(colorimeter)));
  EXPECT_EQ(byHID(0x1003), Found(EMERR_NOT_REGISTERED, bogusHandle()));
  EXPECT_EQ(byDeviceID(kSpectrophotometer), Found(EMERR_NOT_REGISTERED, bogusHandle()));
  // Null HID handle and device id 0 are refused before anything is asked.
  clearJournal();
  EXPECT_EQ(byHID(0), Found(EMERR_NOT_REGISTERED, bogusHandle()));
  EXPECT_EQ(byDeviceID(0), Found(EMERR_NOT_REGISTERED, bogusHandle()));
  EXPECT_TRUE(deviceCalls().empty());
}

TEST_F(SensorHandleInterfaceTest, RemoveSensorForgetsTheIdentifierWithoutClosing) {
  const std::string first = openByDeviceID(kColorimeter);
  const std::string second = openByDeviceID(kSpectrophotometer);
  const MDHandle handle = handleOf(first), kept = handleOf(second);
  clearJournal();
  EXPECT_EQ(functions.removeSensor(nullptr), EMERR_NOT_REGISTERED);
  EXPECT_EQ(functions.removeSensor(bogusHandle()), EMERR_NOT_REGISTERED);
  EXPECT_EQ(functions.removeSensor(handle), EMERR_OK);
  EXPECT_EQ(functions.getHandleForID(first.c_str(), nullptr), 0);
  EXPECT_EQ(answer("Sensors", "GET"), ok(jsonStrings({second})));
  EXPECT_EQ(functions.removeSensor(handle), EMERR_NOT_REGISTERED);
  // The caller owns the sensor now: neither the removal nor the teardown closes it; the teardown
  // closes the rest.
  unloadPlugin();
  EXPECT_EQ(handleArguments("MDClose"), std::vector<std::string>{journalForm(kept)});
}

// The entries built into the monitor are walked in identifier order; each keeps its identifier,
// and a handle that fails to close or to reopen stays in place.
TEST_F(SensorHandleInterfaceTest, PreUpdateAndUpdateReopenBuiltInSensorsUnderTheirIdentifiers) {
  const std::string first = openMonitor(kStudioSerial, kStudioProduct);
  const std::string second = openMonitor(kStudioSerial, kStudioProduct);
  const std::string failing = std::min(first, second), other = std::max(first, second);
  // Neither the office's sensor nor those opened without a monitor (the arm sensor by its
  // individual id among them) are touched.
  const std::vector<std::string> untouched = {
      openMonitor(kOfficeSerial, kOfficeProduct), openByDeviceID(kColorimeter),
      call("IndividualID", "POST", R"({"individualID":"271582289"})").value.stringRef()};
  const std::vector<std::string> untouchedHandles = handlesOf(untouched);
  const std::vector<std::string> old = handlesOf({failing, other});
  clearJournal();
  QuilbySimFailNext("MDClose", 1, EMERR_FAILED);
  EXPECT_EQ(functions.preUpdate(kStudioSerial, kStudioProduct), EMERR_OK);
  EXPECT_EQ(handleArguments("MDClose"), old);
  EXPECT_EQ(logLines(), (std::vector<LogLine>{notClosed, closed}));
  EXPECT_EQ(handlesOf({failing, other}), (std::vector<std::string>{old[0], "null"}));
  EXPECT_EQ(handlesOf(untouched), untouchedHandles);
  // Closed in place: still listed, but not found by the per-sensor resources.
  EXPECT_EQ(call("Sensors", "GET").value.size(), 5u);
  EXPECT_EQ(answer("SensorXYZ", "GET", named(other)), kNotFound);

  clearJournal();
  QuilbySimFailNext("MDOpenWithHIDHandle", 1, EMERR_SENSOR_CONNECTION_ERROR);
  EXPECT_EQ(functions.update(kStudioSerial, kStudioProduct), EMERR_OK);
  EXPECT_EQ(logLines(), (std::vector<LogLine>{notReopened, reopened}));
  EXPECT_EQ(handleArguments("MDOpenWithHIDHandle"), std::vector<std::string>(2, "hid:0x1001"));
  const std::string reopenedOther = openedHandle("MDOpenWithHIDHandle", 1);
  EXPECT_EQ(handlesOf({failing, other}), (std::vector<std::string>{old[0], reopenedOther}));
  EXPECT_EQ(handlesOf(untouched), untouchedHandles);
  // A second update overwrites the handle that never closed.
  clearJournal();
  EXPECT_EQ(functions.update(kStudioSerial, kStudioProduct), EMERR_OK);
  EXPECT_EQ(logLines(), (std::vector<LogLine>{reopened, reopened}));
  EXPECT_EQ(handlesOf({failing}), std::vector<std::string>{openedHandle("MDOpenWithHIDHandle")});
  EXPECT_TRUE(calls("MDClose").empty());
}

// Monitors without a HID handle (none known, no serial, a failure injected, or
// a success without one), the status injected into EmCtrlGetHIDHandle first (0 for none).
TEST_F(SensorHandleInterfaceTest, WithoutAHIDHandleBothUpdatesReturnTheLibrarysStatus) {
  const std::pair<const char*, EmError> rows[] = {{kUnlinkedSerial, 0},
                                                  {nullptr, 0},
                                                  {kStudioSerial, EMERR_TIMED_OUT},
                                                  {kStudioSerial, EMERR_UNCONFIRMED}};
  const std::string studio = openMonitor(kStudioSerial, kStudioProduct);
  const MDHandle handle = handleOf(studio);
  for (const auto function : {functions.preUpdate, functions.update}) {
    for (const auto& [serial, injected] : rows) {
      clearJournal();
      if (injected) QuilbySimFailNext("EmCtrlGetHIDHandle", 1, injected);
      const EmError status = function(serial, kStudioProduct);
      EXPECT_NE(status, EMERR_OK);
      EXPECT_EQ(calls("EmCtrlGetHIDHandle").at(0)["status"].toLLong(0), status);
      // Nothing else is done.
      EXPECT_EQ(deviceCalls(), std::vector<std::string>{"EmCtrlGetHIDHandle"});
      EXPECT_TRUE(logLines().empty());
      EXPECT_EQ(handleOf(studio), handle);
    }
  }
}

TEST_F(SensorHandleInterfaceTest, LockHoldsOffOnlyWhatTouchesTheRegistry) {
  const std::string id = openByDeviceID(kColorimeter);
  const Found colorimeter(EMERR_OK, handleOf(id));
  std::promise<void> locked, release;
  std::thread holder([&] {
    functions.lock();
    // The holder goes on using the interface, which takes the same lock again.
    EXPECT_EQ(handleOf(id), colorimeter.second);
    EXPECT_EQ(byDeviceID(kColorimeter), colorimeter);
    EXPECT_EQ(functions.preUpdate(kStudioSerial, kStudioProduct), EMERR_OK);
    locked.set_value();
    release.get_future().wait();
    functions.unlock();
  });
  locked.get_future().wait();
  // Device id 0 is refused before locking; requests that leave the registry alone go on.
  auto unaffected = std::async(std::launch::async, [&] {
    return std::vector<int>{static_cast<int>(byDeviceID(0).first),
                            call("SensorsName", "GET", "", R"({"deviceIDs":"33"})").status,
                            call("Sensors", "PUT", "", "", R"({"serialMappings":{}})").status,
                            call("XRiteControlPanel", "PUT").status};
  });
  const bool unaffectedWent = unaffected.wait_for(5s) == std::future_status::ready;
  // The others wait for the holder.
  auto lookedUp = std::async(std::launch::async, [&] { return byDeviceID(kColorimeter); });
  auto listed = std::async(std::launch::async, [&] { return answer("Sensors", "GET"); });
  const bool othersWaited = lookedUp.wait_for(200ms) == std::future_status::timeout &&
                            listed.wait_for(0ms) == std::future_status::timeout;
  release.set_value();
  holder.join();
  EXPECT_TRUE(unaffectedWent);
  EXPECT_TRUE(othersWaited);
  EXPECT_EQ(unaffected.get(),
            (std::vector<int>{static_cast<int>(EMERR_NOT_REGISTERED), 200, 200, 200}));
  EXPECT_EQ(lookedUp.get(), colorimeter);
  EXPECT_EQ(listed.get(), ok(jsonStrings({id})));
}

}  // namespace
