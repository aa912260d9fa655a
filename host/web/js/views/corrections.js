// The Corrections tab: the sensor's user correction and extra correction, two 3x3 matrices the
// measurement library applies to every reading after the correlation.

import * as api from '../api.js';
import { info, noteApplied, ok, onSensor, outcomeKey, repaint, setOutcome } from '../actions.js';
import { h } from '../dom.js';
import { identityMatrix } from '../matrix.js';
import { button, card, outcomeView, sensorButton } from './common.js';
import { confirmThen } from './dialogs.js';
import { matrixEditor, putMatrix, readMatrix } from './matrix-editor.js';

const TERMS = ['X', 'Y', 'Z'];

// The editor's matrix, or null after showing why it is not one under `card`.
function matrixOf(prefix, cardKey) {
  const parsed = readMatrix(prefix, 3);
  if (!parsed.error) return parsed.matrix;
  setOutcome(outcomeKey(cardKey), { kind: 'error', text: parsed.error });
  return null;
}

function identityButton(prefix) {
  return button({
    id: `${prefix}-identity`,
    label: 'Identity',
    small: true,
    kind: 'ghost',
    onClick: () => {
      putMatrix(prefix, identityMatrix(3));
      repaint();
    },
  });
}

function userCorrectionCard(state) {
  const set = () => {
    const matrix = matrixOf('user-correction', 'correction');
    return (
      matrix &&
      onSensor('correction', 'Setting the user correction', (id) => api.setCorrection(id, matrix), {
        success: (_, id) => {
          noteApplied(id, { correction: true });
          return ok('The user correction is set.');
        },
      })
    );
  };
  const clear = () =>
    confirmThen({
      title: 'Clear the user correction?',
      text: 'Readings then go without it. The plug-in cannot read it back, so note the values first if you need them.',
      confirm: 'Clear the correction',
      run: () =>
        onSensor('correction', 'Clearing the user correction', (id) => api.clearCorrection(id), {
          success: (_, id) => {
            noteApplied(id, { correction: false });
            return ok('The user correction is cleared.');
          },
        }),
    });
  return card(
    { id: 'card-correction', title: 'User correction' },
    h(
      'p',
      { class: 'panel-hint' },
      'A 3x3 matrix applied to every corrected reading (out = M \u00d7 in). It can be set and cleared, not read.',
    ),
    matrixEditor({ prefix: 'user-correction', rows: 3, terms: TERMS, label: 'User correction' }),
    h(
      'div',
      { class: 'button-row' },
      sensorButton(state, { id: 'set-correction', label: 'Set', kind: 'primary', onClick: set }),
      sensorButton(state, {
        id: 'clear-correction',
        label: 'Clear\u2026',
        kind: 'danger',
        onClick: clear,
      }),
      identityButton('user-correction'),
    ),
    outcomeView(state, outcomeKey('correction')),
  );
}

function extraCorrectionCard(state) {
  const read = () =>
    onSensor('ex-correction', 'Reading the extra correction', (id) => api.exCorrection(id), {
      success: (matrix) => {
        putMatrix('extra-correction', matrix);
        return info('The extra correction was read.');
      },
    });
  const set = () => {
    const matrix = matrixOf('extra-correction', 'ex-correction');
    return (
      matrix &&
      onSensor(
        'ex-correction',
        'Setting the extra correction',
        (id) => api.setExCorrection(id, matrix),
        {
          success: () => ok('The extra correction is set.'),
        },
      )
    );
  };
  return card(
    { id: 'card-ex-correction', title: 'Extra correction' },
    h(
      'p',
      { class: 'panel-hint' },
      'A second 3x3 matrix, applied after the user correction. The identity leaves readings as they are.',
    ),
    matrixEditor({ prefix: 'extra-correction', rows: 3, terms: TERMS, label: 'Extra correction' }),
    h(
      'div',
      { class: 'button-row' },
      sensorButton(state, { id: 'read-ex-correction', label: 'Read', onClick: read }),
      sensorButton(state, { id: 'set-ex-correction', label: 'Set', kind: 'primary', onClick: set }),
      identityButton('extra-correction'),
    ),
    outcomeView(state, outcomeKey('ex-correction')),
  );
}

export function renderCorrections(state) {
  return [
    h(
      'p',
      { class: 'panel-hint' },
      'A reading goes through the nine-point correction, the applied correlation correction and matrix, then these two.',
    ),
    h('div', { class: 'cards' }, userCorrectionCard(state), extraCorrectionCard(state)),
  ];
}
