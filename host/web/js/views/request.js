// The Any request tab: any entry point with any method, path parameters, query and body, by its
// REST route or by the bridge route; shows the envelope as it came, with the hint for an error.
// The routes come from the host (GET /host/routes), so nothing is out of reach.

import { repaint } from '../actions.js';
import { field, h, note } from '../dom.js';
import { sendRequest } from '../simulating.js';
import { store } from '../store.js';
import {
  button,
  buttonRow,
  card,
  cardHint,
  checkbox,
  formRow,
  input,
  outcomeView,
  select,
  textarea,
} from './common.js';

const METHODS = ['GET', 'PUT', 'POST', 'DELETE'];

const parameterNames = (pattern) => [...pattern.matchAll(/\{(\w+)\}/g)].map((m) => m[1]);

function chosenRoute(state) {
  const name = store.draft('req-entry', state.routes[0]?.entryPoint ?? '');
  return state.routes.find((r) => r.entryPoint === name) ?? state.routes[0] ?? null;
}

// The first method the resource implements (the host lists them per route).
function defaultMethod(route) {
  return route?.methods?.[0] ?? 'GET';
}

// Every method stays offered: one the resource lacks shows its 405 answer.
function methodOptions(route) {
  return METHODS.map((m) => ({
    value: m,
    label: route?.methods?.includes(m) ? m : `${m} (not implemented: 405)`,
  }));
}

function parameterDefault(state, name) {
  if (name === 'id') return state.selected ?? '';
  return (
    {
      deviceID: '33',
      individualID: '54887620458597674',
      serial: 'QM7A0451',
      product: 'QM-27-Studio-Lab',
    }[name] ?? ''
  );
}

// "a&b=c" as the query object the bridge route takes: a key without "=" gives null.
function queryObject(text) {
  const entries = text
    .replace(/^\?/, '')
    .split('&')
    .filter(Boolean)
    .map((piece) => {
      const at = piece.indexOf('=');
      return at < 0
        ? [decodeURIComponent(piece), null]
        : [decodeURIComponent(piece.slice(0, at)), decodeURIComponent(piece.slice(at + 1))];
    });
  return Object.fromEntries(entries);
}

// The request the fields describe.
function composed(state) {
  const route = chosenRoute(state);
  const parameters = Object.fromEntries(
    parameterNames(route.path).map((name) => [
      name,
      store.draft(`req-param-${name}`, parameterDefault(state, name)),
    ]),
  );
  const path = route.path.replace(/\{(\w+)\}/g, (_, name) => encodeURIComponent(parameters[name]));
  const query = store.draft('req-query', '').trim().replace(/^\?/, '');
  return {
    method: store.draft('req-method', defaultMethod(route)),
    path: query ? `${path}?${query}` : path,
    body: store.draft('req-body', ''),
    bridge: store.draft('req-bridge', false),
    entryPoint: route.entryPoint,
    parameters,
    query: queryObject(query),
  };
}

function curlLine(request) {
  const body = request.body
    ? ` -d '${request.body.replace(/'/g, "'\\''")}'`
    : request.method === 'POST' || request.method === 'PUT'
      ? " -d ''"
      : '';
  return `curl -s -X ${request.method} '${location.origin}${request.path}'${body}`;
}

function answerView(state) {
  const answer = state.request;
  if (!answer) return null;
  if (answer.pending) return note('info', 'Waiting for the answer\u2026');
  const failed = answer.status === 0 || answer.status >= 400;
  return h(
    'div',
    { class: 'request-answer', id: 'request-answer', 'data-status': answer.status },
    h(
      'p',
      null,
      h(
        'span',
        { class: ['status-pill', failed ? 'status-bad' : 'status-good'] },
        answer.status === 0 ? 'no answer' : String(answer.status),
      ),
      answer.entryPoint
        ? [' entry point ', h('code', { id: 'request-entry-point' }, answer.entryPoint)]
        : ' (no entry point: a host route)',
    ),
    answer.error?.hint
      ? h(
          'div',
          { class: 'hint', 'data-testid': 'hint' },
          h('p', null, h('strong', null, 'What to do: '), answer.error.hint.text),
        )
      : null,
    h('div', { class: 'log-caption' }, 'Envelope, as it came'),
    h(
      'pre',
      { class: 'code', tabindex: '0', id: 'request-envelope' },
      answer.text || answer.error?.text || '',
    ),
  );
}

// The request line follows what is typed without painting the panel again (a field replaced
// while it is typed in loses the text being composed).
function requestLine(request) {
  return request.bridge
    ? `POST /bridge/${request.entryPoint}`
    : `${request.method} ${request.path}`;
}

function showLine(event) {
  store.setDraft(event.currentTarget.id, event.currentTarget.value);
  const line = document.getElementById('request-line');
  if (line) line.textContent = requestLine(composed(store.get()));
}

function parameterFields(state, route) {
  return parameterNames(route.path).map((name) =>
    field(
      `{${name}}`,
      input({
        id: `req-param-${name}`,
        value: parameterDefault(state, name),
        on: { input: showLine },
      }),
    ),
  );
}

function choosingFields(state, route) {
  const onEntry = () => {
    store.setDraft('req-method', defaultMethod(chosenRoute(store.get())));
    repaint();
  };
  const entries = state.routes.map((r) => ({
    value: r.entryPoint,
    label: `${r.entryPoint} \u2014 ${r.path}`,
  }));
  const methods = methodOptions(route);
  const entry = field(
    'Entry point',
    select({ id: 'req-entry', value: route.entryPoint, onChange: onEntry, options: entries }),
  );
  entry.classList.add('field-wide');
  return formRow(
    false,
    entry,
    field(
      'Method',
      select({
        id: 'req-method',
        value: defaultMethod(route),
        options: methods,
        onChange: repaint,
      }),
    ),
  );
}

function contentFields() {
  return [
    field(
      'Query (key, key=value, joined by &)',
      input({ id: 'req-query', placeholder: 'supports', on: { input: showLine } }),
    ),
    field(
      'Body (sent byte for byte)',
      textarea({ id: 'req-body', rows: 4, spellcheck: 'false', placeholder: 'true' }),
    ),
    checkbox({
      id: 'req-bridge',
      label: 'send through the bridge route (typed query and parameters)',
      onChange: repaint,
    }),
  ];
}

export function renderRequest(state) {
  if (state.routes.length === 0) return note('info', 'Reading the host\u2019s routes\u2026');
  const route = chosenRoute(state);
  const request = composed(state);
  const send = () => sendRequest(composed(store.get()));
  return card(
    { id: 'card-any-request', title: 'Any request' },
    cardHint(
      'Every entry point of the plug-in with any method, query and body. The envelope below is the plug-in\u2019s, exactly as it came.',
    ),
    choosingFields(state, route),
    route.path.includes('{') ? formRow(false, parameterFields(state, route)) : null,
    contentFields(),
    buttonRow(
      button({
        id: 'req-send',
        label: 'Send',
        kind: 'primary',
        busy: Boolean(state.request?.pending),
        onClick: send,
      }),
      h('code', { class: 'request-line', id: 'request-line' }, requestLine(request)),
    ),
    h(
      'details',
      { class: 'envelope' },
      h('summary', null, 'As a curl command'),
      h('pre', { class: 'code', tabindex: '0' }, curlLine(request)),
    ),
    outcomeView(state, 'request'),
    answerView(state),
  );
}
