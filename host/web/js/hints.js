// What to do about an error: a hint for every failure status of the device libraries and for
// every refusal of the plug-in and the host, shown beside the envelope, which stays as it came.
// No DOM here, so Node can test it.
//
// A hint may name an `action` the view can offer as a button: 'arm-out', 'arm-in', 'calibrate',
// 'release-monitor' (the simulator's "another program holds the monitor"), 'reopen'.

const BUILT_IN_ONLY =
  'This request reaches the sensor through its monitor\u2019s USB link, so only a sensor built ' +
  'into a monitor can answer it. Open the monitor\u2019s own sensor (Sensors \u2192 Monitors).';

const ANOTHER_PROGRAM =
  'Another program holds the monitor. Close the other program (in the simulator: untick ' +
  '\u201canother program holds the monitor\u201d), then try again.';

// The failure statuses of the device libraries (the EmError table): `user` marks those a person
// can cause with what they do (or with the hardware), the others are faults inside a library.
export const LIBRARY_STATUSES = Object.freeze(
  [
    {
      code: 0x80000000,
      message: 'Failed.',
      user: true,
      hint: 'The device library failed without saying why. Test the connection (Sensor tab); if it is lost, close the sensor and open it again.',
    },
    {
      code: 0x80000001,
      message: 'Invalid argument.',
      user: true,
      hint: 'A value sent is not one the library takes. Check the numbers in the request body against docs/api.md.',
    },
    {
      code: 0x80000002,
      message: 'Invalid buffer.',
      user: false,
      hint: 'The library refused memory the plug-in handed it: nothing to change here. Try again; if it stays, report it with the envelope.',
    },
    {
      code: 0x80000003,
      message: 'Invalid buffer size.',
      user: false,
      hint: 'The library refused the size of a buffer the plug-in handed it: nothing to change here. Report it with the envelope.',
    },
    {
      code: 0x80000004,
      message: 'Already registered.',
      user: true,
      hint: 'That entry is already stored. Use the stored one, or store it under another reference.',
    },
    {
      code: 0x80000005,
      message: 'Not registered.',
      user: true,
      hint: 'No stored entry has that id. List the entries again and pick an id from the list.',
    },
    {
      code: 0x80000006,
      message: 'Unknown.',
      user: false,
      hint: 'The library reported an unknown state; it does not fail a request by itself. Try again.',
    },
    {
      code: 0x80000007,
      message: 'Unsupported.',
      user: true,
      hint: 'This sensor or monitor does not have that function (a mode, an arm, a target marker, exterior light, luminance-level correction). See its capabilities on the Sensor tab.',
    },
    {
      code: 0x80000008,
      message: 'Stall.',
      user: false,
      hint: 'The device stopped answering. Unplug it and plug it in again, then close and reopen the sensor.',
      action: 'reopen',
    },
    {
      code: 0x80000009,
      message: 'Unimplemented.',
      user: false,
      hint: 'The device library does not implement this function. Nothing to do here but use another route.',
    },
    {
      code: 0x8000000a,
      message: 'Out of range.',
      user: true,
      hint: 'A number is outside the range the device takes (a mode above 2, an observer above 1, a presence detection level beyond the monitor\u2019s levels). Choose a value in range.',
    },
    {
      code: 0x8000000b,
      message: 'No more data.',
      user: true,
      hint: 'Nothing of that kind is stored yet (for example no correlation matrix for this monitor). Store one first.',
    },
    {
      code: 0x8000000c,
      message: 'Canceled.',
      user: true,
      hint: 'The operation was cancelled on the device or by another program. Run it again.',
    },
    {
      code: 0x8000000d,
      message: 'Out of domain.',
      user: true,
      hint: 'A value lies outside what it can be: a target white needs x and y between 0 and 1 and Y above 0. Correct the values.',
    },
    {
      code: 0x8000000e,
      message: 'Long proc lock is wait.',
      user: true,
      hint: 'Another program is running a long operation on the device. Wait until it ends, then try again.',
    },
    {
      code: 0x8000000f,
      message: 'Short proc lock is wait.',
      user: true,
      hint: 'The device is busy for a moment with another program. Try again.',
    },
    {
      code: 0x80000010,
      message: 'Dll is not found.',
      user: true,
      hint: 'A device library is missing. Check the device libraries directory (Sensors \u2192 Library settings) and the host\u2019s exports directory.',
    },
    {
      code: 0x80000011,
      message: 'Over limit.',
      user: true,
      hint: 'A limit of the device was exceeded (too many entries, too large a value). Remove entries or use smaller values.',
    },
    {
      code: 0x80000012,
      message: 'Already used.',
      user: true,
      hint: 'Another program is using the device. Close it there (or close the other handle of this sensor here), then try again.',
    },
    {
      code: 0x80000013,
      message: 'Timed out.',
      user: true,
      hint: 'The device did not answer in time. Check its cable and power, then try again.',
    },
    {
      code: 0x80000014,
      message: 'Disabled.',
      user: true,
      hint: 'The function is switched off on the device. Switch it on in the device\u2019s own settings, then try again.',
    },
    {
      code: 0x80000015,
      message: 'Invalid precondition.',
      user: true,
      hint: 'The device is not ready for this step: an earlier step it needs is missing. If the sensor needs calibrating, calibrate it first (Sensor tab \u2192 Calibration).',
    },
    {
      code: 0x80000016,
      message: 'Unresolved.',
      user: false,
      hint: 'The library could not resolve what it needed. Try again; if it stays, close and reopen the sensor.',
      action: 'reopen',
    },
    {
      code: 0x80000017,
      message: 'Retry count exceeded.',
      user: false,
      hint: 'The device failed several times in a row. Check its connection and try again later.',
    },
    {
      code: 0x80000018,
      message: 'Already created.',
      user: false,
      hint: 'The library had already created what it was asked to create. Try again; report it if it stays.',
    },
    {
      code: 0x80000019,
      message: 'Cannot create file.',
      user: true,
      hint: 'The library cannot write its file. Check that the registry directory is writable and the disk is not full.',
    },
    {
      code: 0x8000001a,
      message: 'Invalid data.',
      user: true,
      hint: 'The data holds a value the device refuses (not a number, infinite, a text without end) or is of the other kind for this entry. Correct the values.',
    },
    {
      code: 0x8000001b,
      message: 'Invalid data size.',
      user: true,
      hint: 'A text is too long for the device: serials take 32 bytes, parameter descriptions 255, monitor serials 16. Shorten it.',
    },
    {
      code: 0x8000001c,
      message: 'Invalid key.',
      user: true,
      hint: 'The device has no option with that number. Use one of the device\u2019s option numbers.',
    },
    {
      code: 0x8000001d,
      message: 'Invalid key size.',
      user: false,
      hint: 'The library refused the size of a key the plug-in handed it: nothing to change here. Report it with the envelope.',
    },
    {
      code: 0x8000001e,
      message: 'Data verify error.',
      user: false,
      hint: 'What the device stored differs from what was sent. Write it again; if it stays, the device\u2019s memory may be faulty.',
    },
    {
      code: 0x8000001f,
      message: 'Rejected by critical section.',
      user: true,
      hint: ANOTHER_PROGRAM,
      action: 'release-monitor',
    },
    {
      code: 0x80010001,
      message: 'Monitor connection error.',
      user: true,
      hint: 'The monitor cannot be reached. Check that it is on and that its USB cable is plugged in, then try again.',
    },
    {
      code: 0x80010002,
      message: 'Sensor connection error.',
      user: true,
      hint: 'The sensor cannot be reached. Check its cable, then close the sensor and open it again.',
      action: 'reopen',
    },
    {
      code: 0x80010003,
      message: 'Measure error.',
      user: true,
      hint: 'The measurement failed. Check that the sensor faces the screen (or the light) and that nothing covers it, then measure again.',
    },
    {
      code: 0x80010004,
      message: 'Sensor position error.',
      user: true,
      hint: 'The sensor is not in the position this measurement needs. Set the mode again so that the head turns to its position.',
    },
    {
      code: 0x80010005,
      message: 'Calculation error.',
      user: false,
      hint: 'The library could not compute a result from the reading. Measure again; a very dark or very bright patch can cause it.',
    },
    {
      code: 0x80010006,
      message: 'Chamber error.',
      user: false,
      hint: 'The instrument reported a fault of its measuring chamber. Check the instrument, then try again.',
    },
    {
      code: 0x80010007,
      message: 'Siggenerator error.',
      user: false,
      hint: 'The signal generator that shows the patches failed. Check it, then try again.',
    },
    {
      code: 0x80010008,
      message: 'Zero calibration error.',
      user: true,
      hint: 'A zero calibration needs darkness. Cover the sensor (or turn it to its calibration position), then calibrate again.',
    },
    {
      code: 0x80010009,
      message: 'Cannot enter monitor critical section.',
      user: true,
      hint: 'The monitor could not be reserved for this step because another program is using it. Close that program, then try again.',
      action: 'release-monitor',
    },
    {
      code: 0x8001000a,
      message: 'Monitor critical section is owned.',
      user: true,
      hint: 'Another program owns the monitor right now (a calibration or an update running there). Wait for it to end or close it, then try again.',
      action: 'release-monitor',
    },
  ].map(Object.freeze),
);

