// The sensors collection (Sensors, SensorsName, XRiteControlPanel) through the built plug-in and
// the simulated libraries.
#include "registry/registry_test_support.h"

#include <algorithm>
#include <string>
#include <vector>

namespace {

using namespace quilby_test;

class SensorsCollectionTest : public RegistryTest {};

TEST_F(SensorsCollectionTest, ListsOpenedSensorsInIdentifierOrderWhateverTheQuery) {
  EXPECT_EQ(call("Sensors", "GET").envelope, R"({"error":null,"value":[]})");
  const std::vector<std::string> ids = sorted(
      {openByDeviceID(kColorimeter), openMonitor(kStudioSerial, kStudioProduct), openByDeviceID(kSpectrophotometer)});
  const std::string expected =
      R"({"error":null,"value":[")" + ids[0] + R"(",")" + ids[1] + R"(",")" + ids[2] + R"("]})";
  for (const char* query : {"", "{}", "not json", "[\"connected\"]", R"({"deviceIDs":"3"})"}) {
    clearJournal();
    const Reply reply = call("Sensors", "GET", "", query);
    EXPECT_EQ(reply.status, 200) << query;
    EXPECT_EQ(reply.envelope, expected) << query;
    EXPECT_TRUE(deviceCalls().empty()) << query;
  }
  const auto lines = logLines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0], (std::pair<int, std::string>{2, "statusCode:200\tmethod:GET\turi:/quilby/Sensors\tmsg:Success"}));
}

TEST_F(SensorsCollectionTest, ConnectedListsUSBSensorsUntilTheLibraryFails) {
  const std::string expected =
      R"([{"deviceID":33,"individualID":"00c3000000004d2a"},)"
      R"({"deviceID":48,"individualID":"00c5000000011b3e"}])";
  // "connected" wins over "serialConnected"; its value is never read.
  for (const char* query : {R"({"connected":null})", R"({"connected":false,"serialConnected":true})"}) {
    clearJournal();
    const Reply reply = call("Sensors", "GET", "", query, "");
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(compact(reply.value), expected) << query;
    const auto enumerations = calls("MDEnumConnectedDevices");
    ASSERT_EQ(enumerations.size(), 3u);
    EXPECT_EQ(compact(enumerations[2]["arguments"]), "[2]");
    EXPECT_EQ(enumerations[2]["status"].toLLong(0), EMERR_NO_MORE_DATA);
    EXPECT_TRUE(calls("HvxCreateUSBDeviceSnapshot").empty());
  }
  // Any failing status ends the list; one counting as success adds the preset outputs.
  QuilbySimFailNext("MDEnumConnectedDevices", 1, EMERR_UNKNOWN);
  EXPECT_EQ(call("Sensors", "GET", "", R"({"connected":1})").envelope, R"({"error":null,"value":[]})");
  QuilbySimFailNext("MDEnumConnectedDevices", 1, EMERR_UNCONFIRMED);
  EXPECT_EQ(compact(call("Sensors", "GET", "", R"({"connected":1})").value),
            R"([{"deviceID":0,"individualID":"0000000000000000"},)"
            R"({"deviceID":48,"individualID":"00c5000000011b3e"}])");
}

TEST_F(SensorsCollectionTest, IndividualIdentifiersAreSixteenLowerCaseHexDigits) {
  loadWorld(R"({"sensors":[
      {"deviceID":7,"individualID":6699,"name":"Small","serial":"s","connection":"usb"},
      {"deviceID":4294967295,"individualID":"FEDCBA9876543210","name":"Big","serial":"b","connection":"usb"}]})");
  EXPECT_EQ(compact(call("Sensors", "GET", "", R"({"connected":""})").value),
            R"([{"deviceID":7,"individualID":"0000000000001a2b"},)"
            R"({"deviceID":4294967295,"individualID":"fedcba9876543210"}])");
}

