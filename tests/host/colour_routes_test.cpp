// The colour routes through the frontend, without plug-in or simulator: the answers' shape, the
// refusals, the exported files; and the host routes' answers for paths and methods they lack.
#include "frontend.h"
#include "host_thread.h"
#include "support/json_helpers.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace {

using quilby_test::parsed;
using quilbyhost::HostResponse;

class ColourRoutesTest : public testing::Test {
 protected:
  HostResponse post(const std::string& target, const std::string& body) {
    return frontend_.handle("POST", target, body);
  }
  // The values derived from the first reading of `body`.
  cairnjson::Value derivedFirst(const std::string& body) {
    const HostResponse response = post("/colour/derive", body);
    EXPECT_EQ(response.status, 200) << response.body;
    return parsed(response.body)["value"]["derived"][0ul];
  }

  quilbyhost::HostThread thread_;
  quilbyhost::Frontend frontend_{thread_, nullptr, ""};
};

TEST_F(ColourRoutesTest, DeriveAnswersOneObjectPerReadingInOrderWithWhatItsInputsAllow) {
  const HostResponse response = post("/colour/derive", R"({
      "readings": [[95.047, 100, 108.883], [0, 0, 0], [41.2456, 21.2673, 1.9334]],
      "white": [95.047, 100, 108.883], "reference": [95.047, 100, 108.883]})");
  ASSERT_EQ(response.status, 200) << response.body;
  const cairnjson::Value envelope = parsed(response.body);
  EXPECT_TRUE(response.contentType.empty() && envelope["error"].isNull()) << response.body;
  const cairnjson::Value& derived = envelope["value"]["derived"];
  ASSERT_EQ(derived.size(), 3u);

  const cairnjson::Value& white = derived[0ul];
  // Numbers in their shortest exact text, as the reading was given.
  EXPECT_NE(response.body.find(R"("XYZ":[95.047,100,108.883])"), std::string::npos)
      << response.body;
  EXPECT_NEAR(white["xy"][0ul].toDouble(0), 0.31273, 1e-5);
  EXPECT_NEAR(white["uv"][1ul].toDouble(0), 0.4683, 5e-5);
  EXPECT_NEAR(white["cct"].toDouble(0), 6504, 3);
  EXPECT_NEAR(white["duv"].toDouble(0), 0.0032, 2e-4);
  EXPECT_NEAR(white["Lab"][0ul].toDouble(0), 100, 1e-9);
  EXPECT_NEAR(white["deltaE2000"].toDouble(-1), 0, 1e-9);
  EXPECT_NEAR(white["deltaUV"].toDouble(-1), 0, 1e-12);

  // Without light: no chromaticity, nothing derived from one.
  const cairnjson::Value& dark = derived[1ul];
  for (const char* member : {"xy", "uv", "cct", "duv", "deltaUV"}) {
    EXPECT_TRUE(dark.contains(member) && dark[member].isNull()) << member;
  }
  EXPECT_EQ(quilby_test::compact(dark["Lab"]), "[0,0,0]");

  // Red: far from the locus, so no CCT; sRGB red against D65 is L*a*b* (53.24, 80.09, 67.20).
  const cairnjson::Value& red = derived[2ul];
  EXPECT_TRUE(red["cct"].isNull() && red["duv"].isNull());
  EXPECT_NEAR(red["Lab"][1ul].toDouble(0), 80.09, 0.01);
  EXPECT_GT(red["deltaE2000"].toDouble(0), 40);
  // Δu'v' is the distance in u'v' (in xy it would be 0.3273).
  EXPECT_NEAR(red["deltaUV"].toDouble(0), 0.25868, 1e-5);

  // Without a white: no L*a*b* and no ΔE00; a reference alone gives Δu'v' only.
  const cairnjson::Value alone = derivedFirst(R"({"readings": [[50, 52, 60]]})");
  for (const char* member : {"Lab", "deltaE2000", "deltaUV"}) {
    EXPECT_TRUE(alone.contains(member) && alone[member].isNull()) << member;
  }
  const cairnjson::Value referenced =
      derivedFirst(R"({"readings": [[50, 52, 60]], "reference": [50, 52, 61]})");
  EXPECT_TRUE(referenced["deltaE2000"].isNull());
  EXPECT_GT(referenced["deltaUV"].toDouble(0), 0);
}

// Readings as the sensor answers them, {"X", "Y", "Z"}, derive as the arrays do.
TEST_F(ColourRoutesTest, TakesReadingsAsTheSensorAnswersThem) {
  const HostResponse arrays = post("/colour/derive",
      R"({"readings": [[41.2, 21.3, 1.9]], "white": [95, 100, 108], "reference": [95, 100, 108]})");
  const HostResponse objects = post("/colour/derive",
      R"({"readings": [{"Z": 1.9, "X": 41.2, "Y": 21.3}], "white": {"X": 95, "Y": 100, "Z": 108},
          "reference": {"X": 95, "Y": 100, "Z": 108}})");
  ASSERT_EQ(objects.status, 200) << objects.body;
  EXPECT_EQ(objects.body, arrays.body);
  // A reading of a saturated red may dip just below zero in Z: it still has a chromaticity.
  EXPECT_NEAR(derivedFirst(R"({"readings": [[41.2, 21.3, -0.0007]]})")["xy"][0ul].toDouble(0),
              0.6592, 1e-4);
}

