// Pieces every view renders with: cards, facts, chips, buttons that know whether their sensor is
// busy or lacks what they need, form fields that keep what was typed, and outcomes with hints.

import { errorOutcome, setOutcome } from '../actions.js';
import { closeSensor, openSensor } from '../opening.js';
import { availability, hintContext, needOf } from '../capabilities.js';
import { h, note } from '../dom.js';
import { quantityParts } from '../format.js';
import { HINT_ACTIONS } from '../sensor-ops.js';
import { store } from '../store.js';

// A titled card; `aside` goes to the right of the title. `id` names the card for tests and links.
export function card({ id, title, aside, className }, ...children) {
  return h(
    'section',
    { class: ['card', className], id, 'aria-labelledby': id ? `${id}-title` : null },
    h(
      'div',
      { class: 'card-head' },
      h('h3', { id: id ? `${id}-title` : null }, title),
      aside ?? null,
    ),
    children,
  );
}

// The "sim" tag before `text`: what the simulated world says, set apart from what the plug-in
// answers. Nothing without a text.
export function simTag(text) {
  return text
    ? h('p', { class: 'sim-state' }, h('span', { class: 'tag tag-sim' }, 'sim'), ` ${text}`)
    : null;
}

// A yes/no chip; the word says it, not only the colour.
export function flag(label, value) {
  const known = typeof value === 'boolean';
  const word = known ? (value ? 'yes' : 'no') : 'unknown';
  return h(
    'span',
    {
      class: ['chip', known ? (value ? 'chip-yes' : 'chip-no') : 'chip-unknown'],
      title: `${label}: ${word}`,
    },
    label,
    h('span', { class: 'visually-hidden' }, `: ${word}`),
  );
}

// A definition list of [term, description] pairs; null pairs are left out.
export function facts(pairs, props = {}) {
  return h(
    'dl',
    { class: 'facts', ...props },
    pairs
      .filter(Boolean)
      .map(([term, description]) => [h('dt', null, term), h('dd', null, description)]),
  );
}

// The selected sensor's line is busy with something a person started (live readings do not
// count: they give way to every other action).
export function sensorBusy(state) {
  const task = state.busy[state.selected];
  return task && !task.background ? task.label : null;
}

// A button. `feature` (capabilities.js) disables it when the selected sensor lacks it, the
// reason being in the card (`why`, the id of the element that says it); `busy` makes it refuse
// presses without losing the focus (a disabled button would drop it to the page).
export function button({ id, label, onClick, kind, small, busy, disabled, why, title, dataset }) {
  return h(
    'button',
    {
      type: 'button',
      id,
      class: [kind, small ? 'small' : null],
      disabled: disabled ?? false,
      'aria-disabled': busy ? 'true' : null,
      'aria-describedby': why ?? null,
      title,
      dataset,
      on: {
        click: (event) => {
          if (event.currentTarget.getAttribute('aria-disabled') === 'true') return;
          onClick(event);
        },
      },
    },
    label,
  );
}

// A button acting on the selected sensor: refused while the sensor is busy, disabled with the
// reason when the sensor lacks `feature`.
export function sensorButton(state, { feature, ...props }) {
  const caps = state.caps[state.selected];
  const can = feature ? availability(caps, feature) : { enabled: true };
  return button({
    ...props,
    busy: Boolean(sensorBusy(state)),
    disabled: !can.enabled,
    why: !can.enabled ? `why-${needOf(feature)}` : null,
  });
}

// The lines that say why the buttons of `features` are disabled, one per need (the buttons point
// at it); nothing for what is enabled. Once per tab, so that the ids stay unique.
export function whyNot(state, ...features) {
  const lines = new Map();
  for (const feature of features) {
    const can = availability(state.caps[state.selected], feature);
    if (!can.enabled) lines.set(needOf(feature), can.reason);
  }
  return [...lines].map(([need, reason]) =>
    h('p', { class: 'why-not', id: `why-${need}` }, reason),
  );
}

// ---- Fields that keep what was typed --------------------------------------------------------------

const keep = (event) => store.setDraft(event.currentTarget.id, event.currentTarget.value);

// A text (or number) input whose value survives repainting; `value` is the value before typing.
export function input({ id, value = '', type = 'text', on = {}, ...props }) {
  return h('input', {
    type,
    id,
    value: store.draft(id, String(value)),
    on: { input: keep, ...on },
    ...props,
  });
}

export function textarea({ id, value = '', on = {}, ...props }) {
  return h('textarea', {
    id,
    value: store.draft(id, String(value)),
    on: { input: keep, ...on },
    ...props,
  });
}

// A select of `options` ([{value, label, disabled}]); `onChange(value)` after the draft is kept.
// With `fromState` the select shows `value` whatever was chosen before: the choice lives in the
// store, not in a draft.
export function select({ id, options, value, onChange, fromState = false, ...props }) {
  const initial = String(value ?? options[0]?.value ?? '');
  const current = fromState ? initial : store.draft(id, initial);
  return h(
    'select',
    {
      id,
      on: {
        change: (event) => {
          keep(event);
          onChange?.(event.currentTarget.value);
        },
      },
      ...props,
    },
    options.map((o) =>
      h(
        'option',
        { value: o.value, disabled: o.disabled ?? false, selected: String(o.value) === current },
        o.label,
      ),
    ),
  );
}

