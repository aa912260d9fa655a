// Text forms of values for the console. No DOM here, so Node can test it.

// A number with `digits` decimals; an em dash for anything that is not a finite number.
export function formatNumber(value, digits = 4) {
  return Number.isFinite(value) ? value.toFixed(digits) : '\u2014';
}

// The JSON text of a value, indented for reading.
export function formatJson(value) {
  return JSON.stringify(value, null, 2) ?? 'undefined';
}

// The first block of a sensor identifier (a lower-case UUID), enough to tell sensors apart.
export function shortId(id) {
  return typeof id === 'string' ? id.split('-')[0] : String(id);
}

// "HH:MM:SS.mmm" of a Date, local time.
export function timeOfDay(date) {
  const pad = (n, width = 2) => String(n).padStart(width, '0');
  return `${pad(date.getHours())}:${pad(date.getMinutes())}:${pad(date.getSeconds())}.${pad(
    date.getMilliseconds(),
    3,
  )}`;
}

// A short sentence for an error of the API: "405 MethodError: GET method is not allowed.";
// library errors add their code in hexadecimal and the step that failed.
export function describeError(error) {
  if (!error) return '';
  const status = error.status ? `${error.status} ` : '';
  const name = error.name && error.name !== 'Error' ? `${error.name}: ` : '';
  let text = `${status}${name}${error.message ?? ''}`;
  const detail = error.detail ?? {};
  if (Number.isInteger(detail.code)) {
    text += ` (code 0x${detail.code.toString(16).toUpperCase().padStart(8, '0')}`;
    text += detail.reason ? `, ${detail.reason})` : ')';
  }
  return text;
}

// What the console calls the measurement modes and observers of the simulated libraries.
export const MODES = Object.freeze([
  { value: 0, label: 'Display' },
  { value: 1, label: 'Ambient' },
  { value: 2, label: 'Reflectance' },
]);

export const OBSERVERS = Object.freeze([
  { value: 0, label: 'CIE 1931 2\u00b0' },
  { value: 1, label: 'CIE 1964 10\u00b0' },
]);
