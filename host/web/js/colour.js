// Colour arithmetic for the console: chromaticities, the CIE 1931 spectral locus, a monitor's
// gamut, and the sRGB colours used to paint them. No DOM here, so Node can test it.

// CIE 1931 2-degree observer: chromaticity of monochromatic light, 380 to 700 nm in 5 nm steps.
// Beyond 700 nm the locus no longer moves visibly.
const LOCUS = [
  [380, 0.1741, 0.005],
  [385, 0.174, 0.005],
  [390, 0.1738, 0.0049],
  [395, 0.1736, 0.0049],
  [400, 0.1733, 0.0048],
  [405, 0.173, 0.0048],
  [410, 0.1726, 0.0048],
  [415, 0.1721, 0.0048],
  [420, 0.1714, 0.0051],
  [425, 0.1703, 0.0058],
  [430, 0.1689, 0.0069],
  [435, 0.1669, 0.0086],
  [440, 0.1644, 0.0109],
  [445, 0.1611, 0.0138],
  [450, 0.1566, 0.0177],
  [455, 0.151, 0.0227],
  [460, 0.144, 0.0297],
  [465, 0.1355, 0.0399],
  [470, 0.1241, 0.0578],
  [475, 0.1096, 0.0868],
  [480, 0.0913, 0.1327],
  [485, 0.0687, 0.2007],
  [490, 0.0454, 0.295],
  [495, 0.0235, 0.4127],
  [500, 0.0082, 0.5384],
  [505, 0.0039, 0.6548],
  [510, 0.0139, 0.7502],
  [515, 0.0389, 0.812],
  [520, 0.0743, 0.8338],
  [525, 0.1142, 0.8262],
  [530, 0.1547, 0.8059],
  [535, 0.1929, 0.7816],
  [540, 0.2296, 0.7543],
  [545, 0.2658, 0.7243],
  [550, 0.3016, 0.6923],
  [555, 0.3373, 0.6589],
  [560, 0.3731, 0.6245],
  [565, 0.4087, 0.5896],
  [570, 0.4441, 0.5547],
  [575, 0.4788, 0.5202],
  [580, 0.5125, 0.4866],
  [585, 0.5448, 0.4544],
  [590, 0.5752, 0.4242],
  [595, 0.6029, 0.3965],
  [600, 0.627, 0.3725],
  [605, 0.6482, 0.3514],
  [610, 0.6658, 0.334],
  [615, 0.6801, 0.3197],
  [620, 0.6915, 0.3083],
  [625, 0.7006, 0.2993],
  [630, 0.7079, 0.292],
  [635, 0.714, 0.2859],
  [640, 0.719, 0.2809],
  [645, 0.723, 0.277],
  [650, 0.726, 0.274],
  [655, 0.7283, 0.2717],
  [660, 0.73, 0.27],
  [665, 0.7311, 0.2689],
  [670, 0.732, 0.268],
  [675, 0.7327, 0.2673],
  [680, 0.7334, 0.2666],
  [685, 0.734, 0.266],
  [690, 0.7344, 0.2656],
  [695, 0.7346, 0.2654],
  [700, 0.7347, 0.2653],
];

export const SPECTRAL_LOCUS = Object.freeze(LOCUS.map(([nm, x, y]) => Object.freeze({ nm, x, y })));

// The wavelengths worth a label on the diagram.
export const LOCUS_LABELS = Object.freeze([
  460, 480, 490, 500, 510, 520, 540, 560, 580, 600, 620, 700,
]);

export const D65 = Object.freeze({ x: 0.3127, y: 0.329 });

// The chromaticity of an {X, Y, Z} reading; null for black (or for anything not a reading), which
// has no chromaticity.
export function chromaticity(reading) {
  if (!reading) return null;
  const { X, Y, Z } = reading;
  if (![X, Y, Z].every(Number.isFinite)) return null;
  const sum = X + Y + Z;
  if (sum <= 0) return null;
  return { x: X / sum, y: Y / sum };
}

// The gamut of a monitor of the simulated world ({red, green, blue, white} chromaticities from
// its "display" object), or null when the display does not give all four.
export function gamutOf(display) {
  if (!display) return null;
  const corners = {};
  for (const key of ['red', 'green', 'blue', 'white']) {
    const point = display[key];
    if (!point || !Number.isFinite(point.x) || !Number.isFinite(point.y)) return null;
    corners[key] = { x: point.x, y: point.y };
  }
  return corners;
}

// CIE 1976 UCS u', v' of chromaticity {x, y}; the transform keeps straight lines straight, so a
// gamut triangle stays a triangle.
export function uvOf({ x, y }) {
  const d = -2 * x + 12 * y + 3;
  return { x: (4 * x) / d, y: (9 * y) / d };
}

// Signed area test of `p` against the edge from `a` to `b`.
const cross = (a, b, p) => (b.x - a.x) * (p.y - a.y) - (b.y - a.y) * (p.x - a.x);

// Distance from `p` to the segment from `a` to `b`.
function segmentDistance(p, a, b) {
  const dx = b.x - a.x;
  const dy = b.y - a.y;
  const length2 = dx * dx + dy * dy;
  const t =
    length2 > 0 ? Math.min(1, Math.max(0, ((p.x - a.x) * dx + (p.y - a.y) * dy) / length2)) : 0;
  return Math.hypot(p.x - (a.x + t * dx), p.y - (a.y + t * dy));
}

