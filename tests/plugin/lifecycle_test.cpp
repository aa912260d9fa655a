// Setup and TearDown of the built plug-in: the device libraries' directory, and the measurement
// subprocess when the devices listed in the web page's "did.json" want it.
#include "support/plugin_fixture.h"

#include <link.h>

#include <fstream>
#include <string>

namespace {

using quilby_test::PluginTest;
using LogLine = std::pair<int, std::string>;

class LifecycleTest : public PluginTest {
 protected:
  // Starts from an unloaded plug-in, so each test controls what Setup sees.
  void SetUp() override {
    PluginTest::SetUp();
    unloadPlugin();
    clearJournal();
  }

  void writeDidJson(const std::string& content) {
    std::ofstream(webDirectory() / "did.json", std::ios::binary) << content;
  }
};

// Setup and TearDown each ask the measurement library whether the devices "did.json" lists need
// the subprocess; of the built-in world's devices only the spectrophotometer (48) does.
TEST_F(LifecycleTest, SubprocessRunsWhileDidJsonListsADeviceNeedingIt) {
  const struct {
    const char *didJson, *asked;  // null: no file
    bool launched;
  } rows[] = {
      {nullptr, "[null,0]", false},
      {"\xEF\xBB\xBF[4660, \"0x30\", 48.2]", "[[4660,48,48],3]", true},
      {"[48", "[[48],1]", true},  // an array cut short, which the parser accepts as read
      {"[\"48x\"]", "[[0],1]", false},
      {"[48, x]", "[null,0]", false},  // malformed: what came before the mistake does not count
      {"{\"ids\":[48]}", "[null,0]", false},
      {"", "[null,0]", false},
  };
  for (const auto& row : rows) {
    const std::string context = row.didJson ? row.didJson : "no file";
    std::filesystem::remove(webDirectory() / "did.json");
    if (row.didJson) writeDidJson(row.didJson);
    clearJournal();
    loadPlugin();
    unloadPlugin();
    const auto asked = calls("MDSupportsSubprocess");
    ASSERT_EQ(asked.size(), 2u) << context;
    EXPECT_EQ(quilby_test::compact(asked[0]["arguments"]), row.asked) << context;
    EXPECT_EQ(calls("MDLaunchSubprocess").size(), row.launched ? 1u : 0u) << context;
    EXPECT_EQ(calls("MDQuitSubprocess").size(), row.launched ? 1u : 0u) << context;
    const std::vector<LogLine> logged = {{3, "Launch mdsubprocess."}, {3, "Quit mdsubprocess."}};
    EXPECT_EQ(logLines(), row.launched ? logged : std::vector<LogLine>{}) << context;
  }
}

TEST_F(LifecycleTest, SubprocessIsLaunchedFromTheRegistryUnderTheApplicationsName) {
  writeDidJson("[48]");
  settings().applicationName = "Color Tool Pro";
  settings().registryPath = registryDirectory().string() + "/";
  loadPlugin();
  EXPECT_EQ(quilby_test::compact(calls("MDInitDeviceLibrariesDirectoryPath").at(0)["arguments"]),
            quilby_test::jsonStrings({exportsDirectory().string()}));
  EXPECT_EQ(quilby_test::compact(calls("MDLaunchSubprocess").at(0)["arguments"]),
            quilby_test::jsonStrings(
                {registryDirectory().string() + "/com.vesk.quilby/x86_64/mdsubprocess",
                 "Color_Tool_Pro"}));
}

TEST_F(LifecycleTest, FailedLaunchIsLoggedAndTearDownStillQuits) {
  writeDidJson("[48]");
  QuilbySimFailNext("MDLaunchSubprocess", 1, EMERR_FAILED);
  loadPlugin();
  unloadPlugin();
  // The decision is made again from the file: the quit is attempted (and fails silently, since
  // nothing runs).
  EXPECT_EQ(calls("MDQuitSubprocess").size(), 1u);
  EXPECT_EQ(logLines(), (std::vector<LogLine>{{5, "Failed to launch mdsubprocess."}}));
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
  loadPlugin();
  // A request exercises every part that keeps state (parser, log, loaders).
  EXPECT_EQ(call("DeviceID", "PUT", "", "", R"({"a":[1,2]})").status, 405);
  EXPECT_TRUE(pluginIsLoaded());
  unloadPlugin();
  EXPECT_FALSE(pluginIsLoaded()) << "the host could not unload the plug-in";
}

}  // namespace
