#include "sim_test_support.h"

#include "devices/device_functions.h"

#include <cstddef>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using namespace sim_test;

// An argument for any parameter: 1 for a number, an empty record, or a pointer to memory (zeroed
// at first) large enough for any record.
struct AnyArgument {
  template <class T>
  operator T() const {
    alignas(std::max_align_t) static unsigned char memory[4096];
    if constexpr (std::is_pointer_v<T>) {
      return reinterpret_cast<T>(memory);
    } else if constexpr (std::is_arithmetic_v<T>) {
      return T{1};
    } else {
      return T{};
    }
  }
};

// Calls `function` on `handle` when it takes one, noting whether it answered anything but its
// "nothing": EMERR_INVALID_ARGUMENT, NULL or 0.
template <class Result, class First, class... Rest>
void callOn(MDHandle handle, std::map<std::string, bool>& answers, const char* name, bool isStatus,
            Result (*function)(First, Rest...)) {
  if constexpr (std::is_same_v<First, MDHandle>) {
    const Result result = function(handle, static_cast<Rest>(AnyArgument{})...);
    Result nothing{};
    if constexpr (std::is_same_v<Result, EmError>) nothing = isStatus ? EMERR_INVALID_ARGUMENT : 0;
    answers[name] = result != nothing;
  }
}
template <class Result>
void callOn(MDHandle, std::map<std::string, bool>&, const char*, bool, Result (*)()) {}

