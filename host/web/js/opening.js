// Finding, opening, selecting and closing sensors.

import * as api from './api.js';
import { info, loadCapabilities, onHost, refreshWorld, setOutcome } from './actions.js';
import { shortId } from './format.js';
import { stopLive } from './measuring.js';
import { withEntry } from './state.js';
import { store } from './store.js';

// Lists the devices `request` answers with their names; a device keeps its id as its name when
// the names cannot be read.
async function namedDevices(request) {
  const devices = await request();
  if (devices.length === 0) return [];
  const names = await api.namesOf(devices.map((d) => d.deviceID)).catch(() => []);
  return devices.map((device, i) => ({ ...device, name: names[i] || `Device ${device.deviceID}` }));
}

async function refreshDeviceList(which, request) {
  let entry;
  try {
    entry = { list: await namedDevices(request) };
  } catch (error) {
    entry = { error };
  }
  store.update((s) => ({ devices: { ...s.devices, [which]: entry } }));
}

export const refreshSerial = () => refreshDeviceList('serial', api.listSerialConnected);

// Lists the opened sensors; `justOpened` stays listed even when the list cannot be read.
export async function refreshOpened(justOpened) {
  let ids;
  try {
    ids = await api.listOpened();
  } catch {
    ids = store.get().opened.map((sensor) => sensor.id);
    if (justOpened && !ids.includes(justOpened)) ids.push(justOpened);
  }
  const names = await api.namesOfOpened().catch(() => []);
  const previous = new Map(store.get().opened.map((sensor) => [sensor.id, sensor.name]));
  const opened = ids.map((id, i) => ({ id, name: names[i] || previous.get(id) || '' }));
  const { selected } = store.get();
  const stillSelected = opened.some((s) => s.id === selected);
  store.set({ opened, selected: stillSelected ? selected : (opened[0]?.id ?? null) });
  if (!stillSelected && opened[0]) await loadCapabilities(opened[0].id);
}

export function refreshSensors() {
  return onHost('sensors', async () => {
    await Promise.all([
      refreshDeviceList('connected', api.listConnected),
      refreshSerial(),
      refreshOpened(),
    ]);
  });
}

// Whether two descriptions of how a sensor was opened name the same sensor.
export function sameSensor(a, b) {
  if (!a || !b) return false;
  if (a.monitor && b.monitor) {
    return a.monitor.serial === b.monitor.serial && a.monitor.product === b.monitor.product;
  }
  if (a.individualID && b.individualID) {
    return a.individualID.toLowerCase() === b.individualID.toLowerCase();
  }
  return Number.isInteger(a.deviceID) && a.deviceID === b.deviceID && !a.monitor && !b.monitor;
}

// The opened sensor that `meta` describes, or null.
function alreadyOpen(meta) {
  const state = store.get();
  return state.opened.find((sensor) => sameSensor(state.meta[sensor.id], meta)) ?? null;
}

// Opens a sensor with `open()` (a request answering the new id) and selects it. A sensor that is
// already open is selected instead, with a word, unless `again` asks for a second handle.
export async function openSensor(open, meta, { again = false, label = 'the sensor' } = {}) {
  const existing = again ? null : alreadyOpen(meta);
  if (existing) {
    store.set({ selected: existing.id });
    setOutcome('open', {
      ...info(
        `${existing.name || label} is already open as ${shortId(existing.id)}; it is selected.`,
      ),
      openAgain: { open, meta, label },
    });
    return;
  }
  const result = await onHost('open', open, () => null);
  if (!result.ok) return;
  const id = result.value;
  if (store.get().live?.sensorId !== id) stopLive();
  store.update((s) => ({ meta: withEntry(s.meta, id, meta), selected: id }));
  await refreshOpened(id);
  await loadCapabilities(id);
  if (!again) await tellSecondHandle(id, meta);
  await refreshWorld();
}

// The opened sensor, other than `id`, that is the same instrument (device id and serial), or
// null. Sensors opened before this page was loaded are asked who they are.
async function sameInstrument(id) {
  const state = store.get();
  const mine = state.caps[id]?.info;
  if (!mine) return null;
  for (const sensor of state.opened.filter((s) => s.id !== id)) {
    const theirs =
      state.caps[sensor.id]?.info ?? (await api.sensorInfo(sensor.id).catch(() => null));
    if (theirs && theirs.deviceID === mine.deviceID && theirs.serial === mine.serial) return sensor;
  }
  return null;
}

// Opening gives a new handle even for a sensor that is open already; say so, and offer to close
// the new one.
async function tellSecondHandle(id, meta) {
  const twin = await sameInstrument(id);
  if (!twin) return;
  store.update((s) => ({ meta: s.meta[twin.id] ? s.meta : withEntry(s.meta, twin.id, meta) }));
  setOutcome('open', {
    ...info(
      `This sensor was already open as ${shortId(twin.id)}; opening it again gave a second handle, ${shortId(id)}. Both work.`,
    ),
    closeSecond: id,
  });
}

export function selectSensor(id) {
  if (store.get().live?.sensorId !== id) stopLive();
  store.set({ selected: id });
  if (!store.get().caps[id]) loadCapabilities(id);
}

export async function closeSensor(id) {
  if (store.get().live?.sensorId === id) stopLive();
  await onHost(
    'open',
    () => api.closeSensor(id),
    () => null,
  );
  store.update((s) => ({ caps: withEntry(s.caps, id, undefined) }));
  await refreshOpened();
}

export async function closeAll() {
  stopLive();
  await onHost(
    'open',
    () => api.closeAll(),
    () => null,
  );
  await refreshOpened();
}
