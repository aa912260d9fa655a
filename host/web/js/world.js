// Questions about the simulated device world (the JSON of GET /sim/world) that the console asks.
// No DOM here, so Node can test it.

// The world's record of an opened sensor. `meta` is what the console knows about the sensor:
// {deviceID, individualID (16 hexadecimal digits), monitor: {serial, product}}, any of them
// possibly missing.
export function worldSensor(world, meta) {
  const sensors = world?.sensors ?? [];
  if (Number.isInteger(meta?.deviceID)) {
    const found = sensors.find((s) => s.deviceID === meta.deviceID);
    if (found) return found;
  }
  if (meta?.individualID) {
    const wanted = String(meta.individualID).toLowerCase();
    const found = sensors.find((s) => String(s.individualID).toLowerCase() === wanted);
    if (found) return found;
  }
  if (meta?.monitor) {
    return (
      sensors.find((s) => s.connection === 'builtIn' && s.monitor === meta.monitor.serial) ?? null
    );
  }
  return null;
}

// The monitor an opened sensor is built into or looks at, or null.
export function monitorOf(world, meta) {
  const monitors = world?.monitors ?? [];
  if (meta?.monitor) {
    const found = monitors.find(
      (m) => m.serial === meta.monitor.serial && m.product === meta.monitor.product,
    );
    if (found) return found;
  }
  const sensor = worldSensor(world, meta);
  return sensor?.monitor ? (monitors.find((m) => m.serial === sensor.monitor) ?? null) : null;
}

// The monitors whose built-in sensor can be opened (those with a HID handle) first, then the rest.
export function monitorsForOpening(world) {
  const monitors = world?.monitors ?? [];
  return [...monitors].sort((a, b) => Number(!a.hidHandle) - Number(!b.hidHandle));
}

// The world's record of the sensor selected in the console's `state` (see main.js), or null.
export function selectedSensor({ world, meta, selected }) {
  return worldSensor(world, meta?.[selected] ?? {});
}

// The monitor of the sensor selected in the console's `state`, or null.
export function selectedMonitor({ world, meta, selected }) {
  return monitorOf(world, meta?.[selected] ?? {});
}
