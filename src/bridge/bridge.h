// vesk::Bridge: the base of every resource.
#ifndef QUILBY_BRIDGE_BRIDGE_H
#define QUILBY_BRIDGE_BRIDGE_H

#include "bridge/bridge_template.h"

#include <cstddef>
#include <string>

namespace vesk {

// The text every resource's URI starts with.
inline constexpr const char* kBridgeRootPrefix = "/quilby/";

// Adds the request's URI text, which a handler extends with its resource path ("Sensors/Name",
// "Sensors/<id>/Mode", ...), and the request log line written at the end of every request.
class Bridge : public BridgeTemplate {
 public:
  Bridge();

  // Writes one line to the plug-in's log: the method (the request's "method" as text, GET when
  // missing, null or not a scalar; upper-cased), the URI text and the outcome.
  void onEndBridge(const BridgeData& data, const BridgeResult& result) override;

  // The URI text, which handlers extend with the path they serve.
  std::string& uri() noexcept { return uri_; }
  [[nodiscard]] const std::string& uri() const noexcept { return uri_; }

 private:
  static constexpr std::size_t kUriReserve = 96;

  std::string uri_;
};

}  // namespace vesk

#endif  // QUILBY_BRIDGE_BRIDGE_H
