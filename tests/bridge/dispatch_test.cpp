// The path of one request from the four texts to the envelope the host receives, through test
// resources whose handlers echo what they were given or fail in chosen ways; and the request log
// line, written through the (simulated) logging library.
#include "bridge/bridge.h"
#include "bridge/em_error.h"
#include "bridge/logger.h"

#include "plugin_host.h"
#include "quilby_sim/control.h"
#include "support/json_helpers.h"
#include "support/row_names.h"
#include "support/world.h"

#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using cairnjson::Value;
using quilbyhost::Answer;

// Answers every method with the request record it received, under the method's name.
class EchoResource : public vesk::Bridge {
 public:
  BridgeResult Get(const BridgeData& data) override { return echo("GET", data); }
  BridgeResult Put(const BridgeData& data) override { return echo("PUT", data); }
  BridgeResult Post(const BridgeData& data) override { return echo("POST", data); }
  BridgeResult Delete(const BridgeData& data) override { return echo("DELETE", data); }

 private:
  static BridgeResult echo(const char* method, const BridgeData& data) {
    Value value;
    value["handler"] = method;
    value["request"] = data.request();
    value["parameters"] = data.parameters();
    value["query"] = data.query();
    value["data"] = data.data();
    return BridgeResultOK(value);
  }
};

// GET runs the failure chosen by the test.
template <class Failure>
class FailingResource : public vesk::Bridge {
 public:
  explicit FailingResource(Failure failure) : failure_(failure) {}
  BridgeResult Get(const BridgeData&) override {
    failure_();
    return BridgeResultOK(Value());
  }

 private:
  Failure failure_;
};

// Runs `resource` as the exported entry point does and returns what the host received.
Answer run(BridgeTemplate&& resource, const std::string& request, const std::string& body = "",
           const std::string& parameters = "", const std::string& query = "") {
  const int promiseId = resource(request.c_str(), parameters.c_str(), query.c_str(), body.c_str());
  std::vector<Answer> answers = quilbyhost::PluginHost::Instance().takeAnswers(promiseId);
  EXPECT_EQ(answers.size(), 1u) << "one answer per request";
  return answers.empty() ? Answer{} : answers.front();
}

template <class Failure>
Answer fail(Failure failure) {
  return run(FailingResource<Failure>(failure), "");
}

Value echoed(const std::string& request, const std::string& body = "",
             const std::string& parameters = "", const std::string& query = "") {
  const Answer answer = run(EchoResource(), request, body, parameters, query);
  EXPECT_EQ(answer.status, 200);
  return quilby_test::parsed(answer.envelope)["value"];
}

struct MethodCase {
  const char* request;
  const char* handler;
};

class DispatchMethodTest : public testing::TestWithParam<MethodCase> {};

TEST_P(DispatchMethodTest, SelectsTheHandler) {
  EXPECT_EQ(echoed(GetParam().request)["handler"].stringRef(), GetParam().handler)
      << GetParam().request;
}

INSTANTIATE_TEST_SUITE_P(
    Table, DispatchMethodTest,
    testing::Values(MethodCase{R"({"method":"pUt"})", "PUT"},
                    MethodCase{R"({"method":"post"})", "POST"},
                    MethodCase{R"({"method":"Delete"})", "DELETE"},
                    MethodCase{R"({"method":"PATCH"})", "GET"},
                    MethodCase{R"({"method":" put"})", "GET"},
                    MethodCase{R"({"method":7})", "GET"}, MethodCase{R"({})", "GET"},
                    MethodCase{R"(["PUT"])", "GET"}, MethodCase{"", "GET"},
                    MethodCase{"\xEF\xBB\xBF{\"method\":\"put\"}", "PUT"},
                    MethodCase{R"({"method":"put"} trailing)", "PUT"}),
    [](const auto& info) { return quilby_test::rowName(info.index, info.param.request); });

