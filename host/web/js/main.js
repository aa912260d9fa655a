// The console's entry: the shared state, the host status line, and the views.

import * as api from './api.js';
import { fill, h } from './dom.js';
import { createStore } from './state.js';
import { mountLog } from './views/log.js';
import { mountSensors } from './views/sensors.js';
import { mountSimulator } from './views/simulator.js';
import { mountWorkspace } from './views/workspace.js';

// info: GET /host/info; world: the simulated world (null without the simulator); opened: the
// opened sensors [{id, name}]; meta: what is known of each sensor id ({deviceID, individualID,
// monitor}); selected: the sensor id shown in the workspace; worldVersion: bumped whenever the
// world may have changed.
const store = createStore({
  info: null,
  world: null,
  opened: [],
  meta: {},
  selected: null,
  worldVersion: 0,
});

// Reloads the simulated world after anything that may have changed it.
async function refreshWorld() {
  if (!store.get().info?.simulator) return;
  try {
    store.set({ world: await api.simWorld(), worldVersion: store.get().worldVersion + 1 });
  } catch {
    // The log shows the failure; the views keep the world they had.
  }
}

function showHostStatus(element, info, error) {
  if (error) {
    fill(element, h('span', { class: 'status-pill status-bad' }, 'host unreachable'));
    return;
  }
  fill(
    element,
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
  );
}

async function start() {
  const context = { store, refreshWorld };
  mountLog(document.getElementById('log'));
  const status = document.getElementById('host-status');
  try {
    const info = await api.hostInfo();
    store.set({ info });
    showHostStatus(status, info);
  } catch (error) {
    showHostStatus(status, null, error);
  }
  if (store.get().info?.simulator) {
    await refreshWorld();
    const simulator = document.getElementById('simulator');
    simulator.hidden = false;
    mountSimulator(simulator, context);
  }
  mountSensors(document.getElementById('sensors'), context);
  mountWorkspace(document.getElementById('workspace'), context);
}

start();
