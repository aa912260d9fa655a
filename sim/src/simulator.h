// The one device world of the process and the frame of every device call.
//
// Simulator owns the world, the table of open sensor handles, the USB snapshots, the journal and
// the noise source, all behind one mutex. Call is how every device function runs: it takes that
// mutex for the whole call, writes one journal entry, and lets an injected failure replace the
// call's work.
#ifndef QUILBY_SIM_SRC_SIMULATOR_H
#define QUILBY_SIM_SRC_SIMULATOR_H

#include "src/color_model.h"
#include "src/journal.h"
#include "src/world.h"

#include "json/value.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quilbysim {

// An open sensor handle.
struct OpenSensor {
  std::size_t sensor;  // index in World::sensors
  // What MDGetName and MDGetSerialNumber hand out: copies, so that they stay valid until the
  // handle is closed whatever happens to the world.
  std::string name;
  std::string serial;
};

struct UsbSnapshot {
  std::vector<std::string> names;  // fixed at creation; the names handed out point into it
};

class Simulator {
 public:
  // The process's simulator, created on first use with the world QuilbySimReset would load.
  static Simulator& Instance();

  Simulator(const Simulator&) = delete;
  Simulator& operator=(const Simulator&) = delete;

  // Guards the simulator's whole state. Every member function below requires it held.
  std::mutex& mutex() { return mutex_; }

  World& world() { return world_; }
  Journal& journal() { return journal_; }
  NoiseSource& noise() { return noise_; }

  // A new handle of world().sensors[sensor]. Handle numbers are never reused in a process, so a
  // handle closed or made before a reset never names a later sensor.
  MDHandle openHandle(std::size_t sensor);
  // The open handle, or nullptr for NULL, closed, foreign and pre-reset handles.
  OpenSensor* findHandle(const void* handle);
  bool closeHandle(const void* handle);

  void* createSnapshot();
  UsbSnapshot* findSnapshot(const void* snapshot);
  bool releaseSnapshot(const void* snapshot);

  // Consumes one call of `function` from the injected failures: its status when this call fails.
  std::optional<EmError> takeFailure(std::string_view function);

  // Where MDGetNameFromDeviceID keeps the text it hands out until its next call.
  std::string& nameFromDeviceID() { return nameFromDeviceID_; }

  // The logger object mirelto_get_logger hands out.
  const void* logger() const { return &loggerObject_; }

  // Replaces the world: every handle and snapshot becomes invalid, the journal is emptied, the
  // noise restarts from the world's seed. Injected failures and critical sections are the new
  // world's.
  void install(World world);
  // Installs the world named by QUILBY_SIM_WORLD, or the built-in world when it is not set. On a
  // file that cannot be read or is not a valid world, installs the built-in world, records the
  // reason as the last error and returns false.
  bool installFromEnvironment();

  const std::string& lastError() const { return lastError_; }
  void setLastError(std::string message) { lastError_ = std::move(message); }

 private:
  Simulator();

  std::mutex mutex_;
  World world_;
  Journal journal_;
  NoiseSource noise_{1};
  std::map<uint64_t, OpenSensor> handles_;
  uint64_t nextHandle_ = 1;
  std::map<uint64_t, UsbSnapshot> snapshots_;
  uint64_t nextSnapshot_ = 1;
  std::string nameFromDeviceID_;
  std::string lastError_;
  char loggerObject_ = 0;
};

// One call of a device function: holds the simulator's mutex from construction to destruction
// and appends the call's journal entry when destroyed.
//
//   EmError MDCalibrate(MDHandle handle) {
//     Call call("MDCalibrate", {form::sensorHandle(handle)});
//     Sensor* sensor = call.sensor(handle);
//     return call.status([&]() -> EmError { ... });
//   }
class Call {
 public:
  Call(const char* function, std::initializer_list<cairnjson::Value> arguments);
  ~Call();
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;

  Simulator& simulator() { return simulator_; }
  World& world() { return simulator_.world(); }

  // Resolve the call's target and, when it is a monitor (or a sensor built into one), record the
  // monitor and whether this process holds its critical section in the journal entry. Each gives
  // nullptr when there is no such target.
  Sensor* sensor(const void* handle);
  Monitor* monitorByHid(const void* hid);
  Monitor* monitorByName(const char* serial, const char* product);
  void recordMonitor(const Monitor& monitor);

  // Records the handle an open call produced.
  void opened(MDHandle handle);

  // Runs `body` (returning EmError) unless an injected failure replaces it; the result is the
  // call's status. An exception from `body` becomes EMERR_FAILED.
  template <class Body>
  EmError status(Body&& body) {
    EmError result = EMERR_FAILED;
    if (const auto failure = injected()) {
      result = *failure;
    } else {
      try {
        result = body();
      } catch (...) {
        result = EMERR_FAILED;
      }
    }
    entry_["status"] = form::unsignedInteger(result);
    return result;
  }

  // The same for functions that return something else: `onFailure` replaces the result of an
  // injected failure or an exception, and `journalForm` writes the result into the entry.
  template <class Result, class Form, class Body>
  Result value(Result onFailure, Form journalForm, Body&& body) {
    Result result = onFailure;
    if (!injected()) {
      try {
        result = body();
      } catch (...) {
        result = onFailure;
      }
    }
    entry_["status"] = journalForm(result);
    return result;
  }

  // The same for functions without a result; the entry's status is null.
  template <class Body>
  void action(Body&& body) {
    entry_["status"] = cairnjson::Value();
    if (injected()) return;
    try {
      body();
    } catch (...) {
    }
  }

 private:
  std::optional<EmError> injected();

  Simulator& simulator_;
  std::unique_lock<std::mutex> lock_;
  std::string_view function_;
  cairnjson::Value entry_;
};

// Copies `text` into a caller buffer of `size` bytes: at most size - 1 bytes and a NUL.
void copyText(char* buffer, std::size_t size, std::string_view text);

// The text of a caller's input buffer of `size` bytes, stopping at the NUL or at the buffer's end.
std::string_view inputText(const char* text, std::size_t size);

}  // namespace quilbysim

#endif  // QUILBY_SIM_SRC_SIMULATOR_H
