// The one module that talks to the development host. Every call returns the envelope's "value",
// or throws an ApiError made from its "error"; every request and its answer are also reported to
// the listeners of onExchange (the request log).
//
// The functions below follow the plug-in's resources one to one, so this file doubles as an
// example of how a host page calls each of them (docs/api.md has the full reference).

import { monitorSensorPath, queryString, sensorPath, simMonitorPath } from './paths.js';

export class ApiError extends Error {
  // `status`: the HTTP status (0 when the host could not be reached); `error`: the envelope's
  // error object ({name, message, ...further members such as code and reason}).
  constructor(status, error) {
    super(error?.message ?? `HTTP status ${status}`);
    this.status = status;
    this.name = error?.name ?? 'Error';
    const { name: _name, message: _message, ...detail } = error ?? {};
    this.detail = detail;
  }
}

const listeners = new Set();

// Calls `listener(exchange)` after every request: {id, method, path, body, status, entryPoint,
// envelope, text, started (Date), milliseconds}.
export function onExchange(listener) {
  listeners.add(listener);
  return () => listeners.delete(listener);
}

let nextExchange = 1;

// One request. `body`: undefined for none, a string as it stands, anything else as JSON.
async function call(method, path, { query, body } = {}) {
  const url = path + queryString(query);
  const init = { method, headers: {} };
  if (body !== undefined) {
    init.body = typeof body === 'string' ? body : JSON.stringify(body);
    init.headers['Content-Type'] = 'application/json';
  } else if (method === 'POST' || method === 'PUT') {
    // An explicit empty body makes the browser send "Content-Length: 0".
    init.body = '';
  }
  const exchange = {
    id: nextExchange++,
    method,
    path: url,
    body: init.body ?? '',
    started: new Date(),
  };
  const t0 = performance.now();
  let response;
  try {
    response = await fetch(url, init);
    exchange.text = await response.text();
  } catch (failure) {
    Object.assign(exchange, {
      status: 0,
      milliseconds: performance.now() - t0,
      text: String(failure),
    });
    report(exchange);
    throw new ApiError(0, {
      name: 'NetworkError',
      message: 'The development host cannot be reached.',
    });
  }
  exchange.status = response.status;
  exchange.entryPoint = response.headers.get('X-Quilby-Entry-Point') ?? '';
  exchange.milliseconds = performance.now() - t0;
  try {
    exchange.envelope = JSON.parse(exchange.text);
  } catch {
    exchange.envelope = undefined;
  }
  report(exchange);
  const envelope = exchange.envelope;
  if (!envelope || typeof envelope !== 'object' || !('value' in envelope)) {
    throw new ApiError(response.status, {
      name: 'HostError',
      message: 'The answer is not an envelope.',
    });
  }
  if (envelope.error || !response.ok) throw new ApiError(response.status, envelope.error);
  return envelope.value;
}

function report(exchange) {
  for (const listener of [...listeners]) listener(exchange);
}

// ---- The host ----------------------------------------------------------------------------------

export const hostInfo = () => call('GET', '/host/info');

// ---- Sensors as a whole ------------------------------------------------------------------------

// [{deviceID, individualID (16 hexadecimal digits)}]
export const listConnected = () => call('GET', '/Sensors', { query: { connected: null } });
// [{deviceID}]
export const listSerialConnected = () =>
  call('GET', '/Sensors', { query: { serialConnected: null } });
// [sensor id]
export const listOpened = () => call('GET', '/Sensors');
// Names of devices, in the order of `deviceIDs`.
export const namesOf = (deviceIDs) =>
  call('GET', '/Sensors/Name', { query: { deviceIDs: deviceIDs.join(',') } });
// Names of the opened sensors, in the order of listOpened().
export const namesOfOpened = () => call('GET', '/Sensors/Name');
export const configure = (settings) => call('PUT', '/Sensors', { body: settings });
export const closeAll = () => call('DELETE', '/Sensors');
export const openControlPanel = () => call('PUT', '/XRite/ControlPanel');

// ---- Opening (each answers the new sensor id) --------------------------------------------------

export const openByDeviceID = (deviceID) =>
  call('POST', `/Sensors/${encodeURIComponent(deviceID)}`);
// `individualID`: the decimal text (ids.js converts the listed hexadecimal form).
export const openByIndividualID = (individualID) =>
  call('POST', `/Sensors/Individual/${encodeURIComponent(individualID)}`);
export const openMonitorSensor = (serial, product) =>
  call('POST', monitorSensorPath(serial, product));

// ---- One sensor --------------------------------------------------------------------------------

export const sensorInfo = (id) => call('GET', sensorPath(id));
export const testConnection = (id) => call('GET', sensorPath(id), { query: { connection: null } });
export const closeSensor = (id) => call('DELETE', sensorPath(id));
export const supportedModes = (id) =>
  call('GET', sensorPath(id, 'Mode'), { query: { supports: null } });