// Where chromaticity `p` lies against the triangle of the gamut's primaries, judged in u'v' where
// distances are about equally visible: {where: 'inside' | 'edge' | 'outside', distance} with the
// u'v' distance to the triangle (0 inside). A reading within `tolerance` of the triangle counts
// as on its edge, since a measured primary scatters around the corner it belongs to. Null without
// a point or a gamut.
export function gamutPosition(p, gamut, tolerance = GAMUT_TOLERANCE) {
  if (!p || !gamut) return null;
  const [r, g, b, q] = [gamut.red, gamut.green, gamut.blue, p].map(uvOf);
  const signs = [cross(r, g, q), cross(g, b, q), cross(b, r, q)];
  const inside = !(signs.some((s) => s < 0) && signs.some((s) => s > 0));
  if (inside) return { where: 'inside', distance: 0 };
  const distance = Math.min(
    segmentDistance(q, r, g),
    segmentDistance(q, g, b),
    segmentDistance(q, b, r),
  );
  return { where: distance <= tolerance ? 'edge' : 'outside', distance };
}

// How far (in u'v') a reading may lie outside the gamut and still count as on its edge: about
// what a colorimeter may miss by on a saturated primary.
export const GAMUT_TOLERANCE = 0.01;

// Whether chromaticity `p` lies inside the gamut or on its edge (see gamutPosition).
export function insideGamut(p, gamut, tolerance = GAMUT_TOLERANCE) {
  const position = gamutPosition(p, gamut, tolerance);
  return position !== null && position.where !== 'outside';
}

// The distance between two chromaticities.
export function distance(a, b) {
  return Math.hypot(a.x - b.x, a.y - b.y);
}

// Linear sRGB (D65) of an XYZ colour.
export function linearSrgb({ X, Y, Z }) {
  return [
    3.2406 * X - 1.5372 * Y - 0.4986 * Z,
    -0.9689 * X + 1.8758 * Y + 0.0415 * Z,
    0.0557 * X - 0.204 * Y + 1.057 * Z,
  ];
}

function encode(channel) {
  const c = Math.min(1, Math.max(0, channel));
  return c <= 0.0031308 ? 12.92 * c : 1.055 * c ** (1 / 2.4) - 0.055;
}

// An sRGB colour that shows chromaticity {x, y} as brightly as the screen allows: out-of-gamut
// chromaticities are clipped, which is what every screen does with them. Channels are 0 to 1.
export function displayRgb({ x, y }) {
  if (!(y > 0)) return [0, 0, 0];
  const linear = linearSrgb({ X: x / y, Y: 1, Z: (1 - x - y) / y }).map((c) => Math.max(0, c));
  const peak = Math.max(...linear);
  if (peak <= 0) return [0, 0, 0];
  return linear.map((c) => encode(c / peak));
}

// "#rrggbb" of channels 0 to 1.
export function hexFromRgb(rgb) {
  return `#${rgb
    .map((c) =>
      Math.round(Math.min(1, Math.max(0, c)) * 255)
        .toString(16)
        .padStart(2, '0'),
    )
    .join('')}`;
}

// Channels 0 to 1 of "#rrggbb"; null for anything else.
export function rgbFromHex(hex) {
  const match = /^#([0-9a-f]{2})([0-9a-f]{2})([0-9a-f]{2})$/i.exec(hex ?? '');
  if (!match) return null;
  return match.slice(1).map((pair) => parseInt(pair, 16) / 255);
}

// The frame of a chromaticity diagram: plot coordinates of a point (x, y) in an SVG whose
// plotting area starts at (left, top), is `width` by `height` pixels and shows the chromaticity
// range of `view` ({xMin, xMax, yMin, yMax}). y grows upwards on the diagram and downwards in SVG.
export function viewFrame({ left, top, width, height, view }) {
  const sx = width / (view.xMax - view.xMin);
  const sy = height / (view.yMax - view.yMin);
  return Object.freeze({
    left,
    top,
    width,
    height,
    view,
    toPlot: ({ x, y }) => ({ px: left + (x - view.xMin) * sx, py: top + (view.yMax - y) * sy }),
    fromPlot: ({ px, py }) => ({ x: view.xMin + (px - left) / sx, y: view.yMax - (py - top) / sy }),
  });
}

// The frame of the whole xy diagram at `scale` pixels per unit, from (0, 0) to (xMax, yMax).
export function makeFrame({ left = 44, top = 14, scale = 500, xMax = 0.8, yMax = 0.9 } = {}) {
  const view = { xMin: 0, xMax, yMin: 0, yMax };
  return viewFrame({ left, top, width: xMax * scale, height: yMax * scale, view });
}

// SVG path data through `points` (chromaticities) in `frame`; closed when asked.
export function pathData(points, frame, closed = false) {
  const parts = points.map((point, index) => {
    const { px, py } = frame.toPlot(point);
    return `${index === 0 ? 'M' : 'L'}${px.toFixed(2)} ${py.toFixed(2)}`;
  });
  return parts.join(' ') + (closed && parts.length > 0 ? ' Z' : '');
}
