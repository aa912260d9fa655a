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

// Whether chromaticity `p` lies inside (or on) the triangle of the gamut's primaries.
export function insideGamut(p, gamut) {
  if (!p || !gamut) return false;
  const cross = (a, b, c) => (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
  const d1 = cross(gamut.red, gamut.green, p);
  const d2 = cross(gamut.green, gamut.blue, p);
  const d3 = cross(gamut.blue, gamut.red, p);
  const negative = d1 < 0 || d2 < 0 || d3 < 0;
  const positive = d1 > 0 || d2 > 0 || d3 > 0;
  return !(negative && positive);
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

// The frame of the chromaticity diagram: plot coordinates of chromaticity (x, y) in an SVG whose
// plotting area starts at (left, top) and spans xMax by yMax chromaticity units at `scale`
// pixels per unit. y grows upwards on the diagram and downwards in SVG.
export function makeFrame({ left = 44, top = 14, scale = 500, xMax = 0.8, yMax = 0.9 } = {}) {
  return Object.freeze({
    left,
    top,
    scale,
    xMax,
    yMax,
    width: xMax * scale,
    height: yMax * scale,
    toPlot: ({ x, y }) => ({ px: left + x * scale, py: top + (yMax - y) * scale }),
    fromPlot: ({ px, py }) => ({ x: (px - left) / scale, y: yMax - (py - top) / scale }),
  });
}

// SVG path data through `points` (chromaticities) in `frame`; closed when asked.
export function pathData(points, frame, closed = false) {
  const parts = points.map((point, index) => {
    const { px, py } = frame.toPlot(point);
    return `${index === 0 ? 'M' : 'L'}${px.toFixed(2)} ${py.toFixed(2)}`;
  });
  return parts.join(' ') + (closed && parts.length > 0 ? ' Z' : '');
}
