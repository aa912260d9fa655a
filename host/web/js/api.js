// The one module that talks to the development host. Every call returns the envelope's "value",
// or throws an ApiError made from its "error"; every request and its answer are also reported to
// the listeners of onExchange (the request log).
//
// The functions below follow the plug-in's resources one to one, every method of each of the 34
// entry points, so this file doubles as an example of how a host page calls them (docs/api.md has
// the full reference). The colour routes at the end are the host's own.

import { monitorSensorPath, queryString, sensorPath, simMonitorPath } from './paths.js';

export class ApiError extends Error {
  // `status`: the HTTP status (0 when the host could not be reached); `error`: the envelope's
  // error object ({name, message, ...further members such as code and reason}); `envelopeText`:
  // the answer's body exactly as it came, shown beside the hint.
  constructor(status, error, envelopeText = '') {
    super(error?.message ?? `HTTP status ${status}`);
    this.status = status;
    this.name = error?.name ?? 'Error';
    const { name: _name, message: _message, ...detail } = error ?? {};
    this.detail = detail;
    this.envelopeText = envelopeText;
  }
}

const listeners = new Set();

// Calls `listener(exchange)` when a request starts (`status` still undefined, `pending` true) and
// again, with the same object completed, when its answer has come: {id, method, path, body,
// status, entryPoint, envelope, text, started (Date), milliseconds, pending}.
export function onExchange(listener) {
  listeners.add(listener);
  return () => listeners.delete(listener);
}

function report(exchange) {
  for (const listener of [...listeners]) listener(exchange);
}

let nextExchange = 1;

