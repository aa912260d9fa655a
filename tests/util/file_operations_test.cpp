#include "util/file_operations.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>

namespace {

using Bytes = std::vector<std::uint8_t>;

// Every test works in a fresh directory of its own, removed afterwards.
class FileOperationsTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string name = (std::filesystem::temp_directory_path() / "quilby-util-XXXXXX").string();
    ASSERT_NE(::mkdtemp(name.data()), nullptr);
    root_ = name;
  }
  void TearDown() override { std::filesystem::remove_all(root_); }

  std::string at(const std::string& name) const { return root_ + "/" + name; }
  fs::Path path(const std::string& name) const { return fs::Path(at(name)); }
  void write(const std::string& name, const Bytes& bytes) const {
    std::ofstream(at(name), std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
  }
  // Bytes that differ from block to block, so that a block at the wrong offset shows.
  static Bytes pattern(std::size_t size) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i) bytes[i] = std::uint8_t(i * 7 + i / 1024);
    return bytes;
  }

  std::string root_;
};

TEST_F(FileOperationsTest, ReadingTellsMissingFileFromEmptyFile) {
  fs::IOError error = fs::kIOSuccess;
  EXPECT_TRUE(fs::bytes_with_contents_of_file(path("missing"), &error).empty());
  EXPECT_EQ(error, 0x80000001u);
  EXPECT_TRUE(fs::bytes_with_contents_of_file(path("missing"), nullptr).empty());
  write("empty", {});
  EXPECT_TRUE(fs::bytes_with_contents_of_file(path("empty"), &error).empty());
  EXPECT_EQ(error, fs::kIOSuccess);
}

TEST_F(FileOperationsTest, ReadsAndCopiesWholeFilesAcrossBlockBoundaries) {
  for (const std::size_t size : {1023u, 1024u, 1025u, 5000u}) {
    SCOPED_TRACE(size);
    write("source", pattern(size));
    write("copy", pattern(6000));  // longer, so that a missing truncation shows
    fs::IOError error = fs::kIOErrorCannotOpen;
    EXPECT_EQ(fs::bytes_with_contents_of_file(path("source"), &error), pattern(size));
    EXPECT_EQ(error, fs::kIOSuccess);
    EXPECT_TRUE(fs::copy_file(path("source"), path("copy")));
    EXPECT_EQ(fs::bytes_with_contents_of_file(path("copy"), nullptr), pattern(size));
  }
}

TEST_F(FileOperationsTest, CopyFailsWithoutReadableSourceOrWritableDestination) {
  EXPECT_FALSE(fs::copy_file(path("missing"), path("copy")) || fs::is_file(path("copy")));
  write("source", pattern(10));
  EXPECT_FALSE(fs::copy_file(path("source"), path("no-such-directory/copy")));
  EXPECT_FALSE(fs::copy_file(fs::Path(root_), path("copy")));
}

TEST_F(FileOperationsTest, MoveAndRemoveActOnlyOnTheRightKindOfEntry) {
  write("old", {});
  ASSERT_TRUE(fs::make_directory(path("dir")));
  EXPECT_TRUE(fs::move_file(path("old"), path("dir/new")));
  EXPECT_FALSE(fs::move_file(path("old"), path("other")));
  EXPECT_TRUE(fs::is_file(path("dir/new")) && !fs::is_directory(path("dir/new")));
  EXPECT_TRUE(fs::is_directory(path("dir")) && !fs::is_file(path("dir")));
  EXPECT_FALSE(fs::remove_directory(path("dir")) || fs::remove_file(path("dir")));
  EXPECT_TRUE(fs::remove_file(path("dir/new")));
  EXPECT_FALSE(fs::remove_file(path("dir/new")));
  EXPECT_TRUE(fs::remove_directory(path("dir")));
  EXPECT_FALSE(fs::is_directory(path("dir")) || fs::is_file(path("dir")));
}

TEST_F(FileOperationsTest, MakeDirectoryCreatesMissingLevelsOnlyBelowLongParents) {
  EXPECT_TRUE(fs::make_directory(path("x/y/z")));
  EXPECT_TRUE(fs::is_directory(path("x/y/z")));
  EXPECT_FALSE(fs::make_directory(path("x/y/z")));
  EXPECT_FALSE(fs::make_directory(fs::Path(std::string("/quilby-top-level-probe"))));
  // Relative paths, resolved inside the test directory: no separator, and a one-character parent
  // that exists and still is not used.
  ASSERT_EQ(::mkdir(at("q").c_str(), 0755), 0);
  const std::filesystem::path previous = std::filesystem::current_path();
  std::filesystem::current_path(root_);
  const bool createdPlain = fs::make_directory(fs::Path(std::string("plain")));
  const bool createdBelowShortParent = fs::make_directory(fs::Path(std::string("q/probe")));
  std::filesystem::current_path(previous);
  EXPECT_FALSE(createdPlain || fs::is_directory(path("plain")));
  EXPECT_FALSE(createdBelowShortParent || fs::is_directory(path("q/probe")));
}

TEST_F(FileOperationsTest, SizeAndModificationDateOrTheirFailureValues) {
  write("data", pattern(1500));
  // 2024-03-07 09:05:30.750 UTC, read in a zone far from UTC so that local time cannot pass.
  const timespec times[2] = {{1709802330, 750000000}, {1709802330, 750000000}};
  ASSERT_EQ(::utimensat(AT_FDCWD, at("data").c_str(), times, 0), 0);
  const char* zone = std::getenv("TZ");
  const std::string savedZone = zone ? zone : "";
  ::setenv("TZ", "QLB-5", 1);
  ::tzset();
  const DateTime date = fs::file_modification_date(path("data"));
  if (zone) {
    ::setenv("TZ", savedZone.c_str(), 1);
  } else {
    ::unsetenv("TZ");
  }
  ::tzset();
  EXPECT_EQ(date, DateTime(2024, 3, 7, 9, 5, 30, 0)) << date.toString() << " msec " << date.msec;
  EXPECT_EQ(fs::file_modification_date(path("missing")), DateTime());
  EXPECT_EQ(fs::file_size_of(path("data")), 1500u);
  EXPECT_EQ(fs::file_size_of(path("missing")), 18446744073709551615ull);
}

TEST_F(FileOperationsTest, ItemsInDirectoryAppendsHiddenEntriesButNotDotEntries) {
  write(".config", {});
  write("a.txt", {});
  ASSERT_EQ(::mkdir(at("sub").c_str(), 0755), 0);
  std::vector<std::string> names{"kept"};
  fs::items_in_directory(names, fs::Path(root_));
  fs::items_in_directory(names, path("missing"));
  ASSERT_EQ(names.size(), 4u);
  std::sort(names.begin() + 1, names.end());
  EXPECT_EQ(names, (std::vector<std::string>{"kept", ".config", "a.txt", "sub"}));
}

}  // namespace
