// The console's decisions that need no browser: which hint an error gets, what a sensor's
// capabilities enable, how actions on one sensor wait for each other, how the diagram zooms,
// the statistics of a series and how numbers are written.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { test } from 'node:test';

import { availability, builtInFrom, missingHardware } from '../../../host/web/js/capabilities.js';
import { formatDeviation, formatQuantity, formatSignificant } from '../../../host/web/js/format.js';
import { LIBRARY_STATUSES, hintFor } from '../../../host/web/js/hints.js';
import { createQueue, startLoop } from '../../../host/web/js/queue.js';
import { exportRows, seriesStats, whiteOfDisplay } from '../../../host/web/js/readings.js';
import { FULL_VIEWS, fitView, panView, ticks, zoomView } from '../../../host/web/js/viewport.js';

const apiDoc = readFileSync(new URL('../../../docs/api.md', import.meta.url), 'utf8');
const refusal = (status, name, message) => ({ status, name, message, detail: {} });
const libraryError = (code, reason = 'Measure XYZ.') => ({
  ...refusal(500, 'EmError', ''),
  detail: { code, reason },
});

test('every status of the EmError table has its message and a hint', () => {
  const rows = [...apiDoc.matchAll(/(0x8[0-9A-F]{7}) \| ([^|]+?) \|/g)];
  assert.equal(rows.length, 41);
  for (const [, code, message] of rows) {
    assert.equal(LIBRARY_STATUSES.find((e) => e.code === Number(code))?.message, message, code);
    assert.ok(hintFor(libraryError(Number(code)))?.text.length > 20, message);
  }
});

