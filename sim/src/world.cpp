#include "src/world.h"

namespace quilbysim {

DataSet* Monitor::dataSet(uint32_t index) {
  for (DataSet& set : dataSets) {
    if (set.index == index) return &set;
  }
  return nullptr;
}

DataSet& Monitor::selectedDataSet() {
  // The reader and every call that changes dataIndex keep it naming an existing set.
  DataSet* set = dataSet(dataIndex);
  return set ? *set : dataSets.front();
}

const DataSet& Monitor::selectedDataSet() const {
  return const_cast<Monitor*>(this)->selectedDataSet();
}

Monitor* World::findMonitor(std::string_view serial, std::string_view product) {
  for (Monitor& monitor : monitors) {
    if (monitor.serial == serial && monitor.product == product) return &monitor;
  }
  return nullptr;
}

Monitor* World::findMonitorBySerial(std::string_view serial) {
  for (Monitor& monitor : monitors) {
    if (monitor.serial == serial) return &monitor;
  }
  return nullptr;
}

const Monitor* World::findMonitorBySerial(std::string_view serial) const {
  return const_cast<World*>(this)->findMonitorBySerial(serial);
}

Monitor* World::findMonitorByHid(const void* hid) {
  if (!hid) return nullptr;
  for (Monitor& monitor : monitors) {
    if (monitor.hid != 0 && hidPointer(monitor.hid) == hid) return &monitor;
  }
  return nullptr;
}

Sensor* World::builtInSensor(const Monitor& monitor) {
  for (Sensor& sensor : sensors) {
    if (sensor.connection == Connection::BuiltIn && sensor.monitor == monitor.serial) {
      return &sensor;
    }
  }
  return nullptr;
}

Monitor* World::monitorOf(const Sensor& sensor) {
  return sensor.monitor.empty() ? nullptr : findMonitorBySerial(sensor.monitor);
}

CorrelationRecord* World::findCorrelation(int64_t id) {
  for (CorrelationRecord& record : correlations) {
    if (record.id == id) return &record;
  }
  return nullptr;
}

const CorrelationRecord* World::findCorrelation(int64_t id) const {
  return const_cast<World*>(this)->findCorrelation(id);
}

CorrelationMatrix* World::findCorrelationMatrix(int64_t id) {
  for (CorrelationMatrix& matrix : correlationMatrices) {
    if (matrix.id == id) return &matrix;
  }
  return nullptr;
}

const CorrelationMatrix* World::findCorrelationMatrix(int64_t id) const {
  return const_cast<World*>(this)->findCorrelationMatrix(id);
}

std::vector<const CorrelationMatrix*> World::correlationMatricesFor(std::string_view product,
                                                                    uint16_t panelRevision) const {
  std::vector<const CorrelationMatrix*> list;
  for (const CorrelationMatrix& matrix : correlationMatrices) {
    if (matrix.product == product && matrix.panelRevision == panelRevision) list.push_back(&matrix);
  }
  return list;
}

bool World::usbDevicePresent(std::string_view name) const {
  for (const std::string& device : usbDevices) {
    if (device == name) return true;
  }
  return false;
}

}  // namespace quilbysim
