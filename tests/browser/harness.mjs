// What the browser tests share: quilby-host on a free loopback port, Debian's Chromium driven by
// Playwright, the axe-core audit, screenshots, and the host's own routes read beside the console.

import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { mkdirSync, mkdtempSync, readFileSync, rmSync } from 'node:fs';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import path from 'node:path';
import { fileURLToPath } from 'node:url';

import { chromium } from 'playwright-core';

const root = path.resolve(path.dirname(fileURLToPath(import.meta.url)), '../..');
const hostProgram = process.env.QUILBY_HOST ?? path.join(root, 'build/quilby-host');
const screenshots = process.env.QUILBY_SCREENSHOTS ?? path.join(root, 'build/browser');
const STEP_TIMEOUT = 10000;

const axeSource = readFileSync(
  createRequire(import.meta.url).resolve('axe-core/axe.min.js'),
  'utf8',
);

// Starts quilby-host on a free loopback port; resolves with {base, stop()}.
export function startHost() {
  return new Promise((resolve, reject) => {
    const args = ['--port', '0', '--quiet', '--console', path.join(root, 'host/web')];
    const host = spawn(hostProgram, args, { stdio: ['ignore', 'pipe', 'pipe'] });
    let output = '';
    let errors = '';
    host.stderr.on('data', (chunk) => (errors += chunk));
    host.stdout.on('data', (chunk) => {
      output += chunk;
      const found = /console at (http:\/\/\S+)/.exec(output);
      if (found) resolve({ base: found[1], stop: () => stopHost(host) });
    });
    host.on('error', reject);
    host.on('exit', (code) => reject(new Error(`quilby-host ended (${code}):\n${errors}`)));
  });
}

async function stopHost(host) {
  if (host.exitCode !== null) return;
  host.kill('SIGTERM');
  await new Promise((resolve) => host.once('exit', resolve));
}

// A fresh Chromium profile (nothing cached or remembered), with the flags the machine needs.
export async function launch() {
  mkdirSync(screenshots, { recursive: true });
  const profile = mkdtempSync(path.join(tmpdir(), 'quilby-chromium-'));
  const context = await chromium.launchPersistentContext(profile, {
    executablePath: '/usr/bin/chromium',
    headless: true,
    viewport: { width: 1400, height: 1000 },
    acceptDownloads: true,
    // Beside Playwright's own switches (no sandbox, no first run, no background networking).
    args: ['--disable-gpu', '--disable-quic'],
  });
  context.setDefaultTimeout(STEP_TIMEOUT);
  const page = context.pages()[0] ?? (await context.newPage());
  const pageErrors = [];
  page.on('pageerror', (error) => pageErrors.push(error.message));
  return {
    page,
    pageErrors,
    close: async () => {
      await context.close();
      rmSync(profile, { recursive: true, force: true });
    },
  };
}

// Runs axe-core in the page and fails on any serious or critical violation, naming each rule and
// the elements it found. `state` names the console's state in the message.
export async function audit(page, state) {
  const loaded = await page.evaluate(() => typeof window.axe !== 'undefined');
  // Evaluated, not added as a script: the page's content security policy refuses inline scripts.
  if (!loaded) await page.evaluate(axeSource);
  const violations = await page.evaluate(async () => {
    const result = await window.axe.run(document, { resultTypes: ['violations'] });
    const named = ({ id, impact, nodes }) => {
      const where = nodes.slice(0, 4).map((n) => n.target.join(' '));
      if (nodes.length > 4) where.push(`and ${nodes.length - 4} more`);
      return `${id} (${impact}): ${where.join(' | ')}`;
    };
    return result.violations.filter((v) => ['serious', 'critical'].includes(v.impact)).map(named);
  });
  assert.deepEqual(violations, [], `axe-core in state "${state}"`);
}

export const shot = (page, name) => page.screenshot({ path: path.join(screenshots, name) });

// A request to the host beside the console (no Origin, as a script sends it): the envelope's value.
export async function hostCall(base, method, route, body) {
  const init = { method, body: body === undefined ? undefined : JSON.stringify(body) };
  const response = await fetch(new URL(route.replace(/^\//, ''), base), init);
  return (await response.json()).value;
}

// Collects, from every answer the page receives, the entry points the plug-in reached.
export function entryPointsOf(page) {
  const seen = new Set();
  page.on('response', (response) => {
    const entryPoint = response.headers()['x-quilby-entry-point'];
    if (entryPoint) seen.add(entryPoint);
  });
  return seen;
}

// Counts the requests in flight whose path matches `pattern`; `most` is the highest count seen.
export function inFlight(page, pattern) {
  const counter = { now: 0, most: 0, total: 0 };
  const mine = (request) => pattern.test(new URL(request.url()).pathname);
  page.on('request', (request) => {
    if (!mine(request)) return;
    counter.total += 1;
    counter.most = Math.max(counter.most, ++counter.now);
  });
  const done = (request) => mine(request) && (counter.now -= 1);
  page.on('requestfinished', done);
  page.on('requestfailed', done);
  return counter;
}

// A minimal reader of the CGATS text the host exports: its rows, each by field name.
export function parseCgats(text) {
  const section = (name) =>
    new RegExp(`^BEGIN_${name}\\s*$([^]*?)^END_${name}\\s*$`, 'm').exec(text)?.[1] ?? '';
  const split = (line) => line.match(/"[^"]*"|\S+/g) ?? [];
  const fields = split(section('DATA_FORMAT'));
  return section('DATA')
    .split(/\r?\n/)
    .filter((l) => l.trim())
    .map((l) => Object.fromEntries(split(l).map((v, i) => [fields[i], v.replace(/^"|"$/g, '')])));
}
