// The Measure tab: taking readings (one, all kinds, or a live series), the latest reading with
// units and the values the host derives from it, the series' statistics, the readings kept with
// the reference and white they are compared with, the chromaticity diagram, and export.

import { outcomeKey } from '../actions.js';
import { availability } from '../capabilities.js';
import { hexFromRgb } from '../colour.js';
import { h, note } from '../dom.js';
import { plural, timeOfDay } from '../format.js';
import {
  KINDS,
  measure,
  measureOne,
  newSeries,
  setLiveDelay,
  startLive,
  stopLive,
} from '../measuring.js';
import { modeOf } from '../readings.js';
import { showColour } from '../simulating.js';
import { store } from '../store.js';
import { selectedMonitor } from '../world.js';
import {
  button,
  card,
  outcomeView,
  select,
  sensorBusy,
  sensorButton,
  valueCell,
  whyNot,
} from './common.js';
import { renderExport } from './export.js';
import { renderPlot } from './plot.js';
import { derivedView, readingsTable, referenceCard, statsView } from './readings-view.js';
import { presetSwatches } from './simulator.js';

// The pauses a live series may take between an answer and the next request.
const LIVE_DELAYS = [
  { value: 0, label: 'none' },
  { value: 500, label: '0.5 s' },
  { value: 1000, label: '1 s' },
  { value: 2000, label: '2 s' },
  { value: 5000, label: '5 s' },
];

function measureButtons(state) {
  const kinds = Object.entries(KINDS).map(([kind, { label, feature }]) =>
    sensorButton(state, {
      id: `measure-${kind}`,
      label: kind === 'xyz' ? 'Measure XYZ' : label,
      feature,
      kind: kind === 'xyz' ? 'primary' : null,
      onClick: () => measureOne(kind),
    }),
  );
  return h(
    'div',
    { class: 'button-row' },
    kinds,
    sensorButton(state, {
      id: 'measure-all',
      label: 'All',
      kind: 'ghost',
      onClick: () =>
        measure(
          Object.keys(KINDS).filter(
            (k) => availability(state.caps[state.selected], KINDS[k].feature).enabled,
          ),
        ),
    }),
  );
}

function liveStatus(state) {
  const live = state.live;
  if (!live || live.sensorId !== state.selected)
    return h('span', { class: 'muted', id: 'live-status' }, 'Live: off');
  const last = state.readings.findLast((r) => r.sensorId === live.sensorId);
  const words = live.running
    ? `Live: ${plural(live.count, 'reading')}${last ? `, last ${timeOfDay(last.time)}` : ''}; the next request goes after each answer`
    : `Live stopped after ${plural(live.count, 'reading')}`;
  return h(
    'span',
    { class: ['live-status', live.running ? 'live-on' : null], id: 'live-status' },
    live.running ? h('span', { class: 'pulse', 'aria-hidden': 'true' }) : null,
    words,
    '.',
  );
}

function liveControls(state) {
  const running = state.live?.running && state.live.sensorId === state.selected;
  const delay = () => Number(store.draft('live-delay', '1000'));
  return h(
    'div',
    { class: 'live-controls' },
    running
      ? button({ id: 'live-toggle', label: 'Stop live', kind: 'danger', onClick: stopLive })
      : button({
          id: 'live-toggle',
          label: 'Start live',
          busy: Boolean(sensorBusy(state)),
          onClick: () => startLive(delay()),
        }),
    h(
      'label',
      { class: 'field field-inline' },
      h('span', { class: 'field-label' }, 'pause'),
      select({
        id: 'live-delay',
        value: 1000,
        options: LIVE_DELAYS,
        onChange: (v) => setLiveDelay(Number(v)),
      }),
    ),
    liveStatus(state),
  );
}

function shownColour(state) {
  const monitor = selectedMonitor(state);
  if (!state.world || !monitor) return null;
  const rgb = monitor.shownColor ?? [1, 1, 1];
  const current = h('span', {
    class: 'swatch-current',
    title: rgb.map((c) => c.toFixed(3)).join(', '),
    'data-rgb': rgb.join(','),
  });
  current.style.background = hexFromRgb(rgb);
  return h(
    'div',
    { class: 'shown' },
    h('span', { class: 'tag tag-sim' }, 'sim'),
    h('span', null, `${monitor.serial} shows`),
    current,
    h('span', { class: 'shown-divider' }),
    h('span', { class: 'muted' }, 'show'),
    presetSwatches('measure', (next) => showColour(monitor, next)),
  );
}

const kindOutcomes = (state) =>
  Object.keys(KINDS).map((kind) => outcomeView(state, outcomeKey(`measure-${kind}`)));

// The readings other than XYZ: how each answer's values are named, and in what quantity.
const OTHER_READINGS = [
  {
    kind: 'raw',
    title: 'Raw data',
    quantity: 'counts',
    values: (v) => v.rawData.map((d, i) => [`d${i}`, d]),
  },
  { kind: 'rgb', title: 'RGB', quantity: 'plain', values: (v) => Object.entries(v.RGB) },
  { kind: 'ir', title: 'IR', quantity: 'plain', values: (v) => [['IR', v.IR]] },
  {
    kind: 'uncorrelated',
    title: 'XYZ without correlation',
    quantity: 'counts',
    values: (v) => Object.entries(v.XYZ),
  },
];

// The latest of each reading other than XYZ, with the time it was taken.
function otherReadings(state) {
  const others = state.others[state.selected] ?? {};
  return OTHER_READINGS.filter(({ kind }) => others[kind]).map(
    ({ kind, title, quantity, values }) => {
      const testid = `reading-${kind}`;
      const { value, time } = others[kind];
      const cells = values(value).map(([name, v]) =>
        valueCell({ name, value: v, quantity, testid: `${testid}-${name}` }),
      );
      return h(
        'div',
        { class: 'reading-block', 'data-testid': testid },
        h(
          'div',
          { class: 'reading-title' },
          title,
          h('span', { class: 'muted' }, ` ${timeOfDay(time)}`),
        ),
        h('div', { class: 'values' }, cells),
      );
    },
  );
}

function latestCard(state) {
  const latest = state.readings.findLast((r) => r.sensorId === state.selected);
  const unit = modeOf(latest?.mode ?? 0);
  return card(
    {
      id: 'card-latest',
      title: 'Latest reading',
      aside: latest
        ? h(
            'span',
            { class: 'muted' },
            `#${latest.seq} \u00b7 ${timeOfDay(latest.time)} \u00b7 ${unit.label.toLowerCase()} mode${latest.corrected ? ' \u00b7 corrected' : ''}`,
          )
        : null,
    },
    latest
      ? derivedView(state, latest)
      : note('info', 'No XYZ reading yet. Measure to see the values here and on the diagram.'),
    otherReadings(state),
  );
}

export function renderMeasure(state) {
  return [
    h('div', { class: 'measure-bar' }, measureButtons(state), liveControls(state)),
    whyNot(state, 'rgb'),
    shownColour(state),
    kindOutcomes(state),
    latestCard(state),
    h(
      'div',
      { class: 'measure-grid' },
      renderPlot(state),
      h(
        'div',
        { class: 'measure-values' },
        card(
          {
            id: 'card-series',
            title: 'Series',
            aside: button({
              id: 'new-series',
              label: 'New series',
              small: true,
              kind: 'ghost',
              onClick: newSeries,
            }),
          },
          statsView(state),
        ),
        referenceCard(state),
      ),
    ),
    readingsTable(state),
    renderExport(state),
  ];
}
