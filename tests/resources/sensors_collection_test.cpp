// The sensors collection (Sensors, SensorsName, XRiteControlPanel) and opening sensors (DeviceID,
// Monitors, IndividualID POST) through the built plug-in and the simulated libraries.
#include "support/registry_fixture.h"

#include <gmock/gmock.h>

#include <map>
#include <regex>
#include <string>
#include <vector>

namespace {

using namespace quilby_test;

class SensorsCollectionTest : public RegistryTest {};

TEST_F(SensorsCollectionTest, ListsOpenedSensorsAndTheirNamesInIdentifierOrder) {
  EXPECT_EQ(answer("Sensors", "GET"), ok("[]"));
  EXPECT_EQ(answer("SensorsName", "GET"), ok("[]"));
  const std::map<std::string, std::string> opened = {
      {openByDeviceID(kColorimeter), "QS-10 colorimeter"},
      {openMonitor(kOfficeSerial, kOfficeProduct), "QM panel sensor"},
      {openByDeviceID(kSpectrophotometer), "QS-20 spectrophotometer"}};
  std::vector<std::string> ids, names;
  for (const auto& [id, name] : opened) {
    ids.push_back(id);
    names.push_back(name);
  }
  // Whatever the query but "connected" and "serialConnected", for the identifiers.
  for (const char* query : {"", "{}", "not json", "[\"connected\"]", R"({"deviceIDs":"3"})"}) {
    clearJournal();
    EXPECT_EQ(answer("Sensors", "GET", "", query), ok(jsonStrings(ids))) << query;
    EXPECT_TRUE(deviceCalls().empty()) << query;
  }
  clearJournal();
  EXPECT_EQ(answer("SensorsName", "GET", "", R"({"connected":1})"), ok(jsonStrings(names)));
  EXPECT_EQ(handleArguments("MDGetName").size(), 3u);
  // A sensor without a name is listed with an empty one.
  QuilbySimFailNext("MDGetName", 1, EMERR_FAILED);
  names[0] = "";
  EXPECT_EQ(answer("SensorsName", "GET"), ok(jsonStrings(names)));
}

TEST_F(SensorsCollectionTest, ConnectedListsUSBSensorsUntilTheLibraryFails) {
  const std::string spectrophotometer = R"({"deviceID":48,"individualID":"00c5000000011b3e"}])";
  // "connected" wins over "serialConnected"; its value is never read.
  for (const char* query : {R"({"connected":null})", R"({"connected":0,"serialConnected":1})"}) {
    EXPECT_EQ(answer("Sensors", "GET", "", query),
              ok(R"([{"deviceID":33,"individualID":"00c3000000004d2a"},)" + spectrophotometer));
  }
  // Any failing status ends the list; one counting as success adds the preset outputs.
  QuilbySimFailNext("MDEnumConnectedDevices", 1, EMERR_UNKNOWN);
  EXPECT_EQ(answer("Sensors", "GET", "", R"({"connected":1})"), ok("[]"));
  QuilbySimFailNext("MDEnumConnectedDevices", 1, EMERR_UNCONFIRMED);
  EXPECT_EQ(answer("Sensors", "GET", "", R"({"connected":1})"),
            ok(R"([{"deviceID":0,"individualID":"0000000000000000"},)" + spectrophotometer));
  // Device ids are unsigned; individual identifiers are sixteen lower-case hex digits.
  loadWorld(R"({"sensors":[{"deviceID":4294967295,"individualID":"FEDCBA9876543210",)"
            R"("name":"Big","serial":"b","connection":"usb"}]})");
  EXPECT_EQ(answer("Sensors", "GET", "", R"({"connected":""})"),
            ok(R"([{"deviceID":4294967295,"individualID":"fedcba9876543210"}])"));
}

TEST_F(SensorsCollectionTest, PutSetsTheLibraryDirectoryBeforeTheSerialMappings) {
  const std::string directory = webDirectory().string();
  EXPECT_EQ(answer("Sensors", "PUT", "", "", R"({"libraryPath":")" + directory + "\"}"),
            ok("null"));
  EXPECT_EQ(handleArguments("MDInitDeviceLibrariesDirectoryPath"), std::vector{directory});
  // Bodies without either key, or that are no object, change nothing.
  for (const char* body : {"", "{}", R"({"other":1})", "[1,2]", "libraryPath"}) {
    clearJournal();
    EXPECT_EQ(answer("Sensors", "PUT", "", "", body), ok("null")) << body;
    EXPECT_TRUE(deviceCalls().empty()) << body;
  }
  // The value is turned into text: 5 names no directory, and the mappings are left unset.
  EXPECT_EQ(answer("Sensors", "PUT", "", "",
                   R"({"libraryPath":5,"serialMappings":{"QS-30 serial bridge":82}})"),
            emError(0x80000010, "Dll is not found.", "Init device libraries directory path."));
  EXPECT_EQ(handleArguments("MDInitDeviceLibrariesDirectoryPath"), std::vector<std::string>{"5"});
  EXPECT_EQ(answer("Sensors", "GET", "", R"({"serialConnected":1})"), ok("[]"));
}