test('every 400 sentence of the plug-in has a hint', () => {
  const sentences = new Set();
  for (const [, list] of apiDoc.matchAll(/400 ("[^|;]*)/g)) {
    for (const [, sentence] of list.matchAll(/"([^"]+\.)"/g)) sentences.add(sentence);
  }
  assert.ok(sentences.size >= 28, String(sentences.size));
  for (const sentence of sentences) {
    // The list runs on into the 404 of an id that is not open; "<key>" stands for a record's name.
    const status = sentence === 'Not found.' ? 404 : 400;
    const message = sentence.replace('<key>', 'reference');
    assert.ok(hintFor(refusal(status, 'BadRequestError', message))?.text, message);
  }
});

// Hints for the arm, a needed calibration, a held monitor and an id not open are the console
// test's.
test('hints follow what is known of the sensor', () => {
  const cases = [
    [libraryError(0x80010004), {}, undefined, /set the mode again/i],
    [libraryError(0x80000000, 'Get HID handle.'), {}, undefined, /built into a monitor/i],
    [libraryError(0x80000000), {}, undefined, /test the connection/i],
    [libraryError(0x12345678), {}, undefined, /does not know/i],
    [refusal(405, 'MethodError', 'PUT method is not allowed.'), {}, undefined, /method/],
    [refusal(400, 'BadRequestError', 'reference must be object.'), {}, undefined, /"reference"/],
    [refusal(403, 'HostError', 'x'), {}, undefined, /own pages/],
  ];
  for (const [error, context, action, text] of cases) {
    const hint = hintFor(error, context);
    assert.match(hint.text, text, `${error.message} ${JSON.stringify(error.detail)}`);
    assert.equal(hint.action, action, hint.text);
  }
  assert.equal(hintFor(refusal(500, 'Whatever', 'x')), null);
});

test('capabilities hide missing hardware, disable what needs a built-in sensor, say why', () => {
  const colorimeter = {
    info: { hasArm: false, hasTargetMarker: false },
    supports: { modes: { ambient: true, reflectance: false }, exteriorLight: false },
    builtIn: false,
  };
  // sensor, feature, shown, enabled; nothing known yet: the plug-in answers, no arm card to vanish.
  // The colorimeter's RGB, nine points and modes, the arm sensor's arm: the console test's.
  const cases = [
    [colorimeter, 'arm', false, false],
    [colorimeter, 'ambient', true, true],
    [colorimeter, null, true, true],
    [{}, 'rgb', true, true],
    [{}, 'arm', false, true],
  ];
  for (const [sensor, feature, shown, enabled] of cases) {
    const got = availability(sensor, feature);
    assert.deepEqual([got.shown, got.enabled, Boolean(got.reason)], [shown, enabled, !enabled]);
  }
  assert.deepEqual(missingHardware(colorimeter).length, 3);
  assert.equal(builtInFrom({ monitor: { serial: 'A' } }, null), true);
  assert.equal(builtInFrom({ deviceID: 33 }, { connection: 'usb' }), false);
  assert.equal(builtInFrom({ deviceID: 33 }, null), null);
});

test('actions on one sensor run one after the other; other sensors do not wait', async () => {
  const events = [];
  const busy = [];
  const queue = createQueue((key, task) => busy.push([key, task]));
  const gates = {};
  const task = (name) => () =>
    new Promise((resolve) => {
      events.push(`start ${name}`);
      gates[name] = () => {
        events.push(`end ${name}`);
        resolve(name);
      };
    });
  const tick = () => new Promise((r) => setImmediate(r));
  const first = queue.run('a', 'one', task('a1'));
  const second = queue.run('a', 'two', task('a2')).catch(() => 'failed');
  const other = queue.run('b', 'three', task('b1'));
  await tick();
  assert.deepEqual(events, ['start a1', 'start b1']);
  assert.equal(queue.busy('a'), true);
  gates.a1();
  assert.equal(await first, 'a1');
  await tick();
  assert.deepEqual(events.slice(2), ['end a1', 'start a2']);
  gates.a2();
  gates.b1();
  await Promise.all([second, other]);
  await tick();
  assert.equal(queue.busy('a'), false);
  const lineA = busy.filter(([k]) => k === 'a').map(([, t]) => t);
  assert.deepEqual(lineA, ['one', 'two', null]);
  // A failing task does not block the line.
  await assert.rejects(queue.run('a', 'x', () => Promise.reject(new Error('no'))));
  assert.equal(await queue.run('a', 'y', async () => 'after'), 'after');
});

test('a live loop pauses between readings and ends on a failure', async () => {
  let steps = 0;
  const pauses = [];
  const wait = async (ms) => pauses.push(ms);
  const ended = await new Promise((onEnd) => {
    const loop = startLoop({
      step: async () => {
        await new Promise((r) => setImmediate(r));
        if (++steps === 5) loop.stop();
        return true;
      },
      delay: () => 250,
      wait,
      onEnd,
    });
  });
  assert.deepEqual([ended, steps, pauses], [null, 5, [250, 250, 250, 250]]);
  // A failing step ends the loop with its error.
  const step = () => Promise.reject(new Error('measure'));
  const failed = await new Promise((onEnd) => startLoop({ step, delay: () => 0, wait, onEnd }));
  assert.equal(failed.message, 'measure');
});

test('zoom keeps the point under the pointer, pan stays inside, fit shows every reading', () => {
  const full = FULL_VIEWS.xy;
  const zoomed = zoomView(full, 2, { x: 0.3127, y: 0.329 }, full);
  assert.ok(Math.abs(zoomed.xMax - zoomed.xMin - 0.4) < 1e-12);
  // The centre keeps its place relative to the frame.
  assert.ok(Math.abs((0.3127 - zoomed.xMin) / 0.4 - 0.3127 / 0.8) < 1e-12);
  assert.deepEqual(zoomView(full, 0.5, null, full), full);
  const moved = panView(zoomed, 10, 10, full);
  assert.ok(Math.abs(moved.xMax - full.xMax) < 1e-12 && Math.abs(moved.yMax - full.yMax) < 1e-12);
  // That the fitted view shows every marker is the console test's.
  const fit = fitView([{ x: 0.31, y: 0.33 }, { x: 0.315, y: 0.328 }], full);
  assert.ok(fit.xMax - fit.xMin < 0.05);
  assert.ok(Math.abs((fit.xMax - fit.xMin) / (fit.yMax - fit.yMin) - 0.8 / 0.9) < 1e-9);
  const tenths = [0, 0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.7, 0.8, 0.9];
  assert.deepEqual(ticks(0, 0.9), { values: tenths, decimals: 1 });
  assert.deepEqual(ticks(0.31, 0.32).decimals, 3);
});

test('series statistics: min, mean, max and the sample standard deviation', () => {
  const stats = seriesStats([2, 4, 4, 4, 5, 5, 7, 9, NaN, undefined]);
  assert.deepEqual(stats, { count: 8, min: 2, mean: 5, max: 9, sd: Math.sqrt(32 / 7) });
  assert.deepEqual(seriesStats([3]), { count: 1, min: 3, mean: 3, max: 3, sd: 0 });
  assert.equal(seriesStats([]), null);
});

test('exported rows carry time, sensor, mode and correction state; the white of a display', () => {
  const time = new Date('2026-11-24T12:00:00.000Z');
  const [XYZ, rawXYZ] = [{ X: 1, Y: 2, Z: -0.001 }, { X: 1.1, Y: 2, Z: 3 }];
  const reading = { time, sensor: 'S (1a)', mode: 1, corrected: true, XYZ, rawXYZ };
  const row = { time: '2026-11-24T12:00:00.000Z', sensor: 'S (1a)', mode: 'Ambient' };
  const corrected = { ...row, corrected: true, XYZ: [1, 2, 0] };
  assert.deepEqual(exportRows([reading]), [corrected]);
  const raw = { ...row, mode: 'Ambient (raw)', corrected: false, XYZ: [1.1, 2, 3] };
  assert.deepEqual(exportRows([reading], { includeRaw: true }), [corrected, raw]);
  const white = whiteOfDisplay({ white: { x: 0.3127, y: 0.329 }, luminance: 100 });
  assert.deepEqual(white.map((v) => Number(v.toFixed(3))), [95.046, 100, 108.906]);
  assert.equal(whiteOfDisplay({ white: { x: 0.3, y: 0.3 } }), null);
});

test('numbers show with sensible precision and their unit', () => {
  const cases = [
    [formatSignificant(36.4658), '36.47'],
    [formatSignificant(-0.00004), '0.0000'],
    [formatSignificant(1796.5), '1797'],
    [formatQuantity(1796.5, 'counts'), '1797\u00a0counts'],
    [formatQuantity(6504.4, 'cct'), '6504\u00a0K'],
    [formatQuantity(null, 'cct'), '\u2014'],
    [formatDeviation(0.0000234, 'chromaticity'), '0.000023'],
  ];
  for (const [got, want] of cases) assert.equal(got, want);
});
