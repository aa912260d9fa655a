// Building the console's DOM without markup strings: every text goes through textContent or a
// text node, so nothing the plug-in answers can turn into markup.

const SVG_NS = 'http://www.w3.org/2000/svg';
const PROPERTIES = new Set(['value', 'checked', 'disabled', 'hidden', 'selected', 'open']);

function apply(element, props) {
  for (const [key, value] of Object.entries(props ?? {})) {
    if (value === undefined || value === null || value === false) {
      if (PROPERTIES.has(key)) element[key] = false;
      continue;
    }
    if (key === 'class') {
      element.setAttribute('class', Array.isArray(value) ? value.filter(Boolean).join(' ') : value);
    } else if (key === 'text') {
      element.textContent = String(value);
    } else if (key === 'on') {
      for (const [event, handler] of Object.entries(value))
        element.addEventListener(event, handler);
    } else if (key === 'dataset') {
      for (const [name, data] of Object.entries(value)) element.dataset[name] = String(data);
    } else if (PROPERTIES.has(key)) {
      element[key] = value;
    } else {
      element.setAttribute(key, value === true ? '' : String(value));
    }
  }
}

function append(element, children) {
  for (const child of children.flat(Infinity)) {
    if (child === null || child === undefined || child === false) continue;
    element.append(child instanceof Node ? child : document.createTextNode(String(child)));
  }
}

// An HTML element: h('button', {class: 'primary', on: {click}}, 'Measure').
export function h(tag, props, ...children) {
  const element = document.createElement(tag);
  apply(element, props);
  append(element, children);
  return element;
}

// An SVG element, with attributes as h() takes them.
export function svg(tag, props, ...children) {
  const element = document.createElementNS(SVG_NS, tag);
  apply(element, props);
  append(element, children);
  return element;
}

// Replaces the children of `element`.
export function fill(element, ...children) {
  element.replaceChildren();
  append(element, children);
  return element;
}

// fill() that keeps the keyboard where it was: the element that had the focus is found again in
// the new content by its id and focused, with the caret where it was in a text field.
export function refill(element, ...children) {
  const active = document.activeElement;
  const key = active && element.contains(active) && active.id ? active.id : null;
  let caret = null;
  try {
    caret = key ? [active.selectionStart, active.selectionEnd] : null;
  } catch {
    caret = null;
  }
  fill(element, ...children);
  if (!key) return element;
  const next = document.getElementById(key);
  if (next && next !== document.activeElement) {
    next.focus({ preventScroll: true });
    try {
      if (caret && caret[0] !== null) next.setSelectionRange(caret[0], caret[1]);
    } catch {
      // Not a text field.
    }
  }
  return element;
}

// While a mouse button is down, painting waits: a button replaced between its press and its
// release would never see the click. Dragging the diagram is the exception, since it paints as
// it moves.
let pressed = false;
const held = new Set();
if (typeof document !== 'undefined') {
  document.addEventListener(
    'pointerdown',
    (event) => {
      pressed = !event.target.closest?.('.plot-frame');
    },
    true,
  );
  const release = () => {
    if (!pressed) return;
    // After the click that this release makes.
    setTimeout(() => {
      pressed = false;
      for (const paint of [...held]) paint();
      held.clear();
    }, 0);
  };
  document.addEventListener('pointerup', release, true);
  document.addEventListener('pointercancel', release, true);
}

// Keeps `element` showing `render(state)`: painted now and again after every change of the
// store that touches one of `keys` (every change without keys). Changes in one task are painted
// once.
export function region(element, store, render, keys) {
  let scheduled = false;
  const paint = () => {
    scheduled = false;
    if (pressed) {
      held.add(paint);
      return;
    }
    refill(element, render(store.get()));
  };
  store.subscribe((state, patch) => {
    if (keys && !keys.some((key) => key in patch)) return;
    if (scheduled) return;
    scheduled = true;
    queueMicrotask(paint);
  });
  paint();
}

// A labelled form control: <label class="field"><span>label</span>control</label>.
export function field(label, control, hint) {
  return h(
    'label',
    { class: 'field' },
    h('span', { class: 'field-label' }, label),
    control,
    hint ? h('span', { class: 'field-hint' }, hint) : null,
  );
}

// A line for an outcome inside a card: kind is 'ok', 'error' or 'info'. Not a live region: views
// are painted again and again, and each painting would be announced; announce() tells once.
export function note(kind, text, props = {}) {
  return h('p', { class: ['note', `note-${kind}`], ...props }, text);
}

// Says `text` to screen readers once, through the page's one status region.
export function announce(text) {
  const region = document.getElementById('announcer');
  if (!region) return;
  region.textContent = '';
  // A change of text in a later task is what screen readers pick up.
  setTimeout(() => {
    region.textContent = text;
  }, 0);
}

// Focuses the element with `id` once the views have been painted again, if it is there.
export function focusById(id) {
  setTimeout(() => document.getElementById(id)?.focus(), 0);
}
