#include "job_threads.h"

#include <algorithm>

namespace quilbyhost {

JobThreads::JobThreads(unsigned count) {
  for (unsigned i = 0; i < std::max(count, 1u); ++i) threads_.emplace_back([this] { loop(); });
}

JobThreads::~JobThreads() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
  }
  wake_.notify_all();
  for (std::thread& thread : threads_) thread.join();
}

void JobThreads::post(std::function<void()> job) {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    jobs_.push_back(std::move(job));
  }
  wake_.notify_one();
}

bool JobThreads::onOwnThread() const {
  const std::thread::id self = std::this_thread::get_id();
  return std::any_of(threads_.begin(), threads_.end(),
                     [self](const std::thread& thread) { return thread.get_id() == self; });
}

void JobThreads::loop() {
  while (true) {
    std::function<void()> job;
    {
      std::unique_lock<std::mutex> lock(mutex_);
      wake_.wait(lock, [this] { return stopping_ || !jobs_.empty(); });
      if (jobs_.empty()) return;
      job = std::move(jobs_.front());
      jobs_.pop_front();
    }
    job();
  }
}

}  // namespace quilbyhost
