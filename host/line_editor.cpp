#include "line_editor.h"

#include <editline/readline.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace quilbyhost {

namespace {

// The readline interface calls back a plain function; it reaches the editor reading now.
LineEditor* reading = nullptr;

constexpr int kHistoryLength = 1000;

}  // namespace

std::string defaultHistoryFile() {
  const char* home = std::getenv("HOME");
  return home && *home ? std::string(home) + "/.quilby-host_history" : "";
}

LineEditor::LineEditor(std::string prompt, std::string historyFile)
    : prompt_(std::move(prompt)), historyFile_(std::move(historyFile)) {
  rl_readline_name = "quilby-host";
  rl_instream = stdin;
  rl_outstream = stderr;
  using_history();
  stifle_history(kHistoryLength);
  if (!historyFile_.empty()) read_history(historyFile_.c_str());
}

LineEditor::~LineEditor() {
  if (!historyFile_.empty()) write_history(historyFile_.c_str());
}

void LineEditor::received(char* line) {
  if (!reading) {
    std::free(line);
    return;
  }
  reading->done_ = true;
  if (!line) {
    reading->ended_ = true;
    return;
  }
  reading->line_ = line;
  std::free(line);
  if (reading->line_.find_first_not_of(" \t") != std::string::npos) {
    add_history(reading->line_.c_str());
  }
}

bool LineEditor::next(std::string& line) {
  if (ended_) return false;
  done_ = false;
  reading = this;
  // The handler is installed for one line at a time, so that the terminal is back in its usual
  // mode while a request runs and its answer is printed.
  rl_callback_handler_install(prompt_.c_str(), &LineEditor::received);
  bool woken = false;
  while (!done_ && !woken) {
    pollfd watched[2] = {{STDIN_FILENO, POLLIN, 0}, {wakePipe_.readEnd(), POLLIN, 0}};
    if (poll(watched, wakePipe_.readEnd() >= 0 ? 2 : 1, -1) < 0) {
      if (errno == EINTR) continue;
      break;
    }
    if (watched[1].revents != 0) {
      woken = true;
    } else if (watched[0].revents & POLLIN) {
      rl_callback_read_char();
    } else if (watched[0].revents != 0) {
      // The terminal went away.
      break;
    }
  }
  rl_callback_handler_remove();
  reading = nullptr;
  if (!done_ || ended_) {
    // Ctrl-D or a signal leaves the cursor after the prompt.
    std::fputs("\n", stderr);
    ended_ = true;
    return false;
  }
  line = line_;
  return true;
}

}  // namespace quilbyhost
