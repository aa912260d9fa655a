// The Device settings tab: the sensor's parameter description, its numbered device options, and
// the temperature and brightness correction parameters of a built-in sensor.

import * as api from '../api.js';
import { act, info, ok, outcomeKey } from '../actions.js';
import { field, h } from '../dom.js';
import { store } from '../store.js';
import {
  buttonRow,
  card,
  cardHint,
  formRow,
  input,
  outcomeView,
  sensorButton,
  whyNot,
} from './common.js';

// ---- Parameter description ------------------------------------------------------------------------

const bytes = (text) => new TextEncoder().encode(text).length;

const readDescription = act(
  'parameter-description',
  'Reading the parameter description',
  api.parameterDescription,
  (text) => {
    store.setDraft('parameter-description', text);
    return info(text === '' ? 'The description is empty.' : `Read ${bytes(text)} bytes.`);
  },
);

const writeDescription = () =>
  act(
    'parameter-description',
    'Writing the parameter description',
    (id) => api.setParameterDescription(id, store.draft('parameter-description')),
    () => ok('The parameter description was written.'),
  )();

function descriptionCard(state) {
  return card(
    { id: 'card-parameter-description', title: 'Parameter description' },
    cardHint('A text of up to 255 bytes the sensor keeps for its measuring parameters.'),
    field('Description', input({ id: 'parameter-description', maxlength: 255 })),
    buttonRow(
      sensorButton(state, {
        id: 'read-parameter-description',
        label: 'Read',
        onClick: readDescription,
      }),
      sensorButton(state, {
        id: 'write-parameter-description',
        label: 'Write',
        onClick: writeDescription,
      }),
    ),
    outcomeView(state, outcomeKey('parameter-description')),
  );
}

// ---- Device options -----------------------------------------------------------------------------------

const option = () => Number(store.draft('device-option', '1'));

const readOption = () =>
  act(
    'device-option',
    'Reading a device option',
    (id) => api.deviceOption(id, option()),
    (value) => {
      store.setDraft('device-option-value', String(value));
      return info(`Option ${option()} is ${value}.`);
    },
  )();

function writeOption() {
  const value = Number(store.draft('device-option-value', '0'));
  return act(
    'device-option',
    'Setting a device option',
    (id) => api.setDeviceOption(id, option(), value),
    () => ok(`Option ${option()} set to ${value}.`),
  )();
}

function optionsCard(state) {
  return card(
    { id: 'card-device-options', title: 'Device options' },
    cardHint('Numbered settings of the instrument; which numbers exist depends on the instrument.'),
    formRow(
      true,
      field('Option', input({ id: 'device-option', type: 'number', min: 0, step: 1, value: 1 })),
      field('Value', input({ id: 'device-option-value', type: 'number', step: 1, value: 0 })),
      sensorButton(state, { id: 'read-device-option', label: 'Read', onClick: readOption }),
      sensorButton(state, { id: 'write-device-option', label: 'Set', onClick: writeOption }),
    ),
    outcomeView(state, outcomeKey('device-option')),
  );
}

// ---- Temperature and brightness correction ---------------------------------------------------------

const calculate = act(
  'ifs',
  'Calculating the temperature correction',
  api.calculateTemperatureCorrection,
  () => ok('The temperature correction parameters were calculated.'),
);

const updating = (on) => `Updating the brightness correction parameters is ${on ? 'on' : 'off'}.`;

const readUpdate = act(
  'ifs',
  'Reading the brightness correction update',
  api.brightnessCorrectionUpdate,
  (on) => info(updating(on)),
);

const switchUpdate = (on) =>
  act(
    'ifs',
    'Switching the brightness correction update',
    (id) => api.setBrightnessCorrectionUpdate(id, on),
    () => ok(updating(on)),
  )();

function ifsCard(state) {
  const feature = 'ifs';
  const small = (id, label, onClick, kind) =>
    sensorButton(state, { id, label, onClick, kind, feature, small: true });
  return card(
    { id: 'card-ifs', title: 'Temperature and brightness correction' },
    whyNot(state, 'ifs'),
    cardHint(
      'The built-in sensor corrects its readings for the panel\u2019s temperature and brightness.',
    ),
    buttonRow(
      sensorButton(state, {
        id: 'ifs-temperature',
        label: 'Calculate temperature correction',
        feature,
        onClick: calculate,
      }),
    ),
    buttonRow(
      h('span', { class: 'muted' }, 'Brightness correction update:'),
      small('ifs-bright-read', 'Read', readUpdate, 'ghost'),
      small('ifs-bright-on', 'On', () => switchUpdate(true)),
      small('ifs-bright-off', 'Off', () => switchUpdate(false)),
    ),
    outcomeView(state, outcomeKey('ifs')),
  );
}

export function renderDevice(state) {
  return h('div', { class: 'cards' }, descriptionCard(state), optionsCard(state), ifsCard(state));
}
