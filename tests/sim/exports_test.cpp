// The simulated libraries as files: what each exports, what it needs, where it looks for it, and
// what the variant build leaves out.
#include "sim_test_support.h"

#include "devices/device_functions.h"

#include <dlfcn.h>
#include <elf.h>

#include <cstring>
#include <ostream>
#include <set>
#include <string>
#include <vector>

namespace {

// The dynamic section of an ELF64 file: defined exported symbols, needed libraries, SONAME and
// RUNPATH.
struct DynamicInfo {
  std::set<std::string> exported, needed;
  std::string soname, runpath;
};

template <class T>
T at(const std::string& file, std::size_t offset) {
  T value{};
  if (offset + sizeof value <= file.size()) std::memcpy(&value, file.data() + offset, sizeof value);
  return value;
}

DynamicInfo readDynamic(const std::string& path) {
  const std::string file = sim_test::fileText(path);
  DynamicInfo info;
  const auto header = at<Elf64_Ehdr>(file, 0);
  if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0) {
    ADD_FAILURE() << path << " is not an ELF file";
    return info;
  }
  for (int i = 0; i < header.e_shnum; ++i) {
    const auto section = at<Elf64_Shdr>(file, header.e_shoff + i * sizeof(Elf64_Shdr));
    const auto strings =
        at<Elf64_Shdr>(file, header.e_shoff + section.sh_link * sizeof(Elf64_Shdr));
    auto text = [&](std::size_t offset) {
      return std::string(file.c_str() + strings.sh_offset + offset);
    };
    if (section.sh_type == SHT_DYNSYM) {
      for (std::size_t s = 1; s < section.sh_size / sizeof(Elf64_Sym); ++s) {
        const auto symbol = at<Elf64_Sym>(file, section.sh_offset + s * sizeof(Elf64_Sym));
        const int binding = ELF64_ST_BIND(symbol.st_info);
        if (symbol.st_shndx != SHN_UNDEF && (binding == STB_GLOBAL || binding == STB_WEAK) &&
            ELF64_ST_VISIBILITY(symbol.st_other) == STV_DEFAULT) {
          info.exported.insert(text(symbol.st_name));
        }
      }
    } else if (section.sh_type == SHT_DYNAMIC) {
      for (std::size_t d = 0; d < section.sh_size / sizeof(Elf64_Dyn); ++d) {
        const auto entry = at<Elf64_Dyn>(file, section.sh_offset + d * sizeof(Elf64_Dyn));
        if (entry.d_tag == DT_NEEDED) info.needed.insert(text(entry.d_un.d_val));
        if (entry.d_tag == DT_SONAME) info.soname = text(entry.d_un.d_val);
        if (entry.d_tag == DT_RUNPATH) info.runpath = text(entry.d_un.d_val);
        if (entry.d_tag == DT_RPATH) ADD_FAILURE() << path << " has an old-style RPATH";
      }
    }
  }
  // Symbols the linker defines in every shared object.
  for (const char* toolchain : {"_init", "_fini", "_edata", "_end", "__bss_start"}) {
    info.exported.erase(toolchain);
  }
  return info;
}

#define QUILBY_SIM_NAME(Result, Name, Parameters, Arguments) #Name,

struct Library {
  const char* file;
  std::size_t count;                   // exports of the normal build, as the interface lists them
  std::vector<std::string> functions;  // present in both builds
  std::vector<std::string> optional;   // missing from the variant build
};

const Library kLibraries[] = {
    {"libmeasurementdevice_x64.so",
     54,
     {QUILBY_SIM_MEASUREMENT_DEVICE_FUNCTIONS(QUILBY_SIM_NAME)},
     {QUILBY_SIM_MEASUREMENT_DEVICE_OPTIONAL_FUNCTIONS(QUILBY_SIM_NAME)}},
    {"libemc_x64.so",
     7,
     {QUILBY_SIM_MONITOR_CONTROL_FUNCTIONS(QUILBY_SIM_NAME)},
     {QUILBY_SIM_MONITOR_CONTROL_OPTIONAL_FUNCTIONS(QUILBY_SIM_NAME)}},
    {"libmSensor_x64.so",
     33,
     {QUILBY_SIM_COLOR_SENSOR_FUNCTIONS(QUILBY_SIM_NAME)},
     {QUILBY_SIM_COLOR_SENSOR_OPTIONAL_FUNCTIONS(QUILBY_SIM_NAME)}},
    {"libhalvex_x64.so", 4, {QUILBY_SIM_USB_ENUMERATION_FUNCTIONS(QUILBY_SIM_NAME)}, {}},
    {"libmdcorrector_x64.so", 11, {QUILBY_SIM_CORRECTION_FUNCTIONS(QUILBY_SIM_NAME)}, {}},
    {"libmirelto2_x64.so", 2, {QUILBY_SIM_LOGGING_FUNCTIONS(QUILBY_SIM_NAME)}, {}},
};

