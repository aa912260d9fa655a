// The Sensor tab: identity and capabilities, connection, mode, calibration, and the hardware the
// sensor has: arm, turning head, exterior light, target marker.

import * as api from '../api.js';
import { info, loadCapabilities, noteSensorState, ok, onSensor, outcomeKey } from '../actions.js';
import { availability, missingHardware } from '../capabilities.js';
import { h, note } from '../dom.js';
import { MODES, OBSERVERS } from '../readings.js';
import { calibrate, setArm } from '../sensor-ops.js';
import { store } from '../store.js';
import { monitorOf, worldSensor } from '../world.js';
import { card, facts, flag, outcomeView, select, sensorButton, simTag } from './common.js';

// What the simulated libraries mean by the position codes.
const POSITIONS = ['display', 'ambient', 'reflectance', 'calibration'];

const capsOf = (state) => state.caps[state.selected];
const worldRecord = (state) => worldSensor(state.world, state.meta[state.selected]);

function builtInFact(state) {
  const builtIn = capsOf(state)?.builtIn;
  const monitor = monitorOf(state.world, state.meta[state.selected]);
  if (builtIn === true)
    return ['Built into', monitor ? `${monitor.serial} \u00b7 ${monitor.product}` : 'a monitor'];
  if (builtIn === false) return ['Built into', 'no monitor (reached over USB or a serial link)'];
  return ['Built into', 'not known'];
}

function capabilitiesView(state) {
  const caps = capsOf(state);
  const i = caps?.info;
  if (!i) return null;
  const missing = missingHardware(caps);
  return [
    facts(
      [
        ['Name', i.name],
        ['Serial', i.serial],
        ['Device id', String(i.deviceID)],
        builtInFact(state),
        i.spectrum
          ? [
              'Spectrum',
              `${i.spectrum.min}\u2013${i.spectrum.max} nm, ${i.spectrum.bandWidth} nm bands, ${i.spectrum.count} values`,
            ]
          : null,
      ],
      { id: 'identity-facts' },
    ),
    h(
      'div',
      { class: 'chips', id: 'capability-chips' },
      flag('needs calibration', i.needsCalibration),
      flag('ambient', i.supportsAmbient),
      flag('reflectance', i.supportsReflectance),
      flag('arm', i.hasArm),
      flag('several positions', i.hasMultipleSensorPosition),
      flag('target marker', caps.supports?.targetMarker ?? i.hasTargetMarker),
      flag('exterior light', caps.supports?.exteriorLight),
      flag('built into a monitor', caps.builtIn ?? undefined),
    ),
    missing.length > 0
      ? h('p', { class: 'muted', id: 'hidden-cards' }, `Not shown: ${missing.join(' ')}`)
      : null,
  ];
}

function identityCard(state) {
  return card(
    {
      id: 'card-identity',
      title: 'Identity and capabilities',
      aside: sensorButton(state, {
        id: 'read-identity',
        label: 'Read again',
        small: true,
        kind: 'ghost',
        onClick: () => loadCapabilities(),
      }),
    },
    capabilitiesView(state),
    h(
      'div',
      { class: 'button-row' },
      sensorButton(state, {
        id: 'test-connection',
        label: 'Test connection',
        small: true,
        onClick: () =>
          onSensor('connection', 'Testing the connection', (id) => api.testConnection(id), {
            success: (valid) =>
              valid
                ? ok('The connection is valid.')
                : {
                    kind: 'error',
                    text: 'The connection is not valid: close the sensor and open it again.',
                  },
          }),
      }),
    ),
    outcomeView(state, outcomeKey('identity')),
    outcomeView(state, outcomeKey('connection')),
  );
}

function modeOptions(state) {
  return MODES.map((m) => {
    const feature = m.value === 1 ? 'ambient' : m.value === 2 ? 'reflectance' : null;
    const can = feature ? availability(capsOf(state), feature) : { enabled: true };
    return {
      value: m.value,
      label: `${m.value} \u00b7 ${m.label}${can.enabled ? '' : ' (not supported)'}`,
      disabled: !can.enabled,
    };
  });
}

function setMode() {
  const mode = Number(store.draft('mode-select', '0'));
  const observer = Number(store.draft('observer-select', '0'));
  return onSensor('mode', 'Setting the mode', (id) => api.setMode(id, mode, observer), {
    success: (_, id) => {
      noteSensorState(id, { mode, observer });
      return ok(
        `Mode ${MODES[mode].label.toLowerCase()}, observer ${OBSERVERS[observer].label} set.`,
      );
    },
  });
}

function modeCard(state) {
  const known = state.sensorState[state.selected];
  const record = worldRecord(state);
  const modes = capsOf(state)?.supports?.modes;
  return card(
    { id: 'card-mode', title: 'Mode' },
    record
      ? simTag(`mode ${record.state?.mode ?? 0}, observer ${record.state?.observer ?? 0}`)
      : null,
    h(
      'p',
      { class: 'muted' },
      Number.isInteger(known?.mode)
        ? `Set here: ${MODES[known.mode].label.toLowerCase()}. The plug-in cannot read the mode back.`
        : 'The plug-in cannot read the mode back; readings count as display mode until one is set here.',
    ),
    h(
      'div',
      { class: 'form-row' },
      h(
        'label',
        { class: 'field' },
        h('span', { class: 'field-label' }, 'Mode'),
        select({ id: 'mode-select', options: modeOptions(state) }),
      ),
      h(
        'label',
        { class: 'field' },
        h('span', { class: 'field-label' }, 'Observer'),
        select({
          id: 'observer-select',
          options: OBSERVERS.map((o) => ({
            value: o.value,
            label: `${o.value} \u00b7 ${o.label}`,
          })),
        }),
      ),
      sensorButton(state, { id: 'set-mode', label: 'Set mode', onClick: setMode }),
    ),
    modes
      ? h(
          'p',
          { class: 'muted', id: 'supported-modes' },
          `Supported: display${modes.ambient ? ', ambient' : ''}${modes.reflectance ? ', reflectance' : ''}.`,
        )
      : null,
    outcomeView(state, outcomeKey('mode')),
  );
}

