// The request log: every request the console sent, newest first, with its method, whole path,
// the entry point it reached and its status; a request still running shows as such. Opening an
// entry shows the body, the envelope as it came and, for an error, the hint. Not a live region:
// in live mode it changes every second, and each change would be read out.

import { ApiError, onExchange } from '../api.js';
import { hintContext } from '../capabilities.js';
import { h } from '../dom.js';
import { formatJson, plural, timeOfDay } from '../format.js';
import { hintFor } from '../hints.js';
import { store } from '../store.js';

const LIMIT = 500;

function statusPill(exchange) {
  if (exchange.pending)
    return h(
      'span',
      { class: 'status-pill status-running' },
      h('span', { class: 'spinner', 'aria-hidden': 'true' }),
      'running',
    );
  const { status } = exchange;
  const kind =
    status === 0 || status >= 500 ? 'status-bad' : status >= 300 ? 'status-warn' : 'status-good';
  return h('span', { class: ['status-pill', kind] }, status === 0 ? 'failed' : String(status));
}

function summary(exchange) {
  return h(
    'summary',
    { class: 'log-summary' },
    h(
      'span',
      { class: 'log-line' },
      h('span', { class: ['method', `method-${exchange.method.toLowerCase()}`] }, exchange.method),
      h('span', { class: 'log-path' }, exchange.path),
      statusPill(exchange),
    ),
    h(
      'span',
      { class: 'log-line log-sub' },
      h('span', { class: 'log-time' }, timeOfDay(exchange.started)),
      exchange.entryPoint ? h('code', { class: 'log-entry-point' }, exchange.entryPoint) : null,
      exchange.pending
        ? null
        : h('span', { class: 'log-ms' }, `${Math.round(exchange.milliseconds ?? 0)} ms`),
    ),
  );
}

// What is known of the sensor a request went to, for a precise hint.
function contextOf(path) {
  const id = /^\/Sensors\/([0-9a-f-]{36})(\/|\?|$)/.exec(path)?.[1];
  return id ? hintContext(store.get().caps[id]) : {};
}

function detail(exchange) {
  const error = exchange.envelope?.error;
  const hint = error ? hintFor(new ApiError(exchange.status, error), contextOf(exchange.path)) : null;
  const block = (caption, text) =>
    h(
      'div',
      { class: 'log-block' },
      h('div', { class: 'log-caption' }, caption),
      h('pre', { class: 'code', tabindex: '0' }, text),
    );
  return h(
    'div',
    { class: 'log-detail' },
    exchange.body ? block('Request body', exchange.body) : null,
    exchange.pending
      ? null
      : block(
          'Envelope',
          exchange.envelope !== undefined ? formatJson(exchange.envelope) : (exchange.text ?? ''),
        ),
    hint ? h('p', { class: 'hint' }, h('strong', null, 'What to do: '), hint.text) : null,
  );
}

function entry(exchange, open) {
  const failed = !exchange.pending && (exchange.status === 0 || exchange.status >= 400);
  return h(
    'details',
    {
      class: ['log-entry', failed ? 'log-failed' : null, exchange.pending ? 'log-pending' : null],
      open,
      dataset: {
        id: exchange.id,
        status: exchange.status ?? '',
        path: exchange.path,
        entryPoint: exchange.entryPoint ?? '',
      },
    },
    summary(exchange),
    detail(exchange),
  );
}

export function mountLog(root) {
  const list = h('div', { class: 'log-list', id: 'log-list' });
  const count = h('span', { class: 'log-count' }, '0 requests');
  const errorsOnly = h('input', {
    type: 'checkbox',
    id: 'log-errors-only',
    on: { change: () => list.classList.toggle('log-errors-only', errorsOnly.checked) },
  });
  const entries = new Map();
  let total = 0;
  const clear = () => {
    list.replaceChildren();
    entries.clear();
    total = 0;
    count.textContent = '0 requests';
  };
  root.replaceChildren(
    h(
      'div',
      { class: 'panel-head' },
      h('h2', { id: 'log-title' }, 'Requests'),
      count,
      h('label', { class: 'toggle-inline', for: 'log-errors-only' }, errorsOnly, 'failures only'),
      h(
        'button',
        { type: 'button', id: 'log-clear', class: 'ghost small', on: { click: clear } },
        'Clear',
      ),
    ),
    h(
      'p',
      { class: 'panel-hint' },
      'Every request of this page, newest first. Open one for its body, envelope and hint.',
    ),
    list,
  );
  onExchange((exchange) => {
    const old = entries.get(exchange.id);
    const next = entry(exchange, old?.open ?? false);
    if (old) {
      const focused = old.contains(document.activeElement);
      old.replaceWith(next);
      if (focused) next.querySelector('summary').focus();
    } else {
      total += 1;
      count.textContent = plural(total, 'request');
      list.prepend(next);
    }
    entries.set(exchange.id, next);
    while (list.childElementCount > LIMIT) {
      entries.delete(Number(list.lastElementChild.dataset.id));
      list.lastElementChild.remove();
    }
  });
}
