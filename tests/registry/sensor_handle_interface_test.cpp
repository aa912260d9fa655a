// The plug-in's sensor-handle C interface, called as another component of the host would, on
// sensors the page opened through the resources.
#include "registry/registry_test_support.h"

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
};

// A made-up handle value that the simulator never hands out.
MDHandle bogusHandle() { return reinterpret_cast<MDHandle>(0x5153000000fffff0ULL); }

TEST_F(SensorHandleInterfaceTest, GetHandleForIDAnswersExactlyOneOrZero) {
  const std::string id = openByDeviceID(kColorimeter);
  const std::string opened = calls("MDOpen")[0]["handle"].toString("");
  MDHandle handle = bogusHandle();
  EXPECT_EQ(functions.getHandleForID(id.c_str(), &handle), 1);
  EXPECT_EQ(journalForm(handle), opened);
  EXPECT_EQ(functions.getHandleForID(id.c_str(), nullptr), 1);
  // Unknown: null is stored.
  handle = bogusHandle();
  EXPECT_EQ(functions.getHandleForID("00000000-0000-0000-0000-000000000000", &handle), 0);
  EXPECT_EQ(handle, nullptr);
  handle = bogusHandle();
  EXPECT_EQ(functions.getHandleForID("", &handle), 0);
  EXPECT_EQ(handle, nullptr);
  EXPECT_EQ(functions.getHandleForID(nullptr, &handle), 0);
}

TEST_F(SensorHandleInterfaceTest, LooksUpByHIDHandleAndDeviceIDInIdentifierOrder) {
  const std::string colorimeter = openByDeviceID(kColorimeter);
  const std::string office = openMonitor(kOfficeSerial, kOfficeProduct);
  const std::vector<std::string> studio =
      sorted({openMonitor(kStudioSerial, kStudioProduct), openMonitor(kStudioSerial, kStudioProduct)});
  clearJournal();

  MDHandle handle = nullptr;
  EXPECT_EQ(functions.getHandleForHIDHandle(reinterpret_cast<void*>(0x1001), &handle), EMERR_OK);
  EXPECT_EQ(handle, handleOf(studio[0]));
  EXPECT_EQ(functions.getHandleForHIDHandle(reinterpret_cast<void*>(0x1002), &handle), EMERR_OK);
  EXPECT_EQ(handle, handleOf(office));
  EXPECT_EQ(functions.getHandleForDeviceID(kSwingSensor, &handle), EMERR_OK);
  EXPECT_EQ(handle, handleOf(studio[0]));
  EXPECT_EQ(functions.getHandleForDeviceID(kColorimeter, &handle), EMERR_OK);
  EXPECT_EQ(handle, handleOf(colorimeter));

  // Not found: nothing stored. A miss asks the library about every entry.
  clearJournal();
  handle = bogusHandle();
  EXPECT_EQ(functions.getHandleForHIDHandle(reinterpret_cast<void*>(0x1003), &handle), EMERR_NOT_REGISTERED);
  EXPECT_EQ(functions.getHandleForDeviceID(kSpectrophotometer, &handle), EMERR_NOT_REGISTERED);
  EXPECT_EQ(handle, bogusHandle());
  EXPECT_EQ(handleArguments("MDGetHIDHandle").size(), 4u);
  EXPECT_EQ(handleArguments("MDGetDeviceID").size(), 4u);

  // Null HID handle and device id 0 are refused before anything is asked.
  clearJournal();
  EXPECT_EQ(functions.getHandleForHIDHandle(nullptr, &handle), EMERR_NOT_REGISTERED);
  EXPECT_EQ(functions.getHandleForDeviceID(0, &handle), EMERR_NOT_REGISTERED);
  EXPECT_TRUE(deviceCalls().empty());
  EXPECT_EQ(handle, bogusHandle());
}

TEST_F(SensorHandleInterfaceTest, RemoveSensorForgetsTheIdentifierWithoutClosing) {
  const std::string first = openByDeviceID(kColorimeter);
  const std::string second = openByDeviceID(kSpectrophotometer);
  const MDHandle handle = handleOf(first);
  const MDHandle kept = handleOf(second);
  clearJournal();
  EXPECT_EQ(functions.removeSensor(nullptr), EMERR_NOT_REGISTERED);
  EXPECT_EQ(functions.removeSensor(bogusHandle()), EMERR_NOT_REGISTERED);
  EXPECT_EQ(functions.removeSensor(handle), EMERR_OK);
  EXPECT_EQ(functions.getHandleForID(first.c_str(), nullptr), 0);
  EXPECT_EQ(compact(openedIdentifiers()), "[\"" + second + "\"]");
  EXPECT_EQ(functions.removeSensor(handle), EMERR_NOT_REGISTERED);
  // The caller owns the sensor now: neither the removal nor the teardown closes it.
  unloadPlugin(true);
  EXPECT_EQ(handleArguments("MDClose"), std::vector<std::string>{journalForm(kept)});
}

