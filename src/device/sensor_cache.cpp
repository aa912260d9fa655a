#include "device/sensor_cache.h"

#include "quilby/measurement_device.h"
#include "util/uuid.h"

namespace vesk::device {

SensorCache& SensorCache::Instance() {
  static SensorCache cache;
  return cache;
}

SensorCache::~SensorCache() {
  const std::lock_guard<std::recursive_mutex> lock(mutex_);
  clear();
}

std::string SensorCache::registerHandle(MDHandle handle) { return registerHandle(handle, "", ""); }

std::string SensorCache::registerHandle(MDHandle handle, const std::string& serial,
                                        const std::string& product) {
  std::string id = uuid::create();
  while (entries_.count(id) != 0) id = uuid::create();
  SensorHandle& entry = entries_[id];
  entry.handle = handle;
  entry.serial = serial;
  entry.product = product;
  return id;
}

void SensorCache::unregisterHandle(const std::string& id) { entries_.erase(id); }

MDHandle SensorCache::handle(const std::string& id) const {
  const std::lock_guard<std::recursive_mutex> lock(mutex_);
  const auto found = entries_.find(id);
  return found == entries_.end() ? nullptr : found->second.handle;
}

std::string SensorCache::idForHandle(MDHandle handle) const {
  const std::lock_guard<std::recursive_mutex> lock(mutex_);
  for (const auto& [id, entry] : entries_) {
    if (entry.handle == handle) return id;
  }
  return std::string();
}

bool SensorCache::containsHandle(MDHandle handle) const {
  for (const auto& entry : entries_) {
    if (entry.second.handle == handle) return true;
  }
  return false;
}

bool SensorCache::containsHandle(const std::string& id) const { return entries_.count(id) != 0; }

void SensorCache::clear() {
  for (const auto& entry : entries_) {
    // A copy, so that the library never changes the stored value.
    MDHandle handle = entry.second.handle;
    MDClose(&handle);
  }
  entries_.clear();
}

}  // namespace vesk::device
