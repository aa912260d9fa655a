// The workspace: the selected sensor's title and its four tabs.

import { fill, h } from '../dom.js';
import { monitorOf, worldSensor } from '../world.js';
import { mountCorrelation } from './correlation.js';
import { mountMeasure } from './measure.js';
import { mountOverview } from './overview.js';
import { mountPresence } from './presence.js';

const TABS = [
  { key: 'overview', label: 'Sensor', mount: mountOverview },
  { key: 'measure', label: 'Measure', mount: mountMeasure },
  { key: 'presence', label: 'Presence', mount: mountPresence },
  { key: 'correlation', label: 'Correlation', mount: mountCorrelation },
];

function emptyState() {
  return h(
    'div',
    { class: 'empty' },
    h('h2', null, 'No sensor selected'),
    h(
      'p',
      null,
      'Open a sensor from the list on the left: a connected USB sensor by its device id or ' +
        'individual id, a serial-USB sensor, or the sensor built into a monitor.',
    ),
    h(
      'ol',
      { class: 'steps' },
      h('li', null, 'Open a sensor; it appears under ', h('strong', null, 'Opened'), ' and here.'),
      h(
        'li',
        null,
        h('strong', null, 'Sensor'),
        ': capabilities, mode, calibration, arm and position.',
      ),
      h(
        'li',
        null,
        h('strong', null, 'Measure'),
        ': XYZ, raw, RGB and IR readings on the chromaticity diagram.',
      ),
      h(
        'li',
        null,
        h('strong', null, 'Presence'),
        ' and ',
        h('strong', null, 'Correlation'),
        ': the built-in sensor\u2019s presence detection, corrections and matrices.',
      ),
    ),
    h(
      'p',
      { class: 'muted' },
      'Every request and its envelope appear in the request log on the right.',
    ),
  );
}

export function mountWorkspace(root, context) {
  const { store } = context;
  const title = h('div', { class: 'sensor-title' });
  const tabList = h('div', { class: 'tabs', role: 'tablist' });
  const panels = {};
  const buttons = {};
  const views = {};
  let active = 'overview';

  function select(key) {
    active = key;
    for (const tab of TABS) {
      buttons[tab.key].setAttribute('aria-selected', String(tab.key === key));
      buttons[tab.key].tabIndex = tab.key === key ? 0 : -1;
      panels[tab.key].hidden = tab.key !== key;
    }
    if (store.get().selected) views[key]?.onShow?.();
  }

  for (const tab of TABS) {
    buttons[tab.key] = h(
      'button',
      {
        type: 'button',
        role: 'tab',
        id: `tab-${tab.key}`,
        'aria-controls': `panel-${tab.key}`,
        on: { click: () => select(tab.key) },
      },
      tab.label,
    );
    tabList.append(buttons[tab.key]);
    panels[tab.key] = h('div', {
      role: 'tabpanel',
      id: `panel-${tab.key}`,
      'aria-labelledby': `tab-${tab.key}`,
    });
  }
  tabList.addEventListener('keydown', (event) => {
    const index = TABS.findIndex((tab) => tab.key === active);
    const step = { ArrowRight: 1, ArrowLeft: -1 }[event.key];
    if (!step) return;
    const next = TABS[(index + step + TABS.length) % TABS.length].key;
    select(next);
    buttons[next].focus();
  });

  const content = h(
    'div',
    { class: 'workspace-content' },
    title,
    tabList,
    TABS.map((tab) => panels[tab.key]),
  );
  const empty = emptyState();

  function showTitle() {
    const { selected, opened, meta, world } = store.get();
    if (!selected) {
      fill(root, empty);
      return;
    }
    if (!root.contains(content)) fill(root, content);
    const sensor = opened.find((s) => s.id === selected);
    const known = meta[selected] ?? {};
    const monitor = monitorOf(world, known);
    const simulated = worldSensor(world, known);
    fill(
      title,
      h(
        'div',
        null,
        h('h2', { id: 'sensor-name' }, sensor?.name || simulated?.name || 'Sensor'),
        h(
          'div',
          { class: 'sensor-sub' },
          h('code', { class: 'sensor-id', id: 'sensor-id' }, selected),
          Number.isInteger(known.deviceID) ? h('span', null, `device ${known.deviceID}`) : null,
          monitor ? h('span', null, `on ${monitor.serial} \u00b7 ${monitor.product}`) : null,
          simulated ? h('span', { class: 'tag tag-sim' }, simulated.connection) : null,
        ),
      ),
    );
  }

  // A view may return {onShow}, called when its tab is shown for the selected sensor.
  for (const tab of TABS) views[tab.key] = tab.mount(panels[tab.key], context);
  select('overview');
  showTitle();
  store.subscribe((state, patch) => {
    if ('selected' in patch || 'opened' in patch || 'meta' in patch || 'world' in patch)
      showTitle();
    if ('selected' in patch && state.selected) views[active]?.onShow?.();
  });
}
