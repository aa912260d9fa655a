// Plain file-system operations on fs::Path values.
//
// None of these throws for file-system trouble: each reports failure through its result (false,
// an empty vector, all bits set, a default DateTime) or through an fs::IOError word. Only a failed
// memory allocation escapes, as std::bad_alloc. Nothing here takes a lock; every operation blocks
// for as long as the underlying system calls do. Symbolic links are followed.
#ifndef QUILBY_UTIL_FILE_OPERATIONS_H
#define QUILBY_UTIL_FILE_OPERATIONS_H

#include "util/date_time.h"
#include "util/path.h"

#include <cstdint>
#include <string>
#include <vector>

namespace fs {

// Status word of the reading operations, numbered like the sensor libraries' status codes: 0 is
// success, a set high bit is a failure.
using IOError = std::uint32_t;
inline constexpr IOError kIOSuccess = 0;
// The file could not be opened (missing, no permission, ...).
inline constexpr IOError kIOErrorCannotOpen = 0x80000001;

// The whole content of the file at `path`.
// `error` may be null; when given it is set to kIOSuccess, or to kIOErrorCannotOpen when the file
// cannot be opened, in which case the result is empty. An empty result with kIOSuccess is an
// empty file. A read failure after opening ends the content early without changing `error`
// (a directory, which opens but cannot be read, gives an empty result and kIOSuccess).
[[nodiscard]] std::vector<std::uint8_t> bytes_with_contents_of_file(const Path& path, IOError* error);

// Whether `path` can be examined and is a regular file.
[[nodiscard]] bool is_file(const Path& path);
// Whether `path` can be examined and is a directory.
[[nodiscard]] bool is_directory(const Path& path);

// Copies the bytes of `source` to `destination`, which is created or truncated (new files get
// permission bits 0666 before the process's mask). True on success; false when the source cannot
// be opened or read (a directory), the destination cannot be opened for writing, or a write
// (including the final flush) comes up short. A failure after the destination was opened leaves
// it partly written.
[[nodiscard]] bool copy_file(const Path& source, const Path& destination);

// Renames `source` to `destination` (rename(2): same file system only; an existing destination
// file is replaced). True on success.
[[nodiscard]] bool move_file(const Path& source, const Path& destination);

// Unlinks the file at `path`; false for a directory or a missing file. True on success.
[[nodiscard]] bool remove_file(const Path& path);

// Removes the directory at `path`, which must be empty. True on success.
[[nodiscard]] bool remove_directory(const Path& path);

// Creates the directory `path` (permission bits 0777 before the process's mask), first creating
// its missing parents by this same rule (their results are ignored). Returns true exactly when
// this call created `path` itself, so an existing directory gives false. The parent text is
// everything before the last "/"; when it is empty, the root, the whole path (no "/") or a single
// character ("a/b"), the result is false and that level creates nothing. Callers pass absolute
// paths; relative ones are taken from the working directory.
// Example: with /tmp present, make_directory(Path("/tmp/x/y/z")) creates /tmp/x, /tmp/x/y and
// /tmp/x/y/z and gives true; a second call gives false.
[[nodiscard]] bool make_directory(const Path& path);

// The size in bytes of the file at `path`, or UINT64_MAX (all bits set) when it cannot be
// examined. A directory gives the size the file system reports for it.
[[nodiscard]] std::uint64_t file_size_of(const Path& path);

// The last modification time of `path` in UTC, to the second (msec is 0); a default (all-zero)
// DateTime when the file cannot be examined or the time cannot be converted.
[[nodiscard]] DateTime file_modification_date(const Path& path);

// Appends to `names` the name (not the path) of every entry of the directory `path` except "."
// and "..", hidden entries included, in the order the system lists them (unsorted: callers must
// not rely on any order). What `names` held before is kept. Nothing is appended when the
// directory cannot be opened; an entry that cannot be read ends the listing early.
void items_in_directory(std::vector<std::string>& names, const Path& path);

}  // namespace fs

#endif  // QUILBY_UTIL_FILE_OPERATIONS_H
