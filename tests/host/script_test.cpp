// The command line of quilby-host and its front end: request lines, variables, the runner against
// the host's own routes (no plug-in), and the reader that a signal can interrupt.
#include "options.h"
#include "script.h"

#include "host_thread.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

namespace {

TEST(ScriptLineTest, ReadsCapturesSavesAndRequests) {
  using Fields = std::vector<std::string>;  // capture, selector, save-to, method, target, body
  const std::pair<const char*, Fields> requests[] = {
      {"GET /Sensors?connected", {"", "", "", "GET", "/Sensors?connected", ""}},
      {"  put /Sensors/a/Mode {\"mode\": 1,  \"observerKey\": 0} ",
       {"", "", "", "PUT", "/Sensors/a/Mode", "{\"mode\": 1,  \"observerKey\": 0} "}},
      {"PUT\t/Sensors/a/Arm\ttrue\r", {"", "", "", "PUT", "/Sensors/a/Arm", "true"}},
      {"sensor = POST /Sensors/33", {"sensor", ".value", "", "POST", "/Sensors/33", ""}},
      {"  y=.value.XYZ.Y get /Sensors/$s/XYZ",
       {"y", ".value.XYZ.Y", "", "GET", "/Sensors/$s/XYZ", ""}},
      {"id_2 = .value.0.deviceID GET /Sensors?connected",
       {"id_2", ".value.0.deviceID", "", "GET", "/Sensors?connected", ""}},
      {"save out.csv POST /colour/export?format=csv {\"readings\": []}",
       {"", "", "out.csv", "POST", "/colour/export?format=csv", "{\"readings\": []}"}},
      {"PUT /Sensors/$s/Mode {\"a\" = 1}", {"", "", "", "PUT", "/Sensors/$s/Mode", "{\"a\" = 1}"}},
  };
  for (const auto& [text, want] : requests) {
    const quilbyhost::ScriptLine line = quilbyhost::parseScriptLine(text);
    EXPECT_TRUE(line.isRequest && line.error.empty()) << text << ": " << line.error;
    EXPECT_EQ(Fields({line.capture, line.selector, line.saveTo, line.method, line.target,
                      line.body}),
              want)
        << text;
  }
  // Blank lines and comments are skipped; any other line that is no request is malformed.
  for (const char* skipped : {"", "   \t", "# GET /Sensors", "   # indented comment"}) {
    const quilbyhost::ScriptLine line = quilbyhost::parseScriptLine(skipped);
    EXPECT_FALSE(line.isRequest || !line.error.empty()) << skipped;
  }
  for (const char* malformed :
       {"GET", "GET Sensors", "x =", "x = GET", "x = .value", "x = .value..Y GET /a",
        "x = . GET /a", "x = .value. GET /a", "save out.csv", "save out.csv GET"}) {
    const quilbyhost::ScriptLine line = quilbyhost::parseScriptLine(malformed);
    EXPECT_TRUE(!line.isRequest && !line.error.empty()) << malformed;
  }
}

// Each case substitutes to `want`, or is refused with an error starting with it.
TEST(ScriptVariablesTest, SubstitutesNamesAndKeepsOtherDollars) {
  const quilbyhost::ScriptVariables variables = {{"s", "5f0c"}, {"s2", "X"}, {"white", "{\"X\":1}"}};
  const std::tuple<const char*, bool, const char*> cases[] = {
      {"/Sensors/$s/XYZ", true, "/Sensors/5f0c/XYZ"},
      {"${s}2 $s2", true, "5f0c2 X"},
      {"{\"XYZ\": $white}", true, "{\"XYZ\": {\"X\":1}}"},
      {"costs $$5 or $5, $ alone, $-", true, "costs $5 or $5, $ alone, $-"},
      {"end$", true, "end$"},
      {"/Sensors/$sensor/XYZ", false, "unknown variable $sensor"},
      {"${s", false, "unterminated ${"},
      {"${}", false, "unknown variable $"},
  };
  for (const auto& [text, substituted, want] : cases) {
    std::string result = "unchanged";
    std::string error;
    EXPECT_EQ(quilbyhost::substituteVariables(text, variables, result, error), substituted)
        << text << error;
    EXPECT_EQ(result, substituted ? want : "unchanged") << text;
    EXPECT_EQ(error.rfind(want, 0), substituted ? std::string::npos : 0u) << error;
  }
}

// Each selector gives `want`, or is refused with `want` as the error.
TEST(ScriptVariablesTest, SelectsFromTheAnswer) {
  const std::string answer =
      R"({"error":null,"value":{"XYZ":{"X":152.5,"Y":160},"list":[{"deviceID":33}],"name":"QM","on":true,"none":null}})";
  const std::tuple<const char*, bool, const char*> cases[] = {
      {".value.name", true, "QM"},
      {".value.XYZ.Y", true, "160"},
      {".value.XYZ", true, R"({"X":152.5,"Y":160})"},
      {".value.list.0.deviceID", true, "33"},
      {".value.on", true, "true"},
      {".value.XYZ.Q", false, "the answer has no .value.XYZ.Q"},
      {".value.list.1.deviceID", false, "the answer has no .value.list.1"},
      {".value.name.first", false, "the answer has no .value.name.first"},
      {".value.none", false, "the answer's .value.none is null"},
  };
  for (const auto& [selector, selected, want] : cases) {
    std::string text;
    std::string error;
    EXPECT_EQ(quilbyhost::selectFromAnswer(answer, selector, text, error), selected)
        << selector << error;
    EXPECT_EQ(selected ? text : error, want) << selector;
  }
  std::string text;
  std::string error;
  EXPECT_FALSE(quilbyhost::selectFromAnswer("time,sensor\r\n", ".value", text, error));
}

// A stream whose text stays in memory.
struct Captured {
  char* text = nullptr;
  std::size_t size = 0;
  std::FILE* const file = open_memstream(&text, &size);
  ~Captured() {
    std::fclose(file);
    std::free(text);
  }
  std::string written() { return std::fflush(file) == 0 ? std::string(text, size) : ""; }
};

// A runner over the host's own routes, which need neither plug-in nor simulator.
class ScriptRunnerTest : public testing::Test {
 protected:
  quilbyhost::ScriptOutcome run(const std::vector<std::string>& lines,
                                quilbyhost::ScriptSettings settings) {
    quilbyhost::ScriptRunner runner(frontend_, out_.file, errors_.file, std::move(settings));
    int number = 0;
    for (const std::string& line : lines) {
      if (!runner.runLine(line, ++number)) break;
    }
    return runner.outcome();
  }

