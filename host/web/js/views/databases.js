// The Records & databases tab: the correlation records held in a built-in sensor (read, edit,
// write), and the correction library's databases of correlation records and matrices (list,
// read one, store the sensor's current one).

import * as api from '../api.js';
import { act, info, ok, onSensor, outcomeKey, setOutcome } from '../actions.js';
import { field, h } from '../dom.js';
import { formatJson, plural } from '../format.js';
import { store } from '../store.js';
import {
  buttonRow,
  card,
  cardHint,
  checkbox,
  envelopeView,
  formRow,
  input,
  outcomeView,
  select,
  sensorButton,
  textarea,
  whyNot,
} from './common.js';
import { confirmThen } from './dialogs.js';

const reference = (sensor) => `${sensor?.deviceID ?? '?'} \u00b7 ${sensor?.serial || '\u2014'}`;
const listed = (state, key) => state.outcomes[outcomeKey(key)]?.list ?? [];

// ---- Records -------------------------------------------------------------------------------------

const readRecords = act(
  'records',
  'Reading the correlation records',
  api.correlationData,
  (value) => {
    store.setDraft('records-json', formatJson(value));
    const count = plural(Object.keys(value).length, 'record');
    return info(`${count} read; edit them below and write back what you changed.`);
  },
);

// The records typed in, with `send` when asked; null after saying why they are not JSON.
function typedRecords() {
  try {
    const records = JSON.parse(store.draft('records-json') || 'null');
    const send = store.draft('records-send', false) && records && typeof records === 'object';
    return send ? { ...records, send: true } : records;
  } catch (error) {
    setOutcome(outcomeKey('records'), { kind: 'error', text: `Not JSON: ${error.message}` });
    return null;
  }
}

function writeRecords() {
  const records = typedRecords();
  if (records === null) return;
  confirmThen({
    title: 'Write the correlation records?',
    text:
      'The records given replace those of the sensor\u2019s user data set; every later ' +
      'correlated reading uses them.',
    confirm: 'Write the records',
    run: act(
      'records',
      'Writing the correlation records',
      (id) => api.setCorrelationData(id, records),
      () => ok('The records were written.'),
    ),
  });
}

function recordsCard(state) {
  const feature = 'correlationData';
  return card(
    { id: 'card-records', title: 'Correlation records of the sensor' },
    cardHint(
      'Calibration, correction, luminance-level, normalized measurement, reference, reference ' +
        'tone and tone correction records, as JSON. Write back only the records you changed.',
    ),
    buttonRow(
      sensorButton(state, { id: 'read-records', label: 'Read', feature, onClick: readRecords }),
      sensorButton(state, {
        id: 'write-records',
        label: 'Write\u2026',
        kind: 'primary',
        feature,
        onClick: writeRecords,
      }),
      checkbox({
        id: 'records-send',
        label: 'send the calibration and correction records to the sensor',
      }),
    ),
    field('Records (JSON)', textarea({ id: 'records-json', rows: 8, spellcheck: 'false' })),
    outcomeView(state, outcomeKey('records')),
  );
}

// ---- The correlation database ---------------------------------------------------------------------

const referenceBody = () => ({
  deviceID: Number(store.draft('db-reference-device', '48')),
  serial: store.draft('db-reference-serial', ''),
});

const listCorrelationDatabase = act(
  'correlation-db',
  'Listing stored records',
  api.correlationDatabase,
  (entries) => ({
    ...info(
      entries.length === 0
        ? 'No record is stored for this monitor.'
        : `${plural(entries.length, 'record')} stored.`,
    ),
    list: entries,
  }),
);

function readEntry() {
  const entryID = store.draft('db-entry-id', '');
  const matches = (entry) => (entry.matchesSensor ? 'matches' : 'differs from');
  return onSensor(
    'correlation-db-entry',
    'Reading a stored record',
    (id) => api.correlationDatabaseEntry(id, entryID),
    {
      success: (entry) => ({
        ...info(`Entry ${entry.id}: ${entry.kind}, ${matches(entry)} the sensor\u2019s record.`),
        record: formatJson(entry.data),
      }),
    },
  );
}

