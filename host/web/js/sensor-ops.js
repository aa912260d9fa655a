// Steps on the selected sensor that several places offer: the Sensor tab, and the hints that
// suggest them after an error.

import * as api from './api.js';
import { noteSensorState, ok, onSensor } from './actions.js';
import { openSensor, closeSensor } from './opening.js';
import { releaseMonitorOf } from './simulating.js';
import { store } from './store.js';
import { selectedMonitor } from './world.js';

export const setArm = (out) =>
  onSensor('arm', out ? 'Taking the arm out' : 'Taking the arm in', (id) => api.setArm(id, out), {
    success: (_, id) => {
      noteSensorState(id, { armOut: out });
      return ok(out ? 'The arm is out.' : 'The arm is in.');
    },
  });

export const calibrate = () =>
  onSensor('calibration', 'Calibrating', (id) => api.calibrate(id), {
    success: (_, id) => {
      noteSensorState(id, { calibrated: true });
      return ok('Calibrated.');
    },
  });

// Closes the selected sensor and opens it again the way it was opened: a new handle (and id)
// after the connection was lost.
export async function reopen() {
  const { selected, meta } = store.get();
  const how = meta[selected];
  if (!how) return;
  await closeSensor(selected);
  const open = how.monitor
    ? () => api.openMonitorSensor(how.monitor.serial, how.monitor.product)
    : how.individualID
      ? () => api.openByIndividualID(BigInt(`0x${how.individualID}`).toString())
      : () => api.openByDeviceID(how.deviceID);
  await openSensor(open, how, { again: true });
  return { ok: store.get().selected !== selected };
}

// What each hint's `action` does, its button's words, and what is said when it worked. `run`
// resolves {ok} or {ok: false, error}.
export const HINT_ACTIONS = Object.freeze({
  'arm-out': { label: 'Take the arm out', done: 'The arm is out.', run: () => setArm(true) },
  'arm-in': { label: 'Take the arm in', done: 'The arm is in.', run: () => setArm(false) },
  calibrate: { label: 'Calibrate now', done: 'Calibrated.', run: calibrate },
  'release-monitor': {
    label: 'Let the other program go (simulator)',
    done: 'The other program let go of the monitor.',
    simulatorOnly: true,
    run: () => releaseMonitorOf(selectedMonitor(store.get())),
  },
  reopen: { label: 'Close and open again', done: 'The sensor was opened again.', run: reopen },
});