TEST_F(SensorsCollectionTest, PutSetsTheLibraryDirectoryWhenAsked) {
  const std::string directory = webDirectory().string();
  const Reply reply = call("Sensors", "PUT", "", "", R"({"libraryPath":")" + directory + "\"}");
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(reply.envelope, R"({"error":null,"value":null})");
  const auto init = calls("MDInitDeviceLibrariesDirectoryPath");
  ASSERT_EQ(init.size(), 1u);
  EXPECT_EQ(compact(init[0]["arguments"]), "[\"" + directory + "\"]");
  EXPECT_EQ(logLines().back().second, "statusCode:200\tmethod:PUT\turi:/quilby/Sensors\tmsg:Success");
  // Bodies without either key, or that are no object, change nothing.
  for (const char* body : {"", "{}", R"({"other":1})", "[1,2]", "libraryPath"}) {
    clearJournal();
    EXPECT_EQ(call("Sensors", "PUT", "", "", body).envelope, R"({"error":null,"value":null})") << body;
    EXPECT_TRUE(deviceCalls().empty()) << body;
  }
}

TEST_F(SensorsCollectionTest, FailedLibraryDirectoryStopsBeforeTheSerialMappings) {
  // The value is turned into text: 5 names no directory.
  const Reply reply = call("Sensors", "PUT", "", "",
                           R"({"libraryPath":5,"serialMappings":{"Lumetra R2 Serial Bridge":82}})");
  EXPECT_EQ(reply.status, 500);
  EXPECT_EQ(reply.envelope,
            R"({"error":{"code":2147483664,"message":"Dll is not found.","name":"EmError",)"
            R"("reason":"Init device libraries directory path."},"value":null})");
  EXPECT_EQ(compact(calls("MDInitDeviceLibrariesDirectoryPath")[0]["arguments"]), R"(["5"])");
  EXPECT_EQ(logLines().back(),
            (std::pair<int, std::string>{5, "statusCode:500\tmethod:PUT\turi:/quilby/Sensors\terr:EmError"
                                             "\tmsg:Dll is not found.\tcode:0x80000010"}));
  EXPECT_EQ(call("Sensors", "GET", "", R"({"serialConnected":1})").envelope,
            R"({"error":null,"value":[]})");
  EXPECT_TRUE(calls("HvxCreateUSBDeviceSnapshot").empty());
}

TEST_F(SensorsCollectionTest, DeleteClosesEverySensorAndForgetsItsIdentifier) {
  EXPECT_EQ(call("Sensors", "DELETE").envelope, R"({"error":null,"value":null})");
  EXPECT_TRUE(calls("MDClose").empty());

  const std::string colorimeter = openByDeviceID(kColorimeter);
  const std::string studio = openMonitor(kStudioSerial, kStudioProduct);
  const std::string office = openMonitor(kOfficeSerial, kOfficeProduct);
  // A sensor closed in place is still registered, and closed again with its null handle.
  const std::vector<std::string> handles =
      sorted({journalForm(handleOf(colorimeter)), journalForm(handleOf(studio)), "null"});
  ASSERT_EQ(functions.preUpdate(kOfficeSerial, kOfficeProduct), EMERR_OK);
  clearJournal();
  // A failing close does not stop the others.
  QuilbySimFailNext("MDClose", 1, EMERR_FAILED);
  const Reply reply = call("Sensors", "DELETE");
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(reply.envelope, R"({"error":null,"value":null})");
  EXPECT_EQ(sorted(handleArguments("MDClose")), handles);
  EXPECT_EQ(logLines().back().second, "statusCode:200\tmethod:DELETE\turi:/quilby/Sensors\tmsg:Success");
  EXPECT_EQ(compact(openedIdentifiers()), "[]");
  for (const std::string& id : {colorimeter, studio, office}) {
    EXPECT_EQ(functions.getHandleForID(id.c_str(), nullptr), 0);
    EXPECT_EQ(call("SensorXYZ", "GET", R"({"id":")" + id + "\"}").status, 404);
  }
}

TEST_F(SensorsCollectionTest, TearDownClosesWhatIsOpen) {
  const std::string colorimeter = openByDeviceID(kColorimeter);
  const std::string studio = openMonitor(kStudioSerial, kStudioProduct);
  const std::vector<std::string> handles =
      sorted({journalForm(handleOf(colorimeter)), journalForm(handleOf(studio))});
  clearJournal();
  unloadPlugin(true);
  EXPECT_EQ(sorted(handleArguments("MDClose")), handles);
  for (const cairnjson::Value& entry : calls("MDClose")) EXPECT_EQ(entry["status"].toLLong(-1), EMERR_OK);
}

struct NamesRow {
  const char* query;
  const char* names;
  const char* askedIDs;
};

