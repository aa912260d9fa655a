// The Measure tab: XYZ, raw, RGB and IR readings of the selected sensor, next to the chromaticity
// diagram with the monitor's gamut; in the simulator, the colour its monitor shows.

import * as api from '../api.js';
import { chromaticity, gamutOf, hexFromRgb, insideGamut } from '../colour.js';
import { actionButton, fill, h, note } from '../dom.js';
import { describeError, formatNumber, timeOfDay } from '../format.js';
import { selectedMonitor } from '../world.js';
import { createPlot } from './plot.js';
import { presetSwatches } from './simulator.js';

const HISTORY = 24;

const LABELS = {
  xyz: 'XYZ',
  raw: 'Raw data',
  rgb: 'RGB',
  ir: 'IR',
  uncorrelated: 'XYZ without correlation',
};

// Readings per sensor id, kept while the page lives:
// {xyz, raw, rgb, ir, uncorrelated, at, history}.
const readings = new Map();

function readingsOf(id) {
  if (!readings.has(id)) readings.set(id, { history: [] });
  return readings.get(id);
}

function valueCells(testid, values, digits = 4) {
  return values.map(([name, value]) =>
    h(
      'div',
      { class: 'value' },
      h('span', { class: 'value-name' }, name),
      h(
        'span',
        { class: 'value-number', 'data-testid': `${testid}-${name}` },
        formatNumber(value, digits),
      ),
    ),
  );
}

function block(title, testid, content, extra) {
  return h(
    'div',
    { class: 'reading-block', 'data-testid': testid },
    h('div', { class: 'reading-title' }, title, extra ?? null),
    h('div', { class: 'values' }, content),
  );
}

// `digits` for X, Y and Z; the chromaticity always has four.
function xyzBlock(title, testid, record, digits = 4) {
  const xy = chromaticity(record);
  return block(title, testid, [
    valueCells(
      testid,
      [
        ['X', record?.X],
        ['Y', record?.Y],
        ['Z', record?.Z],
      ],
      digits,
    ),
    valueCells(testid, [
      ['x', xy?.x],
      ['y', xy?.y],
    ]),
  ]);
}

