// The exports of readings: CSV as text, CGATS read back with Little CMS's reader.
#include "colour/export.h"

#include <gtest/gtest.h>
#include <lcms2.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using quilbycolour::ExportReading;

// A white, a red far from the locus (no CCT) with an awkward sensor name, and an unlabelled
// reading without light whose texts are empty.
std::vector<ExportReading> sampleReadings() {
  return {
      {"2026-11-24T12:00:00.000Z", "QM arm sensor (QMA-0451)", "display", true, "white",
       {152.73, 160.0512, 174.17}},
      {"2026-11-24T12:00:01.250Z", "probe \"7\", left", "ambient", false, "red",
       {41.2456, 21.2673, 1.9334}},
      {"", "", "", std::nullopt, "", {0, 0, 0}},
  };
}

TEST(ExportTest, CsvHasAHeaderAndOneRowPerReading) {
  const std::string csv = quilbycolour::readingsCsv(sampleReadings(), std::nullopt);
  EXPECT_EQ(csv,
            "time,sensor,mode,corrected,label,X,Y,Z,x,y,u',v',CCT,Duv\r\n"
            "2026-11-24T12:00:00.000Z,QM arm sensor (QMA-0451),display,true,white,152.7300,"
            "160.0512,174.1700,0.31365,0.32868,0.19861,0.46829,6454.7,0.00263\r\n"
            "2026-11-24T12:00:01.250Z,\"probe \"\"7\"\", left\",ambient,false,red,41.2456,21.2673,"
            "1.9334,0.64000,0.33000,0.45070,0.52289,,\r\n"
            ",,,,,0.0000,0.0000,0.0000,,,,,,\r\n");
}

TEST(ExportTest, CsvAddsLabAgainstTheWhiteAndLeavesOutAnUnusedLabel) {
  std::vector<ExportReading> readings = sampleReadings();
  for (ExportReading& reading : readings) reading.label.clear();
  const std::string csv = quilbycolour::readingsCsv(readings, readings[0].xyz);
  const std::string header = csv.substr(0, csv.find("\r\n"));
  EXPECT_EQ(header, "time,sensor,mode,corrected,X,Y,Z,x,y,u',v',CCT,Duv,L*,a*,b*");
  // The white itself is L* 100 with no colour.
  EXPECT_NE(csv.find(",6454.7,0.00263,100.000,0.000,0.000\r\n"), std::string::npos) << csv;
  EXPECT_NE(csv.find(",0.0000,0.0000,0.0000,,,,,,,0.000,0.000,0.000\r\n"), std::string::npos)
      << csv;
}

TEST(ExportTest, CgatsReadsBackWithLittleCms) {
  const std::optional<std::string> text = quilbycolour::readingsCgats(
      sampleReadings(), quilbycolour::Xyz{152.73, 160.0512, 174.17},
      {"quilby-host 0.1.0", "2026-11-24T12:00:05.000Z"});
  ASSERT_TRUE(text);
  // Quotes cannot be escaped in CGATS: they become apostrophes. Little CMS cannot read an empty
  // text back: "-" stands for it.
  EXPECT_EQ(*text,
            "CGATS.17\nKEYWORD\t\"TIME\"\nKEYWORD\t\"SENSOR\"\nKEYWORD\t\"MODE\"\n"
            "KEYWORD\t\"CORRECTED\"\nKEYWORD\t\"WHITE_XYZ\"\nORIGINATOR\t\"quilby-host 0.1.0\"\n"
            "DESCRIPTOR\t\"Colour readings\"\nCREATED\t\"2026-11-24T12:00:05.000Z\"\n"
            "WHITE_XYZ\t\"152.7300 160.0512 174.1700\"\nNUMBER_OF_FIELDS\t12\nNUMBER_OF_SETS\t3\n"
            "BEGIN_DATA_FORMAT\n SAMPLE_ID\tSAMPLE_NAME\tXYZ_X\tXYZ_Y\tXYZ_Z\tLAB_L\tLAB_A\tLAB_B\t"
            "TIME\tSENSOR\tMODE\tCORRECTED\nEND_DATA_FORMAT\nBEGIN_DATA\n"
            " 1\t\"white\"\t152.7300\t160.0512\t174.1700\t100.000\t0.000\t0.000\t"
            "\"2026-11-24T12:00:00.000Z\"\t\"QM arm sensor (QMA-0451)\"\t\"display\"\t\"true\"\n"
            " 2\t\"red\"\t41.2456\t21.2673\t1.9334\t43.194\t68.042\t57.443\t"
            "\"2026-11-24T12:00:01.250Z\"\t\"probe '7', left\"\t\"ambient\"\t\"false\"\n"
            " 3\t\"-\"\t0.0000\t0.0000\t0.0000\t0.000\t0.000\t0.000\t\"-\"\t\"-\"\t\"-\"\t\"-\"\n"
            "END_DATA\n");
  const std::unique_ptr<void, decltype(&cmsIT8Free)> it8(
      cmsIT8LoadFromMem(nullptr, text->data(), static_cast<cmsUInt32Number>(text->size())),
      &cmsIT8Free);
  ASSERT_TRUE(it8);
  EXPECT_STREQ(cmsIT8GetProperty(it8.get(), "WHITE_XYZ"), "152.7300 160.0512 174.1700");
  EXPECT_STREQ(cmsIT8GetDataRowCol(it8.get(), 1, 9), "probe '7', left");
  EXPECT_STREQ(cmsIT8GetDataRowCol(it8.get(), 2, 11), "-");
  EXPECT_DOUBLE_EQ(cmsIT8GetDataRowColDbl(it8.get(), 0, 3), 160.0512);
}

TEST(ExportTest, CgatsHasLabAndLabelFieldsOnlyWhenThereAreAny) {
  std::vector<ExportReading> readings = sampleReadings();
  for (ExportReading& reading : readings) reading.label.clear();
  const std::optional<std::string> text =
      quilbycolour::readingsCgats(readings, std::nullopt, {"quilby-host 0.1.0", "now"});
  ASSERT_TRUE(text);
  EXPECT_EQ(text->find("WHITE_XYZ"), std::string::npos);
  EXPECT_NE(text->find("\n SAMPLE_ID\tXYZ_X\tXYZ_Y\tXYZ_Z\tTIME\tSENSOR\tMODE\tCORRECTED\n"),
            std::string::npos)
      << *text;
}

}  // namespace
