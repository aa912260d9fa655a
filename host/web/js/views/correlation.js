// The Correlation tab: stored correlation corrections and matrices (list, apply, release), the
// built-in sensor's own correction matrix, and its criterion sensor description.

import * as api from '../api.js';
import { act, info, noteApplied, ok, outcomeKey, repaint, setOutcome } from '../actions.js';
import { field, h } from '../dom.js';
import { article, plural } from '../format.js';
import { SHAPES, identityMatrix, shapeOf } from '../matrix.js';
import { store } from '../store.js';
import { selectedSensor } from '../world.js';
import {
  button,
  buttonRow,
  card,
  cardHint,
  checkbox,
  facts,
  formRow,
  input,
  outcomeView,
  select,
  sensorButton,
  simTag,
  whyNot,
} from './common.js';
import { confirmThen } from './dialogs.js';
import { matrixEditor, putMatrix, readMatrix } from './matrix-editor.js';

// The input term each row of a correction matrix multiplies.
const TERMS = ['X', 'Y', 'Z', '\u221aXY', '\u221aYZ', '\u221aZX', '\u221bXYZ', '1'];

const reference = (sensor) => `${sensor?.deviceID ?? '?'} \u00b7 ${sensor?.serial || '\u2014'}`;
const listed = (state, key) => state.outcomes[outcomeKey(key)]?.list ?? null;

// A table of stored entries with an Apply button each; `columns`: [[header, cell(entry)]].
function entryTable(state, { id, entries, columns, apply, feature }) {
  if (!entries || entries.length === 0) return null;
  const row = (entry) =>
    h(
      'tr',
      { dataset: { entryId: entry.id } },
      columns.map(([, cell]) => h('td', null, cell(entry))),
      h(
        'td',
        { class: 'cell-action' },
        sensorButton(state, {
          id: `${id}-apply-${entry.id}`,
          label: 'Apply',
          small: true,
          feature,
          onClick: () => apply(entry.id),
        }),
      ),
    );
  return h(
    'div',
    { class: 'table-wrap' },
    h(
      'table',
      { class: 'data-table', id },
      h(
        'thead',
        null,
        h(
          'tr',
          null,
          [...columns.map(([header]) => header), 'action'].map((t) => h('th', { scope: 'col' }, t)),
        ),
      ),
      h('tbody', null, entries.map(row)),
    ),
  );
}

// What the simulated world says is applied to the sensor's readings.
function appliedState(state) {
  const sensor = selectedSensor(state);
  if (!sensor) return null;
  const s = sensor.state ?? {};
  const parts = [
    s.appliedCorrelation ? `correction ${s.appliedCorrelation} applied` : 'no correction applied',
    s.ninePointCorrection ? 'nine-point correction set' : null,
    s.appliedMatrix ? `matrix ${s.appliedMatrix} applied` : 'no matrix applied',
  ];
  return simTag(parts.filter(Boolean).join(', '));
}

// ---- Corrections ------------------------------------------------------------------------------------

const listCorrections = act('corrections', 'Listing corrections', api.corrections, (list) => ({
  ...info(
    list.length === 0
      ? 'No correction is stored for this sensor\u2019s monitor.'
      : `${plural(list.length, 'correction')} stored.`,
  ),
  list,
}));

function applyCorrection(correctionID) {
  const recalc = store.draft('recalc', false);
  const number = (key, fallback) => Number(store.draft(key, fallback));
  const white = {
    x: number('white-x', '0.3127'),
    y: number('white-y', '0.329'),
    Y: number('white-Y', '160'),
  };
  const words = recalc ? ' with luminance recalculation' : '';
  return act(
    'corrections-apply',
    'Applying a correction',
    (id) => api.applyCorrection(id, correctionID, recalc ? white : undefined),
    (_, id) => {
      noteApplied(id, { correlation: correctionID });
      return ok(`Correction ${correctionID} applied${words}.`);
    },
  )();
}

const releaseCorrection = act(
  'corrections-apply',
  'Releasing the correction',
  api.releaseCorrection,
  (_, id) => {
    noteApplied(id, { correlation: null });
    return ok('The applied correction was released.');
  },
);

const clearNinePoints = act(
  'corrections-apply',
  'Clearing the nine-point correction',
  api.clearNinePoints,
  () => ok('The nine-point correction was cleared.'),
);

function targetWhiteFields() {
  const number = (id, label, value, step) =>
    field(label, input({ id, type: 'number', step, value }));
  return formRow(
    true,
    number('white-x', 'x', 0.3127, 0.0001),
    number('white-y', 'y', 0.329, 0.0001),
    number('white-Y', 'Y (cd/m\u00b2)', 160, 1),
  );
}

