// The built libquilby.so exports exactly its C interface, needs only the measurement library at
// load time, and finds it beside itself.
#include "quilby/resource_list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

// The output of `command`; the test fails when it cannot be run.
std::string outputOf(const std::string& command) {
  std::string output;
  FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) {
    ADD_FAILURE() << "cannot run " << command;
    return output;
  }
  char buffer[4096];
  while (const std::size_t count = fread(buffer, 1, sizeof buffer, pipe)) output.append(buffer, count);
  EXPECT_EQ(pclose(pipe), 0) << command;
  return output;
}

// The symbol names `nm -D` lists with `filter` (the name is the last field of each line).
std::set<std::string> dynamicSymbols(const std::string& filter) {
  std::istringstream lines(outputOf("nm -D " + filter + " " QUILBY_PLUGIN_LIBRARY));
  std::set<std::string> names;
  for (std::string line; std::getline(lines, line);) {
    const std::size_t space = line.find_last_of(' ');
    std::string name = line.substr(space == std::string::npos ? 0 : space + 1);
    names.insert(name.substr(0, name.find('@')));
  }
  return names;
}

#define QUILBY_TEST_RESOURCE_NAME(Name, Methods, Path) #Name,
#define QUILBY_TEST_NAME(Name) #Name,
const std::set<std::string> kExports = {QUILBY_RESOURCES(QUILBY_TEST_RESOURCE_NAME)
                                            QUILBY_OTHER_EXPORTS(QUILBY_TEST_NAME)};

// The export map is made from the resource list; the list's 34 resources and the eleven other
// functions are what a host can find, and nothing else.
TEST(ExportsTest, ExportsExactlyTheCInterface) {
  EXPECT_EQ(kExports.size(), 45u);
  EXPECT_EQ(dynamicSymbols("--defined-only"), kExports);
}

TEST(ExportsTest, LooksUpRunTimeFunctionsInsteadOfLinkingThem) {
  // Functions of the libraries opened at run time must never be referenced as symbols.
  const std::regex lookedUp(
      "EmCtrl.*|CSSG2H_.*|Hvx.*|mirelto_.*|MDMeasureRaw|MDHasTargetMarker|"
      "MDEnumCorrelationMatrix|MDApplyCorrelationMatrix|MDReleaseCorrelationMatrix|"
      "MD(Has|Get|Set)(ExteriorLight|ExteriorLightingState|ParameterDescription|TargetMarker|"
      "DeviceOptionValue|IFSBrightCorrectParamUpdateEnabled)|MDCalcIFSTempCorrectParam|"
      "MDAdd.*|MDGet(CSSG2|IFSv3|Correlation|Latest).*|MDEnumCorrelation(Info|MatrixInfo)");
  for (const std::string& name : dynamicSymbols("--undefined-only")) {
    EXPECT_FALSE(std::regex_match(name, lookedUp)) << name;
  }
}

TEST(ExportsTest, NeedsTheMeasurementLibraryBesideItself) {
  const std::string dynamic = outputOf("readelf -d " QUILBY_PLUGIN_LIBRARY);
  EXPECT_NE(dynamic.find("Shared library: [libmeasurementdevice_x64.so]"), std::string::npos);
  EXPECT_NE(dynamic.find("Library runpath: [$ORIGIN]"), std::string::npos);
  EXPECT_EQ(dynamic.find("(RPATH)"), std::string::npos);
  for (const char* runTime : {"libemc_x64", "libmSensor_x64", "libhalvex_x64", "libmdcorrector_x64",
                              "libmirelto2_x64"}) {
    EXPECT_EQ(dynamic.find(runTime), std::string::npos) << runTime;
  }
}

}  // namespace
