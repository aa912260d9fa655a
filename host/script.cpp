#include "script.h"

#include "colour/export.h"
#include "json/cairnjson.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <fstream>

namespace quilbyhost {

namespace {

bool isBlank(char c) { return c == ' ' || c == '\t'; }

bool isNameStart(char c) { return std::isalpha(static_cast<unsigned char>(c)) || c == '_'; }
bool isNameChar(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }

std::size_t skipBlanks(std::string_view line, std::size_t at) {
  while (at < line.size() && isBlank(line[at])) ++at;
  return at;
}

std::size_t tokenEnd(std::string_view line, std::size_t at) {
  return std::find_if(line.begin() + static_cast<std::ptrdiff_t>(at), line.end(), isBlank) -
         line.begin();
}

// A selector is "." followed by one or more names or numbers separated by ".".
bool validSelector(std::string_view selector) {
  if (selector.size() < 2 || selector.front() != '.' || selector.back() == '.') return false;
  return selector.find("..") == std::string_view::npos;
}

// The message of a failed answer: the envelope's error message (with the step that failed, for a
// device library's error), or the start of the body when it is no envelope.
std::string answerMessage(const HostResponse& answer) {
  cairnjson::Parser parser;
  cairnjson::Value envelope;
  if (parser.parse(answer.body, envelope) && envelope["error"]["message"].isString()) {
    std::string message = envelope["error"]["message"].stringRef();
    if (envelope["error"]["reason"].isString()) {
      message += " (" + envelope["error"]["reason"].stringRef() + ")";
    }
    return message;
  }
  return answer.body.substr(0, 200);
}

}  // namespace

ScriptLine parseScriptLine(std::string_view line) {
  ScriptLine parsed;
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  std::size_t at = skipBlanks(line, 0);
  if (at == line.size() || line[at] == '#') return parsed;

  // "save FILE" before the request writes its answer to FILE.
  if (line.substr(at, 5) == "save " || line.substr(at, 5) == "save\t") {
    const std::size_t fileStart = skipBlanks(line, at + 5);
    const std::size_t fileEnd = tokenEnd(line, fileStart);
    parsed.saveTo.assign(line.substr(fileStart, fileEnd - fileStart));
    at = skipBlanks(line, fileEnd);
  } else if (isNameStart(line[at])) {
    // "NAME =" before the request captures its answer.
    std::size_t nameEnd = at;
    while (nameEnd < line.size() && isNameChar(line[nameEnd])) ++nameEnd;
    const std::size_t equals = skipBlanks(line, nameEnd);
    if (equals < line.size() && line[equals] == '=') {
      parsed.capture.assign(line.substr(at, nameEnd - at));
      at = skipBlanks(line, equals + 1);
      parsed.selector = ".value";
      if (at < line.size() && line[at] == '.') {
        const std::size_t selectorEnd = tokenEnd(line, at);
        parsed.selector.assign(line.substr(at, selectorEnd - at));
        if (!validSelector(parsed.selector)) {
          parsed.error = "\"" + parsed.selector +
                         "\" is no path into the answer: write .value, .value.XYZ.Y or .value.0";
          return parsed;
        }
        at = skipBlanks(line, selectorEnd);
      }
    }
  }

  const std::size_t methodEnd = tokenEnd(line, at);
  parsed.method.assign(line.substr(at, methodEnd - at));
  std::transform(parsed.method.begin(), parsed.method.end(), parsed.method.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  at = skipBlanks(line, methodEnd);
  const std::size_t pathEnd = tokenEnd(line, at);
  parsed.target.assign(line.substr(at, pathEnd - at));
  if (parsed.method.empty() || parsed.target.empty() || parsed.target.front() != '/') {
    parsed.error = !parsed.saveTo.empty() ? "expected save FILE METHOD PATH [body]"
                   : parsed.capture.empty()
                       ? "expected METHOD PATH [body], with a path starting with /"
                       : "expected METHOD PATH [body] after \"" + parsed.capture + " =\"";
    return parsed;
  }
  parsed.body.assign(line.substr(skipBlanks(line, pathEnd)));
  parsed.isRequest = true;
  return parsed;
}

bool substituteVariables(std::string_view text, const ScriptVariables& variables,
                         std::string& result, std::string& error, std::string* missing) {
  std::string out;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] != '$' || at + 1 == text.size()) {
      out += text[at];
      continue;
    }
    const char next = text[at + 1];
    std::string_view name;
    std::size_t end = at + 1;
    if (next == '$') {
      out += '$';
      ++at;
      continue;
    }
    if (next == '{') {
      const std::size_t close = text.find('}', at + 2);
      if (close == std::string_view::npos) {
        error = "unterminated ${ (write ${name}, or $$ for a dollar sign)";
        return false;
      }
      name = text.substr(at + 2, close - at - 2);
      end = close + 1;
    } else if (isNameStart(next)) {
      end = at + 1;
      while (end < text.size() && isNameChar(text[end])) ++end;
      name = text.substr(at + 1, end - at - 1);
    } else {
      out += '$';
      continue;
    }
    const auto found = variables.find(std::string(name));
    if (found == variables.end()) {
      error = "unknown variable $" + std::string(name);
      if (missing) *missing = name;
      return false;
    }
    out += found->second;
    at = end - 1;
  }
  result = std::move(out);
  return true;
}

