#include "util/file_operations.h"

#include <cstdio>
#include <ctime>
#include <memory>

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs {

namespace {

// Files are read and copied in blocks of this size.
constexpr std::size_t kBlockSize = 1024;

struct FileCloser {
  void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

struct DirectoryCloser {
  void operator()(DIR* directory) const noexcept { closedir(directory); }
};
using Directory = std::unique_ptr<DIR, DirectoryCloser>;

File openFile(const Path& path, const char* mode) {
  return File(std::fopen(path.text().c_str(), mode));
}

bool statOf(const Path& path, struct stat& status) {
  return ::stat(path.text().c_str(), &status) == 0;
}

// The text before the last "/", or the whole path when there is no "/" or the only one leads.
std::string parentTextOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos || slash == 0) return path;
  return path.substr(0, slash);
}

}  // namespace

std::vector<std::uint8_t> bytes_with_contents_of_file(const Path& path, IOError* error) {
  if (error) *error = kIOSuccess;
  std::vector<std::uint8_t> bytes;
  const File file = openFile(path, "rb");
  if (!file) {
    if (error) *error = kIOErrorCannotOpen;
    return bytes;
  }
  std::uint8_t block[kBlockSize];
  for (;;) {
    const std::size_t count = std::fread(block, 1, sizeof block, file.get());
    if (count == 0) break;
    bytes.insert(bytes.end(), block, block + count);
  }
  return bytes;
}

bool is_file(const Path& path) {
  struct stat status;
  return statOf(path, status) && S_ISREG(status.st_mode);
}

bool is_directory(const Path& path) {
  struct stat status;
  return statOf(path, status) && S_ISDIR(status.st_mode);
}

bool copy_file(const Path& source, const Path& destination) {
  const File input = openFile(source, "rb");
  if (!input) return false;
  File output = openFile(destination, "wb");
  if (!output) return false;
  std::uint8_t block[kBlockSize];
  for (;;) {
    const std::size_t count = std::fread(block, 1, sizeof block, input.get());
    if (count == 0) break;
    if (std::fwrite(block, 1, count, output.get()) != count) return false;
  }
  // A source that opens but cannot be read (a directory) must not pass for an empty file.
  if (std::ferror(input.get())) return false;
  // The last blocks may still sit in the stream's buffer: a failed flush is a short write too.
  return std::fclose(output.release()) == 0;
}

bool move_file(const Path& source, const Path& destination) {
  return std::rename(source.text().c_str(), destination.text().c_str()) == 0;
}

bool remove_file(const Path& path) { return ::unlink(path.text().c_str()) == 0; }

bool remove_directory(const Path& path) { return ::rmdir(path.text().c_str()) == 0; }

bool make_directory(const Path& path) {
  // Walks up while a level would go on to create something, then creates top-down. The chain
  // holds the paths to create, deepest first; a level whose parent is already a directory, or
  // whose parent text ends the rule, stops the walk.
  std::vector<std::string> chain;
  std::string current = path.text();
  for (;;) {
    const std::string parent = parentTextOf(current);
    if (parent == current || parent.size() <= 1) break;
    chain.push_back(current);
    if (is_directory(Path(parent))) break;
    current = parent;
  }
  bool createdPath = false;
  for (auto level = chain.rbegin(); level != chain.rend(); ++level) {
    createdPath = ::mkdir(level->c_str(), 0777) == 0;
  }
  // Only the last mkdir, if any, was of `path` itself.
  return !chain.empty() && createdPath;
}

std::uint64_t file_size_of(const Path& path) {
  struct stat status;
  if (!statOf(path, status)) return UINT64_MAX;
  return static_cast<std::uint64_t>(status.st_size);
}

DateTime file_modification_date(const Path& path) {
  struct stat status;
  if (!statOf(path, status)) return DateTime();
  std::tm utc{};
  if (!::gmtime_r(&status.st_mtime, &utc)) return DateTime();
  // tm_year counts from 1900 and may itself be as large as INT_MAX.
  if (utc.tm_year > INT32_MAX - 1900) return DateTime();
  return DateTime(utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min,
                  utc.tm_sec, 0);
}

void items_in_directory(std::vector<std::string>& names, const Path& path) {
  const Directory directory(::opendir(path.text().c_str()));
  if (!directory) return;
  while (const dirent* entry = ::readdir(directory.get())) {
    const std::string name = entry->d_name;
    if (name == "." || name == "..") continue;
    names.push_back(name);
  }
}

}  // namespace fs
