// The Correlation tab: stored correlation corrections and matrices (list, apply, release), the
// criterion sensor description, and the built-in sensor's own correction matrix.

import * as api from '../api.js';
import { actionButton, fill, field, h, note } from '../dom.js';
import { SHAPES, identityMatrix, parseCells, resize, shapeOf } from '../matrix.js';
import { selectedSensor } from '../world.js';
import { afterwards, card, dataTable, facts, output, showResult, simTag } from './common.js';

// The input term each row of a correction matrix multiplies.
const TERMS = ['X', 'Y', 'Z', '\u221aXY', '\u221aYZ', '\u221aZX', '\u221bXYZ', '1'];

// The last cell of a stored entry's row.
function applyCell(apply) {
  return h('td', { class: 'cell-action' }, actionButton('Apply', apply, { class: 'small' }));
}

function reference(sensor) {
  return `${sensor?.deviceID ?? '?'} \u00b7 ${sensor?.serial || '\u2014'}`;
}

// Two digits of a date's part; a missing part counts as 0.
const pad = (n) => String(n ?? 0).padStart(2, '0');

// "2024-03-07 09:05" of the description's date object.
function dateText(date) {
  if (!date) return '\u2014';
  if (date.dateString) return date.dateString;
  return `${date.year}-${pad(date.month)}-${pad(date.day)} ${pad(date.hour)}:${pad(date.minute)}`;
}

