#include "support/plugin_fixture.h"

#include "quilby_sim/control.h"
#include "support/world.h"

#include <unistd.h>

namespace quilby_test {

namespace fsys = std::filesystem;

fsys::path PluginTest::exportsDirectory() { return QUILBY_TEST_EXPORTS_DIR; }

void PluginTest::SetUp() {
  ASSERT_EQ(QuilbySimReset(), 0);
  const testing::TestInfo* test = testing::UnitTest::GetInstance()->current_test_info();
  // Parameterised tests have "/" in their names.
  std::string name = std::string(test->test_suite_name()) + "-" + test->name();
  for (char& c : name) {
    if (c == '/') c = '_';
  }
  scratch_ = fsys::temp_directory_path() / ("quilby-" + std::to_string(getpid()) + "-" + name);
  fsys::remove_all(scratch_);
  web_ = scratch_ / "web";
  registry_ = scratch_ / "registry";
  fsys::create_directories(web_);
  fsys::create_directories(registry_);
  settings_.exportsPath = exportsDirectory().string();
  settings_.htmlPath = web_.string();
  settings_.registryPath = registry_.string();
  settings_.architecture = "x86_64";
  settings_.applicationName = "Quilby Tests";
  loadPlugin(exportsDirectory(), true);
  clearJournal();
}

void PluginTest::TearDown() {
  if (loaded_) unloadPlugin(true);
  fsys::remove_all(scratch_);
}

void PluginTest::loadPlugin(const fsys::path& directory, bool callSetup) {
  settings_.exportsPath = directory.string();
  quilbyhost::PluginHost& host = quilbyhost::PluginHost::Instance();
  host.configure(settings_);
  std::string error;
  ASSERT_TRUE(host.load((directory / "libquilby.so").string(), error)) << error;
  loaded_ = true;
  if (callSetup) host.setUp();
}

void PluginTest::unloadPlugin(bool callTearDown) {
  quilbyhost::PluginHost& host = quilbyhost::PluginHost::Instance();
  if (callTearDown) host.tearDown();
  host.unload();
  loaded_ = false;
}

Reply PluginTest::call(const std::string& entryPoint, const std::string& method,
                       const std::string& parameters, const std::string& query,
                       const std::string& data) {
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
  cairnjson::Parser parser;
  cairnjson::Value envelope;
  if (!parser.parse(answer.envelope, envelope)) {
    ADD_FAILURE() << "the envelope is not JSON: " << answer.envelope;
  }
  reply.error = envelope["error"];
  reply.value = envelope["value"];
  return reply;
}

cairnjson::Value PluginTest::journal() const {
  cairnjson::Parser parser;
  cairnjson::Value entries;
  const std::string text = controlText(QuilbySimJournal);
  // The parser accepts an array cut short; a journal must be complete.
  if (!parser.parse(text, entries) || text.empty() || text.back() != ']') {
    ADD_FAILURE() << "the journal is not complete JSON: " << parser.error() << " " << text;
  }
  return entries;
}

void PluginTest::clearJournal() const { QuilbySimClearJournal(); }

std::vector<cairnjson::Value> PluginTest::calls(const std::string& function) const {
  std::vector<cairnjson::Value> found;
  const cairnjson::Value entries = journal();
  for (const cairnjson::Value& entry : entries.elements()) {
    if (entry["function"].stringRef() == function) found.push_back(entry);
  }
  return found;
}

std::vector<std::pair<int, std::string>> PluginTest::logLines() const {
  std::vector<std::pair<int, std::string>> lines;
  for (const cairnjson::Value& entry : calls("mirelto_log")) {
    const cairnjson::Value& arguments = entry["arguments"];
    EXPECT_EQ(arguments[1].stringRef(), "Quilby");
    lines.emplace_back(arguments[2].toInt(-1), arguments[3].toString(""));
  }
  return lines;
}

}  // namespace quilby_test