// The refusals of the plug-in before any device library is asked: exact sentences (400), then
// the other statuses by error name.
export const REQUEST_HINTS = Object.freeze({
  'URI is invalid.':
    'An identifier in the path is empty. Fill in the sensor id (or the device id, individual id, serial and product).',
  "requires 'supports' query.":
    'Add the query key supports (…?supports): the resource only answers whether the sensor supports it.',
  "requires 'needs' query.": 'Add the query key needs (…/Calibration?needs).',
  "requires 'available' query.":
    'Add the query key available (…?available) to list what is stored.',
  "requires 'option' query.": 'Add the option number as a query: …/DeviceOption?option=1.',
  'option must be number.': 'The option in the query must be a whole number: ?option=1.',
  'id must be number.': 'The id in the query must be a number: ?id=3.',
  'data must be boolean.': 'Send true or false as the body (not 1, not "true").',
  'data must be number or boolean.':
    'Send true, false or a number as the body (non-zero switches it on).',
  'data must be number.': 'Send a bare number as the body, such as 2 (not {"id": 2}, not true).',
  'data must be string.': 'Send a JSON string as the body: "text in quotes".',
  'data must be 255 bytes or less.': 'Shorten the text to 255 bytes (UTF-8).',
  'data must be 3x3 matrix.': 'Send three rows of three numbers: [[1,0,0],[0,1,0],[0,0,1]].',
  'data must be object.': 'Send a JSON object as the body.',
  "data requires 'mode'.": 'The body needs "mode" as a number: {"mode": 0, "observerKey": 0}.',
  "data requires 'observerKey'.":
    'The body needs "observerKey" as a number: {"mode": 0, "observerKey": 0}.',
  "data requires 'option'.": 'The body needs "option" as a number: {"option": 1, "value": 0}.',
  "data requires 'value'.": 'The body needs "value" as a number: {"option": 1, "value": 0}.',
  'data must have id.': 'The body needs "id" as a number (not a text): {"id": 1}.',
  'data must have targetWhite.':
    'With "type": "recalc" the body needs "targetWhite": {"x", "y", "Y"}.',
  'targetWhite must have x, y, Y.': 'Give the target white as {"x": 0.3127, "y": 0.329, "Y": 160}.',
  'matrix data type is not array.':
    'Send {"matrix": rows}, the rows being arrays of three numbers.',
  'matrix data size is invalid.':
    'The matrix needs at least three rows (three, or eight where the sensor takes the 8x3 form).',
  'data must have referenceSensor.':
    'The body needs "referenceSensor": {"deviceID": 48, "serial": "…"}.',
  'referenceSensor must have deviceID, serial.':
    'Give the reference sensor both a numeric deviceID and a serial text.',
  'serial must be 32 bytes or less.': 'Shorten the reference serial to 32 bytes.',
  'date is not supported for IFSv3 data.':
    'IFSv3 records take no date: leave "date" out, or store the CSSG2 record.',
  'data must have calibrationData, correctionData, luminanceLevelCorrection, normalizedMeasurement, reference, referenceTone or toneCorrection.':
    'Give at least one of the seven records (read them first to see their shape).',
});

