// The web console in headless Chromium against quilby-host on the built-in simulated world, as a
// host-page developer and a colour engineer use it: opening sensors, measuring with units and
// derived values, the diagram, live series, export, every resource from its own place, hints
// for errors, what an outside colorimeter cannot do, the simulator panel, and an axe-core audit
// of every state.
//
// QUILBY_HOST: the quilby-host program (default build/quilby-host); QUILBY_SCREENSHOTS: where the
// screenshots go (default build/browser). When a step fails, the requests that failed during it
// are printed with their envelopes.

import assert from 'node:assert/strict';
import { readFile } from 'node:fs/promises';
import { createServer } from 'node:http';
import path from 'node:path';
import { after, before, describe, test } from 'node:test';

import { hintFor, LIBRARY_STATUSES } from '../../host/web/js/hints.js';
import {
  STEP_TIMEOUT,
  audit,
  entryPointsOf,
  hostCall,
  inFlight,
  launch,
  parseCgats,
  parseCsv,
  screenshots,
  shot,
  startHost,
} from './harness.mjs';

let host;
let browser;
let page;
let reached;

const call = (method, route, body) => hostCall(host.base, method, route, body);
const world = () => call('GET', '/sim/world');
const studioSensor = async () => (await world()).sensors.find((s) => s.deviceID === 4144);
const studioMonitor = async () => (await world()).monitors.find((m) => m.serial === 'QM7A0451');
const near = (value, want, tolerance) => Math.abs(value - want) <= tolerance;
const numberIn = async (selector) =>
  Number((await page.locator(selector).first().textContent()).replace(/[^\d.eE+-]/g, ''));
const outcome = (card) => page.locator(`[data-outcome$="/${card}"]`);

// The log entries of the requests that failed, for an assertion message.
const failedRequests = () =>
  page.$$eval('.log-entry.log-failed', (nodes) =>
    nodes
      .map((node) => {
        const { status, entryPoint, path: where } = node.dataset;
        return `  ${status} ${entryPoint || '-'} ${where}`;
      })
      .join('\n'),
  );

