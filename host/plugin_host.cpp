#include "plugin_host.h"

#include "quilby/host.h"

#include <dlfcn.h>

namespace quilbyhost {

PluginHost& PluginHost::Instance() {
  static PluginHost host;
  return host;
}

void PluginHost::configure(const HostSettings& settings) {
  const std::lock_guard<std::mutex> lock(mutex_);
  settings_ = settings;
}

HostSettings PluginHost::settings() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return settings_;
}

bool PluginHost::load(const std::string& path, std::string& error) {
  unload();
  vesk::LibraryHandle plugin(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!plugin) {
    const char* reason = dlerror();
    error = "cannot load " + path + ": " + (reason ? reason : "unknown reason");
    return false;
  }
  if (!plugin.symbol("Setup") || !plugin.symbol("TearDown")) {
    error = path + " is not the plug-in: Setup or TearDown is missing";
    return false;
  }
  const std::lock_guard<std::mutex> lock(mutex_);
  plugin_ = std::move(plugin);
  return true;
}

void PluginHost::unload() {
  vesk::LibraryHandle plugin;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    plugin = std::move(plugin_);
  }
  // Closed outside the lock: unloading runs the plug-in's destructors, which may log or answer.
  plugin.reset();
}

bool PluginHost::loaded() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return static_cast<bool>(plugin_);
}

void* PluginHost::symbol(const std::string& name) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return plugin_ ? plugin_.symbol(name.c_str()) : nullptr;
}

bool PluginHost::setUp() {
  const auto function = reinterpret_cast<void (*)()>(symbol("Setup"));
  if (!function) return false;
  function();
  return true;
}

bool PluginHost::tearDown() {
  const auto function = reinterpret_cast<void (*)()>(symbol("TearDown"));
  if (!function) return false;
  function();
  return true;
}

bool PluginHost::call(const std::string& entryPoint, const std::string& request,
                      const std::string& parameters, const std::string& query,
                      const std::string& data, Answer& answer, std::string& error) {
  using EntryPoint = int (*)(const char*, const char*, const char*, const char*);
  if (!loaded()) {
    error = "no plug-in is loaded";
    return false;
  }
  const auto function = reinterpret_cast<EntryPoint>(symbol(entryPoint));
  if (!function) {
    error = "the plug-in has no entry point " + entryPoint;
    return false;
  }
  const int promiseId = function(request.c_str(), parameters.c_str(), query.c_str(), data.c_str());
  const std::vector<Answer> answers = takeAnswers(promiseId);
  if (answers.size() != 1) {
    error = entryPoint + " returned promise " + std::to_string(promiseId) + " with " +
            std::to_string(answers.size()) + " answers delivered for it";
    return false;
  }
  answer = answers.front();
  return true;
}

std::vector<Answer> PluginHost::takeAnswers(int promiseId) {
  const std::lock_guard<std::mutex> lock(mutex_);
  std::vector<Answer> answers;
  const auto found = delivered_.find(promiseId);
  if (found != delivered_.end()) {
    answers = std::move(found->second);
    delivered_.erase(found);
  }
  return answers;
}

int PluginHost::createPromiseId() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return nextPromiseId_++;
}

void PluginHost::deliver(int promiseId, int status, const char* json) {
  const std::lock_guard<std::mutex> lock(mutex_);
  delivered_[promiseId].push_back(Answer{promiseId, status, json ? json : ""});
}

const char* PluginHost::exportsPath() const { return settings_.exportsPath.c_str(); }
const char* PluginHost::htmlPath() const { return settings_.htmlPath.c_str(); }
const char* PluginHost::registryPath() const { return settings_.registryPath.c_str(); }
const char* PluginHost::architecture() const { return settings_.architecture.c_str(); }
const char* PluginHost::applicationName() const { return settings_.applicationName.c_str(); }

}  // namespace quilbyhost

// The host interface the plug-in calls.

extern "C" int BridgeHelperCreatePromiseID(void) {
  return quilbyhost::PluginHost::Instance().createPromiseId();
}

extern "C" void BridgeHelperSetResponse(int promiseId, int statusCode, const char* json) {
  quilbyhost::PluginHost::Instance().deliver(promiseId, statusCode, json);
}

extern "C" const char* Plg_GetRegistryExportsPath(void) {
  return quilbyhost::PluginHost::Instance().exportsPath();
}

extern "C" const char* Plg_GetRegistryHtmlPath(void) {
  return quilbyhost::PluginHost::Instance().htmlPath();
}

extern "C" const char* Plg_GetRegistryPath(void) {
  return quilbyhost::PluginHost::Instance().registryPath();
}

extern "C" const char* Plg_GetArchitecture(void) {
  return quilbyhost::PluginHost::Instance().architecture();
}

extern "C" const char* Plg_GetApplicationName(void) {
  return quilbyhost::PluginHost::Instance().applicationName();
}
