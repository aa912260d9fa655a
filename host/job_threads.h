// JobThreads: a fixed number of threads running queued jobs in order of arrival.
#ifndef QUILBY_HOST_JOB_THREADS_H
#define QUILBY_HOST_JOB_THREADS_H

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace quilbyhost {

class JobThreads {
 public:
  // Starts `count` threads (at least one).
  explicit JobThreads(unsigned count);
  // Runs the jobs already queued, then joins the threads.
  ~JobThreads();
  JobThreads(const JobThreads&) = delete;
  JobThreads& operator=(const JobThreads&) = delete;

  // Queues `job` for the next free thread.
  void post(std::function<void()> job);
  // Whether the caller is one of these threads.
  [[nodiscard]] bool onOwnThread() const;

 private:
  void loop();

  // Guards jobs_ and stopping_.
  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<std::function<void()>> jobs_;
  bool stopping_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace quilbyhost

#endif  // QUILBY_HOST_JOB_THREADS_H