// One step; a failure names what it needs and the requests that failed during it.
function step(name, needs, body) {
  test(`${name} [${needs}]`, async () => {
    await page.click('#log-clear');
    try {
      await body();
    } catch (error) {
      const failed = await failedRequests().catch(() => '');
      error.message += `\nThis step needs ${needs}.`;
      if (failed) error.message += `\nRequests that failed during the step:\n${failed}`;
      throw error;
    }
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

async function waitIdle() {
  await page.waitForFunction(
    () =>
      document.getElementById('busy-banner')?.hidden !== false &&
      !document.querySelector('.log-pending'),
  );
}

const tab = async (key) => {
  await page.click(`#tab-${key}`);
  await page.locator(`[role=tabpanel][data-tab='${key}']`).waitFor();
};

async function measureXYZ() {
  const before = await page
    .locator('#readings-table tbody tr')
    .count()
    .catch(() => 0);
  await page.click('#measure-xyz');
  await page.waitForFunction(
    (n) =>
      document.querySelectorAll('#readings-table tbody tr').length > n ||
      document.querySelector('[data-outcome$="/measure-xyz"] .note-error'),
    before,
  );
  await waitIdle();
}

before(async () => {
  host = await startHost();
  browser = await launch();
  page = browser.page;
  reached = entryPointsOf(page);
  await page.goto(host.base);
  assert.deepEqual(browser.pageErrors, [], 'the console loads without script errors');
});

after(async () => {
  await browser?.close();
  await host?.stop();
});

describe('a new user opens the studio monitor\u2019s sensor and measures', () => {
  step(
    'starts on the monitors of the simulated world',
    'GET /host/info, GET /sim/world',
    async () => {
      await freshStart();
      assert.equal(await page.locator('h1').count(), 1);
      await audit(page, 'start');
      await shot(page, 'console-start.png');
    },
  );

  step(
    'opens the sensor built into a monitor and shows what it can do',
    'Monitors POST, Sensor GET',
    async () => {
      await openStudioSensor();
      assert.match(
        (await page.textContent('#sensor-id')).trim(),
        /^[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}$/,
      );
      await page.locator('#capability-chips .chip-yes', { hasText: 'arm' }).waitFor();
      await page.locator('#card-arm').waitFor();
      await audit(page, 'opened sensor');
    },
  );

  step(
    'says to take the arm out when it is in, and does it',
    'SensorXYZ GET, SensorArm PUT',
    async () => {
      await tab('measure');
      await page.click('#measure-xyz');
      const failed = outcome('measure-xyz');
      await failed.locator('.note-error', { hasText: 'Sensor position error.' }).waitFor();
      await failed.locator('[data-testid=hint]', { hasText: 'Take the arm out' }).waitFor();
      await shot(page, 'console-hint-arm.png');
      await failed.getByRole('button', { name: 'Take the arm out' }).click();
      await failed.locator('.note-ok', { hasText: 'The arm is out. Try again.' }).waitFor();
      assert.equal((await studioSensor()).state.armOut, true);
    },
  );

  step('keeps the keyboard on a button while its request runs', 'SensorXYZ GET', async () => {
    await page.focus('#measure-xyz');
    await page.keyboard.press('Enter');
    await page.locator('#readings-table tbody tr').first().waitFor();
    await waitIdle();
    assert.equal(await page.evaluate(() => document.activeElement?.id), 'measure-xyz');
  });

  step(
    'shows the reading with its unit, and where it lies on the diagram',
    'SensorXYZ GET',
    async () => {
      const Y = await page.textContent("[data-testid='reading-xyz-Y']");
      assert.match(Y, /^1[56]\d\.\d$/, `luminance ${Y}`);
      assert.equal(
        await page.locator('.values-main .value-unit').first().textContent(),
        'cd/m\u00b2',
      );
      const x = await numberIn("[data-testid='derived-xy-0']");
      const y = await numberIn("[data-testid='derived-xy-1']");
      assert.ok(near(x, 0.3127, 0.01) && near(y, 0.329, 0.01), `white read as x ${x}, y ${y}`);
      // The whole xy diagram is 600 px per unit from (52, 12).
      const point = page.locator("[data-testid='point-xyz']");
      assert.ok(near(Number(await point.getAttribute('cx')), 52 + x * 600, 1));
      assert.ok(near(Number(await point.getAttribute('cy')), 12 + (0.9 - y) * 600, 1));
      await audit(page, 'measure tab');
    },
  );

  step(
    'follows the colour shown; the monitor\u2019s blue primary is not outside its gamut',
    'SensorXYZ GET, PUT /sim/.../shownColor',
    async () => {
      await page.click('#measure-show-0000ff');
      await page.waitForFunction(
        () => document.querySelector('.shown .swatch-current')?.dataset.rgb === '0,0,1',
      );
      await measureXYZ();
      const x = Number(await page.getAttribute("[data-testid='point-xyz']", 'data-x'));
      assert.ok(near(x, 0.15, 0.01), `blue read at x ${x}`);
      assert.match(await page.textContent('#gamut-note'), /lies (inside|on the edge of) the gamut/);
      await page.click('#measure-show-ff0000');
      await page.waitForFunction(
        () => document.querySelector('.shown .swatch-current')?.dataset.rgb === '1,0,0',
      );
      await measureXYZ();
      await shot(page, 'console-measure-red.png');
    },
  );

  step(
    'takes every kind of reading, counts as whole numbers',
    'SensorRawData, SensorRGB, SensorIR, SensorXYZWithoutCorrelation GET',
    async () => {
      await page.click('#measure-all');
      for (const testid of ['reading-raw', 'reading-rgb', 'reading-ir', 'reading-uncorrelated']) {
        await page.locator(`[data-testid='${testid}']`).waitFor();
      }
      await waitIdle();
      for (const name of ['d0', 'd1', 'X', 'Y']) {
        const testid = name.startsWith('d')
          ? `reading-raw-${name}`
          : `reading-uncorrelated-${name}`;
        assert.match(await page.textContent(`[data-testid='${testid}']`), /^-?\d+$/, testid);
      }
      await page.locator("[data-testid='point-uncorrelated']").waitFor();
    },
  );

  step(
    'has a complete legend and wavelength labels clear of the axes',
    'the console alone',
    async () => {
      const legend = await page.locator('#plot-legend li').allTextContents();
      for (const item of [
        'XYZ (corrected)',
        'raw XYZ',
        'without correlation',
        'reference',
        'earlier XYZ',
        'monitor gamut',
        'monitor white',
      ]) {
        assert.ok(legend.includes(item), `legend lacks ${item}: ${legend}`);
      }
      const overlaps = await page.evaluate(() => {
        const boxes = (selector) =>
          [...document.querySelectorAll(selector)].map((n) => [
            n.textContent,
            n.getBoundingClientRect(),
          ]);
        const hit = (a, b) =>
          a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom;
        const found = [];
        for (const [nm, a] of boxes('.locus-labels text'))
          for (const [label, b] of boxes('.axis-label'))
            if (hit(a, b)) found.push(`${nm}/${label}`);
        return found;
      });
      assert.deepEqual(overlaps, []);
    },
  );

  step('zooms and pans the diagram, and shows u\u2032v\u2032', 'the console alone', async () => {
    const view = async () =>
      (await page.getAttribute("[data-testid='chromaticity']", 'data-view')).split(',').map(Number);
    const span = (v) => v[1] - v[0];
    const whole = await view();
    await page.click('#plot-zoom-in');
    await page.waitForFunction((s) => {
      const v = document
        .querySelector("[data-testid='chromaticity']")
        .dataset.view.split(',')
        .map(Number);
      return v[1] - v[0] < s;
    }, span(whole));
    assert.ok(near(span(await view()), span(whole) / 2, 1e-4));
    const box = await page.locator('#plot-frame').boundingBox();
    await page.mouse.move(box.x + box.width / 2, box.y + box.height / 2);
    await page.mouse.wheel(0, -200);
    await page.waitForFunction(
      (s) => {
        const v = document
          .querySelector("[data-testid='chromaticity']")
          .dataset.view.split(',')
          .map(Number);
        return v[1] - v[0] < s;
      },
      span(whole) / 2 - 1e-6,
    );
    await page.click('#plot-fit');
    await page.waitForFunction(() => {
      const v = document
        .querySelector("[data-testid='chromaticity']")
        .dataset.view.split(',')
        .map(Number);
      return v[1] - v[0] < 0.3;
    });
    const fitted = await view();
    // Every marker of the latest readings is on show.
    for (const kind of ['xyz', 'raw', 'uncorrelated']) {
      const x = Number(await page.getAttribute(`[data-testid='point-${kind}']`, 'data-x'));
      assert.ok(x > fitted[0] && x < fitted[1], `${kind} at ${x} outside ${fitted}`);
    }
    await shot(page, 'console-plot-zoomed.png');
    await page.focus('#plot-frame');
    await page.keyboard.press('0');
    await page.waitForFunction(() =>
      document
        .querySelector("[data-testid='chromaticity']")
        .dataset.view.startsWith('0.00000,0.80000'),
    );
    await page.click('#plot-uv');
    await page.waitForFunction(
      () => document.querySelector("[data-testid='chromaticity']").dataset.projection === 'uv',
    );
    assert.deepEqual(await view(), [0, 0.65, 0, 0.6]);
    await shot(page, 'console-plot-uv.png');
    await page.click('#plot-xy');
  });

  step('measures live, never with two requests in flight', 'SensorXYZ GET', async () => {
    const counter = inFlight(page, /\/XYZ$/);
    // A slow instrument: each answer takes longer than the pause between readings.
    await page.route('**/Sensors/*/XYZ', async (route) => {
      await new Promise((resolve) => setTimeout(resolve, 120));
      await route.continue();
    });
    try {
      await page.selectOption('#live-delay', '0');
      await page.click('#live-toggle');
      await page.waitForFunction(
        () =>
          /Live: ([6-9]|\d\d+) readings/.test(
            document.getElementById('live-status')?.textContent ?? '',
          ),
        null,
        { timeout: 20000 },
      );
      await page.locator('#live-status .pulse').waitFor();
      await shot(page, 'console-live.png');
      await page.click('#live-toggle');
      await page.locator('#live-status', { hasText: 'Live stopped' }).waitFor();
      // The series has ended with its last answer: nothing more waits in the sensor's line.
      const sentByTheEnd = counter.total;
      await page.waitForFunction(() => !document.querySelector('#opened-list .busy-label'));
      assert.equal(counter.total - sentByTheEnd, 0, 'readings after the series ended');
    } finally {
      await page.unroute('**/Sensors/*/XYZ');
    }
    assert.ok(counter.total >= 6, `${counter.total} live readings`);
    assert.equal(counter.most, 1, 'requests in flight at once');
    // The series' statistics cover the live readings.
    const rows = await page.locator('#series-stats tbody tr').count();
    assert.ok(rows >= 3);
    assert.match(
      await page.textContent('#series-stats tr[data-quantity=Y] td[data-stat=sd]'),
      /cd\/m²$/,
    );
  });
});

describe('every resource from its own place', () => {
  step(
    'presence detection on, and its level',
    'SensorAmbraSense, SensorAmbraSenseLevel',
    async () => {
      await tab('presence');
      await audit(page, 'presence detection tab');
      await page.click('#presence-on');
      await outcome('presence').locator('.note-ok').waitFor();
      await page.click('#presence-read');
      await outcome('presence').locator('.note-info', { hasText: 'on' }).waitFor();
      assert.equal((await studioMonitor()).presenceDetection.on, true);
      await page.fill('#presence-level', '2');
      await page.click('#presence-set-level');
      await outcome('presence-level').locator('.note-ok').waitFor();
      await page.click('#presence-read-level');
      await outcome('presence-level').locator('.note-info', { hasText: 'level 2' }).waitFor();
    },
  );

  step(
    'corrections and matrices: list, apply, release',
    'SensorCorrelation, SensorCorrelation9Points, SensorCorrelationMatrix',
    async () => {
      await tab('correlation');
      await page.click('#list-corrections');
      await page.locator('#corrections-table tbody tr').first().waitFor();
      await page
        .locator('#corrections-table tbody tr')
        .first()
        .getByRole('button', { name: 'Apply' })
        .click();
      await outcome('corrections-apply').locator('.note-ok').waitFor();
      await page.click('#clear-nine-points');
      await outcome('corrections-apply').locator('.note-ok', { hasText: 'nine-point' }).waitFor();
      await page.click('#list-matrices');
      const row = page.locator('#matrices-table tbody tr').first();
      await row.waitFor();
      const id = Number(await row.getAttribute('data-entry-id'));
      await row.getByRole('button', { name: 'Apply' }).click();
      await outcome('matrices-apply').locator('.note-ok').waitFor();
      assert.equal((await studioSensor()).state.appliedMatrix, id);
      await audit(page, 'correlation tab');
    },
  );

  step(
    'writes the sensor\u2019s 8x3 matrix after asking',
    'SensorCorrelationMatrixData GET, PUT',
    async () => {
      await page.click('#read-matrix');
      await outcome('matrix-data').locator('.note-info', { hasText: 'an 8x3 matrix' }).waitFor();
      await page.fill('#sensor-matrix-0-0', '0.95');
      await page.click('#write-matrix');
      await page.locator('dialog[open]').waitFor();
      await audit(page, 'confirmation dialog');
      await shot(page, 'console-confirm.png');
      await page.click('#dialog-confirm');
      await outcome('matrix-data').locator('.note-ok').waitFor();
      await waitIdle();
      await page.click('#read-matrix');
      await outcome('matrix-data').locator('.note-info').waitFor();
      await waitIdle();
      assert.equal(Number(await page.inputValue('#sensor-matrix-0-0')), 0.95);
      assert.equal(await page.evaluate(() => document.activeElement?.id), 'read-matrix');
    },
  );

  step(
    'the criterion description: read, write, clear after asking',
    'SensorCorrelationDescription',
    async () => {
      await page.click('#read-description');
      await outcome('description').locator('.note-info', { hasText: 'QS20-240117' }).waitFor();
      await page.click('#clear-description');
      await page.locator('dialog[open]').waitFor();
      await page.keyboard.press('Escape');
      await page.locator('dialog[open]').waitFor({ state: 'detached' });
      await page.waitForFunction(() => document.activeElement?.id === 'clear-description');
      await page.click('#write-description');
      await outcome('description').locator('.note-ok').waitFor();
    },
  );

  step(
    'the records and both databases',
    'SensorCorrelationData, SensorCorrelationDatabase, SensorCorrelationMatrixDatabase',
    async () => {
      await tab('databases');
      await page.click('#read-records');
      await outcome('records').locator('.note-info').waitFor();
      assert.match(await page.inputValue('#records-json'), /"calibrationData"/);
      await page.click('#list-correlation-db');
      await outcome('correlation-db').locator('.note-info').waitFor();
      await page.fill('#db-reference-serial', 'QS20-240117');
      await page.click('#add-correlation-entry');
      await outcome('correlation-db-entry').locator('.note-ok').waitFor();
      const stored = /entry (\d+)/.exec(await outcome('correlation-db-entry').textContent())[1];
      await page.fill('#db-entry-id', stored);
      await page.click('#read-correlation-entry');
      await outcome('correlation-db-entry').locator('.note-info', { hasText: 'matches' }).waitFor();
      await page.click('#list-matrix-db');
      await outcome('matrix-db').locator('.note-info').waitFor();
      await page.click('#add-matrix-entry');
      await outcome('matrix-db-add').locator('.note-ok').waitFor();
      await audit(page, 'records and databases tab');
    },
  );

  step('the user and extra corrections', 'SensorCorrection, SensorExCorrection', async () => {
    await tab('corrections');
    await page.click('#set-correction');
    await outcome('correction').locator('.note-ok').waitFor();
    await page.click('#clear-correction');
    await page.click('#dialog-confirm');
    await outcome('correction').locator('.note-ok', { hasText: 'cleared' }).waitFor();
    await page.click('#read-ex-correction');
    await outcome('ex-correction').locator('.note-info').waitFor();
    await page.fill('#extra-correction-1-1', '1.02');
    await page.click('#set-ex-correction');
    await outcome('ex-correction').locator('.note-ok').waitFor();
    assert.equal((await studioSensor()).state.exCorrection[1][1], 1.02);
    await audit(page, 'corrections tab');
  });

  step(
    'device settings: description, options, temperature and brightness',
    'SensorParameterDescription, SensorDeviceOption, SensorIFSTempCorrectParam, SensorIFSBrightCorrectParamUpdate',
    async () => {
      await tab('device');
      await page.fill('#parameter-description', 'fictional preset 7');
      await page.click('#write-parameter-description');
      await outcome('parameter-description').locator('.note-ok').waitFor();
      await page.fill('#parameter-description', '');
      await page.click('#read-parameter-description');
      await outcome('parameter-description').locator('.note-info').waitFor();
      assert.equal(await page.inputValue('#parameter-description'), 'fictional preset 7');
      await page.click('#read-device-option');
      await outcome('device-option').locator('.note-info, .note-error').first().waitFor();
      await page.click('#ifs-temperature');
      await outcome('ifs').locator('.note-ok').waitFor();
      await page.click('#ifs-bright-on');
      await outcome('ifs').locator('.note-ok', { hasText: 'on' }).waitFor();
      await page.click('#ifs-bright-read');
      await outcome('ifs').locator('.note-info', { hasText: 'is on' }).waitFor();
      await audit(page, 'device settings tab');
    },
  );

  step(
    'the sensor tab: mode, calibration, position',
    'SensorMode, SensorCalibration, SensorPosition',
    async () => {
      await tab('sensor');
      await page.click('#arm-in');
      await outcome('arm').locator('.note-ok', { hasText: 'in' }).waitFor();
      await page.click('#calibrate');
      await outcome('calibration').locator('.note-ok').waitFor();
      await page.click('#needs-calibration-ask');
      await outcome('calibration').locator('.note-info').waitFor();
      await page.click('#set-mode');
      await outcome('mode').locator('.note-ok').waitFor();
      await page.click('#read-position');
      await outcome('position').locator('.note-info').waitFor();
      await page.click('#test-connection');
      await outcome('connection').locator('.note-ok').waitFor();
    },
  );

  step(
    'a long action holds every other action on its sensor, and says so',
    'SensorCalibration PUT',
    async () => {
      let release;
      const held = new Promise((resolve) => (release = resolve));
      await page.route('**/Sensors/*/Calibration', async (route) => {
        await held;
        await route.continue();
      });
      const counter = inFlight(page, /\/XYZ$/);
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
      await tab('sensor');
    },
  );

  step(
    'the spectrophotometer\u2019s exterior light and target marker',
    'DeviceID POST, SensorExteriorLight, SensorTargetMarker',
    async () => {
      await openWith('#open-device-48', 'QS-20');
      await page.locator('#card-exteriorLight').waitFor();
      await page.click('#exteriorLight-on');
      await outcome('exteriorLight').locator('.note-ok').waitFor();
      await page.click('#targetMarker-read');
      await outcome('targetMarker').locator('.note-info').waitFor();
      assert.equal(
        await page.locator('#card-arm').count(),
        0,
        'no arm card for a sensor without an arm',
      );
      await audit(page, 'sensor tab, spectrophotometer');
      await shot(page, 'console-sensor-tab.png');
    },
  );

  step(
    'library settings, serial sensors, opening by individual id, closing',
    'Sensors PUT, XRiteControlPanel, IndividualID, SensorsName, Sensor DELETE',
    async () => {
      await page.click('#library-settings summary');
      await page.click('#open-control-panel');
      await page.locator('[data-outcome=library] .note-ok').waitFor();
      await page.click('#set-mappings');
      await page.locator('#serial-list', { hasText: 'QS-30' }).waitFor();
      await openWith('#open-individual-33', 'QS-10');
      const id = (await page.textContent('#sensor-id')).trim();
      await page.click(`[id='close-${id}']`);
      await page.locator(`[data-sensor-id='${id}']`).waitFor({ state: 'detached' });
    },
  );

  step(
    'every one of the 34 entry points was reached from its own place',
    'GET /host/routes',
    async () => {
      const routes = await call('GET', '/host/routes');
      const all = new Set(routes.map((r) => r.entryPoint));
      assert.equal(all.size, 34);
      assert.deepEqual(
        [...all].filter((e) => !reached.has(e)),
        [],
      );
    },
  );
});

describe('what an outside colorimeter cannot do', () => {
  step(
    'disables what needs a built-in sensor and says why; shows no arm',
    'DeviceID POST, Sensor GET',
    async () => {
      await freshStart();
      await openWith('#open-device-33', 'QS-10');
      await page
        .locator('#capability-chips .chip-no', { hasText: 'built into a monitor' })
        .waitFor();
      assert.equal(await page.locator('#card-arm').count(), 0);
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
      const options = await page.$$eval('#mode-select option', (list) =>
        list.map((o) => [o.value, o.disabled]),
      );
      assert.deepEqual(options, [
        ['0', false],
        ['1', false],
        ['2', true],
      ]);
      assert.equal(await failedRequests(), '', 'no request failed');
    },
  );

  step('says an already open sensor is open instead of adding a row', 'DeviceID POST', async () => {
    await page.click('#open-device-33');
    await page.locator('[data-outcome=open]', { hasText: 'already open' }).waitFor();
    assert.equal(await page.locator('#opened-list li').count(), 1);
  });
});

describe('a hint beside the envelope for every status a user can cause', () => {
  step('injected failures of a measurement', 'POST /sim/failures, SensorXYZ GET', async () => {
    await freshStart();
    await openStudioSensor();
    await page.click('#arm-out');
    await outcome('arm').locator('.note-ok').waitFor();
    await tab('measure');
    const context = { hasArm: true, needsCalibration: false, builtIn: true };
    for (const status of LIBRARY_STATUSES.filter((s) => s.user)) {
      await call('POST', '/sim/failures', {
        function: 'MDMeasureXYZ2',
        count: 1,
        status: status.code,
      });
      await page.click('#measure-xyz');
      const shown = outcome('measure-xyz');
      await shown.locator('.note-error', { hasText: status.message }).waitFor();
      const want = hintFor(
        { name: 'EmError', status: 500, detail: { code: status.code, reason: 'Measure XYZ.' } },
        context,
      ).text;
      assert.equal(
        (await shown.locator('[data-testid=hint] p').textContent()).replace(/^What to do: /, ''),
        want,
        status.message,
      );
      // The envelope beside it is the plug-in's, unchanged.
      const envelope = JSON.parse(await shown.locator('.envelope pre').textContent());
      assert.deepEqual(envelope, {
        error: {
          code: status.code,
          message: status.message,
          name: 'EmError',
          reason: 'Measure XYZ.',
        },
        value: null,
      });
      await waitIdle();
    }
  });

  step(
    'preconditions: calibration, another program, zero calibration',
    'SensorXYZ, SensorRGB, SensorCalibration',
    async () => {
      await openWith('#open-device-48', 'QS-20');
      await tab('measure');
      await page.click('#measure-xyz');
      const hint = outcome('measure-xyz').locator('[data-testid=hint]', {
        hasText: 'needs calibrating',
      });
      await hint.waitFor();
      await hint.getByRole('button', { name: 'Calibrate now' }).click();
      await outcome('measure-xyz')
        .locator('.note-ok', { hasText: 'Calibrated. Try again.' })
        .waitFor();
      await measureXYZ();
      assert.equal(await outcome('measure-xyz').locator('.note-error').count(), 0);
      // Back to the arm sensor, whose monitor another program now holds.
      await page
        .locator('#opened-list li', { hasText: 'QM arm sensor' })
        .locator('.row-button')
        .click();
      await page.locator('#sensor-name', { hasText: 'QM arm sensor' }).waitFor();
      await call('PUT', '/sim/monitors/QM7A0451/QM-27-Studio-Lab/held', true);
      await page.click('#measure-rgb');
      const held = outcome('measure-rgb');
      await held.locator('.note-error', { hasText: 'Rejected by critical section.' }).waitFor();
      await held.getByRole('button', { name: /other program go/ }).click();
      await held.locator('.note-ok', { hasText: 'let go' }).waitFor();
      assert.equal((await studioMonitor()).criticalSection, null);
      await tab('sensor');
      await page.click('#calibrate');
      await outcome('calibration')
        .locator('[data-testid=hint]', { hasText: 'Put the arm back in' })
        .waitFor();
      await audit(page, 'errors with hints');
    },
  );

  step(
    'refusals of the plug-in through the general request panel',
    'Any request: SensorArm PUT, Sensor GET',
    async () => {
      await tab('request');
      await audit(page, 'any request tab');
      await page.selectOption('#req-entry', 'SensorArm');
      await page.selectOption('#req-method', 'PUT');
      await page.fill('#req-body', '1');
      await page.click('#req-send');
      await page.locator('#request-answer[data-status="400"]').waitFor();
      await page
        .locator('#request-answer [data-testid=hint]', { hasText: 'true or false' })
        .waitFor();
      assert.equal(await page.textContent('#request-entry-point'), 'SensorArm');
      assert.equal(
        await page.textContent('#request-envelope'),
        '{"error":{"message":"data must be boolean.","name":"BadRequestError"},"value":null}',
      );
      await page.selectOption('#req-entry', 'Sensor');
      await page.fill('#req-param-id', '00000000-0000-0000-0000-000000000000');
      await page.fill('#req-body', '');
      await page.click('#req-send');
      await page
        .locator('#request-answer[data-status="404"] [data-testid=hint]', {
          hasText: 'Open the sensor again',
        })
        .waitFor();
      await page.check('#req-bridge');
      await page.selectOption('#req-entry', 'SensorsName');
      await page.click('#req-send');
      await page.locator('#request-answer[data-status="200"]').waitFor();
      assert.match(await page.textContent('#request-envelope'), /"value":\[/);
      await shot(page, 'console-any-request.png');
    },
  );
});

describe('the simulator panel', () => {
  step(
    'offers only failures, and counts down what is armed',
    'POST /sim/failures, SensorXYZ GET',
    async () => {
      await freshStart();
      const offered = await page.$$eval('#sim-status option', (list) => list.map((o) => o.value));
      assert.ok(offered.includes('EMERR_MEASURE_ERROR'));
      for (const success of [
        'EMERR_OK',
        'EMERR_RUNNING',
        'EMERR_EXISTS_MORE_DATA',
        'EMERR_UNCONFIRMED',
        'EMERR_UNKNOWN',
      ]) {
        assert.ok(!offered.includes(success), success);
      }
      await openStudioSensor();
      await page.click('#arm-out');
      await outcome('arm').locator('.note-ok').waitFor();
      await page.fill('#sim-function', 'MDMeasureXYZ2');
      await page.selectOption('#sim-status', 'EMERR_MEASURE_ERROR');
      await page.fill('#sim-count', '2');
      await page.click('#sim-inject');
      await page.locator('#sim-armed li', { hasText: '\u00d72' }).waitFor();
      await tab('measure');
      await page.click('#measure-xyz');
      await outcome('measure-xyz').locator('.note-error', { hasText: 'Measure error.' }).waitFor();
      await page.locator('#sim-armed li', { hasText: '\u00d71' }).waitFor();
    },
  );

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
    await page.waitForFunction(() => document.activeElement?.id === 'sim-world-json');
    await page.click('#sim-reset');
    await page.click('#dialog-confirm');
    await page.locator('[data-outcome=sim-world] .note-ok').waitFor();
    await page.locator('#opened-list').waitFor({ state: 'detached' });
    assert.equal((await call('GET', '/Sensors')).length, 0);
  });

  step(
    'the request log shows whole paths, entry points and requests still running',
    'SensorPosition GET',
    async () => {
      await openStudioSensor();
      await tab('sensor');
      let release;
      const held = new Promise((resolve) => (release = resolve));
      await page.route('**/Sensors/*/Position', async (route) => {
        await held;
        await route.continue();
      });
      try {
        await page.click('#read-position');
        const running = page.locator('.log-entry.log-pending', { hasText: 'running' });
        await running.waitFor();
        assert.match(
          await running.locator('.log-path').textContent(),
          /^\/Sensors\/[0-9a-f-]{36}\/Position$/,
        );
        release();
        await page.locator('.log-entry[data-entry-point=SensorPosition]').waitFor();
      } finally {
        release();
        await page.unroute('**/Sensors/*/Position');
      }
      assert.equal(
        await page.locator('#log-list[aria-live], #log-list[role=log]').count(),
        0,
        'the log is no live region',
      );
      await page.locator('.log-entry').first().locator('summary').click();
      await audit(page, 'expanded log');
    },
  );
});

describe('derived values and export', () => {
  // Readings whose colour is known: the D65 white, Illuminant A, and the first pair of the
  // CIEDE2000 test data (Sharma, Wu, Dalal 2005) as XYZ against that white.
  const WHITE = [95.047, 100, 108.883];
  const fromLab = ([L, a, b]) => {
    const fy = (L + 16) / 116;
    const f = [fy + a / 500, fy, fy - b / 200];
    const inverse = (t) => (t ** 3 > 216 / 24389 ? t ** 3 : (116 * t - 16) / (24389 / 27));
    return f.map((t, i) => inverse(t) * WHITE[i]);
  };
  const READINGS = [
    WHITE,
    [109.85, 100, 35.585],
    fromLab([50, 2.6772, -79.7751]),
    fromLab([50, 0, -82.7485]),
  ];
  let next = 0;

  step(
    'shows x,y, u\u2032v\u2032, CCT, Duv, L*a*b* and \u0394E2000 of known readings',
    'SensorXYZ GET, POST /colour/derive',
    async () => {
      await freshStart();
      await openStudioSensor();
      await page.route('**/Sensors/*/XYZ', (route) => {
        const [X, Y, Z] = READINGS[next++ % READINGS.length];
        route.fulfill({
          status: 200,
          contentType: 'application/json',
          headers: { 'X-Quilby-Entry-Point': 'SensorXYZ' },
          body: JSON.stringify({ error: null, value: { XYZ: { X, Y, Z }, rawXYZ: { X, Y, Z } } }),
        });
      });
      try {
        await tab('measure');
        await measureXYZ();
        const derived = async (testid) => numberIn(`[data-testid='${testid}']`);
        await page.locator("[data-testid='derived-cct']").waitFor();
        assert.equal(await derived('derived-xy-0'), 0.3127);
        assert.equal(await derived('derived-uv-0'), 0.1978);
        assert.equal(await derived('derived-uv-1'), 0.4683);
        assert.ok(near(await derived('derived-cct'), 6504, 2));
        assert.ok(near(await derived('derived-duv'), 0.0032, 0.0002));
        // The first reading becomes the white of L*a*b*.
        await page.selectOption('#white-select', '1');
        await page.waitForFunction(
          () => document.querySelector("[data-testid='derived-lab-0']")?.textContent === '100.00',
        );
        await measureXYZ();
        assert.ok(near(await derived('derived-cct'), 2856, 2), 'Illuminant A');
        await measureXYZ();
        await page
          .locator('#readings-table tr[data-seq="3"]')
          .getByRole('button', { name: 'Use as reference' })
          .click();
        await page.locator('#reference-line', { hasText: 'reading #3' }).waitFor();
        await measureXYZ();
        await page.waitForFunction(
          () => document.querySelector("[data-testid='derived-de']")?.textContent !== '\u2014',
        );
        assert.equal(await page.textContent("[data-testid='derived-de']"), '2.04');
        assert.equal(await page.textContent("[data-testid='derived-lab-0']"), '50.00');
        await shot(page, 'console-derived.png');
      } finally {
        await page.unroute('**/Sensors/*/XYZ');
      }
    },
  );

  async function download(button) {
    const [file] = await Promise.all([page.waitForEvent('download'), page.click(button)]);
    return readFile(await file.path(), 'utf8');
  }

  step('exports the readings as CSV and CGATS that read back', 'POST /colour/export', async () => {
    const csv = parseCsv(await download('#export-csv'));
    const header = csv[0];
    for (const column of ['time', 'sensor', 'mode', 'corrected', 'X', 'Y', 'Z'])
      assert.ok(header.includes(column), `${column} in ${header}`);
    const rows = csv.slice(1).filter((r) => r.length > 1);
    assert.equal(rows.length, 4);
    const Y = header.indexOf('Y');
    assert.ok(near(Number(rows[0][Y]), 100, 1e-6));
    assert.match(rows[0][header.indexOf('sensor')], /^QM arm sensor \([0-9a-f]{8}\)$/);
    assert.equal(rows[0][header.indexOf('mode')], 'Display');
    const cgats = parseCgats(await download('#export-cgats'));
    for (const field of ['SAMPLE_ID', 'XYZ_X', 'XYZ_Y', 'XYZ_Z', 'LAB_L', 'LAB_A', 'LAB_B'])
      assert.ok(cgats.fields.includes(field), field);
    assert.equal(cgats.rows.length, 4);
    assert.ok(near(Number(cgats.rows[1].XYZ_X), 109.85, 1e-3));
    assert.ok(near(Number(cgats.rows[0].LAB_L), 100, 1e-3));
  });
});

describe('every state in the dark scheme and on a small screen', () => {
  const states = [
    ['light', 1024, 768],
    ['dark', 1024, 768],
    ['dark', 1400, 1000],
  ];
  for (const [scheme, width, height] of states) {
    test(`${scheme} scheme at ${width}x${height}`, async () => {
      const other = await launch({ colorScheme: scheme, viewport: { width, height } });
      try {
        const p = other.page;
        await p.goto(host.base);
        await p.locator("[data-monitor='QM7A0451']").waitFor();
        await audit(p, `${scheme} ${width}x${height}, start`);
        await p.click("[data-monitor='QM7A0451']");
        await p.locator('#identity-facts').waitFor();
        await audit(p, `${scheme} ${width}x${height}, opened sensor`);
        await p.screenshot({
          path: path.join(screenshots, `console-${scheme}-${width}x${height}-sensor.png`),
        });
        await p.click('#arm-out');
        await p.locator('[data-outcome$="/arm"] .note-ok').waitFor();
        await p.click('#tab-measure');
        await p.click('#measure-xyz');
        await p.locator('#readings-table, [data-outcome$="/measure-xyz"]').first().waitFor();
        await audit(p, `${scheme} ${width}x${height}, measure`);
        await p.screenshot({
          path: path.join(screenshots, `console-${scheme}-${width}x${height}-measure.png`),
        });
        assert.deepEqual(other.pageErrors, []);
      } finally {
        await other.close();
      }
    });
  }
});

describe('who may drive the sensors', () => {
  test('a page of another origin cannot open a sensor', async () => {
    const opened = async () => (await call('GET', '/Sensors')).length;
    const count = await opened();
    const target = `${host.base}Monitors/QM7A0451/QM-27-Studio-Lab/Sensor`;
    const site = createServer((request, response) => {
      response.setHeader('Content-Type', 'text/html');
      response.end(`<script>fetch(${JSON.stringify(target)}, {method: 'POST', mode: 'no-cors'})
        .finally(() => { document.title = 'sent'; });</script>`);
    });
    await new Promise((resolve) => site.listen(0, '127.0.0.1', resolve));
    const stranger = await browser.context.newPage();
    try {
      await stranger.goto(`http://127.0.0.1:${site.address().port}/`);
      await stranger.waitForFunction(() => document.title === 'sent', null, {
        timeout: STEP_TIMEOUT,
      });
    } finally {
      await stranger.close();
      site.close();
    }
    assert.equal(await opened(), count, 'a page of another origin opened a sensor');
  });
});
