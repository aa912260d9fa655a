// The command-line front end of quilby-host: requests as lines of text, from a file (run) or
// typed (shell), answered on standard output as "STATUS ENVELOPE".
//
// A line is blank, a "#" comment, a request with an optional capture, or a request whose answer
// goes into a file:
//   [NAME = [.PATH]] METHOD TARGET [body]
//   save FILE METHOD TARGET [body]
// "sensor = POST /Monitors/QM7A0451/QM-27-Studio-Lab/Sensor" keeps the answer's "value" in the
// variable sensor, "Y = .value.XYZ.Y GET /Sensors/$sensor/XYZ" a part of the answer (members by
// name, array elements by number from 0); either also keeps the time of the answer in NAME_time.
// Later lines use "$sensor" or "${sensor}" in their file, target and body ("$$" is a dollar
// sign). docs/cli.md describes it for users.
#ifndef QUILBY_HOST_SCRIPT_H
#define QUILBY_HOST_SCRIPT_H

#include "frontend.h"

#include <cstdio>
#include <map>
#include <string>
#include <string_view>

namespace quilbyhost {

// One line of a request file.
struct ScriptLine {
  // False for a blank line or a "#" comment (and for a malformed line, with `error` set).
  bool isRequest = false;
  // The variable the answer goes into ("name = ..."), empty for none, and the path into the
  // answer's envelope that it takes (".value" unless the line gives one).
  std::string capture;
  std::string selector;
  // "save FILE ...": the file the answer's body goes to, as written.
  std::string saveTo;
  std::string method;
  // Both as written: variables are substituted when the line runs.
  std::string target;
  // Everything after the blanks that follow the path, as it stands (a trailing carriage return
  // dropped); empty when the line ends after the path.
  std::string body;
  std::string error;
};

// Reads "[NAME = [.PATH]] METHOD PATH [body]" or "save FILE METHOD PATH [body]"; the method is
// upper-cased, the path must start with "/", a name is a letter or "_" followed by letters,
// digits and "_".
ScriptLine parseScriptLine(std::string_view line);

using ScriptVariables = std::map<std::string, std::string>;

// Replaces "$name" and "${name}" in `text` by the variables' values and "$$" by "$"; a "$"
// followed by anything else stays. False with a sentence in `error` for an unknown variable (its
// name then in `*missing` when given) or an unterminated "${".
bool substituteVariables(std::string_view text, const ScriptVariables& variables,
                         std::string& result, std::string& error,
                         std::string* missing = nullptr);

// The text a capture keeps from an answer's envelope: the part `selector` names (".value",
// ".value.XYZ.Y", ".value.0.deviceID"): a string as its content, any other JSON value as its
// compact text. False with a sentence in `error` when the envelope is not JSON, the path leads
// nowhere, or it leads to null.
bool selectFromAnswer(const std::string& envelope, const std::string& selector,
                      std::string& text, std::string& error);

// A pipe through which any thread, or a signal handler, ends a poll() that waits on readEnd().
class WakePipe {
 public:
  WakePipe();
  ~WakePipe();
  WakePipe(const WakePipe&) = delete;
  WakePipe& operator=(const WakePipe&) = delete;

  // Only writes to the pipe, so it is safe in a signal handler.
  void wake();
  // -1 when no pipe could be made; nothing wakes a poll() then.
  int readEnd() const { return ends_[0]; }

 private:
  int ends_[2] = {-1, -1};
};

// Where lines come from.
class LineSource {
 public:
  virtual ~LineSource() = default;
  // The next line without its line feed. False at the end of the input, on a read error, or
  // after wake().
  virtual bool next(std::string& line) = 0;
  // Ends a next() that waits, from any thread (and from a signal handler).
  void wake() { wakePipe_.wake(); }

 protected:
  WakePipe wakePipe_;
};

// Lines from a file descriptor that a signal can interrupt: next() waits on the descriptor and on
// the wake-up pipe, so another thread can end a blocked read with wake().
class LineReader : public LineSource {
 public:
  explicit LineReader(int fd) : fd_(fd) {}

  bool next(std::string& line) override;

 private:
  int fd_;
  std::string buffer_;
  bool ended_ = false;
};

struct ScriptOutcome {
  // Lines that are requests or meant to be (malformed ones included).
  int requests = 0;
  // Those that were answered with a 2xx status (and whose capture, if any, took its value).
  int succeeded = 0;
  // Those that failed: malformed, an unknown variable, a status of 400 or more, a capture that
  // found nothing.
  int failures = 0;
};

// "12 requests, 11 answered 2xx, 1 failed".
std::string summaryText(const ScriptOutcome& outcome);

struct ScriptSettings {
  // Write each request line (with its variables substituted) after "> " before its answer.
  bool echo = false;
  // Take the shell's own commands: help, vars, quit and exit.
  bool shellCommands = false;
  // Tell on `errors` what a capture kept (for a person at the keyboard).
  bool showCaptures = false;
  // How error messages name the line: "FILE:N: ..." with a file name, "line N: ..." without.
  std::string sourceName;
};

// Runs lines one by one against a frontend, keeping the variables between them.
class ScriptRunner {
 public:
  // `out` gets the answers ("STATUS BODY"), `errors` the failures with the line they come from.
  ScriptRunner(Frontend& frontend, std::FILE* out, std::FILE* errors, ScriptSettings settings);

  // Runs line number `number`. False when the line is "quit" or "exit" (shell commands only).
  bool runLine(const std::string& text, int number);

  const ScriptOutcome& outcome() const { return outcome_; }
  const ScriptVariables& variables() const { return variables_; }

 private:
  bool runShellCommand(const std::string& command);
  void fail(int number, const std::string& message);

  Frontend& frontend_;
  std::FILE* out_;
  std::FILE* errors_;
  ScriptSettings settings_;
  ScriptOutcome outcome_;
  ScriptVariables variables_;
  // Variables whose capturing line failed, with that line's number, for a better message when a
  // later line uses one.
  std::map<std::string, int> failedCaptures_;
};

// Runs every line of `source` until its end (or "quit").
ScriptOutcome runScript(Frontend& frontend, LineSource& source, std::FILE* out,
                        std::FILE* errors, const ScriptSettings& settings);

// What the shell's "help" prints.
std::string shellHelpText();

}  // namespace quilbyhost

#endif  // QUILBY_HOST_SCRIPT_H
