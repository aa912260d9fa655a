// The Correlation tab: stored correlation corrections and matrices (list, apply, release), the
// built-in sensor's own correction matrix, and its criterion sensor description.

import * as api from '../api.js';
import { info, noteApplied, ok, onSensor, outcomeKey, repaint, setOutcome } from '../actions.js';
import { h } from '../dom.js';
import { article, plural } from '../format.js';
import { SHAPES, identityMatrix, shapeOf } from '../matrix.js';
import { store } from '../store.js';
import { selectedSensor } from '../world.js';
import { button, card, checkbox, facts, input, outcomeView, select, sensorButton, simTag, whyNot } from './common.js';
import { confirmThen } from './dialogs.js';
import { matrixEditor, putMatrix, readMatrix } from './matrix-editor.js';

// The input term each row of a correction matrix multiplies.
const TERMS = ['X', 'Y', 'Z', '\u221aXY', '\u221aYZ', '\u221aZX', '\u221bXYZ', '1'];

const reference = (sensor) => `${sensor?.deviceID ?? '?'} \u00b7 ${sensor?.serial || '\u2014'}`;
const listed = (state, card) => state.outcomes[outcomeKey(card)]?.list ?? null;

// A table of stored entries with an Apply button each; `columns`: [[header, cell(entry)]].
function entryTable(state, id, entries, columns, apply, feature) {
  if (!entries || entries.length === 0) return null;
  return h('div', { class: 'table-wrap' }, h('table', { class: 'data-table', id },
    h('thead', null, h('tr', null, columns.map(([header]) => h('th', { scope: 'col' }, header)), h('th', { scope: 'col' }, 'action'))),
    h('tbody', null, entries.map((entry) => h('tr', { dataset: { entryId: entry.id } },
      columns.map(([, cell]) => h('td', null, cell(entry))),
      h('td', { class: 'cell-action' }, sensorButton(state, { id: `${id}-apply-${entry.id}`, label: 'Apply', small: true, feature, onClick: () => apply(entry.id) })))))));
}

// ---- Corrections ------------------------------------------------------------------------------------

const listCorrections = () =>
  onSensor('corrections', 'Listing corrections', (id) => api.corrections(id), {
    success: (list) => ({ ...info(list.length === 0 ? 'No correction is stored for this sensor\u2019s monitor.' : `${plural(list.length, 'correction')} stored.`), list }),
  });

function applyCorrection(correctionID) {
  const recalc = store.draft('recalc', false);
  const white = { x: Number(store.draft('white-x', '0.3127')), y: Number(store.draft('white-y', '0.329')), Y: Number(store.draft('white-Y', '160')) };
  return onSensor('corrections-apply', 'Applying a correction', (id) => api.applyCorrection(id, correctionID, recalc ? white : undefined), {
    success: (_, id) => {
      noteApplied(id, { correlation: correctionID });
      return ok(`Correction ${correctionID} applied${recalc ? ' with luminance recalculation' : ''}.`);
    },
  });
}

function appliedState(state) {
  const sensor = selectedSensor(state);
  if (!sensor) return null;
  const s = sensor.state ?? {};
  return simTag([s.appliedCorrelation ? `correction ${s.appliedCorrelation} applied` : 'no correction applied',
    s.ninePointCorrection ? 'nine-point correction set' : null, s.appliedMatrix ? `matrix ${s.appliedMatrix} applied` : 'no matrix applied']
    .filter(Boolean).join(', '));
}