// Every function taking a sensor handle, called on `handle`.
std::map<std::string, bool> answers(MDHandle handle) {
  std::map<std::string, bool> answers;
#define QUILBY_SIM_CALL_ON(Result, Name, Parameters, Arguments) \
  callOn(handle, answers, #Name, std::string_view(#Result) == "EmError", &Name);
  QUILBY_SIM_MEASUREMENT_DEVICE_FUNCTIONS(QUILBY_SIM_CALL_ON)
  QUILBY_SIM_MEASUREMENT_DEVICE_OPTIONAL_FUNCTIONS(QUILBY_SIM_CALL_ON)
#undef QUILBY_SIM_CALL_ON
  return answers;
}

// How many elements `enumerate(leading..., index, outputs...)` lists before it answers
// EMERR_NO_MORE_DATA.
template <class... Parameters, class... Leading>
uint32_t length(EmError (*enumerate)(Parameters...), Leading... leading) {
  auto element = [&]<std::size_t... Output>(uint32_t index, std::index_sequence<Output...>) {
    return enumerate(leading..., index, (static_cast<void>(Output), AnyArgument{})...);
  };
  const auto outputs = std::make_index_sequence<sizeof...(Parameters) - sizeof...(Leading) - 1>();
  uint32_t index = 0;
  while (index < 100 && element(index, outputs) == EMERR_OK) ++index;
  EXPECT_EQ(element(index, outputs), EMERR_NO_MORE_DATA);
  return index;
}

class HandlesTest : public SimTest {};

TEST_F(HandlesTest, HandlesThatAreNotOpenFailEveryCall) {
  auto refusedEverywhere = [](const char* kind, MDHandle handle) {
    for (const auto& [function, answered] : answers(handle)) {
      EXPECT_FALSE(answered) << function << " on a " << kind << " handle";
    }
    EXPECT_EQ(MDClose(&handle), EMERR_INVALID_ARGUMENT) << kind;
  };
  MDHandle closed = open(kColorimeter), copy = closed, beforeReset = open(kColorimeter);
  // Open handles get answers from every function, so the refusals below are the handles' doing.
  const auto armSensor = answers(openBuiltIn(kStudioHid));
  for (const auto& [function, answered] : answers(open(kSpectrophotometer))) {
    EXPECT_TRUE(answered || armSensor.at(function)) << function;
  }
  ASSERT_EQ(MDClose(&closed), EMERR_OK);
  EXPECT_EQ(closed, nullptr);
  EXPECT_EQ(MDClose(nullptr), EMERR_INVALID_ARGUMENT);
  refusedEverywhere("closed", copy);
  refusedEverywhere("NULL", nullptr);
  int local = 0;
  refusedEverywhere("foreign", reinterpret_cast<MDHandle>(&local));
  EXPECT_EQ(local, 0);
  ASSERT_EQ(QuilbySimReset(), 0);
  refusedEverywhere("pre-reset", beforeReset);
}

TEST_F(HandlesTest, EachOpenGivesANewHandleAndAbsentSensorsNone) {
  MDHandle first = open(kColorimeter), second = open(kColorimeter), handle = nullptr;
  EXPECT_NE(first, second);
  const char* name = MDGetName(second);
  ASSERT_EQ(MDClose(&first), EMERR_OK);
  EXPECT_EQ(MDIsValidConnection(second), 1);
  EXPECT_STREQ(name, "QS-10 colorimeter") << "a name stays valid until its handle closes";

  EXPECT_EQ(MDOpen(9999, &handle), EMERR_SENSOR_CONNECTION_ERROR);
  EXPECT_EQ(MDOpen(kArmSensor, &handle), EMERR_SENSOR_CONNECTION_ERROR) << "built-in: by HID";
  EXPECT_EQ(MDOpenWithHIDHandle(reinterpret_cast<void*>(uintptr_t{77}), &handle),
            EMERR_MONITOR_CONNECTION_ERROR);
  EXPECT_EQ(MDOpenWithHIDHandle(nullptr, &handle), EMERR_INVALID_ARGUMENT);
  EXPECT_EQ(MDOpenWithIndividualID(0x1234, &handle), EMERR_SENSOR_CONNECTION_ERROR);
  EXPECT_EQ(handle, nullptr);
  EXPECT_EQ(MDOpenWithIndividualID(0x00c5000000011b3eULL, &handle), EMERR_OK);
  EXPECT_EQ(MDGetDeviceID(handle), kSpectrophotometer);
}

// The libraries share one world: what one reports, another accepts.
TEST_F(HandlesTest, LibrariesAgreeOnHidHandlesAndUsbNamesUntilTheSnapshotIsReleased) {
  void* hid = nullptr;
  ASSERT_EQ(EmCtrlGetHIDHandle(kOfficeSerial, kOfficeProduct, &hid), EMERR_OK);
  MDHandle office = openBuiltIn(hid);
  EXPECT_EQ(MDGetHIDHandle(office), hid);
  EXPECT_EQ(MDGetDeviceID(office), 4145u);
  EXPECT_EQ(EmCtrlGetHIDHandle(kUnlinkedSerial, kStudioProduct, &hid), EMERR_UNKNOWN);
  EXPECT_EQ(MDGetDeviceID(open(kSerialReference)), kSerialReference);

  void* snapshot = HvxCreateUSBDeviceSnapshot();
  ASSERT_NE(snapshot, nullptr);
  std::set<std::string> names;
  for (uint32_t index = 0; void* device = HvxEnumUSBDevice(snapshot, index); ++index) {
    names.insert(HvxGetUSBDeviceName(device));
  }
  EXPECT_EQ(names.count("QS-30 serial bridge"), 1u);
  EXPECT_EQ(names.size(), 3u);
  void* device = HvxEnumUSBDevice(snapshot, 0);
  HvxReleaseSnapshot(snapshot);
  EXPECT_EQ(HvxEnumUSBDevice(snapshot, 0), nullptr);
  EXPECT_EQ(HvxGetUSBDeviceName(device), nullptr);
  HvxReleaseSnapshot(snapshot);
}

// Each enumeration lists its elements at 0, 1, ... and then answers its end.
TEST_F(HandlesTest, EnumerationsEndWithNoMoreData) {
  MDHandle armSensor = openBuiltIn(kStudioHid);
  EXPECT_EQ(length(MDEnumConnectedDevices), 2u);
  EXPECT_EQ(length(EmCtrlGetSerialProduct), 3u);
  EXPECT_EQ(length(MDEnumCorrelationCorrection, armSensor), 2u);
  EXPECT_EQ(length(MDEnumCorrelationMatrix, armSensor, kStudioProduct, 3), 2u);
  EXPECT_EQ(length(MDEnumCorrelationInfo), 3u);
  EXPECT_EQ(length(MDEnumCorrelationMatrixInfo, kOfficeProduct, 1), 1u);
}

TEST_F(HandlesTest, TextsFillTheirBuffersExactlyAndAreCutBeyond) {
  ASSERT_EQ(loadWorld(R"({"monitors": [{"serial": "ABCDEFGH", "product": "0123456789abcdef"}],
      "correlations": [{"id": 1, "monitor": {"serial": "0123456789ABCDEF", "product": "P"},
                        "reference": {"deviceID": 1, "serial": "RRRRRRRRRRRRRRRRRRRRRRRRRRRRRRRR"},
                        "date": {"year": 2024, "month": 1, "day": 1, "hour": 0, "minute": 0}}]})"),
            "");
  char serial[EMCTRL_SERIAL_SIZE], product[EMCTRL_PRODUCT_SIZE];
  std::memset(serial, 'x', sizeof serial);
  std::memset(product, 'x', sizeof product);
  ASSERT_EQ(EmCtrlGetSerialProduct(0, serial, product), EMERR_OK);
  EXPECT_EQ(std::string(serial, sizeof serial), std::string("ABCDEFGH") + '\0');
  EXPECT_EQ(std::string(product, sizeof product), std::string("0123456789abcdef") + '\0');

  MDDeviceID id;
  int64_t key;
  char reference[MD_REFERENCE_SERIAL_SIZE], monitorProduct[MD_CORRELATION_PRODUCT_SIZE],
      monitorSerial[MD_CORRELATION_SERIAL_SIZE];
  ASSERT_EQ(MDEnumCorrelationInfo(0, &id, reference, monitorProduct, monitorSerial, &key),
            EMERR_OK);
  EXPECT_EQ(std::string(reference), std::string(32, 'R'));
  EXPECT_EQ(std::string(monitorSerial), "0123456789ABCDEF");

  // A description written without a terminator is refused, not read past its end.
  MDCSSG2CriterionSensorDescription description{};
  std::memset(description.serial, 'S', sizeof description.serial);
  ASSERT_EQ(QuilbySimReset(), 0);
  EXPECT_EQ(CSSG2H_SetCriterionSensorDescription(kStudioHid, &description), EMERR_INVALID_DATA);
}

TEST_F(HandlesTest, ConcurrentCallsKeepOneConsistentWorld) {
  constexpr int kThreads = 4, kReadings = 200;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([] {
      MDHandle handle = open(kColorimeter);
      for (int i = 0; i < kReadings; ++i) ASSERT_EQ(measureStatus(handle), EMERR_OK);
      ASSERT_EQ(MDClose(&handle), EMERR_OK);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(world()["sensors"][2ul]["state"]["measurements"].toInt(-1), kThreads * kReadings);
  EXPECT_EQ(journal().size(), static_cast<std::size_t>(kThreads * (kReadings + 2)));
}

}  // namespace
