// The Sensor tab: identity and capabilities, connection, mode, calibration, arm and position.

import * as api from '../api.js';
import { actionButton, fill, field, h, note } from '../dom.js';
import { MODES, OBSERVERS } from '../format.js';
import { selectedSensor } from '../world.js';
import { afterwards, card, facts, flag, output, showResult, simTag } from './common.js';

// What the simulated libraries mean by the position codes.
const POSITIONS = ['display', 'ambient', 'reflectance', 'calibration'];

function capabilities(info) {
  return [
    facts([
      ['Name', info.name],
      ['Serial', info.serial],
      ['Device id', String(info.deviceID)],
      info.spectrum
        ? [
            'Spectrum',
            `${info.spectrum.min}\u2013${info.spectrum.max} nm, ${info.spectrum.bandWidth} nm bands, ` +
              `${info.spectrum.count} values`,
          ]
        : null,
    ]),
    h(
      'div',
      { class: 'chips' },
      flag('needs calibration', info.needsCalibration),
      flag('ambient', info.supportsAmbient),
      flag('reflectance', info.supportsReflectance),
      flag('arm', info.hasArm),
      flag('several positions', info.hasMultipleSensorPosition),
      'hasTargetMarker' in info ? flag('target marker', info.hasTargetMarker) : null,
    ),
  ];
}