function correctionsCard(state) {
  const release = () => onSensor('corrections-apply', 'Releasing the correction', (id) => api.releaseCorrection(id), {
    success: (_, id) => { noteApplied(id, { correlation: null }); return ok('The applied correction was released.'); } });
  const clearNine = () => onSensor('corrections-apply', 'Clearing the nine-point correction', (id) => api.clearNinePoints(id), {
    success: () => ok('The nine-point correction was cleared.') });
  return card({ id: 'card-corrections', title: 'Correlation corrections' },
    appliedState(state),
    h('div', { class: 'button-row' },
      sensorButton(state, { id: 'list-corrections', label: 'List', onClick: listCorrections }),
      sensorButton(state, { id: 'release-correction', label: 'Release applied', kind: 'ghost', onClick: release }),
      sensorButton(state, { id: 'clear-nine-points', label: 'Clear nine-point', kind: 'ghost', feature: 'ninePoints', onClick: clearNine })),
    checkbox({ id: 'recalc', label: 'Apply with luminance recalculation to the target white' }),
    h('div', { class: 'form-row inline-fields' },
      h('label', { class: 'field' }, h('span', { class: 'field-label' }, 'x'), input({ id: 'white-x', type: 'number', step: 0.0001, value: 0.3127 })),
      h('label', { class: 'field' }, h('span', { class: 'field-label' }, 'y'), input({ id: 'white-y', type: 'number', step: 0.0001, value: 0.329 })),
      h('label', { class: 'field' }, h('span', { class: 'field-label' }, 'Y (cd/m\u00b2)'), input({ id: 'white-Y', type: 'number', step: 1, value: 160 }))),
    entryTable(state, 'corrections-table', listed(state, 'corrections'),
      [['id', (e) => String(e.id)], ['reference sensor', (e) => reference(e.referenceSensor)], ['monitor', (e) => e.monitor?.serial ?? '']], applyCorrection),
    outcomeView(state, outcomeKey('corrections')),
    outcomeView(state, outcomeKey('corrections-apply')));
}

// ---- Matrices ------------------------------------------------------------------------------------------

function matricesCard(state) {
  const list = () => onSensor('matrices', 'Listing matrices', (id) => api.matrices(id), {
    success: (entries) => ({ ...info(entries.length === 0 ? 'No matrix fits this monitor.' : `${plural(entries.length, 'matrix', 'matrices')} fit this monitor.`), list: entries }) });
  const apply = (matrixID) => onSensor('matrices-apply', 'Applying a matrix', (id) => api.applyMatrix(id, matrixID), {
    success: (_, id) => { noteApplied(id, { matrix: matrixID }); return ok(`Matrix ${matrixID} applied.`); } });
  const release = () => onSensor('matrices-apply', 'Releasing the matrix', (id) => api.releaseMatrix(id), {
    success: (_, id) => { noteApplied(id, { matrix: null }); return ok('The applied matrix was released.'); } });
  return card({ id: 'card-matrices', title: 'Correlation matrices' },
    h('div', { class: 'button-row' },
      sensorButton(state, { id: 'list-matrices', label: 'List', feature: 'matrices', onClick: list }),
      sensorButton(state, { id: 'release-matrix', label: 'Release applied', kind: 'ghost', feature: 'matrices', onClick: release })),
    entryTable(state, 'matrices-table', listed(state, 'matrices'),
      [['id', (e) => String(e.id)], ['reference sensor', (e) => reference(e.referenceSensor)]], apply, 'matrices'),
    outcomeView(state, outcomeKey('matrices')),
    outcomeView(state, outcomeKey('matrices-apply')));
}

// ---- The sensor's correction matrix --------------------------------------------------------------------

const shapeNow = () => store.draft('matrix-shape', '3x3');

function readSensorMatrix() {
  const checkFactory = store.draft('check-factory', false);
  return onSensor('matrix-data', 'Reading the correction matrix', (id) => api.matrixData(id, checkFactory), {
    success: (value) => {
      const shape = shapeOf(value.matrix);
      if (shape) {
        store.setDraft('matrix-shape', shape);
        putMatrix('sensor-matrix', value.matrix);
      }
      const words = `The sensor holds ${shape ? `${article(shape)} ${shape}` : 'a malformed'} matrix.`;
      if (!('isFactory' in value)) return info(words);
      return info(`${words} ${value.isFactory ? 'It equals the factory data.' : 'It differs from the factory data.'}`);
    },
  });
}

function writeSensorMatrix() {
  const shape = shapeNow();
  const parsed = readMatrix('sensor-matrix', SHAPES[shape]);
  if (parsed.error) return setOutcome(outcomeKey('matrix-data'), { kind: 'error', text: parsed.error });
  return confirmThen({
    title: 'Write the sensor\u2019s correction matrix?',
    text: `The ${shape} matrix replaces the one stored in the sensor, which every later reading goes through. Read it first if you may want it back.`,
    confirm: 'Write the matrix',
    run: () => onSensor('matrix-data', 'Writing the correction matrix', (id) => api.setMatrixData(id, parsed.matrix), {
      success: () => ok(`The ${shape} matrix was written.`) }),
  });
}

