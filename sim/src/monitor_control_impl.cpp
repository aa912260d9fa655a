// libemc_x64.so: monitor identities, HID handles and the monitors' critical sections.
#include "src/implementations.h"
#include "src/simulator.h"

namespace quilbysim::impl {
namespace {

// The frame of the EmError functions that name a monitor by serial and product.
template <class Body>
EmError onMonitor(Call& call, const char* serial, const char* product, Body body) {
  Monitor* monitor = call.monitorByName(serial, product);
  return call.status([&]() -> EmError {
    if (!serial || !product) return EMERR_INVALID_ARGUMENT;
    return monitor ? body(*monitor) : EMERR_MONITOR_CONNECTION_ERROR;
  });
}

}  // namespace

EmError EmCtrlGetSerialProduct(uint32_t index, char serial[EMCTRL_SERIAL_SIZE],
                               char product[EMCTRL_PRODUCT_SIZE]) {
  Call call("EmCtrlGetSerialProduct", {form::integer(index)});
  return call.status([&]() -> EmError {
    if (!serial || !product) return EMERR_INVALID_BUFFER;
    const std::vector<Monitor>& monitors = call.world().monitors;
    if (index >= monitors.size()) return EMERR_NO_MORE_DATA;
    copyText(serial, EMCTRL_SERIAL_SIZE, monitors[index].serial);
    copyText(product, EMCTRL_PRODUCT_SIZE, monitors[index].product);
    return EMERR_OK;
  });
}

EmError EmCtrlGetHIDHandle(const char* serial, const char* product, void** hid) {
  Call call("EmCtrlGetHIDHandle", {form::text(serial), form::text(product)});
  return onMonitor(call, serial, product, [&](Monitor& monitor) -> EmError {
    if (!hid) return EMERR_INVALID_BUFFER;
    // Known to the library, but without a USB link there is no HID handle to give.
    if (monitor.hid == 0) return EMERR_UNKNOWN;
    *hid = hidPointer(monitor.hid);
    return EMERR_OK;
  });
}

uint16_t EmCtrlGetPanelRevision(const char* serial, const char* product) {
  Call call("EmCtrlGetPanelRevision", {form::text(serial), form::text(product)});
  const Monitor* monitor = call.monitorByName(serial, product);
  return call.value<uint16_t>(0, form::integer,
                              [&] { return monitor ? monitor->panelRevision : uint16_t{0}; });
}

EmError EmCtrlLockMonitor(const char* serial, const char* product) {
  Call call("EmCtrlLockMonitor", {form::text(serial), form::text(product)});
  return onMonitor(call, serial, product, [&](Monitor& monitor) -> EmError {
    // Entering a section already held, by anyone, is refused: the section does not nest.
    if (monitor.criticalSection != Owner::None) return EMERR_MONITOR_CRITICAL_SECTION_IS_OWNED;
    monitor.criticalSection = Owner::Process;
    return EMERR_OK;
  });
}

EmError EmCtrlUnlockMonitor(const char* serial, const char* product) {
  Call call("EmCtrlUnlockMonitor", {form::text(serial), form::text(product)});
  return onMonitor(call, serial, product, [&](Monitor& monitor) -> EmError {
    switch (monitor.criticalSection) {
      case Owner::Process:
        monitor.criticalSection = Owner::None;
        return EMERR_OK;
      case Owner::Other:
        return EMERR_MONITOR_CRITICAL_SECTION_IS_OWNED;
      case Owner::None:
        break;
    }
    return EMERR_INVALID_PRECONDITION;
  });
}

int EmCtrlSupportedDUEPriority(const char* serial, const char* product) {
  Call call("EmCtrlSupportedDUEPriority", {form::text(serial), form::text(product)});
  const Monitor* monitor = call.monitorByName(serial, product);
  return call.value(0, form::integer, [&] { return monitor && monitor->duePriority ? 1 : 0; });
}

EmError EmCtrlGetDUEPriority(const char* serial, const char* product, EmCtrlDUEPriority* priority) {
  Call call("EmCtrlGetDUEPriority", {form::text(serial), form::text(product)});
  return onMonitor(call, serial, product, [&](Monitor& monitor) -> EmError {
    if (!priority) return EMERR_INVALID_BUFFER;
    if (!monitor.duePriority) return EMERR_UNSUPPORTED;
    *priority = *monitor.duePriority;
    return EMERR_OK;
  });
}

}  // namespace quilbysim::impl