// One request, answered whatever its status: {status, text, envelope (undefined when the body is
// not JSON), entryPoint, response}. `body`: undefined for none, a string as it stands, anything
// else as JSON. Throws an ApiError with status 0 only when the host cannot be reached.
export async function send(method, path, { query, body } = {}) {
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
    pending: true,
  };
  report(exchange);
  const t0 = performance.now();
  let response;
  try {
    response = await fetch(url, init);
    exchange.text = await response.text();
  } catch (failure) {
    Object.assign(exchange, {
      status: 0,
      pending: false,
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
  exchange.pending = false;
  exchange.contentType = response.headers.get('Content-Type') ?? '';
  if (exchange.contentType.startsWith('application/json')) {
    try {
      exchange.envelope = JSON.parse(exchange.text);
    } catch {
      exchange.envelope = undefined;
    }
  }
  report(exchange);
  return { ...exchange, response };
}

// One request whose answer is an envelope: returns its "value", or throws an ApiError made from
// its "error".
async function call(method, path, options) {
  const { status, envelope, response, text } = await send(method, path, options);
  if (!envelope || typeof envelope !== 'object' || !('value' in envelope)) {
    throw new ApiError(
      status,
      { name: 'HostError', message: 'The answer is not an envelope.' },
      text,
    );
  }
  if (envelope.error || !response.ok) throw new ApiError(status, envelope.error, text);
  return envelope.value;
}

// ---- The host ----------------------------------------------------------------------------------

export const hostInfo = () => call('GET', '/host/info');
// [{entryPoint, methods: ["GET", ...], path}]: the REST routes, `{name}` marking a path parameter.
export const hostRoutes = () => call('GET', '/host/routes');

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
// `out`: true takes the arm out, false takes it in.
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
// The same through the correction resource's own query key.
export const clearNinePointsBySwingSensor = (id) =>
  call('DELETE', sensorPath(id, 'Correlation'), { query: { swingSensor: null } });
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

// ---- Correlation records and databases ----------------------------------------------------------

// {calibrationData, correctionData, luminanceLevelCorrection?, normalizedMeasurement, reference,
// referenceTone, toneCorrection}
export const correlationData = (id) => call('GET', sensorPath(id, 'Correlation/Data'));
// `records`: any of the seven; `send` also passes them to the sensor.
export const setCorrelationData = (id, records) =>
  call('PUT', sensorPath(id, 'Correlation/Data'), { body: records });
// [{id, date, referenceSensor}]
export const correlationDatabase = (id) => call('GET', sensorPath(id, 'Correlation/Database'));
// {id, kind, data, matchesSensor}
export const correlationDatabaseEntry = (id, entryID) =>
  call('GET', sensorPath(id, 'Correlation/Database'), { query: { id: entryID } });
// `entry`: {referenceSensor: {deviceID, serial}, kind?, date?}; answers the new id.
export const addCorrelationDatabaseEntry = (id, entry) =>
  call('POST', sensorPath(id, 'Correlation/Database'), { body: entry });
// {matrices: [{id, date, referenceSensor}], latestID}
export const matrixDatabase = (id) => call('GET', sensorPath(id, 'CorrelationMatrix/Database'));
export const addMatrixDatabaseEntry = (id, referenceSensor) =>
  call('POST', sensorPath(id, 'CorrelationMatrix/Database'), { body: { referenceSensor } });

// ---- Further settings --------------------------------------------------------------------------

export const hasExteriorLight = (id) =>
  call('GET', sensorPath(id, 'ExteriorLight'), { query: { supports: null } });
export const exteriorLight = (id) => call('GET', sensorPath(id, 'ExteriorLight'));
export const setExteriorLight = (id, on) =>
  call('PUT', sensorPath(id, 'ExteriorLight'), { body: on });
export const hasTargetMarker = (id) =>
  call('GET', sensorPath(id, 'TargetMarker'), { query: { supports: null } });
export const targetMarker = (id) => call('GET', sensorPath(id, 'TargetMarker'));
export const setTargetMarker = (id, on) =>
  call('PUT', sensorPath(id, 'TargetMarker'), { body: on });
export const parameterDescription = (id) => call('GET', sensorPath(id, 'ParameterDescription'));
// `text`: at most 255 bytes; sent as a JSON string (a bare text body would pass unquoted).
export const setParameterDescription = (id, text) =>
  call('PUT', sensorPath(id, 'ParameterDescription'), { body: JSON.stringify(text) });
// `matrix`: 3 rows of 3 numbers.
export const setCorrection = (id, matrix) =>
  call('PUT', sensorPath(id, 'Correction'), { body: matrix });
export const clearCorrection = (id) => call('DELETE', sensorPath(id, 'Correction'));
export const exCorrection = (id) => call('GET', sensorPath(id, 'ExCorrection'));
export const setExCorrection = (id, matrix) =>
  call('PUT', sensorPath(id, 'ExCorrection'), { body: matrix });
export const deviceOption = (id, option) =>
  call('GET', sensorPath(id, 'DeviceOption'), { query: { option } });
export const setDeviceOption = (id, option, value) =>
  call('PUT', sensorPath(id, 'DeviceOption'), { body: { option, value } });
export const calculateTemperatureCorrection = (id) =>
  call('POST', sensorPath(id, 'IFSTempCorrectParam'));
export const brightnessCorrectionUpdate = (id) =>
  call('GET', sensorPath(id, 'IFSBrightCorrectParamUpdate'));
export const setBrightnessCorrectionUpdate = (id, on) =>
  call('PUT', sensorPath(id, 'IFSBrightCorrectParamUpdate'), { body: on });

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

// ---- Colour arithmetic of the host --------------------------------------------------------------

// `request`: {readings: [[X, Y, Z], ...], white?: [X, Y, Z], reference?: [X, Y, Z]}; answers
// {derived: [{XYZ, xy, uv, cct, duv, Lab, deltaE2000, deltaUV}, ...]}.
export const deriveColour = (request) => call('POST', '/colour/derive', { body: request });

// The readings as a file: `format` 'csv' or 'cgats'; `request`: {readings: [{time, sensor, mode,
// corrected, XYZ}], white?}. Answers {blob, filename}; an error answer throws as every call does.
export async function exportReadings(format, request) {
  const answer = await send('POST', '/colour/export', { query: { format }, body: request });
  if (!answer.response.ok) {
    const error = answer.envelope?.error ?? { name: 'HostError', message: answer.text };
    throw new ApiError(answer.status, error, answer.text);
  }
  const disposition = answer.response.headers.get('Content-Disposition') ?? '';
  const filename = /filename="([^"]+)"/.exec(disposition)?.[1] ?? `quilby-readings.${format}`;
  return {
    blob: new Blob([answer.text], { type: answer.contentType }),
    filename,
    text: answer.text,
  };
}
