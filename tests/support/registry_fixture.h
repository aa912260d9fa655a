// What the end-to-end tests of the sensor registry and of the resources share: the plug-in's
// sensor-handle functions, opening the built-in world's sensors, the journal's handles and the
// monitors' critical sections, and reloading the plug-in beside other device libraries.
#ifndef QUILBY_TESTS_SUPPORT_REGISTRY_FIXTURE_H
#define QUILBY_TESTS_SUPPORT_REGISTRY_FIXTURE_H

#include "quilby/plugin.h"
#include "support/plugin_fixture.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace quilby_test {

// The plug-in's sensor-handle functions, looked up in the plug-in loaded when it is made.
#define QUILBY_TEST_PLUGIN_FUNCTION(member, name) \
  decltype(&name) member =                        \
      reinterpret_cast<decltype(&name)>(quilbyhost::PluginHost::Instance().symbol(#name))
struct SensorHandleFunctions {
  QUILBY_TEST_PLUGIN_FUNCTION(getHandleForID, SensorControlGetHandleForID);
  QUILBY_TEST_PLUGIN_FUNCTION(getHandleForHIDHandle, QuilbyGetHandleForHIDHandle);
  QUILBY_TEST_PLUGIN_FUNCTION(getHandleForDeviceID, QuilbyGetHandleForDeviceID);
  QUILBY_TEST_PLUGIN_FUNCTION(removeSensor, QuilbyRemoveSensor);
  QUILBY_TEST_PLUGIN_FUNCTION(preUpdate, QuilbyPreUpdateBuiltInSensorHandle);
  QUILBY_TEST_PLUGIN_FUNCTION(update, QuilbyUpdateBuiltInSensorHandle);
  QUILBY_TEST_PLUGIN_FUNCTION(enumSerial, QuilbyEnumConnectedSerialSensors);
  QUILBY_TEST_PLUGIN_FUNCTION(lock, QuilbyLockSensors);
  QUILBY_TEST_PLUGIN_FUNCTION(unlock, QuilbyUnlockSensors);
};
#undef QUILBY_TEST_PLUGIN_FUNCTION

// A simulated sensor handle as the journal writes it ("md:<n>"); "null" for NULL.
inline std::string journalForm(MDHandle handle) {
  constexpr std::uint64_t kBase = 0x5153000000000000ULL;
  if (!handle) return "null";
  return "md:" + std::to_string(reinterpret_cast<std::uint64_t>(handle) - kBase);
}

// A journal argument or result as text ("null" for null), to compare with journalForm.
inline std::string journalText(const cairnjson::Value& value) {
  return value.isNull() ? "null" : value.toString("<not text>");
}

// What a replay of the journal's opens and closes finds wrong with the handles (at most `limit`
// findings): a call naming a sensor handle that is not open at that moment (a use after close,
// a second close, a handle never opened), and a handle opened twice. `open` holds, per handle,
// whether it is open: pass the result of an earlier audit to go on from there.
struct HandleAudit {
  std::map<std::string, bool> open;
  std::vector<std::string> findings;
};
inline HandleAudit auditHandles(const cairnjson::Value& entries, HandleAudit audit = {},
                                std::size_t limit = 20) {
  const auto finding = [&](const std::string& what) {
    if (audit.findings.size() < limit) audit.findings.push_back(what);
  };
  for (const cairnjson::Value& entry : entries.elements()) {
    const std::string& function = entry["function"].stringRef();
    if (entry.contains("handle") && !entry["handle"].isNull()) {
      const std::string handle = journalText(entry["handle"]);
      if (audit.open.count(handle)) finding(function + " gave " + handle + " a second time");
      audit.open[handle] = true;
      continue;
    }
    for (const cairnjson::Value& argument : entry["arguments"].elements()) {
      if (!argument.isString() || argument.stringRef().rfind("md:", 0) != 0) continue;
      const std::string& handle = argument.stringRef();
      const auto found = audit.open.find(handle);
      if (found == audit.open.end()) {
        finding(function + " on " + handle + ", never opened");
      } else if (!found->second) {
        finding(function + " on " + handle + " after it was closed");
      } else if (function == "MDClose" && entry["status"].toLLong(-1) == EMERR_OK) {
        found->second = false;
      }
    }
  }
  return audit;
}

// The parameters naming the sensor `id`.
inline std::string named(const std::string& id) { return R"({"id":")" + id + "\"}"; }

// Replaces the simulated world by `world` (JSON); the test fails when it is refused.
inline void loadWorld(const std::string& world) {
  char error[512] = {};
  ASSERT_EQ(QuilbySimLoadWorld(world.c_str(), error, sizeof error), 0) << error;
}

class RegistryTest : public PluginTest {
 protected:
  void SetUp() override {
    PluginTest::SetUp();
    functions = SensorHandleFunctions();
  }
  void TearDown() override {
    PluginTest::TearDown();
    std::filesystem::remove_all(links_);
  }

  // Opens a sensor through the page's resources and returns its identifier; the test fails
  // unless the answer is 200 with a string.
  std::string openByDeviceID(MDDeviceID deviceID) {
    return identifierOf(
        call("DeviceID", "POST", R"({"deviceID":)" + std::to_string(deviceID) + "}"));
  }
  std::string openMonitor(const std::string& serial, const std::string& product) {
    return identifierOf(
        call("Monitors", "POST", R"({"serial":")" + serial + R"(","product":")" + product + "\"}"));
  }
  // The same, answering the parameters that name the sensor.
  std::string colorimeter() { return named(openByDeviceID(kColorimeter)); }
  std::string spectrophotometer() { return named(openByDeviceID(kSpectrophotometer)); }
  std::string armSensor() { return named(openMonitor(kStudioSerial, kStudioProduct)); }
  std::string panelSensor() { return named(openMonitor(kOfficeSerial, kOfficeProduct)); }

  // The handle registered under `id` (NULL when unknown or closed in place).
  MDHandle handleOf(const std::string& id) {
    MDHandle handle = nullptr;
    functions.getHandleForID(id.c_str(), &handle);
    return handle;
  }

  // The handles registered under `ids`, as the journal writes them.
  std::vector<std::string> handlesOf(const std::vector<std::string>& ids) {
    std::vector<std::string> handles;
    for (const std::string& id : ids) handles.push_back(journalForm(handleOf(id)));
    return handles;
  }

  // The handle arguments of every journaled call of `function`, in order.
  std::vector<std::string> handleArguments(const std::string& function) {
    std::vector<std::string> handles;
    for (const cairnjson::Value& entry : calls(function)) {
      handles.push_back(journalText(entry["arguments"][0ul]));
    }
    return handles;
  }

  // The names of the journaled calls other than the plug-in's logging, in order; with `prefix`,
  // only those it starts.
  std::vector<std::string> deviceCalls(const std::string& prefix = "") const {
    std::vector<std::string> names;
    const cairnjson::Value entries = journal();
    for (const cairnjson::Value& entry : entries.elements()) {
      const std::string& name = entry["function"].stringRef();
      if (name.rfind("mirelto_", 0) != 0 && name.rfind(prefix, 0) == 0) names.push_back(name);
    }
    return names;
  }

  // The URI of the first request logged since the journal was emptied.
  std::string loggedURI() const {
    const auto lines = logLines();
    if (lines.empty()) return "<none>";
    const std::string& line = lines.front().second;
    const std::size_t start = line.find("\turi:") + 5;
    return line.substr(start, line.find('\t', start) - start);
  }

  // The owners of the monitors' critical sections, "" for a free one, in world order.
  static std::vector<std::string> sectionOwners() {
    std::vector<std::string> owners;
    const cairnjson::Value sections = parsed(controlText(QuilbySimCriticalSections));
    for (const cairnjson::Value& section : sections.elements()) {
      owners.push_back(section["owner"].toString(""));
    }
    return owners;
  }

  // Reloads the plug-in from a fresh directory of links to the exports directory's files, but
  // for `missing`, and to the variant device libraries' for `variant` ("*" for all). These lack
  // MDMeasureRaw, MDHasTargetMarker, EmCtrlLockMonitor, EmCtrlUnlockMonitor, CSSG2H_GetIRValue.
  void reloadWith(const std::string& variant, const std::string& missing = "") {
    namespace fsys = std::filesystem;
    const fsys::path variants = QUILBY_TEST_VARIANT_EXPORTS_DIR;
    unloadPlugin();
    fsys::remove_all(links_);
    // A fresh path each time: the dynamic loader remembers the names a resident library was
    // opened under, so reusing one could hand back a library of an earlier mix.
    static int directories = 0;
    links_ = fsys::temp_directory_path() /
             ("quilby-links-" + std::to_string(getpid()) + "-" + std::to_string(++directories));
    fsys::create_directories(links_);
    for (const fsys::directory_entry& file : fsys::directory_iterator(exportsDirectory())) {
      const fsys::path name = file.path().filename();
      const bool fromVariants = name == variant || (variant == "*" && name != "libquilby.so" &&
                                                    fsys::exists(variants / name));
      if (name != missing) {
        fsys::create_symlink(fromVariants ? variants / name : file.path(), links_ / name);
      }
    }
    loadPlugin(links_);
    functions = SensorHandleFunctions();
    clearJournal();
  }

  SensorHandleFunctions functions;

 private:
  static std::string identifierOf(const Reply& reply) {
    EXPECT_EQ(reply.status, 200) << reply.envelope;
    EXPECT_TRUE(reply.value.isString()) << reply.envelope;
    return reply.value.stringRef();
  }

  std::filesystem::path links_;
};

}  // namespace quilby_test

#endif  // QUILBY_TESTS_SUPPORT_REGISTRY_FIXTURE_H
