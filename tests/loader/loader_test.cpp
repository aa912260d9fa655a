// Opening device libraries from the exports directory and calling their functions by name.
#include "bridge/library_path.h"
#include "loader/loaders.h"

#include "plugin_host.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

// Exported by this test program: the loaders find it in the global scope while their library is
// not open.
extern "C" __attribute__((visibility("default"))) int QuilbyLoaderTestGlobal(int value) {
  return value * 2;
}

namespace {

namespace fsys = std::filesystem;

class FixtureLoader : public vesk::ExportsLibraryLoader<FixtureLoader> {
 public:
  static constexpr const char* kStem = "libfixture";
  static constexpr const char* kMissingFunction = "fixture does not have a requested function.";
};

using Answer = int(int);

// A fresh, empty directory reported to the plug-in as its exports directory.
fsys::path freshExportsDirectory(const std::string& name) {
  const fsys::path directory = fsys::temp_directory_path() / ("quilby-loader-test-" + name);
  fsys::remove_all(directory);
  fsys::create_directories(directory);
  quilbyhost::HostSettings settings;
  settings.exportsPath = directory.string() + "/";
  quilbyhost::PluginHost::Instance().configure(settings);
  return directory;
}

// The message of the 404 that calling `function` of `loader` throws, or "" when it throws nothing.
template <class Loader>
std::string notFoundMessage(Loader& loader, const char* function) {
  try {
    loader.call(vesk::DeviceFunction<Answer>{function}, 1);
  } catch (const BridgeResultError& error) {
    EXPECT_EQ(static_cast<int>(error.code), 404);
    EXPECT_EQ(error.error.name, "FunctionNotFoundError");
    return error.error.message;
  }
  return "";
}

TEST(LoaderTest, LibraryPlacedAfterAFailedOpenIsUsedNext) {
  const fsys::path directory = freshExportsDirectory("late");
  const char* const missing = FixtureLoader::kMissingFunction;
  const auto answer = [](const char* function, int question) {
    return FixtureLoader::loader().call(vesk::DeviceFunction<Answer>{function}, question);
  };

  EXPECT_FALSE(FixtureLoader::loader().isOpen());
  EXPECT_EQ(notFoundMessage(FixtureLoader::loader(), "QuilbyFixtureAnswer"), missing);
  // While the library is not open, the process's global scope is searched.
  EXPECT_EQ(answer("QuilbyLoaderTestGlobal", 21), 42);

  fsys::copy_file(QUILBY_FIXTURE_LIBRARY, directory / "libfixture_x64.so");
  EXPECT_EQ(answer("QuilbyFixtureAnswer", 41), 42);
  EXPECT_EQ(FixtureLoader::loader().path().text(), (directory / "libfixture_x64.so").string());
  EXPECT_EQ(notFoundMessage(FixtureLoader::loader(), "NoSuchFunction"), missing);
  // An open library is searched alone.
  EXPECT_EQ(notFoundMessage(FixtureLoader::loader(), "QuilbyLoaderTestGlobal"), missing);

  // Released and with its file gone, the library is simply missing again.
  FixtureLoader& loader = FixtureLoader::loader();
  loader.release();
  EXPECT_FALSE(loader.isOpen());
  fsys::remove(directory / "libfixture_x64.so");
  EXPECT_EQ(notFoundMessage(FixtureLoader::loader(), "QuilbyFixtureAnswer"), missing);
  fsys::remove_all(directory);
}

TEST(LoaderTest, EachLoaderNamesItsLibraryWhenAFunctionIsMissing) {
  freshExportsDirectory("missing");
  EXPECT_EQ(notFoundMessage(vesk::libmeasurementdeviceLoader::loader(), "Absent"),
            "libmeasurementdevice does not have a requested function.");
  EXPECT_EQ(notFoundMessage(vesk::libemcLoader::loader(), "Absent"),
            "libemc does not have a requested function.");
  EXPECT_EQ(notFoundMessage(vesk::halvexLoader::loader(), "Absent"),
            "halvex does not have a requested function.");
  EXPECT_EQ(notFoundMessage(vesk::libmdcorrectorLoader::loader(), "Absent"),
            "libmdcorrector does not have a requested function.");
  EXPECT_EQ(notFoundMessage(vesk::libmSensorLoader::loader(), "Absent"),
            "libmSensor does not have a requested function.");
}

TEST(LoaderTest, LibraryPathDropsOneTrailingSeparator) {
  quilbyhost::HostSettings settings;
  for (const auto& [exports, expected] :
       {std::pair<std::string, std::string>{"/opt/q", "/opt/q/libemc_x64.so"},
        {"/opt/q/", "/opt/q/libemc_x64.so"},
        {"/opt/q\\", "/opt/q/libemc_x64.so"},
        {"/opt/q//", "/opt/q//libemc_x64.so"},
        {"", "/libemc_x64.so"}}) {
    settings.exportsPath = exports;
    quilbyhost::PluginHost::Instance().configure(settings);
    EXPECT_EQ(vesk::LibraryPathInExports("libemc").text(), expected) << exports;
  }
}

}  // namespace
