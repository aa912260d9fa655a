// The quilby-host program serving, against the plug-in double whose TearDown leaves a mark: a clean
// shutdown on signals, and a port it cannot have. What the server answers is tested in process
// (http_server_test.cpp), the command line in cli_test.cpp.
#include "host_program.h"

#include <gtest/gtest.h>
#include <httplib.h>

#include <signal.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

namespace fsys = std::filesystem;

// quilby-host on the echo plug-in, whose TearDown writes "TearDown" to `mark`.
struct Program : quilby_test::HostProgram {
  Program(std::vector<std::string> arguments, const fsys::path& directory, const fsys::path& mark)
      : HostProgram(withEcho(std::move(arguments)), directory,
                    {"QUILBY_ECHO_TEARDOWN_MARK=" + mark.string()}) {}
  static std::vector<std::string> withEcho(std::vector<std::string> arguments) {
    arguments.insert(arguments.end(), {"--exports", QUILBY_ECHO_EXPORTS_DIR, "--quiet"});
    return arguments;
  }
  // The port of the line the host prints once it serves; 0 without that line.
  int port() {
    const std::string prefix = "quilby-host: console at http://127.0.0.1:";
    const std::string first = line();
    return first.rfind(prefix, 0) == 0 ? std::stoi(first.substr(prefix.size())) : 0;
  }
};

class ProgramTest : public testing::Test {
 protected:
  void SetUp() override { fsys::create_directories(scratch_ / "second"); }
  void TearDown() override { fsys::remove_all(scratch_); }

  bool tornDown() const {
    std::ifstream file(mark_);
    std::string text;
    std::getline(file, text);
    return text == "TearDown";
  }

  const fsys::path scratch_ =
      fsys::temp_directory_path() / ("quilby-host-" + std::to_string(getpid()));
  const fsys::path mark_ = scratch_ / "teardown";
};

TEST_F(ProgramTest, ServeTearsDownOnEitherSignal) {
  for (const int number : {SIGTERM, SIGINT}) {
    fsys::remove(mark_);
    Program program({"--port", "0"}, scratch_, mark_);
    ASSERT_NE(program.port(), 0);
    program.signal(number);
    EXPECT_EQ(program.wait(), 0) << strsignal(number);
    EXPECT_TRUE(tornDown()) << strsignal(number);
  }
}

// A second host on the same port would split the requests between two device worlds.
TEST_F(ProgramTest, ASecondHostOnAPortInUseRefusesToStart) {
  Program first({"--port", "0"}, scratch_, mark_);
  const int port = first.port();
  ASSERT_NE(port, 0);
  Program second({"--port", std::to_string(port)}, scratch_ / "second", mark_);
  EXPECT_EQ(second.wait(), 1);
  EXPECT_NE(second.errors().find("port " + std::to_string(port) + " is in use"), std::string::npos)
      << second.errors();

  const httplib::Result stillServing = httplib::Client("127.0.0.1", port).Get("/host/info");
  ASSERT_TRUE(stillServing);
  EXPECT_EQ(stillServing->status, 200);
  first.signal(SIGTERM);
  EXPECT_EQ(first.wait(), 0);
}

}  // namespace
