// Export of the readings taken so far, from every sensor, as CSV or as a CGATS.17 file that other
// colour tools read. The host writes both files.

import { onHost, outcomeKey } from '../actions.js';
import { h } from '../dom.js';
import { plural } from '../format.js';
import { exportFile } from '../measuring.js';
import { store } from '../store.js';
import { button, card, checkbox, outcomeView } from './common.js';

// Hands `file` ({blob, filename}) to the browser as a download.
function download({ blob, filename }) {
  const url = URL.createObjectURL(blob);
  const link = h('a', { href: url, download: filename, hidden: true });
  document.body.append(link);
  link.click();
  link.remove();
  setTimeout(() => URL.revokeObjectURL(url), 0);
}

async function exportAs(format) {
  const includeRaw = store.draft('export-raw', false);
  await onHost(`export-${format}`, async () => {
    const file = await exportFile(format, { includeRaw });
    if (file) download(file);
  });
}

export function renderExport(state) {
  const count = state.readings.length;
  const sensors = new Set(state.readings.map((r) => r.sensorId)).size;
  return card(
    { id: 'card-export', title: 'Export' },
    h(
      'p',
      { class: 'muted' },
      count === 0
        ? 'No reading to export yet.'
        : `${plural(count, 'XYZ reading')} of ${plural(sensors, 'sensor')}, with time, sensor, mode and correction state; L*a*b* against the white chosen above.`,
    ),
    checkbox({ id: 'export-raw', label: 'also the raw XYZ of each reading' }),
    h(
      'div',
      { class: 'button-row' },
      button({
        id: 'export-csv',
        label: 'Export CSV',
        disabled: count === 0,
        busy: Boolean(state.pending['export-csv']),
        onClick: () => exportAs('csv'),
      }),
      button({
        id: 'export-cgats',
        label: 'Export CGATS',
        disabled: count === 0,
        busy: Boolean(state.pending['export-cgats']),
        onClick: () => exportAs('cgats'),
      }),
    ),
    outcomeView(state, outcomeKey('export')),
  );
}
