#include "loader/dynamic_library.h"

#include <dlfcn.h>

namespace vesk {

DynamicLibrary::~DynamicLibrary() {
  if (handle_) dlclose(handle_);
}

void DynamicLibrary::release() {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (handle_) dlclose(handle_);
  handle_ = nullptr;
}

void DynamicLibrary::throw_function_not_found_error() const {}

void DynamicLibrary::throwFunctionNotFound(const std::string& name) const {
  throw_function_not_found_error();
  throw BridgeResultError(BridgeStatusCode::NotFound, "FunctionNotFoundError",
                          name + " is not found.");
}

void* DynamicLibrary::lookup(const std::string& name) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  // A null handle is RTLD_DEFAULT: the global scope.
  return dlsym(handle_, name.c_str());
}

bool DynamicLibrary::isOpen() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return handle_ != nullptr;
}

fs::Path DynamicLibrary::path() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return path_;
}

void DynamicLibrary::openIfClosed(const fs::Path& path) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (handle_) return;
  handle_ = dlopen(path.text().c_str(), RTLD_LAZY);
  if (handle_) path_ = path;
}

}  // namespace vesk
