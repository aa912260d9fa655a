// The web console in headless Chromium against quilby-host on the built-in simulated world, as a
// host-page developer and a colour engineer use it, with an axe-core audit of every state.
// QUILBY_HOST: the quilby-host program (default build/quilby-host); QUILBY_SCREENSHOTS: where the
// screenshots go (default build/browser). A failing step lists the requests that failed in it.

import assert from 'node:assert/strict';
import { readFile } from 'node:fs/promises';
import { after, before, describe, test } from 'node:test';

import { hintFor, LIBRARY_STATUSES } from '../../host/web/js/hints.js';
import * as harness from './harness.mjs';

const { audit, shot } = harness;

let host;
let browser;
let page;
let reached;

const call = (method, route, body) => harness.hostCall(host.base, method, route, body);
const world = () => call('GET', '/sim/world');
const studioSensor = async () => (await world()).sensors.find((s) => s.deviceID === 4144);
const near = (value, want, tolerance) => Math.abs(value - want) <= tolerance;
const byTestId = (id) => page.locator(`[data-testid='${id}']`).first();
const numberOf = async (id) =>
  Number((await byTestId(id).textContent()).replace(/[^\d.eE+-]/g, ''));
const outcome = (card) => page.locator(`[data-outcome$="/${card}"], [data-outcome="${card}"]`);
// The note of `kind` (ok, info or error) in a card's outcome, and the hint beside an error.
const note = (card, kind, hasText) => outcome(card).locator(`.note-${kind}`, { hasText });
const hint = (card, hasText) => outcome(card).locator('[data-testid=hint]', { hasText });

// Presses a button (a selector or a locator) and waits for its card's note.
async function press(button, card, kind = 'ok', hasText) {
  await (typeof button === 'string' ? page.locator(button) : button).click();
  await note(card, kind, hasText).waitFor();
}

// The log entries of the requests that failed, for an assertion message.
const failedRequests = () =>
  page.$$eval('.log-entry.log-failed', (nodes) =>
    nodes.map(({ dataset: d }) => `  ${d.status} ${d.entryPoint || '-'} ${d.path}`).join('\n'),
  );

// One step; a failure names what it needs and the requests that failed during it.
function step(name, needs, body) {
  test(`${name} [${needs}]`, async () => {
    await page.click('#log-clear');
    await body().catch(async (error) => {
      const failed = await failedRequests().catch(() => '');
      error.message += `\nThis step needs ${needs}.`;
      if (failed) error.message += `\nRequests that failed during the step:\n${failed}`;
      throw error;
    });
  });
}

// A fresh world and a fresh page: no sensor open, nothing armed.
async function freshStart() {
  await call('POST', '/sim/reset');
  await page.goto(host.base);
  await page.getByText('plug-in loaded').waitFor();
  await page.locator("[data-monitor='QM7A0451']").waitFor();
}

// Opens a sensor with the button `selector` and shows its Sensor tab.
async function openWith(selector, name) {
  await page.click(selector);
  await page.locator('#sensor-name', { hasText: name }).waitFor();
  await page.click('#tab-sensor');
  await page.locator('#identity-facts').waitFor();
}

const openStudioSensor = () => openWith("[data-monitor='QM7A0451']", 'QM arm sensor');

// A fresh world with the studio sensor open, its arm out, on the Measure tab.
async function measuringWithStudioSensor() {
  await freshStart();
  await openStudioSensor();
  await press('#arm-out', 'arm');
  await tab('measure');
}

const waitIdle = () =>
  page.waitForFunction(() => !document.querySelector('#busy-banner:not([hidden]), .log-pending'));

const tab = async (key) => {
  await page.click(`#tab-${key}`);
  await page.locator(`[role=tabpanel][data-tab='${key}']`).waitFor();
};

async function measureXYZ() {
  const before = await page.locator('#readings-table tbody tr').count();
  await page.click('#measure-xyz');
  const added = `#readings-table tbody tr:nth-child(${before + 1})`;
  await page.locator(`${added}, [data-outcome$="/measure-xyz"] .note-error`).first().waitFor();
  await waitIdle();
}

