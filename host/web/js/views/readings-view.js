// Readings as a colour engineer reads them: XYZ with its unit, the derived values the host
// computes (x,y, u'v', CCT and Duv, L*a*b* against the monitor's white, ΔE2000 and Δu'v' against
// the chosen reference), the statistics of the series, and the list of readings kept.

import { chooseReference, chooseWhite, referenceOf, whiteFor } from '../measuring.js';
import { h, note } from '../dom.js';
import { chromaticity } from '../colour.js';
import { formatDeviation, formatQuantity, plural, timeOfDay } from '../format.js';
import { modeOf, seriesStats } from '../readings.js';
import { button, card, envelopeView, select, valueCell } from './common.js';

// How many of the kept readings the list shows, newest first.
const LISTED = 12;

function xyzValues(reading) {
  const mode = modeOf(reading.mode);
  const unit = mode.unit;
  const { X, Y, Z } = reading.XYZ;
  return h(
    'div',
    { class: 'values values-main' },
    valueCell({ name: 'X', value: X, quantity: 'tristimulus', unit, testid: 'reading-xyz-X' }),
    valueCell({
      name: 'Y',
      value: Y,
      quantity: 'tristimulus',
      unit,
      testid: 'reading-xyz-Y',
      title: mode.quantity,
    }),
    valueCell({ name: 'Z', value: Z, quantity: 'tristimulus', unit, testid: 'reading-xyz-Z' }),
  );
}

// The derived values of a reading, in the order colour people read them: [name, member of the
// answer (index for pairs and triples), quantity, testid, title].
const DERIVED = [
  [['x', 'y'], 'xy', 'chromaticity', 'derived-xy'],
  [["u'", "v'"], 'uv', 'chromaticity', 'derived-uv'],
  ['CCT', 'cct', 'cct', 'derived-cct', 'Correlated colour temperature'],
  ['Duv', 'duv', 'duv', 'derived-duv', 'Distance from the Planckian locus'],
  [['L*', 'a*', 'b*'], 'Lab', 'lab', 'derived-lab'],
  ['\u0394E\u2080\u2080', 'deltaE2000', 'deltaE', 'derived-de', 'CIEDE2000 against the reference'],
  ["\u0394u'v'", 'deltaUV', 'deltaUV', 'derived-duv-ref', "Distance in u'v' from the reference"],
];

function derivedCells(d, rows) {
  return rows.flatMap(([name, member, quantity, testid, title]) =>
    Array.isArray(name)
      ? name.map((n, i) =>
          valueCell({ name: n, value: d[member]?.[i], quantity, testid: `${testid}-${i}` }),
        )
      : [valueCell({ name, value: d[member], quantity, testid, title })],
  );
}

function derivedValues(state, d) {
  const white = whiteFor(state, state.selected);
  const reference = referenceOf(state);
  return [
    h('div', { class: 'values' }, derivedCells(d, DERIVED.slice(0, 4))),
    h('div', { class: 'values' }, derivedCells(d, DERIVED.slice(4))),
    h(
      'p',
      { class: 'muted small-print' },
      white
        ? `L*a*b* against ${white.label}. `
        : 'No white for L*a*b*: choose one under Reference and white. ',
      reference
        ? `\u0394 against reading #${reference.seq}.`
        : 'No reference for \u0394E and \u0394u\u2032v\u2032: choose one in the list of readings.',
    ),
  ];
}

// The latest reading's values; the chromaticity shows at once, the rest when the host answers.
export function derivedView(state, reading) {
  const entry = state.derived[reading.seq];
  const xy = chromaticity(reading.XYZ);
  return [
    xyzValues(reading),
    entry?.derived
      ? derivedValues(state, entry.derived)
      : [
          h(
            'div',
            { class: 'values' },
            valueCell({
              name: 'x',
              value: xy?.x,
              quantity: 'chromaticity',
              testid: 'derived-xy-0',
            }),
            valueCell({
              name: 'y',
              value: xy?.y,
              quantity: 'chromaticity',
              testid: 'derived-xy-1',
            }),
          ),
          entry?.error
            ? [
                note('error', `Derived values: ${entry.error.text}`),
                entry.error.hint ? h('p', { class: 'hint' }, entry.error.hint.text) : null,
                envelopeView(entry.error.error.envelopeText),
              ]
            : h('p', { class: 'muted' }, 'Deriving\u2026'),
        ],
  ];
}

const seriesOf = (state) => {
  const start = state.seriesStart[state.selected] ?? 0;
  return state.readings.filter((r) => r.sensorId === state.selected && r.seq >= start);
};