function storeRecord() {
  const body = { referenceSensor: referenceBody() };
  if (store.draft('db-kind', 'CSSG2') === 'IFSv3') body.kind = 'IFSv3';
  const kind = body.kind ?? 'CSSG2';
  return onSensor(
    'correlation-db-entry',
    'Storing the sensor\u2019s record',
    (id) => api.addCorrelationDatabaseEntry(id, body),
    {
      success: (newId) => ok(`The sensor\u2019s ${kind} record was stored as entry ${newId}.`),
    },
  );
}

// Stored entries: id, date, reference sensor.
function entryList(id, entries) {
  if (entries.length === 0) return null;
  return h(
    'ul',
    { class: 'plain-list', id },
    entries.map((e) =>
      h(
        'li',
        null,
        h('code', null, `#${e.id}`),
        ` ${e.date?.dateString ?? ''} \u00b7 reference ${reference(e.referenceSensor)}`,
      ),
    ),
  );
}

function referenceFields() {
  return [
    field(
      'Reference device id',
      input({ id: 'db-reference-device', type: 'number', min: 0, value: 48 }),
    ),
    field('Reference serial', input({ id: 'db-reference-serial', maxlength: 32 })),
  ];
}

function correlationDatabaseCard(state) {
  const feature = 'correlationDatabase';
  const read = state.outcomes[outcomeKey('correlation-db-entry')]?.record;
  const kinds = [
    { value: 'CSSG2', label: 'CSSG2' },
    { value: 'IFSv3', label: 'IFSv3' },
  ];
  return card(
    { id: 'card-correlation-db', title: 'Correlation database' },
    sensorButton(state, {
      id: 'list-correlation-db',
      label: 'List',
      feature,
      onClick: listCorrelationDatabase,
    }),
    entryList('correlation-db-list', listed(state, 'correlation-db')),
    outcomeView(state, outcomeKey('correlation-db')),
    formRow(
      false,
      field('Entry id', input({ id: 'db-entry-id', type: 'number', min: 1 })),
      sensorButton(state, {
        id: 'read-correlation-entry',
        label: 'Read entry',
        feature,
        onClick: readEntry,
      }),
    ),
    formRow(
      false,
      referenceFields(),
      field('Record', select({ id: 'db-kind', options: kinds })),
      sensorButton(state, {
        id: 'add-correlation-entry',
        label: 'Store the sensor\u2019s record',
        feature,
        onClick: storeRecord,
      }),
    ),
    outcomeView(state, outcomeKey('correlation-db-entry')),
    read ? envelopeView(read, 'Stored record') : null,
  );
}

// ---- The matrix database -----------------------------------------------------------------------------

const listMatrixDatabase = act(
  'matrix-db',
  'Listing stored matrices',
  api.matrixDatabase,
  (value) => ({
    ...info(
      value.matrices.length === 0
        ? 'No matrix is stored for this product and panel revision.'
        : `${plural(value.matrices.length, 'matrix', 'matrices')} stored; the latest is ${value.latestID}.`,
    ),
    list: value.matrices,
  }),
);

const storeMatrix = act(
  'matrix-db-add',
  'Storing the sensor\u2019s matrix',
  (id) => api.addMatrixDatabaseEntry(id, referenceBody()),
  (newId) => ok(`The sensor\u2019s matrix was stored as matrix ${newId}.`),
);

function matrixDatabaseCard(state) {
  const feature = 'matrixDatabase';
  return card(
    { id: 'card-matrix-db', title: 'Matrix database' },
    buttonRow(
      sensorButton(state, {
        id: 'list-matrix-db',
        label: 'List',
        feature,
        onClick: listMatrixDatabase,
      }),
      sensorButton(state, {
        id: 'add-matrix-entry',
        label: 'Store the sensor\u2019s matrix',
        feature,
        onClick: storeMatrix,
      }),
    ),
    h(
      'p',
      { class: 'muted' },
      'Stored with the reference sensor given in the correlation database card.',
    ),
    entryList('matrix-db-list', listed(state, 'matrix-db')),
    outcomeView(state, outcomeKey('matrix-db')),
    outcomeView(state, outcomeKey('matrix-db-add')),
  );
}

export function renderDatabases(state) {
  return [
    whyNot(state, 'correlationData'),
    h(
      'div',
      { class: 'cards' },
      recordsCard(state),
      correlationDatabaseCard(state),
      matrixDatabaseCard(state),
    ),
  ];
}