before(async () => {
  host = await harness.startHost();
  browser = await harness.launch();
  page = browser.page;
  reached = harness.entryPointsOf(page);
  await page.goto(host.base);
});

after(async () => {
  await browser?.close();
  await host?.stop();
});

describe('a new user opens the studio monitor\u2019s sensor and measures', () => {
  step('starts on the monitors of the simulated world', 'GET /host/info, /sim/world', async () => {
    await freshStart();
    assert.equal(await page.locator('h1').count(), 1);
    await audit(page, 'start');
    await shot(page, 'console-start.png');
  });

  step('opens a built-in sensor, shows what it can do', 'Monitors POST, Sensor GET', async () => {
    await openStudioSensor();
    await page.locator('#capability-chips .chip-yes', { hasText: 'arm' }).waitFor();
    await audit(page, 'opened sensor');
  });

  step('says to take the arm out when it is in, and does it', 'SensorXYZ, SensorArm', async () => {
    await tab('measure');
    await press('#measure-xyz', 'measure-xyz', 'error', 'Sensor position error.');
    await hint('measure-xyz', 'Take the arm out').waitFor();
    await shot(page, 'console-hint-arm.png');
    const takeOut = outcome('measure-xyz').getByRole('button', { name: 'Take the arm out' });
    await press(takeOut, 'measure-xyz', 'ok', 'The arm is out. Try again.');
    assert.equal((await studioSensor()).state.armOut, true);
  });

  step('measures from the keyboard: the reading, its unit, the diagram', 'SensorXYZ', async () => {
    await page.focus('#measure-xyz');
    await page.keyboard.press('Enter');
    await page.locator('#readings-table tbody tr').first().waitFor();
    await waitIdle();
    // The keyboard stays on a button while its request runs.
    assert.equal(await page.evaluate(() => document.activeElement?.id), 'measure-xyz');
    const Y = await byTestId('reading-xyz-Y').textContent();
    assert.match(Y, /^1[56]\d\.\d$/, `luminance ${Y}`);
    assert.equal(await page.textContent('.values-main .value-unit'), 'cd/m\u00b2');
    const x = await numberOf('derived-xy-0');
    const y = await numberOf('derived-xy-1');
    assert.ok(near(x, 0.3127, 0.01) && near(y, 0.329, 0.01), `white read as x ${x}, y ${y}`);
    // The whole xy diagram is 600 px per unit from (52, 12).
    const point = byTestId('point-xyz');
    assert.ok(near(Number(await point.getAttribute('cx')), 52 + x * 600, 1));
    assert.ok(near(Number(await point.getAttribute('cy')), 12 + (0.9 - y) * 600, 1));
    await audit(page, 'measure tab');
  });

  step('follows the colour shown: blue is in the gamut', 'SensorXYZ, PUT shownColor', async () => {
    await page.click('#measure-show-0000ff');
    await page.locator(".shown .swatch-current[data-rgb='0,0,1']").waitFor();
    await measureXYZ();
    const x = Number(await byTestId('point-xyz').getAttribute('data-x'));
    assert.ok(near(x, 0.15, 0.01), `blue read at x ${x}`);
    assert.match(await page.textContent('#gamut-note'), /lies (inside|on the edge of) the gamut/);
    await shot(page, 'console-measure-blue.png');
  });

  step(
    'takes every kind of reading, counts as whole numbers',
    'SensorRawData, SensorRGB, SensorIR, SensorXYZWithoutCorrelation GET',
    async () => {
      await page.click('#measure-all');
      for (const kind of ['raw', 'rgb', 'ir', 'uncorrelated'])
        await byTestId(`reading-${kind}`).waitFor();
      await waitIdle();
      for (const id of ['raw-d0', 'raw-d1', 'uncorrelated-X', 'uncorrelated-Y'])
        assert.match(await byTestId(`reading-${id}`).textContent(), /^-?\d+$/, id);
    },
  );

  step('has a complete legend, wavelengths clear of the axes', 'the console alone', async () => {
    // Every kind of mark is listed, also those the diagram does not show at the moment.
    assert.equal(await page.locator('#plot-legend li').count(), 7);
    const overlaps = await page.evaluate(() => {
      const all = (selector) => [...document.querySelectorAll(selector)];
      const hit = (m, n) => {
        const [a, b] = [m.getBoundingClientRect(), n.getBoundingClientRect()];
        return a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom;
      };
      return all('.locus-labels text').flatMap((m) =>
        all('.axis-label').filter((n) => hit(m, n)).map((n) => `${m.textContent}/${n.textContent}`),
      );
    });
    assert.deepEqual(overlaps, []);
  });

  step('zooms and pans the diagram, and shows u\u2032v\u2032', 'the console alone', async () => {
    const chart = "[data-testid='chromaticity']";
    const view = async () => (await page.getAttribute(chart, 'data-view')).split(',').map(Number);
    const span = (v) => v[1] - v[0];
    const narrowerThan = (most) =>
      page.waitForFunction((s) => {
        const v = document.querySelector("[data-testid='chromaticity']").dataset.view.split(',');
        return v[1] - v[0] < s;
      }, most);
    const whole = span(await view());
    await page.click('#plot-zoom-in');
    await narrowerThan(whole);
    const box = await page.locator('#plot-frame').boundingBox();
    await page.mouse.move(box.x + box.width / 2, box.y + box.height / 2);
    await page.mouse.wheel(0, -200);
    await narrowerThan(whole / 2 - 1e-6);
    await page.click('#plot-fit');
    await narrowerThan(0.3);
    const fitted = await view();
    // Every marker of the latest readings is on show.
    for (const kind of ['xyz', 'raw', 'uncorrelated']) {
      const x = Number(await byTestId(`point-${kind}`).getAttribute('data-x'));
      assert.ok(x > fitted[0] && x < fitted[1], `${kind} at ${x} outside ${fitted}`);
    }
    await shot(page, 'console-plot-zoomed.png');
    await page.focus('#plot-frame');
    await page.keyboard.press('0');
    await page.locator(`${chart}[data-view^='0.00000,0.80000']`).waitFor();
    await page.click('#plot-uv');
    await page.locator(`${chart}[data-projection=uv]`).waitFor();
    assert.deepEqual(await view(), [0, 0.65, 0, 0.6]);
    await shot(page, 'console-plot-uv.png');
    await page.click('#plot-xy');
  });

  step('measures live, never with two requests in flight', 'SensorXYZ GET', async () => {
    const counter = harness.inFlight(page, /\/XYZ$/);
    // A slow instrument: each answer takes longer than the pause between readings.
    await page.route('**/Sensors/*/XYZ', (route) => setTimeout(() => route.continue(), 120));
    try {
      await page.selectOption('#live-delay', '0');
      await page.click('#live-toggle');
      const status = page.locator('#live-status', { hasText: /Live: ([6-9]|\d\d+) readings/ });
      await status.waitFor({ timeout: 20000 });
      await page.locator('#live-status .pulse').waitFor();
      await shot(page, 'console-live.png');
      await page.click('#live-toggle');
      await page.locator('#live-status', { hasText: 'Live stopped' }).waitFor();
      // The series has ended with its last answer: nothing more waits in the sensor's line.
      const sentByTheEnd = counter.total;
      await page.locator('#opened-list .busy-label').waitFor({ state: 'detached' });
      assert.equal(counter.total - sentByTheEnd, 0, 'readings after the series ended');
    } finally {
      await page.unroute('**/Sensors/*/XYZ');
    }
    assert.ok(counter.total >= 6, `${counter.total} live readings`);
    assert.equal(counter.most, 1, 'requests in flight at once');
    // The series' statistics cover the live readings.
    assert.ok((await page.locator('#series-stats tbody tr').count()) >= 3);
    const sd = await page.textContent('#series-stats tr[data-quantity=Y] td[data-stat=sd]');
    assert.match(sd, /cd\/m²$/);
  });
});

