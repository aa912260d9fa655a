// Mutexes whose locking discipline the compiler checks.
//
// Clang's thread-safety analysis (-Wthread-safety) proves, function by function, that data
// marked QUILBY_GUARDED_BY(m) is only touched with `m` held and that functions marked
// QUILBY_REQUIRES(m) are only called with it held. The standard mutexes carry no such
// annotations, so the plug-in's shared structures use these thin wrappers and MutexLock. With
// other compilers the annotations expand to nothing.
#ifndef QUILBY_UTIL_MUTEX_H
#define QUILBY_UTIL_MUTEX_H

#include <condition_variable>
#include <mutex>

#if defined(__clang__)
#define QUILBY_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define QUILBY_THREAD_ANNOTATION(x)
#endif

#define QUILBY_CAPABILITY(name) QUILBY_THREAD_ANNOTATION(capability(name))
#define QUILBY_SCOPED_CAPABILITY QUILBY_THREAD_ANNOTATION(scoped_lockable)
#define QUILBY_GUARDED_BY(mutex) QUILBY_THREAD_ANNOTATION(guarded_by(mutex))
#define QUILBY_REQUIRES(...) QUILBY_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define QUILBY_ACQUIRE(...) QUILBY_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define QUILBY_RELEASE(...) QUILBY_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define QUILBY_RETURN_CAPABILITY(mutex) QUILBY_THREAD_ANNOTATION(lock_returned(mutex))
// For the few functions whose locking cannot be expressed per function (a lock taken in one
// exported call and released in another); each use says why.
#define QUILBY_NO_THREAD_SAFETY_ANALYSIS QUILBY_THREAD_ANNOTATION(no_thread_safety_analysis)

namespace vesk {

// std::mutex, annotated.
class QUILBY_CAPABILITY("mutex") Mutex {
 public:
  void lock() QUILBY_ACQUIRE() { mutex_.lock(); }
  void unlock() QUILBY_RELEASE() { mutex_.unlock(); }

  // Releases the mutex while waiting for `condition` to be notified, and holds it again on
  // return. Spurious wake-ups happen: callers wait in a loop over what they wait for.
  void wait(std::condition_variable& condition) QUILBY_REQUIRES(this) {
    // The caller's lock is borrowed for the wait and handed back still held.
    std::unique_lock<std::mutex> borrowed(mutex_, std::adopt_lock);
    condition.wait(borrowed);
    borrowed.release();
  }

 private:
  std::mutex mutex_;
};

// std::recursive_mutex, annotated. Clang's analysis does not know recursion: a function that
// holds it must not take it a second time itself, though the functions it calls may.
class QUILBY_CAPABILITY("mutex") RecursiveMutex {
 public:
  void lock() QUILBY_ACQUIRE() { mutex_.lock(); }
  void unlock() QUILBY_RELEASE() { mutex_.unlock(); }

 private:
  std::recursive_mutex mutex_;
};

// Holds a mutex for its own lifetime, like std::lock_guard.
template <class LockableMutex>
class QUILBY_SCOPED_CAPABILITY MutexLock {
 public:
  explicit MutexLock(LockableMutex& mutex) QUILBY_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
  ~MutexLock() QUILBY_RELEASE() { mutex_.unlock(); }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

 private:
  LockableMutex& mutex_;
};

}  // namespace vesk

#endif  // QUILBY_UTIL_MUTEX_H
