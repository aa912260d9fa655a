// vesk::MonitorLock and vesk::GetSerialProductWithHIDHandle, run in this process against the
// simulated monitor-control library of the exports directory.
#include "device/monitor_lock.h"

#include "bridge/bridge_result.h"

#include "support/registry_fixture.h"

#include <cstring>
#include <string>
#include <utility>

namespace {

using namespace quilby_test;

void* const kNoMonitorsHid = reinterpret_cast<void*>(0x7777);
void* const kLongestHid = reinterpret_cast<void*>(8193);

using Identity = std::pair<std::string, std::string>;

class MonitorLockTest : public RegistryTest {
 protected:
  // The serial and product buffers as the lookup leaves them, filled with '#' before, so that
  // untouched bytes show.
  static Identity identityOf(void* hid, bool failIfNotFound) {
    char serial[EMCTRL_SERIAL_SIZE], product[EMCTRL_PRODUCT_SIZE];
    std::memset(serial, '#', sizeof serial);
    std::memset(product, '#', sizeof product);
    vesk::GetSerialProductWithHIDHandle(hid, serial, product, failIfNotFound);
    return {std::string(serial, sizeof serial), std::string(product, sizeof product)};
  }
  // The failure the lookup throws, as "<status> <name> <message> <other members>".
  static std::string failureOf(void* hid, bool failIfNotFound) {
    try {
      identityOf(hid, failIfNotFound);
    } catch (const BridgeResult& failure) {
      return std::to_string(static_cast<int>(failure.code)) + " " + failure.error.name + " " +
             failure.error.message + " " + compact(failure.error.value);
    }
    return "none";
  }
};

// The identity is copied whole, or left untouched when no monitor matches; an unknown HID handle
// fails only when asked to, a library failure always.
TEST_F(MonitorLockTest, LookupCopiesTheIdentityOrFails) {
  // Found past the monitor without HID handle, which answers "Unknown.".
  EXPECT_EQ(identityOf(kOfficeHid, true),
            Identity(std::string("QM4C0088\0", 9), std::string("QM-24-Office\0\0\0\0\0", 17)));
  EXPECT_EQ(identityOf(kNoMonitorsHid, false), Identity(std::string(9, '#'), std::string(17, '#')));
  const std::string notFound = "404 Error HID handle is not found. null";
  EXPECT_EQ(failureOf(kNoMonitorsHid, true), notFound);
  // An "Unknown." answer for the studio monitor makes it a non-matching one.
  QuilbySimFailNext("EmCtrlGetHIDHandle", 1, EMERR_UNKNOWN);
  EXPECT_EQ(failureOf(kStudioHid, true), notFound);
  QuilbySimFailNext("EmCtrlGetHIDHandle", 1, EMERR_MONITOR_CONNECTION_ERROR);
  EXPECT_EQ(failureOf(kOfficeHid, false),
            "500 EmError Monitor connection error. "
            R"({"code":2147549185,"reason":"Get HID handle."})");
  // The longest serial and product fill their buffers but for the NUL, and the guard keeps them.
  loadWorld(R"({"monitors":[{"serial":"ABCDEFGH","product":"0123456789ABCDEF",)"
            R"("hidHandle":8193}]})");
  EXPECT_EQ(identityOf(kLongestHid, true),
            Identity(std::string("ABCDEFGH\0", 9), std::string("0123456789ABCDEF\0", 17)));
  {
    vesk::MonitorLock section(kLongestHid);
    section.lock();
    EXPECT_TRUE(section.locked());
    EXPECT_EQ(Identity(section.serial(), section.product()),
              Identity("ABCDEFGH", "0123456789ABCDEF"));
    EXPECT_EQ(sectionOwners(), std::vector<std::string>{"process"});
  }
  EXPECT_EQ(sectionOwners(), std::vector<std::string>{""});
}

// Leaving by the destructor is shown by the resources' requests (per_sensor_request_test.cpp).
TEST_F(MonitorLockTest, SectionIsEnteredOnceAndARefusedLeavingKeepsTheGuardLocked) {
  vesk::MonitorLock section(kStudioHid);
  EXPECT_TRUE(section.serial().empty());
  EXPECT_TRUE(calls("EmCtrlGetSerialProduct").empty());
  section.lock();
  section.lock();
  EXPECT_TRUE(section.locked());
  EXPECT_EQ(section.serial(), "QM7A0451");
  EXPECT_EQ(sectionOwners(), (std::vector<std::string>{"process", "", ""}));
  EXPECT_EQ(calls("EmCtrlLockMonitor").size(), 1u);
  // The identity is read again on every lock.
  EXPECT_EQ(calls("EmCtrlGetSerialProduct").size(), 2u);
  QuilbySimFailNext("EmCtrlUnlockMonitor", 1, EMERR_FAILED);
  section.unlock();
  EXPECT_TRUE(section.locked());
  section.unlock();
  EXPECT_FALSE(section.locked());
  EXPECT_EQ(calls("EmCtrlUnlockMonitor").size(), 2u);
  EXPECT_EQ(sectionOwners(), (std::vector<std::string>{"", "", ""}));
}

TEST_F(MonitorLockTest, GuardOfNoMonitorOrARefusedEntryNeverLeaves) {
  for (void* hid : {kNoMonitorsHid, kOfficeHid}) {
    QuilbySimFailNext("EmCtrlLockMonitor", 1, EMERR_CANNOT_ENTER_MONITOR_CRITICAL_SECTION);
    vesk::MonitorLock section(hid);
    section.lock();
    EXPECT_FALSE(section.locked());
    EXPECT_EQ(section.serial().empty(), hid == kNoMonitorsHid);
    section.unlock();
  }
  // The guard of no monitor never tried to enter.
  EXPECT_EQ(calls("EmCtrlLockMonitor").size(), 1u);
  EXPECT_TRUE(calls("EmCtrlUnlockMonitor").empty());
  // Nor does the guard of a monitor whose product name is empty: an "Unknown." lookup leaves its
  // HID handle null, which is the guard's.
  loadWorld(R"({"monitors":[{"serial":"ABCDEFGH","product":"\u0000"}]})");
  QuilbySimFailNext("EmCtrlGetHIDHandle", 1, EMERR_UNKNOWN);
  vesk::MonitorLock unnamed(nullptr);
  unnamed.lock();
  EXPECT_EQ(unnamed.serial(), "ABCDEFGH");
  EXPECT_TRUE(calls("EmCtrlLockMonitor").empty());
}

}  // namespace
