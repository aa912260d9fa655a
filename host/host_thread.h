// The host's thread: the one thread on which the development host calls into the plug-in and
// the simulator.
//
// The plug-in expects requests one at a time from the host's thread. The HTTP server answers on
// several worker threads, so every worker hands its plug-in work to this thread and waits.
#ifndef QUILBY_HOST_HOST_THREAD_H
#define QUILBY_HOST_HOST_THREAD_H

#include "job_threads.h"

#include <future>
#include <type_traits>

namespace quilbyhost {

class HostThread {
 public:
  HostThread() = default;
  HostThread(const HostThread&) = delete;
  HostThread& operator=(const HostThread&) = delete;

  // Runs `job` on the host's thread after the jobs queued before it and returns its result;
  // blocks the caller until then. An exception thrown by `job` is rethrown here. Called from the
  // host's thread itself, it runs `job` at once (no deadlock).
  template <class Job>
  std::invoke_result_t<Job> run(Job job) {
    if (thread_.onOwnThread()) return job();
    std::packaged_task<std::invoke_result_t<Job>()> task(std::move(job));
    auto result = task.get_future();
    thread_.post([&task] { task(); });
    return result.get();
  }

 private:
  // One thread: the jobs run one at a time, in order. On destruction the jobs already queued run.
  JobThreads thread_{1};
};

}  // namespace quilbyhost

#endif  // QUILBY_HOST_HOST_THREAD_H
