// The chromaticity diagram, in CIE 1931 xy or CIE 1976 u'v': spectral locus, the monitor's gamut
// and white, the selected sensor's readings and the reference. Zoom with the buttons, the wheel
// or + and -; pan by dragging or with the arrow keys.

import { setPlot } from '../actions.js';
import {
  D65,
  LOCUS_LABELS,
  SPECTRAL_LOCUS,
  chromaticity,
  displayRgb,
  gamutOf,
  gamutPosition,
  hexFromRgb,
  pathData,
  uvOf,
  viewFrame,
} from '../colour.js';
import { h, svg } from '../dom.js';
import { formatNumber } from '../format.js';
import { referenceOf } from '../measuring.js';
import { FULL_VIEWS, fitView, panView, ticks, zoomFactor, zoomView } from '../viewport.js';
import { selectedMonitor } from '../world.js';
import { button } from './common.js';
import { legend } from './plot-legend.js';

// The plotting area of each projection keeps the aspect of its whole diagram, so that a circle
// of equal colour difference stays round.
const AREA = Object.freeze({ xy: { width: 480, height: 540 }, uv: { width: 520, height: 480 } });
const MARGIN = Object.freeze({ left: 52, top: 12, right: 16, bottom: 44 });
const AXES = Object.freeze({ xy: ['x', 'y'], uv: ["u'", "v'"] });
const TRAIL = 24;

function frameOf(plot) {
  return viewFrame({
    left: MARGIN.left,
    top: MARGIN.top,
    ...AREA[plot.projection],
    view: plot.view,
  });
}

// A chromaticity in the projection on show.
const project = (projection, p) => (projection === 'uv' ? uvOf(p) : p);

function grid(frame, projection) {
  const { view } = frame;
  const xTicks = ticks(view.xMin, view.xMax);
  const yTicks = ticks(view.yMin, view.yMax);
  const bottom = frame.top + frame.height;
  const right = frame.left + frame.width;
  const [xName, yName] = AXES[projection];
  return svg(
    'g',
    { class: 'axes' },
    xTicks.values.map((x) => {
      const { px } = frame.toPlot({ x, y: view.yMin });
      return [
        svg('line', { class: 'grid', x1: px, x2: px, y1: frame.top, y2: bottom }),
        svg(
          'text',
          { class: 'axis-label', x: px, y: bottom + 16, 'text-anchor': 'middle' },
          x.toFixed(xTicks.decimals),
        ),
      ];
    }),
    yTicks.values.map((y) => {
      const { py } = frame.toPlot({ x: view.xMin, y });
      return [
        svg('line', { class: 'grid', x1: frame.left, x2: right, y1: py, y2: py }),
        svg(
          'text',
          { class: 'axis-label', x: frame.left - 6, y: py + 4, 'text-anchor': 'end' },
          y.toFixed(yTicks.decimals),
        ),
      ];
    }),
    svg(
      'text',
      {
        class: 'axis-title',
        x: frame.left + frame.width / 2,
        y: bottom + 36,
        'text-anchor': 'middle',
      },
      xName,
    ),
    svg(
      'text',
      { class: 'axis-title', x: 14, y: frame.top + frame.height / 2, 'text-anchor': 'middle' },
      yName,
    ),
  );
}

// The horseshoe filled with its colours: a fan of thin triangles from the white point to each
// locus step and along the line of purples, each painted with the colour of its outer edge.
function locusFill(frame, projection) {
  const first = SPECTRAL_LOCUS[0];
  const last = SPECTRAL_LOCUS[SPECTRAL_LOCUS.length - 1];
  const purples = Array.from({ length: 11 }, (_, i) => {
    const t = (i + 1) / 12;
    return { x: last.x + (first.x - last.x) * t, y: last.y + (first.y - last.y) * t };
  });
  const outline = [...SPECTRAL_LOCUS, ...purples, first];
  const centre = project(projection, D65);
  return svg(
    'g',
    { class: 'locus-fill' },
    outline.slice(0, -1).map((a, i) => {
      const b = outline[i + 1];
      const colour = hexFromRgb(displayRgb({ x: (a.x + b.x) / 2, y: (a.y + b.y) / 2 }));
      const d = pathData([centre, project(projection, a), project(projection, b)], frame, true);
      return svg('path', { d, fill: colour, stroke: colour, 'stroke-width': 0.6 });
    }),
  );
}

