// The web console in headless Chromium against quilby-host on the built-in simulated world: a
// person opens a sensor, measures, sees the reading on the chromaticity diagram, switches presence
// detection and applies a correlation matrix.
//
// QUILBY_HOST: the quilby-host program (default build/quilby-host); QUILBY_SCREENSHOTS: where the
// screenshots go (default build/browser). Each step says which resource it needs; when a step
// fails, the requests that failed during it are printed with their envelopes.

import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { mkdirSync, mkdtempSync, rmSync } from 'node:fs';
import { createServer } from 'node:http';
import { tmpdir } from 'node:os';
import path from 'node:path';
import { after, before, describe, test } from 'node:test';
import { fileURLToPath } from 'node:url';

import { chromium } from 'playwright-core';

const root = path.resolve(path.dirname(fileURLToPath(import.meta.url)), '../..');
const hostProgram = process.env.QUILBY_HOST ?? path.join(root, 'build/quilby-host');
const screenshots = process.env.QUILBY_SCREENSHOTS ?? path.join(root, 'build/browser');
const STEP_TIMEOUT = 10000;

let host;
let base;
let browser;
let profile;
let page;

// Starts quilby-host on a free loopback port and resolves with the console's address.
function startHost() {
  return new Promise((resolve, reject) => {
    host = spawn(hostProgram, ['--port', '0', '--quiet'], { stdio: ['ignore', 'pipe', 'pipe'] });
    let output = '';
    let errors = '';
    host.stderr.on('data', (chunk) => (errors += chunk));
    host.stdout.on('data', (chunk) => {
      output += chunk;
      const found = /console at (http:\/\/\S+)/.exec(output);
      if (found) resolve(found[1]);
    });
    host.on('error', reject);
    host.on('exit', (code) => reject(new Error(`quilby-host ended (${code}):\n${errors}`)));
  });
}

// The simulated world as the host reports it, read beside the console: the built-in sensor of the
// studio monitor and the monitor itself.
const world = async () => (await (await fetch(`${base}sim/world`)).json()).value;
const studioSensor = async () => (await world()).sensors.find((s) => s.deviceID === 4144);
const studioMonitor = async () => (await world()).monitors.find((m) => m.serial === 'QM7A0451');

// The log entries of the requests that failed, newest first, for an assertion message.
const failedRequests = () =>
  page.$$eval('.log-entry.log-failed', (nodes) =>
    nodes
      .map((node) => {
        const envelope = node.querySelector('.log-block:last-child pre')?.textContent ?? '';
        const { status, entryPoint, path: where } = node.dataset;
        return `  ${status} ${entryPoint || '-'} ${where}\n    ${envelope.replace(/\s+/g, ' ')}`;
      })
      .join('\n'),
  );

// One step of the walk-through; a failure names the resource it needs and the failed requests.
function step(name, resource, body) {
  test(`${name} [${resource}]`, async () => {
    await page.locator('.log-panel').getByRole('button', { name: 'Clear' }).click();
    try {
      await body();
    } catch (error) {
      const failed = await failedRequests();
      error.message += `\nThis step needs ${resource}.`;
      if (failed) error.message += `\nRequests that failed during the step:\n${failed}`;
      throw error;
    }
  });
}

const textOf = (selector) => page.locator(selector).first().textContent({ timeout: STEP_TIMEOUT });
const numberOf = async (selector) => Number(await textOf(selector));
const near = (value, want, tolerance) => Math.abs(value - want) < tolerance;

before(async () => {
  mkdirSync(screenshots, { recursive: true });
  base = await startHost();
  profile = mkdtempSync(path.join(tmpdir(), 'quilby-chromium-'));
  // A fresh profile: nothing cached or remembered from an earlier run.
  browser = await chromium.launchPersistentContext(profile, {
    executablePath: '/usr/bin/chromium',
    headless: true,
    viewport: { width: 1500, height: 1000 },
    args: ['--headless', '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
      '--disable-background-networking', '--disable-component-update', '--disable-sync'],
  });
  page = browser.pages()[0] ?? (await browser.newPage());
  page.setDefaultTimeout(STEP_TIMEOUT);
  const pageErrors = [];
  page.on('pageerror', (error) => pageErrors.push(error.message));
  await page.goto(base);
  assert.deepEqual(pageErrors, [], 'the console loads without script errors');
});

