// Text forms of values for the console. No DOM here, so Node can test it.

const DASH = '\u2014';

// A number with `digits` decimals; an em dash for anything that is not a finite number.
export function formatNumber(value, digits = 4) {
  return Number.isFinite(value) ? value.toFixed(digits) : DASH;
}

// A number with about `significant` significant digits and at most `maxDecimals` decimals, so that
// 159.5708 shows as 159.6 and 0.04217 as 0.0422; "-0.000" becomes "0.000".
export function formatSignificant(value, significant = 4, maxDecimals = 4) {
  if (!Number.isFinite(value)) return DASH;
  const magnitude = value === 0 ? 0 : Math.floor(Math.log10(Math.abs(value)));
  const decimals = Math.min(maxDecimals, Math.max(0, significant - 1 - magnitude));
  const text = value.toFixed(decimals);
  return /^-0(\.0*)?$/.test(text) ? text.slice(1) : text;
}

// How the console writes each quantity it shows: digits, and the unit after the number.
export const QUANTITIES = Object.freeze({
  tristimulus: { format: (v) => formatSignificant(v, 4, 3) },
  chromaticity: { format: (v) => formatNumber(v, 4) },
  counts: { format: (v) => (Number.isFinite(v) ? String(Math.round(v)) : DASH), unit: 'counts' },
  cct: { format: (v) => (Number.isFinite(v) ? String(Math.round(v)) : DASH), unit: 'K' },
  duv: { format: (v) => formatNumber(v, 4) },
  lab: { format: (v) => formatNumber(v, 2) },
  deltaE: { format: (v) => formatNumber(v, 2) },
  deltaUV: { format: (v) => formatNumber(v, 4) },
  plain: { format: (v) => formatSignificant(v, 4, 3) },
});

// `value` as `quantity` (a key of QUANTITIES), and its unit ('' for none): [text, unit]. `unit`
// overrides the quantity's.
export function quantityParts(value, quantity, unit) {
  const kind = QUANTITIES[quantity] ?? QUANTITIES.plain;
  const text = kind.format(value);
  return [text, text !== DASH ? (unit ?? kind.unit ?? '') : ''];
}

// `value` as `quantity` with its unit after a no-break space.
export function formatQuantity(value, quantity, unit) {
  const [text, shownUnit] = quantityParts(value, quantity, unit);
  return shownUnit ? `${text}\u00a0${shownUnit}` : text;
}

// A standard deviation: two significant digits, whatever the size, in the unit of its quantity.
export function formatDeviation(value, quantity, unit) {
  const shownUnit = unit ?? QUANTITIES[quantity]?.unit ?? '';
  const text = formatSignificant(value, 2, 6);
  return shownUnit && text !== DASH ? `${text}\u00a0${shownUnit}` : text;
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

// A library status as the EmError table writes it: 0x80010004.
export const hexCode = (code) => `0x${code.toString(16).toUpperCase().padStart(8, '0')}`;

// A short sentence for an error of the API: "405 MethodError: GET method is not allowed.";
// library errors add their code in hexadecimal and the step that failed.
export function describeError(error) {
  if (!error) return '';
  const status = error.status ? `${error.status} ` : '';
  const name = error.name && error.name !== 'Error' ? `${error.name}: ` : '';
  let text = `${status}${name}${error.message ?? ''}`;
  const detail = error.detail ?? {};
  if (Number.isInteger(detail.code)) {
    text += ` (code ${hexCode(detail.code)}`;
    text += detail.reason ? `, ${detail.reason})` : ')';
  }
  return text;
}

// "1 reading", "3 readings".
export const plural = (count, word, many = `${word}s`) => `${count} ${count === 1 ? word : many}`;

// The indefinite article for a word as it is spoken: "an 8x3 matrix", "a 3x3 matrix".
export const article = (word) => (/^([aeio]|8|11|18)/i.test(word) ? 'an' : 'a');