// Wavelength labels sit outside the horseshoe, away from the white point, unless that would put
// them over the axis labels; then they go inside.
function locusLabels(frame, projection) {
  const centre = project(projection, D65);
  const right = frame.left + frame.width;
  const bottom = frame.top + frame.height;
  return svg(
    'g',
    { class: 'locus-labels' },
    LOCUS_LABELS.map((nm) => {
      const point = project(
        projection,
        SPECTRAL_LOCUS.find((p) => p.nm === nm),
      );
      const { px, py } = frame.toPlot(point);
      if (px < frame.left || px > right || py < frame.top || py > bottom) return null;
      const dx = point.x - centre.x;
      const dy = point.y - centre.y;
      const length = Math.hypot(dx, dy);
      const width = 7 * String(nm).length;
      let direction = 1;
      const outX = px + (dx / length) * 14;
      if (outX - (dx < 0 ? width : 0) < frame.left + 2 || outX + (dx > 0 ? width : 0) > right - 2)
        direction = -1;
      const lx = px + direction * (dx / length) * 14;
      const ly = py - direction * (dy / length) * 14;
      const leftward = direction * dx < -0.02;
      const anchor = leftward ? 'end' : direction * dx > 0.02 ? 'start' : 'middle';
      return svg(
        'g',
        { 'data-nm': nm },
        svg('circle', { cx: px, cy: py, r: 1.6, class: 'locus-tick' }),
        svg('text', { x: lx, y: ly + 3, 'text-anchor': anchor }, String(nm)),
      );
    }),
  );
}

function gamutLayer(frame, projection, gamut) {
  if (!gamut) return null;
  const corners = ['red', 'green', 'blue'].map((key) => project(projection, gamut[key]));
  const white = frame.toPlot(project(projection, gamut.white));
  return svg(
    'g',
    { class: 'gamut', 'data-testid': 'gamut' },
    svg('path', { d: pathData(corners, frame, true) }),
    corners.map((c) => {
      const { px, py } = frame.toPlot(c);
      return svg('circle', { class: 'primary', cx: px, cy: py, r: 3 });
    }),
    svg('path', {
      class: 'white-point',
      'data-testid': 'white-point',
      d: `M${white.px - 6} ${white.py} h12 M${white.px} ${white.py - 6} v12`,
    }),
  );
}

// One reading: 'xyz' (corrected, a filled disc), 'raw' (a ring), 'uncorrelated' (a square) or
// 'reference' (a diamond).
function marker(frame, projection, kind, xy, label) {
  const { px, py } = frame.toPlot(project(projection, xy));
  const colour = hexFromRgb(displayRgb(xy));
  const common = {
    class: ['reading', `reading-${kind}`],
    'data-testid': `point-${kind}`,
    dataset: { x: xy.x.toFixed(6), y: xy.y.toFixed(6) },
  };
  const shapes = {
    uncorrelated: () =>
      svg('rect', { ...common, x: px - 5, y: py - 5, width: 10, height: 10, fill: colour }),
    reference: () =>
      svg('path', {
        ...common,
        d: `M${px} ${py - 8} L${px + 8} ${py} L${px} ${py + 8} L${px - 8} ${py} Z`,
        fill: 'none',
        cx: px,
        cy: py,
      }),
    raw: () => svg('circle', { ...common, cx: px, cy: py, r: 10, fill: 'none' }),
    xyz: () => svg('circle', { ...common, cx: px, cy: py, r: 6.5, fill: colour }),
  };
  return svg(
    'g',
    null,
    svg('title', null, `${label}: x ${formatNumber(xy.x)}, y ${formatNumber(xy.y)}`),
    shapes[kind](),
  );
}

// The chromaticities on show: the latest readings of each kind, the trail, the reference.
function pointsOf(state) {
  const own = state.readings.filter((r) => r.sensorId === state.selected);
  const latest = own[own.length - 1];
  const reference = referenceOf(state);
  return {
    xyz: chromaticity(latest?.XYZ),
    raw: chromaticity(latest?.rawXYZ),
    uncorrelated: chromaticity(state.others[state.selected]?.uncorrelated?.value?.XYZ),
    reference: chromaticity(reference?.XYZ),
    trail: own
      .slice(-TRAIL - 1, -1)
      .map((r) => chromaticity(r.XYZ))
      .filter(Boolean),
  };
}