function correctionsCard(state) {
  const columns = [
    ['id', (e) => String(e.id)],
    ['reference sensor', (e) => reference(e.referenceSensor)],
    ['monitor', (e) => e.monitor?.serial ?? ''],
  ];
  return card(
    { id: 'card-corrections', title: 'Correlation corrections' },
    appliedState(state),
    buttonRow(
      sensorButton(state, { id: 'list-corrections', label: 'List', onClick: listCorrections }),
      sensorButton(state, {
        id: 'release-correction',
        label: 'Release applied',
        kind: 'ghost',
        onClick: releaseCorrection,
      }),
      sensorButton(state, {
        id: 'clear-nine-points',
        label: 'Clear nine-point',
        kind: 'ghost',
        feature: 'ninePoints',
        onClick: clearNinePoints,
      }),
    ),
    checkbox({ id: 'recalc', label: 'Apply with luminance recalculation to the target white' }),
    targetWhiteFields(),
    entryTable(state, {
      id: 'corrections-table',
      entries: listed(state, 'corrections'),
      columns,
      apply: applyCorrection,
    }),
    outcomeView(state, outcomeKey('corrections')),
    outcomeView(state, outcomeKey('corrections-apply')),
  );
}

// ---- Matrices ------------------------------------------------------------------------------------------

const listMatrices = act('matrices', 'Listing matrices', api.matrices, (entries) => ({
  ...info(
    entries.length === 0
      ? 'No matrix fits this monitor.'
      : `${plural(entries.length, 'matrix', 'matrices')} fit this monitor.`,
  ),
  list: entries,
}));

const applyMatrix = (matrixID) =>
  act(
    'matrices-apply',
    'Applying a matrix',
    (id) => api.applyMatrix(id, matrixID),
    (_, id) => {
      noteApplied(id, { matrix: matrixID });
      return ok(`Matrix ${matrixID} applied.`);
    },
  )();

const releaseMatrix = act('matrices-apply', 'Releasing the matrix', api.releaseMatrix, (_, id) => {
  noteApplied(id, { matrix: null });
  return ok('The applied matrix was released.');
});

function matricesCard(state) {
  const feature = 'matrices';
  const columns = [
    ['id', (e) => String(e.id)],
    ['reference sensor', (e) => reference(e.referenceSensor)],
  ];
  return card(
    { id: 'card-matrices', title: 'Correlation matrices' },
    buttonRow(
      sensorButton(state, { id: 'list-matrices', label: 'List', feature, onClick: listMatrices }),
      sensorButton(state, {
        id: 'release-matrix',
        label: 'Release applied',
        kind: 'ghost',
        feature,
        onClick: releaseMatrix,
      }),
    ),
    entryTable(state, {
      id: 'matrices-table',
      entries: listed(state, 'matrices'),
      columns,
      apply: applyMatrix,
      feature,
    }),
    outcomeView(state, outcomeKey('matrices')),
    outcomeView(state, outcomeKey('matrices-apply')),
  );
}

// ---- The sensor's correction matrix --------------------------------------------------------------------

const shapeNow = () => store.draft('matrix-shape', '3x3');

function readSensorMatrix() {
  return act(
    'matrix-data',
    'Reading the correction matrix',
    (id) => api.matrixData(id, store.draft('check-factory', false)),
    (value) => {
      const shape = shapeOf(value.matrix);
      if (shape) {
        store.setDraft('matrix-shape', shape);
        putMatrix('sensor-matrix', value.matrix);
      }
      const words = `The sensor holds ${shape ? `${article(shape)} ${shape}` : 'a malformed'} matrix.`;
      if (!('isFactory' in value)) return info(words);
      return info(
        `${words} ${value.isFactory ? 'It equals' : 'It differs from'} the factory data.`,
      );
    },
  )();
}

function writeSensorMatrix() {
  const shape = shapeNow();
  const parsed = readMatrix('sensor-matrix', SHAPES[shape]);
  if (parsed.error)
    return setOutcome(outcomeKey('matrix-data'), { kind: 'error', text: parsed.error });
  return confirmThen({
    title: 'Write the sensor\u2019s correction matrix?',
    text:
      `The ${shape} matrix replaces the one stored in the sensor, which every later reading goes ` +
      'through. Read it first if you may want it back.',
    confirm: 'Write the matrix',
    run: act(
      'matrix-data',
      'Writing the correction matrix',
      (id) => api.setMatrixData(id, parsed.matrix),
      () => ok(`The ${shape} matrix was written.`),
    ),
  });
}

// The editor shows the identity of `shape` (after a change of shape, or on request).
function showIdentity(shape) {
  putMatrix('sensor-matrix', identityMatrix(SHAPES[shape]));
  repaint();
}

