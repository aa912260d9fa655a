// The console's other pure modules: identifiers, paths, matrices, the store, the world lookups and
// the error sentences.
import assert from 'node:assert/strict';
import { test } from 'node:test';

import { describeError, formatNumber } from '../../../host/web/js/format.js';
import { individualIdToDecimal, parseDeviceId } from '../../../host/web/js/ids.js';
import { identityMatrix, parseCells, resize, shapeOf } from '../../../host/web/js/matrix.js';
import * as paths from '../../../host/web/js/paths.js';
import { createStore } from '../../../host/web/js/state.js';
import { monitorOf, monitorsForOpening, worldSensor } from '../../../host/web/js/world.js';

// The connected list's form ("00c3000000004d2a") is the console test's: it opens a sensor by it.
test('individual ids (16 digits or 0x: hexadecimal) to 64 bits, device ids to 32 bits', () => {
  const cases = [
    ['1234567890123456', '1311768467284833366'],
    ['0x1A2B', '6699'],
    ['ffffffffffffffff', '18446744073709551615'],
    ['  42 ', '42'],
    ['18446744073709551616', null],
    ['0x1ffffffffffffffff', null],
    ['-1', null],
  ];
  for (const [text, want] of cases) assert.equal(individualIdToDecimal(text), want, text);
  // Device ids are whole numbers of 32 bits.
  assert.equal(parseDeviceId(' 33 '), 33);
  assert.equal(parseDeviceId('4294967295'), 4294967295);
  for (const bad of ['4294967296', '3.5', '-3', 'x', '']) assert.equal(parseDeviceId(bad), null);
});

test('paths encode their segments; queries leave undefined keys out and null ones bare', () => {
  const query = { supports: null, deviceIDs: '3,5', a: 'b c', last: undefined };
  assert.equal(paths.queryString(query), '?supports&deviceIDs=3%2C5&a=b%20c');
  assert.equal(paths.queryString({ last: undefined }), '');
  assert.equal(paths.sensorPath('ab cd'), '/Sensors/ab%20cd');
  assert.equal(paths.monitorSensorPath('QM7A', 'QM/27'), '/Monitors/QM7A/QM%2F27/Sensor');
  assert.equal(paths.simMonitorPath('S 1', 'P', 'shownColor'), '/sim/monitors/S%201/P/shownColor');
});

test('matrices come in two shapes, each row of three numbers', () => {
  assert.deepEqual(identityMatrix(3), [[1, 0, 0], [0, 1, 0], [0, 0, 1]]);
  assert.equal(shapeOf(identityMatrix(3)), '3x3');
  assert.equal(shapeOf(identityMatrix(8)), '8x3');
  for (const bad of [[[1, 2], [3, 4], [5, 6]], identityMatrix(4), { matrix: [] }]) {
    assert.equal(shapeOf(bad), null);
  }
  assert.deepEqual(resize([[1, 2, 3], [4, 5, 6]], 3), [[1, 2, 3], [4, 5, 6], [0, 0, 0]]);
  assert.deepEqual(resize(identityMatrix(8), 3), identityMatrix(3));
});

test('matrix cells are read as numbers, naming the first that is none', () => {
  assert.deepEqual(parseCells([['1', ' -0.5 ', '2e-3']]), { matrix: [[1, -0.5, 0.002]] });
  const bad = [
    [[['1', '', '0']], 'Row 1, column 2'],
    [[['1', '0', '0'], ['0', 'one', '0']], 'Row 2, column 2'],
    [[['Infinity', '0', '0']], 'Row 1, column 1'],
  ];
  for (const [cells, where] of bad) {
    assert.deepEqual(parseCells(cells), { error: `${where} is not a number.` });
  }
});

test('the store merges patches, tells listeners until they stop, and freezes its states', () => {
  const store = createStore({ a: 1, b: 2, list: [] });
  const seen = [];
  const stop = store.subscribe((state, patch) => seen.push([state, patch]));
  store.set({ b: 3 });
  stop();
  store.set({ a: 9 });
  assert.deepEqual(seen, [[{ a: 1, b: 3, list: [] }, { b: 3 }]]);
  assert.deepEqual(store.get(), { a: 9, b: 3, list: [] });
  assert.throws(() => (store.get().list = [1]), TypeError);
});

test('the world gives the record and the monitor of an opened sensor', () => {
  const world = {
    monitors: [
      { serial: 'M1', product: 'P', hidHandle: 1 },
      { serial: 'M2', product: 'P' },
      { serial: 'M3', product: 'Q', hidHandle: 3 },
    ],
    sensors: [
      { deviceID: 33, individualID: '00c3', connection: 'usb', monitor: 'M3' },
      { deviceID: 5, individualID: '0005', connection: 'usb', monitor: 'M1' },
      { deviceID: 4144, individualID: '00000000ab', connection: 'builtIn', monitor: 'M1' },
      { deviceID: 82, individualID: '0052', connection: 'serial' },
    ],
  };
  const cases = [
    [{ deviceID: 33 }, 33, 'M3'],
    [{ individualID: '00000000AB' }, 4144, 'M1'], // in any case
    [{ monitor: { serial: 'M1', product: 'P' } }, 4144, 'M1'],
    [{ deviceID: 82 }, 82, null], // looks at no monitor
    [{ deviceID: 7 }, null, null],
  ];
  for (const [meta, sensor, monitor] of cases) {
    assert.equal(worldSensor(world, meta)?.deviceID ?? null, sensor, JSON.stringify(meta));
    assert.equal(monitorOf(world, meta)?.serial ?? null, monitor, JSON.stringify(meta));
  }
  // Monitors with a HID handle first, in world order.
  assert.deepEqual(monitorsForOpening(world).map((m) => m.serial), ['M1', 'M3', 'M2']);
  assert.deepEqual(monitorsForOpening(null), []);
});

test('errors read as sentences; what is no number shows as a dash', () => {
  const library = { code: 2147483648, reason: 'Measure XYZ.' };
  const cases = [
    [{ status: 500, name: 'EmError', message: 'Failed.', detail: library },
      '500 EmError: Failed. (code 0x80000000, Measure XYZ.)'],
    [{ status: 405, name: 'MethodError', message: 'GET method is not allowed.', detail: {} },
      '405 MethodError: GET method is not allowed.'],
    [{ status: 0, name: 'NetworkError', message: 'The host cannot be reached.' },
      'NetworkError: The host cannot be reached.'],
  ];
  for (const [error, want] of cases) assert.equal(describeError(error), want);
  for (const bad of [NaN, undefined, null, '1']) assert.equal(formatNumber(bad), '\u2014');
});
