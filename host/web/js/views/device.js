// The Device settings tab: the sensor's parameter description, its numbered device options, and
// the temperature and brightness correction parameters of a built-in sensor.

import * as api from '../api.js';
import { info, ok, onSensor, outcomeKey } from '../actions.js';
import { h } from '../dom.js';
import { store } from '../store.js';
import { card, input, outcomeView, sensorButton, whyNot } from './common.js';

function descriptionCard(state) {
  const read = () => onSensor('parameter-description', 'Reading the parameter description', (id) => api.parameterDescription(id), {
    success: (text) => {
      store.setDraft('parameter-description', text);
      return info(text === '' ? 'The description is empty.' : `Read ${new TextEncoder().encode(text).length} bytes.`);
    } });
  const write = () => {
    const text = store.draft('parameter-description');
    return onSensor('parameter-description', 'Writing the parameter description', (id) => api.setParameterDescription(id, text), {
      success: () => ok('The parameter description was written.') });
  };
  return card({ id: 'card-parameter-description', title: 'Parameter description' },
    h('p', { class: 'panel-hint' }, 'A text of up to 255 bytes the sensor keeps for its measuring parameters.'),
    h('label', { class: 'field' }, h('span', { class: 'field-label' }, 'Description'), input({ id: 'parameter-description', maxlength: 255 })),
    h('div', { class: 'button-row' },
      sensorButton(state, { id: 'read-parameter-description', label: 'Read', onClick: read }),
      sensorButton(state, { id: 'write-parameter-description', label: 'Write', onClick: write })),
    outcomeView(state, outcomeKey('parameter-description')));
}

function optionsCard(state) {
  const option = () => Number(store.draft('device-option', '1'));
  const read = () => onSensor('device-option', 'Reading a device option', (id) => api.deviceOption(id, option()), {
    success: (value) => {
      store.setDraft('device-option-value', String(value));
      return info(`Option ${option()} is ${value}.`);
    } });
  const write = () => {
    const value = Number(store.draft('device-option-value', '0'));
    return onSensor('device-option', 'Setting a device option', (id) => api.setDeviceOption(id, option(), value), {
      success: () => ok(`Option ${option()} set to ${value}.`) });
  };
  return card({ id: 'card-device-options', title: 'Device options' },
    h('p', { class: 'panel-hint' }, 'Numbered settings of the instrument; which numbers exist depends on the instrument.'),
    h('div', { class: 'form-row inline-fields' },
      h('label', { class: 'field' }, h('span', { class: 'field-label' }, 'Option'), input({ id: 'device-option', type: 'number', min: 0, step: 1, value: 1 })),
      h('label', { class: 'field' }, h('span', { class: 'field-label' }, 'Value'), input({ id: 'device-option-value', type: 'number', step: 1, value: 0 })),
      sensorButton(state, { id: 'read-device-option', label: 'Read', onClick: read }),
      sensorButton(state, { id: 'write-device-option', label: 'Set', onClick: write })),
    outcomeView(state, outcomeKey('device-option')));
}

function ifsCard(state) {
  const calculate = () => onSensor('ifs', 'Calculating the temperature correction', (id) => api.calculateTemperatureCorrection(id), {
    success: () => ok('The temperature correction parameters were calculated.') });
  const read = () => onSensor('ifs', 'Reading the brightness correction update', (id) => api.brightnessCorrectionUpdate(id), {
    success: (on) => info(`Updating the brightness correction parameters is ${on ? 'on' : 'off'}.`) });
  const turn = (on) => onSensor('ifs', 'Switching the brightness correction update', (id) => api.setBrightnessCorrectionUpdate(id, on), {
    success: () => ok(`Updating the brightness correction parameters is ${on ? 'on' : 'off'}.`) });
  return card({ id: 'card-ifs', title: 'Temperature and brightness correction' },
    whyNot(state, 'ifs'),
    h('p', { class: 'panel-hint' }, 'The built-in sensor corrects its readings for the panel\u2019s temperature and brightness.'),
    h('div', { class: 'button-row' },
      sensorButton(state, { id: 'ifs-temperature', label: 'Calculate temperature correction', feature: 'ifs', onClick: calculate })),
    h('div', { class: 'button-row' },
      h('span', { class: 'muted' }, 'Brightness correction update:'),
      sensorButton(state, { id: 'ifs-bright-read', label: 'Read', kind: 'ghost', small: true, feature: 'ifs', onClick: read }),
      sensorButton(state, { id: 'ifs-bright-on', label: 'On', small: true, feature: 'ifs', onClick: () => turn(true) }),
      sensorButton(state, { id: 'ifs-bright-off', label: 'Off', small: true, feature: 'ifs', onClick: () => turn(false) })),
    outcomeView(state, outcomeKey('ifs')));
}

export function renderDevice(state) {
  return h('div', { class: 'cards' }, descriptionCard(state), optionsCard(state), ifsCard(state));
}