TEST_F(SensorHandleInterfaceTest, PreUpdateAndUpdateReopenBuiltInSensorsUnderTheirIdentifiers) {
  const std::string studio1 = openMonitor(kStudioSerial, kStudioProduct);
  const std::string studio2 = openMonitor(kStudioSerial, kStudioProduct);
  const std::string office = openMonitor(kOfficeSerial, kOfficeProduct);
  const std::string colorimeter = openByDeviceID(kColorimeter);
  const MDHandle old1 = handleOf(studio1), old2 = handleOf(studio2);
  const MDHandle officeHandle = handleOf(office), colorimeterHandle = handleOf(colorimeter);
  clearJournal();

  EXPECT_EQ(functions.preUpdate(kStudioSerial, kStudioProduct), EMERR_OK);
  EXPECT_EQ(sorted(handleArguments("MDClose")), sorted({journalForm(old1), journalForm(old2)}));
  EXPECT_EQ(logLines(), (std::vector<LogLine>{closed, closed}));
  EXPECT_EQ(handleOf(studio1), nullptr);
  EXPECT_EQ(handleOf(studio2), nullptr);
  EXPECT_EQ(openedIdentifiers().size(), 4u);
  EXPECT_EQ(handleOf(office), officeHandle);
  EXPECT_EQ(handleOf(colorimeter), colorimeterHandle);

  clearJournal();
  EXPECT_EQ(functions.update(kStudioSerial, kStudioProduct), EMERR_OK);
  const auto opens = calls("MDOpenWithHIDHandle");
  ASSERT_EQ(opens.size(), 2u);
  for (const cairnjson::Value& open : opens) EXPECT_EQ(compact(open["arguments"]), R"(["hid:0x1001"])");
  EXPECT_EQ(sorted({journalForm(handleOf(studio1)), journalForm(handleOf(studio2))}),
            sorted({opens[0]["handle"].toString(""), opens[1]["handle"].toString("")}));
  EXPECT_EQ(logLines(), (std::vector<LogLine>{reopened, reopened}));
  EXPECT_EQ(handleOf(office), officeHandle);
  EXPECT_EQ(handleOf(colorimeter), colorimeterHandle);
}

TEST_F(SensorHandleInterfaceTest, FailedCloseKeepsTheHandleUntilTheUpdateReplacesIt) {
  const std::string first = openMonitor(kStudioSerial, kStudioProduct);
  const std::string second = openMonitor(kStudioSerial, kStudioProduct);
  const MDHandle oldFirst = handleOf(first), oldSecond = handleOf(second);
  clearJournal();
  QuilbySimFailNext("MDClose", 1, EMERR_FAILED);
  EXPECT_EQ(functions.preUpdate(kStudioSerial, kStudioProduct), EMERR_OK);
  EXPECT_EQ(logLines(), (std::vector<LogLine>{notClosed, closed}));
  // Walked in identifier order: the lower identifier's close was the failing one.
  const std::string& failed = std::min(first, second);
  const std::string& succeeded = std::max(first, second);
  EXPECT_EQ(handleOf(failed), failed == first ? oldFirst : oldSecond);
  EXPECT_EQ(handleOf(succeeded), nullptr);

  clearJournal();
  QuilbySimFailNext("MDOpenWithHIDHandle", 1, EMERR_SENSOR_CONNECTION_ERROR);
  EXPECT_EQ(functions.update(kStudioSerial, kStudioProduct), EMERR_OK);
  EXPECT_EQ(logLines(), (std::vector<LogLine>{notReopened, reopened}));
  // The failing open leaves the old (still open) handle; the other entry gets the new one.
  EXPECT_EQ(handleOf(failed), failed == first ? oldFirst : oldSecond);
  EXPECT_EQ(journalForm(handleOf(succeeded)), calls("MDOpenWithHIDHandle")[1]["handle"].toString(""));

  // A second update overwrites the handle that never closed.
  clearJournal();
  EXPECT_EQ(functions.update(kStudioSerial, kStudioProduct), EMERR_OK);
  EXPECT_EQ(journalForm(handleOf(failed)), calls("MDOpenWithHIDHandle")[0]["handle"].toString(""));
  EXPECT_TRUE(calls("MDClose").empty());
}

struct NoHIDRow {
  const char* serial;
  const char* product;
  const char* failFunction;
  EmError injected;
  EmError expected;
};