function sensorMatrixCard(state) {
  const shape = shapeNow();
  const reshape = (next) => {
    putMatrix('sensor-matrix', identityMatrix(SHAPES[next]));
    repaint();
  };
  return card({ id: 'card-matrix-data', title: 'Sensor correction matrix' },
    h('p', { class: 'panel-hint' }, 'The XYZ correction matrix held in the built-in sensor: 3 rows, or 8 rows of terms where the sensor takes the 8x3 form.'),
    h('div', { class: 'form-row inline-fields' },
      sensorButton(state, { id: 'read-matrix', label: 'Read', feature: 'matrixData', onClick: readSensorMatrix }),
      checkbox({ id: 'check-factory', label: 'compare with the factory data' }),
      h('label', { class: 'field' }, h('span', { class: 'field-label' }, 'Shape'),
        select({ id: 'matrix-shape', value: '3x3', options: Object.keys(SHAPES).map((s) => ({ value: s, label: s })), onChange: reshape })),
      button({ id: 'matrix-identity', label: 'Identity', small: true, kind: 'ghost', onClick: () => reshape(shape) })),
    matrixEditor({ prefix: 'sensor-matrix', rows: SHAPES[shape], terms: TERMS, label: 'Sensor correction matrix' }),
    h('div', { class: 'button-row' }, sensorButton(state, { id: 'write-matrix', label: 'Write\u2026', kind: 'primary', feature: 'matrixData', onClick: writeSensorMatrix })),
    outcomeView(state, outcomeKey('matrix-data')));
}

// ---- The criterion sensor description ------------------------------------------------------------------

const pad = (n) => String(n ?? 0).padStart(2, '0');

function readDescription() {
  return onSensor('description', 'Reading the description', (id) => api.criterionDescription(id), {
    success: (value) => {
      if (value === null) return info('No criterion sensor description is stored.');
      const d = value.date ?? {};
      store.setDraft('description-date', d.year ? `${d.year}-${pad(d.month)}-${pad(d.day)}T${pad(d.hour)}:${pad(d.minute)}` : '');
      store.setDraft('description-device', String(value.referenceSensor?.deviceID ?? ''));
      store.setDraft('description-serial', value.referenceSensor?.serial ?? '');
      return { ...info(`Stored: ${d.dateString ?? '\u2014'}, reference sensor ${reference(value.referenceSensor)}.`), value };
    },
  });
}

function writeDescription() {
  const date = store.draft('description-date').replace('T', ' ');
  const body = { date, referenceSensor: { deviceID: Number(store.draft('description-device')), serial: store.draft('description-serial') } };
  return onSensor('description', 'Writing the description', (id) => api.setCriterionDescription(id, body), {
    success: () => ok('The description was written.') });
}

function clearDescription() {
  confirmThen({
    title: 'Clear the criterion sensor description?',
    text: 'The sensor then stores an empty description: the date and the reference sensor of its correlation are lost.',
    confirm: 'Clear the description',
    run: () => onSensor('description', 'Clearing the description', (id) => api.clearCriterionDescription(id), {
      success: () => ok('The description was cleared.') }),
  });
}

function descriptionCard(state) {
  const stored = state.outcomes[outcomeKey('description')]?.value;
  return card({ id: 'card-description', title: 'Criterion sensor description' },
    stored ? facts([['Date', stored.date?.dateString ?? '\u2014'], ['Reference sensor', reference(stored.referenceSensor)]]) : null,
    h('div', { class: 'form-row' },
      h('label', { class: 'field' }, h('span', { class: 'field-label' }, 'Date'), input({ id: 'description-date', type: 'datetime-local' })),
      h('label', { class: 'field' }, h('span', { class: 'field-label' }, 'Reference device id'), input({ id: 'description-device', type: 'number', min: 0 })),
      h('label', { class: 'field' }, h('span', { class: 'field-label' }, 'Reference serial'), input({ id: 'description-serial', maxlength: 32 }))),
    h('div', { class: 'button-row' },
      sensorButton(state, { id: 'read-description', label: 'Read', feature: 'description', onClick: readDescription }),
      sensorButton(state, { id: 'write-description', label: 'Write', feature: 'description', onClick: writeDescription }),
      sensorButton(state, { id: 'clear-description', label: 'Clear\u2026', kind: 'danger', feature: 'description', onClick: clearDescription })),
    outcomeView(state, outcomeKey('description')));
}

export function renderCorrelation(state) {
  return [
    whyNot(state, 'matrices', 'ninePoints'),
    h('div', { class: 'cards' }, correctionsCard(state), matricesCard(state), sensorMatrixCard(state), descriptionCard(state)),
  ];
}
