// Shared helpers of the simulator tests: the control interface's texts as JSON values, opening
// sensors, and per-test temporary files.
#ifndef QUILBY_TESTS_SIM_SIM_TEST_SUPPORT_H
#define QUILBY_TESTS_SIM_SIM_TEST_SUPPORT_H

#include "devices/device_functions.h"  // every device library's header and function list
#include "json/cairnjson.h"
#include "quilby_sim/control.h"
#include "support/json_helpers.h"
#include "support/world.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include <unistd.h>

namespace sim_test {

using cairnjson::Value;

using namespace quilby_test;  // the built-in world's names and controlText

inline Value world() { return parsed(controlText(QuilbySimWorld)); }
inline Value journal() { return parsed(controlText(QuilbySimJournal)); }

// "" when `text` loads, else the loader's message.
inline std::string loadWorld(const std::string& text) {
  char error[512] = "unchanged";
  if (QuilbySimLoadWorld(text.c_str(), error, sizeof error) == 0) return "";
  return error;
}

inline EmError measureStatus(MDHandle handle) {
  MDColor raw{}, corrected{};
  return MDMeasureXYZ2(handle, &raw, &corrected);
}

inline std::string fileText(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

// Each test starts from the default world, whatever QUILBY_SIM_WORLD says.
class SimTest : public testing::Test {
 protected:
  void SetUp() override {
    unsetenv("QUILBY_SIM_WORLD");
    ASSERT_EQ(QuilbySimReset(), 0);
  }
  void TearDown() override {
    unsetenv("QUILBY_SIM_WORLD");
    unsetenv("QUILBY_LOG");
    std::remove(path_.c_str());
  }

  static MDHandle open(MDDeviceID deviceID) {
    MDHandle handle = nullptr;
    EXPECT_EQ(MDOpen(deviceID, &handle), EMERR_OK) << deviceID;
    return handle;
  }
  static MDHandle openBuiltIn(void* hid) {
    MDHandle handle = nullptr;
    EXPECT_EQ(MDOpenWithHIDHandle(hid, &handle), EMERR_OK);
    return handle;
  }

  // A file of this test alone, removed at its end: ctest runs the tests in parallel.
  const std::string path_ = testing::TempDir() +
                            testing::UnitTest::GetInstance()->current_test_info()->name() + "." +
                            std::to_string(getpid());
};

}  // namespace sim_test

#endif  // QUILBY_TESTS_SIM_SIM_TEST_SUPPORT_H
