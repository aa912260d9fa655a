// Setup and TearDown of the built plug-in: the device libraries' directory, and the measurement
// subprocess when the devices listed in the web page's "did.json" want it.
#include "support/plugin_fixture.h"

#include "quilby_sim/control.h"
#include "quilby/device_types.h"
#include "support/json_helpers.h"

#include <link.h>

#include <fstream>
#include <string>

namespace {

using quilby_test::PluginTest;

class LifecycleTest : public PluginTest {
 protected:
  // Starts from an unloaded plug-in, so each test controls what Setup sees.
  void SetUp() override {
    PluginTest::SetUp();
    unloadPlugin(true);
    clearJournal();
  }

  void writeDidJson(const std::string& content) {
    std::ofstream(webDirectory() / "did.json", std::ios::binary) << content;
  }

  std::string text(const cairnjson::Value& entry, std::size_t argument) {
    return entry["arguments"][argument].toString("<not text>");
  }
};

TEST_F(LifecycleTest, WithoutDidJsonOnlyTheLibraryDirectoryIsSet) {
  loadPlugin(exportsDirectory(), true);
  const auto init = calls("MDInitDeviceLibrariesDirectoryPath");
  ASSERT_EQ(init.size(), 1u);
  EXPECT_EQ(text(init[0], 0), exportsDirectory().string());
  const auto supports = calls("MDSupportsSubprocess");
  ASSERT_EQ(supports.size(), 1u);
  EXPECT_TRUE(supports[0]["arguments"][0].isNull());
  EXPECT_EQ(supports[0]["arguments"][1].toInt(-1), 0);
  EXPECT_TRUE(calls("MDLaunchSubprocess").empty());
  unloadPlugin(true);
  EXPECT_TRUE(calls("MDQuitSubprocess").empty());
  EXPECT_TRUE(logLines().empty());
}

TEST_F(LifecycleTest, ListedDeviceNeedingTheSubprocessLaunchesAndQuitsIt) {
  // The built-in world's spectrophotometer (device 48) needs the subprocess.
  writeDidJson("\xEF\xBB\xBF[4660, \"0x30\", 48.2]");
  settings().applicationName = "Color Tool Pro";
  settings().registryPath = registryDirectory().string() + "/";
  loadPlugin(exportsDirectory(), true);
  const auto supports = calls("MDSupportsSubprocess");
  ASSERT_EQ(supports.size(), 1u);
  EXPECT_EQ(quilby_test::compact(supports[0]["arguments"]), "[[4660,48,48],3]");
  const auto launch = calls("MDLaunchSubprocess");
  ASSERT_EQ(launch.size(), 1u);
  EXPECT_EQ(text(launch[0], 0), registryDirectory().string() + "/com.vesk.quilby/x86_64/mdsubprocess");
  EXPECT_EQ(text(launch[0], 1), "Color_Tool_Pro");
  unloadPlugin(true);
  EXPECT_EQ(calls("MDQuitSubprocess").size(), 1u);
  const auto lines = logLines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0], (std::pair<int, std::string>{3, "Launch mdsubprocess."}));
  EXPECT_EQ(lines[1], (std::pair<int, std::string>{3, "Quit mdsubprocess."}));
}

TEST_F(LifecycleTest, FailedLaunchIsLoggedAndTearDownStillQuits) {
  writeDidJson("[48]");
  QuilbySimFailNext("MDLaunchSubprocess", 1, EMERR_FAILED);
  loadPlugin(exportsDirectory(), true);
  unloadPlugin(true);
  const auto lines = logLines();
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines[0], (std::pair<int, std::string>{5, "Failed to launch mdsubprocess."}));
  // The decision is made again from the file: the quit is attempted (and fails silently, since
  // nothing runs).
  EXPECT_EQ(calls("MDQuitSubprocess").size(), 1u);
  EXPECT_EQ(lines.size(), 1u);
}

TEST_F(LifecycleTest, OnlyAnArrayListingSuchADeviceLaunchesTheSubprocess) {
  for (const char* content : {"[48", "{\"ids\":[48]}", "", "48", "[\"48x\"]"}) {
    writeDidJson(content);
    loadPlugin(exportsDirectory(), true);
    unloadPlugin(true);
  }
  // "[48" is an array cut short, which the parser accepts as read.
  EXPECT_EQ(calls("MDLaunchSubprocess").size(), 1u);
  EXPECT_EQ(calls("MDSupportsSubprocess").size(), 10u);
}

TEST_F(LifecycleTest, UnloadedPluginLeavesTheProcess) {
  const auto pluginIsLoaded = [] {
    bool found = false;
    dl_iterate_phdr(
        [](dl_phdr_info* info, std::size_t, void* result) {
          if (std::string(info->dlpi_name).find("libquilby.so") != std::string::npos) {
            *static_cast<bool*>(result) = true;
          }
          return 0;
        },
        &found);
    return found;
  };
  loadPlugin(exportsDirectory(), true);
  // A request exercises every part that keeps state (parser, log, loaders).
  EXPECT_EQ(call("DeviceID", "PUT", "", "", R"({"a":[1,2]})").status, 405);
  EXPECT_TRUE(pluginIsLoaded());
  unloadPlugin(true);
  EXPECT_FALSE(pluginIsLoaded()) << "the host could not unload the plug-in";
}

}  // namespace
