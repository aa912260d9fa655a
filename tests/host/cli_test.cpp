// quilby-host end to end: the measuring script of docs/cli.md against the real plug-in and the
// simulated device world (its CGATS file read back with Little CMS), run and shell against the
// plug-in double, measure, and what the program says and exits with; serving, a clean shutdown on
// signals and a port it cannot have. What the server answers is tested in process
// (http_server_test.cpp).
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <httplib.h>
#include <lcms2.h>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

extern char** environ;

namespace {

namespace fsys = std::filesystem;

std::string fileText(const fsys::path& path) {
  std::ifstream file(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

// quilby-host as a child process, as a person or a script runs it: standard input, output and
// error in files of a directory of the test's own, with variables added to the environment (a
// sanitizer's options pass on). A program still running after 20 s is killed and the test fails.
class HostProgram {
 public:
  HostProgram(std::vector<std::string> arguments, const fsys::path& directory,
              std::vector<std::string> environment = {}, const std::string& input = "")
      : out_(directory / "stdout.txt"), errors_(directory / "stderr.txt") {
    arguments.insert(arguments.begin(), QUILBY_HOST_PROGRAM);
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    std::vector<char*> envp;
    for (std::string& variable : environment) envp.push_back(variable.data());
    for (char** entry = environ; *entry != nullptr; ++entry) envp.push_back(*entry);
    envp.push_back(nullptr);
    const fsys::path in = directory / "stdin.txt";
    std::ofstream(in) << input;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, in.c_str(), O_RDONLY, 0);
    for (const auto& [fd, path] : {std::pair{STDOUT_FILENO, &out_}, {STDERR_FILENO, &errors_}}) {
      posix_spawn_file_actions_addopen(&actions, fd, path->c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                       0644);
    }
    posix_spawn_file_actions_addchdir_np(&actions, directory.c_str());
    EXPECT_EQ(posix_spawn(&pid_, argv[0], &actions, nullptr, argv.data(), envp.data()), 0);
    posix_spawn_file_actions_destroy(&actions);
  }
  ~HostProgram() {
    if (pid_ > 0) {
      kill(pid_, SIGKILL);
      waitpid(pid_, nullptr, 0);
    }
  }
  HostProgram(const HostProgram&) = delete;
  HostProgram& operator=(const HostProgram&) = delete;

  // The first line of standard output, once there is one (within 20 s).
  std::string firstLine() const {
    std::string text = out();
    for (int tenths = 0; text.find('\n') == std::string::npos && tenths < 200; ++tenths) {
      usleep(100 * 1000);
      text = out();
    }
    return text.substr(0, text.find('\n'));
  }
  // The exit status; -1 when it did not exit normally, -2 when it was still running after 20 s.
  int wait() {
    int status = 0;
    for (int tenths = 0; waitpid(pid_, &status, WNOHANG) == 0; ++tenths) {
      if (tenths == 200) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
        pid_ = -1;
        ADD_FAILURE() << "quilby-host did not end within 20 s";
        return -2;
      }
      usleep(100 * 1000);
    }
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  void signal(int number) { kill(pid_, number); }
  std::string out() const { return fileText(out_); }
  std::string errors() const { return fileText(errors_); }

 private:
  fsys::path out_, errors_;
  pid_t pid_ = -1;
};

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

struct Finished {
  int status = -1;
  std::string out;
  std::string errors;
};

class CliTest : public testing::Test {
 protected:
  void SetUp() override { fsys::create_directories(scratch_); }
  void TearDown() override { fsys::remove_all(scratch_); }

  // Runs quilby-host with `arguments` in the scratch directory, `input` on its standard input and
  // `environment` added to the test's; gives up (killing it) after 20 s.
  Finished run(std::vector<std::string> arguments, const std::string& input = "",
               const std::vector<std::string>& environment = {}) {
    HostProgram program(std::move(arguments), scratch_, environment, input);
    const int status = program.wait();
    return {status, program.out(), program.errors()};
  }

  fsys::path write(const std::string& name, const std::string& text) {
    std::ofstream(scratch_ / name) << text;
    return scratch_ / name;
  }

  const fsys::path scratch_ =
      fsys::temp_directory_path() / ("quilby-cli-" + std::to_string(getpid()));
};

using It8 = std::unique_ptr<void, decltype(&cmsIT8Free)>;

It8 loadCgats(const fsys::path& path) {
  const std::string text = fileText(path);
  return It8(cmsIT8LoadFromMem(nullptr, text.data(), static_cast<cmsUInt32Number>(text.size())),
             &cmsIT8Free);
}

// The script under the marker line of docs/cli.md, as the page shows it.
std::string documentedScript() {
  const std::regex block(R"(<!-- tests/host/cli_test.cpp runs the script below[^\n]*\n```text\n)"
                         R"(([\s\S]*?\n)```)");
  std::smatch found;
  const std::string page = fileText(QUILBY_CLI_DOC);
  return std::regex_search(page, found, block) ? found[1].str() : "";
}

TEST_F(CliTest, TheDocumentedMeasuringScriptKeepsItsReadingsAsCgats) {
  const std::string script = documentedScript();
  ASSERT_FALSE(script.empty()) << "no script under the marker in docs/cli.md";
  write("studio.txt", script);
  const Finished finished = run({"run", "studio.txt", "--exports", QUILBY_EXPORTS_DIR});
  ASSERT_EQ(finished.status, 0) << finished.errors;
  EXPECT_NE(finished.errors.find("quilby-host: 19 requests, 19 answered 2xx, 0 failed\n"),
            std::string::npos)
      << finished.errors;
  // Every request line is echoed with its answer line.
  EXPECT_EQ(linesOf(finished.out).size(), 38u) << finished.out;

  const It8 it8 = loadCgats(scratch_ / "studio.cgats.txt");
  ASSERT_TRUE(it8) << fileText(scratch_ / "studio.cgats.txt");
  EXPECT_EQ(cmsIT8GetPropertyDbl(it8.get(), "NUMBER_OF_SETS"), 4);
  // The captures reached the file: the sensor's name, the reading's time, and red measured while
  // the studio monitor showed red (near its primary, x 0.68).
  EXPECT_STREQ(cmsIT8GetData(it8.get(), "2", "SENSOR"), "QM arm sensor");
  EXPECT_TRUE(std::regex_match(cmsIT8GetData(it8.get(), "2", "TIME"),
                               std::regex(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z)")));
  const double redX = cmsIT8GetDataDbl(it8.get(), "2", "XYZ_X");
  const double redSum = redX + cmsIT8GetDataDbl(it8.get(), "2", "XYZ_Y") +
                        cmsIT8GetDataDbl(it8.get(), "2", "XYZ_Z");
  EXPECT_NEAR(redX / redSum, 0.68, 0.005);
  EXPECT_EQ(linesOf(fileText(scratch_ / "studio.csv")).size(), 5u);
}

// What run, shell and measure print and exit with, on the plug-in double; the lines' own messages
// are script_test.cpp's.
TEST_F(CliTest, SaysWhatWentWrongAndExitsWithIt) {
  using testing::HasSubstr;
  using testing::StrEq;
  write("session.txt", "GET /Sensors?connected\nPUT /Sensors/a/Mode {\"mode\": 1}\n");
  write("failing.txt", "GET /Nowhere\n");
  const std::string answer = "200 \\{[^\n]*\n";
  using Output = testing::Matcher<const std::string&>;
  // The command's words separated by spaces, its input, and what it exits with and writes.
  const std::tuple<const char*, const char*, int, Output, Output> cases[] = {
      // Quiet leaves only the answers and the failures.
      {"run session.txt --quiet", "", 0, testing::MatchesRegex(answer + answer), StrEq("")},
      {"run failing.txt -q", "", 1, testing::_,
       StrEq("failing.txt:1: GET /Nowhere answered 404: No resource answers GET /Nowhere.\n")},
      // The file is read before the plug-in is loaded, the files to write checked.
      {"run missing.txt", "", 2, StrEq(""),
       StrEq("quilby-host: cannot read missing.txt: No such file or directory\n")},
      {"measure --device-id 33 --cgats /nonexistent-directory/out.txt", "", 2, StrEq(""),
       StrEq("quilby-host: cannot write /nonexistent-directory/out.txt: the directory "
             "/nonexistent-directory does not exist or is not writable\n")},
      {"measure --device-id 33 --colours red", "", 1, StrEq(""),
       HasSubstr("--colours needs the simulated device libraries")},
      // A shell on a pipe prompts for nothing; a bad line fails it and quit ends it.
      {"shell", "GET /Sensors\nGET Sensors\nvars\nquit\nGET /Sensors\n", 1,
       testing::MatchesRegex(answer + "no variables yet: NAME = METHOD PATH sets one\n"),
       testing::AllOf(testing::Not(HasSubstr("quilby>")),
                      HasSubstr("line 2: expected METHOD PATH [body], with a path starting with / "
                                "(help lists what a line can be)\n"),
                      HasSubstr("quilby-host: 2 requests, 1 answered 2xx, 1 failed\n"))},
      {"shell", "GET /Sensors\n", 0, testing::MatchesRegex(answer),
       HasSubstr("quilby-host: 1 request, 1 answered 2xx, 0 failed\n")},
  };
  for (const auto& [command, input, status, out, errors] : cases) {
    std::istringstream words(command);
    std::vector<std::string> arguments(std::istream_iterator<std::string>(words), {});
    arguments.insert(arguments.end(), {"--exports", QUILBY_ECHO_EXPORTS_DIR});
    const Finished finished = run(arguments, input);
    EXPECT_EQ(finished.status, status) << command;
    EXPECT_THAT(finished.out, out) << command;
    EXPECT_THAT(finished.errors, errors) << command;
  }
}

TEST_F(CliTest, MeasurePrintsATableWithUnitsAndWritesBothFiles) {
  const Finished finished =
      run({"measure", "--monitor", "QM7A0451/QM-27-Studio-Lab", "--count", "2", "--colours",
           "white,red", "--csv", "out.csv", "--cgats", "out.cgats.txt", "--exports",
           QUILBY_EXPORTS_DIR});
  ASSERT_EQ(finished.status, 0) << finished.errors;
  EXPECT_NE(finished.errors.find("the sensor has an arm: taking it out"), std::string::npos);
  EXPECT_NE(finished.errors.find("taking the arm in"), std::string::npos);
  const std::vector<std::string> lines = linesOf(finished.out);
  ASSERT_GT(lines.size(), 8u) << finished.out;
  EXPECT_EQ(lines[0], "QM arm sensor (ARM-QM7A0451), 4 readings of corrected XYZ");
  EXPECT_TRUE(std::regex_search(lines[3], std::regex(R"(^ +# +colour +X +Y +Z +x +y +u' +v' +CCT +Duv +L\* +a\* +b\* +ΔE00 +Δu'v'$)")))
      << lines[3];
  EXPECT_TRUE(std::regex_search(lines[4], std::regex(R"(^ +cd/m² +cd/m² +cd/m² +K$)"))) << lines[4];
  // The first white: about 160 cd/m², D65-like, L* 100 against the white measured, no difference
  // from itself.
  EXPECT_TRUE(std::regex_match(
      lines[5], std::regex(R"( +1  white +1\d\d\.\d\d +1[56]\d\.\d\d +1\d\d\.\d\d +0\.31\d\d +0\.32\d\d +0\.19\d\d +0\.46\d\d +6[45]\d\d +\+0\.00\d\d +(100\.0\d|99\.9\d) +-?0\.\d\d +-?0\.\d\d +0\.00 +0\.0000)")))
      << lines[5];
  EXPECT_TRUE(std::regex_match(lines[7], std::regex(R"( +3  red .* +- +- .*)"))) << lines[7];
  // People get rounded numbers: no long runs of decimals anywhere.
  EXPECT_FALSE(std::regex_search(finished.out, std::regex(R"(\d\.\d{5})"))) << finished.out;
  EXPECT_NE(finished.out.find("\nwhite, 2 readings"), std::string::npos);
  EXPECT_NE(finished.out.find("\n  Y (cd/m²)"), std::string::npos);

  const std::vector<std::string> csv = linesOf(fileText(scratch_ / "out.csv"));
  ASSERT_EQ(csv.size(), 5u);
  EXPECT_EQ(csv[0], "time,sensor,mode,corrected,label,X,Y,Z,x,y,u',v',CCT,Duv,L*,a*,b*\r");
  EXPECT_NE(csv[3].find(",QM arm sensor (ARM-QM7A0451),,true,red,"), std::string::npos) << csv[3];
  const It8 it8 = loadCgats(scratch_ / "out.cgats.txt");
  ASSERT_TRUE(it8);
  EXPECT_EQ(cmsIT8GetPropertyDbl(it8.get(), "NUMBER_OF_SETS"), 4);
}

TEST_F(CliTest, AFailedMeasurementPutsTheArmBackAndClosesTheSensor) {
  const fsys::path world = write("world.json", R"({
      "monitors": [{"serial": "QMT00001", "product": "QM-T1", "hidHandle": 7}],
      "sensors": [{"deviceID": 9001, "individualID": 1, "name": "QM test sensor", "serial": "T-1",
                   "connection": "builtIn", "monitor": "QMT00001", "capabilities": {"arm": true}}],
      "failures": [{"function": "MDMeasureXYZ2", "skip": 1, "status": "EMERR_MEASURE_ERROR"}]})");
  const fsys::path log = scratch_ / "plugin.log";
  const Finished finished =
      run({"measure", "--monitor", "QMT00001/QM-T1", "--count", "3", "--csv", "never.csv",
           "--world", world.string(), "--exports", QUILBY_EXPORTS_DIR},
          "", {"QUILBY_LOG=" + log.string()});
  EXPECT_EQ(finished.status, 1);
  EXPECT_NE(finished.errors.find("quilby-host: Measuring XYZ (reading 2) failed: 500 EmError: "
                                 "Measure error. (Measure XYZ.)\n"),
            std::string::npos)
      << finished.errors;
  EXPECT_EQ(finished.out, "");
  EXPECT_FALSE(fsys::exists(scratch_ / "never.csv"));
  // After the failed reading: the arm in, then the sensor closed.
  const std::string requests = fileText(log);
  const std::size_t failed = requests.find("statusCode:500");
  ASSERT_NE(failed, std::string::npos) << requests;
  const std::size_t armIn = requests.find("method:PUT\turi:/quilby/Sensors/", failed);
  ASSERT_NE(armIn, std::string::npos) << requests;
  EXPECT_NE(requests.find("/Arm\t", armIn), std::string::npos);
  EXPECT_NE(requests.find("method:DELETE\turi:/quilby/Sensors/", armIn), std::string::npos)
      << requests;
}

// A second host on the same port would split the requests between two device worlds; either
// signal ends the first, with the plug-in torn down.
TEST_F(CliTest, ServesAloneOnItsPortAndTearsDownOnEitherSignal) {
  fsys::create_directories(scratch_ / "second");
  const auto servingOn = [](const std::string& port) -> std::vector<std::string> {
    return {"--port", port, "--exports", QUILBY_ECHO_EXPORTS_DIR, "--quiet"};
  };
  const std::string prefix = "quilby-host: console at http://127.0.0.1:";
  for (const int number : {SIGTERM, SIGINT}) {
    // The echo plug-in's TearDown writes "TearDown" to the mark.
    const fsys::path mark = scratch_ / strsignal(number);
    HostProgram first(servingOn("0"), scratch_, {"QUILBY_ECHO_TEARDOWN_MARK=" + mark.string()});
    const std::string line = first.firstLine();
    ASSERT_EQ(line.rfind(prefix, 0), 0u) << line;
    const int port = std::stoi(line.substr(prefix.size()));
    HostProgram second(servingOn(std::to_string(port)), scratch_ / "second");
    EXPECT_EQ(second.wait(), 1);
    EXPECT_NE(second.errors().find("port " + std::to_string(port) + " is in use"),
              std::string::npos)
        << second.errors();
    const httplib::Result stillServing = httplib::Client("127.0.0.1", port).Get("/host/info");
    ASSERT_TRUE(stillServing);
    EXPECT_EQ(stillServing->status, 200);
    first.signal(number);
    EXPECT_EQ(first.wait(), 0) << strsignal(number);
    EXPECT_EQ(fileText(mark), "TearDown\n") << strsignal(number);
  }
}

}  // namespace
