// The sensors panel: the connected, serial-USB and opened sensors, the monitors of the simulated
// world, and every way to open a sensor.

import * as api from '../api.js';
import { ok, onHost, setOutcome } from '../actions.js';
import { field, focusById, h, note } from '../dom.js';
import { describeError, shortId } from '../format.js';
import { individualIdToDecimal, parseDeviceId } from '../ids.js';
import {
  closeAll,
  closeSensor,
  openSensor,
  refreshSensors,
  refreshSerial,
  selectSensor,
} from '../opening.js';
import { store } from '../store.js';
import { monitorsForOpening } from '../world.js';
import { button, buttonRow, details, formRow, input, outcomeView, textarea } from './common.js';

function row({ title, subtitle, code, actions, dataset }) {
  return h(
    'li',
    { class: 'row', dataset },
    h(
      'div',
      { class: 'row-main' },
      h('span', { class: 'row-title' }, title),
      h('span', { class: 'row-sub' }, subtitle, code ? h('code', null, code) : null),
    ),
    h('div', { class: 'row-actions' }, actions),
  );
}

const list = (id, items, empty) =>
  items.length === 0 ? note('info', empty) : h('ul', { class: 'list', id }, items);

// The rows of one device list, or why there are none.
function deviceList(entry, id, empty, rowFor) {
  if (!entry) return note('info', 'Reading\u2026');
  if (entry.error) return note('error', describeError(entry.error));
  return list(id, entry.list.map(rowFor), empty);
}

function connectedRow(state, device) {
  const meta = { deviceID: device.deviceID, individualID: device.individualID };
  const busy = Boolean(state.pending.open);
  return row({
    title: device.name,
    subtitle: `device ${device.deviceID} \u00b7 `,
    code: device.individualID,
    dataset: { deviceId: device.deviceID },
    actions: [
      button({
        id: `open-device-${device.deviceID}`,
        label: 'Open',
        small: true,
        busy,
        title: 'Open by device id',
        onClick: () =>
          openSensor(() => api.openByDeviceID(device.deviceID), meta, { label: device.name }),
      }),
      button({
        id: `open-individual-${device.deviceID}`,
        label: 'By individual id',
        small: true,
        kind: 'ghost',
        busy,
        onClick: () =>
          openSensor(
            () => api.openByIndividualID(individualIdToDecimal(device.individualID)),
            meta,
            { label: device.name },
          ),
      }),
    ],
  });
}

function serialRow(state, device) {
  return row({
    title: device.name,
    subtitle: `device ${device.deviceID}`,
    actions: button({
      id: `open-serial-${device.deviceID}`,
      label: 'Open',
      small: true,
      busy: Boolean(state.pending.open),
      onClick: () =>
        openSensor(
          () => api.openByDeviceID(device.deviceID),
          { deviceID: device.deviceID },
          { label: device.name },
        ),
    }),
  });
}

function monitorRow(state, monitor) {
  const meta = { monitor: { serial: monitor.serial, product: monitor.product } };
  return row({
    title: monitor.product,
    subtitle: 'serial ',
    code: monitor.serial,
    actions: [
      monitor.hidHandle
        ? null
        : h('span', { class: 'tag tag-muted', title: 'The monitor has no USB link' }, 'no link'),
      button({
        id: `open-monitor-${monitor.serial}`,
        label: 'Open sensor',
        small: true,
        busy: Boolean(state.pending.open),
        dataset: { monitor: monitor.serial },
        onClick: () =>
          openSensor(() => api.openMonitorSensor(monitor.serial, monitor.product), meta, {
            label: `The sensor of ${monitor.serial}`,
          }),
      }),
    ],
  });
}

function openedRow(state, sensor) {
  const selected = sensor.id === state.selected;
  const task = state.busy[sensor.id];
  return h(
    'li',
    {
      class: ['row', 'row-selectable', selected ? 'row-selected' : null],
      dataset: { sensorId: sensor.id },
    },
    h(
      'button',
      {
        type: 'button',
        id: `select-${sensor.id}`,
        class: 'row-main row-button',
        'aria-pressed': String(selected),
        on: { click: () => selectSensor(sensor.id) },
      },
      h('span', { class: 'row-title' }, sensor.name || 'Sensor'),
      h(
        'span',
        { class: 'row-sub' },
        h('code', { title: sensor.id }, shortId(sensor.id)),
        task ? h('span', { class: 'busy-label' }, ` \u00b7 ${task.label}\u2026`) : null,
      ),
    ),
    h(
      'div',
      { class: 'row-actions' },
      button({
        id: `close-${sensor.id}`,
        label: 'Close',
        small: true,
        kind: 'ghost',
        title: 'Close this sensor',
        onClick: () => closeAndKeepFocus(sensor.id),
      }),
    ),
  );
}

// The closed sensor's row goes away with its button; the keyboard goes to the sensor selected
// next, or to Close all.
async function closeAndKeepFocus(id) {
  await closeSensor(id);
  const next = store.get().selected;
  focusById(next ? `select-${next}` : 'close-all');
}

function openedSection(state) {
  return [
    h(
      'div',
      { class: 'h3-row' },
      h('h3', null, 'Opened ', h('span', { class: 'count' }, String(state.opened.length))),
      button({
        id: 'close-all',
        label: 'Close all',
        small: true,
        kind: 'ghost',
        onClick: closeAll,
      }),
    ),
    list(
      'opened-list',
      state.opened.map((sensor) => openedRow(state, sensor)),
      'No sensor is open yet.',
    ),
  ];
}

