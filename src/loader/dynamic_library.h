// DynamicLibrary: one device library opened at run time, and calls of its functions by name.
#ifndef QUILBY_LOADER_DYNAMIC_LIBRARY_H
#define QUILBY_LOADER_DYNAMIC_LIBRARY_H

#include "bridge/bridge_result.h"
#include "util/library_handle.h"
#include "util/path.h"

#include <mutex>
#include <string>
#include <utility>

namespace vesk {

// A function of a device library, known by its name and typed by its declaration. Make one with
// QUILBY_DEVICE_FUNCTION, so that the name and the type come from the same token: a misspelt name
// does not compile, and a function cannot be called as another's type. `decltype` creates no
// reference to the symbol, so the plug-in never links the function it calls by name.
template <class Function>
struct DeviceFunction {
  const char* name;
};

#define QUILBY_DEVICE_FUNCTION(function) (::vesk::DeviceFunction<decltype(function)>{#function})

// While the library is not open, lookups search the process's global scope, so a function that
// another loaded object exports is still found. Thread-safe.
class DynamicLibrary {
 public:
  DynamicLibrary() = default;
  DynamicLibrary(const DynamicLibrary&) = delete;
  DynamicLibrary& operator=(const DynamicLibrary&) = delete;
  // Closes the library if it is open.
  virtual ~DynamicLibrary();

  // Closes the library if it is open; later lookups search the global scope until it is opened
  // again.
  virtual void release();

  // Called when a function is missing; loaders throw their 404 "FunctionNotFoundError" here.
  // This base version does nothing (the call then fails with a generic 404).
  virtual void throw_function_not_found_error() const;

  // Looks `name` up and calls it as a function Result(Args...) with `args`. When it is missing,
  // throws through throw_function_not_found_error().
  template <class Result, class... Args>
  Result execThrows(const std::string& name, Args... args) const;

  // The same, typed by the function's declaration, which converts the arguments to the declared
  // parameter types:
  //   loader.call(QUILBY_DEVICE_FUNCTION(MDMeasureRaw), handle, raw)
  template <class Function, class... CallArgs>
  decltype(auto) call(DeviceFunction<Function> function, CallArgs&&... args) const {
    return callAs(static_cast<Function*>(nullptr), function.name, std::forward<CallArgs>(args)...);
  }

  // The address of `name`, or null. Opens nothing.
  [[nodiscard]] void* lookup(const std::string& name) const;
  template <class Function>
  [[nodiscard]] void* lookup(DeviceFunction<Function> function) const {
    return lookup(function.name);
  }

  [[nodiscard]] bool isOpen() const;
  // The file that was opened (empty before).
  [[nodiscard]] fs::Path path() const;

 protected:
  // Opens `path` with lazy binding when nothing is open. A failure is silent: the library stays
  // closed and the next call tries again.
  void openIfClosed(const fs::Path& path);

 private:
  template <class Result, class... Parameters, class... CallArgs>
  Result callAs(Result (*)(Parameters...), const std::string& name, CallArgs&&... args) const {
    return execThrows<Result, Parameters...>(name, std::forward<CallArgs>(args)...);
  }

  [[noreturn]] void throwFunctionNotFound(const std::string& name) const;

  // Guards path_ and library_: the library may be opened, searched and released from the
  // request thread and from other threads of the host.
  mutable std::mutex mutex_;
  fs::Path path_;
  LibraryHandle library_;
};

template <class Result, class... Args>
Result DynamicLibrary::execThrows(const std::string& name, Args... args) const {
  void* function = lookup(name);
  if (!function) throwFunctionNotFound(name);
  using Pointer = Result (*)(Args...);
  return reinterpret_cast<Pointer>(function)(args...);
}

}  // namespace vesk

#endif  // QUILBY_LOADER_DYNAMIC_LIBRARY_H
