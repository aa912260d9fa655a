// The paths of the development host's routes. No DOM here, so Node can test it.

const segment = (text) => encodeURIComponent(String(text));

// "?key&key=value..." of a query object: a null value gives a bare key (the plug-in tests query
// keys for presence), undefined leaves the key out, anything else gives its text. Empty for no
// keys.
export function queryString(query) {
  const pieces = Object.entries(query ?? {})
    .filter(([, value]) => value !== undefined)
    .map(([key, value]) => (value === null ? segment(key) : `${segment(key)}=${segment(value)}`));
  return pieces.length === 0 ? '' : `?${pieces.join('&')}`;
}

// A per-sensor resource: "/Sensors/<id>" and, when given, "/<word>" ("XYZ", "AmbraSense/Level").
export function sensorPath(id, word = '') {
  return `/Sensors/${segment(id)}${word ? `/${word}` : ''}`;
}

export function monitorSensorPath(serial, product) {
  return `/Monitors/${segment(serial)}/${segment(product)}/Sensor`;
}

export function simMonitorPath(serial, product, what) {
  return `/sim/monitors/${segment(serial)}/${segment(product)}/${what}`;
}