bool selectFromAnswer(const std::string& envelope, const std::string& selector,
                      std::string& text, std::string& error) {
  cairnjson::Parser parser;
  cairnjson::Value answer;
  if (!parser.parse(envelope, answer)) {
    error = "the answer is not JSON, so nothing can be taken from it";
    return false;
  }
  const cairnjson::Value* current = &answer;
  std::size_t at = 1;
  while (at <= selector.size()) {
    const std::size_t dot = std::min(selector.find('.', at), selector.size());
    const std::string segment = selector.substr(at, dot - at);
    std::size_t index = 0;
    const auto [end, failed] =
        std::from_chars(segment.data(), segment.data() + segment.size(), index);
    const bool isIndex = failed == std::errc() && end == segment.data() + segment.size();
    if (current->isObject() && current->contains(segment)) {
      current = &(*current)[segment];
    } else if (current->isArray() && isIndex && index < current->size()) {
      current = &(*current)[static_cast<unsigned long>(index)];
    } else {
      error = "the answer has no " + selector.substr(0, dot);
      return false;
    }
    at = dot + 1;
  }
  if (current->isNull()) {
    error = "the answer's " + selector + " is null";
    return false;
  }
  text = current->isString() ? current->stringRef() : cairnjson::Serializer::compact(*current);
  return true;
}

WakePipe::WakePipe() {
  if (pipe2(ends_, O_CLOEXEC | O_NONBLOCK) != 0) ends_[0] = ends_[1] = -1;
}

WakePipe::~WakePipe() {
  for (const int end : ends_) {
    if (end >= 0) close(end);
  }
}

