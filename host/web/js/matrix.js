// The correction matrix of a built-in sensor as the console edits it: 3 rows of 3 numbers, or 8
// rows of 3 for sensors with the 8x3 form. No DOM here, so Node can test it.

export const SHAPES = Object.freeze({ '3x3': 3, '8x3': 8 });

// The identity of the shape: the first three rows are the unit matrix, further rows zero.
export function identityMatrix(rows) {
  return Array.from({ length: rows }, (_, r) => [0, 1, 2].map((c) => (r === c ? 1 : 0)));
}

// The shape name of a matrix read from the sensor, or null for anything else.
export function shapeOf(matrix) {
  if (!Array.isArray(matrix) || !matrix.every((row) => Array.isArray(row) && row.length === 3)) {
    return null;
  }
  return Object.keys(SHAPES).find((name) => SHAPES[name] === matrix.length) ?? null;
}

// Reads the editor's cells (rows of texts) into numbers. Returns {matrix} or {error} naming the
// first cell that is not a finite number (row and column counted from 1).
export function parseCells(cells) {
  const matrix = [];
  for (const [r, row] of cells.entries()) {
    const values = [];
    for (const [c, text] of row.entries()) {
      const value = String(text).trim() === '' ? NaN : Number(text);
      if (!Number.isFinite(value)) {
        return { error: `Row ${r + 1}, column ${c + 1} is not a number.` };
      }
      values.push(value);
    }
    matrix.push(values);
  }
  return { matrix };
}

// Resizes a matrix to `rows` rows, keeping what fits and filling new rows with zeros.
export function resize(matrix, rows) {
  return Array.from({ length: rows }, (_, r) => (matrix[r] ? [...matrix[r]] : [0, 0, 0]));
}