// A checkbox; with `fromState` it shows `checked` (a state the world reports), not a draft.
export function checkbox({ id, checked = false, label, onChange, fromState = false, ...props }) {
  const current = fromState ? checked : store.draft(id, checked);
  const box = h('input', {
    type: 'checkbox',
    id,
    checked: current,
    on: {
      change: (event) => {
        store.setDraft(id, event.currentTarget.checked);
        onChange?.(event.currentTarget.checked);
      },
    },
    ...props,
  });
  return h('label', { class: 'toggle-inline', for: id }, box, label);
}

// A <details> that stays open or closed across repaintings; `open` is how it starts.
export function details({ id, summary, className, open = false }, ...children) {
  return h(
    'details',
    {
      id,
      class: className,
      open: store.draft(id, open),
      on: { toggle: (event) => store.setDraft(id, event.currentTarget.open) },
    },
    h('summary', null, summary),
    children,
  );
}

// ---- Outcomes -----------------------------------------------------------------------------------------

// Runs the step a hint suggests and says, where the hint was, how it went: the step's own card
// may be on another tab.
async function runHintAction(key, action) {
  const result = await action.run();
  if (result?.ok) setOutcome(key, { kind: 'ok', text: `${action.done} Try again.` });
  else if (result?.error)
    setOutcome(
      key,
      errorOutcome(result.error, hintContext(store.get().caps[store.get().selected])),
    );
}

// The hint of an error with its suggested step as a button.
function hintView(state, key, id, hint) {
  const action = hint.action ? HINT_ACTIONS[hint.action] : null;
  const offered = action && (!action.simulatorOnly || state.world) ? action : null;
  return h(
    'div',
    { class: 'hint', 'data-testid': 'hint' },
    h('p', null, h('strong', null, 'What to do: '), hint.text),
    offered
      ? button({
          id: `${id}-hint-action`,
          label: offered.label,
          small: true,
          busy: Boolean(sensorBusy(state)),
          onClick: () => runHintAction(key, offered),
        })
      : null,
  );
}

// The envelope exactly as it came, open beside the hint (`id` keeps it open or closed across
// repaintings), focusable so that it can be scrolled from the keyboard.
export function envelopeView(text, label = 'Envelope, as it came', id = null) {
  const pre = h('pre', { class: 'code', tabindex: '0' }, text);
  if (!id) return h('details', { class: 'envelope' }, h('summary', null, label), pre);
  return details({ id, summary: label, className: 'envelope', open: true }, pre);
}

// What the last action of a card gave: a line, and for an error its hint and envelope.
export function outcomeView(state, key) {
  const outcome = state.outcomes[key];
  if (!outcome) return null;
  const id = `outcome-${key.replace(/[^\w-]/g, '-')}`;
  return h(
    'div',
    { class: ['outcome', `outcome-${outcome.kind}`], id, 'data-outcome': key },
    note(outcome.kind, outcome.text),
    outcome.hint ? hintView(state, key, id, outcome.hint) : null,
    outcome.error?.envelopeText
      ? envelopeView(outcome.error.envelopeText, undefined, `${id}-envelope`)
      : null,
    outcome.closeSecond
      ? button({
          id: `${id}-close-second`,
          label: 'Close the second handle',
          small: true,
          kind: 'ghost',
          onClick: () => closeSensor(outcome.closeSecond),
        })
      : null,
    outcome.openAgain
      ? button({
          id: `${id}-again`,
          label: 'Open a second handle anyway',
          small: true,
          kind: 'ghost',
          onClick: () =>
            openSensor(outcome.openAgain.open, outcome.openAgain.meta, { again: true }),
        })
      : null,
  );
}

// One value of a reading: its name over the number, the unit small after it.
export function valueCell({ name, value, quantity, unit, testid, title }) {
  const [text, shownUnit] = quantityParts(value, quantity, unit);
  return h(
    'div',
    { class: 'value', title },
    h('span', { class: 'value-name' }, name),
    h(
      'span',
      { class: 'value-line' },
      h('span', { class: 'value-number', 'data-testid': testid }, text),
      shownUnit ? h('span', { class: 'value-unit' }, shownUnit) : null,
    ),
  );
}

// A row of buttons.
export const buttonRow = (...buttons) => h('div', { class: 'button-row' }, buttons);

// A row of fields and buttons, aligned at their bottoms; `inline` keeps fields at their size.
export const formRow = (inline, ...children) =>
  h('div', { class: ['form-row', inline ? 'inline-fields' : null] }, children);

// The line under a card's title that says what the card is for.
export const cardHint = (text) => h('p', { class: 'panel-hint' }, text);