function sensorMatrixCard(state) {
  const shape = shapeNow();
  const shapes = Object.keys(SHAPES).map((s) => ({ value: s, label: s }));
  return card(
    { id: 'card-matrix-data', title: 'Sensor correction matrix' },
    cardHint(
      'The XYZ correction matrix held in the built-in sensor: 3 rows, or 8 rows of terms where the sensor takes the 8x3 form.',
    ),
    formRow(
      true,
      sensorButton(state, {
        id: 'read-matrix',
        label: 'Read',
        feature: 'matrixData',
        onClick: readSensorMatrix,
      }),
      checkbox({ id: 'check-factory', label: 'compare with the factory data' }),
      field(
        'Shape',
        select({ id: 'matrix-shape', value: '3x3', options: shapes, onChange: showIdentity }),
      ),
      button({
        id: 'matrix-identity',
        label: 'Identity',
        small: true,
        kind: 'ghost',
        onClick: () => showIdentity(shape),
      }),
    ),
    matrixEditor({
      prefix: 'sensor-matrix',
      rows: SHAPES[shape],
      terms: TERMS,
      label: 'Sensor correction matrix',
    }),
    buttonRow(
      sensorButton(state, {
        id: 'write-matrix',
        label: 'Write\u2026',
        kind: 'primary',
        feature: 'matrixData',
        onClick: writeSensorMatrix,
      }),
    ),
    outcomeView(state, outcomeKey('matrix-data')),
  );
}

// ---- The criterion sensor description ------------------------------------------------------------------

const pad = (n) => String(n ?? 0).padStart(2, '0');

// The stored description into the fields, so that it can be changed and written back.
function putDescription(value) {
  const d = value.date ?? {};
  store.setDraft(
    'description-date',
    d.year ? `${d.year}-${pad(d.month)}-${pad(d.day)}T${pad(d.hour)}:${pad(d.minute)}` : '',
  );
  store.setDraft('description-device', String(value.referenceSensor?.deviceID ?? ''));
  store.setDraft('description-serial', value.referenceSensor?.serial ?? '');
}

const readDescription = act(
  'description',
  'Reading the description',
  api.criterionDescription,
  (value) => {
    if (value === null) return info('No criterion sensor description is stored.');
    putDescription(value);
    return {
      ...info(
        `Stored: ${value.date?.dateString ?? '\u2014'}, reference sensor ${reference(value.referenceSensor)}.`,
      ),
      value,
    };
  },
);

function writeDescription() {
  const body = {
    date: store.draft('description-date').replace('T', ' '),
    referenceSensor: {
      deviceID: Number(store.draft('description-device')),
      serial: store.draft('description-serial'),
    },
  };
  return act(
    'description',
    'Writing the description',
    (id) => api.setCriterionDescription(id, body),
    () => ok('The description was written.'),
  )();
}

function clearDescription() {
  confirmThen({
    title: 'Clear the criterion sensor description?',
    text: 'The sensor then stores an empty description: the date and the reference sensor of its correlation are lost.',
    confirm: 'Clear the description',
    run: act('description', 'Clearing the description', api.clearCriterionDescription, () =>
      ok('The description was cleared.'),
    ),
  });
}

function descriptionCard(state) {
  const feature = 'description';
  const stored = state.outcomes[outcomeKey('description')]?.value;
  return card(
    { id: 'card-description', title: 'Criterion sensor description' },
    stored
      ? facts([
          ['Date', stored.date?.dateString ?? '\u2014'],
          ['Reference sensor', reference(stored.referenceSensor)],
        ])
      : null,
    formRow(
      false,
      field('Date', input({ id: 'description-date', type: 'datetime-local' })),
      field('Reference device id', input({ id: 'description-device', type: 'number', min: 0 })),
      field('Reference serial', input({ id: 'description-serial', maxlength: 32 })),
    ),
    buttonRow(
      sensorButton(state, {
        id: 'read-description',
        label: 'Read',
        feature,
        onClick: readDescription,
      }),
      sensorButton(state, {
        id: 'write-description',
        label: 'Write',
        feature,
        onClick: writeDescription,
      }),
      sensorButton(state, {
        id: 'clear-description',
        label: 'Clear\u2026',
        kind: 'danger',
        feature,
        onClick: clearDescription,
      }),
    ),
    outcomeView(state, outcomeKey('description')),
  );
}

export function renderCorrelation(state) {
  return [
    whyNot(state, 'matrices', 'ninePoints'),
    h(
      'div',
      { class: 'cards' },
      correctionsCard(state),
      matricesCard(state),
      sensorMatrixCard(state),
      descriptionCard(state),
    ),
  ];
}
