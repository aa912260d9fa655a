// The request log line, written through the (simulated) logging library.
#include "bridge/em_error.h"
#include "bridge/logger.h"

#include "plugin_host.h"
#include "quilby_sim/control.h"
#include "support/json_helpers.h"
#include "support/world.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

// A line sent to mirelto_log: logger name, level, text.
using Line = std::tuple<std::string, int, std::string>;

// The lines sent since the journal was last emptied.
std::vector<Line> loggedLines() {
  const cairnjson::Value journal = quilby_test::parsed(quilby_test::controlText(QuilbySimJournal));
  std::vector<Line> lines;
  for (const cairnjson::Value& entry : journal.elements()) {
    if (entry["function"].stringRef() != "mirelto_log") continue;
    const cairnjson::Value& arguments = entry["arguments"];
    lines.emplace_back(arguments[1].stringRef(), arguments[2].toInt(-1), arguments[3].stringRef());
  }
  return lines;
}

class LoggerTest : public testing::Test {
 protected:
  void SetUp() override {
    QuilbySimReset();
    quilbyhost::HostSettings settings;
    settings.exportsPath = QUILBY_TEST_EXPORTS_DIR;
    quilbyhost::PluginHost::Instance().configure(settings);
  }
};

TEST_F(LoggerTest, ResultLinesCarryStatusMethodUriAndOutcomePlainLinesTheirLevel) {
  vesk::LoggerBase logger("Quilby");
  BridgeResult success = BridgeResultOK(cairnjson::Value());
  logger.logResult("GET", "/quilby/Sensors/Name", success);
  success.code = static_cast<BridgeStatusCode>(299);  // the last success status
  logger.logResult("GET", "/quilby/", success);
  try {
    vesk::BridgeCheckEmError(0x8000001Cu, "Get device option value.");  // lower-case hex
  } catch (const BridgeResultError& failure) {
    logger.logResult("PUT", "/quilby/Sensors/x/Mode", failure);
  }
  BridgeResultError badRequest(BridgeStatusCode::BadRequest, "BadRequestError", "URI is invalid.");
  badRequest.error.value["reason"] = "no code";  // extra members without a code add nothing
  logger.logResult("POST", "/quilby/", badRequest);
  BridgeResultError oddCode(BridgeStatusCode::InternalServerError, "EmError", "Failed.");
  oddCode.error.value["code"].setInteger(-1);  // outside the unsigned range: written as 0
  logger.logResult("GET", "/quilby/", oddCode);
  logger.log(vesk::kLogInformation, "Launch mdsubprocess.");

  EXPECT_EQ(
      loggedLines(),
      (std::vector<Line>{
          {"Quilby", 2, "statusCode:200\tmethod:GET\turi:/quilby/Sensors/Name\tmsg:Success"},
          {"Quilby", 2, "statusCode:299\tmethod:GET\turi:/quilby/\tmsg:Success"},
          {"Quilby", 5,
           "statusCode:500\tmethod:PUT\turi:/quilby/Sensors/x/Mode\terr:EmError\tmsg:Invalid "
           "key.\tcode:0x8000001c"},
          {"Quilby", 5,
           "statusCode:400\tmethod:POST\turi:/quilby/\terr:BadRequestError\tmsg:URI is "
           "invalid."},
          {"Quilby", 5,
           "statusCode:500\tmethod:GET\turi:/quilby/\terr:EmError\tmsg:Failed.\tcode:0x00000000"},
          {"Quilby", 3, "Launch mdsubprocess."}}));
}

TEST_F(LoggerTest, WithoutTheLibraryNothingIsSent) {
  quilbyhost::HostSettings settings;
  settings.exportsPath = "/nonexistent";
  quilbyhost::PluginHost::Instance().configure(settings);
  vesk::LoggerBase logger("Quilby");
  logger.log(vesk::kLogFailure, "lost");
  EXPECT_TRUE(loggedLines().empty());
}

TEST_F(LoggerTest, WithoutALoggerFromTheLibraryNothingIsSent) {
  QuilbySimFailNext("mirelto_get_logger", 1, 0x80000000u);
  vesk::LoggerBase logger("Quilby");
  logger.log(vesk::kLogFailure, "lost");
  logger.logResult("GET", "/quilby/Sensors", BridgeResultOK(cairnjson::Value()));
  EXPECT_TRUE(loggedLines().empty());
}

}  // namespace
