// The registry under concurrent use: while the host's request thread opens, lists, measures and
// closes sensors, other host components look sensors up, enumerate serial sensors, take sensors
// out of the registry and refresh built-in sensor handles through the sensor-handle interface.
// Built for ThreadSanitizer by `make test-tsan` and for AddressSanitizer by `make test`; also part
// of the ordinary test runs.
//
// Each run is bounded (time and iterations) and watched: a deadlock ends the program. At the end
// the simulator's journal must show no device call on a handle that was closed or never opened,
// and every opened handle closed exactly once or still registered.
#include "support/registry_fixture.h"

#include "quilby/measurement_device.h"

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <latch>
#include <map>
#include <mutex>
#include <optional>
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
// Attempts that find nothing journal nothing; one that succeeds journals one close.
constexpr int kMaxTakeOverAttempts = 10000000;
// Open and delete only: about five journal entries a round, audited and emptied now and then.
constexpr int kMaxDeleteRounds = 30000;
constexpr int kDeleteRoundsPerAudit = 5000;
constexpr auto kDeleteRunTime = 20s;
constexpr std::chrono::microseconds kWorkerPause = 1ms;
constexpr auto kRunTime = 2s;
constexpr auto kDeadlockTimeout = 180s;

class RegistryStressTest : public RegistryTest {
 protected:
  // Each test ends the program unless it ends in time: a deadlocked test would otherwise hang
  // until the test driver's own timeout, if it has one. SIGALRM's default action ends the process
  // from the kernel ("Alarm clock"), however its threads are blocked.
  void SetUp() override {
    alarm(static_cast<unsigned>(kDeadlockTimeout.count()));
    RegistryTest::SetUp();
  }
  void TearDown() override {
    RegistryTest::TearDown();
    alarm(0);
  }

  // Runs `operation` until the request thread is done or the cap is reached, pausing between
  // calls so the journal stays within its bound.
  template <class Operation>
  std::thread worker(Operation operation, std::chrono::microseconds pause = kWorkerPause,
                     int maxOperations = kMaxWorkerOperations) {
    return std::thread([this, operation, pause, maxOperations]() mutable {
      started_->arrive_and_wait();
      for (int count = 0; count < maxOperations && !stop_.load(); ++count) {
        operation(count);
        std::this_thread::sleep_for(pause);
      }
    });
  }

  void failure(const std::string& what) {
    const std::lock_guard<std::mutex> lock(failuresMutex_);
    if (failures_.size() < 20) failures_.push_back(what);
  }

  // A component refreshing the studio monitor's sensors around a HID change, holding the
  // registry's lock across both steps.
  void refreshStudioAsOneStep() {
    functions.lock();
    const EmError before = functions.preUpdate(kStudioSerial, kStudioProduct);
    const EmError after = functions.update(kStudioSerial, kStudioProduct);
    functions.unlock();
    if (before != EMERR_OK || after != EMERR_OK) failure("pre-update or update failed");
  }

  // The request thread and `workers` others start together, so that they overlap.
  void startTogether(std::ptrdiff_t workers) { started_.emplace(workers + 1); }

  // Ends the workers and fails the test with what they found.
  void stopWorkers(std::vector<std::thread>& workers) {
    stop_ = true;
    for (std::thread& thread : workers) thread.join();
    for (const std::string& what : failures_) ADD_FAILURE() << what;
  }

  // Audits the journal's calls so far and empties it, so that long runs stay within its bound.
  // No other thread may call a device function meanwhile.
  void auditJournal() {
    const cairnjson::Value entries = journal();
    ASSERT_LT(entries.size(), 100000u) << "the journal may have dropped calls; lower the bounds";
    audit_ = auditHandles(entries, std::move(audit_));
    clearJournal();
  }

  // Fails the test with the audit's findings, TearDown's closing included: afterwards no handle
  // may be left open.
  void expectHandlesUsedWhileOpen() {
    auditJournal();
    unloadPlugin();
    auditJournal();
    for (const auto& [handle, open] : audit_.open) EXPECT_FALSE(open) << handle << " never closed";
    for (const std::string& finding : audit_.findings) ADD_FAILURE() << finding;
  }

  // A component that takes over the sensor the page is deleting, the documented way: under the
  // registry's lock it looks the sensor up and removes it; from then on it owns the handle, and
  // closes it. It tries as often as it can while a DELETE is under way, finding the sensor by
  // identifier, which journals no device call.
  std::thread takeOverWorker() {
    return worker([this](int) {
      const TakingOver busy(takingOver_);
      std::string id;
      {
        const std::lock_guard<std::mutex> lock(deletingMutex_);
        id = deleting_;
      }
      if (id.empty()) {
        std::this_thread::sleep_for(20us);
        return;
      }
      functions.lock();
      MDHandle handle = nullptr;
      const bool found = functions.getHandleForID(id.c_str(), &handle) != 0;
      const EmError status = found ? functions.removeSensor(handle) : EMERR_OK;
      functions.unlock();
      if (!found) return;
      if (status != EMERR_OK) failure("removeSensor failed after a lookup under the lock");
      ++takenOver_;
      if (MDClose(&handle) != EMERR_OK) failure("the page closed a sensor another component owned");
    }, 0us, kMaxTakeOverAttempts);
  }

