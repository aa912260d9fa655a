// fs::Path: a POSIX path held as text, built up one component at a time.
#ifndef QUILBY_UTIL_PATH_H
#define QUILBY_UTIL_PATH_H

#include <string>
#include <utility>

namespace fs {

// A path text with "/" as separator. No normalisation happens: the text is exactly what was
// constructed and appended. A plain value; the destructor is virtual so that callers may derive
// their own path kinds from it.
class Path {
 public:
  Path() = default;
  explicit Path(std::string text) : text_(std::move(text)) {}
  Path(const Path&) = default;
  Path(Path&&) noexcept = default;
  Path& operator=(const Path&) = default;
  Path& operator=(Path&&) noexcept = default;
  virtual ~Path() = default;

  // Appends `component` after one "/" and returns this path. One leading "/" or "\" of the
  // component and one trailing "/" or "\" of the result are dropped, so appending "b", "/b" or
  // "b/" to "a" all give "a/b", and appending "" leaves "a" unchanged. Only one separator is
  // dropped at either end: appending "//b" to "a" gives "a//b".
  //
  // Example: fs::Path("/opt").appendPathComponent("lib").appendPathComponent("x.so")
  //          holds "/opt/lib/x.so".
  Path& appendPathComponent(const std::string& component);

  // The path text; valid until this path is next changed or destroyed.
  [[nodiscard]] const std::string& text() const noexcept { return text_; }

 private:
  std::string text_;
};

}  // namespace fs

#endif  // QUILBY_UTIL_PATH_H
