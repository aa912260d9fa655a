// Readings: taking them, the live series, the derived values the host computes for them, the
// reference and the white they are compared with, and their export.

import * as api from './api.js';
import { errorOutcome, onSensor, outcomeKey, selectedId, setOutcome } from './actions.js';
import { shortId } from './format.js';
import { startLoop } from './queue.js';
import { clampXYZ, exportRows, whiteOfDisplay, xyzArray } from './readings.js';
import { withEntry } from './state.js';
import { store } from './store.js';
import { monitorOf, worldSensor } from './world.js';

// The readings a sensor can take: what the console calls each, the request, and the feature of
// capabilities.js it needs.
export const KINDS = Object.freeze({
  xyz: { label: 'XYZ', request: api.measureXYZ, feature: null },
  raw: { label: 'Raw data', request: api.measureRaw, feature: null },
  rgb: { label: 'RGB', request: api.measureRGB, feature: 'rgb' },
  ir: { label: 'IR', request: api.measureIR, feature: 'ir' },
  uncorrelated: {
    label: 'XYZ without correlation',
    request: api.measureXYZWithoutCorrelation,
    feature: 'uncorrelated',
  },
});

// Enough for a long live series; the oldest go first.
const KEPT = 5000;
let nextSeq = 1;

function sensorLabel(state, sensorId) {
  const name = state.opened.find((s) => s.id === sensorId)?.name || 'Sensor';
  return `${name} (${shortId(sensorId)})`;
}

// Whether a correction of any kind acts on the sensor's readings: what the simulated world says,
// else what the console itself applied.
function correctedNow(state, sensorId) {
  const record = worldSensor(state.world, state.meta[sensorId]);
  if (record) {
    const s = record.state ?? {};
    return Boolean(
      s.appliedCorrelation || s.appliedMatrix || s.correction || s.ninePointCorrection,
    );
  }
  const applied = state.sensorState[sensorId]?.applied ?? {};
  return Boolean(applied.correlation || applied.matrix || applied.correction);
}

// The mode a sensor measures in: what the console set, else what the world says, else display.
export function modeNow(state, sensorId) {
  const known = state.sensorState[sensorId];
  if (Number.isInteger(known?.mode)) return { mode: known.mode, observer: known.observer ?? 0 };
  const record = worldSensor(state.world, state.meta[sensorId]);
  return { mode: record?.state?.mode ?? 0, observer: record?.state?.observer ?? 0 };
}

function recordXYZ(sensorId, value) {
  const state = store.get();
  const reading = {
    seq: nextSeq++,
    sensorId,
    sensor: sensorLabel(state, sensorId),
    time: new Date(),
    ...modeNow(state, sensorId),
    corrected: correctedNow(state, sensorId),
    XYZ: value.XYZ,
    rawXYZ: value.rawXYZ,
  };
  store.update((s) => {
    const readings = [...s.readings, reading].slice(-KEPT);
    if (readings.length < KEPT) return { readings };
    // The derived values of the readings let go go with them.
    const kept = Object.entries(s.derived).filter(([seq]) => Number(seq) >= readings[0].seq);
    return { readings, derived: Object.fromEntries(kept) };
  });
  return reading;
}

function recordOther(sensorId, kind, value) {
  store.update((s) => ({
    others: withEntry(s.others, sensorId, {
      ...(s.others[sensorId] ?? {}),
      [kind]: { value, time: new Date() },
    }),
  }));
}

// Takes one reading of `kind` from the selected (or the given) sensor. Resolves {ok, ...}.
export async function measureOne(kind, { sensorId = selectedId(), background = false } = {}) {
  let taken = null;
  // A live reading changes nothing in the world worth reading again, unless it used up an
  // injected failure, which the simulator panel counts.
  const quiet = background && !(store.get().world?.failures?.length > 0);
  const label = `Measuring ${KINDS[kind].label}`;
  const result = await onSensor(`measure-${kind}`, label, KINDS[kind].request, {
    sensorId,
    background,
    quiet,
    success: (value) => {
      if (kind === 'xyz') taken = recordXYZ(sensorId, value);
      else recordOther(sensorId, kind, value);
      return null;
    },
  });
  if (taken) await deriveFor([taken]);
  return result;
}

// Takes the readings of `kinds` one after the other; a failure does not stop the others.
export async function measure(kinds) {
  for (const kind of kinds) await measureOne(kind);
}

