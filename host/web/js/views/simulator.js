// The simulator panel: controls of the simulated device world that no real host has. The colour a
// monitor shows, another program holding a monitor, injected failures, reset, and the world and
// journal as JSON.

import * as api from '../api.js';
import { hexFromRgb, rgbFromHex } from '../colour.js';
import { actionButton, fill, field, h, note } from '../dom.js';
import { formatJson } from '../format.js';
import { selectedMonitor } from '../world.js';
import { showResult } from './common.js';

export const PRESETS = Object.freeze([
  { name: 'White', rgb: [1, 1, 1] },
  { name: 'Red', rgb: [1, 0, 0] },
  { name: 'Green', rgb: [0, 1, 0] },
  { name: 'Blue', rgb: [0, 0, 1] },
  { name: 'Cyan', rgb: [0, 1, 1] },
  { name: 'Magenta', rgb: [1, 0, 1] },
  { name: 'Yellow', rgb: [1, 1, 0] },
  { name: 'Grey 50%', rgb: [0.5, 0.5, 0.5] },
  { name: 'Black', rgb: [0, 0, 0] },
]);

// A row of preset swatches that call `show(rgb)` when clicked; shared with the measure view.
export function presetSwatches(show) {
  return h(
    'div',
    { class: 'swatches', role: 'group', 'aria-label': 'Colours to show' },
    PRESETS.map((preset) => {
      const colour = hexFromRgb(preset.rgb);
      const swatchFill = h('span', { class: 'swatch-fill' });
      // Through CSSOM: the page's content security policy refuses style attributes.
      swatchFill.style.background = colour;
      return h(
        'button',
        {
          type: 'button',
          class: 'swatch',
          title: preset.name,
          'aria-label': `Show ${preset.name}`,
          dataset: { colour },
          on: { click: () => show(preset.rgb) },
        },
        swatchFill,
      );
    }),
  );
}

function openDialog(title, text) {
  const dialog = h(
    'dialog',
    { class: 'json-dialog' },
    h(
      'div',
      { class: 'panel-head' },
      h('h2', null, title),
      h(
        'button',
        { type: 'button', class: 'ghost small', on: { click: () => dialog.close() } },
        'Close',
      ),
    ),
    h('pre', { class: 'code' }, text),
  );
  dialog.addEventListener('close', () => dialog.remove());
  document.body.append(dialog);
  dialog.showModal();
}