void WakePipe::wake() {
  if (ends_[1] < 0) return;
  const char byte = 1;
  [[maybe_unused]] const ssize_t written = write(ends_[1], &byte, 1);
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
    pollfd watched[2] = {{fd_, POLLIN, 0}, {wakePipe_.readEnd(), POLLIN, 0}};
    if (poll(watched, wakePipe_.readEnd() >= 0 ? 2 : 1, -1) < 0) {
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

std::string summaryText(const ScriptOutcome& outcome) {
  return std::to_string(outcome.requests) + (outcome.requests == 1 ? " request, " : " requests, ") +
         std::to_string(outcome.succeeded) + " answered 2xx, " + std::to_string(outcome.failures) +
         " failed";
}

ScriptRunner::ScriptRunner(Frontend& frontend, std::FILE* out, std::FILE* errors,
                           ScriptSettings settings)
    : frontend_(frontend), out_(out), errors_(errors), settings_(std::move(settings)) {}

void ScriptRunner::fail(int number, const std::string& message) {
  ++outcome_.failures;
  if (settings_.sourceName.empty()) {
    std::fprintf(errors_, "line %d: %s\n", number, message.c_str());
  } else {
    std::fprintf(errors_, "%s:%d: %s\n", settings_.sourceName.c_str(), number, message.c_str());
  }
  std::fflush(errors_);
}

bool ScriptRunner::runShellCommand(const std::string& command) {
  if (command == "help") {
    std::fputs(shellHelpText().c_str(), out_);
  } else if (command == "vars") {
    if (variables_.empty()) std::fputs("no variables yet: NAME = METHOD PATH sets one\n", out_);
    for (const auto& [name, value] : variables_) {
      std::fprintf(out_, "%s = %s\n", name.c_str(), value.c_str());
    }
  }
  std::fflush(out_);
  return command != "quit" && command != "exit";
}

bool ScriptRunner::runLine(const std::string& text, int number) {
  if (settings_.shellCommands) {
    std::string word = text;
    word.erase(0, word.find_first_not_of(" \t"));
    word.erase(word.find_last_not_of(" \t\r") + 1);
    if (word == "help" || word == "vars" || word == "quit" || word == "exit") {
      return runShellCommand(word);
    }
  }
  const ScriptLine line = parseScriptLine(text);
  if (!line.isRequest && line.error.empty()) return true;
  ++outcome_.requests;
  if (!line.error.empty()) {
    fail(number, line.error + (settings_.shellCommands ? " (help lists what a line can be)" : ""));
    return true;
  }
  std::string target;
  std::string body;
  std::string echo;
  std::string file;
  std::string error;
  std::string missing;
  if (!substituteVariables(line.target, variables_, target, error, &missing) ||
      !substituteVariables(line.saveTo, variables_, file, error, &missing) ||
      !substituteVariables(line.body, variables_, body, error, &missing) ||
      !substituteVariables(text.substr(0, text.find_last_not_of('\r') + 1), variables_, echo,
                           error, &missing)) {
    if (const auto failed = failedCaptures_.find(missing); failed != failedCaptures_.end()) {
      error += " (line " + std::to_string(failed->second) + ", which was to set it, failed)";
    }
    fail(number, error);
    if (!line.capture.empty()) failedCaptures_[line.capture] = number;
    return true;
  }
  if (settings_.echo) std::fprintf(out_, "> %s\n", echo.c_str());
  const HostResponse answer = frontend_.handle(line.method, target, body);
  const bool succeeded = answer.status >= 200 && answer.status <= 299;
  if (!file.empty() && succeeded) {
    std::ofstream saved(file, std::ios::binary | std::ios::trunc);
    saved << answer.body;
    saved.close();
    if (!saved) {
      fail(number, "cannot write " + file + ": " + std::strerror(errno));
      return true;
    }
    std::fprintf(out_, "%d saved %s (%zu bytes)\n", answer.status, file.c_str(),
                 answer.body.size());
  } else {
    std::fprintf(out_, "%d %s\n", answer.status, answer.body.c_str());
  }
  std::fflush(out_);

  if (!succeeded) {
    fail(number, line.method + " " + target + " answered " + std::to_string(answer.status) + ": " +
                     answerMessage(answer));
    if (!line.capture.empty()) failedCaptures_[line.capture] = number;
    return true;
  }
  if (!line.capture.empty()) {
    std::string value;
    if (!selectFromAnswer(answer.body, line.selector, value, error)) {
      fail(number, line.capture + " was not set: " + error);
      failedCaptures_[line.capture] = number;
      return true;
    }
    variables_[line.capture] = value;
    variables_[line.capture + "_time"] = quilbycolour::currentUtcTime();
    failedCaptures_.erase(line.capture);
    if (settings_.showCaptures) {
      std::fprintf(errors_, "$%s = %s\n", line.capture.c_str(), value.c_str());
      std::fflush(errors_);
    }
  }
  ++outcome_.succeeded;
  return true;
}

ScriptOutcome runScript(Frontend& frontend, LineSource& source, std::FILE* out,
                        std::FILE* errors, const ScriptSettings& settings) {
  ScriptRunner runner(frontend, out, errors, settings);
  std::string text;
  for (int number = 1; source.next(text); ++number) {
    if (!runner.runLine(text, number)) break;
  }
  return runner.outcome();
}

std::string shellHelpText() {
  return "A line is a request, answered as STATUS BODY:\n"
         "  METHOD PATH [body]         GET /Sensors?connected\n"
         "                             PUT /Sensors/$sensor/Mode {\"mode\": 0, \"observerKey\": 0}\n"
         "  NAME = METHOD PATH [body]  keeps the answer's value in $NAME:\n"
         "                             sensor = POST /Monitors/QM7A0451/QM-27-Studio-Lab/Sensor\n"
         "  NAME = .PATH METHOD PATH   keeps a part of the answer:\n"
         "                             Y = .value.XYZ.Y GET /Sensors/$sensor/XYZ\n"
         "                             (and the time of the answer in $NAME_time)\n"
         "  save FILE METHOD PATH      writes the answer's body to FILE:\n"
         "                             save white.csv POST /colour/export?format=csv {...}\n"
         "$NAME or ${NAME} in a path or body is the variable's value; $$ is a dollar sign.\n"
         "Every route works: the plug-in's (/Sensors/...), /bridge/..., /sim/..., /host/...,\n"
         "/colour/... (docs/api.md). Lines starting with # are comments.\n"
         "Commands: help, vars (the variables), quit or exit (or Ctrl-D).\n";
}

}  // namespace quilbyhost
