#include "sim_test_support.h"

#include <cstring>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

using cairnjson::Value;
using sim_test::SimTest;

struct Outcome {
  const char* function;
  bool isStatus;   // `result` is the status; otherwise 1 when the call answered anything
  EmError result;  // but its "nothing" (NULL, 0), else 0
};

// Every kind of function taking a sensor handle, called on `handle`.
std::vector<Outcome> callEverything(MDHandle handle) {
  MDColor raw{}, corrected{};
  uint64_t u64 = 0;
  uint32_t u32 = 0;
  int32_t i32 = 0;
  int64_t i64 = 0;
  MDDeviceID id = 0;
  double matrix[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  char serial[MD_REFERENCE_SERIAL_SIZE] = {}, product[MD_CORRELATION_PRODUCT_SIZE] = {},
       monitorSerial[MD_CORRELATION_SERIAL_SIZE] = {},
       description[MD_PARAMETER_DESCRIPTION_SIZE] = {};
  auto answered = [](bool anything) { return anything ? EmError{1} : EmError{0}; };
  return {
      {"MDGetHIDHandle", false, answered(MDGetHIDHandle(handle) != nullptr)},
      {"MDGetDeviceID", false, answered(MDGetDeviceID(handle) != 0)},
      {"MDGetName", false, answered(MDGetName(handle) != nullptr)},
      {"MDGetSerialNumber", false, answered(MDGetSerialNumber(handle) != nullptr)},
      {"MDIsValidConnection", false, answered(MDIsValidConnection(handle))},
      {"MDIsCalibrationNecessary", false, answered(MDIsCalibrationNecessary(handle))},
      {"MDSupportsAmbient", false, answered(MDSupportsAmbient(handle))},
      {"MDHasMultipleSensorPosition", false, answered(MDHasMultipleSensorPosition(handle))},
      {"MDHasTargetMarker", false, answered(MDHasTargetMarker(handle))},
      {"MDSpectralRadianceFixedData", true,
       MDSpectralRadianceFixedData(handle, &u64, &u64, &u64, &u64)},
      {"MDSetMode", true, MDSetMode(handle, 0, 0)},
      {"MDCalibrate", true, MDCalibrate(handle)},
      {"MDTakeOutArm", true, MDTakeOutArm(handle)},
      {"MDGetSensorPosition", true, MDGetSensorPosition(handle, &u32)},
      {"MDMeasureXYZ2", true, MDMeasureXYZ2(handle, &raw, &corrected)},
      {"MDMeasureRaw", true, MDMeasureRaw(handle, matrix)},
      {"MDEnumCorrelationCorrection", true,
       MDEnumCorrelationCorrection(handle, 0, &id, serial, product, monitorSerial, &i64)},
      {"MDApplyCorrelationCorrection", true, MDApplyCorrelationCorrection(handle, 1)},
      {"MDReleaseCorrelationCorrection", true, MDReleaseCorrelationCorrection(handle)},
      {"MDSetCorrection", true, MDSetCorrection(handle, matrix)},
      {"MDGetExCorrection", true, MDGetExCorrection(handle, matrix)},
      {"MDEnumCorrelationMatrix", true,
       MDEnumCorrelationMatrix(handle, "CX271-Studio", 3, 0, &id, serial, &i64)},
      {"MDApplyCorrelationMatrix", true, MDApplyCorrelationMatrix(handle, 1)},
      {"MDGetParameterDescription", true, MDGetParameterDescription(handle, description)},
      {"MDSetDeviceOptionValue", true, MDSetDeviceOptionValue(handle, 1, 5)},
      {"MDGetDeviceOptionValue", true, MDGetDeviceOptionValue(handle, 1, &i32)},
      {"MDCalcIFSTempCorrectParam", true, MDCalcIFSTempCorrectParam(handle)},
  };
}

class HandlesTest : public SimTest {};

void expectRefusedEverywhere(const char* kind, MDHandle handle) {
  for (const Outcome& outcome : callEverything(handle)) {
    EXPECT_EQ(outcome.result, outcome.isStatus ? EMERR_INVALID_ARGUMENT : 0u)
        << outcome.function << " on a " << kind << " handle";
  }
  MDHandle again = handle;
  EXPECT_EQ(MDClose(&again), EMERR_INVALID_ARGUMENT) << kind;
}

TEST_F(HandlesTest, HandlesThatAreNotOpenFailEveryCall) {
  MDHandle closed = open(sim_test::kColorimeter);
  MDHandle copy = closed;
  ASSERT_EQ(MDClose(&closed), EMERR_OK);
  EXPECT_EQ(closed, nullptr);
  expectRefusedEverywhere("closed", copy);
  expectRefusedEverywhere("NULL", nullptr);
  int local = 0;
  expectRefusedEverywhere("foreign pointer", reinterpret_cast<MDHandle>(&local));
  EXPECT_EQ(local, 0);
  EXPECT_EQ(MDClose(nullptr), EMERR_INVALID_ARGUMENT);

  MDHandle beforeReset = open(sim_test::kColorimeter);
  ASSERT_EQ(QuilbySimReset(), 0);
  expectRefusedEverywhere("pre-reset", beforeReset);
}

TEST_F(HandlesTest, ClosingOneHandleLeavesAnotherOfTheSameSensorOpen) {
  MDHandle first = open(sim_test::kColorimeter);
  MDHandle second = open(sim_test::kColorimeter);
  EXPECT_NE(first, second);
  const char* name = MDGetName(second);
  ASSERT_EQ(MDClose(&first), EMERR_OK);
  EXPECT_EQ(MDIsValidConnection(second), 1);
  EXPECT_STREQ(name, "Lumetra C3 Colorimeter") << "a name stays valid until its handle closes";
}

TEST_F(HandlesTest, OpeningFailsForAbsentSensors) {
  MDHandle handle = nullptr;
  EXPECT_EQ(MDOpen(9999, &handle), EMERR_SENSOR_CONNECTION_ERROR);
  EXPECT_EQ(MDOpen(sim_test::kSwingSensor, &handle), EMERR_SENSOR_CONNECTION_ERROR)
      << "built-in: by HID only";
  EXPECT_EQ(MDOpenWithHIDHandle(reinterpret_cast<void*>(uintptr_t{77}), &handle),
            EMERR_MONITOR_CONNECTION_ERROR);
  EXPECT_EQ(MDOpenWithHIDHandle(nullptr, &handle), EMERR_INVALID_ARGUMENT);
  EXPECT_EQ(MDOpenWithIndividualID(0x1234, &handle), EMERR_SENSOR_CONNECTION_ERROR);
  EXPECT_EQ(handle, nullptr);
  EXPECT_EQ(MDOpenWithIndividualID(0x00c5000000011b3eULL, &handle), EMERR_OK);
  EXPECT_EQ(MDGetDeviceID(handle), sim_test::kSpectrometer);
}

// The libraries share one world: what one reports, another accepts.
TEST_F(HandlesTest, LibrariesAgreeOnHidHandlesAndUsbNames) {
  void* hid = nullptr;
  ASSERT_EQ(EmCtrlGetHIDHandle(sim_test::kOfficeSerial, sim_test::kOfficeProduct, &hid), EMERR_OK);
  MDHandle office = openBuiltIn(hid);
  EXPECT_EQ(MDGetHIDHandle(office), hid);
  EXPECT_EQ(MDGetDeviceID(office), 4145u);
  EXPECT_EQ(EmCtrlGetHIDHandle(sim_test::kUnlinkedSerial, sim_test::kStudioProduct, &hid),
            EMERR_UNKNOWN);

  void* snapshot = HvxCreateUSBDeviceSnapshot();
  ASSERT_NE(snapshot, nullptr);
  std::set<std::string> names;
  for (uint32_t index = 0; void* device = HvxEnumUSBDevice(snapshot, index); ++index) {
    names.insert(HvxGetUSBDeviceName(device));
  }
  HvxReleaseSnapshot(snapshot);
  EXPECT_EQ(names.count("Lumetra R2 Serial Bridge"), 1u);
  EXPECT_EQ(names.size(), 3u);
  EXPECT_EQ(MDGetDeviceID(open(sim_test::kSerialReference)), sim_test::kSerialReference);
}

TEST_F(HandlesTest, ReleasedSnapshotHandsOutNothing) {
  void* snapshot = HvxCreateUSBDeviceSnapshot();
  void* device = HvxEnumUSBDevice(snapshot, 0);
  ASSERT_NE(device, nullptr);
  HvxReleaseSnapshot(snapshot);
  EXPECT_EQ(HvxEnumUSBDevice(snapshot, 0), nullptr);
  EXPECT_EQ(HvxGetUSBDeviceName(device), nullptr);
  HvxReleaseSnapshot(snapshot);
}

// Each enumeration lists its elements at 0, 1, ... and then answers its end.
TEST_F(HandlesTest, EnumerationsEndWithNoMoreData) {
  MDHandle swing = openBuiltIn(sim_test::kStudioHid);
  auto count = [](auto element) {
    uint32_t index = 0;
    while (element(index) == EMERR_OK) ++index;
    EXPECT_EQ(element(index), EMERR_NO_MORE_DATA);
    return index;
  };
  MDDeviceID id;
  uint64_t individual;
  int64_t key;
  char serial[MD_REFERENCE_SERIAL_SIZE], product[MD_CORRELATION_PRODUCT_SIZE],
      monitor[MD_CORRELATION_SERIAL_SIZE];
  char monitorSerial[EMCTRL_SERIAL_SIZE], monitorProduct[EMCTRL_PRODUCT_SIZE];
  EXPECT_EQ(count([&](uint32_t i) { return MDEnumConnectedDevices(i, &id, &individual); }), 2u);
  EXPECT_EQ(
      count([&](uint32_t i) { return EmCtrlGetSerialProduct(i, monitorSerial, monitorProduct); }),
      3u);
  EXPECT_EQ(count([&](uint32_t i) {
              return MDEnumCorrelationCorrection(swing, i, &id, serial, product, monitor, &key);
            }),
            2u);
  EXPECT_EQ(count([&](uint32_t i) {
              return MDEnumCorrelationMatrix(swing, sim_test::kStudioProduct, 3, i, &id, serial,
                                             &key);
            }),
            2u);
  EXPECT_EQ(count([&](uint32_t i) {
              return MDEnumCorrelationInfo(i, &id, serial, product, monitor, &key);
            }),
            3u);
  EXPECT_EQ(count([&](uint32_t i) {
              return MDEnumCorrelationMatrixInfo("CS240-Office", 1, i, &id, serial, &key);
            }),
            1u);
}

TEST_F(HandlesTest, TextsFillTheirBuffersExactlyAndAreCutBeyond) {
  ASSERT_EQ(
      sim_test::loadWorld(R"({"monitors": [{"serial": "ABCDEFGH", "product": "0123456789abcdef"}],
      "correlations": [{"id": 1, "monitor": {"serial": "0123456789ABCDEF", "product": "P"},
                        "reference": {"deviceID": 1, "serial": "RRRRRRRRRRRRRRRRRRRRRRRRRRRRRRRR"},
                        "date": {"year": 2024, "month": 1, "day": 1, "hour": 0, "minute": 0}}]})"),
      "");
  char serial[EMCTRL_SERIAL_SIZE];
  char product[EMCTRL_PRODUCT_SIZE];
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
  EXPECT_EQ(CSSG2H_SetCriterionSensorDescription(sim_test::kStudioHid, &description),
            EMERR_INVALID_DATA);
}

TEST_F(HandlesTest, ConcurrentCallsKeepOneConsistentWorld) {
  constexpr int kThreads = 4, kReadings = 200;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([] {
      MDHandle handle = nullptr;
      ASSERT_EQ(MDOpen(sim_test::kColorimeter, &handle), EMERR_OK);
      MDColor raw, corrected;
      for (int i = 0; i < kReadings; ++i) {
        ASSERT_EQ(MDMeasureXYZ2(handle, &raw, &corrected), EMERR_OK);
      }
      ASSERT_EQ(MDClose(&handle), EMERR_OK);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(sim_test::world()["sensors"][2ul]["state"]["measurements"].toInt(-1),
            kThreads * kReadings);
  EXPECT_EQ(sim_test::journal().size(), static_cast<std::size_t>(kThreads * (kReadings + 2)));
}

}  // namespace
