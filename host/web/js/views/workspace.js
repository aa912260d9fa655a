// The workspace: the selected sensor's title, what it is busy with, and the tabs.

import { selectTab } from '../actions.js';
import { h } from '../dom.js';
import { monitorOf, worldSensor } from '../world.js';
import { renderCorrections } from './corrections.js';
import { renderCorrelation } from './correlation.js';
import { renderDatabases } from './databases.js';
import { renderDevice } from './device.js';
import { renderMeasure } from './measure.js';
import { renderPresence } from './presence.js';
import { renderRequest } from './request.js';
import { renderSensorTab } from './sensor-tab.js';

// Each tab and where a person would look for what it holds; `sensor` tabs need an open sensor.
export const TABS = Object.freeze([
  { key: 'sensor', label: 'Sensor', render: renderSensorTab, sensor: true },
  { key: 'measure', label: 'Measure', render: renderMeasure, sensor: true },
  { key: 'presence', label: 'Presence detection', render: renderPresence, sensor: true },
  { key: 'correlation', label: 'Correlation', render: renderCorrelation, sensor: true },
  { key: 'databases', label: 'Records & databases', render: renderDatabases, sensor: true },
  { key: 'corrections', label: 'Corrections', render: renderCorrections, sensor: true },
  { key: 'device', label: 'Device settings', render: renderDevice, sensor: true },
  { key: 'request', label: 'Any request', render: renderRequest, sensor: false },
]);

function noSensor() {
  return h(
    'div',
    { class: 'empty' },
    h('h2', null, 'No sensor selected'),
    h(
      'p',
      null,
      'Open a sensor from the list on the left: a connected USB sensor by its device id or individual id, a serial-USB sensor, or the sensor built into a monitor.',
    ),
    h(
      'ol',
      { class: 'steps' },
      h('li', null, 'Open a sensor; it appears under ', h('strong', null, 'Opened'), ' and here.'),
      h(
        'li',
        null,
        h('strong', null, 'Sensor'),
        ': capabilities, mode, calibration, arm, position, exterior light, target marker.',
      ),
      h(
        'li',
        null,
        h('strong', null, 'Measure'),
        ': readings with units and derived values, the chromaticity diagram, live series, export.',
      ),
      h(
        'li',
        null,
        h('strong', null, 'Presence detection'),
        ', ',
        h('strong', null, 'Correlation'),
        ', ',
        h('strong', null, 'Records & databases'),
        ': what a sensor built into a monitor offers.',
      ),
      h(
        'li',
        null,
        h('strong', null, 'Any request'),
        ': any entry point with any method, query and body.',
      ),
    ),
    h('p', { class: 'muted' }, 'Every request and its envelope appear in the request log.'),
  );
}

function title(state) {
  const { selected, opened, meta, world } = state;
  const sensor = opened.find((s) => s.id === selected);
  const known = meta[selected] ?? {};
  const monitor = monitorOf(world, known);
  const simulated = worldSensor(world, known);
  const deviceID = known.deviceID ?? state.caps[selected]?.info?.deviceID;
  return h(
    'div',
    { class: 'sensor-title' },
    h('h2', { id: 'sensor-name' }, sensor?.name || simulated?.name || 'Sensor'),
    h(
      'div',
      { class: 'sensor-sub' },
      h('code', { class: 'sensor-id', id: 'sensor-id' }, selected),
      Number.isInteger(deviceID) ? h('span', null, `device ${deviceID}`) : null,
      monitor ? h('span', null, `on ${monitor.serial} \u00b7 ${monitor.product}`) : null,
      simulated ? h('span', { class: 'tag tag-sim' }, simulated.connection) : null,
    ),
  );
}

// What the selected sensor is busy with; other actions on it wait until it is done.
function busyBanner(state) {
  const task = state.busy[state.selected];
  if (!task || task.background)
    return h('div', { class: 'busy-banner', hidden: true, id: 'busy-banner' });
  return h(
    'div',
    { class: 'busy-banner', id: 'busy-banner' },
    h('span', { class: 'spinner', 'aria-hidden': 'true' }),
    `${task.label}\u2026 Other actions on this sensor wait until it is done.`,
  );
}

function tabBar(state) {
  const moveBy = (event) => {
    const step = { ArrowRight: 1, ArrowLeft: -1 }[event.key];
    if (!step) return;
    const index = TABS.findIndex((tab) => tab.key === state.tab);
    const next = TABS[(index + step + TABS.length) % TABS.length].key;
    selectTab(next);
    setTimeout(() => document.getElementById(`tab-${next}`)?.focus(), 0);
  };
  return h(
    'div',
    { class: 'tabs', role: 'tablist', 'aria-label': 'Sensor views', on: { keydown: moveBy } },
    TABS.map((tab) =>
      h(
        'button',
        {
          type: 'button',
          role: 'tab',
          id: `tab-${tab.key}`,
          'aria-controls': 'tab-panel',
          'aria-selected': String(tab.key === state.tab),
          tabindex: tab.key === state.tab ? '0' : '-1',
          on: { click: () => selectTab(tab.key) },
        },
        tab.label,
      ),
    ),
  );
}

export function renderWorkspace(state) {
  const tab = TABS.find((t) => t.key === state.tab) ?? TABS[0];
  const content = tab.sensor && !state.selected ? noSensor() : tab.render(state);
  return [
    state.selected ? title(state) : null,
    busyBanner(state),
    tabBar(state),
    h(
      'div',
      {
        role: 'tabpanel',
        id: 'tab-panel',
        'aria-labelledby': `tab-${tab.key}`,
        'data-tab': tab.key,
      },
      content,
    ),
  ];
}