// Min, mean, max and standard deviation of the series' luminance, chromaticity and the derived
// values that exist.
export function statsView(state) {
  const series = seriesOf(state);
  if (series.length === 0)
    return note('info', 'No reading in this series yet. A live series starts a new one.');
  const unit = modeOf(series[0].mode).unit;
  const derived = (r) => state.derived[r.seq]?.derived ?? {};
  const rows = [
    ['Y', series.map((r) => r.XYZ.Y), 'tristimulus', unit],
    ['x', series.map((r) => chromaticity(r.XYZ)?.x), 'chromaticity'],
    ['y', series.map((r) => chromaticity(r.XYZ)?.y), 'chromaticity'],
    ['CCT', series.map((r) => derived(r).cct), 'cct'],
    ['\u0394E\u2080\u2080', series.map((r) => derived(r).deltaE2000), 'deltaE'],
  ];
  return [
    h('p', { class: 'muted' }, `${plural(series.length, 'reading')} since #${series[0].seq}.`),
    h(
      'table',
      { class: 'data-table stats-table', id: 'series-stats' },
      h(
        'thead',
        null,
        h(
          'tr',
          null,
          ['', 'min', 'mean', 'max', 'std dev'].map((t, i) =>
            h('th', { scope: 'col' }, i === 0 ? 'quantity' : t),
          ),
        ),
      ),
      h(
        'tbody',
        null,
        rows.map(([name, values, quantity, u]) => {
          const stats = seriesStats(values);
          if (!stats) return null;
          return h(
            'tr',
            { dataset: { quantity: name } },
            h('th', { scope: 'row' }, name),
            ['min', 'mean', 'max', 'sd'].map((k) =>
              h(
                'td',
                { dataset: { stat: k } },
                k === 'sd'
                  ? formatDeviation(stats[k], quantity, u)
                  : formatQuantity(stats[k], quantity, u),
              ),
            ),
          );
        }),
      ),
    ),
  ];
}

function whiteOptions(state) {
  const own = state.readings
    .filter((r) => r.sensorId === state.selected)
    .slice(-LISTED)
    .reverse();
  return [
    { value: 'world', label: 'the monitor\u2019s white (simulated world)' },
    ...own.map((r) => ({
      value: String(r.seq),
      label: `reading #${r.seq} (Y ${formatQuantity(r.XYZ.Y, 'tristimulus')})`,
    })),
  ];
}

export function referenceCard(state) {
  const reference = referenceOf(state);
  const current = state.white.source === 'reading' ? String(state.white.seq) : 'world';
  return card(
    { id: 'card-reference', title: 'Reference and white' },
    h(
      'label',
      { class: 'field' },
      h('span', { class: 'field-label' }, 'White for L*a*b* (the monitor showing white)'),
      select({
        id: 'white-select',
        value: current,
        fromState: true,
        options: whiteOptions(state),
        onChange: (v) =>
          chooseWhite(v === 'world' ? { source: 'world' } : { source: 'reading', seq: Number(v) }),
      }),
    ),
    h(
      'p',
      { id: 'reference-line' },
      reference
        ? [
            `Reference: reading #${reference.seq} of ${reference.sensor}, ${timeOfDay(reference.time)}. `,
            button({
              id: 'clear-reference',
              label: 'Clear',
              small: true,
              kind: 'ghost',
              onClick: () => chooseReference(null),
            }),
          ]
        : 'Reference: none. Pick a reading in the list below to compare the others with it.',
    ),
  );
}

function readingRow(state, r) {
  const d = state.derived[r.seq]?.derived ?? {};
  const xy = chromaticity(r.XYZ);
  const isReference = state.reference === r.seq;
  return h(
    'tr',
    { dataset: { seq: r.seq }, class: isReference ? 'row-reference' : null },
    h('td', null, `#${r.seq}`),
    h('td', null, timeOfDay(r.time)),
    h('td', null, formatQuantity(r.XYZ.Y, 'tristimulus', modeOf(r.mode).unit || undefined)),
    h('td', null, formatQuantity(xy?.x, 'chromaticity')),
    h('td', null, formatQuantity(xy?.y, 'chromaticity')),
    h('td', null, formatQuantity(d.cct, 'cct')),
    h('td', null, formatQuantity(d.deltaE2000, 'deltaE')),
    h(
      'td',
      { class: 'cell-action' },
      button({
        id: `reference-${r.seq}`,
        label: isReference ? 'Reference' : 'Use as reference',
        small: true,
        kind: isReference ? 'primary' : 'ghost',
        onClick: () => chooseReference(isReference ? null : r.seq),
      }),
    ),
  );
}

export function readingsTable(state) {
  const own = state.readings.filter((r) => r.sensorId === state.selected);
  const shown = own.slice(-LISTED).reverse();
  const headers = ['reading', 'time', 'Y', 'x', 'y', 'CCT', '\u0394E\u2080\u2080', 'compare'];
  return card(
    { id: 'card-readings', title: `Readings (${own.length})` },
    shown.length === 0
      ? note('info', 'The XYZ readings of this sensor appear here.')
      : h(
          'div',
          { class: 'table-wrap' },
          h(
            'table',
            { class: 'data-table', id: 'readings-table' },
            h(
              'thead',
              null,
              h(
                'tr',
                null,
                headers.map((t) => h('th', { scope: 'col' }, t)),
              ),
            ),
            h(
              'tbody',
              null,
              shown.map((r) => readingRow(state, r)),
            ),
          ),
        ),
    own.length > LISTED
      ? h('p', { class: 'muted' }, `The newest ${LISTED} are listed; the export has them all.`)
      : null,
  );
}
