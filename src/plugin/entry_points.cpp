// The plug-in's resource entry points: one exported function per resource.
#include "quilby/plugin.h"

#include "quilby/host.h"
#include "resources/resources.h"

namespace {

// Runs one request on a fresh resource object. The object's operator() delivers the answer and
// never throws; only making the object can fail (out of memory), and the host still gets an
// answer for its promise then.
template <class Resource>
int runResource(const char* request, const char* parameters, const char* query,
                const char* data) noexcept {
  try {
    Resource resource;
    return resource(request, parameters, query, data);
  } catch (...) {
    const int promiseId = BridgeHelperCreatePromiseID();
    BridgeHelperSetResponse(
        promiseId, 500,
        R"({"error":{"message":"Unknown error occurred.","name":"UnknownError"},"value":null})");
    return promiseId;
  }
}

}  // namespace

#define QUILBY_DEFINE_RESOURCE(Name)                                                   \
  QUILBY_RESOURCE(Name) {                                                              \
    return runResource<vesk::bridge::Name>(request, parameters, query, data);          \
  }

QUILBY_DEFINE_RESOURCE(Sensors)
QUILBY_DEFINE_RESOURCE(SensorsName)
QUILBY_DEFINE_RESOURCE(DeviceID)
QUILBY_DEFINE_RESOURCE(IndividualID)
QUILBY_DEFINE_RESOURCE(Monitors)
QUILBY_DEFINE_RESOURCE(Sensor)
QUILBY_DEFINE_RESOURCE(SensorMode)
QUILBY_DEFINE_RESOURCE(SensorCalibration)
QUILBY_DEFINE_RESOURCE(SensorXYZ)
QUILBY_DEFINE_RESOURCE(SensorRawData)
QUILBY_DEFINE_RESOURCE(SensorRGB)
QUILBY_DEFINE_RESOURCE(SensorIR)
QUILBY_DEFINE_RESOURCE(SensorXYZWithoutCorrelation)
QUILBY_DEFINE_RESOURCE(SensorArm)
QUILBY_DEFINE_RESOURCE(SensorPosition)
QUILBY_DEFINE_RESOURCE(SensorExteriorLight)
QUILBY_DEFINE_RESOURCE(SensorParameterDescription)
QUILBY_DEFINE_RESOURCE(SensorCorrection)
QUILBY_DEFINE_RESOURCE(SensorExCorrection)
QUILBY_DEFINE_RESOURCE(SensorTargetMarker)
QUILBY_DEFINE_RESOURCE(XRiteControlPanel)
QUILBY_DEFINE_RESOURCE(SensorCorrelation)
QUILBY_DEFINE_RESOURCE(SensorCorrelation9Points)
QUILBY_DEFINE_RESOURCE(SensorCorrelationDescription)
QUILBY_DEFINE_RESOURCE(SensorCorrelationData)
QUILBY_DEFINE_RESOURCE(SensorCorrelationDatabase)
QUILBY_DEFINE_RESOURCE(SensorCorrelationMatrix)
QUILBY_DEFINE_RESOURCE(SensorCorrelationMatrixData)
QUILBY_DEFINE_RESOURCE(SensorCorrelationMatrixDatabase)
QUILBY_DEFINE_RESOURCE(SensorAmbraSense)
QUILBY_DEFINE_RESOURCE(SensorAmbraSenseLevel)
QUILBY_DEFINE_RESOURCE(SensorIFSTempCorrectParam)
QUILBY_DEFINE_RESOURCE(SensorIFSBrightCorrectParamUpdate)
QUILBY_DEFINE_RESOURCE(SensorDeviceOption)
