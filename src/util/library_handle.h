// LibraryHandle: a dynamic library opened with dlopen, closed when its owner is done with it.
#ifndef QUILBY_UTIL_LIBRARY_HANDLE_H
#define QUILBY_UTIL_LIBRARY_HANDLE_H

namespace vesk {

// Owns one dlopen handle, or none. Move-only: the library is closed exactly once, by the last
// owner, on destruction or reset().
class LibraryHandle {
 public:
  LibraryHandle() = default;
  // Opens `path` with dlopen's `flags` (RTLD_LAZY, RTLD_NOW, ...); holds nothing when it cannot.
  LibraryHandle(const char* path, int flags) noexcept;
  ~LibraryHandle() { reset(); }
  LibraryHandle(LibraryHandle&& other) noexcept : handle_(other.handle_) { other.handle_ = nullptr; }
  LibraryHandle& operator=(LibraryHandle&& other) noexcept;
  LibraryHandle(const LibraryHandle&) = delete;
  LibraryHandle& operator=(const LibraryHandle&) = delete;

  explicit operator bool() const noexcept { return handle_ != nullptr; }

  // The address of `name` in this library, or null. Without a library, the process's global
  // scope is searched (dlsym's RTLD_DEFAULT).
  [[nodiscard]] void* symbol(const char* name) const noexcept;

  // Closes the library, if one is held.
  void reset() noexcept;

 private:
  void* handle_ = nullptr;
};

}  // namespace vesk

#endif  // QUILBY_UTIL_LIBRARY_HANDLE_H
