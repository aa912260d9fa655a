#include "bridge/logger.h"

#include "bridge/library_path.h"
#include "quilby/logging.h"

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
  const int status = static_cast<int>(result.code);
  std::string line = "statusCode:" + std::to_string(status) + "\tmethod:" + method + "\turi:" + uri;
  if (status >= 200 && status <= 299) {
    log(kLogSuccess, line + "\tmsg:Success");
    return;
  }
  line += "\terr:" + result.error.name + "\tmsg:" + result.error.message;
  const cairnjson::Value& extra = result.error.value;
  if (extra.isObject() && extra.contains("code")) {
    char code[16];
    std::snprintf(code, sizeof code, "%08x", extra["code"].toUInt(0));
    line += std::string("\tcode:0x") + code;
  }
  log(kLogFailure, line);
}

QuilbyLogger::QuilbyLogger() : LoggerBase("Quilby") {}

QuilbyLogger& QuilbyLogger::Instance() {
  static QuilbyLogger logger;
  return logger;
}

}  // namespace vesk
