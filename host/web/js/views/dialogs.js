// The dialogs: a question before a destructive step, and JSON to read. Closing one puts the
// keyboard back on the button that opened it.

import { closeDialog, openDialog } from '../actions.js';
import { focusById, h } from '../dom.js';

// Asks before `run()`: `title`, `text` (what will be lost), `confirm` (the button's words).
export function confirmThen({ title, text, confirm, run }) {
  openDialog({ kind: 'confirm', title, text, confirm, run });
}

export function showJson(title, text) {
  openDialog({ kind: 'json', title, text });
}

function finish(dialog, element, confirmed) {
  element.close();
  if (confirmed) dialog.run();
}

function confirmBody(dialog, element) {
  return [
    h('p', { id: 'dialog-text' }, dialog.text),
    h(
      'div',
      { class: 'button-row dialog-buttons' },
      h(
        'button',
        {
          type: 'button',
          id: 'dialog-cancel',
          class: 'ghost',
          on: { click: () => finish(dialog, element, false) },
        },
        'Cancel',
      ),
      h(
        'button',
        {
          type: 'button',
          id: 'dialog-confirm',
          class: 'danger',
          on: { click: () => finish(dialog, element, true) },
        },
        dialog.confirm,
      ),
    ),
  ];
}

function jsonBody(dialog, element) {
  return [
    h('pre', { class: 'code', tabindex: '0', 'aria-label': dialog.title }, dialog.text),
    h(
      'div',
      { class: 'button-row dialog-buttons' },
      h(
        'button',
        { type: 'button', id: 'dialog-close', on: { click: () => element.close() } },
        'Close',
      ),
    ),
  ];
}

export function renderDialog(state) {
  const dialog = state.dialog;
  if (!dialog) return null;
  const element = h('dialog', {
    class: ['dialog', `dialog-${dialog.kind}`],
    'aria-labelledby': 'dialog-title',
    'aria-describedby': dialog.kind === 'confirm' ? 'dialog-text' : null,
  });
  element.append(
    h('h2', { id: 'dialog-title' }, dialog.title),
    ...(dialog.kind === 'confirm' ? confirmBody(dialog, element) : jsonBody(dialog, element)),
  );
  element.addEventListener('close', () => {
    closeDialog();
    if (dialog.opener) focusById(dialog.opener);
  });
  queueMicrotask(() => {
    if (element.isConnected && !element.open) {
      element.showModal();
      // The safe choice first: Cancel in a question.
      element.querySelector(dialog.kind === 'confirm' ? '#dialog-cancel' : 'pre')?.focus();
    }
  });
  return element;
}
