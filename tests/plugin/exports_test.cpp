// The built libquilby.so exports exactly its C interface, needs only the measurement library at
// load time, and finds it beside itself.
#include "quilby/resource_list.h"
#include "support/dynamic_symbols.h"

#include <regex>
#include <set>
#include <string>

namespace {

using quilby_test::dynamicSection;

std::set<std::string> dynamicSymbols(const std::string& filter) {
  return quilby_test::dynamicSymbols(QUILBY_PLUGIN_LIBRARY, filter);
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

// The functions of the libraries opened at run time are looked up, never referenced as symbols.
TEST(ExportsTest, LinksOnlyTheMeasurementLibraryFoundBesideItself) {
  const std::string dynamic = dynamicSection(QUILBY_PLUGIN_LIBRARY);
  EXPECT_NE(dynamic.find("Shared library: [libmeasurementdevice_x64.so]"), std::string::npos);
  EXPECT_NE(dynamic.find("Library runpath: [$ORIGIN]"), std::string::npos);
  EXPECT_EQ(dynamic.find("(RPATH)"), std::string::npos);
  for (const char* runTime :
       {"libemc_x64", "libmSensor_x64", "libhalvex_x64", "libmdcorrector_x64", "libmirelto2_x64"}) {
    EXPECT_EQ(dynamic.find(runTime), std::string::npos) << runTime;
  }
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

}  // namespace
