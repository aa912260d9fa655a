// The console's other pure modules: identifiers, paths, matrices, the store, the world lookups and
// the text forms.
import assert from 'node:assert/strict';
import { describe, test } from 'node:test';

import { describeError, formatNumber, shortId } from '../../../host/web/js/format.js';
import { individualIdToDecimal, parseDeviceId } from '../../../host/web/js/ids.js';
import { identityMatrix, parseCells, resize, shapeOf } from '../../../host/web/js/matrix.js';
import {
  monitorSensorPath,
  queryString,
  sensorPath,
  simMonitorPath,
} from '../../../host/web/js/paths.js';
import { createStore } from '../../../host/web/js/state.js';
import { monitorOf, monitorsForOpening, worldSensor } from '../../../host/web/js/world.js';

describe('individual ids', () => {
  const cases = [
    ['16 hex digits as listed', '00c3000000004d2a', '54887620458597674'],
    ['16 decimal digits are still hexadecimal', '1234567890123456', '1311768467284833366'],
    ['0x prefix', '0x1A2B', '6699'],
    ['decimal', '6699', '6699'],
    ['largest 64-bit value', 'ffffffffffffffff', '18446744073709551615'],
    ['blanks around', '  42 ', '42'],
    ['beyond 64 bits', '18446744073709551616', null],
    ['17 hex digits', '0x1ffffffffffffffff', null],
    ['letters', 'sensor', null],
    ['empty', '', null],
    ['negative', '-1', null],
  ];
  for (const [name, text, want] of cases) {
    test(name, () => assert.equal(individualIdToDecimal(text), want));
  }
  test('device ids are whole numbers of 32 bits', () => {
    assert.equal(parseDeviceId(' 33 '), 33);
    assert.equal(parseDeviceId('4294967295'), 4294967295);
    for (const bad of ['4294967296', '3.5', '-3', 'x', ''])
      assert.equal(parseDeviceId(bad), null, bad);
  });
});

describe('paths', () => {
  const cases = [
    ['a presence key is bare', queryString({ supports: null }), '?supports'],
    ['values are encoded', queryString({ deviceIDs: '3,5', a: 'b c' }), '?deviceIDs=3%2C5&a=b%20c'],
    ['undefined keys are left out', queryString({ last: undefined }), ''],
    ['no keys, no question mark', queryString({}), ''],
    [
      'a sensor resource',
      sensorPath('ab-cd', 'AmbraSense/Level'),
      '/Sensors/ab-cd/AmbraSense/Level',
    ],
    ['a sensor itself', sensorPath('ab cd'), '/Sensors/ab%20cd'],
    [
      'a monitor with a slash in its product',
      monitorSensorPath('27Q0', 'CX/271'),
      '/Monitors/27Q0/CX%2F271/Sensor',
    ],
    [
      'a simulator monitor',
      simMonitorPath('S 1', 'P', 'shownColor'),
      '/sim/monitors/S%201/P/shownColor',
    ],
  ];
  for (const [name, got, want] of cases) test(name, () => assert.equal(got, want));
});

describe('matrices', () => {
  test('identities of both shapes', () => {
    assert.deepEqual(identityMatrix(3), [
      [1, 0, 0],
      [0, 1, 0],
      [0, 0, 1],
    ]);
    const eight = identityMatrix(8);
    assert.equal(eight.length, 8);
    assert.deepEqual(eight[2], [0, 0, 1]);
    assert.deepEqual(eight[7], [0, 0, 0]);
  });
  test('shapes are recognised only when every row has three numbers', () => {
    assert.equal(shapeOf(identityMatrix(3)), '3x3');
    assert.equal(shapeOf(identityMatrix(8)), '8x3');
    assert.equal(
      shapeOf([
        [1, 2],
        [3, 4],
        [5, 6],
      ]),
      null,
    );
    assert.equal(shapeOf(identityMatrix(4)), null);
    assert.equal(shapeOf({ matrix: [] }), null);
  });
  const cells = [
    ['numbers', [['1', ' -0.5 ', '2e-3']], { matrix: [[1, -0.5, 0.002]] }],
    ['an empty cell', [['1', '', '0']], { error: 'Row 1, column 2 is not a number.' }],
    [
      'text',
      [
        ['1', '0', '0'],
        ['0', 'one', '0'],
      ],
      { error: 'Row 2, column 2 is not a number.' },
    ],
    ['infinity', [['Infinity', '0', '0']], { error: 'Row 1, column 1 is not a number.' }],
  ];
  for (const [name, input, want] of cells)
    test(`cells: ${name}`, () => assert.deepEqual(parseCells(input), want));
  test('resizing keeps rows that fit and adds zero rows', () => {
    assert.deepEqual(
      resize(
        [
          [1, 2, 3],
          [4, 5, 6],
        ],
        3,
      ),
      [
        [1, 2, 3],
        [4, 5, 6],
        [0, 0, 0],
      ],
    );
    assert.deepEqual(resize(identityMatrix(8), 3), identityMatrix(3));
  });
});