const BY_NAME = Object.freeze({
  MethodError:
    'This resource does not take that method; docs/api.md lists the methods of every route.',
  FunctionNotFoundError:
    'The device library lacks a function this resource needs (an older library). The resource cannot work with it.',
  UnknownError:
    'The plug-in met something unexpected. The host\u2019s standard error (or QUILBY_LOG) has its log.',
  NetworkError:
    'The development host is not running or cannot be reached. Start it (make demo) and reload the page.',
});

const HOST_BY_STATUS = Object.freeze({
  400: 'The host could not read the request. Check that the body is JSON of the shape docs/api.md gives.',
  403: 'The host only answers its own pages. Open the console at the address quilby-host printed.',
  404: 'The host has no such route (or the simulator is not loaded). GET /host/routes lists the routes.',
  405: 'The host takes GET, PUT, POST and DELETE only, and each host route only some of them.',
  409: 'The monitor is unknown to the simulator, or this process holds it itself.',
  502: 'The plug-in did not deliver exactly one answer. The host\u2019s standard error has the details.',
});

// The statuses of GET /sim/errors worth injecting: only failures. A status with the high bit
// clear is a success or a warning, and "Unknown." never fails a request either.
export function injectableStatuses(errors) {
  return errors.filter((e) => e.code >= 0x80000000 && e.code !== 0x80000006);
}