describe('every resource from its own place', () => {
  step('presence detection and its level', 'SensorAmbraSense, SensorAmbraSenseLevel', async () => {
    await tab('presence');
    await audit(page, 'presence detection tab');
    await press('#presence-on', 'presence');
    await press('#presence-read', 'presence', 'info', 'on');
    await page.fill('#presence-level', '2');
    await press('#presence-set-level', 'presence-level');
    await press('#presence-read-level', 'presence-level', 'info', 'level 2');
  });

  step(
    'corrections and matrices: list, apply, release',
    'SensorCorrelation, SensorCorrelation9Points, SensorCorrelationMatrix',
    async () => {
      await tab('correlation');
      await page.click('#list-corrections');
      const correction = page.locator('#corrections-table tbody tr').first();
      await press(correction.getByRole('button', { name: 'Apply' }), 'corrections-apply');
      await press('#clear-nine-points', 'corrections-apply', 'ok', 'nine-point');
      await page.click('#list-matrices');
      const row = page.locator('#matrices-table tbody tr').first();
      const id = Number(await row.getAttribute('data-entry-id'));
      await press(row.getByRole('button', { name: 'Apply' }), 'matrices-apply');
      assert.equal((await studioSensor()).state.appliedMatrix, id);
      await audit(page, 'correlation tab');
    },
  );

  step('writes the 8x3 matrix after asking', 'SensorCorrelationMatrixData GET, PUT', async () => {
    await press('#read-matrix', 'matrix-data', 'info', 'an 8x3 matrix');
    await page.fill('#sensor-matrix-0-0', '0.95');
    await page.click('#write-matrix');
    await page.locator('dialog[open]').waitFor();
    await audit(page, 'confirmation dialog');
    await shot(page, 'console-confirm.png');
    await press('#dialog-confirm', 'matrix-data');
    await press('#read-matrix', 'matrix-data', 'info');
    await waitIdle();
    assert.equal(Number(await page.inputValue('#sensor-matrix-0-0')), 0.95);
  });

  step('the criterion description', 'SensorCorrelationDescription', async () => {
    await press('#read-description', 'description', 'info', 'QS20-240117');
    await press('#write-description', 'description');
  });

  step(
    'the records and both databases',
    'SensorCorrelationData, SensorCorrelationDatabase, SensorCorrelationMatrixDatabase',
    async () => {
      await tab('databases');
      await press('#read-records', 'records', 'info');
      assert.match(await page.inputValue('#records-json'), /"calibrationData"/);
      await press('#list-correlation-db', 'correlation-db', 'info');
      await page.fill('#db-reference-serial', 'QS20-240117');
      await press('#add-correlation-entry', 'correlation-db-entry');
      const stored = /entry (\d+)/.exec(await outcome('correlation-db-entry').textContent())[1];
      await page.fill('#db-entry-id', stored);
      await press('#read-correlation-entry', 'correlation-db-entry', 'info', 'matches');
      await press('#list-matrix-db', 'matrix-db', 'info');
      await press('#add-matrix-entry', 'matrix-db-add');
      await audit(page, 'records and databases tab');
    },
  );

  step('the user and extra corrections', 'SensorCorrection, SensorExCorrection', async () => {
    await tab('corrections');
    await press('#set-correction', 'correction');
    await page.click('#clear-correction');
    await press('#dialog-confirm', 'correction', 'ok', 'cleared');
    await press('#read-ex-correction', 'ex-correction', 'info');
    await page.fill('#extra-correction-1-1', '1.02');
    await press('#set-ex-correction', 'ex-correction');
    assert.equal((await studioSensor()).state.exCorrection[1][1], 1.02);
    await audit(page, 'corrections tab');
  });

  step(
    'device settings: description, options, temperature and brightness',
    'SensorParameterDescription, SensorDeviceOption, SensorIFSTempCorrectParam, SensorIFSBrightCorrectParamUpdate',
    async () => {
      await tab('device');
      await page.fill('#parameter-description', 'fictional preset 7');
      await press('#write-parameter-description', 'parameter-description');
      await page.fill('#parameter-description', '');
      await press('#read-parameter-description', 'parameter-description', 'info');
      assert.equal(await page.inputValue('#parameter-description'), 'fictional preset 7');
      await page.click('#read-device-option');
      await outcome('device-option').locator('.note-info, .note-error').first().waitFor();
      await press('#ifs-temperature', 'ifs');
      await press('#ifs-bright-on', 'ifs', 'ok', 'on');
      await press('#ifs-bright-read', 'ifs', 'info', 'is on');
      await audit(page, 'device settings tab');
    },
  );

  step('the sensor tab', 'SensorArm, SensorMode, SensorCalibration, SensorPosition', async () => {
    await tab('sensor');
    await press('#arm-in', 'arm', 'ok', 'in');
    await press('#needs-calibration-ask', 'calibration', 'info');
    await press('#set-mode', 'mode');
    await press('#read-position', 'position', 'info');
    await press('#test-connection', 'connection');
  });

  step('a long action holds the other actions on its sensor', 'SensorCalibration PUT', async () => {
    let release;
    const held = new Promise((resolve) => (release = resolve));
    await page.route('**/Sensors/*/Calibration', (route) => held.then(() => route.continue()));
    const counter = harness.inFlight(page, /\/XYZ$/);
    try {
      await page.click('#calibrate');
      await page.locator('#busy-banner', { hasText: 'Calibrating' }).waitFor();
      await page.locator('#opened-list .busy-label', { hasText: 'Calibrating' }).waitFor();
      await tab('measure');
      assert.equal(await page.getAttribute('#measure-xyz', 'aria-disabled'), 'true');
      // Pressed anyway (Playwright waits for a button that refuses presses unless forced).
      await page.click('#measure-xyz', { force: true });
      assert.equal(counter.total, 0, 'a measurement was sent during the calibration');
    } finally {
      release();
      // The held request ends before its route goes.
      await page.locator('#busy-banner').waitFor({ state: 'hidden' });
      await page.unroute('**/Sensors/*/Calibration');
    }
    assert.equal(await page.getAttribute('#measure-xyz', 'aria-disabled'), null);
  });

  step('a spectrophotometer', 'DeviceID, SensorExteriorLight, SensorTargetMarker', async () => {
    await openWith('#open-device-48', 'QS-20');
    await press('#exteriorLight-on', 'exteriorLight');
    await press('#targetMarker-read', 'targetMarker', 'info');
    assert.equal(await page.locator('#card-arm').count(), 0, 'an arm card without an arm');
    await audit(page, 'sensor tab, spectrophotometer');
    await shot(page, 'console-sensor-tab.png');
  });

  step(
    'library settings, serial sensors, opening by individual id, closing',
    'Sensors PUT, XRiteControlPanel, IndividualID, SensorsName, Sensor DELETE',
    async () => {
      await page.click('#library-settings summary');
      await press('#open-control-panel', 'library');
      await page.click('#set-mappings');
      await page.locator('#serial-list', { hasText: 'QS-30' }).waitFor();
      await openWith('#open-individual-33', 'QS-10');
      const id = (await page.textContent('#sensor-id')).trim();
      await page.click(`[id='close-${id}']`);
      await page.locator(`[data-sensor-id='${id}']`).waitFor({ state: 'detached' });
    },
  );

  step('all 34 entry points were reached, each from its place', 'GET /host/routes', async () => {
    const all = new Set((await call('GET', '/host/routes')).map((r) => r.entryPoint));
    assert.equal(all.size, 34);
    assert.deepEqual([...all].filter((e) => !reached.has(e)), [], 'entry points not reached');
  });
});

