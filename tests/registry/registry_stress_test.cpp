// The registry under concurrent use: while the host's request thread opens, lists, measures and
// closes sensors, other host components look sensors up, enumerate serial sensors, take sensors
// out of the registry and refresh built-in sensor handles through the sensor-handle interface.
// Built for ThreadSanitizer by `make test-tsan`; also part of the ordinary test runs.
//
// The run is bounded (time and iterations) and watched: a deadlock ends the program. At the end
// the simulator's journal must show every opened handle closed exactly once or still registered,
// and no close of a handle that was never opened.
#include "registry/registry_test_support.h"

#include "quilby/measurement_device.h"

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <latch>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace quilby_test;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// The bounds and pauses spread the run over a few seconds while keeping the journal (which holds
// the last 100000 calls) complete.
constexpr int kMaxRequestRounds = 300;
constexpr auto kRequestPause = 5ms;
constexpr int kMaxWorkerOperations = 2000;
constexpr auto kWorkerPause = 1ms;
constexpr auto kRunTime = 2s;
constexpr auto kDeadlockTimeout = 180s;

// Ends the program unless cancelled in time: a deadlocked test would otherwise hang until the
// test driver's own timeout, if it has one. SIGALRM's default action ends the process from the
// kernel ("Alarm clock"), however its threads are blocked.
struct DeadlockAlarm {
  explicit DeadlockAlarm(std::chrono::seconds timeout) {
    alarm(static_cast<unsigned>(timeout.count()));
  }
  ~DeadlockAlarm() { alarm(0); }
};

class RegistryStressTest : public RegistryTest {
 protected:
  // Runs `operation` until the request thread is done or the cap is reached, pausing between
  // calls so the journal stays within its bound.
  template <class Operation>
  std::thread worker(Operation operation) {
    return std::thread([this, operation]() mutable {
      started_.arrive_and_wait();
      for (int count = 0; count < kMaxWorkerOperations && !stop_.load(); ++count) {
        operation(count);
        std::this_thread::sleep_for(kWorkerPause);
      }
    });
  }

  void failure(const std::string& what) {
    const std::lock_guard<std::mutex> lock(failuresMutex_);
    if (failures_.size() < 20) failures_.push_back(what);
  }

  std::latch started_{6};
  std::atomic<bool> stop_{false};
  std::mutex failuresMutex_;
  std::vector<std::string> failures_;
};