function readingsLayer(frame, projection, points) {
  const trail = points.trail.map((p) => project(projection, p));
  const labels = {
    uncorrelated: 'XYZ without correlation',
    raw: 'Raw XYZ',
    reference: 'Reference',
    xyz: 'XYZ',
  };
  return svg(
    'g',
    { class: 'readings-layer' },
    trail.length > 1 ? svg('path', { class: 'trail', d: pathData(trail, frame) }) : null,
    trail.map((p) => {
      const { px, py } = frame.toPlot(p);
      return svg('circle', { class: 'trail-dot', cx: px, cy: py, r: 2 });
    }),
    ['reference', 'uncorrelated', 'raw', 'xyz'].map((kind) =>
      points[kind] ? marker(frame, projection, kind, points[kind], labels[kind]) : null,
    ),
  );
}

function diagram(state, gamut, points) {
  const { projection } = state.plot;
  const frame = frameOf(state.plot);
  const width = MARGIN.left + frame.width + MARGIN.right;
  const height = MARGIN.top + frame.height + MARGIN.bottom;
  const { view } = state.plot;
  return svg(
    'svg',
    {
      class: 'chromaticity',
      viewBox: `0 0 ${width} ${height}`,
      role: 'img',
      'data-testid': 'chromaticity',
      'aria-label': `${projection === 'uv' ? "CIE 1976 u'v'" : 'CIE 1931 xy'} chromaticity diagram with the readings`,
      dataset: {
        view: [view.xMin, view.xMax, view.yMin, view.yMax].map((v) => v.toFixed(5)).join(','),
        projection,
      },
    },
    svg(
      'defs',
      null,
      svg(
        'clipPath',
        { id: 'plot-clip' },
        svg('rect', { x: frame.left, y: frame.top, width: frame.width, height: frame.height }),
      ),
    ),
    svg('rect', {
      class: 'plot-area',
      x: frame.left,
      y: frame.top,
      width: frame.width,
      height: frame.height,
    }),
    grid(frame, projection),
    svg(
      'g',
      { 'clip-path': 'url(#plot-clip)' },
      locusFill(frame, projection),
      svg('path', {
        class: 'locus',
        d: pathData(
          SPECTRAL_LOCUS.map((p) => project(projection, p)),
          frame,
          true,
        ),
      }),
      gamutLayer(frame, projection, gamut),
      readingsLayer(frame, projection, points),
    ),
    locusLabels(frame, projection),
  );
}

// ---- Zoom and pan ------------------------------------------------------------------------------------

const full = (state) => FULL_VIEWS[state.plot.projection];

// The diagram point under a pointer event, from the SVG's size on the screen.
function pointAt(state, event, svgElement) {
  const rect = svgElement.getBoundingClientRect();
  const box = svgElement.viewBox.baseVal;
  const px = ((event.clientX - rect.left) / rect.width) * box.width;
  const py = ((event.clientY - rect.top) / rect.height) * box.height;
  return frameOf(state.plot).fromPlot({ px, py });
}

function onWheel(state, event) {
  const svgElement = event.currentTarget.querySelector('svg');
  if (!svgElement) return;
  event.preventDefault();
  const factor = event.deltaY < 0 ? 1.25 : 0.8;
  setPlot({
    view: zoomView(state.plot.view, factor, pointAt(state, event, svgElement), full(state)),
  });
}

// Dragging pans; the listeners sit on the window because the diagram is painted anew while it
// moves.
function onPointerDown(state, event) {
  if (event.button !== 0) return;
  const svgElement = event.currentTarget.querySelector('svg');
  const start = pointAt(state, event, svgElement);
  const startView = state.plot.view;
  const move = (e) => {
    const now = pointAt({ plot: { ...state.plot, view: startView } }, e, svgElement);
    setPlot({ view: panView(startView, start.x - now.x, start.y - now.y, full(state)) });
  };
  const up = () => {
    window.removeEventListener('pointermove', move);
    window.removeEventListener('pointerup', up);
  };
  window.addEventListener('pointermove', move);
  window.addEventListener('pointerup', up);
}

