#include "loader/dynamic_library.h"

#include <dlfcn.h>

namespace vesk {

DynamicLibrary::~DynamicLibrary() = default;

void DynamicLibrary::release() {
  const std::lock_guard<std::mutex> lock(mutex_);
  library_.reset();
}

void DynamicLibrary::throw_function_not_found_error() const {}

void DynamicLibrary::throwFunctionNotFound(const std::string& name) const {
  throw_function_not_found_error();
  throw BridgeResultError(BridgeStatusCode::NotFound, "FunctionNotFoundError",
                          name + " is not found.");
}

void* DynamicLibrary::lookup(const std::string& name) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return library_.symbol(name.c_str());
}

bool DynamicLibrary::isOpen() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return static_cast<bool>(library_);
}

fs::Path DynamicLibrary::path() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return path_;
}

void DynamicLibrary::openIfClosed(const fs::Path& path) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (library_) return;
  library_ = LibraryHandle(path.text().c_str(), RTLD_LAZY);
  if (library_) path_ = path;
}

}  // namespace vesk
