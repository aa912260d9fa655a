// The simulator's controls: the colour a monitor shows, another program holding a monitor,
// injected failures, reset. And the general request panel, which sends anything.

import * as api from './api.js';
import { errorOutcome, ok, onHost, refreshWorld, setOutcome } from './actions.js';
import { plural } from './format.js';
import { stopLive } from './measuring.js';
import { refreshSensors } from './opening.js';
import { store } from './store.js';

export async function showColour(monitor, rgb) {
  await onHost(
    'sim-colour',
    () => api.simShowColour(monitor.serial, monitor.product, rgb),
    () => null,
  );
  await refreshWorld();
}

export async function holdMonitor(monitor, held) {
  const result = await onHost(
    'sim-colour',
    () => api.simHoldMonitor(monitor.serial, monitor.product, held),
    () => null,
  );
  await refreshWorld();
  return result;
}

// `failure`: {function, count, status}.
export async function injectFailure(failure) {
  await onHost(
    'sim-failures',
    () => api.simInjectFailure(failure),
    () =>
      ok(
        `The next ${plural(failure.count, 'call')} of ${failure.function} fail with ${failure.status}.`,
      ),
  );
  await refreshWorld();
}

export async function clearFailures() {
  await onHost(
    'sim-failures',
    () => api.simClearFailures(),
    () => ok('No failure is armed.'),
  );
  await refreshWorld();
}

// A new world closes every sensor, so the lists are read again.
export async function resetWorld() {
  stopLive();
  const result = await onHost(
    'sim-world',
    () => api.simReset(),
    () => ok('The world was reset; every sensor was closed.'),
  );
  await refreshWorld();
  if (result.ok) await refreshSensors();
}

// Another program lets go of the monitor a sensor is on (what a hint offers).
export async function releaseMonitorOf(monitor) {
  return monitor ? holdMonitor(monitor, false) : { ok: false };
}

// ---- The general request panel --------------------------------------------------------------------

// Sends `method path` (query in the path) with `body` (a text, sent as it stands; empty for
// none), by the REST route or, with `bridge`, by POST /bridge/<entryPoint> with the four texts.
export async function sendRequest({ method, path, body, bridge, entryPoint, parameters, query }) {
  store.set({ request: { pending: true } });
  try {
    const answer = bridge
      ? await api.send('POST', `/bridge/${encodeURIComponent(entryPoint)}`, {
          body: { request: { method }, parameters, query, data: body },
        })
      : await api.send(method, path, { body: body === '' ? undefined : body });
    const { status, text, envelope, entryPoint: reached } = answer;
    const error = envelope?.error
      ? errorOutcome(new api.ApiError(status, envelope.error, text))
      : null;
    store.set({ request: { status, text, entryPoint: reached, error } });
  } catch (error) {
    store.set({ request: { status: 0, text: '', error: errorOutcome(error) } });
  }
  setOutcome('request', undefined);
}
