// End-to-end tests of the built libquilby.so against the simulated device libraries: every test
// loads a fresh plug-in as a host would (dlopen from the exports directory, Setup, ..., TearDown,
// dlclose), with the simulated world reset, and reads the answers as the host receives them and
// the simulator's journal of device-library calls.
#ifndef QUILBY_TESTS_SUPPORT_PLUGIN_FIXTURE_H
#define QUILBY_TESTS_SUPPORT_PLUGIN_FIXTURE_H

#include "json/cairnjson.h"
#include "plugin_host.h"
#include "support/json_helpers.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
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
  void SetUp() override;
  // Calls TearDown and unloads the plug-in (unless a test already did).
  void TearDown() override;

  // Loads the plug-in from `directory` (default: the build's exports directory) with the
  // current settings; the test fails when it cannot be loaded.
  void loadPlugin(const std::filesystem::path& directory, bool callSetup);
  void unloadPlugin(bool callTearDown);

  // Calls `entryPoint` with the method and the three other texts, as the host's bridge would.
  Reply call(const std::string& entryPoint, const std::string& method,
             const std::string& parameters = "", const std::string& query = "",
             const std::string& data = "");
  // The same call's answer as "<status> <envelope>".
  std::string answer(const std::string& entryPoint, const std::string& method,
                     const std::string& parameters = "", const std::string& query = "",
                     const std::string& data = "") {
    const Reply reply = call(entryPoint, method, parameters, query, data);
    return std::to_string(reply.status) + " " + reply.envelope;
  }

  // The journal of device-library calls since it was last emptied, and helpers on it.
  cairnjson::Value journal() const;
  void clearJournal() const;
  // The journal entries of `function`, in order.
  std::vector<cairnjson::Value> calls(const std::string& function) const;
  // The lines the plug-in logged (level and text), in order.
  std::vector<std::pair<int, std::string>> logLines() const;

  static std::filesystem::path exportsDirectory();
  const std::filesystem::path& webDirectory() const { return web_; }
  const std::filesystem::path& registryDirectory() const { return registry_; }
  quilbyhost::HostSettings& settings() { return settings_; }

 private:
  std::filesystem::path scratch_;
  std::filesystem::path web_;
  std::filesystem::path registry_;
  quilbyhost::HostSettings settings_;
  bool loaded_ = false;
};

}  // namespace quilby_test

#endif  // QUILBY_TESTS_SUPPORT_PLUGIN_FIXTURE_H
