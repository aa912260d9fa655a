#include "util/library_handle.h"

#include <dlfcn.h>

namespace vesk {

LibraryHandle::LibraryHandle(const char* path, int flags) noexcept : handle_(dlopen(path, flags)) {}

LibraryHandle& LibraryHandle::operator=(LibraryHandle&& other) noexcept {
  if (this != &other) {
    reset();
    handle_ = other.handle_;
    other.handle_ = nullptr;
  }
  return *this;
}

void* LibraryHandle::symbol(const char* name) const noexcept {
  // A null handle is RTLD_DEFAULT: the global scope.
  return dlsym(handle_, name);
}

void LibraryHandle::reset() noexcept {
  if (handle_) dlclose(handle_);
  handle_ = nullptr;
}

}  // namespace vesk
