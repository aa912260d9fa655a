#include "bridge/logger.h"

#include "bridge/library_path.h"
#include "quilby/logging.h"

#include <charconv>
#include <cstdio>

#include <dlfcn.h>

namespace vesk {

LoggerBase::LoggerBase(std::string name)
    : name_(std::move(name)),
      path_(LibraryPathInExports("libmirelto2")),
      library_(path_.text().c_str(), RTLD_LAZY) {
  if (!library_) return;
  const auto getLogger =
      reinterpret_cast<decltype(&mirelto_get_logger)>(library_.symbol("mirelto_get_logger"));
  if (getLogger) logger_ = getLogger();
}

LoggerBase::~LoggerBase() = default;

void LoggerBase::log(MireltoLevel level, const std::string& text) {
  if (!logger_) return;
  // Looked up on every call, as the library may be replaced while the logger lives.
  const auto write = reinterpret_cast<decltype(&mirelto_log)>(library_.symbol("mirelto_log"));
  if (write) write(logger_, name_.c_str(), level, text.c_str());
}

void LoggerBase::logResult(const std::string& method, const std::string& uri,
                           const BridgeResult& result) {
  if (!logger_) return;
  const int status = static_cast<int>(result.code);
  const BridgeError& error = result.error;
  // The whole line in one buffer, sized for it up front.
  std::string line;
  line.reserve(64 + method.size() + uri.size() + error.name.size() + error.message.size());
  char number[16];
  const auto end = std::to_chars(number, number + sizeof number, status).ptr;
  line.append("statusCode:").append(number, end);
  line.append("\tmethod:").append(method).append("\turi:").append(uri);
  if (status >= 200 && status <= 299) {
    line.append("\tmsg:Success");
    log(kLogSuccess, line);
    return;
  }
  line.append("\terr:").append(error.name).append("\tmsg:").append(error.message);
  if (error.value.isObject() && error.value.contains("code")) {
    char code[16];
    std::snprintf(code, sizeof code, "%08x", error.value["code"].toUInt(0));
    line.append("\tcode:0x").append(code);
  }
  log(kLogFailure, line);
}

QuilbyLogger::QuilbyLogger() : LoggerBase("Quilby") {}

QuilbyLogger& QuilbyLogger::Instance() {
  static QuilbyLogger logger;
  return logger;
}

}  // namespace vesk
