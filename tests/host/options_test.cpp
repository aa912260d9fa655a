// The command line of quilby-host.
#include "options.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using quilbyhost::HostOptions;
using quilbyhost::Mode;

const quilbyhost::OptionDefaults kDefaults{"/build/exports", "/src/host/web"};

HostOptions parsed(const std::vector<std::string>& arguments) {
  HostOptions options;
  std::string error;
  EXPECT_TRUE(quilbyhost::parseOptions(arguments, kDefaults, options, error)) << error;
  return options;
}

TEST(OptionsTest, DefaultsServeTheBuildOnTheLoopback) {
  const HostOptions options = parsed({});
  EXPECT_EQ(options.mode, Mode::Serve);
  EXPECT_EQ(options.settings.exportsPath, "/build/exports");
  EXPECT_EQ(options.settings.htmlPath, "/src/host/web");
  EXPECT_EQ(options.settings.registryPath, "/build/exports");
  EXPECT_EQ(options.settings.architecture, "x86_64");
  EXPECT_EQ(options.server.address, "127.0.0.1");
  EXPECT_EQ(options.server.port, 8771);
  EXPECT_TRUE(options.server.accessLog);
  // The web page follows the console, the registry the exports.
  const HostOptions moved = parsed({"shell", "--console", "/ui", "--exports", "/x"});
  EXPECT_EQ(moved.mode, Mode::Shell);
  EXPECT_EQ(moved.settings.htmlPath, "/ui");
  EXPECT_EQ(moved.settings.registryPath, "/x");
}

TEST(OptionsTest, EveryFlagSetsItsSetting) {
  const HostOptions options = parsed(
      {"run", "requests.txt", "--exports", "/x", "--web-page=/page", "--registry", "/reg",
       "--architecture", "aarch64", "--application", "Color Tool", "--world", "w.json",
       "--address", "0.0.0.0", "--port=0", "--allow-host", "a.lan", "--allow-host", "b.lan",
       "--console", "/ui", "--quiet"});
  EXPECT_EQ(options.mode, Mode::Run);
  EXPECT_EQ(options.file, "requests.txt");
  EXPECT_EQ(options.settings.exportsPath, "/x");
  EXPECT_EQ(options.settings.htmlPath, "/page");
  EXPECT_EQ(options.settings.registryPath, "/reg");
  EXPECT_EQ(options.settings.architecture, "aarch64");
  EXPECT_EQ(options.settings.applicationName, "Color Tool");
  EXPECT_EQ(options.world, "w.json");
  EXPECT_EQ(options.server.address, "0.0.0.0");
  EXPECT_EQ(options.server.port, 0);
  EXPECT_EQ(options.server.allowedHosts, (std::vector<std::string>{"a.lan", "b.lan"}));
  EXPECT_EQ(options.server.consoleDirectory, "/ui");
  EXPECT_FALSE(options.server.accessLog);
}

TEST(OptionsTest, RefusesWhatItDoesNotKnow) {
  const std::vector<std::string> cases[] = {
      {"start"},           {"run"},           {"--port"},          {"--port", "65536"},
      {"--port", "-1"},    {"--port", "80a"}, {"--colour", "red"}, {"serve", "extra"},
  };
  for (const auto& arguments : cases) {
    HostOptions options;
    std::string error;
    EXPECT_FALSE(quilbyhost::parseOptions(arguments, kDefaults, options, error))
        << arguments.front();
    EXPECT_FALSE(error.empty());
  }
}

TEST(OptionsTest, HelpWinsAndNamesEveryFlag) {
  EXPECT_EQ(parsed({"serve", "--help"}).mode, Mode::Help);
  EXPECT_EQ(parsed({"help"}).mode, Mode::Help);
  const std::string usage = quilbyhost::usageText(kDefaults);
  for (const char* flag : {"--exports", "--web-page", "--registry", "--architecture",
                           "--application", "--world", "--address", "--port", "--allow-host",
                           "--console", "--quiet", "run FILE", "shell"}) {
    EXPECT_NE(usage.find(flag), std::string::npos) << flag;
  }
}

}  // namespace
