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

// The sentence each mistake gets: an unknown flag is never said to need a value.
TEST(OptionsTest, SaysWhatIsWrong) {
  const struct {
    std::vector<std::string> arguments;
    const char* error;
  } cases[] = {
      {{"--foo"}, "unknown option --foo"},
      {{"shell", "--foo", "bar"}, "unknown option --foo"},
      {{"--colour=red"}, "unknown option --colour"},
      {{"--port"}, "--port needs a value (N)"},
      {{"--port", "65536"}, "--port"},
      {{"--port", "-1"}, "--port"},
      {{"--port", "80a"}, "--port"},
      {{"serve", "extra"}, ""},
      {{"--quiet=yes"}, "--quiet takes no value"},
      {{"run"}, "run needs the file of requests to run"},
      {{"run", "--quiet"}, "run needs the file of requests to run"},
      {{"start"}, "unknown command \"start\" (serve, run FILE, shell, measure, help, version)"},
      {{"shell", "--count", "3"}, "are options of measure"},
      {{"measure"}, "measure needs one sensor"},
      {{"measure", "--device-id", "33", "--monitor", "A/B"}, "measure needs one sensor"},
      {{"measure", "--monitor", "QM7A0451"}, "--monitor needs SERIAL/PRODUCT"},
      {{"measure", "--device-id", "4294967296"}, "--device-id needs a decimal number below 2^32"},
      {{"measure", "--device-id", "33", "--count", "0"}, "--count needs a number from 1 to 10000"},
      {{"measure", "--device-id", "33", "--colours", "white,mauve"}, "\"mauve\" is no colour"},
      {{"measure", "--device-id", "33", "--colours", "white,"}, "\"\" is no colour"},
      {{"measure", "--device-id", "33", "--count", "5000", "--colours", "red,green,blue"},
       "at most 10000 readings, not 15000"},
      {{"measure", "--device-id", "33", "--count", "2", "--reference", "3"},
       "--reference 3 is past the last of 2 readings"},
      {{"measure", "--device-id", "33", "--mode", "infrared"}, "--mode needs display, ambient"},
      {{"measure", "--device-id", "33", "--observer", "5"}, "--observer needs 2 or 10"},
      {{"measure", "--individual-id", "00c300000000zz2a"}, "--individual-id needs"},
  };
  for (const auto& c : cases) {
    HostOptions options;
    std::string error;
    EXPECT_FALSE(quilbyhost::parseOptions(c.arguments, kDefaults, options, error))
        << c.arguments.front();
    EXPECT_NE(error.find(c.error), std::string::npos) << error;
    EXPECT_FALSE(error.empty()) << c.arguments.front();
  }
}

TEST(OptionsTest, MeasureReadsItsSensorAndReadings) {
  const HostOptions options =
      parsed({"measure", "--monitor", "QM7A0451/QM-27-Studio-Lab", "--count=5", "--colours",
              "white,red,#ff8000,grey", "--mode", "ambient", "--observer", "10", "--raw",
              "--csv", "out.csv", "--cgats", "out.txt", "--reference", "20", "-q"});
  EXPECT_EQ(options.mode, Mode::Measure);
  const quilbyhost::MeasureOptions& measure = options.measure;
  EXPECT_EQ(measure.monitorSerial, "QM7A0451");
  EXPECT_EQ(measure.monitorProduct, "QM-27-Studio-Lab");
  EXPECT_EQ(measure.count, 5);
  ASSERT_EQ(measure.colours.size(), 4u);
  EXPECT_EQ(measure.colours[1].name, "red");
  EXPECT_EQ(measure.colours[1].red, 1);
  EXPECT_EQ(measure.colours[1].green, 0);
  EXPECT_EQ(measure.colours[2].name, "#ff8000");
  EXPECT_NEAR(measure.colours[2].green, 128.0 / 255, 1e-12);
  EXPECT_EQ(measure.colours[3].red, 0.5);
  EXPECT_EQ(measure.mode, 1);
  EXPECT_EQ(measure.observer, 1);
  EXPECT_TRUE(measure.raw);
  EXPECT_EQ(measure.csvPath, "out.csv");
  EXPECT_EQ(measure.cgatsPath, "out.txt");
  EXPECT_EQ(measure.reference, 20);
  EXPECT_TRUE(options.quiet);
  EXPECT_FALSE(options.measure.mode && parsed({"measure", "--device-id", "33"}).measure.mode);

  // Individual ids as the connected list shows them (16 hexadecimal digits), 0x-prefixed, or
  // decimal, all given to the route in decimal.
  for (const char* id : {"00c3000000004d2a", "0xc3000000004d2a", "54887620458597674"}) {
    EXPECT_EQ(parsed({"measure", "--individual-id", id}).measure.individualId,
              "54887620458597674")
        << id;
  }
  EXPECT_EQ(parsed({"measure", "--device-id", "33"}).measure.deviceId, "33");
}

TEST(OptionsTest, VersionAndHelpWinOverEverythingElseAndHelpNamesEveryFlag) {
  EXPECT_EQ(parsed({"version"}).mode, Mode::Version);
  EXPECT_EQ(parsed({"run", "x.txt", "--version"}).mode, Mode::Version);
  // A measure without its sensor is no mistake when only help is wanted.
  EXPECT_EQ(parsed({"measure", "--help"}).mode, Mode::Help);
  EXPECT_EQ(parsed({"serve", "--help"}).mode, Mode::Help);
  EXPECT_EQ(parsed({"help"}).mode, Mode::Help);
  EXPECT_EQ(quilbyhost::versionText(), std::string("quilby-host ") + QUILBY_HOST_VERSION);
  const std::string usage = quilbyhost::usageText(kDefaults);
  for (const char* flag : {"--exports", "--web-page", "--registry", "--architecture",
                           "--application", "--world", "--address", "--port", "--allow-host",
                           "--console", "--quiet", "run FILE", "shell", "measure", "--monitor",
                           "--device-id", "--individual-id", "--mode", "--observer", "--count",
                           "--colours", "--reference", "--raw", "--csv", "--cgats", "--version"}) {
    EXPECT_NE(usage.find(flag), std::string::npos) << flag;
  }
}

}  // namespace
