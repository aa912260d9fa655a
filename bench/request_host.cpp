#include "request_host.h"

#include "quilby/host.h"
#include "quilby/logging.h"
#include "quilby_sim/control.h"

#include <dlfcn.h>
#include <stdlib.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <string>

namespace quilby_bench {
namespace {

std::atomic<std::uint64_t> allocations{0};

void* allocate(std::size_t size) {
  allocations.fetch_add(1, std::memory_order_relaxed);
  if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
  throw std::bad_alloc();
}

void* allocateAligned(std::size_t size, std::align_val_t alignment) {
  allocations.fetch_add(1, std::memory_order_relaxed);
  const std::size_t align = static_cast<std::size_t>(alignment);
  if (void* memory = std::aligned_alloc(align, (size + align - 1) / align * align)) return memory;
  throw std::bad_alloc();
}

struct Host {
  std::string exportsPath = QUILBY_BENCH_EXPORTS_DIR;
  std::string buildExportsPath = QUILBY_BUILD_EXPORTS_DIR;
  std::string htmlPath;
  int nextPromise = 0;
  int status = 0;
  std::string answer;
  void* plugin = nullptr;
  void* logging = nullptr;
  void* loggerObject = nullptr;
  decltype(&mirelto_log) write = nullptr;
};

Host& host() {
  static Host instance;
  return instance;
}

}  // namespace

std::uint64_t allocationCount() { return allocations.load(std::memory_order_relaxed); }

std::string_view lastAnswer() { return host().answer; }
int lastStatus() { return host().status; }

bool loadPlugin() {
  Host& state = host();
  // An empty web page directory: no "did.json", so no measurement subprocess.
  char directory[] = "/tmp/quilby-bench-XXXXXX";
  if (!mkdtemp(directory)) return false;
  state.htmlPath = directory;
  state.answer.reserve(1 << 16);
  // The build's exports, but for the logging library, which is the quiet one already there.
  namespace fsys = std::filesystem;
  for (const fsys::directory_entry& file : fsys::directory_iterator(state.buildExportsPath)) {
    const fsys::path link = fsys::path(state.exportsPath) / file.path().filename();
    if (!fsys::exists(link)) fsys::create_symlink(file.path(), link);
  }
  QuilbySimReset();
  const std::string path = state.exportsPath + "/libquilby.so";
  state.plugin = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!state.plugin) {
    std::fprintf(stderr, "request_bench: cannot load %s: %s\n", path.c_str(), dlerror());
    return false;
  }
  reinterpret_cast<void (*)()>(dlsym(state.plugin, "Setup"))();
  const std::string logging = state.exportsPath + "/libmirelto2_x64.so";
  state.logging = dlopen(logging.c_str(), RTLD_LAZY | RTLD_LOCAL);
  if (!state.logging) return false;
  state.loggerObject =
      reinterpret_cast<decltype(&mirelto_get_logger)>(dlsym(state.logging, "mirelto_get_logger"))();
  state.write = reinterpret_cast<decltype(&mirelto_log)>(dlsym(state.logging, "mirelto_log"));
  return state.write != nullptr;
}

void unloadPlugin() {
  Host& state = host();
  if (!state.plugin) return;
  reinterpret_cast<void (*)()>(dlsym(state.plugin, "TearDown"))();
  dlclose(state.plugin);
  state.plugin = nullptr;
  if (state.logging) dlclose(state.logging);
  rmdir(state.htmlPath.c_str());
}

EntryPoint entryPoint(const char* name) {
  return reinterpret_cast<EntryPoint>(dlsym(host().plugin, name));
}

int send(EntryPoint function, const Request& request) {
  return function(request.request.c_str(), request.parameters.c_str(), request.query.c_str(),
                  request.data.c_str());
}

std::string openSensor(MDDeviceID deviceID) {
  send(entryPoint("DeviceID"),
       Request{"DeviceID", R"({"method":"POST"})", R"({"deviceID":)" + std::to_string(deviceID) + "}",
               "", ""});
  const std::string_view answer = lastAnswer();
  const std::size_t start = answer.find("\"value\":\"");
  if (lastStatus() != 200 || start == std::string_view::npos) return "";
  return std::string(answer.substr(start + 9, 36));
}

MDHandle handleOf(const std::string& id) {
  MDHandle handle = nullptr;
  reinterpret_cast<int (*)(const char*, MDHandle*)>(
      dlsym(host().plugin, "SensorControlGetHandleForID"))(id.c_str(), &handle);
  return handle;
}

int deliver(int status, std::string_view answer) {
  const int promiseId = BridgeHelperCreatePromiseID();
  host().answer.assign(answer);
  host().status = status;
  return promiseId;
}

void* logger() { return host().loggerObject; }

void log(MireltoLevel level, const char* line) {
  host().write(host().loggerObject, "Quilby", level, line);
}

}  // namespace quilby_bench

// ---- The host interface ---------------------------------------------------------------------

extern "C" {

int BridgeHelperCreatePromiseID(void) { return ++quilby_bench::host().nextPromise; }

void BridgeHelperSetResponse(int, int statusCode, const char* json) {
  quilby_bench::host().status = statusCode;
  quilby_bench::host().answer.assign(json ? json : "");
}

const char* Plg_GetRegistryExportsPath(void) { return quilby_bench::host().exportsPath.c_str(); }
const char* Plg_GetRegistryHtmlPath(void) { return quilby_bench::host().htmlPath.c_str(); }
const char* Plg_GetRegistryPath(void) { return quilby_bench::host().exportsPath.c_str(); }
const char* Plg_GetArchitecture(void) { return "x86_64"; }
const char* Plg_GetApplicationName(void) { return "Quilby Bench"; }

}  // extern "C"

// ---- Counted allocation ---------------------------------------------------------------------

void* operator new(std::size_t size) { return quilby_bench::allocate(size); }
void* operator new[](std::size_t size) { return quilby_bench::allocate(size); }
void* operator new(std::size_t size, std::align_val_t alignment) {
  return quilby_bench::allocateAligned(size, alignment);
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
  return quilby_bench::allocateAligned(size, alignment);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  try {
    return quilby_bench::allocate(size);
  } catch (...) {
    return nullptr;
  }
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  try {
    return quilby_bench::allocate(size);
  } catch (...) {
    return nullptr;
  }
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