TEST_F(SensorsCollectionTest, NamesOfDeviceIDsComeInTheOrderGiven) {
  const NamesRow rows[] = {
      {R"({"deviceIDs":"48,33"})", R"(["Lumetra S5 Spectrophotometer","Lumetra C3 Colorimeter"])", "[48,33]"},
      {R"({"deviceIDs":" 82, 4144x"})", R"(["Lumetra R2 Reference","CX Swing Sensor"])", "[82,4144]"},
      // Empty pieces and pieces without a leading number ask for device 0, which has no name.
      {R"({"deviceIDs":"33,,x,"})", R"(["Lumetra C3 Colorimeter","","",""])", "[33,0,0,0]"},
      {R"({"deviceIDs":""})", R"([""])", "[0]"},
      {R"({"deviceIDs":4145})", R"(["CS Front Sensor"])", "[4145]"},
  };
  openByDeviceID(kColorimeter);
  for (const NamesRow& row : rows) {
    clearJournal();
    const Reply reply = call("SensorsName", "GET", "", row.query);
    EXPECT_EQ(reply.status, 200) << row.query;
    EXPECT_EQ(compact(reply.value), row.names) << row.query;
    cairnjson::Value asked(cairnjson::Type::Array);
    for (const cairnjson::Value& entry : calls("MDGetNameFromDeviceID")) asked.push_back(entry["arguments"][0ul]);
    EXPECT_EQ(compact(asked), row.askedIDs) << row.query;
    EXPECT_TRUE(calls("MDGetName").empty()) << row.query;
  }
  EXPECT_EQ(logLines().back().second, "statusCode:200\tmethod:GET\turi:/quilby/Sensors/Name\tmsg:Success");
}

TEST_F(SensorsCollectionTest, NamesOfOpenedSensorsComeInIdentifierOrder) {
  EXPECT_EQ(call("SensorsName", "GET").envelope, R"({"error":null,"value":[]})");
  std::vector<std::pair<std::string, std::string>> opened = {
      {openByDeviceID(kColorimeter), "Lumetra C3 Colorimeter"},
      {openMonitor(kOfficeSerial, kOfficeProduct), "CS Front Sensor"},
      {openByDeviceID(kSpectrophotometer), "Lumetra S5 Spectrophotometer"}};
  std::sort(opened.begin(), opened.end());
  cairnjson::Value expected(cairnjson::Type::Array);
  for (const auto& sensor : opened) expected.push_back(cairnjson::Value::makeString(sensor.second));
  clearJournal();
  EXPECT_EQ(compact(call("SensorsName", "GET", "", R"({"connected":1})").value), compact(expected));
  EXPECT_EQ(handleArguments("MDGetName").size(), 3u);
  // A sensor without a name is listed with an empty one.
  QuilbySimFailNext("MDGetName", 1, EMERR_FAILED);
  const Reply reply = call("SensorsName", "GET");
  EXPECT_EQ(reply.value[0ul].stringRef(), "");
  EXPECT_EQ(reply.value[1ul].stringRef(), opened[1].second);
}

TEST_F(SensorsCollectionTest, ControlPanelOpensOrReportsTheLibrarysFailure) {
  Reply reply = call("XRiteControlPanel", "PUT", R"({"id":"x"})", R"({"q":1})", R"({"d":2})");
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(reply.envelope, R"({"error":null,"value":null})");
  EXPECT_EQ(calls("MDOpenXRiteControlPanel").size(), 1u);
  EXPECT_EQ(logLines().back().second,
            "statusCode:200\tmethod:PUT\turi:/quilby/XRite/ControlPanel\tmsg:Success");

  QuilbySimFailNext("MDOpenXRiteControlPanel", 1, EMERR_FAILED);
  reply = call("XRiteControlPanel", "PUT");
  EXPECT_EQ(reply.status, 500);
  EXPECT_EQ(reply.envelope, R"({"error":{"code":2147483648,"message":"Failed.","name":"EmError",)"
                            R"("reason":"Open XRite Control Panel."},"value":null})");
  EXPECT_EQ(logLines().back().second,
            "statusCode:500\tmethod:PUT\turi:/quilby/XRite/ControlPanel\terr:EmError\tmsg:Failed.\tcode:0x80000000");

  // The library's "Unknown." is let through as success.
  QuilbySimFailNext("MDOpenXRiteControlPanel", 1, EMERR_UNKNOWN);
  EXPECT_EQ(call("XRiteControlPanel", "PUT").status, 200);
}

}  // namespace
