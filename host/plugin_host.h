// quilbyhost::PluginHost: runs libquilby.so as a host application would.
//
// It provides the host interface (quilby/host.h: promise ids, answer delivery, the plug-in's
// directories and names), loads the plug-in with dlopen, calls Setup/TearDown and the resource
// entry points, and keeps the answer delivered for each promise id. A program that links this
// library must export its symbols to the plug-in (CMake ENABLE_EXPORTS, i.e. -rdynamic), since
// the host functions have to be in the global scope before the plug-in is loaded.
//
// There is one host per process, as the host functions are global. Thread-safe.
#ifndef QUILBY_HOST_PLUGIN_HOST_H
#define QUILBY_HOST_PLUGIN_HOST_H

#include "util/library_handle.h"

#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace quilbyhost {

// What the host reports to the plug-in.
struct HostSettings {
  // The directory holding libquilby.so and the device libraries (Plg_GetRegistryExportsPath).
  std::string exportsPath;
  // The web page directory, which holds "did.json" (Plg_GetRegistryHtmlPath).
  std::string htmlPath;
  // The registry directory, root of the measurement subprocess bundle (Plg_GetRegistryPath).
  std::string registryPath;
  std::string architecture = "x86_64";
  std::string applicationName = "Quilby Host";
};

// One answer as the host received it.
struct Answer {
  int promiseId = 0;
  int status = 0;
  std::string envelope;
};

class PluginHost {
 public:
  static PluginHost& Instance();

  // Replaces the settings; the plug-in reads them when it needs them.
  void configure(const HostSettings& settings);
  HostSettings settings() const;

  // Loads the plug-in from `path` (RTLD_NOW, RTLD_LOCAL). False with a reason in `error` when it
  // cannot be loaded or lacks Setup/TearDown; an already loaded plug-in is unloaded first.
  bool load(const std::string& path, std::string& error);
  // Unloads the plug-in (without calling TearDown). Nothing happens when none is loaded.
  void unload();
  bool loaded() const;

  // Call the plug-in's Setup / TearDown. False when no plug-in is loaded.
  bool setUp();
  bool tearDown();

  // Calls the entry point `entryPoint` with the four texts and returns the answer delivered for
  // the promise id it returned. False with a reason in `error` when no plug-in is loaded, the
  // entry point does not exist, or the plug-in returned without delivering exactly one answer
  // for that promise id.
  bool call(const std::string& entryPoint, const std::string& request,
            const std::string& parameters, const std::string& query, const std::string& data,
            Answer& answer, std::string& error);

  // Removes and returns every answer delivered for `promiseId` (normally exactly one).
  std::vector<Answer> takeAnswers(int promiseId);

  // The looked-up address of an exported function of the plug-in, or null.
  void* symbol(const std::string& name) const;

  // Used by the host interface functions.
  int createPromiseId();
  void deliver(int promiseId, int status, const char* json);
  const char* exportsPath() const;
  const char* htmlPath() const;
  const char* registryPath() const;
  const char* architecture() const;
  const char* applicationName() const;

 private:
  PluginHost() = default;

  // Guards everything below.
  mutable std::mutex mutex_;
  HostSettings settings_;
  vesk::LibraryHandle plugin_;
  int nextPromiseId_ = 1;
  std::map<int, std::vector<Answer>> delivered_;
};

}  // namespace quilbyhost

#endif  // QUILBY_HOST_PLUGIN_HOST_H
