// Serial-USB connections: the page's device-id mappings (Sensors PUT "serialMappings"), the USB
// enumeration behind Sensors GET "serialConnected", and QuilbyEnumConnectedSerialSensors.
#include "registry/registry_test_support.h"

#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

namespace {

using namespace quilby_test;

class SerialUSBConnectionTest : public RegistryTest {
 protected:
  // Sets the mappings (a JSON text) and answers the connected list of a fresh snapshot.
  std::string connectedWith(const std::string& mappings) {
    EXPECT_EQ(call("Sensors", "PUT", "", "", R"({"serialMappings":)" + mappings + "}").status, 200);
    return connected();
  }
  std::string connected() {
    const Reply reply = call("Sensors", "GET", "", R"({"serialConnected":true})");
    EXPECT_EQ(reply.status, 200) << reply.envelope;
    return compact(reply.value);
  }
  // The device ids `enumSerial` gives from index 0 on, up to the first other status than 1.
  std::vector<MDDeviceID> enumerated(EmError& end) {
    std::vector<MDDeviceID> ids;
    for (std::uint32_t index = 0;; ++index) {
      MDDeviceID id = 0;
      end = functions.enumSerial(index, &id);
      if (end != EMERR_EXISTS_MORE_DATA) return ids;
      ids.push_back(id);
    }
  }
};

struct ConversionRow {
  const char* value;
  long long deviceID;
};

void PrintTo(const ConversionRow& row, std::ostream* out) { *out << row.value; }

class MappingConversionTest : public SerialUSBConnectionTest,
                              public testing::WithParamInterface<ConversionRow> {};

TEST_P(MappingConversionTest, ValueBecomesA32BitDeviceID) {
  const ConversionRow& row = GetParam();
  EXPECT_EQ(connectedWith(std::string(R"({"Lumetra R2 Serial Bridge":)") + row.value + "}"),
            R"([{"deviceID":)" + std::to_string(row.deviceID) + "}]");
}

const ConversionRow kConversionRows[] = {
    {"82", 82},
    {"4294967378", 82},  // 2^32 + 82: the low 32 bits
    {"-1", 4294967295},
    {"true", 1},
    {"false", 0},
    {"7.5", 8},
    {"-7.5", 4294967288},  // -8
    {"2.5", 3},
    {"7.49", 7},
    {"1e300", 0},
    {"9223372036854775807.0", 0},  // rounds to 2^63, just out of range
    {R"("0x1F")", 31},
    {R"("0X52")", 82},
    {R"("010")", 8},
    {R"("  -3")", 4294967293},
    {R"("+82")", 82},
    {R"("12abc")", 0},
    {R"("82 ")", 0},
    {R"("")", 0},
    {R"("08")", 0},
    {"null", 0},
    {"[82]", 0},
    {R"({"id":82})", 0},
};

INSTANTIATE_TEST_SUITE_P(Rows, MappingConversionTest, testing::ValuesIn(kConversionRows),
                         [](const testing::TestParamInfo<ConversionRow>& info) {
                           return "Row" + std::to_string(info.index);
                         });

TEST_F(SerialUSBConnectionTest, WithoutMappingsNoUSBEnumerationTakesPlace) {
  EXPECT_EQ(connected(), "[]");
  EXPECT_EQ(functions.enumSerial(0, nullptr), EMERR_NO_MORE_DATA);
  // Every value but an object with members empties the table.
  for (const char* mappings : {R"(null)", R"([["Lumetra R2 Serial Bridge",82]])", "{}", R"("x")", "82"}) {
    ASSERT_EQ(connectedWith(R"({"Lumetra R2 Serial Bridge":82})"), R"([{"deviceID":82}])");
    clearJournal();
    EXPECT_EQ(connectedWith(mappings), "[]") << mappings;
    EXPECT_EQ(functions.enumSerial(0, nullptr), EMERR_NO_MORE_DATA);
    for (const cairnjson::Value& entry : deviceCalls()) {
      EXPECT_NE(entry["function"].stringRef().substr(0, 3), "Hvx") << mappings;
    }
  }
}

TEST_F(SerialUSBConnectionTest, DevicesAreListedInEnumerationOrderOncePerDevice) {
  loadWorld(R"({"usbDevices":["Bridge","USB2.0 Hub","bridge","Bridge","Probe"]})");
  clearJournal();
  // Matching is exact; names without a mapping are skipped; shared names are listed each time.
  EXPECT_EQ(connectedWith(R"({"Bridge":5,"Probe":"0x10","Absent":9})"),
            R"([{"deviceID":5},{"deviceID":5},{"deviceID":16}])");
  const std::vector<std::string> expected = {
      "HvxCreateUSBDeviceSnapshot", "HvxEnumUSBDevice", "HvxGetUSBDeviceName", "HvxEnumUSBDevice",
      "HvxGetUSBDeviceName",        "HvxEnumUSBDevice", "HvxGetUSBDeviceName", "HvxEnumUSBDevice",
      "HvxGetUSBDeviceName",        "HvxEnumUSBDevice", "HvxGetUSBDeviceName", "HvxEnumUSBDevice",
      "HvxReleaseSnapshot"};
  std::vector<std::string> functionsCalled;
  for (const cairnjson::Value& entry : deviceCalls()) functionsCalled.push_back(entry["function"].stringRef());
  EXPECT_EQ(functionsCalled, expected);
  EXPECT_EQ(logLines().back().second, "statusCode:200\tmethod:GET\turi:/quilby/Sensors\tmsg:Success");

  EmError end = 0;
  EXPECT_EQ(enumerated(end), (std::vector<MDDeviceID>{5, 5, 16}));
  EXPECT_EQ(end, EMERR_NO_MORE_DATA);
}

TEST_F(SerialUSBConnectionTest, FailedSnapshotEmptiesTheList) {
  ASSERT_EQ(connectedWith(R"({"Lumetra R2 Serial Bridge":82})"), R"([{"deviceID":82}])");
  clearJournal();
  QuilbySimFailNext("HvxCreateUSBDeviceSnapshot", 1, EMERR_FAILED);
  EXPECT_EQ(connected(), "[]");
  EXPECT_TRUE(calls("HvxEnumUSBDevice").empty());
  EXPECT_TRUE(calls("HvxReleaseSnapshot").empty());
  QuilbySimFailNext("HvxCreateUSBDeviceSnapshot", 1, EMERR_FAILED);
  EXPECT_EQ(functions.enumSerial(0, nullptr), EMERR_NO_MORE_DATA);
}

TEST_F(SerialUSBConnectionTest, EnumerationByIndexRefreshesOnlyAtIndexZero) {
  // Before any refresh the list is empty.
  MDDeviceID id = 77;
  EXPECT_EQ(functions.enumSerial(3, &id), EMERR_NO_MORE_DATA);
  EXPECT_EQ(id, 77u);
  EXPECT_EQ(call("Sensors", "PUT", "", "", R"({"serialMappings":{"Lumetra R2 Serial Bridge":82}})").status, 200);
  EXPECT_EQ(functions.enumSerial(1, &id), EMERR_NO_MORE_DATA);
  clearJournal();
  EXPECT_EQ(functions.enumSerial(0, &id), EMERR_EXISTS_MORE_DATA);
  EXPECT_EQ(id, 82u);
  EXPECT_EQ(calls("HvxCreateUSBDeviceSnapshot").size(), 1u);
  // Past the end the target is left alone; a null target still gets the status.
  id = 77;
  EXPECT_EQ(functions.enumSerial(1, &id), EMERR_NO_MORE_DATA);
  EXPECT_EQ(id, 77u);
  EXPECT_EQ(functions.enumSerial(0, nullptr), EMERR_EXISTS_MORE_DATA);
  // New mappings change nothing until the next refresh.
  EXPECT_EQ(call("Sensors", "PUT", "", "", R"({"serialMappings":{"USB2.0 Hub":3,"Lumetra R2 Serial Bridge":82}})").status,
            200);
  clearJournal();
  EXPECT_EQ(functions.enumSerial(1, &id), EMERR_NO_MORE_DATA);
  EXPECT_TRUE(calls("HvxCreateUSBDeviceSnapshot").empty());
  EmError end = 0;
  EXPECT_EQ(enumerated(end), (std::vector<MDDeviceID>{82, 3}));
  EXPECT_EQ(calls("HvxCreateUSBDeviceSnapshot").size(), 1u);
  // The page's list and the index enumeration share one list.
  EXPECT_EQ(call("Sensors", "PUT", "", "", R"({"serialMappings":null})").status, 200);
  EXPECT_EQ(connected(), "[]");
  EXPECT_EQ(functions.enumSerial(0, nullptr), EMERR_NO_MORE_DATA);
}

TEST_F(SerialUSBConnectionTest, MissingUSBLibraryFailsTheRefresh) {
  namespace fsys = std::filesystem;
  unloadPlugin(true);
  const fsys::path exports = fsys::temp_directory_path() / ("quilby-exports-without-usb-" + std::to_string(getpid()));
  fsys::remove_all(exports);
  fsys::create_directories(exports);
  for (const fsys::directory_entry& file : fsys::directory_iterator(exportsDirectory())) {
    if (file.path().filename() != "libhalvex_x64.so") fsys::create_symlink(file.path(), exports / file.path().filename());
  }
  loadPlugin(exports, true);
  functions = sensorHandleFunctions();
  ASSERT_EQ(call("Sensors", "PUT", "", "", R"({"serialMappings":{"Lumetra R2 Serial Bridge":82}})").status, 200);
  const Reply reply = call("Sensors", "GET", "", R"({"serialConnected":1})");
  EXPECT_EQ(reply.status, 404);
  EXPECT_EQ(reply.envelope, R"({"error":{"message":"halvex does not have a requested function.",)"
                            R"("name":"FunctionNotFoundError"},"value":null})");
  EXPECT_EQ(functions.enumSerial(0, nullptr), EMERR_FAILED);
  // The registry lock was released on the way out.
  EXPECT_EQ(call("Sensors", "GET").status, 200);
  unloadPlugin(true);
  fsys::remove_all(exports);
}

}  // namespace