export const setMode = (id, mode, observerKey) =>
  call('PUT', sensorPath(id, 'Mode'), { body: { mode, observerKey } });
export const needsCalibration = (id) =>
  call('GET', sensorPath(id, 'Calibration'), { query: { needs: null } });
export const calibrate = (id) => call('PUT', sensorPath(id, 'Calibration'));
export const hasArm = (id) => call('GET', sensorPath(id, 'Arm'), { query: { supports: null } });
export const setArm = (id, out) => call('PUT', sensorPath(id, 'Arm'), { body: out });
export const position = (id) => call('GET', sensorPath(id, 'Position'));
export const hasMultiplePositions = (id) =>
  call('GET', sensorPath(id, 'Position'), { query: { supports: null } });

// ---- Measurements ------------------------------------------------------------------------------

// {rawXYZ: {X, Y, Z}, XYZ: {X, Y, Z}}
export const measureXYZ = (id) => call('GET', sensorPath(id, 'XYZ'));
// {rawData: [d0, d1, d2]}
export const measureRaw = (id) => call('GET', sensorPath(id, 'RawData'));
// {RGB: {R, G, B}}
export const measureRGB = (id) => call('GET', sensorPath(id, 'RGB'));
// {IR: value}
export const measureIR = (id) => call('GET', sensorPath(id, 'IR'));
// {XYZ: {X, Y, Z}}
export const measureXYZWithoutCorrelation = (id) =>
  call('GET', sensorPath(id, 'XYZWithoutCorrelation'));

// ---- Presence detection ------------------------------------------------------------------------

export const presence = (id) => call('GET', sensorPath(id, 'AmbraSense'));
export const setPresence = (id, on) => call('PUT', sensorPath(id, 'AmbraSense'), { body: on });
export const presenceLevel = (id) => call('GET', sensorPath(id, 'AmbraSense/Level'));
export const setPresenceLevel = (id, level) =>
  call('PUT', sensorPath(id, 'AmbraSense/Level'), { body: level });

// ---- Correlation -------------------------------------------------------------------------------

// [{referenceSensor: {deviceID, serial}, monitor: {product, serial}, id}]
export const corrections = (id) =>
  call('GET', sensorPath(id, 'Correlation'), { query: { available: null } });
// `targetWhite` {x, y, Y} applies with recalculation of the luminance level.
export const applyCorrection = (id, correctionID, targetWhite) =>
  call('PUT', sensorPath(id, 'Correlation'), {
    body: targetWhite ? { id: correctionID, type: 'recalc', targetWhite } : { id: correctionID },
  });
export const releaseCorrection = (id) => call('DELETE', sensorPath(id, 'Correlation'));
export const clearNinePoints = (id) => call('DELETE', sensorPath(id, 'Correlation/9Points'));
// {date, referenceSensor: {deviceID, serial}} or null
export const criterionDescription = (id) => call('GET', sensorPath(id, 'Correlation/Description'));
export const setCriterionDescription = (id, description) =>
  call('PUT', sensorPath(id, 'Correlation/Description'), { body: description });
export const clearCriterionDescription = (id) =>
  call('DELETE', sensorPath(id, 'Correlation/Description'));
// [{referenceSensor: {deviceID, serial}, id}]
export const matrices = (id) =>
  call('GET', sensorPath(id, 'CorrelationMatrix'), { query: { available: null } });
// The body is the bare matrix id.
export const applyMatrix = (id, matrixID) =>
  call('PUT', sensorPath(id, 'CorrelationMatrix'), { body: matrixID });
export const releaseMatrix = (id) => call('DELETE', sensorPath(id, 'CorrelationMatrix'));
// {matrix: rows} and, when checked, isFactory
export const matrixData = (id, checkFactory) =>
  call('GET', sensorPath(id, 'CorrelationMatrix/Data'), {
    query: checkFactory ? { checksFactoryData: null } : {},
  });
export const setMatrixData = (id, rows) =>
  call('PUT', sensorPath(id, 'CorrelationMatrix/Data'), { body: { matrix: rows } });

// ---- The simulated device world ----------------------------------------------------------------

export const simWorld = () => call('GET', '/sim/world');
export const simReset = () => call('POST', '/sim/reset');
export const simShowColour = (serial, product, rgb) =>
  call('PUT', simMonitorPath(serial, product, 'shownColor'), { body: rgb });
export const simHoldMonitor = (serial, product, held) =>
  call('PUT', simMonitorPath(serial, product, 'held'), { body: held });
export const simInjectFailure = (failure) => call('POST', '/sim/failures', { body: failure });
export const simClearFailures = () => call('DELETE', '/sim/failures');
export const simJournal = (last) => call('GET', '/sim/journal', { query: { last } });
export const simFunctions = () => call('GET', '/sim/functions');
export const simErrors = () => call('GET', '/sim/errors');
