// The console's colour arithmetic: chromaticities, the locus, gamut tests and the plot frame.
import assert from 'node:assert/strict';
import { describe, test } from 'node:test';

import {
  D65,
  SPECTRAL_LOCUS,
  chromaticity,
  displayRgb,
  gamutOf,
  hexFromRgb,
  insideGamut,
  makeFrame,
  pathData,
  rgbFromHex,
} from '../../../host/web/js/colour.js';

const SRGB = {
  red: { x: 0.64, y: 0.33 },
  green: { x: 0.3, y: 0.6 },
  blue: { x: 0.15, y: 0.06 },
  white: D65,
};

// Even-odd test against the closed locus polygon.
function insideLocus({ x, y }) {
  let inside = false;
  const points = SPECTRAL_LOCUS;
  for (let i = 0, j = points.length - 1; i < points.length; j = i++) {
    const a = points[i];
    const b = points[j];
    if (a.y > y !== b.y > y && x < ((b.x - a.x) * (y - a.y)) / (b.y - a.y) + a.x) inside = !inside;
  }
  return inside;
}

describe('chromaticity', () => {
  const cases = [
    { name: 'equal-energy white', reading: { X: 1, Y: 1, Z: 1 }, want: { x: 1 / 3, y: 1 / 3 } },
    {
      name: 'scaled reading',
      reading: { X: 95.047, Y: 100, Z: 108.883 },
      want: { x: 0.3127, y: 0.329 },
    },
    { name: 'black has none', reading: { X: 0, Y: 0, Z: 0 }, want: null },
    { name: 'a negative sum has none', reading: { X: -1, Y: 0, Z: 0 }, want: null },
    { name: 'a missing member has none', reading: { X: 1, Y: 1 }, want: null },
    { name: 'no reading', reading: undefined, want: null },
  ];
  for (const { name, reading, want } of cases) {
    test(name, () => {
      const got = chromaticity(reading);
      if (want === null) return assert.equal(got, null);
      assert.ok(
        Math.abs(got.x - want.x) < 1e-4 && Math.abs(got.y - want.y) < 1e-4,
        JSON.stringify(got),
      );
      return undefined;
    });
  }
});

describe('spectral locus', () => {
  test('runs from 380 to 700 nm in 5 nm steps', () => {
    assert.equal(SPECTRAL_LOCUS.length, 65);
    SPECTRAL_LOCUS.forEach((p, i) => assert.equal(p.nm, 380 + 5 * i));
  });
  test('encloses the white point and the sRGB primaries', () => {
    for (const point of [D65, SRGB.red, SRGB.green, SRGB.blue, { x: 1 / 3, y: 1 / 3 }]) {
      assert.ok(insideLocus(point), JSON.stringify(point));
    }
  });
  test('leaves out chromaticities no light has', () => {
    for (const point of [
      { x: 0.05, y: 0.05 },
      { x: 0.6, y: 0.6 },
      { x: 0.02, y: 0.9 },
    ]) {
      assert.ok(!insideLocus(point), JSON.stringify(point));
    }
  });
});

describe('gamut', () => {
  test('is read from a display with all four chromaticities only', () => {
    assert.deepEqual(gamutOf(SRGB), SRGB);
    assert.equal(gamutOf({ red: SRGB.red, green: SRGB.green, blue: SRGB.blue }), null);
    assert.equal(gamutOf({ ...SRGB, blue: { x: 'a', y: 0.1 } }), null);
    assert.equal(gamutOf(undefined), null);
  });
  const cases = [
    ['white', D65, true],
    ['a primary', SRGB.green, true],
    ['mid-edge between red and green', { x: 0.47, y: 0.465 }, true],
    ['beyond green', { x: 0.2, y: 0.7 }, false],
    ['below blue', { x: 0.15, y: 0.02 }, false],
    ['no point', null, false],
  ];
  for (const [name, point, inside] of cases) {
    test(`${name} is ${inside ? 'inside' : 'outside'}`, () =>
      assert.equal(insideGamut(point, SRGB), inside));
  }
});

describe('sRGB colours', () => {
  const near = (a, b) => a.every((c, i) => Math.abs(c - b[i]) < 0.02);
  test('white shows as white, the sRGB red primary as pure red', () => {
    assert.ok(near(displayRgb(D65), [1, 1, 1]), String(displayRgb(D65)));
    assert.ok(near(displayRgb(SRGB.red), [1, 0, 0]), String(displayRgb(SRGB.red)));
  });
  test('an out-of-gamut green is clipped, not negative', () => {
    const rgb = displayRgb({ x: 0.0743, y: 0.8338 });
    assert.ok(rgb.every((c) => c >= 0 && c <= 1));
    assert.equal(Math.max(...rgb), rgb[1]);
  });
  const hexes = [
    [[1, 1, 1], '#ffffff'],
    [[0, 0.5, 1], '#0080ff'],
    [[2, -1, 0.2], '#ff0033'],
  ];
  for (const [rgb, hex] of hexes) {
    test(`${JSON.stringify(rgb)} is ${hex}`, () => assert.equal(hexFromRgb(rgb), hex));
  }
  test('hexadecimal colours read back; anything else is null', () => {
    assert.deepEqual(
      rgbFromHex('#FF0080').map((c) => Math.round(c * 255)),
      [255, 0, 128],
    );
    for (const bad of ['ff0080', '#ff008', '#gg0000', null]) assert.equal(rgbFromHex(bad), null);
  });
});

describe('plot frame', () => {
  const frame = makeFrame({ left: 40, top: 10, scale: 500, xMax: 0.8, yMax: 0.9 });
  test('puts the origin at the bottom left and larger y higher up', () => {
    assert.deepEqual(frame.toPlot({ x: 0, y: 0 }), { px: 40, py: 460 });
    assert.deepEqual(frame.toPlot({ x: 0.8, y: 0.9 }), { px: 440, py: 10 });
    assert.ok(frame.toPlot({ x: 0.3, y: 0.6 }).py < frame.toPlot({ x: 0.3, y: 0.3 }).py);
  });
  test('maps back what it maps', () => {
    const back = frame.fromPlot(frame.toPlot({ x: 0.3127, y: 0.329 }));
    assert.ok(Math.abs(back.x - 0.3127) < 1e-12 && Math.abs(back.y - 0.329) < 1e-12);
  });
  test('draws paths through the mapped points, closed on request', () => {
    assert.equal(
      pathData(
        [
          { x: 0, y: 0 },
          { x: 0.8, y: 0.9 },
        ],
        frame,
      ),
      'M40.00 460.00 L440.00 10.00',
    );
    assert.equal(pathData([{ x: 0, y: 0 }], frame, true), 'M40.00 460.00 Z');
    assert.equal(pathData([], frame, true), '');
  });
});