  // The page's DELETE of `id`, offered to takeOverWorker meanwhile. False unless it answered
  // success or, taken over first, "Not found.".
  bool deleteWhileTakenOver(const std::string& id) {
    {
      const std::lock_guard<std::mutex> lock(deletingMutex_);
      deleting_ = id;
    }
    const std::string deleted = answer("Sensor", "DELETE", named(id));
    {
      const std::lock_guard<std::mutex> lock(deletingMutex_);
      deleting_.clear();
    }
    if (deleted == ok("null") || deleted == kNotFound) return true;
    ADD_FAILURE() << "DELETE answered " << deleted;
    return false;
  }

  struct TakingOver {
    explicit TakingOver(std::atomic<int>& count) : count_(count) { ++count_; }
    ~TakingOver() { --count_; }
    std::atomic<int>& count_;
  };

  std::optional<std::latch> started_;
  HandleAudit audit_;
  std::atomic<int> takingOver_{0};
  std::mutex deletingMutex_;
  std::string deleting_;  // the identifier the page is deleting, while it is
  std::atomic<int> takenOver_{0};
  std::atomic<bool> stop_{false};
  std::mutex failuresMutex_;
  std::vector<std::string> failures_;
};

TEST_F(RegistryStressTest, ConcurrentUseLosesAndDoublyClosesNoHandle) {
  ASSERT_EQ(answer("Sensors", "PUT", "", "", R"({"serialMappings":{"QS-30 serial bridge":82}})"),
            ok("null"));

  // Identifiers the request thread handed out, for the lookups by identifier.
  std::mutex idsMutex;
  std::vector<std::string> ids;
  std::atomic<int> refreshed{0};

  startTogether(3);
  std::vector<std::thread> workers;
  workers.push_back(worker([&](int) {
    std::string id;
    {
      const std::lock_guard<std::mutex> lock(idsMutex);
      if (!ids.empty()) id = ids[ids.size() / 2];
    }
    MDHandle handle = nullptr;
    const int found = functions.getHandleForID(id.c_str(), &handle);
    if (found != (handle ? 1 : 0)) failure("getHandleForID answered " + std::to_string(found));
    const EmError statuses[] = {functions.getHandleForHIDHandle(kStudioHid, &handle),
                                functions.getHandleForHIDHandle(kOfficeHid, &handle),
                                functions.getHandleForDeviceID(kArmSensor, &handle)};
    for (const EmError status : statuses) {
      if (status != EMERR_OK && status != EMERR_NOT_REGISTERED) failure("a lookup failed");
    }
    // Without the registry's lock only a search is safe: this handle is never registered.
    const MDHandle never = reinterpret_cast<MDHandle>(0x5153000000fffff0ULL);
    if (functions.removeSensor(never) != EMERR_NOT_REGISTERED) failure("removed an unknown handle");
  }));
  workers.push_back(worker([&](int) {
    MDDeviceID id = 0;
    std::vector<MDDeviceID> found;
    while (functions.enumSerial(found.size(), &id) == EMERR_EXISTS_MORE_DATA) found.push_back(id);
    if (found != std::vector<MDDeviceID>{kSerialReference}) failure("serial enumeration changed");
  }));
  // A component refreshing the studio monitor's sensors around a HID change, as one step.
  workers.push_back(worker([&](int) {
    refreshStudioAsOneStep();
    ++refreshed;
  }));

  // The host's request thread.
  started_->arrive_and_wait();
  const Clock::time_point end = Clock::now() + kRunTime;
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
    EXPECT_EQ(call("SensorXYZ", "GET", named(colorimeter)).status, 200);
    if (rounds % 10 == 0) {
      EXPECT_EQ(call("Sensors", "GET", "", R"({"serialConnected":1})").status, 200);
    }
    if (rounds % 4 == 3) {
      EXPECT_EQ(call("Sensors", "DELETE").status, 200);
    }
    std::this_thread::sleep_for(kRequestPause);
  }
  stopWorkers(workers);
  // The workers did overlap with the requests.
  EXPECT_GT(refreshed.load(), 0);
  std::printf("%d request rounds, %d refreshes\n", rounds, refreshed.load());
  const cairnjson::Value listed = call("Sensors", "GET").value;
  for (const cairnjson::Value& id : listed.elements()) {
    EXPECT_NE(handleOf(id.stringRef()), nullptr) << "a sensor stayed closed in place";
  }
  expectHandlesUsedWhileOpen();
}