void PrintTo(const Library& library, std::ostream* out) { *out << library.file; }

std::string path(bool variant, const std::string& file) {
  return (variant ? QUILBY_TEST_VARIANT_EXPORTS_DIR "/" : QUILBY_TEST_EXPORTS_DIR "/") + file;
}

class DeviceLibraryTest : public testing::TestWithParam<Library> {};

// Both builds, as files and, for the variant, as the plug-in sees it: dlopen and look up by name.
TEST_P(DeviceLibraryTest, ExportsExactlyItsFunctionsAndFindsTheWorldBesideIt) {
  const Library& library = GetParam();
  for (bool variant : {false, true}) {
    SCOPED_TRACE(variant ? "variant" : "normal");
    std::set<std::string> expected(library.functions.begin(), library.functions.end());
    if (!variant) expected.insert(library.optional.begin(), library.optional.end());
    const DynamicInfo info = readDynamic(path(variant, library.file));
    EXPECT_EQ(info.exported, expected);
    EXPECT_EQ(info.exported.size(), library.count - (variant ? library.optional.size() : 0));
    EXPECT_EQ(info.soname, library.file);
    EXPECT_EQ(info.runpath, "$ORIGIN");
    EXPECT_EQ(info.needed.count("libquilbysim.so"), 1u);
  }
  void* handle = dlopen(path(true, library.file).c_str(), RTLD_LAZY | RTLD_LOCAL);
  ASSERT_NE(handle, nullptr) << dlerror();
  for (const std::string& name : library.functions) {
    EXPECT_NE(dlsym(handle, name.c_str()), nullptr) << name;
  }
  for (const std::string& name : library.optional) {
    EXPECT_EQ(dlsym(handle, name.c_str()), nullptr) << name;
  }
  dlclose(handle);
}

INSTANTIATE_TEST_SUITE_P(Libraries, DeviceLibraryTest, testing::ValuesIn(kLibraries),
                         [](const auto& info) {
                           const std::string file = info.param.file;
                           return file.substr(3, file.find('_') - 3);
                         });

TEST(WorldLibraryTest, ExportsOnlyTheControlInterfaceAndTheDeviceTable) {
  const std::set<std::string> expected = {
      "QuilbySimReset",       "QuilbySimLoadWorld",     "QuilbySimLastError",
      "QuilbySimWorld",       "QuilbySimFailNext",      "QuilbySimClearFailures",
      "QuilbySimJournal",     "QuilbySimJournalLast",   "QuilbySimClearJournal",
      "QuilbySimCriticalSections",
      "QuilbySimHoldMonitor", "QuilbySimSetShownColor", "QuilbySimDeviceFunctions"};
  for (bool variant : {false, true}) {
    const DynamicInfo info = readDynamic(path(variant, "libquilbysim.so"));
    EXPECT_EQ(info.exported, expected);
    EXPECT_EQ(info.soname, "libquilbysim.so");
  }
}

// The variant libraries reach the same world as the normal ones when both are loaded.
TEST(WorldLibraryTest, VariantLibrariesShareTheProcessWorld) {
  void* library = dlopen(path(true, "libmeasurementdevice_x64.so").c_str(), RTLD_LAZY | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
  auto variantOpen = reinterpret_cast<decltype(&MDOpen)>(dlsym(library, "MDOpen"));
  ASSERT_NE(variantOpen, nullptr);
  MDHandle handle = nullptr;
  ASSERT_EQ(variantOpen(33, &handle), EMERR_OK);
  EXPECT_EQ(MDGetDeviceID(handle), 33u);
  EXPECT_EQ(MDClose(&handle), EMERR_OK);
  dlclose(library);
}

}  // namespace
