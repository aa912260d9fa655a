#include "sim_test_support.h"

#include <cstring>
#include <string>

namespace {

using cairnjson::Value;
using sim_test::SimTest;

class CorrectionDatabaseTest : public SimTest {
 protected:
  void SetUp() override {
    SimTest::SetUp();
    ASSERT_EQ(sim_test::loadWorld(sim_test::defaultWorldWith([](Value& w) {
                w["clock"] =
                    sim_test::parsed(R"({"year":2024,"month":7,"day":1,"hour":12,"minute":30})");
              })),
              "");
  }
};

TEST_F(CorrectionDatabaseTest, AddedCorrelationIsListedReadBackAndApplicable) {
  MDCSSG2CorrelationDataEx data{};
  data.calibrationData.calibration.a[0][0] = 2.0;
  data.calibrationData.calibration.a[1][1] = 1.0;
  data.calibrationData.calibration.a[2][2] = 1.0;
  data.correctionData.step[7] = 0.25;
  int64_t id = 0;
  ASSERT_EQ(MDAddCSSG2CorrelationDataEx(sim_test::kOfficeSerial, sim_test::kOfficeProduct, 48,
                                        "S5-240117", &data, &id),
            EMERR_OK);
  EXPECT_EQ(id, 4);

  MDCSSG2CorrelationDataEx read{};
  ASSERT_EQ(MDGetCSSG2CorrelationDataEx(id, &read), EMERR_OK);
  EXPECT_EQ(std::memcmp(&read, &data, sizeof read), 0);
  MDDate date{};
  ASSERT_EQ(MDGetCorrelationDataDate(id, &date), EMERR_OK);
  EXPECT_EQ(date.year, 2024);
  EXPECT_EQ(date.minute, 30);

  // The office monitor's built-in sensor now lists it after the stored one, and it doubles X.
  MDHandle office = openBuiltIn(sim_test::kOfficeHid);
  MDDeviceID reference = 0;
  int64_t listed = 0;
  char serial[MD_REFERENCE_SERIAL_SIZE], product[MD_CORRELATION_PRODUCT_SIZE],
      monitor[MD_CORRELATION_SERIAL_SIZE];
  ASSERT_EQ(MDEnumCorrelationCorrection(office, 1, &reference, serial, product, monitor, &listed),
            EMERR_OK);
  EXPECT_EQ(listed, id);
  EXPECT_STREQ(monitor, sim_test::kOfficeSerial);
  ASSERT_EQ(MDApplyCorrelationCorrection(office, static_cast<uint64_t>(id)), EMERR_OK);
  MDColor raw{}, corrected{};
  ASSERT_EQ(MDMeasureXYZ2(office, &raw, &corrected), EMERR_OK);
  EXPECT_NEAR(corrected.X, 2.0 * raw.X, 1e-9);
  EXPECT_EQ(
      sim_test::world()["correlations"][3ul]["data"]["correctionData"]["step"][7ul].toDouble(0),
      0.25);
}

TEST_F(CorrectionDatabaseTest, RefusesWhatItCannotStore) {
  MDCSSG2CorrelationDataEx data{};
  MDIFSv3CorrelationData ifs{};
  int64_t id = -1;
  const MDDate badDate{2024, 13, 1, 0, 0};
  EXPECT_EQ(MDAddCSSG2CorrelationDataWithDateEx("M", "P", 1, "R", &data, &badDate, &id),
            EMERR_INVALID_DATA);
  EXPECT_EQ(MDAddCSSG2CorrelationDataEx(std::string(17, 'S').c_str(), "P", 1, "R", &data, &id),
            EMERR_INVALID_DATA_SIZE);
  EXPECT_EQ(MDAddCSSG2CorrelationDataEx("M", nullptr, 1, "R", &data, &id), EMERR_INVALID_ARGUMENT);
  EXPECT_EQ(MDGetCSSG2CorrelationDataEx(3, &data), EMERR_INVALID_DATA) << "correlation 3 is IFSv3";
  EXPECT_EQ(MDGetIFSv3CorrelationData(3, &ifs), EMERR_OK);
  EXPECT_EQ(ifs.reference.dimmerOut, 612);
  EXPECT_EQ(MDGetIFSv3CorrelationData(99, &ifs), EMERR_NOT_REGISTERED);
  const double matrix[15] = {};
  EXPECT_EQ(MDAddCorrelationMatrix("P", 1, 1, "R", matrix, 5, &id), EMERR_INVALID_ARGUMENT);
  EXPECT_EQ(id, -1);
  EXPECT_EQ(sim_test::world()["correlations"].size(), 3u);
}

TEST_F(CorrectionDatabaseTest, LatestMatrixIsTheNewest) {
  int64_t id = 0;
  ASSERT_EQ(MDGetLatestCorrelationMatrixID(sim_test::kStudioProduct, 3, &id), EMERR_OK);
  EXPECT_EQ(id, 2);
  double rows[24] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  int64_t added = 0;
  ASSERT_EQ(MDAddCorrelationMatrix(sim_test::kStudioProduct, 3, 33, "C3-0042117", rows, 8, &added),
            EMERR_OK);
  ASSERT_EQ(MDGetLatestCorrelationMatrixID(sim_test::kStudioProduct, 3, &id), EMERR_OK);
  EXPECT_EQ(id, added);
  EXPECT_EQ(MDGetLatestCorrelationMatrixID(sim_test::kStudioProduct, 4, &id), EMERR_NO_MORE_DATA);
  MDDate date{};
  ASSERT_EQ(MDGetCorrelationMatrixDate(added, &date), EMERR_OK);
  EXPECT_EQ(date.month, 7);
}

// The data index: set directly where the monitor accepts it, else through the flags.
TEST_F(CorrectionDatabaseTest, DataIndexSelectsTheDataSetThatCallsSee) {
  MDCSSG2CriterionSensorDescription description{};
  int32_t deviceID = -1;
  ASSERT_EQ(CSSG2H_SetColorSensorDataIndex(sim_test::kOfficeHid, 0, 0), -1)
      << "selects by flags only";
  ASSERT_EQ(CSSG2H_SetColorSensorDataIndex2(sim_test::kOfficeHid, 1, 0), EMERR_OK);
  EXPECT_EQ(sim_test::world()["monitors"][2ul]["dataIndex"].toInt(-1), 3);
  description.deviceID = 82;
  ASSERT_EQ(CSSG2H_SetCriterionSensorDescription(sim_test::kOfficeHid, &description), EMERR_OK);
  ASSERT_EQ(CSSG2H_SetColorSensorDataIndex2(sim_test::kOfficeHid, 0, 1), EMERR_OK);
  EXPECT_EQ(sim_test::world()["monitors"][2ul]["dataIndex"].toInt(-1), 1);
  ASSERT_EQ(CSSG2H_GetCriterionSensorDescription(sim_test::kOfficeHid, &description, &deviceID),
            EMERR_OK);
  EXPECT_EQ(deviceID, 0) << "the factory set has no description";
  EXPECT_EQ(CSSG2H_SetColorSensorDataIndex2(sim_test::kOfficeHid, 2, 0), EMERR_INVALID_ARGUMENT);

  EXPECT_EQ(CSSG2H_SetColorSensorDataIndex(sim_test::kStudioHid, 2, 0), -1) << "no data set 2";
  EXPECT_EQ(CSSG2H_SetColorSensorDataIndex(sim_test::kStudioHid, 1, 0), 0);
  EmCtrlDUEPriority priority = 0;
  EXPECT_EQ(EmCtrlGetDUEPriority(sim_test::kStudioSerial, sim_test::kStudioProduct, &priority),
            EMERR_OK);
  EXPECT_EQ(priority, 2u);
  EXPECT_EQ(EmCtrlSupportedDUEPriority(sim_test::kOfficeSerial, sim_test::kOfficeProduct), 0);
  EXPECT_EQ(EmCtrlGetDUEPriority(sim_test::kOfficeSerial, sim_test::kOfficeProduct, &priority),
            EMERR_UNSUPPORTED);
}

TEST_F(CorrectionDatabaseTest, EightRowMatrixOnlyWhereSupportedAndThreeRowsClearTheRest) {
  double matrix[24];
  EXPECT_EQ(CSSG2H_SupportedXYZCorrectionMatrix8DXT(sim_test::kOfficeHid), 0);
  EXPECT_EQ(CSSG2H_GetXYZCorrectionMatrix8DXT(sim_test::kOfficeHid, matrix), EMERR_UNSUPPORTED);
  ASSERT_EQ(CSSG2H_GetXYZCorrectionMatrix8DXT(sim_test::kStudioHid, matrix), EMERR_OK);
  EXPECT_NE(matrix[9], 0.0);
  const double identity[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  ASSERT_EQ(CSSG2H_SetXYZCorrectionMatrix(sim_test::kStudioHid, identity), EMERR_OK);
  ASSERT_EQ(CSSG2H_GetXYZCorrectionMatrix8DXT(sim_test::kStudioHid, matrix), EMERR_OK);
  for (int i = 9; i < 24; ++i) EXPECT_EQ(matrix[i], 0.0) << i;
}

}  // namespace
