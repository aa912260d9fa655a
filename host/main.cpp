// quilby-host: the development host. Loads libquilby.so as a host application does, and drives
// it from HTTP (bridge route, REST routes, web console) or from lines of text (run, shell).
#include "frontend.h"
#include "host_thread.h"
#include "http_server.h"
#include "options.h"
#include "plugin_host.h"
#include "script.h"
#include "simulator.h"

#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <thread>

namespace {

using namespace quilbyhost;

// Waits for SIGINT and SIGTERM on a thread of its own (they are blocked everywhere else), so
// that shutting down runs as ordinary code: the first signal calls the stop action, a second one
// ends the process at once in case tearing down hangs.
class SignalWatcher {
 public:
  SignalWatcher() {
    sigemptyset(&signals_);
    sigaddset(&signals_, SIGINT);
    sigaddset(&signals_, SIGTERM);
    // Before any other thread exists, so that every thread inherits the mask.
    pthread_sigmask(SIG_BLOCK, &signals_, nullptr);
    thread_ = std::thread([this] { watch(); });
  }
  ~SignalWatcher() {
    done_ = true;
    thread_.join();
  }
  SignalWatcher(const SignalWatcher&) = delete;
  SignalWatcher& operator=(const SignalWatcher&) = delete;

  void onSignal(std::function<void()> stop) {
    const std::lock_guard<std::mutex> lock(mutex_);
    stop_ = std::move(stop);
  }

 private:
  void watch() {
    int received = 0;
    while (!done_) {
      const timespec interval = {0, 100 * 1000 * 1000};
      const int signal = sigtimedwait(&signals_, nullptr, &interval);
      if (signal < 0) continue;
      if (++received > 1) _exit(128 + signal);
      std::fprintf(stderr, "quilby-host: %s, shutting down\n",
                   signal == SIGINT ? "interrupted" : "terminated");
      const std::lock_guard<std::mutex> lock(mutex_);
      if (stop_) stop_();
    }
  }

  sigset_t signals_;
  std::atomic<bool> done_{false};
  // Guards stop_.
  std::mutex mutex_;
  std::function<void()> stop_;
  std::thread thread_;
};

int serve(Frontend& frontend, const HostOptions& options, SignalWatcher& watcher) {
  HttpServer server(frontend, options.server);
  std::string error;
  if (!server.bind(error)) {
    std::fprintf(stderr, "quilby-host: %s\n", error.c_str());
    return 1;
  }
  watcher.onSignal([&server] { server.stop(); });
  std::printf("quilby-host: console at %s\n", server.url().c_str());
  std::fflush(stdout);
  const bool served = server.serve();
  watcher.onSignal(nullptr);
  return served ? 0 : 1;
}

int runLines(Frontend& frontend, const HostOptions& options, SignalWatcher& watcher) {
  const bool fromFile = options.mode == Mode::Run;
  const int fd = fromFile ? open(options.file.c_str(), O_RDONLY | O_CLOEXEC) : STDIN_FILENO;
  if (fd < 0) {
    std::fprintf(stderr, "quilby-host: cannot read %s\n", options.file.c_str());
    return 2;
  }
  int status = 0;
  {
    LineReader reader(fd);
    watcher.onSignal([&reader] { reader.wake(); });
    const bool prompt = !fromFile && isatty(STDIN_FILENO) != 0;
    const ScriptOutcome outcome = runScript(frontend, reader, stdout, stderr, fromFile, prompt);
    watcher.onSignal(nullptr);
    if (fromFile && outcome.failures > 0) status = 1;
  }
  if (fromFile) close(fd);
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  const OptionDefaults defaults{QUILBY_HOST_EXPORTS_DIR, QUILBY_HOST_CONSOLE_DIR};
  HostOptions options;
  std::string error;
  if (!parseOptions(std::vector<std::string>(argv + 1, argv + argc), defaults, options, error)) {
    std::fprintf(stderr, "quilby-host: %s\n(quilby-host --help lists the commands and flags)\n",
                 error.c_str());
    return 2;
  }
  if (options.mode == Mode::Help) {
    std::fputs(usageText(defaults).c_str(), stdout);
    return 0;
  }
  // The simulator reads it when the plug-in first reaches a device library.
  if (!options.world.empty()) setenv("QUILBY_SIM_WORLD", options.world.c_str(), 1);
  signal(SIGPIPE, SIG_IGN);

  SignalWatcher watcher;
  HostThread hostThread;
  PluginHost& host = PluginHost::Instance();
  host.configure(options.settings);
  const std::string plugin = options.settings.exportsPath + "/libquilby.so";
  if (!hostThread.run([&] { return host.load(plugin, error); })) {
    std::fprintf(stderr, "quilby-host: %s\n", error.c_str());
    return 1;
  }
  hostThread.run([&] { host.setUp(); });
  std::unique_ptr<Simulator> simulator = Simulator::attach();
  std::fprintf(stderr, "quilby-host: %s loaded, Setup called; %s\n", plugin.c_str(),
               !simulator             ? "no simulator (real device libraries)"
               : !std::getenv("QUILBY_SIM_WORLD")
                   ? "simulated device world: built-in"
                   : "simulated device world: from QUILBY_SIM_WORLD");
  if (const std::string refused = simulator ? simulator->lastError() : ""; !refused.empty()) {
    std::fprintf(stderr, "quilby-host: the world file was refused (%s); the built-in world is "
                         "used\n", refused.c_str());
  }

  int status = 0;
  {
    Frontend frontend(hostThread, simulator.get(), options.server.consoleDirectory);
    status = options.mode == Mode::Serve ? serve(frontend, options, watcher)
                                         : runLines(frontend, options, watcher);
  }
  hostThread.run([&] {
    host.tearDown();
    host.unload();
  });
  std::fprintf(stderr, "quilby-host: TearDown called, plug-in unloaded\n");
  return status;
}
