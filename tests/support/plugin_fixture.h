// End-to-end tests of the built libquilby.so against the simulated device libraries: every test
// loads a fresh plug-in as a host would (dlopen from the exports directory, Setup, ..., TearDown,
// dlclose), with the simulated world reset, and reads the answers as the host receives them and
// the simulator's journal of device-library calls.
#ifndef QUILBY_TESTS_SUPPORT_PLUGIN_FIXTURE_H
#define QUILBY_TESTS_SUPPORT_PLUGIN_FIXTURE_H

#include "json/cairnjson.h"
#include "plugin_host.h"
#include "quilby_sim/control.h"
#include "support/json_helpers.h"
#include "support/world.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace quilby_test {

// One answer, with its envelope parsed.
struct Reply {
  int status = 0;
  std::string envelope;
  cairnjson::Value error;
  cairnjson::Value value;
};

// Answers as PluginTest::answer writes them: "<status> <envelope>".
inline std::string ok(const std::string& valueJson) {
  return R"(200 {"error":null,"value":)" + valueJson + "}";
}
inline std::string badRequest(const std::string& message) {
  return R"(400 {"error":{"message":")" + message + R"(","name":"BadRequestError"},"value":null})";
}
// A library failure: its code, the code's text and the step that failed.
inline std::string emError(unsigned code, const std::string& message, const std::string& reason) {
  return R"(500 {"error":{"code":)" + std::to_string(code) + R"(,"message":")" + message +
         R"(","name":"EmError","reason":")" + reason + R"("},"value":null})";
}
inline std::string functionNotFound(const std::string& library) {
  return R"(404 {"error":{"message":")" + library +
         R"( does not have a requested function.","name":"FunctionNotFoundError"},"value":null})";
}
inline const std::string kInvalidURI = badRequest("URI is invalid.");
inline const std::string kNotFound =
    R"(404 {"error":{"message":"Not found.","name":"Error"},"value":null})";

class PluginTest : public testing::Test {
 protected:
  // Resets the world, makes fresh web page and registry directories, loads the plug-in from
  // `exportsDirectory()`, calls Setup and empties the journal.
  void SetUp() override {
    ASSERT_EQ(QuilbySimReset(), 0);
    const testing::TestInfo* test = testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string(test->test_suite_name()) + "-" + test->name();
    std::replace(name.begin(), name.end(), '/', '_');  // parameterised tests have "/" in theirs
    scratch_ = std::filesystem::temp_directory_path() /
               ("quilby-" + std::to_string(getpid()) + "-" + name);
    std::filesystem::remove_all(scratch_);
    std::filesystem::create_directories(web_ = scratch_ / "web");
    std::filesystem::create_directories(registry_ = scratch_ / "registry");
    settings_.htmlPath = web_.string();
    settings_.registryPath = registry_.string();
    settings_.architecture = "x86_64";
    settings_.applicationName = "Quilby Tests";
    loadPlugin();
    clearJournal();
  }
  // Calls TearDown and unloads the plug-in (unless a test already did).
  void TearDown() override {
    if (loaded_) unloadPlugin();
    std::filesystem::remove_all(scratch_);
  }

  // Loads the plug-in from `directory` with the current settings and calls Setup; the test fails
  // when it cannot be loaded.
  void loadPlugin(const std::filesystem::path& directory = exportsDirectory()) {
    settings_.exportsPath = directory.string();
    quilbyhost::PluginHost& host = quilbyhost::PluginHost::Instance();
    host.configure(settings_);
    std::string error;
    ASSERT_TRUE(host.load((directory / "libquilby.so").string(), error)) << error;
    loaded_ = true;
    host.setUp();
  }
  // Calls TearDown and unloads the plug-in.
  void unloadPlugin() {
    quilbyhost::PluginHost& host = quilbyhost::PluginHost::Instance();
    host.tearDown();
    host.unload();
    loaded_ = false;
  }

  // Calls `entryPoint` with the method and the three other texts, as the host's bridge would.
  Reply call(const std::string& entryPoint, const std::string& method,
             const std::string& parameters = "", const std::string& query = "",
             const std::string& data = "") {
    const std::string request = method.empty() ? "" : R"({"method":")" + method + "\"}";
    quilbyhost::Answer answer;
    std::string error;
    Reply reply;
    if (!quilbyhost::PluginHost::Instance().call(entryPoint, request, parameters, query, data,
                                                 answer, error)) {
      ADD_FAILURE() << error;
      return reply;
    }
    reply.status = answer.status;
    reply.envelope = answer.envelope;
    const cairnjson::Value envelope = parsed(answer.envelope);
    reply.error = envelope["error"];
    reply.value = envelope["value"];
    return reply;
  }
  // The same call's answer as "<status> <envelope>".
  std::string answer(const std::string& entryPoint, const std::string& method,
                     const std::string& parameters = "", const std::string& query = "",
                     const std::string& data = "") {
    const Reply reply = call(entryPoint, method, parameters, query, data);
    return std::to_string(reply.status) + " " + reply.envelope;
  }

  // The journal of device-library calls since it was last emptied, and helpers on it.
  cairnjson::Value journal() const {
    cairnjson::Parser parser;
    cairnjson::Value entries;
    const std::string text = controlText(QuilbySimJournal);
    // The parser accepts an array cut short; a journal must be complete.
    if (!parser.parse(text, entries) || text.empty() || text.back() != ']') {
      ADD_FAILURE() << "the journal is not complete JSON: " << parser.error() << " " << text;
    }
    return entries;
  }
  void clearJournal() const { QuilbySimClearJournal(); }
  // The journal entries of `function`, in order.
  std::vector<cairnjson::Value> calls(const std::string& function) const {
    std::vector<cairnjson::Value> found;
    const cairnjson::Value entries = journal();
    for (const cairnjson::Value& entry : entries.elements()) {
      if (entry["function"].stringRef() == function) found.push_back(entry);
    }
    return found;
  }
  // The lines the plug-in logged (level and text), in order.
  std::vector<std::pair<int, std::string>> logLines() const {
    std::vector<std::pair<int, std::string>> lines;
    for (const cairnjson::Value& entry : calls("mirelto_log")) {
      const cairnjson::Value& arguments = entry["arguments"];
      EXPECT_EQ(arguments[1].stringRef(), "Quilby");
      lines.emplace_back(arguments[2].toInt(-1), arguments[3].toString(""));
    }
    return lines;
  }

  static std::filesystem::path exportsDirectory() { return QUILBY_TEST_EXPORTS_DIR; }
  const std::filesystem::path& webDirectory() const { return web_; }
  const std::filesystem::path& registryDirectory() const { return registry_; }
  quilbyhost::HostSettings& settings() { return settings_; }

 private:
  std::filesystem::path scratch_, web_, registry_;
  quilbyhost::HostSettings settings_;
  bool loaded_ = false;
};

}  // namespace quilby_test

#endif  // QUILBY_TESTS_SUPPORT_PLUGIN_FIXTURE_H
