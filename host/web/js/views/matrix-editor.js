// A grid of number fields for a matrix of three columns (X, Y, Z out): the sensor's correction
// matrix (3 or 8 rows of terms) and the 3x3 corrections. What is typed is kept as drafts.

import { h } from '../dom.js';
import { parseCells } from '../matrix.js';
import { store } from '../store.js';
import { input } from './common.js';

const cellId = (prefix, r, c) => `${prefix}-${r}-${c}`;

// Puts `matrix` into the editor's fields (after a read, or for the identity).
export function putMatrix(prefix, matrix) {
  matrix.forEach((row, r) =>
    row.forEach((value, c) => store.setDraft(cellId(prefix, r, c), String(value))),
  );
}

// The editor's `rows` rows as numbers: {matrix} or {error} naming the first cell that is not one.
export function readMatrix(prefix, rows) {
  return parseCells(
    Array.from({ length: rows }, (_, r) =>
      [0, 1, 2].map((c) => store.draft(cellId(prefix, r, c), r === c ? '1' : '0')),
    ),
  );
}

// `terms`: the name of the input each row multiplies; `label` names the matrix for the fields.
export function matrixEditor({ prefix, rows, terms, label }) {
  return h(
    'div',
    { class: 'matrix-grid', id: `${prefix}-grid`, role: 'group', 'aria-label': label },
    h('div', { class: 'matrix-corner', 'aria-hidden': 'true' }, 'in \\ out'),
    ['X', 'Y', 'Z'].map((name) => h('div', { class: 'matrix-head', 'aria-hidden': 'true' }, name)),
    Array.from({ length: rows }, (_, r) => [
      h('div', { class: 'matrix-row-head', 'aria-hidden': 'true' }, terms[r] ?? String(r + 1)),
      [0, 1, 2].map((c) =>
        input({
          id: cellId(prefix, r, c),
          value: r === c ? 1 : 0,
          inputmode: 'decimal',
          class: 'matrix-cell',
          'aria-label': `${label}: row ${r + 1} (${terms[r] ?? r + 1}), column ${'XYZ'[c]}`,
        }),
      ),
    ]),
  );
}
