// The exports of readings: CSV as text, CGATS read back with Little CMS's reader.
#include "colour/export.h"

#include <gtest/gtest.h>
#include <lcms2.h>

#include <memory>
#include <regex>
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

using It8 = std::unique_ptr<void, decltype(&cmsIT8Free)>;

It8 load(const std::string& text) {
  return It8(cmsIT8LoadFromMem(nullptr, text.data(), static_cast<cmsUInt32Number>(text.size())),
             &cmsIT8Free);
}

std::vector<std::string> fields(const It8& it8) {
  char** names = nullptr;
  const int count = cmsIT8EnumDataFormat(it8.get(), &names);
  return std::vector<std::string>(names, names + std::max(count, 0));
}

TEST(ExportTest, CgatsReadsBackWithLittleCms) {
  const std::optional<std::string> text = quilbycolour::readingsCgats(
      sampleReadings(), quilbycolour::Xyz{152.73, 160.0512, 174.17},
      {"quilby-host 0.1.0", "2026-11-24T12:00:05.000Z"});
  ASSERT_TRUE(text);
  EXPECT_EQ(text->rfind("CGATS.17\nKEYWORD\t\"TIME\"\nKEYWORD\t\"SENSOR\"\nKEYWORD\t\"MODE\"\n"
                        "KEYWORD\t\"CORRECTED\"\nKEYWORD\t\"WHITE_XYZ\"\n", 0),
            0u)
      << *text;
  const It8 it8 = load(*text);
  ASSERT_TRUE(it8) << *text;
  EXPECT_STREQ(cmsIT8GetSheetType(it8.get()), "CGATS.17");
  EXPECT_STREQ(cmsIT8GetProperty(it8.get(), "ORIGINATOR"), "quilby-host 0.1.0");
  EXPECT_STREQ(cmsIT8GetProperty(it8.get(), "CREATED"), "2026-11-24T12:00:05.000Z");
  EXPECT_STREQ(cmsIT8GetProperty(it8.get(), "WHITE_XYZ"), "152.7300 160.0512 174.1700");
  EXPECT_EQ(fields(it8), (std::vector<std::string>{"SAMPLE_ID", "SAMPLE_NAME", "XYZ_X", "XYZ_Y",
                                                   "XYZ_Z", "LAB_L", "LAB_A", "LAB_B", "TIME",
                                                   "SENSOR", "MODE", "CORRECTED"}));
  EXPECT_EQ(cmsIT8GetPropertyDbl(it8.get(), "NUMBER_OF_SETS"), 3);

  const std::vector<std::vector<std::string>> rows = {
      {"1", "white", "152.73", "160.0512", "174.17", "100", "0", "0", "2026-11-24T12:00:00.000Z",
       "QM arm sensor (QMA-0451)", "display", "true"},
      // Quotes cannot be escaped in CGATS: they become apostrophes.
      {"2", "red", "41.2456", "21.2673", "1.9334", "", "", "", "2026-11-24T12:00:01.250Z",
       "probe '7', left", "ambient", "false"},
      // Little CMS cannot read an empty text back: "-" stands for it.
      {"3", "-", "0", "0", "0", "0", "0", "0", "-", "-", "-", "-"},
  };
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 12; ++column) {
      const std::string& want = rows[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)];
      if (column >= 2 && column <= 7 && !want.empty()) {
        EXPECT_NEAR(cmsIT8GetDataRowColDbl(it8.get(), row, column), std::stod(want), 1e-3)
            << row << " " << column;
        continue;
      }
      if (column >= 5 && column <= 7) continue;  // red's L*a*b*, checked through the CSV
      const char* got = cmsIT8GetDataRowCol(it8.get(), row, column);
      EXPECT_EQ(got ? std::string(got) : "(none)", want) << row << " " << column;
    }
  }
}

TEST(ExportTest, CgatsHasLabAndLabelFieldsOnlyWhenThereAreAny) {
  std::vector<ExportReading> readings = sampleReadings();
  for (ExportReading& reading : readings) reading.label.clear();
  const std::optional<std::string> text =
      quilbycolour::readingsCgats(readings, std::nullopt, {"quilby-host 0.1.0", "now"});
  ASSERT_TRUE(text);
  EXPECT_EQ(text->find("WHITE_XYZ"), std::string::npos);
  const It8 it8 = load(*text);
  ASSERT_TRUE(it8);
  EXPECT_EQ(fields(it8), (std::vector<std::string>{"SAMPLE_ID", "XYZ_X", "XYZ_Y", "XYZ_Z", "TIME",
                                                   "SENSOR", "MODE", "CORRECTED"}));
}

}  // namespace