export function mountCorrelation(root, { store, refreshWorld }) {
  const id = () => store.get().selected;
  const after = afterwards(refreshWorld);

  // ---- Corrections ----
  const correctionsOut = output('corrections-output');
  const correctionsList = h('div', { class: 'table-wrap' });
  const recalc = h('input', { type: 'checkbox', id: 'recalc' });
  const whiteX = h('input', { type: 'number', step: 0.0001, value: 0.3127, id: 'white-x' });
  const whiteY = h('input', { type: 'number', step: 0.0001, value: 0.329, id: 'white-y' });
  const whiteLum = h('input', { type: 'number', step: 1, value: 160, id: 'white-Y' });
  const correctionState = h('div', { class: 'sim-state' });

  async function listCorrections() {
    await showResult(
      correctionsOut,
      () => api.corrections(id()),
      (list) => {
        fill(
          correctionsList,
          list.length === 0
            ? null
            : dataTable(
                'corrections-table',
                ['id', 'reference sensor', 'monitor', null],
                list.map((entry) =>
                  h(
                    'tr',
                    null,
                    h('td', null, String(entry.id)),
                    h('td', null, reference(entry.referenceSensor)),
                    h('td', { title: entry.monitor?.product ?? '' }, entry.monitor?.serial ?? ''),
                    applyCell(() => applyCorrection(entry.id)),
                  ),
                ),
              ),
        );
        return note(
          'info',
          list.length === 0
            ? 'No correction is stored for this sensor\u2019s monitor.'
            : `${list.length} correction${list.length === 1 ? '' : 's'} stored.`,
        );
      },
    );
  }

  function applyCorrection(correctionID) {
    const targetWhite = recalc.checked
      ? { x: Number(whiteX.value), y: Number(whiteY.value), Y: Number(whiteLum.value) }
      : undefined;
    return after(() =>
      showResult(
        correctionsOut,
        () => api.applyCorrection(id(), correctionID, targetWhite),
        () =>
          note(
            'ok',
            `Correction ${correctionID} applied${targetWhite ? ' with luminance recalculation' : ''}.`,
          ),
      ),
    );
  }

  // ---- Description ----
  const descriptionOut = output('description-output');
  const descDate = h('input', { type: 'datetime-local', id: 'description-date' });
  const descDevice = h('input', { type: 'number', min: 0, id: 'description-device' });
  const descSerial = h('input', { type: 'text', maxlength: 32, id: 'description-serial' });

  async function readDescription() {
    const description = await showResult(
      descriptionOut,
      () => api.criterionDescription(id()),
      (value) =>
        value === null
          ? note('info', 'No criterion sensor description is stored.')
          : facts([
              ['Date', dateText(value.date)],
              ['Reference sensor', reference(value.referenceSensor)],
            ]),
    );
    if (description) {
      const d = description.date ?? {};
      descDate.value = d.year
        ? `${d.year}-${pad(d.month)}-${pad(d.day)}T${pad(d.hour)}:${pad(d.minute)}`
        : '';
      descDevice.value = String(description.referenceSensor?.deviceID ?? '');
      descSerial.value = description.referenceSensor?.serial ?? '';
    }
  }

  // ---- Matrices ----
  const matricesOut = output('matrices-output');
  const matricesList = h('div', { class: 'table-wrap' });
  const matrixState = h('div', { class: 'sim-state' });

  async function listMatrices() {
    await showResult(
      matricesOut,
      () => api.matrices(id()),
      (list) => {
        fill(
          matricesList,
          list.length === 0
            ? null
            : dataTable(
                'matrices-table',
                ['id', 'reference sensor', null],
                list.map((entry) =>
                  h(
                    'tr',
                    { dataset: { matrixId: entry.id } },
                    h('td', null, String(entry.id)),
                    h('td', null, reference(entry.referenceSensor)),
                    applyCell(() =>
                      after(() =>
                        showResult(
                          matricesOut,
                          () => api.applyMatrix(id(), entry.id),
                          () => note('ok', `Matrix ${entry.id} applied.`),
                        ),
                      ),
                    ),
                  ),
                ),
              ),
        );
        return note(
          'info',
          list.length === 0
            ? 'No matrix fits this monitor.'
            : `${list.length} matri${list.length === 1 ? 'x fits' : 'ces fit'} this monitor.`,
        );
      },
    );
  }

  // ---- Matrix data ----
  const dataOut = output('matrix-data-output');
  const checkFactory = h('input', { type: 'checkbox', id: 'check-factory' });
  const shapeSelect = h(
    'select',
    { id: 'matrix-shape' },
    Object.keys(SHAPES).map((name) => h('option', { value: name }, name)),
  );
  const grid = h('div', { class: 'matrix-grid', id: 'matrix-grid' });
  let cells = [];

  function showMatrix(matrix) {
    cells = matrix.map((row, r) =>
      row.map((value, c) =>
        h('input', {
          type: 'text',
          inputmode: 'decimal',
          class: 'matrix-cell',
          value: String(value),
          'aria-label': `Row ${r + 1}, column ${c + 1}`,
        }),
      ),
    );
    fill(
      grid,
      h('div', { class: 'matrix-corner' }),
      ['X', 'Y', 'Z'].map((name) => h('div', { class: 'matrix-head' }, name)),
      cells.map((row, r) => [
        h('div', { class: 'matrix-row-head', title: `Term ${r + 1}` }, TERMS[r] ?? String(r + 1)),
        row,
      ]),
    );
  }

  const currentMatrix = () => cells.map((row) => row.map((input) => input.value));

  shapeSelect.addEventListener('change', () => {
    const parsed = parseCells(currentMatrix());
    showMatrix(resize(parsed.matrix ?? identityMatrix(3), SHAPES[shapeSelect.value]));
  });

  async function readMatrix() {
    const data = await showResult(
      dataOut,
      () => api.matrixData(id(), checkFactory.checked),
      (value) =>
        'isFactory' in value
          ? note(
              'info',
              value.isFactory
                ? 'The matrix equals the factory data.'
                : 'The matrix differs from the factory data.',
            )
          : note('info', `The sensor holds a ${shapeOf(value.matrix) ?? 'malformed'} matrix.`),
    );
    if (data && shapeOf(data.matrix)) {
      shapeSelect.value = shapeOf(data.matrix);
      showMatrix(data.matrix);
    }
  }

  function showSimState() {
    const sensor = selectedSensor(store.get());
    const state = sensor?.state ?? {};
    fill(
      correctionState,
      sensor
        ? simTag(
            [
              state.appliedCorrelation
                ? `correction ${state.appliedCorrelation} applied`
                : 'no correction applied',
              state.ninePointCorrection ? 'nine-point correction set' : null,
            ]
              .filter(Boolean)
              .join(', '),
          )
        : null,
    );
    fill(
      matrixState,
      sensor
        ? simTag(
            state.appliedMatrix ? `matrix ${state.appliedMatrix} applied` : 'no matrix applied',
          )
        : null,
    );
  }

  showMatrix(identityMatrix(3));
  fill(
    root,
    h(
      'div',
      { class: 'cards' },
      card(
        'Correlation corrections',
        null,
        correctionState,
        h(
          'div',
          { class: 'button-row' },
          actionButton('List', listCorrections, { id: 'list-corrections' }),
          actionButton(
            'Release applied',
            () =>
              after(() =>
                showResult(
                  correctionsOut,
                  () => api.releaseCorrection(id()),
                  () => note('ok', 'The applied correction was released.'),
                ),
              ),
            { class: 'ghost' },
          ),
          actionButton(
            'Clear nine-point',
            () =>
              after(() =>
                showResult(
                  correctionsOut,
                  () => api.clearNinePoints(id()),
                  () => note('ok', 'The nine-point correction was cleared.'),
                ),
              ),
            { class: 'ghost' },
          ),
        ),
        h(
          'label',
          { class: 'toggle-inline' },
          recalc,
          'Apply with luminance recalculation to the target white',
        ),
        h(
          'div',
          { class: 'form-row inline-fields' },
          field('x', whiteX),
          field('y', whiteY),
          field('Y (cd/m\u00b2)', whiteLum),
        ),
        correctionsList,
        correctionsOut,
      ),
      card(
        'Correlation matrices',
        null,
        matrixState,
        h(
          'div',
          { class: 'button-row' },
          actionButton('List', listMatrices, { id: 'list-matrices' }),
          actionButton(
            'Release applied',
            () =>
              after(() =>
                showResult(
                  matricesOut,
                  () => api.releaseMatrix(id()),
                  () => note('ok', 'The applied matrix was released.'),
                ),
              ),
            { class: 'ghost', id: 'release-matrix' },
          ),
        ),
        matricesList,
        matricesOut,
      ),
      card(
        'Sensor correction matrix',
        null,
        h(
          'p',
          { class: 'panel-hint' },
          'The XYZ correction matrix held in the built-in sensor: 3 rows, or 8 rows of terms ' +
            '(X, Y, Z, \u221aXY, \u221aYZ, \u221aZX, \u221bXYZ, 1) where the sensor takes the 8x3 form.',
        ),
        h(
          'div',
          { class: 'form-row inline-fields' },
          actionButton('Read', readMatrix, { id: 'read-matrix' }),
          h('label', { class: 'toggle-inline' }, checkFactory, 'compare with the factory data'),
          field('Shape', shapeSelect),
          h(
            'button',
            {
              type: 'button',
              class: 'ghost small',
              on: { click: () => showMatrix(identityMatrix(SHAPES[shapeSelect.value])) },
            },
            'Identity',
          ),
        ),
        grid,
        h(
          'div',
          { class: 'button-row' },
          actionButton(
            'Write',
            async () => {
              const parsed = parseCells(currentMatrix());
              if (parsed.error) return fill(dataOut, note('error', parsed.error));
              return after(() =>
                showResult(
                  dataOut,
                  () => api.setMatrixData(id(), parsed.matrix),
                  () => note('ok', `The ${shapeSelect.value} matrix was written.`),
                ),
              );
            },
            { class: 'primary', id: 'write-matrix' },
          ),
        ),
        dataOut,
      ),
      card(
        'Criterion sensor description',
        null,
        h(
          'div',
          { class: 'button-row' },
          actionButton('Read', readDescription, { id: 'read-description' }),
        ),
        h(
          'div',
          { class: 'form-row' },
          field('Date', descDate),
          field('Reference device id', descDevice),
          field('Reference serial', descSerial),
        ),
        h(
          'div',
          { class: 'button-row' },
          actionButton('Write', () =>
            showResult(
              descriptionOut,
              () =>
                api.setCriterionDescription(id(), {
                  date: descDate.value ? `${descDate.value.replace('T', ' ')}:00` : null,
                  referenceSensor: {
                    deviceID: Number(descDevice.value || 0),
                    serial: descSerial.value,
                  },
                }),
              () => note('ok', 'The description was written.'),
            ),
          ),
          actionButton(
            'Clear',
            () =>
              showResult(
                descriptionOut,
                () => api.clearCriterionDescription(id()),
                () => note('ok', 'The description was cleared.'),
              ),
            { class: 'ghost' },
          ),
        ),
        descriptionOut,
      ),
    ),
  );

  let shown = null;
  store.subscribe((state, patch) => {
    if ('selected' in patch && state.selected !== shown) {
      for (const area of [
        correctionsOut,
        descriptionOut,
        matricesOut,
        dataOut,
        correctionsList,
        matricesList,
      ])
        fill(area);
    }
    if ('world' in patch || 'selected' in patch || 'meta' in patch) showSimState();
  });
  showSimState();
  return {
    onShow() {
      if (shown === id()) return;
      shown = id();
      listCorrections();
      listMatrices();
      readMatrix();
    },
  };
}