// The entry of the EmError table for a status code, or null.
export const libraryStatus = (code) =>
  LIBRARY_STATUSES.find((entry) => entry.code === code) ?? null;

function libraryHint(code, reason, context) {
  if (
    reason === 'Get HID handle.' ||
    (context.builtIn === false && code === 0x80000000 && !reason)
  ) {
    return { text: BUILT_IN_ONLY };
  }
  const entry = libraryStatus(code);
  if (!entry) {
    return {
      text: 'The library gave a status the plug-in does not know. Report it with the envelope.',
    };
  }
  if (code === 0x80010004 && context.hasArm) {
    return {
      text: 'The arm is in. Take the arm out so that it faces the screen, then measure again.',
      action: 'arm-out',
    };
  }
  if (code === 0x80010008 && context.hasArm) {
    return {
      text: 'The arm is out, and a zero calibration needs darkness. Put the arm back in, then calibrate again.',
      action: 'arm-in',
    };
  }
  if (code === 0x80000015 && context.needsCalibration) {
    return {
      text: 'This sensor needs calibrating before it measures. Calibrate it first, then measure again.',
      action: 'calibrate',
    };
  }
  return { text: entry.hint, action: entry.action };
}

// The hint for `error` (an ApiError of api.js: {status, name, message, detail: {code, reason}}),
// or null when there is none. `context`: what is known of the sensor ({hasArm, needsCalibration,
// builtIn}), which makes some hints precise.
export function hintFor(error, context = {}) {
  if (!error) return null;
  if (error.name === 'EmError')
    return libraryHint(error.detail?.code, error.detail?.reason, context);
  if (error.name === 'HostError' || error.name === 'SimulatorError') {
    const text = HOST_BY_STATUS[error.status];
    return text ? { text } : null;
  }
  if (error.status === 404 && error.message === 'Not found.') {
    return {
      text: 'This sensor id is not open: it was closed, or the simulated world was reset (which closes every sensor). Open the sensor again.',
    };
  }
  const exact = REQUEST_HINTS[error.message];
  if (exact) return { text: exact };
  const member = /^(\w+) must be object\.$/.exec(error.message ?? '');
  if (member)
    return {
      text: `"${member[1]}" must be a JSON object (read the records first to see its members).`,
    };
  const byName = BY_NAME[error.name];
  return byName ? { text: byName } : null;
}