  quilbyhost::HostThread thread_;
  quilbyhost::Frontend frontend_{thread_, nullptr, ""};
  Captured out_, errors_;
};

TEST_F(ScriptRunnerTest, CapturesFeedLaterLinesAndFailuresAreCountedWithTheirLine) {
  quilbyhost::ScriptSettings settings;
  settings.echo = true;
  settings.sourceName = "session.txt";
  const quilbyhost::ScriptOutcome outcome = run(
      {"# a comment",
       "arch = .value.architecture GET /host/info",
       "GET /host/$arch",
       "white = .value.derived.0.XYZ POST /colour/derive {\"readings\": [[1, 2, 3]]}",
       "x = .value.derived.0.xy.0 POST /colour/derive {\"readings\": [$white]}",
       "sensor = POST /Nowhere",
       "GET /Sensors/$sensor/XYZ",
       "GET /Sensors/$nobody",
       "not a request",
       "gone = .value.missing GET /host/info"},
      settings);
  EXPECT_EQ(quilbyhost::summaryText(outcome), "9 requests, 3 answered 2xx, 6 failed");

  const std::string out = out_.written();
  EXPECT_NE(out.find("> GET /host/x86_64\n404 "), std::string::npos) << out;
  EXPECT_NE(out.find("> x = .value.derived.0.xy.0 POST /colour/derive {\"readings\": [[1,2,3]]}\n200 "),
            std::string::npos)
      << out;
  EXPECT_EQ(out.find("$sensor"), std::string::npos) << "a line with an unknown variable is not sent";
  EXPECT_EQ(errors_.written(),
            "session.txt:3: GET /host/x86_64 answered 404: No host route GET /host/x86_64.\n"
            "session.txt:6: POST /Nowhere answered 404: No resource answers POST /Nowhere.\n"
            "session.txt:7: unknown variable $sensor (line 6, which was to set it, failed)\n"
            "session.txt:8: unknown variable $nobody\n"
            "session.txt:9: expected METHOD PATH [body], with a path starting with /\n"
            "session.txt:10: gone was not set: the answer has no .value.missing\n");
}

TEST_F(ScriptRunnerTest, SavesAnAnswerToAFile) {
  const std::filesystem::path file =
      std::filesystem::temp_directory_path() / ("quilby-save-" + std::to_string(getpid()) + ".csv");
  const quilbyhost::ScriptOutcome outcome = run(
      {"save " + file.string() + " POST /colour/export?format=csv {\"readings\": [{\"XYZ\": [1, 2, 3]}]}",
       "save " + file.string() + ".not POST /colour/export?format=xls {}",
       "save /nonexistent-directory/x.csv POST /colour/export?format=csv {\"readings\": [{\"XYZ\": [1, 2, 3]}]}"},
      {});
  EXPECT_EQ(quilbyhost::summaryText(outcome), "3 requests, 1 answered 2xx, 2 failed");
  // What a saved file holds is read back in cli_test.cpp's documented script.
  EXPECT_TRUE(std::filesystem::exists(file));
  const std::string out = out_.written();
  EXPECT_EQ(out.rfind("200 saved " + file.string() + " (", 0), 0u) << out;
  EXPECT_NE(out.find("\n400 {\"error\""), std::string::npos) << "a refusal is printed, not saved";
  EXPECT_FALSE(std::filesystem::exists(file.string() + ".not"));
  EXPECT_NE(errors_.written().find("line 3: cannot write /nonexistent-directory/x.csv"),
            std::string::npos);
  std::filesystem::remove(file);
}

// That quit ends a shell is cli_test.cpp's; in a file, the shell's words are no requests.
TEST_F(ScriptRunnerTest, ShellCommandsHelpAndListVariables) {
  quilbyhost::ScriptSettings settings;
  settings.shellCommands = true;
  run({"help", "a = .value.architecture GET /host/info", " vars "}, settings);
  EXPECT_NE(out_.written().find("A line is a request"), std::string::npos);
  EXPECT_NE(out_.written().find("\na = x86_64\na_time = 20"), std::string::npos) << out_.written();
  EXPECT_EQ(run({"vars"}, quilbyhost::ScriptSettings()).failures, 1);
}

// A line may come in pieces, the last one without its newline; a wake ends a read that waits.
TEST(LineReaderTest, SplitsLinesAcrossReadsKeepsAnUnfinishedLastLineAndWakes) {
  int fds[2], idle[2];
  ASSERT_EQ(pipe(fds), 0);
  ASSERT_EQ(pipe(idle), 0);
  quilbyhost::LineReader reader(fds[0]);
  const auto send = [&fds](const std::string& text) {
    ASSERT_EQ(write(fds[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
  };
  std::string line;
  send("GET /a\nPUT /b ");
  ASSERT_TRUE(reader.next(line));
  EXPECT_EQ(line, "GET /a");
  send("body\nlast");
  close(fds[1]);
  for (const char* want : {"PUT /b body", "last"}) {
    ASSERT_TRUE(reader.next(line));
    EXPECT_EQ(line, want);
  }
  EXPECT_FALSE(reader.next(line));

  quilbyhost::LineReader waiting(idle[0]);
  std::thread waker([&waiting] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    waiting.wake();
  });
  EXPECT_FALSE(waiting.next(line));
  waker.join();
  for (const int fd : {fds[0], idle[0], idle[1]}) close(fd);
}

using quilbyhost::HostOptions;
using quilbyhost::Mode;

const quilbyhost::OptionDefaults kDefaults{"/build/exports", "/src/host/web"};

HostOptions parsed(const std::vector<std::string>& arguments) {
  HostOptions options;
  std::string error;
  EXPECT_TRUE(quilbyhost::parseOptions(arguments, kDefaults, options, error)) << error;
  return options;
}

// What the flags outside measure set, compared in one go.
auto settingsOf(const HostOptions& o) {
  return std::tie(o.mode, o.file, o.settings.exportsPath, o.settings.htmlPath,
                  o.settings.registryPath, o.settings.architecture, o.settings.applicationName,
                  o.world, o.server.address, o.server.port, o.server.allowedHosts,
                  o.server.consoleDirectory, o.server.accessLog, o.quiet);
}

TEST(OptionsTest, DefaultsServeTheBuildOnTheLoopbackAndEveryFlagSetsItsSetting) {
  using Hosts = std::vector<std::string>;
  const HostOptions defaults = parsed({});
  EXPECT_EQ(settingsOf(defaults),
            std::make_tuple(Mode::Serve, "", "/build/exports", "/src/host/web", "/build/exports",
                            "x86_64", "Quilby Host", "", "127.0.0.1", 8771, Hosts{},
                            "/src/host/web", true, false));
  // The web page follows the console, the registry the exports.
  const HostOptions moved = parsed({"shell", "--console", "/ui", "--exports", "/x"});
  EXPECT_EQ(std::tie(moved.mode, moved.settings.htmlPath, moved.settings.registryPath),
            std::make_tuple(Mode::Shell, "/ui", "/x"));
  const HostOptions options = parsed(
      {"run", "requests.txt", "--exports", "/x", "--web-page=/page", "--registry", "/reg",
       "--architecture", "aarch64", "--application", "Color Tool", "--world", "w.json",
       "--address", "0.0.0.0", "--port=0", "--allow-host", "a.lan", "--allow-host", "b.lan",
       "--console", "/ui", "--quiet"});
  EXPECT_EQ(settingsOf(options), std::make_tuple(Mode::Run, "requests.txt", "/x", "/page", "/reg",
                                                 "aarch64", "Color Tool", "w.json", "0.0.0.0", 0,
                                                 Hosts{"a.lan", "b.lan"}, "/ui", false, true));
}

// The sentence each mistake gets: an unknown flag is never said to need a value.
TEST(OptionsTest, SaysWhatIsWrong) {
  const std::tuple<std::vector<std::string>, const char*> cases[] = {
      {{"--foo"}, "unknown option --foo"},
      {{"shell", "--foo", "bar"}, "unknown option --foo"},
      {{"--colour=red"}, "unknown option --colour"},
      {{"--port"}, "--port needs a value (N)"},
      {{"--port", "65536"}, "--port"},
      {{"--port", "-1"}, "--port"},
      {{"--port", "80a"}, "--port"},
      {{"serve", "extra"}, "unexpected argument \"extra\""},
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
      {{"measure", "--device-id", "33", "--colours", "white,"}, "\"\" is no colour"},
      {{"measure", "--device-id", "33", "--count", "5000", "--colours", "red,green,blue"},
       "at most 10000 readings, not 15000"},
      {{"measure", "--device-id", "33", "--count", "2", "--reference", "3"},
       "--reference 3 is past the last of 2 readings"},
      {{"measure", "--device-id", "33", "--mode", "infrared"}, "--mode needs display, ambient"},
      {{"measure", "--device-id", "33", "--observer", "5"}, "--observer needs 2 or 10"},
      {{"measure", "--individual-id", "00c300000000zz2a"}, "--individual-id needs"},
  };
  for (const auto& [arguments, message] : cases) {
    HostOptions options;
    std::string error;
    EXPECT_FALSE(quilbyhost::parseOptions(arguments, kDefaults, options, error))
        << arguments.front();
    EXPECT_NE(error.find(message), std::string::npos) << error;
  }
}

TEST(OptionsTest, MeasureReadsItsSensorAndReadings) {
  const HostOptions options =
      parsed({"measure", "--monitor", "QM7A0451/QM-27-Studio-Lab", "--count=5", "--colours",
              "white,red,#ff8000,grey", "--mode", "ambient", "--observer", "10", "--raw",
              "--csv", "out.csv", "--cgats", "out.txt", "--reference", "20", "-q"});
  const quilbyhost::MeasureOptions& measure = options.measure;
  EXPECT_EQ(std::tie(options.mode, options.quiet, measure.monitorSerial, measure.monitorProduct,
                     measure.count, measure.mode, measure.observer, measure.raw, measure.csvPath,
                     measure.cgatsPath, measure.reference),
            std::make_tuple(Mode::Measure, true, "QM7A0451", "QM-27-Studio-Lab", 5,
                            std::optional(1), 1, true, "out.csv", "out.txt", 20));
  using Shown = std::tuple<std::string, double, double, double>;
  std::vector<Shown> colours;
  for (const auto& c : measure.colours) colours.emplace_back(c.name, c.red, c.green, c.blue);
  EXPECT_EQ(colours, (std::vector<Shown>{{"white", 1, 1, 1}, {"red", 1, 0, 0},
                                         {"#ff8000", 1, 128 / 255.0, 0}, {"grey", .5, .5, .5}}));
  // The mode is set only when given.
  const HostOptions byDeviceId = parsed({"measure", "--device-id", "33"});
  EXPECT_EQ(std::tie(byDeviceId.measure.deviceId, byDeviceId.measure.mode),
            std::make_tuple("33", std::nullopt));

  // Individual ids as the connected list shows them (16 hexadecimal digits), 0x-prefixed, or
  // decimal, all given to the route in decimal.
  const char* const decimal = "54887620458597674";
  for (const char* id : {"00c3000000004d2a", "0xc3000000004d2a", decimal}) {
    EXPECT_EQ(parsed({"measure", "--individual-id", id}).measure.individualId, decimal) << id;
  }
}

TEST(OptionsTest, VersionAndHelpWinOverEverythingElseAndHelpNamesEveryFlag) {
  EXPECT_EQ(parsed({"version"}).mode, Mode::Version);
  EXPECT_EQ(parsed({"run", "x.txt", "--version"}).mode, Mode::Version);
  // A measure without its sensor is no mistake when only help is wanted.
  EXPECT_EQ(parsed({"measure", "--help"}).mode, Mode::Help);
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
