// The console's entry: reads what the host offers, then paints each part of the page from the
// store whenever it changes.

import * as api from './api.js';
import { loadCapabilities, refreshWorld } from './actions.js';
import { h, region } from './dom.js';
import { refreshSensors } from './opening.js';
import { store } from './store.js';
import { renderDialog } from './views/dialogs.js';
import { mountLog } from './views/log.js';
import { renderSensors } from './views/sensors.js';
import { renderSimulator } from './views/simulator.js';
import { renderWorkspace } from './views/workspace.js';

function renderHostStatus(state) {
  const { info } = state;
  if (info === null) return h('span', { class: 'status-pill status-plain' }, 'connecting\u2026');
  if (info.unreachable) return h('span', { class: 'status-pill status-bad' }, 'host unreachable');
  return [
    h(
      'span',
      { class: ['status-pill', info.pluginLoaded ? 'status-good' : 'status-bad'] },
      info.pluginLoaded ? 'plug-in loaded' : 'no plug-in',
    ),
    h(
      'span',
      { class: ['status-pill', info.simulator ? 'status-sim' : 'status-plain'] },
      info.simulator ? 'simulated devices' : 'device libraries',
    ),
    h(
      'span',
      { class: 'status-path', title: 'Exports directory (libquilby.so and the device libraries)' },
      info.exportsPath,
    ),
  ];
}

// What the host offers: its settings, its routes, and with the simulator its statuses and
// device functions.
async function readHost() {
  try {
    store.set({ info: await api.hostInfo() });
  } catch {
    store.set({ info: { unreachable: true } });
    return;
  }
  const routes = await api.hostRoutes().catch(() => []);
  store.set({ routes });
  if (!store.get().info.simulator) return;
  const [simErrors, simFunctions] = await Promise.all([
    api.simErrors().catch(() => []),
    api.simFunctions().catch(() => []),
  ]);
  store.set({ simErrors, simFunctions });
  await refreshWorld();
}

async function start() {
  mountLog(document.getElementById('log'));
  region(document.getElementById('host-status'), store, renderHostStatus, ['info']);
  region(document.getElementById('dialog-root'), store, renderDialog, ['dialog']);
  await readHost();
  region(document.getElementById('sensors'), store, renderSensors);
  region(document.getElementById('simulator'), store, renderSimulator, [
    'info',
    'world',
    'simErrors',
    'simFunctions',
    'outcomes',
    'pending',
    'selected',
    'meta',
  ]);
  document.getElementById('simulator').hidden = !store.get().info?.simulator;
  region(document.getElementById('workspace'), store, renderWorkspace);
  await refreshSensors();
  const { selected, caps } = store.get();
  if (selected && !caps[selected]) await loadCapabilities(selected);
}

start();
