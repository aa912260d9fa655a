// BridgeTemplate: runs one request from the four texts of an entry point to the answer handed to
// the host.
//
// A resource derives from it (through vesk::Bridge) and overrides the handlers of the methods it
// implements; the others refuse with 405 "MethodError". A handler returns BridgeResultOK or throws
// BridgeResultError; anything else it throws becomes 500 "UnknownError". Nothing escapes.
#ifndef QUILBY_BRIDGE_BRIDGE_TEMPLATE_H
#define QUILBY_BRIDGE_BRIDGE_TEMPLATE_H

#include "bridge/bridge_data.h"
#include "bridge/bridge_result.h"

#include <cstddef>
#include <string>

class BridgeTemplate {
 public:
  BridgeTemplate() = default;
  BridgeTemplate(const BridgeTemplate&) = delete;
  BridgeTemplate& operator=(const BridgeTemplate&) = delete;
  virtual ~BridgeTemplate() = default;

  // Reads the four texts (NULL reads as ""), picks the handler from the request's "method"
  // (case-insensitive GET, PUT, POST or DELETE; anything else means GET), runs it between
  // onBeginBridge and onEndBridge, and returns its result with every failure folded in. The
  // answer's envelope is written (into envelope()) before onEndBridge, so that a result JSON
  // cannot carry is answered, and logged, as 500 "UnknownError".
  virtual BridgeResult execute(const char* request, const char* parameters, const char* query,
                               const char* data);

  virtual void onBeginBridge(const BridgeData& data);
  virtual void onEndBridge(const BridgeData& data, const BridgeResult& result);

  virtual BridgeResult Get(const BridgeData& data);
  virtual BridgeResult Put(const BridgeData& data);
  virtual BridgeResult Post(const BridgeData& data);
  virtual BridgeResult Delete(const BridgeData& data);

  // Runs the request and delivers the answer: takes a promise id from the host, executes,
  // hands the status and the compact envelope {"error": ..., "value": ...} to
  // BridgeHelperSetResponse under that id, and returns the id. Never throws.
  int operator()(const char* request, const char* parameters, const char* query,
                 const char* data) noexcept;

  // The envelope of the last result execute() produced ("" before).
  [[nodiscard]] const std::string& envelope() const noexcept { return envelope_; }

 private:
  static constexpr std::size_t kEnvelopeReserve = 256;

  std::string envelope_;
};

// The envelope of a result as the host receives it: "error" is null when the result carries no
// error (empty kind, message and extra members), else the extra members plus "name" and
// "message"; "value" is the payload. Serialized compactly; false when the payload holds a NaN or
// an infinity, which JSON cannot carry.
[[nodiscard]] bool BridgeEnvelopeText(const BridgeResult& result, std::string& text);

#endif  // QUILBY_BRIDGE_BRIDGE_TEMPLATE_H