after(async () => {
  await browser?.close();
  if (host && host.exitCode === null) {
    host.kill('SIGTERM');
    await new Promise((resolve) => host.once('exit', resolve));
  }
  if (profile) rmSync(profile, { recursive: true, force: true });
});

describe('the console as a new user meets it', () => {
  step('lists the monitors of the simulated world', 'GET /host/info, GET /sim/world', async () => {
    await page.getByText('plug-in loaded').waitFor();
    await page.locator("[data-monitor='QM7A0451']").waitFor();
  });

  step('opens the sensor built into a monitor', 'Monitors POST', async () => {
    await page.click("[data-monitor='QM7A0451']");
    const id = (await textOf('#sensor-id')).trim();
    assert.match(id, /^[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}$/);
    await page.locator(`.row-selected[data-sensor-id='${id}']`).waitFor();
  });

  step('shows the sensor\u2019s identity and capabilities', 'Sensor GET', async () => {
    await page.locator('#identity dd', { hasText: 'ARM-QM7A0451' }).waitFor();
    await page.locator('#identity .chip-yes', { hasText: 'arm' }).waitFor();
  });

  step('takes the arm out, which the arm sensor needs to measure', 'SensorArm PUT', async () => {
    await page.click('#arm-out');
    await page.locator('#arm-output .note-ok').waitFor();
    assert.equal((await studioSensor()).state.armOut, true);
  });

  step('measures XYZ and plots the reading at its chromaticity', 'SensorXYZ GET', async () => {
    await page.click('#tab-measure');
    await page.click('#measure-xyz');
    const point = page.locator("[data-testid='point-xyz']");
    await point.waitFor();
    const x = await numberOf("[data-testid='reading-xyz-x']");
    const y = await numberOf("[data-testid='reading-xyz-y']");
    // The monitor shows white: its D65 white point, within the sensor's correction.
    assert.ok(near(x, 0.3127, 0.01) && near(y, 0.329, 0.01), `white read as x ${x}, y ${y}`);
    // The marker sits where the frame puts that chromaticity (left 44, top 14, 500 px per unit).
    const cx = Number(await point.getAttribute('cx'));
    const cy = Number(await point.getAttribute('cy'));
    assert.ok(near(cx, 44 + x * 500, 0.5), `cx ${cx}`);
    assert.ok(near(cy, 14 + (0.9 - y) * 500, 0.5), `cy ${cy}`);
    await page.locator("[data-testid='gamut']").waitFor();
    await page.screenshot({ path: path.join(screenshots, 'console-measure-white.png') });
  });

  step('follows the colour shown', 'SensorXYZ GET, PUT /sim/.../shownColor', async () => {
    await page.click(".shown [data-colour='#ff0000']");
    await page.locator('.shown .swatch-current').waitFor();
    const before = await numberOf("[data-testid='reading-xyz-x']");
    await page.click('#measure-xyz');
    await page.waitForFunction(
      (previous) =>
        Number(document.querySelector("[data-testid='reading-xyz-x']")?.textContent) !== previous,
      before,
    );
    const x = Number(await page.getAttribute("[data-testid='point-xyz']", 'data-x'));
    const y = Number(await page.getAttribute("[data-testid='point-xyz']", 'data-y'));
    // The studio monitor's red primary is at (0.68, 0.32).
    assert.ok(near(x, 0.68, 0.02) && near(y, 0.32, 0.02), `red read as x ${x}, y ${y}`);
    assert.ok((await page.locator('.trail-dot').count()) >= 1, 'the earlier reading stays');
    await page.click('#measure-all');
    for (const testid of ['reading-raw', 'reading-rgb', 'reading-ir', 'reading-uncorrelated']) {
      await page.locator(`[data-testid='${testid}']`).waitFor();
    }
    await page.screenshot({ path: path.join(screenshots, 'console-measure-red.png') });
  });

  step('switches presence detection on', 'SensorAmbraSense GET and PUT', async () => {
    await page.click('#tab-presence');
    await page.locator('#presence-output .note-info').waitFor();
    assert.equal(await page.isChecked('#presence-switch'), false);
    await page.click('.switch-label');
    await page.locator('#presence-output', { hasText: 'is on' }).waitFor();
    assert.equal((await studioMonitor()).presenceDetection.on, true);
  });

  step('sets the presence detection level', 'SensorAmbraSenseLevel GET and PUT', async () => {
    await page.locator('#presence-level-output .note-info').waitFor();
    await page.fill('#presence-level', '2');
    await page.click('#presence-set-level');
    await page.locator('#presence-level-output .note-ok').waitFor();
    assert.equal((await studioMonitor()).presenceDetection.mode, 2);
  });

  step('applies one of the correlation matrices', 'SensorCorrelationMatrix GET, PUT', async () => {
    await page.click('#tab-correlation');
    const row = page.locator('#matrices-table tbody tr').first();
    await row.waitFor();
    const matrixId = Number(await row.getAttribute('data-matrix-id'));
    await row.getByRole('button', { name: 'Apply' }).click();
    await page.locator('#matrices-output .note-ok').waitFor();
    assert.equal((await studioSensor()).state.appliedMatrix, matrixId);
  });

  step('writes the sensor\u2019s 8x3 matrix', 'SensorCorrelationMatrixData GET, PUT', async () => {
    // A button is disabled while its request runs; a read that ends late would replace the
    // cells being edited.
    const read = async () => {
      await page.click('#read-matrix');
      await page.waitForFunction(() => !document.querySelector('#read-matrix').disabled);
    };
    await read();
    await page.locator('#matrix-data-output .note-info', { hasText: '8x3' }).waitFor();
    const first = page.locator('#matrix-grid .matrix-cell').first();
    await first.fill('0.95');
    await page.click('#write-matrix');
    await page.locator('#matrix-data-output .note-ok').waitFor();
    await read();
    await page.locator('#matrix-data-output .note-info').waitFor();
    assert.equal(Number(await first.inputValue()), 0.95);
    await page.screenshot({ path: path.join(screenshots, 'console-correlation.png') });
  });

  step('keeps every request in the log with its status', 'the console alone', async () => {
    await page.click('#tab-measure');
    await page.click('#measure-xyz');
    const entry = page.locator('.log-entry').first();
    await entry.waitFor();
    assert.equal(await entry.getAttribute('data-entry-point'), 'SensorXYZ');
    await entry.locator('summary').click();
    assert.match(await entry.locator('.log-block pre').last().textContent(), /"rawXYZ"/);
  });

  step('refuses a page of another origin', 'the origin check; Sensors GET', async () => {
    const opened = async () => (await (await fetch(`${base}Sensors`)).json()).value.length;
    const count = await opened();
    // Another site on the same machine, whose page tries to open a sensor: a simple cross-origin
    // POST, which the browser sends without asking first.
    const target = `${base}Monitors/QM7A0451/QM-27-Studio-Lab/Sensor`;
    const site = createServer((request, response) => {
      response.setHeader('Content-Type', 'text/html');
      response.end(`<script>fetch(${JSON.stringify(target)}, {method: 'POST', mode: 'no-cors'})
        .finally(() => { document.title = 'sent'; });</script>`);
    });
    await new Promise((resolve) => site.listen(0, '127.0.0.1', resolve));
    const stranger = await browser.newPage();
    try {
      await stranger.goto(`http://127.0.0.1:${site.address().port}/`);
      await stranger.waitForFunction(() => document.title === 'sent');
    } finally {
      await stranger.close();
      site.close();
    }
    assert.equal(await opened(), count, 'a page of another origin opened a sensor');
  });
});
