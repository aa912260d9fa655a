// vesk::MonitorLock and vesk::GetSerialProductWithHIDHandle, run in this process against the
// simulated monitor-control library of the exports directory.
#include "device/monitor_lock.h"

#include "bridge/bridge_result.h"

#include "sensors/sensor_test_support.h"

#include "quilby_sim/control.h"

#include <cstring>
#include <string>

namespace {

using quilby_test::SensorTest;

void* const kStudioHid = reinterpret_cast<void*>(0x1001);
void* const kOfficeHid = reinterpret_cast<void*>(0x1002);
void* const kNoMonitorsHid = reinterpret_cast<void*>(0x7777);

class MonitorLockTest : public SensorTest {
 protected:
  struct Identity {
    char serial[EMCTRL_SERIAL_SIZE];
    char product[EMCTRL_PRODUCT_SIZE];
  };
  // Buffers filled with a marker, so that untouched bytes show.
  static Identity marked() {
    Identity identity;
    std::memset(identity.serial, '#', sizeof identity.serial);
    std::memset(identity.product, '#', sizeof identity.product);
    return identity;
  }
  static BridgeResult failureOf(void* hid, bool failIfNotFound) {
    Identity identity = marked();
    try {
      vesk::GetSerialProductWithHIDHandle(hid, identity.serial, identity.product, failIfNotFound);
    } catch (const BridgeResult& failure) {
      return failure;
    }
    return BridgeResult();
  }
};

TEST_F(MonitorLockTest, FindsTheMonitorPastOneWithoutHidHandle) {
  Identity identity = marked();
  vesk::GetSerialProductWithHIDHandle(kOfficeHid, identity.serial, identity.product, true);
  EXPECT_STREQ(identity.serial, "24S10088");
  EXPECT_STREQ(identity.product, "CS240-Office");
  // Three monitors were asked; the one without HID handle answered "Unknown." and was skipped.
  EXPECT_EQ(calls("EmCtrlGetHIDHandle").size(), 3u);
}

TEST_F(MonitorLockTest, UnknownHidHandleFailsOnlyWhenAskedTo) {
  const BridgeResult failure = failureOf(kNoMonitorsHid, true);
  EXPECT_EQ(failure.code, BridgeStatusCode::NotFound);
  EXPECT_EQ(failure.error.name, "Error");
  EXPECT_EQ(failure.error.message, "HID handle is not found.");

  Identity identity = marked();
  vesk::GetSerialProductWithHIDHandle(kNoMonitorsHid, identity.serial, identity.product, false);
  EXPECT_EQ(std::string(identity.serial, sizeof identity.serial), std::string(9, '#'));
  EXPECT_EQ(std::string(identity.product, sizeof identity.product), std::string(17, '#'));
  // An "Unknown." answer for the studio monitor makes it a non-matching one.
  QuilbySimFailNext("EmCtrlGetHIDHandle", 1, EMERR_UNKNOWN);
  EXPECT_EQ(failureOf(kStudioHid, true).error.message, "HID handle is not found.");
}

TEST_F(MonitorLockTest, FailingHidHandleLookupIsALibraryError) {
  QuilbySimFailNext("EmCtrlGetHIDHandle", 1, EMERR_MONITOR_CONNECTION_ERROR);
  const BridgeResult failure = failureOf(kOfficeHid, false);
  EXPECT_EQ(failure.code, BridgeStatusCode::InternalServerError);
  EXPECT_EQ(failure.error.name, "EmError");
  EXPECT_EQ(failure.error.message, "Monitor connection error.");
  EXPECT_EQ(failure.error.value["reason"].stringRef(), "Get HID handle.");
  EXPECT_EQ(failure.error.value["code"].toLLong(0), 0x80010001LL);
}

TEST_F(MonitorLockTest, LongestSerialAndProductAreCopiedWhole) {
  char error[256] = {};
  ASSERT_EQ(QuilbySimLoadWorld(R"({"monitors":[{"serial":"ABCDEFGH","product":"0123456789ABCDEF",)"
                               R"("hidHandle":8193}]})",
                               error, sizeof error),
            0)
      << error;
  Identity identity = marked();
  vesk::GetSerialProductWithHIDHandle(reinterpret_cast<void*>(8193), identity.serial,
                                      identity.product, true);
  EXPECT_EQ(std::string(identity.serial, sizeof identity.serial), std::string("ABCDEFGH\0", 9));
  EXPECT_EQ(std::string(identity.product, sizeof identity.product),
            std::string("0123456789ABCDEF\0", 17));
  {
    vesk::MonitorLock section(reinterpret_cast<void*>(8193));
    section.lock();
    EXPECT_TRUE(section.locked());
    EXPECT_EQ(section.product(), "0123456789ABCDEF");
    EXPECT_EQ(sectionOwners(), std::vector<std::string>{"process"});
  }
  EXPECT_EQ(sectionOwners(), std::vector<std::string>{""});
}

TEST_F(MonitorLockTest, SectionIsEnteredOnceAndLeftByTheDestructor) {
  {
    vesk::MonitorLock section(kStudioHid);
    EXPECT_TRUE(section.serial().empty());
    EXPECT_TRUE(calls("EmCtrlGetSerialProduct").empty());
    section.lock();
    section.lock();
    EXPECT_TRUE(section.locked());
    EXPECT_EQ(section.serial(), "27Q00451");
    EXPECT_EQ(sectionOwners(), (std::vector<std::string>{"process", "", ""}));
    EXPECT_EQ(calls("EmCtrlLockMonitor").size(), 1u);
    // The identity is read again on every lock.
    EXPECT_EQ(calls("EmCtrlGetSerialProduct").size(), 2u);
  }
  EXPECT_EQ(calls("EmCtrlUnlockMonitor").size(), 1u);
  EXPECT_EQ(sectionOwners(), (std::vector<std::string>{"", "", ""}));
}

TEST_F(MonitorLockTest, GuardOfNoMonitorNeverEntersOrLeaves) {
  {
    vesk::MonitorLock section(kNoMonitorsHid);
    section.lock();
    EXPECT_FALSE(section.locked());
    EXPECT_TRUE(section.serial().empty());
    EXPECT_TRUE(section.product().empty());
  }
  EXPECT_TRUE(calls("EmCtrlLockMonitor").empty());
  EXPECT_TRUE(calls("EmCtrlUnlockMonitor").empty());
}

TEST_F(MonitorLockTest, RefusedEntryIsNeverLeftAndRefusedLeavingKeepsTheGuardLocked) {
  {
    QuilbySimFailNext("EmCtrlLockMonitor", 1, EMERR_CANNOT_ENTER_MONITOR_CRITICAL_SECTION);
    vesk::MonitorLock section(kOfficeHid);
    section.lock();
    EXPECT_FALSE(section.locked());
    section.unlock();
  }
  EXPECT_TRUE(calls("EmCtrlUnlockMonitor").empty());

  vesk::MonitorLock section(kOfficeHid);
  section.lock();
  QuilbySimFailNext("EmCtrlUnlockMonitor", 1, EMERR_FAILED);
  section.unlock();
  EXPECT_TRUE(section.locked());
  section.unlock();
  EXPECT_FALSE(section.locked());
  EXPECT_EQ(calls("EmCtrlUnlockMonitor").size(), 2u);
}

}  // namespace
