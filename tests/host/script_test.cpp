// The command-line front end: request lines and the reader that a signal can interrupt.
#include "script.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <string>
#include <thread>

namespace {

TEST(ScriptLineTest, ReadsMethodPathAndTheRestAsBody) {
  const struct {
    const char* line;
    const char* method;
    const char* target;
    const char* body;
  } requests[] = {
      {"GET /Sensors?connected", "GET", "/Sensors?connected", ""},
      {"  put /Sensors/a/Mode {\"mode\": 1,  \"observerKey\": 0} ", "PUT", "/Sensors/a/Mode",
       "{\"mode\": 1,  \"observerKey\": 0} "},
      {"PUT\t/Sensors/a/Arm\ttrue\r", "PUT", "/Sensors/a/Arm", "true"},
  };
  for (const auto& c : requests) {
    const quilbyhost::ScriptLine line = quilbyhost::parseScriptLine(c.line);
    EXPECT_TRUE(line.isRequest && line.error.empty()) << c.line;
    EXPECT_EQ(line.method, c.method) << c.line;
    EXPECT_EQ(line.target, c.target) << c.line;
    EXPECT_EQ(line.body, c.body) << c.line;
  }
  // Blank lines and comments are skipped; a line without a path is malformed.
  const std::pair<const char*, bool> others[] = {
      {"", false}, {"   \t", false}, {"# GET /Sensors", false}, {"   # indented comment", false},
      {"GET", true}, {"GET Sensors", true}};
  for (const auto& [text, malformed] : others) {
    const quilbyhost::ScriptLine line = quilbyhost::parseScriptLine(text);
    EXPECT_FALSE(line.isRequest) << text;
    EXPECT_EQ(!line.error.empty(), malformed) << text;
  }
}

TEST(LineReaderTest, SplitsLinesAcrossReadsAndKeepsAnUnfinishedLastLine) {
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
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
  close(fds[0]);
}

TEST(LineReaderTest, WakeEndsABlockedRead) {
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  quilbyhost::LineReader reader(fds[0]);
  std::thread waker([&reader] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    reader.wake();
  });
  std::string line;
  EXPECT_FALSE(reader.next(line));
  waker.join();
  close(fds[0]);
  close(fds[1]);
}

}  // namespace
