#include "script.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>

namespace quilbyhost {

namespace {

bool isBlank(char c) { return c == ' ' || c == '\t'; }

}  // namespace

ScriptLine parseScriptLine(std::string_view line) {
  ScriptLine parsed;
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  std::size_t at = 0;
  while (at < line.size() && isBlank(line[at])) ++at;
  if (at == line.size() || line[at] == '#') return parsed;

  const std::size_t methodEnd = std::find_if(line.begin() + at, line.end(), isBlank) - line.begin();
  parsed.method.assign(line.substr(at, methodEnd - at));
  std::transform(parsed.method.begin(), parsed.method.end(), parsed.method.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  at = methodEnd;
  while (at < line.size() && isBlank(line[at])) ++at;
  const std::size_t pathEnd = std::find_if(line.begin() + at, line.end(), isBlank) - line.begin();
  parsed.target.assign(line.substr(at, pathEnd - at));
  if (parsed.target.empty() || parsed.target.front() != '/') {
    parsed.error = "expected METHOD PATH [body], with a path starting with /";
    return parsed;
  }
  at = pathEnd;
  while (at < line.size() && isBlank(line[at])) ++at;
  parsed.body.assign(line.substr(at));
  parsed.isRequest = true;
  return parsed;
}

LineReader::LineReader(int fd) : fd_(fd) {
  if (pipe2(wakePipe_, O_CLOEXEC | O_NONBLOCK) != 0) wakePipe_[0] = wakePipe_[1] = -1;
}

LineReader::~LineReader() {
  for (const int end : wakePipe_) {
    if (end >= 0) close(end);
  }
}

void LineReader::wake() {
  if (wakePipe_[1] < 0) return;
  const char byte = 1;
  [[maybe_unused]] const ssize_t written = write(wakePipe_[1], &byte, 1);
}

bool LineReader::next(std::string& line) {
  while (true) {
    const std::size_t feed = buffer_.find('\n');
    if (feed != std::string::npos) {
      line = buffer_.substr(0, feed);
      buffer_.erase(0, feed + 1);
      return true;
    }
    if (ended_) {
      if (buffer_.empty()) return false;
      line = std::move(buffer_);
      buffer_.clear();
      return true;
    }
    pollfd watched[2] = {{fd_, POLLIN, 0}, {wakePipe_[0], POLLIN, 0}};
    if (poll(watched, wakePipe_[0] >= 0 ? 2 : 1, -1) < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    if (watched[1].revents != 0) return false;
    char chunk[4096];
    const ssize_t got = read(fd_, chunk, sizeof chunk);
    if (got < 0 && (errno == EINTR || errno == EAGAIN)) continue;
    if (got <= 0) {
      ended_ = true;
      continue;
    }
    buffer_.append(chunk, static_cast<std::size_t>(got));
  }
}

ScriptOutcome runScript(Frontend& frontend, LineReader& reader, std::FILE* out,
                        std::FILE* errors, bool echo, bool prompt) {
  ScriptOutcome outcome;
  std::string text;
  int number = 0;
  while (true) {
    if (prompt) {
      std::fputs("quilby> ", errors);
      std::fflush(errors);
    }
    if (!reader.next(text)) break;
    ++number;
    const ScriptLine line = parseScriptLine(text);
    if (!line.error.empty()) {
      std::fprintf(errors, "line %d: %s\n", number, line.error.c_str());
      ++outcome.failures;
      continue;
    }
    if (!line.isRequest) continue;
    if (echo) std::fprintf(out, "> %s\n", text.c_str());
    const HostResponse answer = frontend.handle(line.method, line.target, line.body);
    std::fprintf(out, "%d %s\n", answer.status, answer.body.c_str());
    std::fflush(out);
    ++outcome.requests;
    if (answer.status >= 400) ++outcome.failures;
  }
  if (prompt) std::fputs("\n", errors);
  return outcome;
}

}  // namespace quilbyhost
