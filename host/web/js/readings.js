// The readings the console keeps: units per measurement mode, the statistics of a series, the
// white a monitor is supposed to show, and the rows the host's export route takes. No DOM here,
// so Node can test it.

// The measurement modes of the simulated libraries, with the unit their XYZ readings are in.
export const MODES = Object.freeze([
  { value: 0, label: 'Display', unit: 'cd/m\u00b2', quantity: 'luminance' },
  { value: 1, label: 'Ambient', unit: 'lx', quantity: 'illuminance' },
  { value: 2, label: 'Reflectance', unit: '', quantity: 'relative Y (white 100)' },
]);

export const OBSERVERS = Object.freeze([
  { value: 0, label: 'CIE 1931 2\u00b0' },
  { value: 1, label: 'CIE 1964 10\u00b0' },
]);

export const modeOf = (value) => MODES.find((m) => m.value === value) ?? MODES[0];

// Minimum, mean, maximum and sample standard deviation of the finite numbers of `values`; null
// without any. One value has a deviation of 0.
export function seriesStats(values) {
  const numbers = values.filter(Number.isFinite);
  const count = numbers.length;
  if (count === 0) return null;
  const mean = numbers.reduce((sum, v) => sum + v, 0) / count;
  const squares = numbers.reduce((sum, v) => sum + (v - mean) ** 2, 0);
  return {
    count,
    min: Math.min(...numbers),
    mean,
    max: Math.max(...numbers),
    sd: count > 1 ? Math.sqrt(squares / (count - 1)) : 0,
  };
}

// The XYZ of a display's white: its chromaticity at its luminance. Null without both.
export function whiteOfDisplay(display) {
  const white = display?.white;
  const Y = display?.luminance;
  if (!white || !(white.y > 0) || !(Y > 0)) return null;
  return [(white.x / white.y) * Y, Y, ((1 - white.x - white.y) / white.y) * Y];
}

// [X, Y, Z] of an {X, Y, Z} record, or null when any is not a finite number.
export function xyzArray(record) {
  const values = [record?.X, record?.Y, record?.Z];
  return values.every(Number.isFinite) ? values : null;
}

// The derive route takes only non-negative values; noise can take a dark channel just below 0.
export const clampXYZ = (xyz) => xyz.map((v) => Math.max(0, v));

// The XYZ readings (corrected, and raw when asked) as the export route takes them, oldest first.
// `reading`: {time (Date), sensor (its label), mode (number), corrected (bool), XYZ, rawXYZ}.
export function exportRows(readings, { includeRaw = false } = {}) {
  const rows = [];
  for (const reading of readings) {
    const base = { time: reading.time.toISOString(), sensor: reading.sensor };
    const mode = modeOf(reading.mode).label;
    const xyz = xyzArray(reading.XYZ);
    if (xyz) rows.push({ ...base, mode, corrected: reading.corrected, XYZ: clampXYZ(xyz) });
    const raw = includeRaw ? xyzArray(reading.rawXYZ) : null;
    if (raw) rows.push({ ...base, mode: `${mode} (raw)`, corrected: false, XYZ: clampXYZ(raw) });
  }
  return rows;
}
