// The Records & databases tab: the correlation records held in a built-in sensor (read, edit,
// write), and the correction library's databases of correlation records and matrices (list,
// read one, store the sensor's current one).

import * as api from '../api.js';
import { info, ok, onSensor, outcomeKey, setOutcome } from '../actions.js';
import { h } from '../dom.js';
import { formatJson, plural } from '../format.js';
import { store } from '../store.js';
import { card, checkbox, envelopeView, input, outcomeView, select, sensorButton, textarea, whyNot } from './common.js';
import { confirmThen } from './dialogs.js';

const reference = (sensor) => `${sensor?.deviceID ?? '?'} \u00b7 ${sensor?.serial || '\u2014'}`;

// ---- Records -------------------------------------------------------------------------------------

function readRecords() {
  return onSensor('records', 'Reading the correlation records', (id) => api.correlationData(id), {
    success: (value) => {
      store.setDraft('records-json', formatJson(value));
      return info(`${plural(Object.keys(value).length, 'record')} read; edit them below and write back what you changed.`);
    },
  });
}

function writeRecords() {
  let records;
  try {
    records = JSON.parse(store.draft('records-json') || 'null');
  } catch (error) {
    return setOutcome(outcomeKey('records'), { kind: 'error', text: `The records are not JSON: ${error.message}` });
  }
  if (store.draft('records-send', false) && records && typeof records === 'object') records = { ...records, send: true };
  return confirmThen({
    title: 'Write the correlation records?',
    text: 'The records given replace those of the sensor\u2019s user data set; every later correlated reading uses them.',
    confirm: 'Write the records',
    run: () => onSensor('records', 'Writing the correlation records', (id) => api.setCorrelationData(id, records), {
      success: () => ok('The records were written.') }),
  });
}

function recordsCard(state) {
  return card({ id: 'card-records', title: 'Correlation records of the sensor' },
    h('p', { class: 'panel-hint' }, 'Calibration, correction, luminance-level, normalized measurement, reference, reference tone and tone correction records, as JSON. Write back only the records you changed.'),
    h('div', { class: 'button-row' },
      sensorButton(state, { id: 'read-records', label: 'Read', feature: 'correlationData', onClick: readRecords }),
      sensorButton(state, { id: 'write-records', label: 'Write\u2026', kind: 'primary', feature: 'correlationData', onClick: writeRecords }),
      checkbox({ id: 'records-send', label: 'send the calibration and correction records to the sensor' })),
    h('label', { class: 'field' }, h('span', { class: 'field-label' }, 'Records (JSON)'),
      textarea({ id: 'records-json', rows: 8, spellcheck: 'false', placeholder: '{"luminanceLevelCorrection": {"brightness": 140, "dimmerOut": 895}}' })),
    outcomeView(state, outcomeKey('records')));
}

// ---- The correlation database ---------------------------------------------------------------------

const referenceBody = () => ({
  deviceID: Number(store.draft('db-reference-device', '48')),
  serial: store.draft('db-reference-serial', ''),
});