TEST_F(SensorHandleInterfaceTest, WithoutAHIDHandleBothUpdatesReturnTheLibrarysStatus) {
  const NoHIDRow rows[] = {
      {kUnlinkedSerial, kStudioProduct, "", 0, EMERR_UNKNOWN},
      {"NOPE", kStudioProduct, "", 0, EMERR_MONITOR_CONNECTION_ERROR},
      {kStudioSerial, kStudioProduct, "EmCtrlGetHIDHandle", EMERR_TIMED_OUT, EMERR_TIMED_OUT},
      // Success without a HID handle: returned as it is, nothing done.
      {kStudioSerial, kStudioProduct, "EmCtrlGetHIDHandle", EMERR_UNCONFIRMED, EMERR_UNCONFIRMED},
      {nullptr, kStudioProduct, "", 0, EMERR_INVALID_ARGUMENT},
  };
  const std::string studio = openMonitor(kStudioSerial, kStudioProduct);
  const MDHandle handle = handleOf(studio);
  for (const auto function : {functions.preUpdate, functions.update}) {
    for (const NoHIDRow& row : rows) {
      clearJournal();
      if (*row.failFunction) QuilbySimFailNext(row.failFunction, 1, row.injected);
      EXPECT_EQ(function(row.serial, row.product), row.expected) << (row.serial ? row.serial : "null");
      EXPECT_EQ(calls("EmCtrlGetHIDHandle").size(), 1u);
      EXPECT_TRUE(calls("MDClose").empty());
      EXPECT_TRUE(calls("MDOpenWithHIDHandle").empty());
      EXPECT_TRUE(logLines().empty());
      EXPECT_EQ(handleOf(studio), handle);
    }
  }
}

TEST_F(SensorHandleInterfaceTest, SensorsOpenedWithoutAMonitorAreNeverTouched) {
  const std::string byDevice = openByDeviceID(kColorimeter);
  const std::string byIndividual =
      call("IndividualID", "POST", R"({"individualID":"271582289"})").value.stringRef();  // the swing sensor
  const MDHandle deviceHandle = handleOf(byDevice), individualHandle = handleOf(byIndividual);
  clearJournal();
  EXPECT_EQ(functions.preUpdate(kStudioSerial, kStudioProduct), EMERR_OK);
  EXPECT_EQ(functions.update(kStudioSerial, kStudioProduct), EMERR_OK);
  EXPECT_TRUE(calls("MDClose").empty());
  EXPECT_TRUE(calls("MDOpenWithHIDHandle").empty());
  EXPECT_EQ(handleOf(byDevice), deviceHandle);
  EXPECT_EQ(handleOf(byIndividual), individualHandle);
}

TEST_F(SensorHandleInterfaceTest, LockHoldsOffOnlyWhatTouchesTheRegistry) {
  const std::string id = openByDeviceID(kColorimeter);
  std::promise<void> locked;
  std::promise<void> release;
  std::thread holder([&] {
    functions.lock();
    // The holder goes on using the interface, which takes the same lock again.
    MDHandle handle = nullptr;
    EXPECT_EQ(functions.getHandleForID(id.c_str(), &handle), 1);
    EXPECT_EQ(functions.getHandleForDeviceID(kColorimeter, &handle), EMERR_OK);
    EXPECT_EQ(functions.preUpdate(kStudioSerial, kStudioProduct), EMERR_OK);
    locked.set_value();
    release.get_future().wait();
    functions.unlock();
  });
  locked.get_future().wait();
  // Device id 0 is refused before locking; requests that leave the registry alone go on.
  auto unaffected = std::async(std::launch::async, [&] {
    MDHandle handle = nullptr;
    return std::vector<int>{static_cast<int>(functions.getHandleForDeviceID(0, &handle)),
                            call("SensorsName", "GET", "", R"({"deviceIDs":"33"})").status,
                            call("Sensors", "PUT", "", "", R"({"serialMappings":{}})").status,
                            call("XRiteControlPanel", "PUT").status};
  });
  const bool unaffectedWent = unaffected.wait_for(5s) == std::future_status::ready;
  // The others wait for the holder.
  auto lookedUp = std::async(std::launch::async, [&] {
    MDHandle handle = nullptr;
    return functions.getHandleForDeviceID(kColorimeter, &handle);
  });
  auto listed = std::async(std::launch::async, [&] { return call("Sensors", "GET"); });
  const bool othersWaited = lookedUp.wait_for(200ms) == std::future_status::timeout &&
                            listed.wait_for(0ms) == std::future_status::timeout;
  release.set_value();
  holder.join();
  EXPECT_TRUE(unaffectedWent);
  EXPECT_TRUE(othersWaited);
  EXPECT_EQ(unaffected.get(), (std::vector<int>{static_cast<int>(EMERR_NOT_REGISTERED), 200, 200, 200}));
  EXPECT_EQ(lookedUp.get(), EMERR_OK);
  EXPECT_EQ(compact(listed.get().value), "[\"" + id + "\"]");
}

}  // namespace
