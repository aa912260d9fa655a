// The CIE 1931 xy chromaticity diagram: spectral locus, the monitor's gamut and white, and the
// readings of the selected sensor.

import {
  D65,
  LOCUS_LABELS,
  SPECTRAL_LOCUS,
  displayRgb,
  hexFromRgb,
  makeFrame,
  pathData,
} from '../colour.js';
import { fill, svg } from '../dom.js';
import { formatNumber } from '../format.js';

const FRAME = makeFrame();
const WIDTH = FRAME.left + FRAME.width + 16;
const HEIGHT = FRAME.top + FRAME.height + 40;

// The horseshoe filled with its colours: a fan of thin triangles from the white point to each
// locus step and along the line of purples, each painted with the colour of its outer edge.
function locusFill() {
  const outline = [...SPECTRAL_LOCUS];
  const first = SPECTRAL_LOCUS[0];
  const last = SPECTRAL_LOCUS[SPECTRAL_LOCUS.length - 1];
  for (let step = 1; step < 12; step += 1) {
    const t = step / 12;
    outline.push({ x: last.x + (first.x - last.x) * t, y: last.y + (first.y - last.y) * t });
  }
  outline.push(first);
  const wedges = [];
  for (let i = 0; i + 1 < outline.length; i += 1) {
    const a = outline[i];
    const b = outline[i + 1];
    const colour = hexFromRgb(displayRgb({ x: (a.x + b.x) / 2, y: (a.y + b.y) / 2 }));
    wedges.push(
      svg('path', {
        d: pathData([D65, a, b], FRAME, true),
        fill: colour,
        stroke: colour,
        'stroke-width': 0.6,
      }),
    );
  }
  return svg('g', { class: 'locus-fill' }, wedges);
}

function grid() {
  const lines = [];
  for (let tenth = 0; tenth <= 8; tenth += 1) {
    const x = tenth / 10;
    const { px } = FRAME.toPlot({ x, y: 0 });
    lines.push(
      svg('line', { class: 'grid', x1: px, x2: px, y1: FRAME.top, y2: FRAME.top + FRAME.height }),
    );
    lines.push(
      svg(
        'text',
        { class: 'axis-label', x: px, y: FRAME.top + FRAME.height + 16, 'text-anchor': 'middle' },
        x.toFixed(1),
      ),
    );
  }
  for (let tenth = 0; tenth <= 9; tenth += 1) {
    const y = tenth / 10;
    const { py } = FRAME.toPlot({ x: 0, y });
    lines.push(
      svg('line', { class: 'grid', x1: FRAME.left, x2: FRAME.left + FRAME.width, y1: py, y2: py }),
    );
    lines.push(
      svg(
        'text',
        { class: 'axis-label', x: FRAME.left - 8, y: py + 4, 'text-anchor': 'end' },
        y.toFixed(1),
      ),
    );
  }
  lines.push(
    svg(
      'text',
      {
        class: 'axis-title',
        x: FRAME.left + FRAME.width / 2,
        y: HEIGHT - 6,
        'text-anchor': 'middle',
      },
      'x',
    ),
  );
  lines.push(
    svg(
      'text',
      { class: 'axis-title', x: 12, y: FRAME.top + FRAME.height / 2, 'text-anchor': 'middle' },
      'y',
    ),
  );
  return svg('g', null, lines);
}

function locusLabels() {
  return svg(
    'g',
    { class: 'locus-labels' },
    LOCUS_LABELS.map((nm) => {
      const point = SPECTRAL_LOCUS.find((p) => p.nm === nm);
      const { px, py } = FRAME.toPlot(point);
      // Labels sit outside the horseshoe, away from the white point.
      const dx = point.x - D65.x;
      const dy = point.y - D65.y;
      const length = Math.hypot(dx, dy);
      const lx = px + (dx / length) * 14;
      const ly = py - (dy / length) * 14;
      return svg(
        'g',
        null,
        svg('circle', { cx: px, cy: py, r: 1.6, class: 'locus-tick' }),
        svg(
          'text',
          { x: lx, y: ly + 3, 'text-anchor': dx < -0.05 ? 'end' : dx > 0.05 ? 'start' : 'middle' },
          String(nm),
        ),
      );
    }),
  );
}

function gamutLayer(gamut) {
  if (!gamut) return svg('g');
  const white = FRAME.toPlot(gamut.white);
  return svg(
    'g',
    { class: 'gamut', 'data-testid': 'gamut' },
    svg('path', { d: pathData([gamut.red, gamut.green, gamut.blue], FRAME, true) }),
    svg('path', {
      class: 'white-point',
      d: `M${white.px - 5} ${white.py} h10 M${white.px} ${white.py - 5} v10`,
    }),
    ['red', 'green', 'blue'].map((key) => {
      const { px, py } = FRAME.toPlot(gamut[key]);
      return svg('circle', { class: 'primary', cx: px, cy: py, r: 3 });
    }),
  );
}

// One reading: kind "xyz" (corrected, filled disc), "raw" (ring) or "uncorrelated" (square).
function marker(kind, point, label) {
  const { px, py } = FRAME.toPlot(point);
  const colour = hexFromRgb(displayRgb(point));
  const common = {
    class: ['reading', `reading-${kind}`],
    'data-testid': `point-${kind}`,
    dataset: { x: point.x.toFixed(6), y: point.y.toFixed(6) },
  };
  const shape =
    kind === 'uncorrelated'
      ? svg('rect', { ...common, x: px - 5, y: py - 5, width: 10, height: 10, fill: colour })
      : svg('circle', {
          ...common,
          cx: px,
          cy: py,
          r: kind === 'xyz' ? 6.5 : 10,
          fill: kind === 'xyz' ? colour : 'none',
        });
  return svg(
    'g',
    null,
    svg('title', null, `${label}: x ${formatNumber(point.x)}, y ${formatNumber(point.y)}`),
    shape,
  );
}

export function createPlot() {
  const dynamic = svg('g');
  const element = svg(
    'svg',
    {
      class: 'chromaticity',
      viewBox: `0 0 ${WIDTH} ${HEIGHT}`,
      role: 'img',
      'aria-label': 'CIE 1931 xy chromaticity diagram with the readings',
      'data-testid': 'chromaticity',
    },
    svg('rect', {
      class: 'plot-area',
      x: FRAME.left,
      y: FRAME.top,
      width: FRAME.width,
      height: FRAME.height,
    }),
    grid(),
    locusFill(),
    svg('path', { class: 'locus', d: pathData(SPECTRAL_LOCUS, FRAME, true) }),
    locusLabels(),
    dynamic,
  );

  // `gamut`: from colour.gamutOf, or null; `points`: {xyz, raw, uncorrelated} chromaticities
  // (each may be null); `history`: earlier corrected chromaticities, oldest first.
  function update({ gamut, points, history }) {
    const trail = (history ?? []).filter(Boolean);
    fill(
      dynamic,
      gamutLayer(gamut),
      trail.length > 1 ? svg('path', { class: 'trail', d: pathData(trail, FRAME) }) : null,
      trail.map((p) => {
        const { px, py } = FRAME.toPlot(p);
        return svg('circle', { class: 'trail-dot', cx: px, cy: py, r: 2 });
      }),
      points?.uncorrelated
        ? marker('uncorrelated', points.uncorrelated, 'XYZ without correlation')
        : null,
      points?.raw ? marker('raw', points.raw, 'Raw XYZ') : null,
      points?.xyz ? marker('xyz', points.xyz, 'XYZ') : null,
    );
  }

  return { element, update, frame: FRAME };
}