// The page's requests on one built-in sensor while other components close and reopen it around
// HID changes and take it over. The request thread opens the sensor, reads it, measures with it
// and deletes it, round after round, and keeps it open throughout under a second identifier.
// Meanwhile one component closes and reopens the monitor's sensors (alone, or as a pair under the
// registry's lock), another takes over each sensor the page is deleting, the documented way, and a
// third holds the lock now and then. No request may use a handle another thread closed: every
// answer is a success or "Not found.", and the journal shows every handle used only while open.
TEST_F(RegistryStressTest, RequestsNeverUseASensorClosedOnAnotherThread) {
  const std::string kept = openMonitor(kStudioSerial, kStudioProduct);
  ASSERT_EQ(answer("SensorArm", "PUT", named(kept), "", "true"), ok("null"));

  std::atomic<int> refreshed{0};
  startTogether(3);
  std::vector<std::thread> workers;
  // Every third time a pre-update alone, without the lock: requests then find the sensors closed
  // in place until the next pair reopens them. Pairs hold the lock throughout, as a component
  // must: an update reopens whatever is registered for the monitor by then, so a sensor the page
  // opened between the two would be opened twice.
  workers.push_back(worker([&](int count) {
    if (count % 3 == 0) {
      if (functions.preUpdate(kStudioSerial, kStudioProduct) != EMERR_OK) failure("pre-update failed");
      return;
    }
    refreshStudioAsOneStep();
    ++refreshed;
  }));
  workers.push_back(takeOverWorker());
  workers.push_back(worker([&](int) {
    functions.lock();
    std::this_thread::sleep_for(100us);
    functions.unlock();
  }));

  started_->arrive_and_wait();
  const Clock::time_point end = Clock::now() + kRunTime;
  // Sensors whose DELETE found them closed in place: they stay registered until deleted later.
  std::vector<std::string> undeleted;
  int rounds = 0;
  for (; rounds < kMaxRequestRounds && Clock::now() < end; ++rounds) {
    const std::string id = openMonitor(kStudioSerial, kStudioProduct);
    for (const std::string& sensor : {id, kept}) {
      for (const char* resource : {"Sensor", "SensorXYZ", "SensorRGB", "SensorPosition"}) {
        const std::string answered = answer(resource, "GET", named(sensor));
        // Closed in place or taken over meanwhile: not found, and nothing else.
        EXPECT_TRUE(answered.rfind("200 ", 0) == 0 || answered == kNotFound)
            << resource << ": " << answered;
      }
    }
    undeleted.push_back(id);
    std::erase_if(undeleted, [&](const std::string& sensor) {
      EXPECT_TRUE(deleteWhileTakenOver(sensor));
      return answer("Sensors", "GET").find('"' + sensor + '"') == std::string::npos;
    });
    std::this_thread::sleep_for(kRequestPause);
  }
  stopWorkers(workers);
  std::printf("%d request rounds, %d sensors taken over, %d refreshes\n", rounds,
              takenOver_.load(), refreshed.load());
  EXPECT_GT(refreshed.load(), 0);
  expectHandlesUsedWhileOpen();
}

// The page deletes a built-in sensor while another component takes it over: both look the sensor
// up, then the page forgets the identifier and closes the handle, the component removes the
// sensor and owns the handle. Whoever comes second must find nothing: the new owner's handle is
// never closed by the page. A take-over lands inside a DELETE about once in a hundred rounds, so
// the rounds are many and short.
TEST_F(RegistryStressTest, PagesDeleteNeverClosesASensorAnotherComponentTookOver) {
  startTogether(1);
  std::vector<std::thread> workers;
  workers.push_back(takeOverWorker());

  started_->arrive_and_wait();
  const Clock::time_point end = Clock::now() + kDeleteRunTime;
  int rounds = 0;
  for (; rounds < kMaxDeleteRounds && Clock::now() < end; ++rounds) {
    EXPECT_TRUE(deleteWhileTakenOver(openMonitor(kStudioSerial, kStudioProduct)));
    if (rounds % kDeleteRoundsPerAudit == kDeleteRoundsPerAudit - 1) {
      // Once takeOverWorker has finished any take-over, with no DELETE under way, it calls no
      // device function.
      while (takingOver_.load() != 0) std::this_thread::yield();
      auditJournal();
    }
  }
  stopWorkers(workers);
  std::printf("%d rounds, %d sensors taken over\n", rounds, takenOver_.load());
  expectHandlesUsedWhileOpen();
}

}  // namespace
