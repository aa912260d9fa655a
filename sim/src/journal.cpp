#include "src/journal.h"

#include "src/handles.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <limits>
#include <string>

namespace quilbysim {

void Journal::append(cairnjson::Value entry) {
  if (entries_.size() >= kCapacity) entries_.pop_front();
  entries_.push_back(std::move(entry));
}

cairnjson::Value Journal::toJson() const {
  cairnjson::Value::Elements elements(entries_.begin(), entries_.end());
  return cairnjson::Value::makeArray(std::move(elements));
}

cairnjson::Value Journal::lastToJson(std::size_t count) const {
  const std::size_t skipped = entries_.size() - std::min(count, entries_.size());
  cairnjson::Value::Elements elements(entries_.begin() + static_cast<std::ptrdiff_t>(skipped),
                                      entries_.end());
  return cairnjson::Value::makeArray(std::move(elements));
}

namespace form {
namespace {

// Foreign pointers (not made by the simulator) are written as their address.
cairnjson::Value address(const char* prefix, const void* pointer) {
  char text[48];
  std::snprintf(text, sizeof text, "%s0x%" PRIxPTR, prefix, reinterpret_cast<uintptr_t>(pointer));
  return cairnjson::Value::makeString(text);
}

}  // namespace

cairnjson::Value integer(long long value) { return cairnjson::Value::makeInteger(value); }

cairnjson::Value unsignedInteger(uint64_t value) {
  if (value > static_cast<uint64_t>(std::numeric_limits<long long>::max())) {
    return real(static_cast<double>(value));
  }
  return integer(static_cast<long long>(value));
}

cairnjson::Value real(double value) { return records::number(value); }

cairnjson::Value boolean(bool value) { return cairnjson::Value::makeBool(value); }

cairnjson::Value text(const char* text) {
  return text ? cairnjson::Value::makeString(text) : cairnjson::Value();
}

cairnjson::Value sensorHandle(const void* handle) {
  if (!handle) return {};
  if (const auto number = sensorHandleNumber(handle)) {
    return cairnjson::Value::makeString("md:" + std::to_string(*number));
  }
  return address("", handle);
}

cairnjson::Value hid(const void* hid) {
  if (!hid) return {};
  return address("hid:", hid);
}

cairnjson::Value individualID(uint64_t individualID) {
  char text[20];
  std::snprintf(text, sizeof text, "%016" PRIx64, individualID);
  return cairnjson::Value::makeString(text);
}

cairnjson::Value doubles(const double* values, std::size_t count) {
  if (!values) return {};
  cairnjson::Value json(cairnjson::Type::Array);
  for (std::size_t i = 0; i < count; ++i) json.push_back(real(values[i]));
  return json;
}

cairnjson::Value deviceIDs(const MDDeviceID* ids, uint32_t count) {
  if (!ids) return {};
  cairnjson::Value json(cairnjson::Type::Array);
  for (uint32_t i = 0; i < count; ++i) json.push_back(integer(ids[i]));
  return json;
}

cairnjson::Value record(const void* record, const records::Layout& layout) {
  return record ? records::write(record, layout) : cairnjson::Value();
}

cairnjson::Value usbSnapshot(const void* snapshot) {
  if (!snapshot) return {};
  if (const auto number = snapshotNumber(snapshot)) {
    return cairnjson::Value::makeString("usb-snapshot:" + std::to_string(*number));
  }
  return address("", snapshot);
}

cairnjson::Value usbDevice(const void* device) {
  if (!device) return {};
  if (const auto place = usbDeviceAddress(device)) {
    return cairnjson::Value::makeString("usb-device:" + std::to_string(place->snapshot) + "." +
                                        std::to_string(place->index));
  }
  return address("", device);
}

cairnjson::Value logger(const void* logger, const void* ours) {
  if (!logger) return {};
  return logger == ours ? cairnjson::Value::makeString("logger") : address("", logger);
}

}  // namespace form
}  // namespace quilbysim
