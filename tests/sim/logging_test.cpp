#include "sim_test_support.h"

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include <unistd.h>

namespace {

struct LogLine {
  std::string time, name, level, text;
};

// The four tab-separated fields of a line; the text keeps its own tabs.
LogLine fields(const std::string& line) {
  LogLine parsed;
  std::string* parts[] = {&parsed.time, &parsed.name, &parsed.level};
  std::size_t begin = 0;
  for (std::string* part : parts) {
    const std::size_t tab = line.find('\t', begin);
    if (tab == std::string::npos) return {};
    *part = line.substr(begin, tab - begin);
    begin = tab + 1;
  }
  parsed.text = line.substr(begin);
  return parsed;
}

// UTC with milliseconds: "2024-03-14T09:26:53.589Z".
bool isTimestamp(const std::string& text) {
  const std::string pattern = "dddd-dd-ddTdd:dd:dd.dddZ";
  if (text.size() != pattern.size()) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool digit = text[i] >= '0' && text[i] <= '9';
    if (pattern[i] == 'd' ? !digit : text[i] != pattern[i]) return false;
  }
  return true;
}

class LoggingTest : public sim_test::SimTest {
 protected:
  void TearDown() override {
    unsetenv("QUILBY_LOG");
    std::remove(path_.c_str());
  }
  std::string logged() const {
    std::ifstream file(path_);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
  }
  // One file per test and process: ctest runs the tests in parallel.
  std::string path_ = testing::TempDir() +
                      testing::UnitTest::GetInstance()->current_test_info()->name() + "." +
                      std::to_string(getpid()) + ".log";
};

TEST_F(LoggingTest, AppendsTimestampedTabSeparatedLinesToTheNamedFile) {
  std::ofstream(path_) << "earlier line\n";
  setenv("QUILBY_LOG", path_.c_str(), 1);
  void* logger = mirelto_get_logger();
  ASSERT_NE(logger, nullptr);
  mirelto_log(logger, "Quilby", 2, "statusCode:200\tmethod:GET\turi:Sensors\tmsg:Success");
  mirelto_log(logger, "Quilby", 5, "Failed to launch mdsubprocess.");

  std::istringstream lines(logged());
  std::string text;
  std::getline(lines, text);
  EXPECT_EQ(text, "earlier line");
  std::getline(lines, text);
  LogLine line = fields(text);
  EXPECT_TRUE(isTimestamp(line.time)) << text;
  EXPECT_EQ(line.name, "Quilby");
  EXPECT_EQ(line.level, "2");
  EXPECT_EQ(line.text, "statusCode:200\tmethod:GET\turi:Sensors\tmsg:Success");
  std::getline(lines, text);
  line = fields(text);
  EXPECT_TRUE(isTimestamp(line.time)) << text;
  EXPECT_EQ(line.level, "5");
  EXPECT_EQ(line.text, "Failed to launch mdsubprocess.");
  EXPECT_FALSE(std::getline(lines, text));
}

TEST_F(LoggingTest, WritesToStandardErrorWithoutQuilbyLog) {
  testing::internal::CaptureStderr();
  mirelto_log(mirelto_get_logger(), "Quilby", 3, "Launch mdsubprocess.");
  const std::string written = testing::internal::GetCapturedStderr();
  EXPECT_NE(written.find("\tQuilby\t3\tLaunch mdsubprocess.\n"), std::string::npos) << written;
}

TEST_F(LoggingTest, ForeignLoggerWritesNothing) {
  setenv("QUILBY_LOG", path_.c_str(), 1);
  int notALogger = 0;
  mirelto_log(&notALogger, "Quilby", 2, "lost");
  mirelto_log(nullptr, "Quilby", 2, "lost");
  EXPECT_EQ(logged(), "");
  const cairnjson::Value entries = sim_test::journal();
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(sim_test::compact(entries[1ul]),
            R"({"arguments":[null,"Quilby",2,"lost"],"function":"mirelto_log","status":null})");
}

}  // namespace