export function mountOverview(root, { store, refreshWorld }) {
  const identity = output('identity');
  const connection = output('connection');
  const modeOut = output('mode-output');
  const calibrationOut = output('calibration-output');
  const armOut = output('arm-output');
  const positionOut = output('position-output');
  const simState = h('div', { class: 'sim-state' });

  const modeSelect = h(
    'select',
    { id: 'mode-select' },
    MODES.map((m) => h('option', { value: m.value }, `${m.value} \u00b7 ${m.label}`)),
  );
  const observerSelect = h(
    'select',
    { id: 'observer-select' },
    OBSERVERS.map((o) => h('option', { value: o.value }, `${o.value} \u00b7 ${o.label}`)),
  );

  const id = () => store.get().selected;

  async function readIdentity() {
    const sensorId = id();
    const info = await showResult(identity, () => api.sensorInfo(sensorId), capabilities);
    if (
      info &&
      Number.isInteger(info.deviceID) &&
      store.get().meta[sensorId]?.deviceID !== info.deviceID
    ) {
      store.set({
        meta: {
          ...store.get().meta,
          [sensorId]: { ...store.get().meta[sensorId], deviceID: info.deviceID },
        },
      });
    }
  }

  // What the simulator says about the sensor's state, beside what the plug-in answers.
  function showSimState() {
    const sensor = selectedSensor(store.get());
    if (!sensor) {
      fill(simState);
      return;
    }
    const state = sensor.state ?? {};
    const parts = [
      `mode ${state.mode ?? 0}`,
      `observer ${state.observer ?? 0}`,
      state.calibrated ? 'calibrated' : 'not calibrated',
      sensor.capabilities?.arm ? `arm ${state.armOut ? 'out' : 'in'}` : null,
      `position ${state.position ?? state.mode ?? 0}`,
    ];
    fill(simState, simTag(parts.filter(Boolean).join(', ')));
  }

  const after = afterwards(refreshWorld);

  fill(
    root,
    h(
      'div',
      { class: 'cards' },
      card(
        'Identity and capabilities',
        actionButton('Read', readIdentity, { class: 'small ghost' }),
        identity,
      ),
      card(
        'Connection',
        null,
        h(
          'div',
          { class: 'button-row' },
          actionButton('Test connection', () =>
            showResult(
              connection,
              () => api.testConnection(id()),
              (valid) =>
                note(
                  valid ? 'ok' : 'error',
                  valid ? 'The connection is valid.' : 'The connection is not valid.',
                ),
            ),
          ),
        ),
        connection,
      ),
      card(
        'Mode',
        null,
        simState,
        h(
          'div',
          { class: 'form-row' },
          field('Mode', modeSelect),
          field('Observer', observerSelect),
          actionButton(
            'Set mode',
            () =>
              after(() =>
                showResult(
                  modeOut,
                  () => api.setMode(id(), Number(modeSelect.value), Number(observerSelect.value)),
                  () =>
                    note('ok', `Mode ${modeSelect.value}, observer ${observerSelect.value} set.`),
                ),
              ),
            { id: 'set-mode' },
          ),
        ),
        h(
          'div',
          { class: 'button-row' },
          actionButton(
            'Supported modes',
            () =>
              showResult(
                modeOut,
                () => api.supportedModes(id()),
                (modes) =>
                  h(
                    'div',
                    { class: 'chips' },
                    flag('display', true),
                    flag('ambient', modes.ambient),
                    flag('reflectance', modes.reflectance),
                  ),
              ),
            { class: 'small ghost' },
          ),
        ),
        modeOut,
      ),
      card(
        'Calibration',
        null,
        h(
          'div',
          { class: 'button-row' },
          actionButton(
            'Needs calibration?',
            () =>
              showResult(
                calibrationOut,
                () => api.needsCalibration(id()),
                (needed) =>
                  note(
                    needed ? 'info' : 'ok',
                    needed ? 'The sensor needs calibrating.' : 'No calibration needed.',
                  ),
              ),
            { class: 'ghost' },
          ),
          actionButton(
            'Calibrate',
            () =>
              after(() =>
                showResult(
                  calibrationOut,
                  () => api.calibrate(id()),
                  () => note('ok', 'Calibrated.'),
                ),
              ),
            { id: 'calibrate' },
          ),
        ),
        calibrationOut,
      ),
      card(
        'Arm',
        null,
        h(
          'div',
          { class: 'button-row' },
          actionButton(
            'Has an arm?',
            () =>
              showResult(
                armOut,
                () => api.hasArm(id()),
                (has) =>
                  note('info', has ? 'The sensor has a motorised arm.' : 'The sensor has no arm.'),
              ),
            { class: 'ghost' },
          ),
          actionButton(
            'Take out',
            () =>
              after(() =>
                showResult(
                  armOut,
                  () => api.setArm(id(), true),
                  () => note('ok', 'The arm is out.'),
                ),
              ),
            { id: 'arm-out' },
          ),
          actionButton(
            'Take in',
            () =>
              after(() =>
                showResult(
                  armOut,
                  () => api.setArm(id(), false),
                  () => note('ok', 'The arm is in.'),
                ),
              ),
            { id: 'arm-in' },
          ),
        ),
        armOut,
      ),
      card(
        'Position',
        null,
        h(
          'div',
          { class: 'button-row' },
          actionButton('Read position', () =>
            showResult(
              positionOut,
              () => api.position(id()),
              (code) =>
                note(
                  'info',
                  `Position ${code}${POSITIONS[code] ? ` (${POSITIONS[code]} in the simulator)` : ''}.`,
                ),
            ),
          ),
          actionButton(
            'Several positions?',
            () =>
              showResult(
                positionOut,
                () => api.hasMultiplePositions(id()),
                (several) =>
                  note(
                    'info',
                    several
                      ? 'The head turns to a position per mode.'
                      : 'The sensor has one position.',
                  ),
              ),
            { class: 'ghost' },
          ),
        ),
        positionOut,
      ),
    ),
  );

  let shown = null;
  const onSelection = () => {
    const sensorId = id();
    if (!sensorId || sensorId === shown) return;
    shown = sensorId;
    for (const area of [identity, connection, modeOut, calibrationOut, armOut, positionOut])
      fill(area);
    readIdentity();
    showSimState();
  };
  store.subscribe((state, patch) => {
    if ('selected' in patch) onSelection();
    if ('world' in patch || 'meta' in patch) showSimState();
  });
  onSelection();
}