describe('what an outside colorimeter cannot do', () => {
  step('disables what needs a built-in sensor, says why', 'DeviceID POST, Sensor GET', async () => {
    await freshStart();
    await openWith('#open-device-33', 'QS-10');
    await page.locator('#capability-chips .chip-no', { hasText: 'built into a monitor' }).waitFor();
    await tab('measure');
    for (const id of ['measure-rgb', 'measure-ir', 'measure-uncorrelated']) {
      assert.equal(await page.isDisabled(`#${id}`), true, id);
      assert.equal(await page.getAttribute(`#${id}`, 'aria-describedby'), 'why-builtIn');
    }
    await page.locator('#why-builtIn', { hasText: 'built into a monitor' }).waitFor();
    assert.equal(await page.isDisabled('#measure-xyz'), false);
    await shot(page, 'console-colorimeter.png');
    await tab('presence');
    assert.equal(await page.isDisabled('#presence-on'), true);
    await page.locator('#why-builtIn').waitFor();
    await tab('correlation');
    assert.equal(await page.isDisabled('#list-matrices'), true);
    assert.equal(await page.isDisabled('#clear-nine-points'), true);
    await tab('sensor');
    const modes = await page.$$eval('#mode-select option', (list) => list.map((o) => o.disabled));
    assert.deepEqual(modes, [false, false, true], 'reflectance alone is refused');
    assert.equal(await failedRequests(), '', 'no request failed');
    // Opened again, it is said to be open instead of adding a row.
    await page.click('#open-device-33');
    await page.locator('[data-outcome=open]', { hasText: 'already open' }).waitFor();
    assert.equal(await page.locator('#opened-list li').count(), 1);
  });
});

