// Serial-USB connections: the page's device-id mappings (Sensors PUT "serialMappings"), the USB
// enumeration behind Sensors GET "serialConnected", and QuilbyEnumConnectedSerialSensors.
#include "support/registry_fixture.h"

#include <cstdint>
#include <string>
#include <vector>

namespace {

using namespace quilby_test;

class SerialUSBConnectionTest : public RegistryTest {
 protected:
  // Sets the mappings (a JSON text); connectedWith answers the connected list of a fresh
  // snapshot then.
  void map(const std::string& mappings) {
    EXPECT_EQ(answer("Sensors", "PUT", "", "", R"({"serialMappings":)" + mappings + "}"),
              ok("null"));
  }
  std::string connectedWith(const std::string& mappings) {
    map(mappings);
    return connected();
  }
  std::string connected() { return answer("Sensors", "GET", "", R"({"serialConnected":true})"); }
  // The device ids `enumSerial` gives from index 0 on, up to its "no more data".
  std::vector<MDDeviceID> enumerated() {
    std::vector<MDDeviceID> ids;
    MDDeviceID id = 0;
    while (functions.enumSerial(ids.size(), &id) == EMERR_EXISTS_MORE_DATA) ids.push_back(id);
    EXPECT_EQ(functions.enumSerial(ids.size(), &id), EMERR_NO_MORE_DATA);
    return ids;
  }
};

TEST_F(SerialUSBConnectionTest, MappedValuesBecome32BitDeviceIDs) {
  // Pairs of a mapped value and its device id. Numbers keep their low 32 bits (2^32 + 82 is 82),
  // halves round away from zero, numbers out of range are 0 (9223372036854775807.0 rounds to
  // 2^63); a string must be a whole decimal, hexadecimal ("0x") or octal ("0") number.
  const cairnjson::Value rows = parsed(R"([
      [82, 82], [4294967378, 82], [-1, 4294967295], [true, 1], [false, 0], [7.5, 8],
      [-7.5, 4294967288], [2.5, 3], [7.49, 7], [1e300, 0], [9223372036854775807.0, 0],
      ["0x1F", 31], ["0X52", 82], ["010", 8], ["  -3", 4294967293], ["+82", 82], ["12abc", 0],
      ["82 ", 0], ["", 0], ["08", 0], [null, 0], [[82], 0], [{"id": 82}, 0]])");
  for (const cairnjson::Value& row : rows.elements()) {
    const std::string value = compact(row[0ul]);
    EXPECT_EQ(connectedWith(R"({"QS-30 serial bridge":)" + value + "}"),
              ok(R"([{"deviceID":)" + compact(row[1]) + "}]"))
        << value;
  }
}

TEST_F(SerialUSBConnectionTest, WithoutMappingsNoUSBEnumerationTakesPlace) {
  EXPECT_EQ(connected(), ok("[]"));
  // Every value but an object with members empties the table.
  for (const char* mappings : {"null", R"([["QS-30 serial bridge",82]])", "{}", "\"x\"", "82"}) {
    ASSERT_EQ(connectedWith(R"({"QS-30 serial bridge":82})"), ok(R"([{"deviceID":82}])"));
    clearJournal();
    EXPECT_EQ(connectedWith(mappings), ok("[]")) << mappings;
    EXPECT_TRUE(calls("HvxCreateUSBDeviceSnapshot").empty()) << mappings;
  }
}

TEST_F(SerialUSBConnectionTest, DevicesAreListedInEnumerationOrderOncePerDevice) {
  loadWorld(R"({"usbDevices":["Bridge","USB2.0 Hub","bridge","Bridge","Probe"]})");
  clearJournal();
  // Matching is exact; names without a mapping are skipped; shared names are listed each time.
  EXPECT_EQ(connectedWith(R"({"Bridge":5,"Probe":"0x10","Absent":9})"),
            ok(R"([{"deviceID":5},{"deviceID":5},{"deviceID":16}])"));
  std::vector<std::string> expected = {"HvxCreateUSBDeviceSnapshot"};
  for (int device = 0; device < 5; ++device) {
    expected.insert(expected.end(), {"HvxEnumUSBDevice", "HvxGetUSBDeviceName"});
  }
  expected.insert(expected.end(), {"HvxEnumUSBDevice", "HvxReleaseSnapshot"});
  EXPECT_EQ(deviceCalls(), expected);
  EXPECT_EQ(enumerated(), (std::vector<MDDeviceID>{5, 5, 16}));
}

TEST_F(SerialUSBConnectionTest, EnumerationByIndexRefreshesOnlyAtIndexZero) {
  // Before any refresh the list is empty.
  MDDeviceID id = 77;
  EXPECT_EQ(functions.enumSerial(3, &id), EMERR_NO_MORE_DATA);
  EXPECT_EQ(id, 77u);
  map(R"({"QS-30 serial bridge":82})");
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
  map(R"({"USB2.0 Hub":3,"QS-30 serial bridge":82})");
  clearJournal();
  EXPECT_EQ(functions.enumSerial(1, &id), EMERR_NO_MORE_DATA);
  EXPECT_TRUE(calls("HvxCreateUSBDeviceSnapshot").empty());
  EXPECT_EQ(enumerated(), (std::vector<MDDeviceID>{82, 3}));
  EXPECT_EQ(calls("HvxCreateUSBDeviceSnapshot").size(), 1u);
  // The page's list and the index enumeration share one list: an index past 0 reads what the
  // page's refresh left.
  EXPECT_EQ(connectedWith("null"), ok("[]"));
  EXPECT_EQ(functions.enumSerial(1, nullptr), EMERR_NO_MORE_DATA);
}

// A failed snapshot empties the list; without the USB library the refresh fails.
TEST_F(SerialUSBConnectionTest, FailedRefreshEmptiesTheList) {
  ASSERT_EQ(connectedWith(R"({"QS-30 serial bridge":82})"), ok(R"([{"deviceID":82}])"));
  clearJournal();
  QuilbySimFailNext("HvxCreateUSBDeviceSnapshot", 1, EMERR_FAILED);
  EXPECT_EQ(connected(), ok("[]"));
  EXPECT_EQ(deviceCalls(), std::vector<std::string>{"HvxCreateUSBDeviceSnapshot"});
  reloadWith("", "libhalvex_x64.so");
  map(R"({"QS-30 serial bridge":82})");
  EXPECT_EQ(connected(), functionNotFound("halvex"));
  EXPECT_EQ(functions.enumSerial(0, nullptr), EMERR_FAILED);
}

}  // namespace
