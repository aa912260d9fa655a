// Feeds arbitrary bytes as the four texts of a request through the dispatcher: whatever arrives,
// exactly one answer is delivered, it is one JSON object {"error": ..., "value": ...} with a
// status the bridge uses, and nothing escapes.
//
// The input is split at the first three NUL bytes into request, parameters, query and body (a
// missing part is empty). The resource echoes the request record, checks a body like the real
// handlers do, or fails in a way chosen by the input.
#include "bridge/bridge.h"
#include "bridge/em_error.h"
#include "json/cairnjson.h"

#include "plugin_host.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

namespace {

void check(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "bridge_fuzz: %s\n", what);
  std::abort();
}

class FuzzResource : public vesk::Bridge {
 public:
  BridgeResult Get(const BridgeData& data) override {
    cairnjson::Value echo;
    echo["request"] = data.request();
    echo["parameters"] = data.parameters();
    echo["query"] = data.query();
    echo["data"] = data.data();
    return BridgeResultOK(echo);
  }
  BridgeResult Put(const BridgeData& data) override {
    BridgeCheckRequestCondition(data.data().isBool() || data.data().isNumber(),
                                "data must be number or boolean.");
    vesk::BridgeCheckEmError(static_cast<EmError>(data.data().toLLong(0)), "Fuzzed status.");
    return BridgeResultOK(data.data());
  }
  BridgeResult Post(const BridgeData& data) override {
    if (data.query().contains("throw")) throw std::runtime_error("fuzzed");
    cairnjson::Value number;
    number.setDouble(data.data().toDouble(0.0));  // may be a NaN or an infinity
    return BridgeResultOK(number);
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string parts[4];
  std::size_t part = 0;
  for (std::size_t i = 0; i < size; ++i) {
    if (data[i] == 0 && part < 3) {
      ++part;
    } else {
      parts[part].push_back(static_cast<char>(data[i]));
    }
  }
  FuzzResource resource;
  const int promiseId =
      resource(parts[0].c_str(), parts[1].c_str(), parts[2].c_str(), parts[3].c_str());
  const auto answers = quilbyhost::PluginHost::Instance().takeAnswers(promiseId);
  check(answers.size() == 1, "not exactly one answer");
  const int status = answers[0].status;
  check(status == 200 || status == 400 || status == 405 || status == 500, "unexpected status");
  cairnjson::Parser parser;
  cairnjson::Value envelope;
  check(parser.parse(answers[0].envelope, envelope), "the envelope is not JSON");
  check(envelope.isObject() && envelope.size() == 2 && envelope.contains("error") &&
            envelope.contains("value"),
        "the envelope is not {error, value}");
  check((status == 200) == envelope["error"].isNull(), "error and status disagree");
  return 0;
}
