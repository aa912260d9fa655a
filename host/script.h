// The command-line front end of quilby-host: requests as lines of text, "METHOD PATH [body]",
// from a file (run) or typed (shell), answered on standard output as "STATUS ENVELOPE".
#ifndef QUILBY_HOST_SCRIPT_H
#define QUILBY_HOST_SCRIPT_H

#include "frontend.h"

#include <cstdio>
#include <string>
#include <string_view>

namespace quilbyhost {

// One line of a request file.
struct ScriptLine {
  // False for a blank line or a "#" comment (and for a malformed line, with `error` set).
  bool isRequest = false;
  std::string method;
  std::string target;
  // Everything after the blanks that follow the path, as it stands (a trailing carriage return
  // dropped); empty when the line ends after the path.
  std::string body;
  std::string error;
};

// Reads "METHOD PATH [body]"; the method is upper-cased, the path must start with "/".
ScriptLine parseScriptLine(std::string_view line);

// Lines from a file descriptor that a signal can interrupt: next() waits on the descriptor and on
// a wake-up pipe, so another thread can end a blocked read with wake().
class LineReader {
 public:
  explicit LineReader(int fd);
  ~LineReader();
  LineReader(const LineReader&) = delete;
  LineReader& operator=(const LineReader&) = delete;

  // The next line without its line feed. False at the end of the input, on a read error, or
  // after wake().
  bool next(std::string& line);
  // From any thread (and from a signal handler: it only writes to a pipe).
  void wake();

 private:
  int fd_;
  int wakePipe_[2] = {-1, -1};
  std::string buffer_;
  bool ended_ = false;
};

struct ScriptOutcome {
  int requests = 0;
  // Answers with a status of 400 or more, and lines that are not requests.
  int failures = 0;
};

// Answers each request line of `reader` through `frontend`, writing to `out` the line itself
// after "> " when `echo` is set, then "STATUS ENVELOPE". Malformed lines are reported on `errors`
// with their line number. With `prompt`, writes "quilby> " to `errors` before each line.
ScriptOutcome runScript(Frontend& frontend, LineReader& reader, std::FILE* out,
                        std::FILE* errors, bool echo, bool prompt);

}  // namespace quilbyhost

#endif  // QUILBY_HOST_SCRIPT_H
