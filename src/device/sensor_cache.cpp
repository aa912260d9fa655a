#include "device/sensor_cache.h"

#include "quilby/measurement_device.h"
#include "util/uuid.h"

#include <algorithm>

namespace vesk::device {

SensorInUse::SensorInUse(SensorInUse&& other) noexcept
    : cache_(other.cache_), handle_(other.handle_) {
  other.cache_ = nullptr;
  other.handle_ = nullptr;
}

SensorInUse::~SensorInUse() {
  if (cache_ && handle_) cache_->release(handle_);
}

SensorCache& SensorCache::Instance() {
  static SensorCache cache;
  return cache;
}

SensorCache::~SensorCache() {
  const MutexLock<RecursiveMutex> lock(mutex_);
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
  const MutexLock<RecursiveMutex> lock(mutex_);
  const auto found = entries_.find(id);
  return found == entries_.end() ? nullptr : found->second.handle;
}

SensorInUse SensorCache::use(std::string_view id) {
  const MutexLock<RecursiveMutex> lock(mutex_);
  const auto found = entries_.find(id);
  if (found == entries_.end() || !found->second.handle) return SensorInUse();
  const MDHandle handle = found->second.handle;
  {
    const MutexLock<Mutex> users(usersMutex_);
    inUse_.push_back(handle);
  }
  return SensorInUse(this, handle);
}

void SensorCache::release(MDHandle handle) {
  const MutexLock<Mutex> users(usersMutex_);
  const auto found = std::find(inUse_.begin(), inUse_.end(), handle);
  if (found == inUse_.end()) return;
  // Order does not matter; the vector keeps its capacity, so later uses do not allocate.
  *found = inUse_.back();
  inUse_.pop_back();
  usersReleased_.notify_all();
}

bool SensorCache::isInUse(MDHandle handle) const {
  return std::find(inUse_.begin(), inUse_.end(), handle) != inUse_.end();
}

void SensorCache::waitUntilUnused(MDHandle handle) {
  if (!handle) return;
  const MutexLock<Mutex> users(usersMutex_);
  while (isInUse(handle)) usersMutex_.wait(usersReleased_);
}

std::string SensorCache::idForHandle(MDHandle handle) const {
  const MutexLock<RecursiveMutex> lock(mutex_);
  for (const auto& [id, entry] : entries_) {
    if (entry.handle == handle) return id;
  }
  return std::string();
}

void SensorCache::clear() {
  {
    const MutexLock<Mutex> users(usersMutex_);
    while (!inUse_.empty()) usersMutex_.wait(usersReleased_);
  }
  for (const auto& entry : entries_) {
    // A copy, so that the library never changes the stored value.
    MDHandle handle = entry.second.handle;
    MDClose(&handle);
  }
  entries_.clear();
}

}  // namespace vesk::device