function openByDeviceId() {
  const deviceID = parseDeviceId(store.draft('open-device-id'));
  if (deviceID === null)
    return setOutcome('open', {
      kind: 'error',
      text: 'A device id is a whole number from 0 to 4294967295.',
    });
  return openSensor(() => api.openByDeviceID(deviceID), { deviceID });
}

function openByIndividualId() {
  const decimal = individualIdToDecimal(store.draft('open-individual-id'));
  if (decimal === null)
    return setOutcome('open', {
      kind: 'error',
      text: 'An individual id is 16 hexadecimal digits, 0x\u2026, or a decimal number.',
    });
  const hex = BigInt(decimal).toString(16).padStart(16, '0');
  return openSensor(() => api.openByIndividualID(decimal), { individualID: hex });
}

function openByMonitor() {
  const serial = store.draft('open-monitor-serial').trim();
  const product = store.draft('open-monitor-product').trim();
  return openSensor(() => api.openMonitorSensor(serial, product), { monitor: { serial, product } });
}

function openByHand() {
  const open = (id, onClick) => button({ id, label: 'Open', small: true, onClick });
  return details(
    { id: 'open-by-identifier', summary: 'Open by identifier', className: 'subsection' },
    formRow(
      false,
      field('Device id', input({ id: 'open-device-id', inputmode: 'numeric', placeholder: '33' })),
      open('open-by-device', openByDeviceId),
    ),
    formRow(
      false,
      field(
        'Individual id',
        input({ id: 'open-individual-id', placeholder: '00c3000000004d2a' }),
        '16 hex digits, 0x\u2026, or decimal',
      ),
      open('open-by-individual', openByIndividualId),
    ),
    formRow(
      false,
      field('Monitor serial', input({ id: 'open-monitor-serial', placeholder: 'QM7A0451' })),
      field('Product', input({ id: 'open-monitor-product', placeholder: 'QM-27-Studio-Lab' })),
      open('open-by-monitor', openByMonitor),
    ),
  );
}

// In the simulator, the world's serial links are the mappings worth setting.
function suggestedMappings(world) {
  const links = (world?.sensors ?? []).filter((s) => s.connection === 'serial');
  return links.length === 0
    ? ''
    : JSON.stringify(Object.fromEntries(links.map((s) => [s.usbDevice, s.deviceID])));
}

async function setMappings() {
  let parsed;
  try {
    parsed = JSON.parse(
      store.draft('serial-mappings', suggestedMappings(store.get().world)) || 'null',
    );
  } catch {
    return setOutcome('library', {
      kind: 'error',
      text: 'The mappings are not JSON: {"USB device name": 82}.',
    });
  }
  const result = await onHost(
    'library',
    () => api.configure({ serialMappings: parsed }),
    () => ok('The mappings were replaced.'),
  );
  return result.ok ? refreshSerial() : undefined;
}

const setLibraryPath = () =>
  onHost(
    'library',
    () => api.configure({ libraryPath: store.draft('library-path') }),
    () => ok('The directory was set.'),
  );

const openControlPanel = () =>
  onHost(
    'library',
    () => api.openControlPanel(),
    () => ok('The control panel was asked to open.'),
  );

function librarySettings(state) {
  const busy = Boolean(state.pending.library);
  const mappings = textarea({
    id: 'serial-mappings',
    rows: 3,
    spellcheck: 'false',
    value: suggestedMappings(state.world),
    placeholder: '{"USB device name": 82}',
  });
  return details(
    { id: 'library-settings', summary: 'Library settings', className: 'subsection' },
    formRow(
      false,
      field(
        'Device libraries directory',
        input({ id: 'library-path', placeholder: '/path/to/device/libraries' }),
      ),
      button({ id: 'set-library-path', label: 'Set', small: true, busy, onClick: setLibraryPath }),
    ),
    field('Serial-USB mappings (USB device name \u2192 device id)', mappings),
    buttonRow(
      button({
        id: 'set-mappings',
        label: 'Set mappings',
        small: true,
        busy,
        onClick: setMappings,
      }),
      button({
        id: 'open-control-panel',
        label: 'Open the control panel',
        small: true,
        kind: 'ghost',
        onClick: openControlPanel,
      }),
    ),
    outcomeView(state, 'library'),
  );
}

export function renderSensors(state) {
  const monitors = state.world ? monitorsForOpening(state.world) : [];
  return [
    h(
      'div',
      { class: 'panel-head' },
      h('h2', { id: 'sensors-title' }, 'Sensors'),
      button({
        id: 'refresh-sensors',
        label: 'Refresh',
        small: true,
        kind: 'ghost',
        busy: Boolean(state.pending.sensors),
        onClick: refreshSensors,
      }),
    ),
    outcomeView(state, 'open'),
    h('h3', null, 'Connected'),
    deviceList(state.devices.connected, 'connected-list', 'No sensor is connected.', (d) =>
      connectedRow(state, d),
    ),
    h('h3', null, 'Serial USB'),
    deviceList(
      state.devices.serial,
      'serial-list',
      'No serial-USB sensor found. Map USB device names to device ids under Library settings.',
      (d) => serialRow(state, d),
    ),
    h('h3', null, 'Monitors', state.world ? h('span', { class: 'tag tag-sim' }, 'sim') : null),
    state.world
      ? list(
          'monitor-list',
          monitors.map((m) => monitorRow(state, m)),
          'The world has no monitor.',
        )
      : note(
          'info',
          'Open a built-in sensor by monitor serial and product under Open by identifier.',
        ),
    openedSection(state),
    openByHand(),
    librarySettings(state),
  ];
}
