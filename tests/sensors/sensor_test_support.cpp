#include "sensors/sensor_test_support.h"

#include "quilby_sim/control.h"

#include <unistd.h>

#include <algorithm>

namespace quilby_test {

namespace fsys = std::filesystem;

void SensorTest::TearDown() {
  PluginTest::TearDown();
  if (!variant_.empty()) fsys::remove_all(variant_);
}

std::string SensorTest::open(const std::string& entryPoint, const std::string& parameters) {
  const Reply reply = call(entryPoint, "POST", parameters);
  EXPECT_EQ(reply.status, 200) << entryPoint << " " << parameters << ": " << reply.envelope;
  return R"({"id":")" + reply.value.stringRef() + "\"}";
}

std::string SensorTest::swingSensor() {
  return open("Monitors", std::string(R"({"serial":")") + kStudioSerial + R"(","product":")" +
                              kStudioProduct + "\"}");
}

std::string SensorTest::frontSensor() {
  return open("Monitors", std::string(R"({"serial":")") + kOfficeSerial + R"(","product":")" +
                              kOfficeProduct + "\"}");
}

void SensorTest::useVariantLibraries(const std::vector<std::string>& only) {
  unloadPlugin(true);
  // A fresh path each time: the dynamic loader remembers the names a resident library was
  // opened under, so reusing one could hand back a library of an earlier mix.
  static int directories = 0;
  variant_ = fsys::temp_directory_path() / ("quilby-sensors-variant-" + std::to_string(getpid()) +
                                            "-" + std::to_string(++directories));
  fsys::remove_all(variant_);
  fsys::create_directories(variant_);
  const fsys::path variantDirectory = QUILBY_TEST_VARIANT_EXPORTS_DIR;
  for (const fsys::directory_entry& file : fsys::directory_iterator(exportsDirectory())) {
    const fsys::path name = file.path().filename();
    const bool variant = name != "libquilby.so" && fsys::exists(variantDirectory / name) &&
                         (only.empty() || std::find(only.begin(), only.end(), name) != only.end());
    fsys::create_symlink(variant ? variantDirectory / name : file.path(), variant_ / name);
  }
  loadPlugin(variant_, true);
  clearJournal();
}

std::vector<std::string> SensorTest::sectionOwners() {
  std::string text(QuilbySimCriticalSections(nullptr, 0) + 1, '\0');
  text.resize(QuilbySimCriticalSections(text.data(), static_cast<std::uint32_t>(text.size())));
  std::vector<std::string> owners;
  const cairnjson::Value sections = parsed(text);
  for (const cairnjson::Value& section : sections.elements()) {
    owners.push_back(section["owner"].toString(""));
  }
  return owners;
}

std::vector<std::string> SensorTest::deviceCalls() const {
  std::vector<std::string> names;
  const cairnjson::Value entries = journal();
  for (const cairnjson::Value& entry : entries.elements()) {
    const std::string& name = entry["function"].stringRef();
    if (name.rfind("mirelto_", 0) != 0) names.push_back(name);
  }
  return names;
}

std::string SensorTest::emError(unsigned code, const std::string& message,
                                const std::string& reason) {
  return R"({"error":{"code":)" + std::to_string(code) + R"(,"message":")" + message +
         R"(","name":"EmError","reason":")" + reason + R"("},"value":null})";
}

std::string SensorTest::badRequest(const std::string& message) {
  return R"({"error":{"message":")" + message + R"(","name":"BadRequestError"},"value":null})";
}

std::string SensorTest::ok(const std::string& valueJson) {
  return R"({"error":null,"value":)" + valueJson + "}";
}

}  // namespace quilby_test