// ---- The live series -------------------------------------------------------------------------------

let loop = null;

// Measures XYZ again `delay` milliseconds after each answer, until stopped or a reading fails.
// The series statistics start afresh.
export function startLive(delay) {
  const sensorId = selectedId();
  if (!sensorId) return;
  stopLive();
  store.update((s) => ({
    live: { sensorId, count: 0, delay, running: true },
    seriesStart: withEntry(s.seriesStart, sensorId, nextSeq),
  }));
  loop = startLoop({
    step: async () => {
      const result = await measureOne('xyz', { sensorId, background: true });
      if (result.ok) store.update((s) => ({ live: { ...s.live, count: s.live.count + 1 } }));
      return result.ok;
    },
    delay: () => store.get().live?.delay ?? delay,
    wait: (ms) => new Promise((resolve) => setTimeout(resolve, ms)),
    onEnd: () => store.update((s) => ({ live: s.live && { ...s.live, running: false } })),
  });
}

export function stopLive() {
  loop?.stop();
  loop = null;
}

export function setLiveDelay(delay) {
  store.update((s) => ({ live: s.live && { ...s.live, delay } }));
}

export function newSeries() {
  const sensorId = selectedId();
  store.update((s) => ({ seriesStart: withEntry(s.seriesStart, sensorId, nextSeq) }));
}

// ---- Reference, white and derived values -------------------------------------------------------------

const readingBySeq = (state, seq) => state.readings.find((r) => r.seq === seq) ?? null;

// The white of L*a*b* for readings of `sensorId` as [X, Y, Z], with where it comes from; null
// when there is none.
export function whiteFor(state, sensorId) {
  if (state.white.source === 'reading') {
    const reading = readingBySeq(state, state.white.seq);
    const xyz = reading ? xyzArray(reading.XYZ) : null;
    return xyz ? { xyz: clampXYZ(xyz), label: `reading #${reading.seq}` } : null;
  }
  const monitor = monitorOf(state.world, state.meta[sensorId]);
  const xyz = whiteOfDisplay(monitor?.display);
  return xyz ? { xyz, label: `the white of ${monitor.serial} (simulated world)` } : null;
}

export function referenceOf(state) {
  return state.reference === null ? null : readingBySeq(state, state.reference);
}

// Asks the host for the derived values of `readings` (all of one sensor) and keeps them by seq.
export async function deriveFor(readings) {
  if (readings.length === 0) return;
  const state = store.get();
  const white = whiteFor(state, readings[0].sensorId);
  const reference = referenceOf(state);
  const request = { readings: readings.map((r) => clampXYZ(xyzArray(r.XYZ) ?? [0, 0, 0])) };
  if (white) request.white = white.xyz;
  if (reference) request.reference = clampXYZ(xyzArray(reference.XYZ));
  let entries;
  try {
    const { derived } = await api.deriveColour(request);
    entries = readings.map((r, i) => [r.seq, { derived: derived[i] }]);
  } catch (error) {
    entries = readings.map((r) => [r.seq, { error: errorOutcome(error) }]);
  }
  store.update((s) => ({ derived: { ...s.derived, ...Object.fromEntries(entries) } }));
}

// Derives the selected sensor's readings again, after the reference or the white changed.
function deriveSelectedAgain() {
  const state = store.get();
  return deriveFor(state.readings.filter((r) => r.sensorId === state.selected));
}

export function chooseReference(seq) {
  store.set({ reference: seq });
  return deriveSelectedAgain();
}

export function chooseWhite(white) {
  store.set({ white });
  return deriveSelectedAgain();
}

// ---- Export ---------------------------------------------------------------------------------------------

// The readings taken so far as a file of `format` ('csv' or 'cgats'); resolves {blob, filename} or
// null after an error, which shows under the export card.
export async function exportFile(format, { includeRaw }) {
  const state = store.get();
  const request = { readings: exportRows(state.readings, { includeRaw }) };
  const white = whiteFor(state, state.selected);
  if (white) request.white = white.xyz;
  const key = outcomeKey('export');
  try {
    const file = await api.exportReadings(format, request);
    setOutcome(key, { kind: 'ok', text: `${file.filename}: ${request.readings.length} rows.` });
    return file;
  } catch (error) {
    if (!(error instanceof api.ApiError)) throw error;
    setOutcome(key, errorOutcome(error));
    return null;
  }
}
