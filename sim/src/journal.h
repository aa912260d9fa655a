// The journal of device calls, and the JSON forms of the arguments it records.
//
// An entry is {"function": name, "arguments": [...], "status": result} plus, where they apply,
// "handle" (the sensor handle an open call produced), "monitor" and "sectionHeld" (the monitor a
// call acted on and whether this process held its critical section), and "injected": true (the
// result came from an injected failure). docs/simulator.md gives the argument forms.
#ifndef QUILBY_SIM_SRC_JOURNAL_H
#define QUILBY_SIM_SRC_JOURNAL_H

#include "src/records.h"

#include "quilby/device_types.h"

#include "json/value.h"

#include <cstddef>
#include <cstdint>
#include <deque>

namespace quilbysim {

class Journal {
 public:
  // Beyond this many entries the oldest are dropped, so a long session cannot exhaust memory.
  static constexpr std::size_t kCapacity = 100000;

  void append(cairnjson::Value entry);
  void clear() { entries_.clear(); }
  cairnjson::Value toJson() const;
  // The last `count` entries (all when there are fewer), oldest first; costs what they cost,
  // whatever the length of the journal.
  cairnjson::Value lastToJson(std::size_t count) const;

 private:
  std::deque<cairnjson::Value> entries_;
};

// The forms of call arguments; the world dump writes its unsigned counts and ids the same way.
namespace form {

cairnjson::Value integer(long long value);
// Above the signed 64-bit range the value is written as a floating number.
cairnjson::Value unsignedInteger(uint64_t value);
cairnjson::Value real(double value);  // "nan", "inf", "-inf" for the non-finite values
cairnjson::Value boolean(bool value);
cairnjson::Value text(const char* text);               // null for NULL
cairnjson::Value sensorHandle(const void* handle);     // "md:7"; null for NULL
cairnjson::Value hid(const void* hid);                 // "hid:0x1001"; null for NULL
cairnjson::Value individualID(uint64_t individualID);  // 16 lower-case hexadecimal digits
cairnjson::Value doubles(const double* values, std::size_t count);           // null for NULL
cairnjson::Value deviceIDs(const MDDeviceID* ids, uint32_t count);           // null for NULL
cairnjson::Value record(const void* record, const records::Layout& layout);  // null for NULL
cairnjson::Value usbSnapshot(const void* snapshot);             // "usb-snapshot:3"; null for NULL
cairnjson::Value usbDevice(const void* device);                 // "usb-device:3.0"; null for NULL
cairnjson::Value logger(const void* logger, const void* ours);  // "logger"; null for NULL

}  // namespace form
}  // namespace quilbysim

#endif  // QUILBY_SIM_SRC_JOURNAL_H