function onKey(state, event) {
  const { view } = state.plot;
  const step = (view.xMax - view.xMin) / 10;
  const moves = {
    ArrowLeft: [-step, 0],
    ArrowRight: [step, 0],
    ArrowUp: [0, step],
    ArrowDown: [0, -step],
  };
  let next = null;
  if (moves[event.key]) next = panView(view, ...moves[event.key], full(state));
  else if (event.key === '+' || event.key === '=') next = zoomView(view, 2, null, full(state));
  else if (event.key === '-') next = zoomView(view, 0.5, null, full(state));
  else if (event.key === '0') next = { ...full(state) };
  if (!next) return;
  event.preventDefault();
  setPlot({ view: next });
}

// The projection buttons: which is on show is said by aria-pressed, not by colour alone.
function projectionButtons(projection) {
  const choice = (p, label) => {
    const pressed = projection === p;
    const element = button({
      id: `plot-${p}`,
      label,
      small: true,
      kind: pressed ? 'primary' : 'ghost',
      onClick: () => setPlot({ projection: p, view: { ...FULL_VIEWS[p] } }),
    });
    element.setAttribute('aria-pressed', String(pressed));
    return element;
  };
  return h('div', { class: 'segmented' }, choice('xy', 'xy'), choice('uv', "u'v'"));
}

function toolbar(state, points) {
  const { projection, view } = state.plot;
  const whole = full(state);
  // The latest readings, not the trail: what a correction moves is what is worth a close look.
  const shown = [points.xyz, points.raw, points.uncorrelated, points.reference]
    .filter(Boolean)
    .map((p) => project(projection, p));
  const tool = (id, label, next, extra = {}) =>
    button({ id, label, small: true, onClick: () => setPlot({ view: next() }), ...extra });
  return h(
    'div',
    { class: 'plot-toolbar', role: 'toolbar', 'aria-label': 'Diagram' },
    projectionButtons(projection),
    tool('plot-zoom-in', '+', () => zoomView(view, 2, null, whole), { title: 'Zoom in' }),
    tool('plot-zoom-out', '\u2212', () => zoomView(view, 0.5, null, whole), { title: 'Zoom out' }),
    tool('plot-fit', 'Fit latest', () => fitView(shown, whole), { disabled: shown.length === 0 }),
    tool('plot-reset', 'Whole diagram', () => ({ ...whole }), { kind: 'ghost' }),
    h('span', { class: 'muted', id: 'plot-zoom' }, `\u00d7${zoomFactor(view, whole).toFixed(1)}`),
  );
}

function gamutNote(state, gamut, point) {
  const monitor = selectedMonitor(state);
  if (!gamut) return state.world ? 'This sensor looks at no monitor of the simulated world.' : '';
  const position = gamutPosition(point, gamut);
  if (!position) return `Gamut and white of ${monitor.serial} \u00b7 ${monitor.product}.`;
  if (position.where === 'inside') return `The reading lies inside the gamut of ${monitor.serial}.`;
  if (position.where === 'edge')
    return `The reading lies on the edge of the gamut of ${monitor.serial} (within \u0394u\u2032v\u2032 ${formatNumber(position.distance, 4)}).`;
  return `The reading lies outside the gamut of ${monitor.serial}, \u0394u\u2032v\u2032 ${formatNumber(position.distance, 4)} from it.`;
}

export function renderPlot(state) {
  const gamut = gamutOf(selectedMonitor(state)?.display);
  const points = pointsOf(state);
  return h(
    'figure',
    { class: 'plot', 'aria-labelledby': 'plot-caption' },
    toolbar(state, points),
    h(
      'div',
      {
        class: 'plot-frame',
        id: 'plot-frame',
        tabindex: '0',
        role: 'group',
        'aria-label': 'Chromaticity diagram: arrow keys pan, + and \u2212 zoom, 0 shows all of it',
        on: {
          wheel: (e) => onWheel(state, e),
          pointerdown: (e) => onPointerDown(state, e),
          keydown: (e) => onKey(state, e),
        },
      },
      diagram(state, gamut, points),
    ),
    h(
      'figcaption',
      { id: 'plot-caption' },
      legend(points, gamut),
      h('p', { class: 'muted plot-note', id: 'gamut-note' }, gamutNote(state, gamut, points.xyz)),
    ),
  );
}