TEST_F(SensorsCollectionTest, DeleteClosesEverySensorAndForgetsItsIdentifier) {
  EXPECT_EQ(answer("Sensors", "DELETE"), ok("null"));
  EXPECT_TRUE(calls("MDClose").empty());
  const std::vector<std::string> ids = {openByDeviceID(kColorimeter),
                                        openMonitor(kStudioSerial, kStudioProduct),
                                        openMonitor(kOfficeSerial, kOfficeProduct)};
  // A sensor closed in place is still registered, and closed again with its null handle.
  ASSERT_EQ(functions.preUpdate(kOfficeSerial, kOfficeProduct), EMERR_OK);
  const std::vector<std::string> handles = handlesOf(ids);
  ASSERT_EQ(handles[2], "null");
  clearJournal();
  // A failing close does not stop the others.
  QuilbySimFailNext("MDClose", 1, EMERR_FAILED);
  EXPECT_EQ(answer("Sensors", "DELETE"), ok("null"));
  EXPECT_THAT(handleArguments("MDClose"), testing::UnorderedElementsAreArray(handles));
  EXPECT_EQ(answer("Sensors", "GET"), ok("[]"));
  for (const std::string& id : ids) {
    EXPECT_EQ(functions.getHandleForID(id.c_str(), nullptr), 0);
    EXPECT_EQ(answer("SensorXYZ", "GET", named(id)), kNotFound);
  }
}

TEST_F(SensorsCollectionTest, NamesOfDeviceIDsComeInTheOrderGiven) {
  const std::pair<const char*, const char*> rows[] = {
      {R"(" 4144, 48x")", R"(["QM arm sensor","QS-20 spectrophotometer"])"},
      // Empty pieces and pieces without a leading number ask for device 0, which has no name.
      {R"("33,,x,")", R"(["QS-10 colorimeter","","",""])"},
      {R"("")", R"([""])"},
      {"4145", R"(["QM panel sensor"])"},
  };
  openByDeviceID(kColorimeter);
  for (const auto& [deviceIDs, names] : rows) {
    EXPECT_EQ(answer("SensorsName", "GET", "", std::string(R"({"deviceIDs":)") + deviceIDs + "}"),
              ok(names));
  }
}

TEST_F(SensorsCollectionTest, ControlPanelOpensOrReportsTheLibrarysFailure) {
  EXPECT_EQ(answer("XRiteControlPanel", "PUT", R"({"id":"x"})", R"({"q":1})", "{}"), ok("null"));
  EXPECT_EQ(deviceCalls(), std::vector<std::string>{"MDOpenXRiteControlPanel"});
  QuilbySimFailNext("MDOpenXRiteControlPanel", 1, EMERR_FAILED);
  EXPECT_EQ(answer("XRiteControlPanel", "PUT"),
            emError(0x80000000, "Failed.", "Open XRite Control Panel."));
  // The library's "Unknown." is let through as success.
  QuilbySimFailNext("MDOpenXRiteControlPanel", 1, EMERR_UNKNOWN);
  EXPECT_EQ(answer("XRiteControlPanel", "PUT"), ok("null"));
}

class SensorOpeningTest : public RegistryTest {};

