// The quilby-host program itself: the command-line front end and a clean shutdown on signals.
// It runs against the plug-in double, whose TearDown leaves a mark.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

extern char** environ;

namespace {

namespace fsys = std::filesystem;

// A running quilby-host with its standard output on a pipe.
class Program {
 public:
  Program(std::vector<std::string> arguments, const fsys::path& mark) {
    arguments.insert(arguments.begin(), QUILBY_HOST_PROGRAM);
    arguments.insert(arguments.end(), {"--exports", QUILBY_ECHO_EXPORTS_DIR, "--quiet"});
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    std::vector<std::string> environment = {"QUILBY_ECHO_TEARDOWN_MARK=" + mark.string()};
    std::vector<char*> envp;
    for (std::string& entry : environment) envp.push_back(entry.data());
    envp.push_back(nullptr);

    int out[2];
    EXPECT_EQ(pipe(out), 0);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, out[0]);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    EXPECT_EQ(posix_spawn(&pid_, argv[0], &actions, nullptr, argv.data(), envp.data()), 0);
    posix_spawn_file_actions_destroy(&actions);
    close(out[1]);
    output_ = fdopen(out[0], "r");
  }
  ~Program() {
    if (pid_ > 0) {
      kill(pid_, SIGKILL);
      waitpid(pid_, nullptr, 0);
    }
    if (output_) fclose(output_);
  }

  // The next line of standard output, empty at its end.
  std::string line() {
    char buffer[65536];
    return fgets(buffer, sizeof buffer, output_) ? buffer : "";
  }
  std::string rest() {
    std::string text;
    for (std::string next = line(); !next.empty(); next = line()) text += next;
    return text;
  }
  // The exit status; -1 when it did not exit normally, -2 when it was still running after 20 s
  // (it is then killed).
  int wait() {
    int status = 0;
    for (int tenths = 0; waitpid(pid_, &status, WNOHANG) == 0; ++tenths) {
      if (tenths == 200) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
        pid_ = -1;
        return -2;
      }
      usleep(100 * 1000);
    }
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  void signal(int number) { kill(pid_, number); }

 private:
  pid_t pid_ = -1;
  FILE* output_ = nullptr;
};

class ProgramTest : public testing::Test {
 protected:
  void SetUp() override {
    scratch_ = fsys::temp_directory_path() / ("quilby-host-" + std::to_string(getpid()));
    fsys::create_directories(scratch_);
    mark_ = scratch_ / "teardown";
  }
  void TearDown() override { fsys::remove_all(scratch_); }

  bool tornDown() const {
    std::ifstream file(mark_);
    std::string text;
    std::getline(file, text);
    return text == "TearDown";
  }

  fsys::path scratch_;
  fsys::path mark_;
};

TEST_F(ProgramTest, RunAnswersEveryLineAndFailsWhenOneFails) {
  const fsys::path requests = scratch_ / "requests.txt";
  std::ofstream(requests) << "# opens and sets a mode\n"
                             "\n"
                             "POST /Sensors/33\n"
                             "put /Sensors/a/Mode {\"mode\": 1,  \"observerKey\": 0}\n"
                             "GET /Nowhere\n";
  Program program({"run", requests.string()}, mark_);
  const std::string output = program.rest();
  EXPECT_EQ(program.wait(), 1);
  EXPECT_TRUE(tornDown());
  std::istringstream lines(output);
  std::string line;
  const char* expected[] = {
      "> POST /Sensors/33",
      R"(200 {"error":null,"value":{"data":"","entryPoint":"DeviceID","parameters":"{\"deviceID\":\"33\"}","query":"{}","request":"{\"method\":\"POST\"}"}})",
      "> put /Sensors/a/Mode {\"mode\": 1,  \"observerKey\": 0}",
      R"(200 {"error":null,"value":{"data":"{\"mode\": 1,  \"observerKey\": 0}","entryPoint":"SensorMode","parameters":"{\"id\":\"a\"}","query":"{}","request":"{\"method\":\"PUT\"}"}})",
      "> GET /Nowhere",
      R"(404 {"error":{"message":"No resource answers GET /Nowhere.","name":"HostError"},"value":null})",
  };
  for (const char* want : expected) {
    ASSERT_TRUE(std::getline(lines, line));
    EXPECT_EQ(line, want);
  }
  EXPECT_FALSE(std::getline(lines, line)) << line;
}

TEST_F(ProgramTest, RunSucceedsWhenEveryAnswerDoes) {
  const fsys::path requests = scratch_ / "requests.txt";
  std::ofstream(requests) << "GET /Sensors?connected\n";
  Program program({"run", requests.string()}, mark_);
  program.rest();
  EXPECT_EQ(program.wait(), 0);
}

TEST_F(ProgramTest, ServeTearsDownOnEitherSignal) {
  for (const int number : {SIGTERM, SIGINT}) {
    fsys::remove(mark_);
    Program program({"--port", "0"}, mark_);
    const std::string first = program.line();
    ASSERT_EQ(first.rfind("quilby-host: console at http://127.0.0.1:", 0), 0u) << first;
    program.signal(number);
    EXPECT_EQ(program.wait(), 0) << strsignal(number);
    EXPECT_TRUE(tornDown()) << strsignal(number);
  }
}

TEST_F(ProgramTest, RefusesABadCommandLine) {
  Program program({"--port", "http"}, mark_);
  EXPECT_EQ(program.wait(), 2);
  EXPECT_FALSE(tornDown());
}

}  // namespace