describe('a hint beside the envelope for every status a user can cause', () => {
  step('injected failures of a measurement', 'POST /sim/failures, SensorXYZ GET', async () => {
    await measuringWithStudioSensor();
    const context = { hasArm: true, needsCalibration: false, builtIn: true };
    for (const status of LIBRARY_STATUSES.filter((s) => s.user)) {
      const failure = { function: 'MDMeasureXYZ2', count: 1, status: status.code };
      await call('POST', '/sim/failures', failure);
      await press('#measure-xyz', 'measure-xyz', 'error', status.message);
      const detail = { code: status.code, reason: 'Measure XYZ.' };
      const want = hintFor({ name: 'EmError', status: 500, detail }, context).text;
      const shownHint = await hint('measure-xyz').locator('p').textContent();
      assert.equal(shownHint.replace(/^What to do: /, ''), want, status.message);
      // The envelope beside it is the plug-in's, unchanged.
      const envelope = await outcome('measure-xyz').locator('.envelope pre').textContent();
      const error = { ...detail, message: status.message, name: 'EmError' };
      assert.deepEqual(JSON.parse(envelope), { error, value: null });
      await waitIdle();
    }
  });

  // Calibration first, another program holding the monitor, zero calibration with the arm out.
  step('preconditions and their remedies', 'SensorXYZ, SensorRGB, SensorCalibration', async () => {
    await openWith('#open-device-48', 'QS-20');
    await tab('measure');
    await page.click('#measure-xyz');
    const calibrate = hint('measure-xyz', 'needs calibrating').getByRole('button');
    await press(calibrate, 'measure-xyz', 'ok', 'Calibrated. Try again.');
    await measureXYZ();
    assert.equal(await outcome('measure-xyz').locator('.note-error').count(), 0);
    // Back to the arm sensor, whose monitor another program now holds.
    const armSensor = page.locator('#opened-list li', { hasText: 'QM arm sensor' });
    await armSensor.locator('.row-button').click();
    await page.locator('#sensor-name', { hasText: 'QM arm sensor' }).waitFor();
    await call('PUT', '/sim/monitors/QM7A0451/QM-27-Studio-Lab/held', true);
    await press('#measure-rgb', 'measure-rgb', 'error', 'Rejected by critical section.');
    const letGo = outcome('measure-rgb').getByRole('button', { name: /other program go/ });
    await press(letGo, 'measure-rgb', 'ok', 'let go');
    assert.equal((await world()).monitors[0].criticalSection, null, 'the studio monitor');
    await tab('sensor');
    await page.click('#calibrate');
    await hint('calibration', 'Put the arm back in').waitFor();
    await audit(page, 'errors with hints');
  });

  step('refusals of the plug-in through Any request', 'SensorArm PUT, Sensor GET', async () => {
    await tab('request');
    await audit(page, 'any request tab');
    const answer = (status) => page.locator(`#request-answer[data-status="${status}"]`);
    await page.selectOption('#req-entry', 'SensorArm');
    await page.selectOption('#req-method', 'PUT');
    await page.fill('#req-body', '1');
    await page.click('#req-send');
    await answer(400).locator('[data-testid=hint]', { hasText: 'true or false' }).waitFor();
    assert.equal(await page.textContent('#request-entry-point'), 'SensorArm');
    assert.equal(
      await page.textContent('#request-envelope'),
      '{"error":{"message":"data must be boolean.","name":"BadRequestError"},"value":null}',
    );
    await page.selectOption('#req-entry', 'Sensor');
    await page.fill('#req-param-id', '00000000-0000-0000-0000-000000000000');
    await page.fill('#req-body', '');
    await page.click('#req-send');
    await answer(404).locator('[data-testid=hint]', { hasText: 'Open the sensor again' }).waitFor();
    await page.check('#req-bridge');
    await page.selectOption('#req-entry', 'SensorsName');
    await page.click('#req-send');
    await answer(200).waitFor();
    assert.match(await page.textContent('#request-envelope'), /"value":\[/);
    await shot(page, 'console-any-request.png');
  });
});

describe('the simulator panel', () => {
  step('offers only failures, counts down the armed', 'POST /sim/failures, SensorXYZ', async () => {
    await measuringWithStudioSensor();
    const offered = await page.$$eval('#sim-status option', (list) => list.map((o) => o.value));
    assert.ok(offered.includes('EMERR_MEASURE_ERROR'));
    for (const none of ['OK', 'RUNNING', 'EXISTS_MORE_DATA', 'UNCONFIRMED', 'UNKNOWN'])
      assert.ok(!offered.includes(`EMERR_${none}`), none);
    await page.fill('#sim-function', 'MDMeasureXYZ2');
    await page.selectOption('#sim-status', 'EMERR_MEASURE_ERROR');
    await page.fill('#sim-count', '2');
    await page.click('#sim-inject');
    await page.locator('#sim-armed li', { hasText: '\u00d72' }).waitFor();
    await press('#measure-xyz', 'measure-xyz', 'error', 'Measure error.');
    await page.locator('#sim-armed li', { hasText: '\u00d71' }).waitFor();
  });

  step('asks before resetting the world; the keyboard comes back', 'POST /sim/reset', async () => {
    await page.focus('#sim-reset');
    await page.keyboard.press('Enter');
    await page.locator('dialog[open]', { hasText: 'Reset the simulated world?' }).waitFor();
    await page.keyboard.press('Escape');
    await page.waitForFunction(() => document.activeElement?.id === 'sim-reset');
    assert.equal((await call('GET', '/Sensors')).length, 1, 'cancelling keeps the world');
    await page.click('#sim-world-json');
    await page.locator('dialog[open] pre').waitFor();
    await audit(page, 'world dialog');
    await page.click('#dialog-close');
    await page.click('#sim-reset');
    await press('#dialog-confirm', 'sim-world');
    await page.locator('#opened-list').waitFor({ state: 'detached' });
    assert.equal((await call('GET', '/Sensors')).length, 0);
  });

  step('the log: whole paths, entry points, requests running', 'SensorPosition GET', async () => {
    await openStudioSensor();
    let release;
    const held = new Promise((resolve) => (release = resolve));
    await page.route('**/Sensors/*/Position', (route) => held.then(() => route.continue()));
    try {
      await page.click('#read-position');
      const running = page.locator('.log-entry.log-pending', { hasText: 'running' });
      const where = await running.locator('.log-path').textContent();
      assert.match(where, /^\/Sensors\/[0-9a-f-]{36}\/Position$/);
      release();
      await page.locator('.log-entry[data-entry-point=SensorPosition]').waitFor();
    } finally {
      release();
      await page.unroute('**/Sensors/*/Position');
    }
    const live = await page.locator('#log-list[aria-live], #log-list[role=log]').count();
    assert.equal(live, 0, 'the log is a live region');
    await page.locator('.log-entry').first().locator('summary').click();
    await audit(page, 'expanded log');
  });
});

describe('derived values and export', () => {
  // Readings whose colour is known: the D65 white and, as XYZ against that white, the first pair
  // of the published CIEDE2000 test data, L*a*b* (50, 2.6772, -79.7751) and (50, 0, -82.7485).
  const WHITE = [95.047, 100, 108.883];
  const PAIR = [[18.005287, 18.418652, 98.7125], [17.506376, 18.418652, 103.3317]];
  const READINGS = [WHITE, ...PAIR];
  let next = 0;

  // x,y, u'v', CCT, Duv, L*a*b* and Delta E 2000.
  step('the derived values of known readings', 'SensorXYZ GET, POST /colour/derive', async () => {
    await measuringWithStudioSensor();
    await page.route('**/Sensors/*/XYZ', (route) => {
      const [X, Y, Z] = READINGS[next++ % READINGS.length];
      const headers = { 'X-Quilby-Entry-Point': 'SensorXYZ' };
      const value = { XYZ: { X, Y, Z }, rawXYZ: { X, Y, Z } };
      route.fulfill({ headers, json: { error: null, value } });
    });
    try {
      await measureXYZ();
      await byTestId('derived-cct').waitFor();
      assert.equal(await numberOf('derived-xy-0'), 0.3127);
      assert.equal(await numberOf('derived-uv-0'), 0.1978);
      assert.ok(near(await numberOf('derived-cct'), 6504, 2));
      assert.ok(near(await numberOf('derived-duv'), 0.0032, 0.0002));
      // The first reading becomes the white of L*a*b*.
      await page.selectOption('#white-select', '1');
      await page.locator("[data-testid='derived-lab-0']", { hasText: '100.00' }).waitFor();
      await measureXYZ();
      const second = page.locator('#readings-table tr[data-seq="2"]');
      await second.getByRole('button', { name: 'Use as reference' }).click();
      await page.locator('#reference-line', { hasText: 'reading #2' }).waitFor();
      await measureXYZ();
      await page.locator("[data-testid='derived-de']", { hasText: /\d/ }).waitFor();
      assert.equal(await byTestId('derived-de').textContent(), '2.04');
      assert.equal(await byTestId('derived-lab-0').textContent(), '50.00');
      await shot(page, 'console-derived.png');
    } finally {
      await page.unroute('**/Sensors/*/XYZ');
    }
  });

  async function download(button) {
    const [file] = await Promise.all([page.waitForEvent('download'), page.click(button)]);
    return readFile(await file.path(), 'utf8');
  }

  step('exports the readings as CSV and CGATS that read back', 'POST /colour/export', async () => {
    // No field of these readings needs quoting (the host's export tests quote).
    const lines = (await download('#export-csv')).trim().split(/\r?\n/);
    const [header, ...rows] = lines.map((line) => line.split(','));
    assert.equal(rows.length, 3);
    const first = Object.fromEntries(header.map((column, i) => [column, rows[0][i]]));
    assert.ok(near(Number(first.Y), 100, 1e-6));
    assert.match(first.sensor, /^QM arm sensor \([0-9a-f]{8}\)$/);
    assert.equal(first.mode, 'Display');
    // The fields are the exporter's (the host's tests); the rows are the console's readings.
    const cgats = harness.parseCgats(await download('#export-cgats'));
    assert.equal(cgats.length, 3);
    assert.ok(near(Number(cgats[1].XYZ_X), READINGS[1][0], 1e-3));
    assert.ok(near(Number(cgats[0].LAB_L), 100, 1e-3));
  });
});

describe('every state in the dark scheme and on a small screen', () => {
  const states = [
    ['light', 1024, 768],
    ['dark', 1024, 768],
    ['dark', 1400, 1000],
  ];
  for (const [scheme, width, height] of states) {
    const state = `${scheme}-${width}x${height}`;
    test(`${scheme} scheme at ${width}x${height}`, async () => {
      await page.emulateMedia({ colorScheme: scheme });
      await page.setViewportSize({ width, height });
      await freshStart();
      await audit(page, `${state}, start`);
      await openStudioSensor();
      await audit(page, `${state}, opened sensor`);
      await shot(page, `console-${state}-sensor.png`);
      await press('#arm-out', 'arm');
      await tab('measure');
      await measureXYZ();
      await audit(page, `${state}, measure`);
      await shot(page, `console-${state}-measure.png`);
      assert.deepEqual(browser.pageErrors, [], 'script errors since the console first loaded');
    });
  }
});
