// What the selected sensor can do, from the plug-in's answers: its capabilities (GET Sensors/{id}),
// its `supports` answers, and whether it is built into a monitor. Each feature of the console is
// shown or hidden, enabled or disabled from this, with the reason in words. No DOM here, so Node
// can test it.
//
// `caps`: {info: the Sensor answer, supports: {modes: {ambient, reflectance}, arm, positions,
// exteriorLight, targetMarker}, builtIn: true / false / null (not known)}; any part may be missing
// while it is being read.

const BUILT_IN =
  'Needs a sensor built into a monitor: the plug-in reaches it through the monitor\u2019s USB link.';

// What each feature needs: `builtIn`, or one of the hardware parts below. Hardware a sensor lacks
// is hidden (there is nothing to press); what needs a built-in sensor stays visible, disabled,
// so that a person learns where it would be.
const NEEDS = Object.freeze({
  rgb: 'builtIn',
  ir: 'builtIn',
  uncorrelated: 'builtIn',
  presence: 'builtIn',
  matrices: 'builtIn',
  matrixData: 'builtIn',
  description: 'builtIn',
  correlationData: 'builtIn',
  correlationDatabase: 'builtIn',
  matrixDatabase: 'builtIn',
  ifs: 'builtIn',
  ninePoints: 'arm',
  arm: 'arm',
  exteriorLight: 'exteriorLight',
  targetMarker: 'targetMarker',
  ambient: 'ambient',
  reflectance: 'reflectance',
});

const HARDWARE = Object.freeze({
  arm: { has: (c) => c.info?.hasArm ?? c.supports?.arm, lacks: 'The sensor has no arm.' },
  exteriorLight: {
    has: (c) => c.supports?.exteriorLight,
    lacks: 'The sensor has no exterior light.',
  },
  targetMarker: {
    has: (c) => c.supports?.targetMarker ?? c.info?.hasTargetMarker,
    lacks: 'The sensor has no target marker.',
  },
  ambient: {
    has: (c) => c.supports?.modes?.ambient ?? c.info?.supportsAmbient,
    lacks: 'The sensor does not measure ambient light.',
  },
  reflectance: {
    has: (c) => c.supports?.modes?.reflectance ?? c.info?.supportsReflectance,
    lacks: 'The sensor does not measure reflectance.',
  },
});

// What `feature` needs ('builtIn', 'arm', ...), or null for what every sensor can do. Features
// with the same need share the line that says why they are disabled.
export const needOf = (feature) => NEEDS[feature] ?? null;

// {shown, enabled, reason} of `feature` for a sensor with `caps`. A feature whose need is not
// known yet is shown and enabled: the plug-in's answer will tell.
export function availability(caps, feature) {
  const need = NEEDS[feature];
  if (!need) return { shown: true, enabled: true, reason: null };
  if (need === 'builtIn') {
    const builtIn = caps?.builtIn;
    return builtIn === false
      ? { shown: true, enabled: false, reason: BUILT_IN }
      : { shown: true, enabled: true, reason: null };
  }
  const has = HARDWARE[need].has(caps ?? {});
  if (has === false) {
    // Modes are choices in a list: keep them listed, disabled, so the list tells what exists.
    const listed = need === 'ambient' || need === 'reflectance';
    return { shown: listed, enabled: false, reason: HARDWARE[need].lacks };
  }
  // An arm card for a sensor whose arm is not known yet would flash and vanish: wait for it.
  return {
    shown: has === true || need === 'ambient' || need === 'reflectance',
    enabled: true,
    reason: null,
  };
}

// The hardware a sensor lacks, in words, for the line under its capabilities.
export function missingHardware(caps) {
  return ['arm', 'exteriorLight', 'targetMarker']
    .filter((key) => HARDWARE[key].has(caps ?? {}) === false)
    .map((key) => HARDWARE[key].lacks);
}

// Whether a sensor is built into a monitor: from how it was opened (`meta.monitor`), else from
// the simulated world's record of it; null when neither tells.
export function builtInFrom(meta, worldRecord) {
  if (meta?.monitor) return true;
  if (worldRecord?.connection) return worldRecord.connection === 'builtIn';
  return null;
}

// What the hints want to know of a sensor (hints.js).
export function hintContext(caps) {
  return {
    hasArm: HARDWARE.arm.has(caps ?? {}) === true,
    needsCalibration: caps?.info?.needsCalibration === true,
    builtIn: caps?.builtIn ?? null,
  };
}
