// libmirelto2_x64.so: the logging library. Lines go to the file named by QUILBY_LOG, else to
// standard error.
#include "src/implementations.h"
#include "src/simulator.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>

namespace quilbysim::impl {
namespace {

// "2024-03-14T09:26:53.589Z": UTC with milliseconds.
std::string timestamp() {
  const auto now = std::chrono::system_clock::now();
  const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
  const auto milliseconds =
      std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
  std::tm utc{};
  gmtime_r(&seconds, &utc);
  char text[96];  // room for any int the fields may hold
  std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", utc.tm_year + 1900,
                utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec,
                static_cast<int>(milliseconds));
  return text;
}

// Appends one line, flushed at once, so that a crash loses nothing written before it. The file is
// opened per line: QUILBY_LOG may change between lines, and nothing stays open at exit.
void writeLine(const std::string& line) {
  const char* path = std::getenv("QUILBY_LOG");
  if (path && *path) {
    if (std::FILE* file = std::fopen(path, "a")) {
      std::fwrite(line.data(), 1, line.size(), file);
      std::fclose(file);
      return;
    }
  }
  std::fwrite(line.data(), 1, line.size(), stderr);
  std::fflush(stderr);
}

}  // namespace

void* mirelto_get_logger(void) {
  Call call("mirelto_get_logger", {});
  const void* ours = call.simulator().logger();
  return call.value<void*>(
      nullptr, [ours](const void* logger) { return form::logger(logger, ours); },
      [&] { return const_cast<void*>(ours); });
}

void mirelto_log(void* logger, const char* name, MireltoLevel level, const char* text) {
  const void* ours = Simulator::Instance().logger();
  Call call("mirelto_log",
            {form::logger(logger, ours), form::text(name), form::integer(level), form::text(text)});
  call.action([&] {
    if (logger != ours) return;
    writeLine(timestamp() + "\t" + (name ? name : "") + "\t" + std::to_string(level) + "\t" +
              (text ? text : "") + "\n");
  });
}

}  // namespace quilbysim::impl
