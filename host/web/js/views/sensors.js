// The sensors panel: the connected, serial-USB and opened sensors, the monitors of the simulated
// world, and every way to open a sensor.

import * as api from '../api.js';
import { actionButton, fill, field, h, note } from '../dom.js';
import { describeError, shortId } from '../format.js';
import { individualIdToDecimal, parseDeviceId } from '../ids.js';
import { monitorsForOpening } from '../world.js';
import { showResult } from './common.js';

export function mountSensors(root, { store, refreshWorld }) {
  const connected = h('div', { class: 'list', id: 'connected-list' });
  const serial = h('div', { class: 'list', id: 'serial-list' });
  const monitors = h('div', { class: 'list', id: 'monitor-list' });
  const opened = h('div', { class: 'list', id: 'opened-list' });
  const openedCount = h('span', { class: 'count' }, '0');
  const openNote = h('div', { class: 'open-note' });

  // Opens with `open()` (a request answering the new id) and selects the new sensor.
  async function openWith(open, meta) {
    try {
      const id = await open();
      store.set({ meta: { ...store.get().meta, [id]: meta }, selected: id });
      fill(openNote);
      await refreshOpened(id);
      await refreshWorld();
    } catch (error) {
      fill(openNote, note('error', `Opening failed: ${describeError(error)}`));
    }
  }

  function sensorRow(title, subtitle, detail, actions) {
    return h(
      'div',
      { class: 'row' },
      h(
        'div',
        { class: 'row-main' },
        h('div', { class: 'row-title' }, title),
        h('div', { class: 'row-sub' }, subtitle, detail ? h('code', null, detail) : null),
      ),
      h('div', { class: 'row-actions' }, actions),
    );
  }

  // Lists in `element` the devices `request` answers, each as `rowFor(device, name)`. Without
  // their names the devices are still worth listing, by device id.
  function refreshDeviceList(element, request, emptyText, rowFor) {
    return showResult(
      element,
      async () => {
        const devices = await request();
        const names =
          devices.length > 0
            ? await api.namesOf(devices.map((d) => d.deviceID)).catch(() => [])
            : [];
        return devices.map((device, i) => [device, names[i] || `Device ${device.deviceID}`]);
      },
      (named) =>
        named.length === 0
          ? note('info', emptyText)
          : named.map(([device, name]) => rowFor(device, name)),
    );
  }

  const refreshConnected = () =>
    refreshDeviceList(connected, api.listConnected, 'No sensor is connected.', (device, name) =>
      sensorRow(name, `device ${device.deviceID} \u00b7 `, device.individualID, [
        actionButton(
          'Open',
          () =>
            openWith(() => api.openByDeviceID(device.deviceID), {
              deviceID: device.deviceID,
              individualID: device.individualID,
            }),
          { class: 'small', title: 'Open by device id' },
        ),
        actionButton(
          'By individual id',
          () =>
            openWith(() => api.openByIndividualID(individualIdToDecimal(device.individualID)), {
              deviceID: device.deviceID,
              individualID: device.individualID,
            }),
          { class: 'small ghost' },
        ),
      ]),
    );

  const refreshSerial = () =>
    refreshDeviceList(
      serial,
      api.listSerialConnected,
      'No serial-USB sensor found. Map USB device names to device ids under Library settings.',
      (device, name) =>
        sensorRow(name, `device ${device.deviceID}`, null, [
          actionButton(
            'Open',
            () => openWith(() => api.openByDeviceID(device.deviceID), { deviceID: device.deviceID }),
            { class: 'small' },
          ),
        ]),
    );

  // In the simulator, offer the world's serial links as the mappings to set.
  function suggestMappings() {
    const serialSensors = (store.get().world?.sensors ?? []).filter(
      (s) => s.connection === 'serial',
    );
    if (mappings.value || serialSensors.length === 0) return;
    mappings.value = JSON.stringify(
      Object.fromEntries(serialSensors.map((s) => [s.usbDevice, s.deviceID])),
    );
  }

  function showMonitors() {
    const world = store.get().world;
    if (!world) {
      fill(monitors, note('info', 'Open a built-in sensor by monitor serial and product below.'));
      return;
    }
    fill(
      monitors,
      monitorsForOpening(world).map((monitor) =>
        sensorRow(`${monitor.product}`, `serial `, monitor.serial, [
          monitor.hidHandle
            ? null
            : h(
                'span',
                { class: 'tag tag-muted', title: 'The monitor has no USB link' },
                'no link',
              ),
          actionButton(
            'Open sensor',
            () =>
              openWith(() => api.openMonitorSensor(monitor.serial, monitor.product), {
                monitor: { serial: monitor.serial, product: monitor.product },
              }),
            { class: 'small', dataset: { monitor: monitor.serial } },
          ),
        ]),
      ),
    );
  }

  // Lists the opened sensors; `justOpened` stays listed even when the list cannot be read.
  async function refreshOpened(justOpened) {
    let ids;
    let failure = null;
    try {
      ids = await api.listOpened();
    } catch (error) {
      failure = error;
      ids = store.get().opened.map((sensor) => sensor.id);
      if (justOpened && !ids.includes(justOpened)) ids.push(justOpened);
    }
    const names = failure ? [] : await api.namesOfOpened().catch(() => []);
    const previous = new Map(store.get().opened.map((sensor) => [sensor.id, sensor.name]));
    const list = ids.map((id, i) => ({ id, name: names[i] || previous.get(id) || '' }));
    const selected = store.get().selected;
    store.set({
      opened: list,
      selected: list.some((s) => s.id === selected) ? selected : (list[0]?.id ?? null),
    });
    showOpened(failure);
  }

  function showOpened(failure) {
    const { opened: list, selected } = store.get();
    openedCount.textContent = String(list.length);
    const rows = list.map((sensor) =>
      h(
        'div',
        {
          class: ['row', 'row-selectable', sensor.id === selected ? 'row-selected' : null],
          dataset: { sensorId: sensor.id },
        },
        h(
          'button',
          {
            type: 'button',
            class: 'row-main row-button',
            'aria-pressed': String(sensor.id === selected),
            on: { click: () => store.set({ selected: sensor.id }) },
          },
          h('span', { class: 'row-title' }, sensor.name || 'Sensor'),
          h('span', { class: 'row-sub' }, h('code', { title: sensor.id }, shortId(sensor.id))),
        ),
        h(
          'div',
          { class: 'row-actions' },
          actionButton(
            'Close',
            async () => {
              try {
                await api.closeSensor(sensor.id);
              } catch (error) {
                fill(openNote, note('error', `Closing failed: ${describeError(error)}`));
              }
              await refreshOpened();
            },
            { class: 'small ghost', title: 'Close this sensor' },
          ),
        ),
      ),
    );
    fill(
      opened,
      failure ? note('error', `The list of opened sensors: ${describeError(failure)}`) : null,
      rows.length === 0 ? note('info', 'No sensor is open yet.') : rows,
    );
  }

  async function refreshAll() {
    await Promise.all([refreshConnected(), refreshSerial(), refreshOpened()]);
    showMonitors();
    suggestMappings();
  }

  // Opening by identifiers typed in.
  const deviceInput = h('input', {
    type: 'text',
    inputmode: 'numeric',
    placeholder: '33',
    id: 'open-device-id',
  });
  const individualInput = h('input', {
    type: 'text',
    placeholder: '00c3000000004d2a',
    id: 'open-individual-id',
  });
  const serialInput = h('input', {
    type: 'text',
    placeholder: 'QM7A0451',
    id: 'open-monitor-serial',
  });
  const productInput = h('input', {
    type: 'text',
    placeholder: 'QM-27-Studio-Lab',
    id: 'open-monitor-product',
  });
  const byHand = h(
    'details',
    { class: 'subsection' },
    h('summary', null, 'Open by identifier'),
    h(
      'div',
      { class: 'form-row' },
      field('Device id', deviceInput),
      actionButton(
        'Open',
        () => {
          const deviceID = parseDeviceId(deviceInput.value);
          if (deviceID === null)
            return fill(openNote, note('error', 'A device id is a whole number.'));
          return openWith(() => api.openByDeviceID(deviceID), { deviceID });
        },
        { class: 'small' },
      ),
    ),
    h(
      'div',
      { class: 'form-row' },
      field('Individual id', individualInput, '16 hex digits, 0x…, or decimal'),
      actionButton(
        'Open',
        () => {
          const decimal = individualIdToDecimal(individualInput.value);
          if (decimal === null) return fill(openNote, note('error', 'Not an individual id.'));
          const hex = BigInt(decimal).toString(16).padStart(16, '0');
          return openWith(() => api.openByIndividualID(decimal), { individualID: hex });
        },
        { class: 'small' },
      ),
    ),
    h(
      'div',
      { class: 'form-row' },
      field('Monitor serial', serialInput),
      field('Product', productInput),
      actionButton(
        'Open',
        () =>
          openWith(
            () => api.openMonitorSensor(serialInput.value.trim(), productInput.value.trim()),
            { monitor: { serial: serialInput.value.trim(), product: productInput.value.trim() } },
          ),
        { class: 'small' },
      ),
    ),
  );

  // The measurement library's settings.
  const libraryPath = h('input', { type: 'text', placeholder: '/path/to/device/libraries' });
  const mappings = h('textarea', {
    rows: 3,
    spellcheck: 'false',
    placeholder: '{"USB device name": 82}',
  });
  const settingsNote = h('div');
  const settings = h(
    'details',
    { class: 'subsection' },
    h('summary', null, 'Library settings'),
    h(
      'div',
      { class: 'form-row' },
      field('Device libraries directory', libraryPath),
      actionButton(
        'Set',
        () =>
          showResult(
            settingsNote,
            () => api.configure({ libraryPath: libraryPath.value }),
            () => note('ok', 'The directory was set.'),
          ),
        { class: 'small' },
      ),
    ),
    h(
      'div',
      { class: 'form-column' },
      field('Serial-USB mappings (USB device name \u2192 device id)', mappings),
      actionButton(
        'Set mappings',
        async () => {
          let parsed;
          try {
            parsed = JSON.parse(mappings.value || 'null');
          } catch {
            return fill(settingsNote, note('error', 'The mappings are not JSON.'));
          }
          const done = await showResult(
            settingsNote,
            () => api.configure({ serialMappings: parsed }),
            () => note('ok', 'The mappings were replaced.'),
          );
          if (done !== undefined) await refreshSerial();
          return undefined;
        },
        { class: 'small' },
      ),
    ),
    actionButton(
      'Open the control panel',
      async () => {
        const done = await showResult(
          settingsNote,
          () => api.openControlPanel(),
          () => note('ok', 'The control panel was asked to open.'),
        );
        if (done !== undefined) await refreshWorld();
      },
      { class: 'small ghost' },
    ),
    settingsNote,
  );

  fill(
    root,
    h(
      'div',
      { class: 'panel-head' },
      h('h2', { id: 'sensors-title' }, 'Sensors'),
      actionButton('Refresh', refreshAll, { class: 'small ghost', id: 'refresh-sensors' }),
    ),
    openNote,
    h('h3', null, 'Connected'),
    connected,
    h('h3', null, 'Serial USB'),
    serial,
    h(
      'h3',
      null,
      'Monitors',
      store.get().world ? h('span', { class: 'tag tag-sim' }, 'sim') : null,
    ),
    monitors,
    h(
      'div',
      { class: 'h3-row' },
      h('h3', null, 'Opened ', openedCount),
      actionButton(
        'Close all',
        async () => {
          try {
            await api.closeAll();
          } catch (error) {
            fill(openNote, note('error', `Closing failed: ${describeError(error)}`));
          }
          await refreshOpened();
        },
        { class: 'small ghost' },
      ),
    ),
    opened,
    byHand,
    settings,
  );

  store.subscribe((state, patch) => {
    if ('selected' in patch || 'opened' in patch) showOpened();
    if ('world' in patch) showMonitors();
    if (patch.sensorsChanged) refreshOpened();
  });
  refreshAll();
}