// An opening answers a fresh lower-case UUID under which the handle of its one open call is
// registered, or its refusal or failure, and then nothing is registered.
TEST_F(SensorOpeningTest, OpeningRegistersTheNewHandleUnderAFreshUUIDOrAnswersWhyNot) {
  const struct {
    const char *resource, *parameters, *loggedURI;
    std::string answer;   // "" for a sensor opened by `opened`
    const char* opened;   // the open function and its arguments
  } rows[] = {
      {"DeviceID", R"({"deviceID":33})", "Sensors/33", "", "MDOpen [33]"},
      // Stream extraction: leading blanks skipped, reading stops at the first non-digit; the low
      // 32 bits of the number are the device id.
      {"DeviceID", R"({"deviceID":" 82abc"})", "Sensors/ 82abc", "", "MDOpen [82]"},
      {"DeviceID", R"({"deviceID":4294967329})", "Sensors/4294967329", "", "MDOpen [33]"},
      {"Monitors", R"({"serial":"QM7A0451","product":"QM-27-Studio-Lab"})",
       "Monitors/QM7A0451/QM-27-Studio-Lab/Sensor", "", R"(MDOpenWithHIDHandle ["hid:0x1001"])"},
      {"IndividualID", R"({"individualID":"54887620458597674"})",
       "Sensors/Individual/54887620458597674", "",
       R"(MDOpenWithIndividualID ["00c3000000004d2a"])"},
      {"IndividualID", R"({"individualID":271582289})", "Sensors/Individual/271582289", "",
       R"(MDOpenWithIndividualID ["0000000010300451"])"},
      // The URI is checked before the library is asked.
      {"DeviceID", "", "Sensors/", kInvalidURI, ""},
      {"DeviceID", R"({"deviceID":[33]})", "Sensors/", kInvalidURI, ""},
      {"IndividualID", R"({"id":"1"})", "Sensors/Individual/", kInvalidURI, ""},
      {"Monitors", R"({"serial":"QM7A0451"})", "Monitors/QM7A0451//Sensor", kInvalidURI, ""},
      {"Monitors", R"({"serial":"","product":"QM-27-Studio-Lab"})",
       "Monitors//QM-27-Studio-Lab/Sensor", kInvalidURI, ""},
      // An open made to fail with "Timed out.".
      {"DeviceID", R"({"deviceID":"33"})", "Sensors/33",
       emError(0x80000013, "Timed out.", "Open sensor."), ""},
      {"Monitors", R"({"serial":"NOPE","product":"QM-27-Studio-Lab"})",
       "Monitors/NOPE/QM-27-Studio-Lab/Sensor",
       emError(0x80010001, "Monitor connection error.", "Get HID handle."), ""},
      // "Unknown." (a monitor without HID handle) passes the check; opening without a HID handle
      // then fails.
      {"Monitors", R"({"serial":"QM7B0912","product":"QM-27-Studio-Lab"})",
       "Monitors/QM7B0912/QM-27-Studio-Lab/Sensor",
       emError(0x80000001, "Invalid argument.", "Open sensor with HID handle."), ""},
      {"IndividualID", R"({"individualID":"12"})", "Sensors/Individual/12",
       emError(0x80010002, "Sensor connection error.", "Open sensor with individual id."), ""},
  };
  for (const auto& row : rows) {
    clearJournal();
    if (row.answer.find("Timed out.") != std::string::npos) {
      QuilbySimFailNext("MDOpen", 1, EMERR_TIMED_OUT);
    }
    const Reply reply = call(row.resource, "POST", row.parameters);
    EXPECT_EQ(loggedURI(), std::string("/quilby/") + row.loggedURI);
    if (!row.answer.empty()) {
      EXPECT_EQ(std::to_string(reply.status) + " " + reply.envelope, row.answer);
      EXPECT_TRUE(row.answer != kInvalidURI || deviceCalls().empty()) << row.parameters;
      EXPECT_EQ(answer("Sensors", "GET"), ok("[]"));
      continue;
    }
    const std::string id = reply.value.toString("");
    EXPECT_TRUE(std::regex_match(id, std::regex("[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}")))
        << reply.status << " " << reply.envelope;
    const std::string opened = row.opened;
    const auto opens = calls(opened.substr(0, opened.find(' ')));
    ASSERT_EQ(opens.size(), 1u) << row.parameters;
    EXPECT_EQ(compact(opens[0]["arguments"]), opened.substr(opened.find(' ') + 1));
    EXPECT_EQ(journalForm(handleOf(id)), opens[0]["handle"].toString(""));
    EXPECT_EQ(answer("Sensors", "GET"), ok(jsonStrings({id})));
    EXPECT_EQ(answer("Sensors", "DELETE"), ok("null"));
  }
}

}  // namespace
