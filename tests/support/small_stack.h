// Work run on a thread with a small stack, as some hosts give their plug-ins: a recursion as deep
// as the data would overflow it.
#ifndef QUILBY_TESTS_SUPPORT_SMALL_STACK_H
#define QUILBY_TESTS_SUPPORT_SMALL_STACK_H

#include <gtest/gtest.h>

#include <pthread.h>

#include <cstddef>
#include <functional>
#include <memory>

namespace quilby_test {

// Runs `work` on a new thread whose stack is `bytes` long and waits for it.
inline void runOnSmallStack(const std::function<void()>& work, std::size_t bytes = 256 * 1024) {
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, bytes), 0);
  pthread_t thread;
  auto* task = new std::function<void()>(work);
  const int created = pthread_create(
      &thread, &attributes,
      [](void* argument) -> void* {
        std::unique_ptr<std::function<void()>> own(static_cast<std::function<void()>*>(argument));
        (*own)();
        return nullptr;
      },
      task);
  pthread_attr_destroy(&attributes);
  if (created != 0) delete task;
  ASSERT_EQ(created, 0);
  ASSERT_EQ(pthread_join(thread, nullptr), 0);
}

}  // namespace quilby_test

#endif  // QUILBY_TESTS_SUPPORT_SMALL_STACK_H
