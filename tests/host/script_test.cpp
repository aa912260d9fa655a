// The command-line front end: request lines and the reader that a signal can interrupt.
#include "script.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <string>
#include <thread>

namespace {

struct LineCase {
  const char* line;
  bool isRequest;
  const char* method;
  const char* target;
  const char* body;
  bool malformed;
};

TEST(ScriptLineTest, ReadsMethodPathAndTheRestAsBody) {
  const LineCase cases[] = {
      {"GET /Sensors?connected", true, "GET", "/Sensors?connected", "", false},
      {"  put /Sensors/a/Mode {\"mode\": 1,  \"observerKey\": 0} ", true, "PUT", "/Sensors/a/Mode",
       "{\"mode\": 1,  \"observerKey\": 0} ", false},
      {"PUT\t/Sensors/a/Arm\ttrue\r", true, "PUT", "/Sensors/a/Arm", "true", false},
      {"POST /Sensors/33", true, "POST", "/Sensors/33", "", false},
      {"", false, "", "", "", false},
      {"   \t", false, "", "", "", false},
      {"# GET /Sensors", false, "", "", "", false},
      {"   # indented comment", false, "", "", "", false},
      {"GET", false, "", "", "", true},
      {"GET Sensors", false, "", "", "", true},
  };
  for (const LineCase& c : cases) {
    const quilbyhost::ScriptLine line = quilbyhost::parseScriptLine(c.line);
    EXPECT_EQ(line.isRequest, c.isRequest) << c.line;
    EXPECT_EQ(!line.error.empty(), c.malformed) << c.line;
    if (!c.isRequest) continue;
    EXPECT_EQ(line.method, c.method) << c.line;
    EXPECT_EQ(line.target, c.target) << c.line;
    EXPECT_EQ(line.body, c.body) << c.line;
  }
}

class LineReaderTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(pipe(fds_), 0); }
  void TearDown() override {
    for (const int fd : fds_) {
      if (fd >= 0) close(fd);
    }
  }
  void write(const std::string& text) {
    ASSERT_EQ(::write(fds_[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  void closeWriter() {
    close(fds_[1]);
    fds_[1] = -1;
  }
  int fds_[2] = {-1, -1};
};

TEST_F(LineReaderTest, SplitsLinesAcrossReadsAndKeepsAnUnfinishedLastLine) {
  quilbyhost::LineReader reader(fds_[0]);
  write("GET /a\nPUT /b ");
  write("body\nlast");
  closeWriter();
  std::string line;
  ASSERT_TRUE(reader.next(line));
  EXPECT_EQ(line, "GET /a");
  ASSERT_TRUE(reader.next(line));
  EXPECT_EQ(line, "PUT /b body");
  ASSERT_TRUE(reader.next(line));
  EXPECT_EQ(line, "last");
  EXPECT_FALSE(reader.next(line));
}

TEST_F(LineReaderTest, WakeEndsABlockedRead) {
  quilbyhost::LineReader reader(fds_[0]);
  std::thread waker([&reader] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    reader.wake();
  });
  std::string line;
  EXPECT_FALSE(reader.next(line));
  waker.join();
}

}  // namespace
