// The simulator panel: controls of the simulated device world that no real host has. The colour a
// monitor shows, another program holding a monitor, injected failures, reset, and the world and
// journal as JSON.

import * as api from '../api.js';
import { errorOutcome, repaint, setOutcome } from '../actions.js';
import { hexFromRgb, rgbFromHex } from '../colour.js';
import { field, h } from '../dom.js';
import { formatJson, hexCode, plural } from '../format.js';
import { injectableStatuses, libraryStatus } from '../hints.js';
import {
  clearFailures,
  holdMonitor,
  injectFailure,
  resetWorld,
  showColour,
} from '../simulating.js';
import { store } from '../store.js';
import { selectedMonitor } from '../world.js';
import { button, buttonRow, checkbox, input, outcomeView, select } from './common.js';
import { confirmThen, showJson } from './dialogs.js';

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

// A row of preset swatches that call `show(rgb)` when pressed; `place` keeps their ids apart
// where two rows are on the page.
export function presetSwatches(place, show) {
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
          id: `${place}-show-${colour.slice(1)}`,
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

// The monitor chosen in the panel: the one the user picked, else the selected sensor's.
function pickedMonitor(state) {
  const monitors = state.world?.monitors ?? [];
  const picked = store.draft('sim-monitor', '');
  return monitors.find((m) => m.serial === picked) ?? selectedMonitor(state) ?? monitors[0] ?? null;
}

// The colour a monitor shows: a swatch of it, a colour picker, and the presets.
function colourControls(monitor) {
  const rgb = monitor.shownColor ?? [1, 1, 1];
  const current = h('span', {
    class: 'swatch-current',
    title: `Shown: ${rgb.map((c) => c.toFixed(3)).join(', ')}`,
  });
  current.style.background = hexFromRgb(rgb);
  const picked = (event) => showColour(monitor, rgbFromHex(event.currentTarget.value));
  return [
    h(
      'div',
      { class: 'form-row colour-row' },
      h('span', { class: 'field-label' }, 'Shows'),
      current,
      h('label', { class: 'visually-hidden', for: 'sim-colour' }, 'Colour to show'),
      h('input', {
        type: 'color',
        id: 'sim-colour',
        value: hexFromRgb(rgb),
        on: { change: picked },
      }),
    ),
    presetSwatches('sim', (next) => showColour(monitor, next)),
  ];
}

function monitorControls(state) {
  const monitor = pickedMonitor(state);
  if (!monitor) return null;
  const monitors = state.world.monitors.map((m) => ({
    value: m.serial,
    label: `${m.serial} \u00b7 ${m.product}`,
  }));
  return [
    h('h3', null, 'Monitor'),
    field(
      'Monitor',
      select({
        id: 'sim-monitor',
        value: monitor.serial,
        fromState: true,
        onChange: repaint,
        options: monitors,
      }),
    ),
    colourControls(monitor),
    checkbox({
      id: 'sim-held',
      checked: monitor.criticalSection === 'other',
      fromState: true,
      label: 'another program holds the monitor',
      onChange: (held) => holdMonitor(monitor, held),
    }),
    outcomeView(state, 'sim-colour'),
  ];
}

function armedList(state) {
  const failures = state.world?.failures ?? [];
  if (failures.length === 0)
    return h('p', { class: 'muted', id: 'sim-armed' }, 'No failure is armed.');
  return h(
    'ul',
    { class: 'plain-list', id: 'sim-armed' },
    failures.map((f) => {
      const code = typeof f.status === 'number' ? f.status : Number(f.status);
      const entry = Number.isFinite(code) ? libraryStatus(code) : null;
      return h(
        'li',
        { dataset: { function: f.function } },
        h('code', null, f.function),
        ` \u00d7${f.count ?? 1} \u2192 `,
        h('code', null, Number.isFinite(code) ? hexCode(code) : String(f.status)),
        entry ? ` ${entry.message}` : '',
      );
    }),
  );
}

// The chosen status in full under its list, which a narrow panel cuts: name and code.
function chosenStatus(statuses) {
  const chosen = statuses.find((e) => e.name === store.draft('sim-status', 'EMERR_FAILED'));
  return chosen
    ? h(
        'p',
        { class: 'field-hint', id: 'sim-status-full' },
        h('code', null, chosen.name),
        ` ${hexCode(chosen.code)}`,
      )
    : null;
}

function inject() {
  return injectFailure({
    function: store.draft('sim-function', '').trim(),
    count: Number(store.draft('sim-count', '1')),
    status: store.draft('sim-status', 'EMERR_FAILED'),
  });
}

// What to inject: the device function (any of the simulator's), the status, the number of calls.
function failureFields(state, statuses) {
  const functions = h(
    'datalist',
    { id: 'sim-functions' },
    state.simFunctions.map((name) => h('option', { value: name })),
  );
  const options = statuses.map((e) => ({
    value: e.name,
    label: libraryStatus(e.code)?.message ?? e.name,
  }));
  const calls = field('Calls', input({ id: 'sim-count', type: 'number', min: 0, value: 1 }));
  calls.classList.add('field-narrow');
  return [
    field(
      'Device function',
      h(
        'span',
        null,
        input({ id: 'sim-function', list: 'sim-functions', placeholder: 'MDMeasureXYZ2' }),
        functions,
      ),
    ),
    field(
      'Status',
      select({
        id: 'sim-status',
        value: 'EMERR_FAILED',
        class: 'wide-select',
        onChange: repaint,
        options,
      }),
    ),
    chosenStatus(statuses),
    calls,
  ];
}

function failureControls(state) {
  const armed = (state.world?.failures ?? []).length;
  return [
    h('h3', null, 'Inject a failure'),
    failureFields(state, injectableStatuses(state.simErrors)),
    buttonRow(
      button({
        id: 'sim-inject',
        label: 'Inject',
        small: true,
        busy: Boolean(state.pending['sim-failures']),
        onClick: inject,
      }),
      button({
        id: 'sim-clear-failures',
        label: 'Clear all',
        small: true,
        kind: 'ghost',
        onClick: clearFailures,
      }),
    ),
    h('p', { class: 'field-label' }, `Armed (${plural(armed, 'failure')})`),
    armedList(state),
    outcomeView(state, 'sim-failures'),
  ];
}

async function showWorldJson(title, load) {
  try {
    showJson(title, formatJson(await load()));
  } catch (error) {
    setOutcome('sim-world', errorOutcome(error));
  }
}

function worldControls(state) {
  const reset = () =>
    confirmThen({
      title: 'Reset the simulated world?',
      text: 'Every sensor is closed, and everything changed in the world (shown colours, stored records, applied corrections, armed failures) goes back to the start.',
      confirm: 'Reset the world',
      run: resetWorld,
    });
  return [
    h('h3', null, 'World'),
    h(
      'div',
      { class: 'button-row' },
      button({
        id: 'sim-reset',
        label: 'Reset\u2026',
        small: true,
        kind: 'danger',
        busy: Boolean(state.pending['sim-world']),
        onClick: reset,
      }),
      button({
        id: 'sim-world-json',
        label: 'World JSON',
        small: true,
        kind: 'ghost',
        onClick: () => showWorldJson('Simulated world', api.simWorld),
      }),
      button({
        id: 'sim-journal',
        label: 'Journal',
        small: true,
        kind: 'ghost',
        onClick: () => showWorldJson('Device calls (last 200)', () => api.simJournal(200)),
      }),
    ),
    outcomeView(state, 'sim-world'),
  ];
}

export function renderSimulator(state) {
  if (!state.info?.simulator) return null;
  return [
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
    state.world ? [monitorControls(state), failureControls(state), worldControls(state)] : null,
  ];
}