describe('store', () => {
  test('merges patches and tells listeners until they stop listening', () => {
    const store = createStore({ a: 1, b: 2 });
    const seen = [];
    const stop = store.subscribe((state, patch) => seen.push([state, patch]));
    store.set({ b: 3 });
    stop();
    store.set({ a: 9 });
    assert.deepEqual(seen, [[{ a: 1, b: 3 }, { b: 3 }]]);
    assert.deepEqual(store.get(), { a: 9, b: 3 });
  });
  test('hands out frozen states', () => {
    const store = createStore({ list: [] });
    assert.throws(() => {
      'use strict';
      store.get().list = [1];
    }, TypeError);
  });
});

describe('world', () => {
  const world = {
    monitors: [
      { serial: 'M1', product: 'P', hidHandle: 1 },
      { serial: 'M2', product: 'P' },
      { serial: 'M3', product: 'Q', hidHandle: 3 },
    ],
    sensors: [
      {
        deviceID: 4144,
        individualID: '00000000AB',
        connection: 'builtIn',
        monitor: 'M1',
        name: 'built in',
      },
      { deviceID: 33, individualID: '00c3', connection: 'usb', monitor: 'M3', name: 'usb' },
      { deviceID: 82, individualID: '0052', connection: 'serial', name: 'nowhere' },
    ],
  };
  const cases = [
    ['by device id', { deviceID: 33 }, 'usb', 'M3'],
    ['by individual id in any case', { individualID: '00000000ab' }, 'built in', 'M1'],
    ['by monitor', { monitor: { serial: 'M1', product: 'P' } }, 'built in', 'M1'],
    ['a sensor that looks at no monitor', { deviceID: 82 }, 'nowhere', null],
    ['an unknown sensor', { deviceID: 7 }, null, null],
    ['nothing known', {}, null, null],
  ];
  for (const [name, meta, sensor, monitor] of cases) {
    test(name, () => {
      assert.equal(worldSensor(world, meta)?.name ?? null, sensor);
      assert.equal(monitorOf(world, meta)?.serial ?? null, monitor);
    });
  }
  test('monitors with a HID handle come first, in world order', () => {
    assert.deepEqual(
      monitorsForOpening(world).map((m) => m.serial),
      ['M1', 'M3', 'M2'],
    );
    assert.deepEqual(monitorsForOpening(null), []);
  });
});

describe('text forms', () => {
  test('numbers, and a dash for what is not one', () => {
    assert.equal(formatNumber(0.31274, 4), '0.3127');
    for (const bad of [NaN, undefined, null, '1']) assert.equal(formatNumber(bad), '\u2014');
  });
  test('the first block of a sensor id', () =>
    assert.equal(shortId('9973d81d-03cb-4cee'), '9973d81d'));
  const errors = [
    [
      'a library error with its code and step',
      {
        status: 500,
        name: 'EmError',
        message: 'Failed.',
        detail: { code: 2147483648, reason: 'Measure XYZ.' },
      },
      '500 EmError: Failed. (code 0x80000000, Measure XYZ.)',
    ],
    [
      'a refused method',
      { status: 405, name: 'MethodError', message: 'GET method is not allowed.', detail: {} },
      '405 MethodError: GET method is not allowed.',
    ],
    [
      'an unreachable host',
      { status: 0, name: 'NetworkError', message: 'The development host cannot be reached.' },
      'NetworkError: The development host cannot be reached.',
    ],
  ];
  for (const [name, error, want] of errors)
    test(name, () => assert.equal(describeError(error), want));
});
