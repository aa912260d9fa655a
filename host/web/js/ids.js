// Sensor and device identifiers as the resources want them. No DOM here, so Node can test it.

// The individual identifier the IndividualID resource takes: an unsigned decimal integer. The
// connected list gives it as 16 hexadecimal digits, so a 16-digit text or a "0x" text is read as
// hexadecimal, any other run of digits as decimal. Returns the decimal text, or null when the
// text is none of these or exceeds 64 bits.
export function individualIdToDecimal(text) {
  const trimmed = String(text ?? '').trim();
  let value;
  if (/^0x[0-9a-f]{1,16}$/i.test(trimmed)) {
    value = BigInt(trimmed);
  } else if (/^[0-9a-f]{16}$/i.test(trimmed)) {
    value = BigInt(`0x${trimmed}`);
  } else if (/^[0-9]{1,20}$/.test(trimmed)) {
    value = BigInt(trimmed);
  } else {
    return null;
  }
  return value < 2n ** 64n ? value.toString() : null;
}

// A device identifier typed by a person: a decimal integer from 0 to 4294967295, or null.
export function parseDeviceId(text) {
  const trimmed = String(text ?? '').trim();
  if (!/^[0-9]{1,10}$/.test(trimmed)) return null;
  const value = Number(trimmed);
  return value <= 0xffffffff ? value : null;
}
