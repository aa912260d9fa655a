// The path of one request from the four texts to the envelope the host receives, through test
// resources whose handlers echo what they were given or fail in chosen ways.
#include "bridge/bridge.h"
#include "bridge/em_error.h"

#include "plugin_host.h"
#include "support/json_helpers.h"
#include "support/row_names.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

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
    testing::Values(MethodCase{R"({"method":"PUT"})", "PUT"}, MethodCase{R"({"method":"pUt"})", "PUT"},
                    MethodCase{R"({"method":"post"})", "POST"},
                    MethodCase{R"({"method":"Delete"})", "DELETE"},
                    MethodCase{R"({"method":"GET"})", "GET"}, MethodCase{R"({"method":"PATCH"})", "GET"},
                    MethodCase{R"({"method":" put"})", "GET"}, MethodCase{R"({"method":7})", "GET"},
                    MethodCase{R"({"method":null})", "GET"}, MethodCase{R"({})", "GET"},
                    MethodCase{R"(["PUT"])", "GET"}, MethodCase{"not json", "GET"},
                    MethodCase{"", "GET"}, MethodCase{"\xEF\xBB\xBF{\"method\":\"put\"}", "PUT"},
                    MethodCase{R"({"method":"put"} trailing)", "PUT"}),
    [](const auto& info) { return quilby_test::rowName(info.index, info.param.request); });

TEST(DispatchTest, RefusesMethodsAResourceDoesNotImplement) {
  for (const char* method : {"GET", "PUT", "POST", "DELETE"}) {
    const Answer answer = run(vesk::Bridge(), std::string(R"({"method":")") + method + "\"}");
    EXPECT_EQ(answer.status, 405);
    EXPECT_EQ(answer.envelope, std::string(R"({"error":{"message":")") + method +
                                   R"( method is not allowed.","name":"MethodError"},"value":null})");
  }
}

TEST(DispatchTest, ArgumentsBecomeTheRequestRecord) {
  const Value value = echoed(R"({"method":"put"})", R"({"mode":2})", R"({"id":"abc"})",
                             R"({"supports":null})");
  EXPECT_EQ(quilby_test::compact(value),
            R"({"data":{"mode":2},"handler":"PUT","parameters":{"id":"abc"},)"
            R"("query":{"supports":null},"request":{"method":"put"}})");
}

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

TEST(DispatchTest, RequestConditionFailureIs400) {
  const Answer answer = fail([] { BridgeCheckRequestCondition(false, "data must be boolean."); });
  EXPECT_EQ(answer.status, 400);
  EXPECT_EQ(answer.envelope,
            R"({"error":{"message":"data must be boolean.","name":"BadRequestError"},"value":null})");
  const Answer passed = fail([] { BridgeCheckRequestCondition(true, "unused"); });
  EXPECT_EQ(passed.status, 200);
  EXPECT_EQ(passed.envelope, R"({"error":null,"value":null})");
}

TEST(DispatchTest, LibraryFailureIs500WithUnsignedCodeAndReason) {
  const Answer answer = fail([] { vesk::BridgeCheckEmError(0x80000001u, "Open the control panel."); });
  EXPECT_EQ(answer.status, 500);
  EXPECT_EQ(answer.envelope,
            R"({"error":{"code":2147483649,"message":"Invalid argument.","name":"EmError",)"
            R"("reason":"Open the control panel."},"value":null})");
  const Answer withoutReason = fail([] { vesk::BridgeCheckEmError(0x8001000Bu, ""); });
  EXPECT_EQ(withoutReason.envelope,
            R"({"error":{"code":2147549195,"message":"Undefined error.","name":"EmError"},"value":null})");
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

TEST(EmErrorTest, EveryCodeHasItsText) {
  const std::pair<EmError, const char*> table[] = {
      {0x00000000, "OK."}, {0x00000001, "Exists more data."}, {0x00000002, "Running."},
      {0x00000003, "Unconfirmed."}, {0x00000004, "OK but data is not corrected."},
      {0x80000000, "Failed."}, {0x80000001, "Invalid argument."}, {0x80000002, "Invalid buffer."},
      {0x80000003, "Invalid buffer size."}, {0x80000004, "Already registered."},
      {0x80000005, "Not registered."}, {0x80000006, "Unknown."}, {0x80000007, "Unsupported."},
      {0x80000008, "Stall."}, {0x80000009, "Unimplemented."}, {0x8000000A, "Out of range."},
      {0x8000000B, "No more data."}, {0x8000000C, "Canceled."}, {0x8000000D, "Out of domain."},
      {0x8000000E, "Long proc lock is wait."}, {0x8000000F, "Short proc lock is wait."},
      {0x80000010, "Dll is not found."}, {0x80000011, "Over limit."}, {0x80000012, "Already used."},
      {0x80000013, "Timed out."}, {0x80000014, "Disabled."}, {0x80000015, "Invalid precondition."},
      {0x80000016, "Unresolved."}, {0x80000017, "Retry count exceeded."},
      {0x80000018, "Already created."}, {0x80000019, "Cannot create file."},
      {0x8000001A, "Invalid data."}, {0x8000001B, "Invalid data size."}, {0x8000001C, "Invalid key."},
      {0x8000001D, "Invalid key size."}, {0x8000001E, "Data verify error."},
      {0x8000001F, "Rejected by critical section."}, {0x80010001, "Monitor connection error."},
      {0x80010002, "Sensor connection error."}, {0x80010003, "Measure error."},
      {0x80010004, "Sensor position error."}, {0x80010005, "Calculation error."},
      {0x80010006, "Chamber error."}, {0x80010007, "Siggenerator error."},
      {0x80010008, "Zero calibration error."},
      {0x80010009, "Cannot enter monitor critical section."},
      {0x8001000A, "Monitor critical section is owned."}, {0x00000005, "Undefined error."},
      {0x80000020, "Undefined error."}, {0x80010000, "Undefined error."},
      {0x8001000B, "Undefined error."}, {0xFFFFFFFF, "Undefined error."}};
  for (const auto& [code, text] : table) {
    EXPECT_EQ(vesk::emerror_string(code), text) << std::hex << code;
    if (EMERR_IS_FAILURE(code) && code != 0x80000006u) {
      const Answer answer = fail([code = code] { vesk::BridgeCheckEmError(code, ""); });
      EXPECT_NE(answer.envelope.find(std::string("\"message\":\"") + text + "\""), std::string::npos)
          << answer.envelope;
    }
  }
}

}  // namespace
