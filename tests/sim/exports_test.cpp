// The simulated libraries as files: what each exports, and what the variant build leaves out. That
// each finds the world's library beside it, the end-to-end tests show by loading them.
#include "sim_test_support.h"

#include "support/dynamic_symbols.h"

#include <ostream>
#include <set>
#include <string>
#include <vector>

namespace {

using quilby_test::dynamicSymbols;

#define QUILBY_SIM_NAME(Result, Name, Parameters, Arguments) #Name,

struct Library {
  const char* file;
  std::vector<std::string> functions;  // present in both builds
  std::vector<std::string> optional;   // missing from the variant build
};

const Library kLibraries[] = {
    {"libmeasurementdevice_x64.so",
     {QUILBY_SIM_MEASUREMENT_DEVICE_FUNCTIONS(QUILBY_SIM_NAME)},
     {QUILBY_SIM_MEASUREMENT_DEVICE_OPTIONAL_FUNCTIONS(QUILBY_SIM_NAME)}},
    {"libemc_x64.so",
     {QUILBY_SIM_MONITOR_CONTROL_FUNCTIONS(QUILBY_SIM_NAME)},
     {QUILBY_SIM_MONITOR_CONTROL_OPTIONAL_FUNCTIONS(QUILBY_SIM_NAME)}},
    {"libmSensor_x64.so",
     {QUILBY_SIM_COLOR_SENSOR_FUNCTIONS(QUILBY_SIM_NAME)},
     {QUILBY_SIM_COLOR_SENSOR_OPTIONAL_FUNCTIONS(QUILBY_SIM_NAME)}},
    {"libhalvex_x64.so", {QUILBY_SIM_USB_ENUMERATION_FUNCTIONS(QUILBY_SIM_NAME)}, {}},
    {"libmdcorrector_x64.so", {QUILBY_SIM_CORRECTION_FUNCTIONS(QUILBY_SIM_NAME)}, {}},
    {"libmirelto2_x64.so", {QUILBY_SIM_LOGGING_FUNCTIONS(QUILBY_SIM_NAME)}, {}},
    {"libquilbysim.so",
     {"QuilbySimReset", "QuilbySimLoadWorld", "QuilbySimLastError", "QuilbySimWorld",
      "QuilbySimFailNext", "QuilbySimClearFailures", "QuilbySimJournal", "QuilbySimJournalLast",
      "QuilbySimClearJournal", "QuilbySimCriticalSections", "QuilbySimHoldMonitor",
      "QuilbySimSetShownColor", "QuilbySimDeviceFunctions"},
     {}},
};

void PrintTo(const Library& library, std::ostream* out) { *out << library.file; }

std::string path(bool variant, const std::string& file) {
  return (variant ? QUILBY_TEST_VARIANT_EXPORTS_DIR "/" : QUILBY_TEST_EXPORTS_DIR "/") + file;
}

class DeviceLibraryTest : public testing::TestWithParam<Library> {};

// Both builds: the normal one exports every function of its list, the variant all but the optional
// ones, and neither anything else.
TEST_P(DeviceLibraryTest, ExportsExactlyItsFunctions) {
  const Library& library = GetParam();
  for (bool variant : {false, true}) {
    SCOPED_TRACE(variant ? "variant" : "normal");
    std::set<std::string> expected(library.functions.begin(), library.functions.end());
    if (!variant) expected.insert(library.optional.begin(), library.optional.end());
    EXPECT_EQ(dynamicSymbols(path(variant, library.file), "--defined-only"), expected);
  }
}

INSTANTIATE_TEST_SUITE_P(Libraries, DeviceLibraryTest, testing::ValuesIn(kLibraries),
                         [](const auto& info) {
                           const std::string file = info.param.file;
                           return file.substr(3, file.find_first_of("_.") - 3);
                         });

}  // namespace
