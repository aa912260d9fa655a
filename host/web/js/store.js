// The console's one store and the shape of its state. Views render from it; the actions
// (actions.js, measuring.js) are the only code that changes it.

import { createStore } from './state.js';
import { FULL_VIEWS } from './viewport.js';

export const store = createStore({
  // GET /host/info; the REST routes; the simulator's statuses and device functions.
  info: null,
  routes: [],
  simErrors: [],
  simFunctions: [],
  // The simulated world (null without the simulator).
  world: null,
  // {connected, serial}: each null while unread, {list: [{deviceID, individualID?, name}]} or
  // {error}.
  devices: { connected: null, serial: null },
  // The opened sensors [{id, name}], what is known of how each was opened ({deviceID,
  // individualID, monitor: {serial, product}}), and the one in the workspace.
  opened: [],
  meta: {},
  selected: null,
  tab: 'sensor',
  // Per sensor id: {info, supports, builtIn} (capabilities.js).
  caps: {},
  // Per sensor id: what the console set or saw: {mode, observer, calibrated, armOut, applied:
  // {correlation, matrix, correction}}.
  sensorState: {},
  // Per sensor id: the label of the action running on it.
  busy: {},
  // Actions not tied to a sensor that are running, by key.
  pending: {},
  // Outcomes shown in the cards, by key ("<sensor id>/<card>" or "<area>"): {kind, text, error,
  // value}.
  outcomes: {},
  // XYZ readings of every sensor, oldest first: {seq, sensorId, sensor, time, mode, observer,
  // corrected, XYZ, rawXYZ}; and per sensor the latest of the other readings, by kind.
  readings: [],
  others: {},
  // The host's derived values of each reading, by seq ({derived} or {error}).
  derived: {},
  // The reading ΔE and Δu'v' are taken against (its seq), and the white of L*a*b*: {source:
  // 'world'} or {source: 'reading', seq}.
  reference: null,
  white: { source: 'world' },
  // Per sensor id: the seq of the first reading of the current series.
  seriesStart: {},
  // The live series: {sensorId, count, delay, error} while it runs.
  live: null,
  // The chromaticity diagram: projection 'xy' or 'uv' and the part on show.
  plot: { projection: 'xy', view: FULL_VIEWS.xy },
  // The general request panel's last answer.
  request: null,
  // The open dialog: {kind, ...}, or null.
  dialog: null,
});
