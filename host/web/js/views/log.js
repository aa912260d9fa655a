// The request log: every request the console sent, newest first, with its status, the entry
// point it reached and the envelope as the plug-in delivered it.

import { onExchange } from '../api.js';
import { fill, h } from '../dom.js';
import { formatJson, timeOfDay } from '../format.js';

const LIMIT = 500;

function statusClass(status) {
  if (status === 0) return 'status-bad';
  if (status < 300) return 'status-good';
  if (status < 500) return 'status-warn';
  return 'status-bad';
}

function entry(exchange) {
  const failed = exchange.status === 0 || exchange.status >= 400;
  const body = exchange.body
    ? h(
        'div',
        { class: 'log-block' },
        h('div', { class: 'log-caption' }, 'Request body'),
        h('pre', { class: 'code' }, exchange.body),
      )
    : null;
  const answer =
    exchange.envelope !== undefined ? formatJson(exchange.envelope) : (exchange.text ?? '');
  return h(
    'details',
    {
      class: ['log-entry', failed ? 'log-failed' : null],
      dataset: {
        status: exchange.status,
        path: exchange.path,
        entryPoint: exchange.entryPoint ?? '',
      },
    },
    h(
      'summary',
      { class: 'log-summary' },
      h('span', { class: 'log-time' }, timeOfDay(exchange.started)),
      h('span', { class: ['method', `method-${exchange.method.toLowerCase()}`] }, exchange.method),
      h('span', { class: 'log-path', title: exchange.path }, exchange.path),
      h(
        'span',
        { class: ['status-pill', statusClass(exchange.status)] },
        exchange.status === 0 ? 'failed' : String(exchange.status),
      ),
    ),
    h(
      'div',
      { class: 'log-detail' },
      h(
        'div',
        { class: 'log-meta' },
        exchange.entryPoint
          ? h('span', null, 'entry point ', h('code', null, exchange.entryPoint))
          : null,
        h('span', null, `${Math.round(exchange.milliseconds ?? 0)} ms`),
      ),
      body,
      h(
        'div',
        { class: 'log-block' },
        h('div', { class: 'log-caption' }, 'Envelope'),
        h('pre', { class: 'code' }, answer),
      ),
    ),
  );
}

export function mountLog(root) {
  const list = h('div', { class: 'log-list', role: 'log', 'aria-live': 'polite' });
  const count = h('span', { class: 'log-count' }, '0 requests');
  const errorsOnly = h('input', { type: 'checkbox', id: 'log-errors-only' });
  let total = 0;

  const applyFilter = () => list.classList.toggle('log-errors-only', errorsOnly.checked);
  errorsOnly.addEventListener('change', applyFilter);

  fill(
    root,
    h(
      'div',
      { class: 'panel-head' },
      h('h2', { id: 'log-title' }, 'Requests'),
      count,
      h('label', { class: 'toggle-inline' }, errorsOnly, 'failures only'),
      h(
        'button',
        {
          type: 'button',
          class: 'ghost small',
          on: {
            click: () => {
              list.replaceChildren();
              total = 0;
              count.textContent = '0 requests';
            },
          },
        },
        'Clear',
      ),
    ),
    h(
      'p',
      { class: 'panel-hint' },
      'Every request of this page, newest first. Open one to see the envelope.',
    ),
    list,
  );

  onExchange((exchange) => {
    total += 1;
    count.textContent = `${total} request${total === 1 ? '' : 's'}`;
    list.prepend(entry(exchange));
    while (list.childElementCount > LIMIT) list.lastElementChild.remove();
  });
}
