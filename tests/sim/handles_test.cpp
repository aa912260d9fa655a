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

}  // namespace