TEST_F(ColourRoutesTest, RefusesMalformedBodiesNamingTheProblem) {
  std::string many = "{\"readings\": [[1, 1, 1]";
  for (int i = 0; i < 10000; ++i) many += ", [1, 1, 1]";
  many += "]}";
  const std::tuple<const char*, std::string, const char*> cases[] = {
      {"derive", "not json", "The body must be a JSON object"},
      {"derive", "[[1, 2, 3]]", "The body must be a JSON object"},
      {"derive", "{}", "readings must be an array"},
      {"derive", R"({"readings": []})", "at least one reading"},
      {"derive", R"({"readings": [[1, 2]]})", "readings[0] must be [X, Y, Z]"},
      {"derive", R"({"readings": [[1, 2, 3], [1, null, 3]]})", "readings[1] must be [X, Y, Z]"},
      {"derive", R"({"readings": [[1, 2, 1e999]]})", "readings[0] must be"},
      {"derive", R"({"readings": [{"X": 1, "Y": 2, "Q": 3}]})", "readings[0] must be"},
      {"derive", R"({"readings": [{"X": 1, "Y": 2, "Z": 3, "W": 4}]})", "readings[0] must be"},
      {"derive", R"({"readings": [[1, 2, 3]], "white": [1, 0, 1]})", "white must be"},
      {"derive", R"({"readings": [[1, 2, 3]], "reference": [1, 2]})", "reference must be"},
      {"derive", R"({"readings": [[1, 2, 3]], "whites": [1, 1, 1]})", "Unknown member \"whites\""},
      {"derive", many, "readings holds 10001 readings; at most 10000"},
      {"export?format=csv", R"({"readings": [[1, 2, 3]]})", "readings[0] must be an object"},
      {"export?format=csv", R"({"readings": [{"XYZ": [1, 2]}]})", "readings[0].XYZ must be"},
      {"export?format=csv", R"({"readings": [{"XYZ": [1, 2, 3], "time": 5}]})",
       "readings[0].time must be a string"},
      {"export?format=csv", R"({"readings": [{"XYZ": [1, 2, 3], "corrected": "yes"}]})",
       "readings[0].corrected must be true or false"},
      {"export?format=csv", R"({"readings": [{"XYZ": [1, 2, 3], "colour": "red"}]})",
       "readings[0] has an unknown member \"colour\""},
      {"export?format=cgats", R"({"readings": [{"XYZ": [1, 2, 3]}], "reference": [1, 1, 1]})",
       "Unknown member \"reference\""},
      {"export", R"({"readings": [{"XYZ": [1, 2, 3]}]})", "The format is missing"},
      {"export?format=xls", R"({"readings": [{"XYZ": [1, 2, 3]}]})", "format must be csv or cgats"},
  };
  for (const auto& [route, body, message] : cases) {
    const HostResponse response = post(std::string("/colour/") + route, body);
    EXPECT_EQ(response.status, 400) << route << " " << body.substr(0, 80);
    const cairnjson::Value envelope = parsed(response.body);
    EXPECT_EQ(envelope["error"]["name"].stringRef(), "HostError");
    EXPECT_NE(envelope["error"]["message"].stringRef().find(message), std::string::npos)
        << envelope["error"]["message"].stringRef();
    EXPECT_TRUE(envelope["value"].isNull());
  }
}

TEST_F(ColourRoutesTest, ExportAnswersTheFileItself) {
  const std::string body =
      R"({"readings": [{"XYZ": [152.1, 160, 174.2]}], "white": [152, 160, 174]})";
  const HostResponse csv = post("/colour/export?format=csv", body);
  ASSERT_EQ(csv.status, 200) << csv.body;
  EXPECT_EQ(csv.contentType, "text/csv; charset=utf-8");
  EXPECT_EQ(csv.headers, (std::vector<std::pair<std::string, std::string>>{
                             {"Content-Disposition", "attachment; filename=\"quilby-readings.csv\""}}));
  // The file itself is colour_test.cpp's; here it comes with the white's L*a*b*.
  EXPECT_NE(csv.body.find(",L*,a*,b*\r\n"), std::string::npos) << csv.body;
  const HostResponse cgats = post("/colour/export?format=cgats", body);
  ASSERT_EQ(cgats.status, 200) << cgats.body;
  EXPECT_EQ(cgats.contentType, "text/plain; charset=utf-8");
  EXPECT_EQ(cgats.headers.at(0).second, "attachment; filename=\"quilby-readings.cgats.txt\"");
  EXPECT_NE(cgats.body.find("ORIGINATOR\t\"quilby-host " QUILBY_HOST_VERSION "\""),
            std::string::npos)
      << cgats.body;
}

// The host's own route families answer for every path under them.
TEST_F(ColourRoutesTest, HostRouteFamiliesAnswerForWhatTheyLack) {
  const std::tuple<const char*, const char*, int, const char*> cases[] = {
      {"GET", "/colour/derive", 405, "The colour routes take POST only."},
      {"POST", "/colour/nothing", 404, "No colour route POST /colour/nothing."},
      {"POST", "/host/info", 405, "The host routes take GET only."},
      {"GET", "/sim/world", 404, "No simulator is loaded"},
      {"PATCH", "/sim", 404, "No simulator is loaded"},
  };
  for (const auto& [method, target, status, message] : cases) {
    const HostResponse response = frontend_.handle(method, target, "{}");
    EXPECT_EQ(response.status, status) << method << " " << target;
    EXPECT_NE(parsed(response.body)["error"]["message"].stringRef().find(message),
              std::string::npos)
        << response.body;
  }
  const HostResponse info = frontend_.handle("GET", "/host/info", "");
  EXPECT_FALSE(parsed(info.body)["value"]["simulator"].toInt(1));
  EXPECT_GT(parsed(frontend_.handle("GET", "/host/routes", "").body)["value"].size(), 30u);
}

}  // namespace
