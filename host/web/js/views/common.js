// Pieces the panels and the sensor tabs share.

import { fill, h, note } from '../dom.js';
import { describeError } from '../format.js';

// A titled card; `aside` goes to the right of the title (a tag, a button).
export function card(title, aside, ...children) {
  return h(
    'section',
    { class: 'card' },
    h('div', { class: 'card-head' }, h('h3', null, title), aside ?? null),
    children,
  );
}

// Runs `request` and shows `render(value)` in `output`, or the error. Returns the value, or
// undefined after an error.
export async function showResult(output, request, render) {
  try {
    const value = await request();
    fill(output, render(value));
    return value;
  } catch (error) {
    fill(output, note('error', describeError(error)));
    return undefined;
  }
}

// after(action) for a view: runs `action`, then reloads the simulated world, which the action may
// have changed.
export function afterwards(refreshWorld) {
  return async (action) => {
    await action();
    await refreshWorld();
  };
}

// The "sim" tag before `text`: what the simulated world says, set apart from what the plug-in
// answers. Nothing without a text.
export function simTag(text) {
  return text ? [h('span', { class: 'tag tag-sim' }, 'sim'), ` ${text}`] : null;
}

// A yes/no chip.
export function flag(label, value) {
  const known = typeof value === 'boolean';
  return h(
    'span',
    {
      class: ['chip', known ? (value ? 'chip-yes' : 'chip-no') : 'chip-unknown'],
      title: known ? `${label}: ${value ? 'yes' : 'no'}` : `${label}: unknown`,
    },
    label,
  );
}

// A definition list of [term, description] pairs.
export function facts(pairs) {
  return h(
    'dl',
    { class: 'facts' },
    pairs
      .filter(Boolean)
      .map(([term, description]) => [h('dt', null, term), h('dd', null, description)]),
  );
}

// A table with a row of `headers` (null for a column without a title) over the `rows` (tr
// elements).
export function dataTable(id, headers, rows) {
  return h(
    'table',
    { class: 'data-table', id },
    h('thead', null, h('tr', null, headers.map((text) => h('th', null, text)))),
    h('tbody', null, rows),
  );
}

// An output area under a card's controls.
export const output = (id) => h('div', { class: 'output', id, 'aria-live': 'polite' });
