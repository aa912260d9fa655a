// The correlation records held in a built-in sensor (Correlation/Data) and the databases of
// correlation records and matrices (Correlation/Database, CorrelationMatrix/Database), end to end
// against the simulated libraries.
#include "resources/correlation_fixture.h"

#include <cstdint>
#include <string>
#include <vector>

namespace {

using namespace correlation_test;

class CorrelationDataTest : public CorrelationTest {
 protected:
  // Whether the database's entry `id` matches the sensor's own record, as Get with the id says.
  long long matchesSensor(const std::string& sensor, const char* id) {
    return call("SensorCorrelationDatabase", "GET", sensor, R"({"id":)" + std::string(id) + "}")
        .value["matchesSensor"]
        .toInt(-1);
  }
};

// ---- Correlation/Data ---------------------------------------------------------------------------

TEST_F(CorrelationDataTest, GetAnswersTheRecordsOfTheUserDataSetInsideTheSection) {
  const std::string arm = sensor("studio");
  clearJournal();
  const Reply reply = call("SensorCorrelationData", "GET", arm);
  ASSERT_EQ(reply.status, 200) << reply.envelope;
  EXPECT_EQ(reply.value.size(), 7u) << reply.envelope;
  EXPECT_EQ(compact(reply.value["luminanceLevelCorrection"]),
            R"({"brightness":160,"dimmerOut":1023})");
  EXPECT_EQ(compact(reply.value["reference"]),
            R"({"ambientTemperature":24.5,"blue":{"tone":1},"dimmerOut":1023,)"
            R"("green":{"tone":1},"red":{"tone":1},"setTemperature":25})");
  EXPECT_EQ(calls("CSSG2H_SetColorSensorDataIndex")[0]["arguments"][1ul].toInt(-1), 3);
  // The user set chosen, then seven records and the luminance-level question.
  EXPECT_EQ(deviceCalls("CSSG2H_").size(), 9u);
  expectSectionsKept();

  const Reply lacking = call("SensorCorrelationData", "GET", sensor("office"));
  EXPECT_EQ(lacking.value.size(), 6u) << lacking.envelope;
  EXPECT_FALSE(lacking.value.contains("luminanceLevelCorrection"));
}

TEST_F(CorrelationDataTest, PutWritesOnlyTheNamedRecords) {
  const std::string arm = sensor("studio");
  const std::string calibration =
      R"({"calibration":{"a":[[1.5,0.0,0.0],[0.0,1.25,0.0],[0.0,0.0,0.75]]},"coefficientType":2})";
  const std::string tone = R"({"gamma":[2.125,2.25,2.5],"tone":[1.5,0.5,0.25]})";
  clearJournal();
  EXPECT_EQ(answer("SensorCorrelationData", "PUT", arm, "",
                   R"({"calibrationData":)" + calibration + R"(,"referenceTone":)" + tone + "}"),
            ok("null"));
  EXPECT_EQ(deviceCalls("CSSG2H_"),
            (std::vector<std::string>{"CSSG2H_SetColorSensorDataIndex",
                                      "CSSG2H_SetColorSensorCalibData", "CSSG2H_R2XCSetRefToneParam"}));
  expectSectionsKept();
  const Reply reply = call("SensorCorrelationData", "GET", arm);
  EXPECT_EQ(reply.value["calibrationData"]["calibration"]["a"],
            parsed(calibration)["calibration"]["a"]);
  EXPECT_EQ(reply.value["calibrationData"]["coefficientType"].toInt(0), 2);
  EXPECT_EQ(compact(reply.value["referenceTone"]), tone);
  EXPECT_EQ(reply.value["reference"]["ambientTemperature"].toDouble(0), 24.5) << "untouched";

  clearJournal();
  EXPECT_EQ(answer("SensorCorrelationData", "PUT", arm, R"({"send":false})",
                   R"({"calibrationData":{},"correctionData":{},"reference":{}})"),
            ok("null"));
  EXPECT_EQ(deviceCalls("CSSG2H_"),
            (std::vector<std::string>{
                "CSSG2H_SetColorSensorDataIndex", "CSSG2H_SendColorSensorCalibData",
                "CSSG2H_SendColorSensorCorrectionData", "CSSG2H_R2XCSetRefParam"}));
}

TEST_F(CorrelationDataTest, DataFailuresNameTheirStepAndLeaveTheSection) {
  const std::string arm = sensor("studio");
  QuilbySimFailNext("CSSG2H_R2XCGetRefToneParam", 1, 0x80010002);
  EXPECT_EQ(answer("SensorCorrelationData", "GET", arm),
            emError(0x80010002, "Sensor connection error.", "Get ref tone param."));
  // The first failing write ends the request; what was written before stays written.
  QuilbySimFailNext("CSSG2H_SetColorSensorCorrectionData", 1, 0x80000000);
  EXPECT_EQ(
      answer("SensorCorrelationData", "PUT", arm, "",
             R"({"calibrationData":{"coefficientType":5},"correctionData":{},"reference":{}})"),
      emError(0x80000000, "Failed.", "Set color sensor correction data."));
  EXPECT_EQ(userSet(kStudioMonitor)["calibrationData"]["coefficientType"].toInt(0), 5);
  EXPECT_TRUE(calls("CSSG2H_R2XCSetRefParam").empty());
  EXPECT_TRUE(sectionsFree());
  EXPECT_EQ(answer("SensorCorrelationData", "PUT", sensor("office"), "",
                   R"({"luminanceLevelCorrection":{}})"),
            emError(0x80000007, "Unsupported.", "Set luminance level correction params."));
}

// ---- Correlation/Database -----------------------------------------------------------------------

TEST_F(CorrelationDataTest, DatabaseListsTheEntriesMadeOnTheSensorsMonitor) {
  const Reply reply = call("SensorCorrelationDatabase", "GET", sensor("studio"));
  ASSERT_EQ(reply.value.size(), 2u) << reply.envelope;  // entry 3 is the office monitor's
  EXPECT_EQ(reply.value[0ul]["id"].toInt(0), 1);
  EXPECT_EQ(compact(reply.value[1ul]),
            R"({"date":{"dateString":"2024-05-30 16:40:00","day":30,"hour":16,"minute":40,)"
            R"("month":5,"year":2024},"id":2,"referenceSensor":{"deviceID":82,)"
            R"("serial":"QS30-980007"}})");
  EXPECT_EQ(calls("MDEnumCorrelationInfo").size(), 4u);  // three entries, then the end
  EXPECT_EQ(calls("MDGetCorrelationDataDate").size(), 2u);
}

TEST_F(CorrelationDataTest, DatabaseStoresTheSensorsRecordAndMatchesItTolerantly) {
  const std::string arm = sensor("studio");
  clearJournal();
  ASSERT_EQ(answer("SensorCorrelationDatabase", "POST", arm, "",
                   kReference + R"(,"date":"2025-01-02 03:04"})"),
            ok("4"));
  // The user's data index is chosen before the sensor's record is read.
  EXPECT_EQ(calls("CSSG2H_SetColorSensorDataIndex").size(), 1u);
  const auto added = calls("MDAddCSSG2CorrelationDataWithDateEx");
  ASSERT_EQ(added.size(), 1u);
  EXPECT_EQ(compact(added[0]["arguments"]),
            R"(["QM7A0451","QM-27-Studio-Lab",48,"QS20-240117",)"
            R"({"luminanceLevelCorrection":{"brightness":160,"dimmerOut":1023}},)"
            R"({"day":2,"hour":3,"minute":4,"month":1,"year":2025}])");
  expectSectionsKept();
  EXPECT_EQ(
      call("SensorCorrelationDatabase", "GET", arm).value[2ul]["date"]["dateString"].stringRef(),
      "2025-01-02 03:04:00");

  const Reply found = call("SensorCorrelationDatabase", "GET", arm, R"({"id":4})");
  EXPECT_EQ(found.value["kind"].stringRef(), "CSSG2") << found.envelope;
  EXPECT_EQ(found.value["data"]["luminanceLevelCorrection"]["dimmerOut"].toInt(0), 1023);
  EXPECT_TRUE(found.value["matchesSensor"].isBool() && found.value["matchesSensor"].toInt(0) == 1);
  // The brightness matches while it stays below 0.1 apart; dimmerOut must be exact.
  const auto matchesAfter = [&](const std::string& levels) {
    call("SensorCorrelationData", "PUT", arm, "", R"({"luminanceLevelCorrection":)" + levels + "}");
    return matchesSensor(arm, "\"4\"");
  };
  EXPECT_EQ(matchesAfter(R"({"brightness":160.09,"dimmerOut":1023})"), 1);
  EXPECT_EQ(matchesAfter(R"({"brightness":160.2,"dimmerOut":1023})"), 0);
  EXPECT_EQ(matchesAfter(R"({"brightness":160,"dimmerOut":1022})"), 0);
}

TEST_F(CorrelationDataTest, DatabaseReadsAnIFSv3EntryWhenTheCSSG2FormIsRefused) {
  const std::string panel = sensor("office");
  const Reply found = call("SensorCorrelationDatabase", "GET", panel, R"({"id":"3"})");
  EXPECT_EQ(found.value["kind"].stringRef(), "IFSv3") << found.envelope;
  EXPECT_EQ(found.value["data"]["reference"]["dimmerOut"].toInt(0), 612);
  EXPECT_EQ(matchesSensor(panel, "3"), 0);  // the sensor holds no temperatures
  ASSERT_EQ(
      answer("SensorCorrelationDatabase", "POST", panel, "", kReference + R"(,"kind":"IFSv3"})"),
      ok("4"));
  EXPECT_EQ(calls("MDAddIFSv3CorrelationData").size(), 1u);
  EXPECT_EQ(matchesSensor(panel, "4"), 1);
}

// ---- CorrelationMatrix/Database -----------------------------------------------------------------

TEST_F(CorrelationDataTest, MatrixDatabaseListsTheProductsMatricesAndTheLatest) {
  EXPECT_EQ(answer("SensorCorrelationMatrixDatabase", "GET", sensor("office")),
            ok(R"({"latestID":3,"matrices":[{"date":{"dateString":"2023-12-01 09:10:00",)"
               R"("day":1,"hour":9,"minute":10,"month":12,"year":2023},"id":3,)"
               R"("referenceSensor":{"deviceID":48,"serial":"QS20-240117"}}]})"));
  const Reply studioMatrices = call("SensorCorrelationMatrixDatabase", "GET", sensor("studio"));
  EXPECT_EQ(studioMatrices.value["latestID"].toInt(0), 2) << studioMatrices.envelope;
  EXPECT_EQ(studioMatrices.value["matrices"].size(), 2u);
  EXPECT_EQ(calls("MDEnumCorrelationMatrixInfo").back()["arguments"][1ul].toInt(-1), 3)
      << "the studio panel's revision";

  loadWorld(worldWith({{"correlationMatrices", "[]"}}));
  const std::string arm = sensor("studio");
  clearJournal();
  EXPECT_EQ(answer("SensorCorrelationMatrixDatabase", "GET", arm),
            ok(R"({"latestID":null,"matrices":[]})"));
  EXPECT_TRUE(calls("MDGetLatestCorrelationMatrixID").empty());
}

TEST_F(CorrelationDataTest, MatrixDatabaseStoresTheSensorsMatrixInItsForm) {
  const std::pair<std::string, std::string> sensors[] = {{sensor("studio"), kStudioMonitor},
                                                         {sensor("office"), kOfficeMonitor}};
  for (const auto& [named, monitor] : sensors) {
    clearJournal();
    const Reply stored =
        call("SensorCorrelationMatrixDatabase", "POST", named, "", kReference + "}");
    ASSERT_EQ(stored.status, 200) << stored.envelope;
    const auto added = calls("MDAddCorrelationMatrix");
    ASSERT_EQ(added.size(), 1u);
    // The user set's matrix, row by row: 8 rows where the sensor takes them, else 3.
    const cairnjson::Value matrix = userSet(monitor)["matrix"];
    const cairnjson::Value& arguments = added[0]["arguments"];
    EXPECT_EQ(arguments[5ul].toInt(-1), static_cast<int>(matrix.size())) << monitor;
    ASSERT_EQ(arguments[4ul].size(), matrix.size() * 3) << monitor;
    for (unsigned long cell = 0; cell < arguments[4ul].size(); ++cell) {
      EXPECT_EQ(arguments[4ul][cell].toDouble(-9), matrix[cell / 3][cell % 3].toDouble(-8)) << cell;
    }
    expectSectionsKept();
    // Dated now, it is the latest of its product.
    EXPECT_EQ(call("SensorCorrelationMatrixDatabase", "GET", named).value["latestID"],
              stored.value);
  }
  QuilbySimFailNext("MDAddCorrelationMatrix", 1, 0x8000001B);
  EXPECT_EQ(
      answer("SensorCorrelationMatrixDatabase", "POST", sensors[0].first, "", kReference + "}"),
      emError(0x8000001B, "Invalid data size.", "Add correlation matrix."));
  EXPECT_TRUE(sectionsFree());
}

}  // namespace