function correlationDatabaseCard(state) {
  const list = () => onSensor('correlation-db', 'Listing stored records', (id) => api.correlationDatabase(id), {
    success: (entries) => ({ ...info(entries.length === 0 ? 'No record is stored for this monitor.' : `${plural(entries.length, 'record')} stored.`), list: entries }) });
  const readOne = () => {
    const entryID = store.draft('db-entry-id', '');
    return onSensor('correlation-db-entry', 'Reading a stored record', (id) => api.correlationDatabaseEntry(id, entryID), {
      success: (entry) => ({ ...info(`Entry ${entry.id}: ${entry.kind}, ${entry.matchesSensor ? 'matches' : 'differs from'} the sensor\u2019s record.`), record: formatJson(entry.data) }) });
  };
  const add = () => {
    const body = { referenceSensor: referenceBody() };
    if (store.draft('db-kind', 'CSSG2') === 'IFSv3') body.kind = 'IFSv3';
    return onSensor('correlation-db-entry', 'Storing the sensor\u2019s record', (id) => api.addCorrelationDatabaseEntry(id, body), {
      success: (newId) => ok(`The sensor\u2019s ${body.kind ?? 'CSSG2'} record was stored as entry ${newId}.`) });
  };
  const listed = state.outcomes[outcomeKey('correlation-db')]?.list ?? [];
  const read = state.outcomes[outcomeKey('correlation-db-entry')]?.record;
  return card({ id: 'card-correlation-db', title: 'Correlation database' },
    sensorButton(state, { id: 'list-correlation-db', label: 'List', feature: 'correlationDatabase', onClick: list }),
    listed.length > 0 ? h('ul', { class: 'plain-list', id: 'correlation-db-list' }, listed.map((e) =>
      h('li', null, h('code', null, `#${e.id}`), ` ${e.date?.dateString ?? ''} \u00b7 reference ${reference(e.referenceSensor)}`))) : null,
    outcomeView(state, outcomeKey('correlation-db')),
    h('div', { class: 'form-row' },
      h('label', { class: 'field' }, h('span', { class: 'field-label' }, 'Entry id'), input({ id: 'db-entry-id', type: 'number', min: 1 })),
      sensorButton(state, { id: 'read-correlation-entry', label: 'Read entry', feature: 'correlationDatabase', onClick: readOne })),
    h('div', { class: 'form-row' },
      h('label', { class: 'field' }, h('span', { class: 'field-label' }, 'Reference device id'), input({ id: 'db-reference-device', type: 'number', min: 0, value: 48 })),
      h('label', { class: 'field' }, h('span', { class: 'field-label' }, 'Reference serial'), input({ id: 'db-reference-serial', maxlength: 32 })),
      h('label', { class: 'field' }, h('span', { class: 'field-label' }, 'Record'),
        select({ id: 'db-kind', options: [{ value: 'CSSG2', label: 'CSSG2' }, { value: 'IFSv3', label: 'IFSv3' }] })),
      sensorButton(state, { id: 'add-correlation-entry', label: 'Store the sensor\u2019s record', feature: 'correlationDatabase', onClick: add })),
    outcomeView(state, outcomeKey('correlation-db-entry')),
    read ? envelopeView(read, 'Stored record') : null);
}

// ---- The matrix database -----------------------------------------------------------------------------

function matrixDatabaseCard(state) {
  const list = () => onSensor('matrix-db', 'Listing stored matrices', (id) => api.matrixDatabase(id), {
    success: (value) => ({ ...info(value.matrices.length === 0 ? 'No matrix is stored for this product and panel revision.'
      : `${plural(value.matrices.length, 'matrix', 'matrices')} stored; the latest is ${value.latestID}.`), list: value.matrices }) });
  const add = () => onSensor('matrix-db-add', 'Storing the sensor\u2019s matrix', (id) => api.addMatrixDatabaseEntry(id, referenceBody()), {
    success: (newId) => ok(`The sensor\u2019s matrix was stored as matrix ${newId}.`) });
  const listed = state.outcomes[outcomeKey('matrix-db')]?.list ?? [];
  return card({ id: 'card-matrix-db', title: 'Matrix database' },
    h('div', { class: 'button-row' },
      sensorButton(state, { id: 'list-matrix-db', label: 'List', feature: 'matrixDatabase', onClick: list }),
      sensorButton(state, { id: 'add-matrix-entry', label: 'Store the sensor\u2019s matrix', feature: 'matrixDatabase', onClick: add })),
    h('p', { class: 'muted' }, 'Stored with the reference sensor given in the correlation database card.'),
    listed.length > 0 ? h('ul', { class: 'plain-list', id: 'matrix-db-list' }, listed.map((e) =>
      h('li', null, h('code', null, `#${e.id}`), ` ${e.date?.dateString ?? ''} \u00b7 reference ${reference(e.referenceSensor)}`))) : null,
    outcomeView(state, outcomeKey('matrix-db')),
    outcomeView(state, outcomeKey('matrix-db-add')));
}

export function renderDatabases(state) {
  return [
    whyNot(state, 'correlationData'),
    h('div', { class: 'cards' }, recordsCard(state), correlationDatabaseCard(state), matrixDatabaseCard(state)),
  ];
}
