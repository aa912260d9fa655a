#include "src/simulator.h"

#include "src/default_world.h"
#include "src/handles.h"
#include "src/records.h"
#include "src/world_reader.h"

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

namespace quilbysim {

Simulator& Simulator::Instance() {
  // Never destroyed: other libraries' exit-time destructors may still call device functions.
  static Simulator* const simulator = new Simulator();
  return *simulator;
}

Simulator::Simulator() {
  std::lock_guard<std::mutex> lock(mutex_);
  installFromEnvironment();
}

MDHandle Simulator::openHandle(std::size_t sensor) {
  const uint64_t number = nextHandle_++;
  const Sensor& target = world_.sensors.at(sensor);
  handles_[number] = OpenSensor{sensor, target.name, target.serial};
  return sensorHandle(number);
}

OpenSensor* Simulator::findHandle(const void* handle) {
  const auto number = sensorHandleNumber(handle);
  if (!number) return nullptr;
  const auto found = handles_.find(*number);
  return found == handles_.end() ? nullptr : &found->second;
}

bool Simulator::closeHandle(const void* handle) {
  const auto number = sensorHandleNumber(handle);
  return number && handles_.erase(*number) != 0;
}

void* Simulator::createSnapshot() {
  const uint64_t number = nextSnapshot_++;
  snapshots_[number] = UsbSnapshot{world_.usbDevices};
  return snapshotPointer(number);
}

UsbSnapshot* Simulator::findSnapshot(const void* snapshot) {
  const auto number = snapshotNumber(snapshot);
  if (!number) return nullptr;
  const auto found = snapshots_.find(*number);
  return found == snapshots_.end() ? nullptr : &found->second;
}

bool Simulator::releaseSnapshot(const void* snapshot) {
  const auto number = snapshotNumber(snapshot);
  return number && snapshots_.erase(*number) != 0;
}

std::optional<EmError> Simulator::takeFailure(std::string_view function) {
  for (auto failure = world_.failures.begin(); failure != world_.failures.end(); ++failure) {
    if (failure->function != function) continue;
    if (failure->skip > 0) {
      --failure->skip;
      return std::nullopt;
    }
    const EmError status = failure->status;
    if (--failure->count == 0) world_.failures.erase(failure);
    return status;
  }
  return std::nullopt;
}

void Simulator::install(World world) {
  world_ = std::move(world);
  handles_.clear();
  snapshots_.clear();
  journal_.clear();
  noise_ = NoiseSource(world_.noise.seed);
}

bool Simulator::installFromEnvironment() {
  const char* path = std::getenv("QUILBY_SIM_WORLD");
  std::string problem;
  if (path && *path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    if (!file || file.bad()) {
      problem = std::string(path) + ": cannot be read";
    } else {
      try {
        install(readWorld(text.str()));
        return true;
      } catch (const WorldFormatError& error) {
        problem = std::string(path) + ": " + error.what();
      }
    }
  }
  install(readWorld(defaultWorldText()));
  if (problem.empty()) return true;
  lastError_ = problem;
  return false;
}

Call::Call(const char* function, std::initializer_list<cairnjson::Value> arguments)
    : simulator_(Simulator::Instance()), lock_(simulator_.mutex()), function_(function) {
  entry_["function"] = cairnjson::Value::makeString(function);
  entry_["arguments"] = cairnjson::Value::makeArray(cairnjson::Value::Elements(arguments));
}

Call::~Call() {
  try {
    simulator_.journal().append(std::move(entry_));
  } catch (...) {
    // A journal entry lost for lack of memory must not turn into a crash of the caller.
  }
}

std::optional<EmError> Call::injected() {
  const auto failure = simulator_.takeFailure(function_);
  if (failure) entry_["injected"].setBool(true);
  return failure;
}

void Call::recordMonitor(const Monitor& monitor) {
  entry_["monitor"]["serial"] = cairnjson::Value::makeString(monitor.serial);
  entry_["monitor"]["product"] = cairnjson::Value::makeString(monitor.product);
  entry_["sectionHeld"].setBool(monitor.criticalSection == Owner::Process);
}

Sensor* Call::sensor(const void* handle) {
  const OpenSensor* open = simulator_.findHandle(handle);
  if (!open) return nullptr;
  Sensor& sensor = world().sensors[open->sensor];
  if (sensor.connection == Connection::BuiltIn) {
    if (const Monitor* monitor = world().monitorOf(sensor)) recordMonitor(*monitor);
  }
  return &sensor;
}

Monitor* Call::monitorByHid(const void* hid) {
  Monitor* monitor = world().findMonitorByHid(hid);
  if (monitor) recordMonitor(*monitor);
  return monitor;
}

Monitor* Call::monitorByName(const char* serial, const char* product) {
  if (!serial || !product) return nullptr;
  Monitor* monitor = world().findMonitor(serial, product);
  if (monitor) recordMonitor(*monitor);
  return monitor;
}

void Call::opened(MDHandle handle) { entry_["handle"] = form::sensorHandle(handle); }

void copyText(char* buffer, std::size_t size, std::string_view text) {
  if (!buffer || size == 0) return;
  const std::size_t length = std::min(text.size(), size - 1);
  std::memcpy(buffer, text.data(), length);
  buffer[length] = '\0';
}

std::string_view inputText(const char* text, std::size_t size) {
  return text ? std::string_view(text, strnlen(text, size)) : std::string_view();
}

}  // namespace quilbysim