export function mountSimulator(root, { store, refreshWorld }) {
  const monitorSelect = h('select', { id: 'sim-monitor' });
  const colourInput = h('input', { type: 'color', id: 'sim-colour', value: '#ffffff' });
  const current = h('span', { class: 'swatch-current' });
  const held = h('input', { type: 'checkbox', id: 'sim-held' });
  const colourNote = h('div');

  // The monitor chosen in the panel, which need not be the selected sensor's.
  const pickedMonitor = () => {
    const [serial, product] = JSON.parse(monitorSelect.value || '[]');
    return (store.get().world?.monitors ?? []).find(
      (m) => m.serial === serial && m.product === product,
    );
  };

  async function show(rgb) {
    const monitor = pickedMonitor();
    if (!monitor) return;
    const done = await showResult(
      colourNote,
      () => api.simShowColour(monitor.serial, monitor.product, rgb),
      () => null,
    );
    if (done !== undefined) await refreshWorld();
  }

  function showMonitors() {
    const monitors = store.get().world?.monitors ?? [];
    const keep = monitorSelect.value;
    fill(
      monitorSelect,
      monitors.map((m) =>
        h(
          'option',
          { value: JSON.stringify([m.serial, m.product]) },
          `${m.serial} \u00b7 ${m.product}`,
        ),
      ),
    );
    if (keep && [...monitorSelect.options].some((o) => o.value === keep))
      monitorSelect.value = keep;
    showMonitorState();
  }

  function showMonitorState() {
    const monitor = pickedMonitor();
    const rgb = monitor?.shownColor ?? [1, 1, 1];
    colourInput.value = hexFromRgb(rgb);
    current.style.background = hexFromRgb(rgb);
    current.title = `Shown: ${rgb.map((c) => c.toFixed(3)).join(', ')}`;
    held.checked = monitor?.criticalSection === 'other';
  }

  monitorSelect.addEventListener('change', showMonitorState);
  colourInput.addEventListener('change', () => show(rgbFromHex(colourInput.value)));
  held.addEventListener('change', async () => {
    const monitor = pickedMonitor();
    if (!monitor) return;
    await showResult(
      colourNote,
      () => api.simHoldMonitor(monitor.serial, monitor.product, held.checked),
      () => null,
    );
    await refreshWorld();
  });

  // Failure injection.
  const functionInput = h('input', {
    type: 'text',
    list: 'sim-functions',
    placeholder: 'MDMeasureXYZ2',
    id: 'sim-function',
  });
  const functionList = h('datalist', { id: 'sim-functions' });
  const statusSelect = h('select', { id: 'sim-status' });
  const countInput = h('input', { type: 'number', min: 0, value: 1, id: 'sim-count' });
  const failureNote = h('div');
  const armed = h('div', { class: 'armed' });

  function showArmed() {
    const failures = store.get().world?.failures ?? [];
    fill(
      armed,
      failures.length === 0
        ? null
        : h(
            'ul',
            { class: 'plain-list' },
            failures.map((f) =>
              h(
                'li',
                null,
                h('code', null, f.function),
                ` \u00d7${f.count ?? 1} \u2192 `,
                h('code', null, String(f.status)),
              ),
            ),
          ),
    );
  }

  Promise.all([api.simFunctions(), api.simErrors()])
    .then(([functions, errors]) => {
      fill(
        functionList,
        functions.map((name) => h('option', { value: name })),
      );
      fill(
        statusSelect,
        errors
          .filter((e) => e.code >= 0x80000000 || e.code > 0)
          .map((e) =>
            h(
              'option',
              { value: e.name, selected: e.name === 'EMERR_FAILED' },
              e.name.replace(/^EMERR_/, ''),
            ),
          ),
      );
    })
    .catch(() => {});

  const inject = actionButton(
    'Inject',
    async () => {
      await showResult(
        failureNote,
        () =>
          api.simInjectFailure({
            function: functionInput.value.trim(),
            count: Number(countInput.value),
            status: statusSelect.value,
          }),
        () =>
          note('ok', `The next ${countInput.value} call(s) of ${functionInput.value.trim()} fail.`),
      );
      await refreshWorld();
    },
    { class: 'small', id: 'sim-inject' },
  );

  const worldNote = h('div');
  fill(
    root,
    h(
      'div',
      { class: 'panel-head' },
      h('h2', { id: 'simulator-title' }, 'Simulator'),
      h('span', { class: 'tag tag-sim' }, 'sim only'),
    ),
    h(
      'p',
      { class: 'panel-hint' },
      'The simulated device world. A real host has none of these controls.',
    ),
    h('h3', null, 'Monitor'),
    field('Monitor', monitorSelect),
    h(
      'div',
      { class: 'form-row colour-row' },
      field('Shows', h('span', { class: 'colour-pick' }, current, colourInput)),
    ),
    presetSwatches(show),
    h('label', { class: 'toggle-inline' }, held, 'another program holds the monitor'),
    colourNote,
    h('h3', null, 'Inject a failure'),
    field('Device function', h('span', null, functionInput, functionList)),
    h('div', { class: 'form-row' }, field('Status', statusSelect), field('Calls', countInput)),
    h(
      'div',
      { class: 'button-row' },
      inject,
      actionButton(
        'Clear all',
        async () => {
          await showResult(failureNote, () => api.simClearFailures(), () => null);
          await refreshWorld();
        },
        { class: 'small ghost' },
      ),
    ),
    armed,
    failureNote,
    h('h3', null, 'World'),
    h(
      'div',
      { class: 'button-row' },
      actionButton(
        'Reset',
        async () => {
          await showResult(
            worldNote,
            () => api.simReset(),
            () => note('ok', 'The world was reset; every sensor was closed.'),
          );
          await refreshWorld();
          store.set({ sensorsChanged: Date.now() });
        },
        { class: 'small danger', id: 'sim-reset' },
      ),
      actionButton(
        'World JSON',
        async () => openDialog('Simulated world', formatJson(await api.simWorld())),
        { class: 'small ghost' },
      ),
      actionButton(
        'Journal',
        async () => openDialog('Device calls (last 200)', formatJson(await api.simJournal(200))),
        { class: 'small ghost' },
      ),
    ),
    worldNote,
  );
  showMonitors();
  showArmed();
  // The panel follows the monitor of the sensor in the workspace.
  function followSelection() {
    const monitor = selectedMonitor(store.get());
    if (!monitor) return;
    monitorSelect.value = JSON.stringify([monitor.serial, monitor.product]);
    showMonitorState();
  }

  store.subscribe((state, patch) => {
    if ('world' in patch) {
      showMonitors();
      showArmed();
    }
    if ('selected' in patch || 'meta' in patch) followSelection();
  });
}
