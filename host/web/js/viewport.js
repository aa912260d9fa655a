// The part of a chromaticity diagram on show: zooming around a point, panning, fitting readings,
// and the grid's tick values. A view is {xMin, xMax, yMin, yMax} in the diagram's units. No DOM
// here, so Node can test it.

// The whole diagram in each projection: CIE 1931 xy and CIE 1976 u'v'.
export const FULL_VIEWS = Object.freeze({
  xy: Object.freeze({ xMin: 0, xMax: 0.8, yMin: 0, yMax: 0.9 }),
  uv: Object.freeze({ xMin: 0, xMax: 0.65, yMin: 0, yMax: 0.6 }),
});

// Closer than this the noise of the sensor fills the plot; nothing is gained.
const MIN_SPAN = 0.0005;

const spanOf = (view) => ({ x: view.xMax - view.xMin, y: view.yMax - view.yMin });

// Keeps a view inside `full` (shifting it, not squeezing it) and no larger than `full`.
export function clampView(view, full) {
  const span = spanOf(view);
  const fullSpan = spanOf(full);
  const w = Math.min(Math.max(span.x, MIN_SPAN), fullSpan.x);
  const h = Math.min(Math.max(span.y, MIN_SPAN), fullSpan.y);
  const cx = (view.xMin + view.xMax) / 2;
  const cy = (view.yMin + view.yMax) / 2;
  const xMin = Math.min(Math.max(cx - w / 2, full.xMin), full.xMax - w);
  const yMin = Math.min(Math.max(cy - h / 2, full.yMin), full.yMax - h);
  return { xMin, xMax: xMin + w, yMin, yMax: yMin + h };
}

// The view zoomed by `factor` (2 shows half the span) around `centre` ({x, y}), which stays where
// it is on the screen.
export function zoomView(view, factor, centre, full) {
  const c = centre ?? { x: (view.xMin + view.xMax) / 2, y: (view.yMin + view.yMax) / 2 };
  const scaled = {
    xMin: c.x - (c.x - view.xMin) / factor,
    xMax: c.x + (view.xMax - c.x) / factor,
    yMin: c.y - (c.y - view.yMin) / factor,
    yMax: c.y + (view.yMax - c.y) / factor,
  };
  return clampView(scaled, full);
}

// The view moved by (dx, dy) diagram units.
export function panView(view, dx, dy, full) {
  return clampView(
    { xMin: view.xMin + dx, xMax: view.xMax + dx, yMin: view.yMin + dy, yMax: view.yMax + dy },
    full,
  );
}

// The smallest view that shows every point with a margin, with the aspect of `full` so that
// distances look the same in both directions; the full view without points.
export function fitView(points, full, margin = 0.2) {
  const shown = points.filter((p) => p && Number.isFinite(p.x) && Number.isFinite(p.y));
  if (shown.length === 0) return { ...full };
  const xs = shown.map((p) => p.x);
  const ys = shown.map((p) => p.y);
  const aspect = spanOf(full).x / spanOf(full).y;
  let w = Math.max(Math.max(...xs) - Math.min(...xs), 0.004) * (1 + 2 * margin);
  let h = Math.max(Math.max(...ys) - Math.min(...ys), 0.004) * (1 + 2 * margin);
  if (w / h > aspect) h = w / aspect;
  else w = h * aspect;
  const cx = (Math.max(...xs) + Math.min(...xs)) / 2;
  const cy = (Math.max(...ys) + Math.min(...ys)) / 2;
  return clampView(
    { xMin: cx - w / 2, xMax: cx + w / 2, yMin: cy - h / 2, yMax: cy + h / 2 },
    full,
  );
}

// Tick values from `min` to `max`: about `count` of them at 1, 2 or 5 times a power of ten.
// `decimals` is how many the labels need to tell neighbours apart.
export function ticks(min, max, count = 10) {
  const raw = (max - min) / count;
  const power = 10 ** Math.floor(Math.log10(raw));
  const step = [1, 2, 5, 10].map((m) => m * power).find((s) => s >= raw) ?? 10 * power;
  const decimals = Math.max(0, -Math.floor(Math.log10(step) + 1e-9));
  const values = [];
  for (let v = Math.ceil(min / step - 1e-9) * step; v <= max + step * 1e-9; v += step) {
    values.push(Number(v.toFixed(decimals + 1)));
  }
  return { values, decimals };
}

// How much of the full view is on show, as a zoom factor (1 for all of it).
export function zoomFactor(view, full) {
  return spanOf(full).x / spanOf(view).x;
}
