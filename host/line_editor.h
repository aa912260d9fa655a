// Lines typed at a terminal, with line editing and history (libedit's readline interface), for
// `quilby-host shell`.
#ifndef QUILBY_HOST_LINE_EDITOR_H
#define QUILBY_HOST_LINE_EDITOR_H

#include "script.h"

#include <string>

namespace quilbyhost {

// Reads standard input, which must be a terminal, showing `prompt` on standard error (standard
// output carries only the answers). Lines that are not blank go into the history, which is read
// from `historyFile` at construction and written back at destruction (empty: no file). Ctrl-D on
// an empty line ends the input. One editor at a time: the readline interface is global.
class LineEditor : public LineSource {
 public:
  LineEditor(std::string prompt, std::string historyFile);
  ~LineEditor() override;
  LineEditor(const LineEditor&) = delete;
  LineEditor& operator=(const LineEditor&) = delete;

  bool next(std::string& line) override;

 private:
  static void received(char* line);

  std::string prompt_;
  std::string historyFile_;
  // What the callback of the readline interface hands over.
  bool done_ = false;
  bool ended_ = false;
  std::string line_;
};

// The history file of the shell: ~/.quilby-host_history, or empty without a home directory.
std::string defaultHistoryFile();

}  // namespace quilbyhost

#endif  // QUILBY_HOST_LINE_EDITOR_H
