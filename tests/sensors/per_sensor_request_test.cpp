// What every per-sensor resource of this family shares: the sensor lookup comes before any other
// check, the logged URI carries the resource word, and unimplemented methods are refused.
#include "sensors/sensor_test_support.h"

#include <ostream>
#include <string>

namespace {

using quilby_test::parsed;
using quilby_test::Reply;
using quilby_test::SensorTest;

struct Resource {
  const char* name;
  const char* word;
  // The methods it answers; the others are refused with 405.
  std::vector<std::string> methods;
};

const Resource kResources[] = {
    {"Sensor", "", {"GET", "DELETE"}},
    {"SensorMode", "/Mode", {"GET", "PUT"}},
    {"SensorCalibration", "/Calibration", {"GET", "PUT"}},
    {"SensorArm", "/Arm", {"GET", "PUT"}},
    {"SensorPosition", "/Position", {"GET"}},
    {"SensorXYZ", "/XYZ", {"GET"}},
    {"SensorRawData", "/RawData", {"GET"}},
    {"SensorRGB", "/RGB", {"GET"}},
    {"SensorIR", "/IR", {"GET"}},
    {"SensorXYZWithoutCorrelation", "/XYZWithoutCorrelation", {"GET"}},
    {"SensorAmbraSense", "/AmbraSense", {"GET", "PUT"}},
    {"SensorAmbraSenseLevel", "/AmbraSense/Level", {"GET", "PUT"}},
};

void PrintTo(const Resource& resource, std::ostream* out) { *out << resource.name; }

bool answers(const Resource& resource, const std::string& method) {
  for (const std::string& answered : resource.methods) {
    if (answered == method) return true;
  }
  return false;
}

class PerSensorRequestTest : public SensorTest, public testing::WithParamInterface<Resource> {
 protected:
  // The URI of the request line logged last.
  std::string loggedUri() const {
    const auto lines = logLines();
    if (lines.empty()) return "<none>";
    const std::string& line = lines.back().second;
    const std::size_t start = line.find("\turi:") + 5;
    return line.substr(start, line.find('\t', start) - start);
  }
};

TEST_P(PerSensorRequestTest, MissingOrEmptyIdIsAnInvalidUri) {
  const Resource& resource = GetParam();
  for (const std::string& method : resource.methods) {
    for (const char* parameters : {"", "{}", R"({"id":""})", R"({"serial":"x"})", R"(["id"])"}) {
      clearJournal();
      const Reply reply = call(resource.name, method, parameters, "{}", "{}");
      EXPECT_EQ(reply.status, 400) << method << " " << parameters;
      EXPECT_EQ(reply.envelope, badRequest("URI is invalid.")) << method << " " << parameters;
      EXPECT_TRUE(deviceCalls().empty());
    }
    EXPECT_EQ(loggedUri(), std::string("/quilby/Sensors/") + resource.word);
  }
}

// The lookup comes first: the malformed query and body are never looked at.
TEST_P(PerSensorRequestTest, UnknownIdIsNotFoundBeforeAnyOtherCheck) {
  const Resource& resource = GetParam();
  const std::string closed = colorimeter();
  ASSERT_EQ(call("Sensor", "DELETE", closed).status, 200);
  for (const std::string& method : resource.methods) {
    for (const std::string& parameters :
         {std::string(R"({"id":"00000000-0000-0000-0000-000000000000"})"), closed,
          std::string(R"({"id":7})")}) {
      clearJournal();
      const Reply reply = call(resource.name, method, parameters, "\"no query\"", "[\"bad\"]");
      EXPECT_EQ(reply.envelope, R"({"error":{"message":"Not found.","name":"Error"},"value":null})")
          << method << " " << parameters;
      EXPECT_EQ(reply.status, 404);
      EXPECT_TRUE(deviceCalls().empty());
    }
    EXPECT_EQ(loggedUri(), std::string("/quilby/Sensors/7") + resource.word);
  }
}

TEST_P(PerSensorRequestTest, LoggedUriNamesTheSensorAndTheResourceWord) {
  const Resource& resource = GetParam();
  const std::string sensor = frontSensor();
  const std::string id = parsed(sensor)["id"].stringRef();
  for (const std::string method : {"GET", "PUT", "POST", "DELETE"}) {
    const Reply reply = call(resource.name, method, sensor);
    if (answers(resource, method)) {
      EXPECT_EQ(loggedUri(), "/quilby/Sensors/" + id + resource.word) << method;
    } else {
      EXPECT_EQ(reply.status, 405) << method;
      EXPECT_EQ(reply.error["name"].stringRef(), "MethodError");
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Resources, PerSensorRequestTest, testing::ValuesIn(kResources),
                         [](const testing::TestParamInfo<Resource>& info) {
                           return std::string(info.param.name);
                         });

}  // namespace