TEST_F(RegistryStressTest, ConcurrentUseLosesAndDoublyClosesNoHandle) {
  const DeadlockAlarm deadlockAlarm(kDeadlockTimeout);
  ASSERT_EQ(call("Sensors", "PUT", "", "", R"({"serialMappings":{"QS-30 serial bridge":82}})").status, 200);

  // Identifiers the request thread handed out, for the lookups by identifier.
  std::mutex idsMutex;
  std::vector<std::string> ids;
  std::atomic<int> removed{0};
  std::atomic<int> refreshed{0};

  std::vector<std::thread> workers;
  workers.push_back(worker([&](int) {
    std::string id;
    {
      const std::lock_guard<std::mutex> lock(idsMutex);
      if (!ids.empty()) id = ids[ids.size() / 2];
    }
    MDHandle handle = nullptr;
    const int found = functions.getHandleForID(id.c_str(), &handle);
    if (found != (handle != nullptr ? 1 : 0)) failure("getHandleForID answered " + std::to_string(found));
    for (void* hid : {reinterpret_cast<void*>(0x1001), reinterpret_cast<void*>(0x1002)}) {
      const EmError status = functions.getHandleForHIDHandle(hid, &handle);
      if (status != EMERR_OK && status != EMERR_NOT_REGISTERED) failure("getHandleForHIDHandle failed");
    }
    const EmError status = functions.getHandleForDeviceID(kArmSensor, &handle);
    if (status != EMERR_OK && status != EMERR_NOT_REGISTERED) failure("getHandleForDeviceID failed");
    // Without the registry's lock only a search is safe: this handle is never registered.
    if (functions.removeSensor(reinterpret_cast<MDHandle>(0x5153000000fffff0ULL)) != EMERR_NOT_REGISTERED) {
      failure("removeSensor found a handle never opened");
    }
  }));
  workers.push_back(worker([&](int) {
    MDDeviceID id = 0;
    std::vector<MDDeviceID> found;
    for (std::uint32_t index = 0; functions.enumSerial(index, &id) == EMERR_EXISTS_MORE_DATA; ++index) {
      found.push_back(id);
    }
    if (found != std::vector<MDDeviceID>{kSerialReference}) failure("serial enumeration changed");
  }));
  // A component that takes a sensor over: under the registry's lock nothing can come between
  // finding and removing it; then it owns the handle and closes it itself.
  workers.push_back(worker([&](int) {
    functions.lock();
    functions.lock();
    MDHandle handle = nullptr;
    const bool found = functions.getHandleForDeviceID(kColorimeter, &handle) == EMERR_OK;
    const EmError status = found ? functions.removeSensor(handle) : EMERR_OK;
    functions.unlock();
    functions.unlock();
    if (status != EMERR_OK) failure("removeSensor failed after a lookup under the lock");
    if (!found) return;
    ++removed;
    if (MDClose(&handle) != EMERR_OK) failure("closing a removed sensor failed");
  }));
  // A component refreshing the studio monitor's sensors around a HID change, as one step.
  workers.push_back(worker([&](int) {
    functions.lock();
    const EmError before = functions.preUpdate(kStudioSerial, kStudioProduct);
    const EmError after = functions.update(kStudioSerial, kStudioProduct);
    functions.unlock();
    if (before != EMERR_OK || after != EMERR_OK) failure("pre-update or update failed");
    ++refreshed;
  }));
  workers.push_back(worker([&](int count) {
    // Lock and unlock alone, nested with the cache's own locking.
    functions.lock();
    if (count % 2 == 0) std::this_thread::sleep_for(200us);
    functions.unlock();
  }));

  // The host's request thread.
  started_.arrive_and_wait();
  const Clock::time_point start = Clock::now();
  const Clock::time_point end = start + kRunTime;
  int rounds = 0;
  for (; rounds < kMaxRequestRounds && Clock::now() < end; ++rounds) {
    const std::string colorimeter = openByDeviceID(kColorimeter);
    const std::string studio = openMonitor(kStudioSerial, kStudioProduct);
    const std::string office = openMonitor(kOfficeSerial, kOfficeProduct);
    {
      const std::lock_guard<std::mutex> lock(idsMutex);
      ids.insert(ids.end(), {colorimeter, studio, office});
    }
    EXPECT_EQ(call("Sensors", "GET").status, 200);
    EXPECT_EQ(call("SensorsName", "GET").status, 200);
    // Removed and closed meanwhile by the worker: not found, or refused by the library.
    const int measured = call("SensorXYZ", "GET", R"({"id":")" + colorimeter + "\"}").status;
    EXPECT_TRUE(measured == 200 || measured == 404 || measured == 500) << measured;
    if (rounds % 10 == 0) {
      EXPECT_EQ(call("Sensors", "GET", "", R"({"serialConnected":1})").status, 200);
    }
    if (rounds % 4 == 3) {
      EXPECT_EQ(call("Sensors", "DELETE").status, 200);
    }
    std::this_thread::sleep_for(kRequestPause);
  }
  stop_ = true;
  for (std::thread& thread : workers) thread.join();
  for (const std::string& what : failures_) ADD_FAILURE() << what;
  // The workers did overlap with the requests.
  EXPECT_GT(removed.load(), 0);
  EXPECT_GT(refreshed.load(), 0);
  std::printf("%d request rounds in %lld ms, %d sensors taken over, %d refreshes\n", rounds,
              static_cast<long long>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                         Clock::now() - start).count()),
              removed.load(), refreshed.load());

  // Every handle from a successful open in the journal, with the number of its closes.
  const auto tally = [](const cairnjson::Value& entries) {
    std::map<std::string, int> closes;
    for (const cairnjson::Value& entry : entries.elements()) {
      const std::string& function = entry["function"].stringRef();
      if (function.rfind("MDOpen", 0) == 0 && entry.contains("handle")) {
        if (!closes.emplace(entry["handle"].toString(""), 0).second) ADD_FAILURE() << "handle reused";
      } else if (function == "MDClose") {
        const std::string handle = journalText(entry["arguments"][0ul]);
        const auto found = closes.find(handle);
        if (found == closes.end()) {
          ADD_FAILURE() << "MDClose of a handle never opened: " << handle;
        } else {
          ++found->second;
        }
        EXPECT_EQ(entry["status"].toLLong(-1), EMERR_OK) << handle;
      }
    }
    return closes;
  };
  std::map<std::string, bool> registered;
  const cairnjson::Value listed = openedIdentifiers();
  for (const cairnjson::Value& id : listed.elements()) {
    const MDHandle handle = handleOf(id.stringRef());
    EXPECT_NE(handle, nullptr) << "a sensor stayed closed in place";
    registered[journalForm(handle)] = true;
  }
  const cairnjson::Value entries = journal();
  std::printf("%zu calls journaled\n", entries.size());
  ASSERT_LT(entries.size(), 100000u) << "the journal may have dropped calls; lower the bounds";
  std::map<std::string, int> closes = tally(entries);
  EXPECT_GT(closes.size(), 3u);
  for (const auto& [handle, count] : closes) {
    EXPECT_EQ(count, registered.count(handle) ? 0 : 1) << handle;
  }
  // Teardown closes what is left, once each.
  unloadPlugin(true);
  closes = tally(journal());
  for (const auto& [handle, count] : closes) EXPECT_EQ(count, 1) << handle;
}

}  // namespace
