// The colour computations against published reference values: the 34 pairs of the supplementary
// test data published with the CIEDE2000 formula's implementation notes (Color Research and
// Application 30(1), 2005), and the standard illuminants of CIE 15:2004 (chromaticities,
// correlated colour temperatures); and the exports of readings, CSV as text and CGATS read back
// with Little CMS's reader.
#include "colour/colorimetry.h"
#include "colour/export.h"
#include "colour/number_text.h"

#include <gtest/gtest.h>
#include <lcms2.h>

#include <cmath>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

namespace {

using quilbycolour::ExportReading;
using quilbycolour::Xyz;

// A reading of luminance `Y` at chromaticity (x, y).
Xyz fromXyY(double x, double y, double Y) { return {x / y * Y, Y, (1 - x - y) / y * Y}; }

struct DeltaEPair {
  double L1, a1, b1, L2, a2, b2, deltaE;
};

// The 34 pairs of the implementation notes, with their CIEDE2000 to four decimals.
const DeltaEPair kDeltaEPairs[] = {
    {50.0000, 2.6772, -79.7751, 50.0000, 0.0000, -82.7485, 2.0425},
    {50.0000, 3.1571, -77.2803, 50.0000, 0.0000, -82.7485, 2.8615},
    {50.0000, 2.8361, -74.0200, 50.0000, 0.0000, -82.7485, 3.4412},
    {50.0000, -1.3802, -84.2814, 50.0000, 0.0000, -82.7485, 1.0000},
    {50.0000, -1.1848, -84.8006, 50.0000, 0.0000, -82.7485, 1.0000},
    {50.0000, -0.9009, -85.5211, 50.0000, 0.0000, -82.7485, 1.0000},
    {50.0000, 0.0000, 0.0000, 50.0000, -1.0000, 2.0000, 2.3669},
    {50.0000, -1.0000, 2.0000, 50.0000, 0.0000, 0.0000, 2.3669},
    {50.0000, 2.4900, -0.0010, 50.0000, -2.4900, 0.0009, 7.1792},
    {50.0000, 2.4900, -0.0010, 50.0000, -2.4900, 0.0010, 7.1792},
    {50.0000, 2.4900, -0.0010, 50.0000, -2.4900, 0.0011, 7.2195},
    {50.0000, 2.4900, -0.0010, 50.0000, -2.4900, 0.0012, 7.2195},
    {50.0000, -0.0010, 2.4900, 50.0000, 0.0009, -2.4900, 4.8045},
    {50.0000, -0.0010, 2.4900, 50.0000, 0.0010, -2.4900, 4.8045},
    {50.0000, -0.0010, 2.4900, 50.0000, 0.0011, -2.4900, 4.7461},
    {50.0000, 2.5000, 0.0000, 50.0000, 0.0000, -2.5000, 4.3065},
    {50.0000, 2.5000, 0.0000, 73.0000, 25.0000, -18.0000, 27.1492},
    {50.0000, 2.5000, 0.0000, 61.0000, -5.0000, 29.0000, 22.8977},
    {50.0000, 2.5000, 0.0000, 56.0000, -27.0000, -3.0000, 31.9030},
    {50.0000, 2.5000, 0.0000, 58.0000, 24.0000, 15.0000, 19.4535},
    {50.0000, 2.5000, 0.0000, 50.0000, 3.1736, 0.5854, 1.0000},
    {50.0000, 2.5000, 0.0000, 50.0000, 3.2972, 0.0000, 1.0000},
    {50.0000, 2.5000, 0.0000, 50.0000, 1.8634, 0.5757, 1.0000},
    {50.0000, 2.5000, 0.0000, 50.0000, 3.2592, 0.3350, 1.0000},
    {60.2574, -34.0099, 36.2677, 60.4626, -34.1751, 39.4387, 1.2644},
    {63.0109, -31.0961, -5.8663, 62.8187, -29.7946, -4.0864, 1.2630},
    {61.2901, 3.7196, -5.3901, 61.4292, 2.2480, -4.9620, 1.8731},
    {35.0831, -44.1164, 3.7933, 35.0232, -40.0716, 1.5901, 1.8645},
    {22.7233, 20.0904, -46.6940, 23.0331, 14.9730, -42.5619, 2.0373},
    {36.4612, 47.8580, 18.3852, 36.2715, 50.5065, 21.2231, 1.4146},
    {90.8027, -2.0831, 1.4410, 91.1528, -1.6435, 0.0447, 1.4441},
    {90.9257, -0.5406, -0.9208, 88.6381, -0.8985, -0.7239, 1.5381},
    {6.7747, -0.2908, -2.4247, 5.8714, -0.0985, -2.2286, 0.6377},
    {2.0776, 0.0795, -1.1350, 0.9033, -0.0636, -0.5514, 0.9082},
};

TEST(DeltaE2000Test, MatchesThePublishedDifferencesBothWays) {
  for (const DeltaEPair& pair : kDeltaEPairs) {
    const quilbycolour::Lab first{pair.L1, pair.a1, pair.b1};
    const quilbycolour::Lab second{pair.L2, pair.a2, pair.b2};
    SCOPED_TRACE("pair " + std::to_string(&pair - kDeltaEPairs + 1));
    // Published to four decimals.
    EXPECT_NEAR(quilbycolour::deltaE2000(first, second), pair.deltaE, 1e-4);
    EXPECT_NEAR(quilbycolour::deltaE2000(second, first), pair.deltaE, 1e-4);
  }
}

struct Illuminant {
  const char* name;
  double x, y;
  double kelvin;
  // NAN where none is checked.
  double duv, u, v;
};

// CIE 15:2004 (2-degree observer); Duv as published with the practical CCT and Duv method
// (LEUKOS 10(1), 2014): A lies on the locus, the daylights above it.
const Illuminant kIlluminants[] = {
    {"A", 0.44757, 0.40745, 2856, 0.0, 0.2560, 0.5243},
    {"D50", 0.34567, 0.35850, 5003, 0.0033, NAN, NAN},
    {"D65", 0.31272, 0.32903, 6504, 0.0032, 0.1978, 0.4683},
    {"D75", 0.29902, 0.31485, 7504, NAN, NAN, NAN},
    {"F11", 0.38052, 0.37713, 4000, NAN, NAN, NAN},
};

TEST(IlluminantTest, HaveTheirChromaticitiesAndColourTemperatures) {
  for (const Illuminant& illuminant : kIlluminants) {
    SCOPED_TRACE(illuminant.name);
    // Any luminance: the chromaticity does not depend on it.
    const Xyz reading = fromXyY(illuminant.x, illuminant.y, 160.0);
    const auto xy = quilbycolour::chromaticityXy(reading);
    ASSERT_TRUE(xy);
    EXPECT_NEAR(xy->first, illuminant.x, 1e-9);
    EXPECT_NEAR(xy->second, illuminant.y, 1e-9);
    const auto uv = quilbycolour::chromaticityUv(reading);
    ASSERT_TRUE(uv);
    if (!std::isnan(illuminant.u)) {
      // Published to four decimals.
      EXPECT_NEAR(uv->first, illuminant.u, 5e-5);
      EXPECT_NEAR(uv->second, illuminant.v, 5e-5);
    }
    const auto temperature = quilbycolour::colourTemperature(reading);
    ASSERT_TRUE(temperature);
    // Interpolating between the isotherms lands within 2.5 K of the published values here.
    EXPECT_NEAR(temperature->kelvin, illuminant.kelvin, 3.0);
    if (!std::isnan(illuminant.duv)) {
      EXPECT_NEAR(temperature->duv, illuminant.duv, 2e-4);
    }
  }
}

TEST(ColorimetryTest, HasNoColourTemperatureFarFromTheLocusOrOutsideItsRange) {
  const std::tuple<const char*, Xyz> cases[] = {
      {"sRGB red, outside the isotherms", fromXyY(0.64, 0.33, 20)},
      {"sRGB blue, outside the isotherms", fromXyY(0.15, 0.06, 10)},
      {"saturated green, 0.2 above the locus", fromXyY(0.30, 0.60, 70)},
      {"deep orange, below 1667 K", fromXyY(0.5857, 0.3931, 1)},
      {"blue sky, above 15000 K", fromXyY(0.24, 0.24, 1)},
      {"pink, 0.053 below the locus", fromXyY(0.34, 0.26, 1)},
  };
  for (const auto& [what, reading] : cases) {
    EXPECT_FALSE(quilbycolour::colourTemperature(reading)) << what;
  }
  // Just inside: 0.02 below the locus near 3000 K.
  const auto pinkish = quilbycolour::colourTemperature(fromXyY(0.42, 0.36, 1));
  ASSERT_TRUE(pinkish);
  EXPECT_LT(pinkish->duv, -0.015);
}

TEST(ColorimetryTest, LabIsRelativeToTheWhitesLuminance) {
  const Xyz white{95.047, 100.0, 108.883};
  // sRGB red against D65: L*a*b* (53.24, 80.09, 67.20).
  const Xyz red{41.2456, 21.2673, 1.9334};
  // A display's white is some 160 cd/m², not 100.
  const quilbycolour::Lab lab = quilbycolour::labAgainstWhite(
      {red.X * 1.6, red.Y * 1.6, red.Z * 1.6}, {white.X * 1.6, white.Y * 1.6, white.Z * 1.6});
  EXPECT_NEAR(lab.L, 53.24, 0.01);
  EXPECT_NEAR(lab.a, 80.09, 0.01);
  EXPECT_NEAR(lab.b, 67.20, 0.01);
  // L* of greys: 18 % is 49.50; below 216/24389 the linear segment (24389/27 times Y).
  const std::pair<double, double> greys[] = {{1.0, 100.0}, {0.18, 49.496}, {0.008, 7.2263}, {0, 0}};
  for (const auto& [luminance, lightness] : greys) {
    const quilbycolour::Lab lab = quilbycolour::labAgainstWhite(
        {white.X * luminance, white.Y * luminance, white.Z * luminance}, white);
    EXPECT_NEAR(lab.L, lightness, 1e-3) << luminance;
    EXPECT_NEAR(lab.a, 0, 1e-9) << luminance;
    EXPECT_NEAR(lab.b, 0, 1e-9) << luminance;
  }
}

TEST(ColorimetryTest, StatisticsOfASeries) {
  const auto four = quilbycolour::statisticsOf({4, 1, 3, 2});
  ASSERT_TRUE(four && four->standardDeviation);
  EXPECT_EQ(std::tie(four->count, four->minimum, four->maximum, four->mean),
            std::make_tuple(4u, 1, 4, 2.5));
  // The sample standard deviation: sqrt(5 / 3).
  EXPECT_NEAR(*four->standardDeviation, 1.290994, 1e-6);
  const auto one = quilbycolour::statisticsOf({7});
  EXPECT_TRUE(one && !one->standardDeviation);
  EXPECT_FALSE(quilbycolour::statisticsOf({}));
}

TEST(NumberTextTest, FixedDecimalsWithoutNegativeZero) {
  const std::tuple<double, int, const char*, const char*> cases[] = {
      {6502.39, 0, "6502", "+6502"},        {0.312721, 4, "0.3127", "+0.3127"},
      {-0.00004, 4, "0.0000", "0.0000"},    {-0.0011, 4, "-0.0011", "-0.0011"},
      {1796.5, 2, "1796.50", "+1796.50"},   {1e20, 1, "100000000000000000000.0", "+100000000000000000000.0"},
      {0.1 + 0.2, 2, "0.30", "+0.30"},      {NAN, 2, "nan", "nan"},
  };
  for (const auto& [value, decimals, text, signedText] : cases) {
    EXPECT_EQ(quilbycolour::fixedText(value, decimals), text) << value;
    EXPECT_EQ(quilbycolour::signedFixedText(value, decimals), signedText) << value;
  }
}

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

TEST(ExportTest, CsvHasAHeaderAndOneRowPerReadingAndColumnsOnlyForWhatThereIs) {
  EXPECT_EQ(quilbycolour::readingsCsv(sampleReadings(), std::nullopt),
            "time,sensor,mode,corrected,label,X,Y,Z,x,y,u',v',CCT,Duv\r\n"
            "2026-11-24T12:00:00.000Z,QM arm sensor (QMA-0451),display,true,white,152.7300,"
            "160.0512,174.1700,0.31365,0.32868,0.19861,0.46829,6454.7,0.00263\r\n"
            "2026-11-24T12:00:01.250Z,\"probe \"\"7\"\", left\",ambient,false,red,41.2456,21.2673,"
            "1.9334,0.64000,0.33000,0.45070,0.52289,,\r\n"
            ",,,,,0.0000,0.0000,0.0000,,,,,,\r\n");

  // Without labels neither export has their column; L*a*b* comes with a white only.
  std::vector<ExportReading> readings = sampleReadings();
  for (ExportReading& reading : readings) reading.label.clear();
  const std::string csv = quilbycolour::readingsCsv(readings, readings[0].xyz);
  EXPECT_EQ(csv.substr(0, csv.find("\r\n")),
            "time,sensor,mode,corrected,X,Y,Z,x,y,u',v',CCT,Duv,L*,a*,b*");
  // The white itself is L* 100 with no colour.
  EXPECT_NE(csv.find(",6454.7,0.00263,100.000,0.000,0.000\r\n"), std::string::npos) << csv;
  EXPECT_NE(csv.find(",0.0000,0.0000,0.0000,,,,,,,0.000,0.000,0.000\r\n"), std::string::npos)
      << csv;
  const std::optional<std::string> text =
      quilbycolour::readingsCgats(readings, std::nullopt, {"quilby-host 0.1.0", "now"});
  ASSERT_TRUE(text);
  EXPECT_EQ(text->find("WHITE_XYZ"), std::string::npos);
  EXPECT_NE(text->find("\n SAMPLE_ID\tXYZ_X\tXYZ_Y\tXYZ_Z\tTIME\tSENSOR\tMODE\tCORRECTED\n"),
            std::string::npos)
      << *text;
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
  // The text above is one Little CMS reads, to its last field.
  const std::unique_ptr<void, decltype(&cmsIT8Free)> it8(
      cmsIT8LoadFromMem(nullptr, text->data(), static_cast<cmsUInt32Number>(text->size())),
      &cmsIT8Free);
  ASSERT_TRUE(it8);
  EXPECT_STREQ(cmsIT8GetProperty(it8.get(), "WHITE_XYZ"), "152.7300 160.0512 174.1700");
  EXPECT_STREQ(cmsIT8GetDataRowCol(it8.get(), 2, 11), "-");
}

}  // namespace
