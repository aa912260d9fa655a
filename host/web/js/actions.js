// What the console does: every change of the store goes through here. Requests on one sensor run
// one after the other (queue.js), each outcome lands in the store under its card's key with the
// hint for an error, and the simulated world is read again after anything that may change it.

import * as api from './api.js';
import { builtInFrom, hintContext } from './capabilities.js';
import { announce } from './dom.js';
import { describeError } from './format.js';
import { hintFor } from './hints.js';
import { createQueue } from './queue.js';
import { withEntry, withMerged } from './state.js';
import { store } from './store.js';
import { worldSensor } from './world.js';

const queue = createQueue((sensorId, task) =>
  store.update((s) => ({ busy: withEntry(s.busy, sensorId, task ?? undefined) })),
);

export const selectedId = () => store.get().selected;
export const outcomeKey = (card, sensorId = selectedId()) => `${sensorId}/${card}`;

// Shows `outcome` ({kind, text, ...}) under `key`; undefined removes it. Errors are also said
// once to screen readers.
export function setOutcome(key, outcome) {
  store.update((s) => ({ outcomes: withEntry(s.outcomes, key, outcome) }));
  if (outcome?.kind === 'error') announce(outcome.text);
}

// The outcome of a failed request: its sentence, the error as it came, and the hint.
export function errorOutcome(error, context = {}) {
  const { status, name, message, detail, envelopeText } = error;
  return {
    kind: 'error',
    text: describeError(error),
    error: { status, name, message, detail, envelopeText },
    hint: hintFor(error, context),
  };
}

export const ok = (text) => ({ kind: 'ok', text });
export const info = (text) => ({ kind: 'info', text });

// ---- The simulated world -------------------------------------------------------------------------

let worldReading = null;
let worldAgain = false;

// Reads the simulated world again; a call while a reading runs asks for one more afterwards, so
// the last change is never missed and readings never pile up.
export async function refreshWorld() {
  if (!store.get().info?.simulator) return;
  if (worldReading) {
    worldAgain = true;
    await worldReading;
    return;
  }
  worldReading = (async () => {
    do {
      worldAgain = false;
      try {
        store.set({ world: await api.simWorld() });
      } catch {
        // The log shows the failure; the views keep the world they had.
      }
    } while (worldAgain);
  })();
  await worldReading;
  worldReading = null;
}

// ---- Actions on a sensor ---------------------------------------------------------------------------

// Runs `work(sensorId)` for the selected sensor in that sensor's line and shows its outcome under
// `card`: `success(value, sensorId)` gives the outcome (undefined leaves the card as it is, null
// clears it); a failure shows the error and its hint. `label` names the action while it runs;
// `background` actions (live readings) do not mark the sensor busy. Resolves with {ok, value} or
// {ok: false, error}; the world is read again afterwards unless `quiet`.
export async function onSensor(card, label, work, options = {}) {
  const { success, background = false, quiet = false, sensorId = selectedId() } = options;
  if (!sensorId) return { ok: false };
  const key = outcomeKey(card, sensorId);
  const result = await queue.run(sensorId, { label, background }, async () => {
    try {
      const value = await work(sensorId);
      const shown = success?.(value, sensorId);
      if (shown !== undefined) setOutcome(key, shown ?? undefined);
      return { ok: true, value };
    } catch (error) {
      if (!(error instanceof api.ApiError)) throw error;
      setOutcome(key, errorOutcome(error, hintContext(store.get().caps[sensorId])));
      return { ok: false, error };
    }
  });
  if (!quiet) await refreshWorld();
  return result;
}

// Records what the console knows of a sensor's state (sensorState).
export function noteSensorState(sensorId, patch) {
  store.update((s) => ({ sensorState: withMerged(s.sensorState, sensorId, patch) }));
}

// Records which corrections the console applied or released ({correlation, matrix, correction}).
export function noteApplied(sensorId, patch) {
  const applied = { ...(store.get().sensorState[sensorId]?.applied ?? {}), ...patch };
  noteSensorState(sensorId, { applied });
}

// ---- Actions not tied to a sensor ------------------------------------------------------------------

// Runs `work()` marked as pending under `key` (a second press while it runs does nothing) and
// shows its outcome under `key` as onSensor does. Resolves with {ok, value} or {ok: false}.
export async function onHost(key, work, success) {
  if (store.get().pending[key]) return { ok: false };
  store.update((s) => ({ pending: withEntry(s.pending, key, true) }));
  try {
    const value = await work();
    const shown = success?.(value);
    if (shown !== undefined) setOutcome(key, shown ?? undefined);
    return { ok: true, value };
  } catch (error) {
    if (!(error instanceof api.ApiError)) throw error;
    setOutcome(key, errorOutcome(error));
    return { ok: false, error };
  } finally {
    store.update((s) => ({ pending: withEntry(s.pending, key, undefined) }));
  }
}

export function selectTab(tab) {
  store.set({ tab });
}

export function openDialog(dialog) {
  store.set({ dialog: { ...dialog, opener: document.activeElement?.id ?? null } });
}

export function closeDialog() {
  store.set({ dialog: null });
}

// ---- Capabilities ------------------------------------------------------------------------------------

// A sensor's `supports` answers; a refused question counts as "no", which is what it means for
// the console.
async function readSupports(sensorId) {
  const ask = (request) => request(sensorId).catch(() => false);
  return {
    modes: await api.supportedModes(sensorId).catch(() => null),
    arm: await ask(api.hasArm),
    positions: await ask(api.hasMultiplePositions),
    exteriorLight: await ask(api.hasExteriorLight),
    targetMarker: await ask(api.hasTargetMarker),
  };
}

// Whether a sensor is built into a monitor when neither how it was opened nor the simulated world
// tells: the criterion description is read through the monitor's link, and refused with "Get
// HID handle." without one.
async function probeBuiltIn(sensorId) {
  try {
    await api.criterionDescription(sensorId);
    return true;
  } catch (error) {
    return error.detail?.reason === 'Get HID handle.' ? false : null;
  }
}

// The sensors whose capabilities are being read, so that a second call waits for the first
// instead of asking again.
const reading = new Map();

// Reads what the sensor can do: capabilities, `supports` answers, built in or not.
export function loadCapabilities(sensorId = selectedId()) {
  if (!reading.has(sensorId)) {
    reading.set(
      sensorId,
      readCapabilities(sensorId).finally(() => reading.delete(sensorId)),
    );
  }
  return reading.get(sensorId);
}

function readCapabilities(sensorId) {
  return onSensor(
    'identity',
    'Reading capabilities',
    async () => {
      const info = await api.sensorInfo(sensorId);
      const supports = await readSupports(sensorId);
      const { meta, world } = store.get();
      let builtIn = builtInFrom(meta[sensorId], worldSensor(world, meta[sensorId]));
      if (builtIn === null) builtIn = await probeBuiltIn(sensorId);
      store.update((s) => ({ caps: withEntry(s.caps, sensorId, { info, supports, builtIn }) }));
      return info;
    },
    { sensorId, success: () => null, quiet: true },
  );
}

// ---- The chromaticity diagram ------------------------------------------------------------------------

// `patch`: {projection, view} or either.
export function setPlot(patch) {
  store.update((s) => ({ plot: { ...s.plot, ...patch } }));
}

// Paints the views again after drafts changed underneath them (a matrix read into its fields).
export const repaint = () => store.set({});

// A button's action on the selected sensor: `request(sensorId)` in the sensor's line, its
// outcome (`success(value, sensorId)`) under `card`.
export const act = (card, label, request, success) => () =>
  onSensor(card, label, request, { success });
