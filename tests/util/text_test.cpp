// The text forms of the small utilities (dates, identifiers, numbers read from text, and paths),
// and the file operations.
#include "util/date_time.h"
#include "util/file_operations.h"
#include "util/path.h"
#include "util/string_conversion.h"
#include "util/uuid.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <locale>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>

namespace {

TEST(DateTimeTest, ToStringPadsFieldsAndOmitsMsec) {
  EXPECT_EQ(DateTime().toString(), "0000-00-00 00:00:00");
  EXPECT_EQ(DateTime(2024, 3, 7, 9, 5, 0, 250).toString(), "2024-03-07 09:05:00");
  EXPECT_EQ(DateTime(5, 1, 2, 3, 4, 6).toString(), "0005-01-02 03:04:06");
  EXPECT_EQ(DateTime(12345, 123, 1, 0, 0, 0).toString(), "12345-123-01 00:00:00");
  EXPECT_EQ(DateTime(-5, 1, 1, 0, 0, 0).toString(), "-005-01-01 00:00:00");
}

TEST(UuidTest, CreateGivesDistinctLowerCaseRandomIdentifiers) {
  std::set<std::string> seen;
  for (int round = 0; round < 10000; ++round) {
    const std::string id = uuid::create();
    seen.insert(id);
    ASSERT_EQ(id.size(), 36u) << id;
    for (std::size_t i = 0; i < id.size(); ++i) {
      const bool hyphen = i == 8 || i == 13 || i == 18 || i == 23;
      const bool hexDigit = (id[i] >= '0' && id[i] <= '9') || (id[i] >= 'a' && id[i] <= 'f');
      ASSERT_TRUE(hyphen ? id[i] == '-' : hexDigit) << id << " at " << i;
    }
    // Version 4 (random), standard variant.
    ASSERT_TRUE(id[14] == '4' && std::string("89ab").find(id[19]) != std::string::npos) << id;
  }
  EXPECT_EQ(seen.size(), 10000u);
}

TEST(StringConversionTest, ToIntReadsLeadingDecimalNumber) {
  EXPECT_EQ(string::to<int>("07"), 7);
  EXPECT_EQ(string::to<int>(" 42abc"), 42);
  EXPECT_EQ(string::to<int>("\t\n-17"), -17);
  EXPECT_EQ(string::to<int>("3.9"), 3);
  EXPECT_EQ(string::to<int>("x3"), 0);
  EXPECT_EQ(string::to<int>("99999999999"), INT_MAX);
  EXPECT_EQ(string::to<int>("-99999999999"), INT_MIN);
}

// The host may switch the global locale; a grouping locale must not make "1,234" read as 1234.
TEST(StringConversionTest, ToIntIgnoresDigitGroupingOfGlobalLocale) {
  std::locale grouping;
  try {
    grouping = std::locale("en_US.UTF-8");
  } catch (const std::runtime_error&) {
    GTEST_SKIP() << "locale en_US.UTF-8 not installed";
  }
  const std::locale previous = std::locale::global(grouping);
  const int value = string::to<int>("1,234");
  std::locale::global(previous);
  EXPECT_EQ(value, 1);
}

struct AppendCase {
  const char* name;
  const char* base;
  const char* component;
  const char* expected;
};

class PathTest : public testing::TestWithParam<AppendCase> {};

TEST_P(PathTest, AppendJoinsWithOneSeparator) {
  fs::Path path{std::string(GetParam().base)};
  EXPECT_EQ(&path.appendPathComponent(GetParam().component), &path);
  EXPECT_EQ(path.text(), GetParam().expected);
}

const AppendCase kAppendCases[] = {
    {"Plain", "a", "b", "a/b"},
    {"LeadingSlashDropped", "a", "/b", "a/b"},
    {"LeadingBackslashDropped", "a", "\\b", "a/b"},
    {"TrailingSlashDropped", "a", "b/", "a/b"},
    {"EmptyComponentKeepsPath", "a", "", "a"},
    {"LoneSlashKeepsPath", "a", "/", "a"},
    {"OnlyOneLeadingSeparatorDropped", "a", "//b", "a//b"},
    {"OnlyOneTrailingSeparatorDropped", "a", "b//", "a/b/"},
    {"EmptyBaseStartsAtRoot", "", "b", "/b"},
};

INSTANTIATE_TEST_SUITE_P(Rows, PathTest, testing::ValuesIn(kAppendCases),
                         [](const auto& info) { return std::string(info.param.name); });

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
