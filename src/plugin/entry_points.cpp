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

#define QUILBY_DEFINE_RESOURCE(Name, Methods, Path)                                    \
  QUILBY_RESOURCE(Name) {                                                              \
    return runResource<vesk::bridge::Name>(request, parameters, query, data);          \
  }
QUILBY_RESOURCES(QUILBY_DEFINE_RESOURCE)
