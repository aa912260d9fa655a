// The console's colour arithmetic: chromaticities, the locus, gamut tests, sRGB colours and the
// plot frame. Where the console puts a reading on the diagram is checked in the browser test.
import assert from 'node:assert/strict';
import { test } from 'node:test';

import {
  D65, SPECTRAL_LOCUS, chromaticity, displayRgb, gamutOf, hexFromRgb, insideGamut, makeFrame,
  pathData, rgbFromHex,
} from '../../../host/web/js/colour.js';

const SRGB = {
  red: { x: 0.64, y: 0.33 }, green: { x: 0.3, y: 0.6 }, blue: { x: 0.15, y: 0.06 }, white: D65,
};
const near = (a, b, tolerance) => Math.abs(a - b) < tolerance;
const show = (value) => JSON.stringify(value);

// Even-odd test against the closed locus polygon.
function insideLocus({ x, y }) {
  let inside = false;
  for (let i = 0, j = SPECTRAL_LOCUS.length - 1; i < SPECTRAL_LOCUS.length; j = i++) {
    const [a, b] = [SPECTRAL_LOCUS[i], SPECTRAL_LOCUS[j]];
    if (a.y > y !== b.y > y && x < ((b.x - a.x) * (y - a.y)) / (b.y - a.y) + a.x) inside = !inside;
  }
  return inside;
}

// A reading's chromaticity is the console test's (the D65 white read as x 0.3127).
test('black and what is no reading have no chromaticity', () => {
  for (const reading of [{ X: 0, Y: 0, Z: 0 }, { X: -1, Y: 0, Z: 0 }, { X: 1, Y: 1 }, undefined]) {
    assert.equal(chromaticity(reading), null, show(reading));
  }
});

test('the spectral locus encloses every colour of light', () => {
  for (const point of [D65, SRGB.red, SRGB.green, SRGB.blue]) assert.ok(insideLocus(point));
  for (const point of [{ x: 0.05, y: 0.05 }, { x: 0.6, y: 0.6 }, { x: 0.02, y: 0.9 }]) {
    assert.ok(!insideLocus(point), show(point));
  }
});

test('a gamut needs all four chromaticities and holds the points of its triangle', () => {
  assert.deepEqual(gamutOf(SRGB), SRGB);
  const { red, green, blue } = SRGB;
  for (const display of [{ red, green, blue }, { ...SRGB, blue: { x: 'a', y: 0.1 } }, undefined]) {
    assert.equal(gamutOf(display), null, show(display));
  }
  // A reading on a corner (blue) is the console test's.
  const points = [
    [D65, true],
    [{ x: 0.47, y: 0.465 }, true], // on the edge from red to green
    [{ x: 0.15, y: 0.02 }, false],
    [null, false],
  ];
  for (const [point, inside] of points) assert.equal(insideGamut(point, SRGB), inside, show(point));
});

test('chromaticities show as sRGB colours, clipped where the screen cannot show them', () => {
  const close = (rgb, want) => rgb.every((c, i) => near(c, want[i], 0.02));
  assert.ok(close(displayRgb(D65), [1, 1, 1]), String(displayRgb(D65)));
  assert.ok(close(displayRgb(SRGB.red), [1, 0, 0]), String(displayRgb(SRGB.red)));
  const green = displayRgb({ x: 0.0743, y: 0.8338 });
  assert.ok(green.every((c) => c >= 0 && c <= 1) && Math.max(...green) === green[1], show(green));
});

test('hexadecimal colours clamp and round their channels and read back only as #rrggbb', () => {
  assert.equal(hexFromRgb([0, 0.5, 1]), '#0080ff');
  assert.equal(hexFromRgb([2, -1, 0.2]), '#ff0033');
  assert.deepEqual(rgbFromHex('#FF0080').map((c) => Math.round(c * 255)), [255, 0, 128]);
  for (const bad of ['ff0080', '#ff008', '#ff00801', '#gg0000', null]) {
    assert.equal(rgbFromHex(bad), null, bad);
  }
});

test('the plot frame has (0, 0) at the bottom left and draws paths through its points', () => {
  const frame = makeFrame({ left: 40, top: 10, scale: 500, xMax: 0.8, yMax: 0.9 });
  const corners = [{ x: 0, y: 0 }, { x: 0.8, y: 0.9 }];
  assert.equal(pathData(corners, frame), 'M40.00 460.00 L440.00 10.00');
  assert.equal(pathData(corners.slice(0, 1), frame, true), 'M40.00 460.00 Z');
  assert.equal(pathData([], frame, true), '');
});
