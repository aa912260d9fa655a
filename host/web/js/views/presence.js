// The Presence tab: the monitor's presence detection, switched on and off, and its level.

import * as api from '../api.js';
import { actionButton, fill, field, h, note } from '../dom.js';
import { selectedMonitor } from '../world.js';
import { afterwards, card, output, showResult, simTag } from './common.js';

export function mountPresence(root, { store, refreshWorld }) {
  const toggle = h('input', {
    type: 'checkbox',
    role: 'switch',
    id: 'presence-switch',
    class: 'switch',
  });
  const switchOut = output('presence-output');
  const level = h('input', { type: 'number', min: 0, step: 1, value: 0, id: 'presence-level' });
  const levelOut = output('presence-level-output');
  const simState = h('div', { class: 'sim-state' });

  const id = () => store.get().selected;
  const after = afterwards(refreshWorld);

  async function readSwitch() {
    const on = await showResult(
      switchOut,
      () => api.presence(id()),
      (value) => note('info', `Presence detection is ${value ? 'on' : 'off'} (${value}).`),
    );
    if (on !== undefined) toggle.checked = Boolean(on);
  }

  async function readLevel() {
    const value = await showResult(
      levelOut,
      () => api.presenceLevel(id()),
      (mode) => note('info', `Level ${mode}.`),
    );
    if (value !== undefined) level.value = String(value);
  }

  toggle.addEventListener('change', async () => {
    const wanted = toggle.checked;
    toggle.disabled = true;
    const done = await showResult(
      switchOut,
      () => api.setPresence(id(), wanted),
      () => note('ok', `Presence detection switched ${wanted ? 'on' : 'off'}.`),
    );
    toggle.disabled = false;
    if (done === undefined) toggle.checked = !wanted;
    else await readSwitch();
    await refreshWorld();
  });

  function showSimState() {
    const state = store.get();
    const detection = selectedMonitor(state)?.presenceDetection;
    fill(
      simState,
      detection
        ? simTag(
            `${detection.on ? 'on' : 'off'}, level ${detection.mode} of 0\u2013${detection.modes - 1}`,
          )
        : state.world
          ? simTag('the monitor has no presence detection')
          : null,
    );
  }

  fill(
    root,
    h(
      'p',
      { class: 'panel-hint' },
      'Monitors with a built-in sensor can detect whether someone sits in front of them. ' +
        'Both resources reach the monitor through its HID handle, so only a sensor built into a monitor answers.',
    ),
    h(
      'div',
      { class: 'cards' },
      card(
        'Presence detection',
        null,
        simState,
        h(
          'div',
          { class: 'form-row' },
          h('label', { class: 'switch-label' }, toggle, h('span', null, 'Detect presence')),
          actionButton('Read', readSwitch, { class: 'small ghost' }),
        ),
        switchOut,
      ),
      card(
        'Level',
        null,
        h(
          'div',
          { class: 'form-row' },
          field('Level', level),
          actionButton(
            'Set level',
            () =>
              after(() =>
                showResult(
                  levelOut,
                  () => api.setPresenceLevel(id(), Number(level.value)),
                  () => note('ok', `Level ${level.value} set.`),
                ),
              ),
            { id: 'presence-set-level' },
          ),
          actionButton('Read', readLevel, { class: 'small ghost' }),
        ),
        levelOut,
      ),
    ),
  );

  let shown = null;
  store.subscribe((state, patch) => {
    if ('selected' in patch && state.selected !== shown) {
      fill(switchOut);
      fill(levelOut);
    }
    if ('world' in patch || 'selected' in patch || 'meta' in patch) showSimState();
  });
  showSimState();
  return {
    // The switch and the level are read once per sensor, when the tab is first shown for it.
    onShow() {
      if (shown === id()) return;
      shown = id();
      readSwitch();
      readLevel();
    },
  };
}