function calibrationCard(state) {
  const needs = capsOf(state)?.info?.needsCalibration;
  const done = state.sensorState[state.selected]?.calibrated;
  const status =
    needs === true
      ? done
        ? note('ok', 'Calibrated in this session.')
        : note('info', 'This sensor needs calibrating before it measures.', {
            id: 'needs-calibration',
          })
      : needs === false
        ? h('p', { class: 'muted' }, 'This sensor needs no calibration.')
        : null;
  return card(
    { id: 'card-calibration', title: 'Calibration' },
    status,
    state.caps[state.selected]?.info?.hasArm
      ? h(
          'p',
          { class: 'muted' },
          'Calibrate with the arm in: the zero calibration needs darkness.',
        )
      : null,
    h(
      'div',
      { class: 'button-row' },
      sensorButton(state, {
        id: 'calibrate',
        label: 'Calibrate',
        kind: needs && !done ? 'primary' : null,
        onClick: calibrate,
      }),
      sensorButton(state, {
        id: 'needs-calibration-ask',
        label: 'Ask the sensor again',
        kind: 'ghost',
        small: true,
        onClick: () =>
          onSensor('calibration', 'Asking about calibration', (id) => api.needsCalibration(id), {
            success: (needed) =>
              info(needed ? 'The sensor needs calibrating.' : 'No calibration needed.'),
          }),
      }),
    ),
    outcomeView(state, outcomeKey('calibration')),
  );
}

function armCard(state) {
  if (!availability(capsOf(state), 'arm').shown) return null;
  const record = worldRecord(state);
  const out = record ? record.state?.armOut : state.sensorState[state.selected]?.armOut;
  return card(
    { id: 'card-arm', title: 'Arm' },
    h(
      'p',
      { class: 'muted' },
      'The arm swings the sensor in front of the screen: out to measure the display, in to calibrate.',
    ),
    typeof out === 'boolean'
      ? h(
          'p',
          { id: 'arm-state' },
          h('strong', null, out ? 'The arm is out.' : 'The arm is in.'),
          record ? ' (simulated world)' : ' (as set here)',
        )
      : null,
    h(
      'div',
      { class: 'button-row' },
      sensorButton(state, { id: 'arm-out', label: 'Take out', onClick: () => setArm(true) }),
      sensorButton(state, { id: 'arm-in', label: 'Take in', onClick: () => setArm(false) }),
    ),
    outcomeView(state, outcomeKey('arm')),
  );
}

function positionCard(state) {
  const several = capsOf(state)?.supports?.positions;
  return card(
    { id: 'card-position', title: 'Position' },
    typeof several === 'boolean'
      ? h(
          'p',
          { class: 'muted' },
          several ? 'The head turns to a position per mode.' : 'The sensor has one position.',
        )
      : null,
    sensorButton(state, {
      id: 'read-position',
      label: 'Read position',
      onClick: () =>
        onSensor('position', 'Reading the position', (id) => api.position(id), {
          success: (code) =>
            info(
              `Position ${code}${POSITIONS[code] ? ` (${POSITIONS[code]} in the simulator)` : ''}.`,
            ),
        }),
    }),
    outcomeView(state, outcomeKey('position')),
  );
}

// A switch of the sensor's (exterior light, target marker): read it, turn it on or off.
function switchCard(state, { feature, title, read, write, words }) {
  if (!availability(capsOf(state), feature).shown) return null;
  const key = outcomeKey(feature);
  const turn = (on) =>
    onSensor(feature, `Switching the ${words} ${on ? 'on' : 'off'}`, (id) => write(id, on), {
      success: () => ok(`The ${words} is ${on ? 'on' : 'off'}.`),
    });
  return card(
    { id: `card-${feature}`, title },
    h(
      'div',
      { class: 'button-row' },
      sensorButton(state, {
        id: `${feature}-read`,
        label: 'Read',
        kind: 'ghost',
        onClick: () =>
          onSensor(feature, `Reading the ${words}`, read, {
            success: (on) => info(`The ${words} is ${on ? 'on' : 'off'}.`),
          }),
      }),
      sensorButton(state, { id: `${feature}-on`, label: 'Switch on', onClick: () => turn(true) }),
      sensorButton(state, {
        id: `${feature}-off`,
        label: 'Switch off',
        onClick: () => turn(false),
      }),
    ),
    outcomeView(state, key),
  );
}

export function renderSensorTab(state) {
  return h(
    'div',
    { class: 'cards' },
    identityCard(state),
    calibrationCard(state),
    armCard(state),
    modeCard(state),
    positionCard(state),
    switchCard(state, {
      feature: 'exteriorLight',
      title: 'Exterior light',
      read: api.exteriorLight,
      write: api.setExteriorLight,
      words: 'exterior light',
    }),
    switchCard(state, {
      feature: 'targetMarker',
      title: 'Target marker',
      read: api.targetMarker,
      write: api.setTargetMarker,
      words: 'target marker',
    }),
  );
}