export function mountMeasure(root, { store, refreshWorld }) {
  const plot = createPlot();
  const table = h('div', { class: 'readings', 'data-testid': 'readings' });
  const status = h('div', { class: 'output', 'aria-live': 'polite' });
  const legend = h(
    'div',
    { class: 'legend' },
    h('span', { class: 'legend-item' }, h('span', { class: 'legend-mark mark-xyz' }), 'XYZ'),
    h('span', { class: 'legend-item' }, h('span', { class: 'legend-mark mark-raw' }), 'raw XYZ'),
    h(
      'span',
      { class: 'legend-item' },
      h('span', { class: 'legend-mark mark-uncorrelated' }),
      'without correlation',
    ),
    h(
      'span',
      { class: 'legend-item' },
      h('span', { class: 'legend-mark mark-gamut' }),
      'monitor gamut',
    ),
    h(
      'span',
      { class: 'legend-item' },
      h('span', { class: 'legend-mark mark-trail' }),
      'earlier XYZ',
    ),
  );
  const gamutNote = h('p', { class: 'muted plot-note' });
  const shown = h('div', { class: 'shown' });
  const live = h('input', { type: 'checkbox', id: 'measure-live' });
  let timer = null;

  const id = () => store.get().selected;

  function render() {
    const sensorId = id();
    if (!sensorId) return;
    const r = readingsOf(sensorId);
    const rows = [];
    if (r.xyz) {
      rows.push(xyzBlock('XYZ', 'reading-xyz', r.xyz.XYZ));
      rows.push(xyzBlock('Raw XYZ', 'reading-raw-xyz', r.xyz.rawXYZ));
    }
    if (r.raw)
      rows.push(
        block(
          'Raw data (counts)',
          'reading-raw',
          valueCells(
            'reading-raw',
            r.raw.rawData.map((v, i) => [`d${i}`, v]),
            1,
          ),
        ),
      );
    if (r.rgb)
      rows.push(
        block(
          'RGB',
          'reading-rgb',
          valueCells('reading-rgb', [
            ['R', r.rgb.RGB.R],
            ['G', r.rgb.RGB.G],
            ['B', r.rgb.RGB.B],
          ]),
        ),
      );
    if (r.ir) rows.push(block('IR', 'reading-ir', valueCells('reading-ir', [['IR', r.ir.IR]])));
    if (r.uncorrelated)
      rows.push(
        xyzBlock('XYZ without correlation (counts)', 'reading-uncorrelated', r.uncorrelated.XYZ, 1),
      );
    fill(
      table,
      rows.length === 0
        ? note('info', 'No reading yet. Measure to see the values here and on the diagram.')
        : [r.at ? h('p', { class: 'muted' }, `Last reading ${timeOfDay(r.at)}`) : null, rows],
    );

    const state = store.get();
    const monitor = selectedMonitor(state);
    const gamut = gamutOf(monitor?.display);
    const points = {
      xyz: chromaticity(r.xyz?.XYZ),
      raw: chromaticity(r.xyz?.rawXYZ),
      uncorrelated: chromaticity(r.uncorrelated?.XYZ),
    };
    plot.update({ gamut, points, history: r.history.slice(0, -1) });
    if (!gamut) {
      gamutNote.textContent = state.world
        ? 'This sensor looks at no monitor of the simulated world.'
        : '';
    } else if (points.xyz) {
      const where = insideGamut(points.xyz, gamut) ? 'inside' : 'outside';
      gamutNote.textContent = `The reading lies ${where} the gamut of ${monitor.serial}.`;
    } else {
      gamutNote.textContent = `Gamut and white of ${monitor.serial} \u00b7 ${monitor.product}.`;
    }
    showShown(monitor);
  }

  function showShown(monitor) {
    if (!store.get().world || !monitor) {
      fill(shown);
      return;
    }
    const rgb = monitor.shownColor ?? [1, 1, 1];
    const current = h('span', {
      class: 'swatch-current',
      title: rgb.map((c) => c.toFixed(3)).join(', '),
    });
    current.style.background = hexFromRgb(rgb);
    const swatches = presetSwatches(async (next) => {
      try {
        await api.simShowColour(monitor.serial, monitor.product, next);
      } catch (error) {
        fill(status, note('error', describeError(error)));
      }
      await refreshWorld();
    });
    fill(
      shown,
      h('span', { class: 'tag tag-sim' }, 'sim'),
      h('span', null, `${monitor.serial} shows`),
      current,
      h('span', { class: 'shown-divider' }),
      h('span', { class: 'muted' }, 'show'),
      swatches,
    );
  }

  // Takes the readings named in `kinds` one after the other; each failure is reported and the
  // others still run.
  async function measure(kinds) {
    const sensorId = id();
    if (!sensorId) return false;
    const r = readingsOf(sensorId);
    const requests = {
      xyz: api.measureXYZ,
      raw: api.measureRaw,
      rgb: api.measureRGB,
      ir: api.measureIR,
      uncorrelated: api.measureXYZWithoutCorrelation,
    };
    const failures = [];
    for (const kind of kinds) {
      try {
        r[kind] = await requests[kind](sensorId);
        r.at = new Date();
        if (kind === 'xyz') {
          r.history.push(chromaticity(r.xyz.XYZ));
          if (r.history.length > HISTORY) r.history.shift();
        }
      } catch (error) {
        failures.push(`${LABELS[kind]}: ${describeError(error)}`);
      }
    }
    fill(
      status,
      failures.map((text) => note('error', text)),
    );
    render();
    return failures.length === 0;
  }

  function stopLive() {
    clearInterval(timer);
    timer = null;
    live.checked = false;
  }

  live.addEventListener('change', () => {
    if (!live.checked) return stopLive();
    timer = setInterval(async () => {
      if (root.hidden || !(await measure(['xyz']))) stopLive();
    }, 1000);
    return undefined;
  });

  fill(
    root,
    h(
      'div',
      { class: 'measure-bar' },
      h(
        'div',
        { class: 'button-row' },
        actionButton('Measure XYZ', () => measure(['xyz']), {
          class: 'primary',
          id: 'measure-xyz',
        }),
        actionButton('Raw', () => measure(['raw']), { id: 'measure-raw' }),
        actionButton('RGB', () => measure(['rgb']), { id: 'measure-rgb' }),
        actionButton('IR', () => measure(['ir']), { id: 'measure-ir' }),
        actionButton('XYZ without correlation', () => measure(['uncorrelated']), {
          id: 'measure-uncorrelated',
        }),
        actionButton('All', () => measure(['xyz', 'raw', 'rgb', 'ir', 'uncorrelated']), {
          class: 'ghost',
          id: 'measure-all',
        }),
      ),
      h('label', { class: 'toggle-inline', title: 'Measure XYZ every second' }, live, 'live'),
    ),
    shown,
    status,
    h(
      'div',
      { class: 'measure-grid' },
      h('div', { class: 'measure-values' }, table),
      h('figure', { class: 'plot' }, plot.element, h('figcaption', null, legend, gamutNote)),
    ),
  );

  let current = null;
  store.subscribe((state, patch) => {
    if ('selected' in patch && state.selected !== current) {
      current = state.selected;
      stopLive();
      fill(status);
    }
    if ('selected' in patch || 'world' in patch || 'meta' in patch) render();
  });
  current = id();
  render();
}
