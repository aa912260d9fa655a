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

// A button that disables itself while its async handler runs, so a slow request is not sent twice.
export function actionButton(label, handler, props = {}) {
  const button = h('button', { type: 'button', ...props }, label);
  button.addEventListener('click', async () => {
    button.disabled = true;
    button.classList.add('busy');
    try {
      await handler();
    } finally {
      button.disabled = false;
      button.classList.remove('busy');
    }
  });
  return button;
}

// A line for an outcome inside a card: kind is 'ok', 'error' or 'info'.
export function note(kind, text) {
  return h('p', { class: ['note', `note-${kind}`], role: kind === 'error' ? 'alert' : null }, text);
}