TEST(DispatchTest, BodiesThatAreNotJsonArriveAsText) {
  EXPECT_EQ(quilby_test::compact(echoed("", "abc")["data"]), R"("abc")");
  EXPECT_TRUE(echoed("", "")["data"].isNull());
  EXPECT_EQ(quilby_test::compact(echoed("", R"({"a":1} tail)")["data"]), R"({"a":1})");
  EXPECT_EQ(quilby_test::compact(echoed("", "\xEF\xBB\xBF[true]")["data"]), "[true]");
  // A body that parses to null is not told apart from one that does not parse.
  EXPECT_EQ(quilby_test::compact(echoed("", "null")["data"]), R"("null")");
  EXPECT_EQ(quilby_test::compact(echoed("", "{\"a\":1,}")["data"]), R"("{\"a\":1,}")");
  // Other arguments that do not parse are null.
  EXPECT_TRUE(echoed("", "", "oops", "x")["parameters"].isNull());
  // The parser's leniencies apply: stray bytes in an object are skipped.
  EXPECT_EQ(quilby_test::compact(echoed("", "", "{oops")["parameters"]), "{}");
  EXPECT_TRUE(echoed("", "", "", "x")["query"].isNull());
}

TEST(DispatchTest, NullTextsReadAsEmpty) {
  EchoResource resource;
  const int promiseId = resource(nullptr, nullptr, nullptr, nullptr);
  const auto answers = quilbyhost::PluginHost::Instance().takeAnswers(promiseId);
  ASSERT_EQ(answers.size(), 1u);
  EXPECT_EQ(answers[0].envelope,
            R"({"error":null,"value":{"data":null,"handler":"GET","parameters":null,"query":null,"request":null}})");
}

TEST(DispatchTest, SuccessAndLetThroughCodesPass) {
  for (const EmError code : {0x00000000u, 0x00000001u, 0x00000004u, 0x00000005u, 0x7FFFFFFFu,
                             0x80000006u}) {
    const Answer answer = fail([code] { vesk::BridgeCheckEmError(code, "step"); });
    EXPECT_EQ(answer.status, 200) << std::hex << code;
  }
}

TEST(DispatchTest, AnyOtherExceptionOrANonFiniteAnswerIsUnknownError) {
  const std::string unknown =
      R"({"error":{"message":"Unknown error occurred.","name":"UnknownError"},"value":null})";
  const Answer standard = fail([] { throw std::runtime_error("boom"); });
  EXPECT_EQ(standard.status, 500);
  EXPECT_EQ(standard.envelope, unknown);
  EXPECT_EQ(fail([] { throw 42; }).envelope, unknown);
  // The body 1e400 reads as an infinity, which the echoed answer cannot be written with.
  const Answer infinite = run(EchoResource(), "", "1e400");
  EXPECT_EQ(infinite.status, 500);
  EXPECT_EQ(infinite.envelope, unknown);
}

TEST(DispatchTest, ErrorMembersAndKindsBuildTheErrorObject) {
  // A result error whose extra members are not an object keeps only name and message.
  const Answer custom = fail([] {
    BridgeResultError error(static_cast<BridgeStatusCode>(404), "Error", "Not found.");
    error.error.value[0].setInteger(1);
    error.value.setInteger(7);
    throw error;
  });
  EXPECT_EQ(custom.status, 404);
  EXPECT_EQ(custom.envelope, R"({"error":{"message":"Not found.","name":"Error"},"value":7})");
  // Extra members named like the fixed ones are replaced by them.
  const Answer clash = fail([] {
    BridgeResultError error(BridgeStatusCode::InternalServerError, "EmError", "Failed.");
    error.error.value["name"] = "hidden";
    error.error.value["extra"].setBool(true);
    throw error;
  });
  EXPECT_EQ(clash.envelope,
            R"({"error":{"extra":true,"message":"Failed.","name":"EmError"},"value":null})");
}

// A failure's envelope carries the text docs/api.md's table gives its code; a code the table lacks
// is "Undefined error.". The reasons of the plug-in's steps are the resources' tests'.
TEST(EmErrorTest, FailuresCarryTheDocumentedTexts) {
  const std::string source = __FILE__;
  std::ifstream document(source.substr(0, source.rfind("/tests/")) + "/docs/api.md");
  ASSERT_TRUE(document) << source;
  std::vector<std::pair<EmError, std::string>> rows = {
      {0x80000020, "Undefined error."}, {0x80010000, "Undefined error."},
      {0x8001000B, "Undefined error."}, {0xFFFFFFFF, "Undefined error."}};
  const std::regex cell(R"(0x(8[0-9A-F]{7}) \| ([^|]+?) \|)");
  for (std::string line; std::getline(document, line);) {
    for (std::sregex_iterator it(line.begin(), line.end(), cell), end; it != end; ++it) {
      rows.emplace_back(std::stoul((*it)[1], nullptr, 16), (*it)[2]);
    }
  }
  EXPECT_EQ(rows.size(), 45u);
  // The code as an unsigned number; without a reason, no "reason" member.
  for (const auto& [code, text] : rows) {
    EXPECT_EQ(fail([code = code] { vesk::BridgeCheckEmError(code, ""); }).envelope,
              R"({"error":{"code":)" + std::to_string(code) + R"(,"message":")" + text +
                  R"(","name":"EmError"},"value":null})")
        << std::hex << code;
  }
}

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
