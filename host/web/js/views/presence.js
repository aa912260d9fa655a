// The Presence detection tab: whether the monitor detects someone in front of it, and its
// detection level. Both reach the monitor through the sensor, so only a built-in sensor answers.

import * as api from '../api.js';
import { info, ok, onSensor, outcomeKey } from '../actions.js';
import { h } from '../dom.js';
import { store } from '../store.js';
import { selectedMonitor } from '../world.js';
import { card, input, outcomeView, sensorButton, simTag, whyNot } from './common.js';

function simState(state) {
  const detection = selectedMonitor(state)?.presenceDetection;
  if (detection)
    return simTag(
      `${detection.on ? 'on' : 'off'}, level ${detection.mode} of 0\u2013${detection.modes - 1}`,
    );
  return state.world ? simTag('the monitor has no presence detection') : null;
}

const turn = (on) =>
  onSensor(
    'presence',
    `Switching presence detection ${on ? 'on' : 'off'}`,
    (id) => api.setPresence(id, on),
    {
      success: () => ok(`Presence detection is ${on ? 'on' : 'off'}.`),
    },
  );

function switchCard(state) {
  return card(
    { id: 'card-presence', title: 'Presence detection' },
    simState(state),
    h(
      'div',
      { class: 'button-row' },
      sensorButton(state, {
        id: 'presence-read',
        label: 'Read',
        kind: 'ghost',
        feature: 'presence',
        onClick: () =>
          onSensor('presence', 'Reading presence detection', (id) => api.presence(id), {
            success: (v) => info(`Presence detection is ${v ? 'on' : 'off'} (${v}).`),
          }),
      }),
      sensorButton(state, {
        id: 'presence-on',
        label: 'Switch on',
        feature: 'presence',
        onClick: () => turn(true),
      }),
      sensorButton(state, {
        id: 'presence-off',
        label: 'Switch off',
        feature: 'presence',
        onClick: () => turn(false),
      }),
    ),
    outcomeView(state, outcomeKey('presence')),
  );
}

function levelCard(state) {
  const setLevel = () => {
    const level = Number(store.draft('presence-level', '0'));
    return onSensor(
      'presence-level',
      'Setting the presence detection level',
      (id) => api.setPresenceLevel(id, level),
      {
        success: () => ok(`Presence detection level ${level} set.`),
      },
    );
  };
  return card(
    { id: 'card-presence-level', title: 'Presence detection level' },
    h(
      'div',
      { class: 'form-row' },
      h(
        'label',
        { class: 'field' },
        h('span', { class: 'field-label' }, 'Level'),
        input({ id: 'presence-level', type: 'number', min: 0, step: 1, value: 0 }),
      ),
      sensorButton(state, {
        id: 'presence-set-level',
        label: 'Set level',
        feature: 'presence',
        onClick: setLevel,
      }),
      sensorButton(state, {
        id: 'presence-read-level',
        label: 'Read',
        kind: 'ghost',
        feature: 'presence',
        onClick: () =>
          onSensor(
            'presence-level',
            'Reading the presence detection level',
            (id) => api.presenceLevel(id),
            {
              success: (level) => info(`Presence detection level ${level}.`),
            },
          ),
      }),
    ),
    outcomeView(state, outcomeKey('presence-level')),
  );
}

export function renderPresence(state) {
  return [
    h(
      'p',
      { class: 'panel-hint' },
      'Monitors with a built-in sensor can detect whether someone sits in front of them.',
    ),
    whyNot(state, 'presence'),
    h('div', { class: 'cards' }, switchCard(state), levelCard(state)),
  ];
}
