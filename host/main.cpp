// quilby-host: the development host. Loads libquilby.so as a host application does, and drives
// it from HTTP (bridge route, REST routes, web console), from lines of text (run, shell), or
// measures with one sensor (measure).
#include "frontend.h"
#include "host_thread.h"
#include "http_server.h"
#include "install_layout.h"
#include "line_editor.h"
#include "measure.h"
#include "options.h"
#include "plugin_host.h"
#include "script.h"
#include "simulator_control.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
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

// A person types the shell's lines: its input is a terminal, and so is standard error, where the
// line editor shows the prompt and the line being edited.
bool typedAtATerminal(const HostOptions& options) {
  return options.mode == Mode::Shell && isatty(STDIN_FILENO) != 0 && isatty(STDERR_FILENO) != 0;
}

// run and shell. `fd` is the request file of run, already opened.
int runLines(Frontend& frontend, const HostOptions& options, SignalWatcher& watcher, int fd) {
  const bool fromFile = options.mode == Mode::Run;
  const bool interactive = typedAtATerminal(options);
  ScriptSettings settings;
  settings.echo = fromFile && !options.quiet;
  settings.shellCommands = !fromFile;
  settings.showCaptures = interactive && !options.quiet;
  settings.sourceName = fromFile ? options.file : "";
  std::unique_ptr<LineSource> source;
  if (interactive) {
    if (!options.quiet) {
      std::fputs("quilby-host: help lists what a line can be; quit or Ctrl-D ends\n", stderr);
    }
    source = std::make_unique<LineEditor>("quilby> ", defaultHistoryFile());
  } else {
    source = std::make_unique<LineReader>(fromFile ? fd : STDIN_FILENO);
  }
  watcher.onSignal([&source] { source->wake(); });
  const ScriptOutcome outcome = runScript(frontend, *source, stdout, stderr, settings);
  watcher.onSignal(nullptr);
  if (!options.quiet) std::fprintf(stderr, "quilby-host: %s\n", summaryText(outcome).c_str());
  return outcome.failures > 0 ? 1 : 0;
}

int measure(Frontend& frontend, bool simulator, const HostOptions& options,
            SignalWatcher& watcher) {
  std::atomic<bool> stop{false};
  watcher.onSignal([&stop] { stop = true; });
  const int status =
      runMeasure(frontend, simulator, options.measure, options.quiet, stdout, stderr, stop);
  watcher.onSignal(nullptr);
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  const OptionDefaults defaults = defaultLocations(
      executableDirectory(), {QUILBY_HOST_INSTALLED_EXPORTS_DIR, QUILBY_HOST_INSTALLED_CONSOLE_DIR});
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
  if (options.mode == Mode::Version) {
    std::printf("%s\n", versionText().c_str());
    return 0;
  }
  // What can fail without the plug-in fails before it is loaded.
  int requestFile = -1;
  if (options.mode == Mode::Run) {
    requestFile = open(options.file.c_str(), O_RDONLY | O_CLOEXEC);
    if (requestFile < 0) {
      std::fprintf(stderr, "quilby-host: cannot read %s: %s\n", options.file.c_str(),
                   std::strerror(errno));
      return 2;
    }
  }
  if (options.mode == Mode::Measure && !checkMeasureFiles(options.measure, error)) {
    std::fprintf(stderr, "quilby-host: %s\n", error.c_str());
    return 2;
  }
  // The simulator reads it when the plug-in first reaches a device library.
  if (!options.world.empty()) setenv("QUILBY_SIM_WORLD", options.world.c_str(), 1);
  // The plug-in's request log would drown what quiet runs, measure and a person at the shell's
  // prompt see, unless it is sent to a file of its own.
  if ((options.quiet || options.mode == Mode::Measure || typedAtATerminal(options)) &&
      !std::getenv("QUILBY_LOG")) {
    setenv("QUILBY_LOG", "/dev/null", 1);
  }
  signal(SIGPIPE, SIG_IGN);

  SignalWatcher watcher;
  HostThread hostThread;
  PluginHost& host = PluginHost::Instance();
  host.configure(options.settings);
  const std::string plugin = options.settings.exportsPath + "/libquilby.so";
  if (!hostThread.run([&] { return host.load(plugin, error); })) {
    std::fprintf(stderr, "quilby-host: %s\n", error.c_str());
    if (requestFile >= 0) close(requestFile);
    return 1;
  }
  hostThread.run([&] { host.setUp(); });
  std::unique_ptr<SimulatorControl> simulator = SimulatorControl::attach();
  // The simulated world is a singleton of libquilbysim.so that lives as long as the library is
  // mapped. Keeping it mapped until the process ends (this handle is never closed) lets the
  // world outlive the unloading of the plug-in at exit instead of vanishing under its heap
  // memory, which leak checkers would otherwise report.
  if (simulator) dlopen("libquilbysim.so", RTLD_LAZY | RTLD_NOLOAD);
  if (!options.quiet) {
    std::fprintf(stderr, "quilby-host: %s loaded, Setup called; %s\n", plugin.c_str(),
                 !simulator             ? "no simulator (real device libraries)"
                 : !std::getenv("QUILBY_SIM_WORLD")
                     ? "simulated device world: built-in"
                     : "simulated device world: from QUILBY_SIM_WORLD");
  }
  if (const std::string refused = simulator ? simulator->lastError() : ""; !refused.empty()) {
    std::fprintf(stderr, "quilby-host: the world file was refused (%s); the built-in world is "
                         "used\n", refused.c_str());
  }

  int status = 0;
  {
    Frontend frontend(hostThread, simulator.get(), options.server.consoleDirectory);
    switch (options.mode) {
      case Mode::Serve: status = serve(frontend, options, watcher); break;
      case Mode::Measure: status = measure(frontend, simulator != nullptr, options, watcher); break;
      default: status = runLines(frontend, options, watcher, requestFile); break;
    }
  }
  if (requestFile >= 0) close(requestFile);
  hostThread.run([&] {
    host.tearDown();
    host.unload();
  });
  if (!options.quiet) std::fprintf(stderr, "quilby-host: TearDown called, plug-in unloaded\n");
  return status;
}
