#include "util/path.h"

namespace fs {

namespace {

bool isSeparator(char c) { return c == '/' || c == '\\'; }

}  // namespace

Path& Path::appendPathComponent(const std::string& component) {
  std::string result = text_;
  result.push_back('/');
  // A backslash counts as a separator at the ends so that components written with either
  // convention join without doubling it.
  if (!component.empty() && isSeparator(component.front())) {
    result.append(component, 1, std::string::npos);
  } else {
    result.append(component);
  }
  if (isSeparator(result.back())) result.pop_back();
  text_ = std::move(result);
  return *this;
}

}  // namespace fs
