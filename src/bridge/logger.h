// The plug-in's log, written through the logging library when it is present.
#ifndef QUILBY_BRIDGE_LOGGER_H
#define QUILBY_BRIDGE_LOGGER_H

#include "bridge/bridge_result.h"
#include "quilby/device_types.h"
#include "util/library_handle.h"
#include "util/path.h"

#include <string>

namespace vesk {

// Log levels of the logging library used by the plug-in.
inline constexpr MireltoLevel kLogSuccess = 2;
inline constexpr MireltoLevel kLogInformation = 3;
inline constexpr MireltoLevel kLogFailure = 5;

// A named logger on the logging library `libmirelto2_x64.so` of the plug-in's exports directory.
// The library is opened once, when the logger is made; when it or its functions are missing,
// every call is a no-operation. Logging never fails a request.
class LoggerBase {
 public:
  explicit LoggerBase(std::string name);
  LoggerBase(const LoggerBase&) = delete;
  LoggerBase& operator=(const LoggerBase&) = delete;
  virtual ~LoggerBase();

  // Sends one line at `level`.
  void log(MireltoLevel level, const std::string& text);

  // Sends the line of a finished request, tab-separated:
  //   statusCode:200  method:GET  uri:/quilby/Sensors  msg:Success           (level 2)
  //   statusCode:500  method:PUT  uri:...  err:EmError  msg:Failed.  code:0x80000000  (level 5)
  // The code is written when the error's extra members hold "code".
  void logResult(const std::string& method, const std::string& uri, const BridgeResult& result);

 private:
  std::string name_;
  fs::Path path_;
  LibraryHandle library_;
  void* logger_ = nullptr;
};

// The plug-in's logger, named "Quilby".
class QuilbyLogger : public LoggerBase {
 public:
  // Made on first use, which opens the logging library; thread-safe.
  static QuilbyLogger& Instance();

 private:
  QuilbyLogger();
};

}  // namespace vesk

#endif  // QUILBY_BRIDGE_LOGGER_H
