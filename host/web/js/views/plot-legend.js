// The legend of the chromaticity diagram: every kind of mark it can show, each drawn as on the
// diagram, and greyed when the diagram has none of it at the moment.

import { h, svg } from '../dom.js';

const MARKS = [
  {
    key: 'xyz',
    label: 'XYZ (corrected)',
    mark: () =>
      svg('circle', { cx: 8, cy: 8, r: 5, class: 'reading reading-xyz', fill: '#7a8494' }),
  },
  {
    key: 'raw',
    label: 'raw XYZ',
    mark: () => svg('circle', { cx: 8, cy: 8, r: 6, class: 'reading reading-raw', fill: 'none' }),
  },
  {
    key: 'uncorrelated',
    label: 'without correlation',
    mark: () =>
      svg('rect', {
        x: 3,
        y: 3,
        width: 10,
        height: 10,
        class: 'reading reading-uncorrelated',
        fill: '#7a8494',
      }),
  },
  {
    key: 'reference',
    label: 'reference',
    mark: () =>
      svg('path', {
        d: 'M8 1 L15 8 L8 15 L1 8 Z',
        class: 'reading reading-reference',
        fill: 'none',
      }),
  },
  {
    key: 'trail',
    label: 'earlier XYZ',
    mark: () => svg('circle', { cx: 8, cy: 8, r: 2.5, class: 'trail-dot' }),
  },
  {
    key: 'gamut',
    label: 'monitor gamut',
    mark: () => svg('path', { d: 'M1 13 L8 2 L15 13 Z', class: 'legend-gamut' }),
  },
  {
    key: 'white',
    label: 'monitor white',
    mark: () => svg('path', { d: 'M2 8 h12 M8 2 v12', class: 'white-point' }),
  },
];

// `points`: what the diagram shows ({xyz, raw, uncorrelated, reference, trail}); `gamut` or null.
export function legend(points, gamut) {
  const present = {
    ...Object.fromEntries(
      ['xyz', 'raw', 'uncorrelated', 'reference'].map((k) => [k, Boolean(points[k])]),
    ),
    trail: points.trail.length > 0,
    gamut: Boolean(gamut),
    white: Boolean(gamut),
  };
  return h(
    'ul',
    { class: 'legend', id: 'plot-legend' },
    MARKS.map(({ key, label, mark }) =>
      h(
        'li',
        { class: ['legend-item', present[key] ? null : 'legend-absent'], dataset: { mark: key } },
        svg(
          'svg',
          {
            class: 'legend-mark',
            viewBox: '0 0 16 16',
            width: 16,
            height: 16,
            'aria-hidden': 'true',
          },
          mark(),
        ),
        label,
      ),
    ),
  );
}
