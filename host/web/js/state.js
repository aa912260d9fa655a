// The console's state in one place. Views read it and render from it; actions change it with
// set() or update(), and every change is announced to the subscribers with the keys it touched.
// Drafts (what a person has typed but not sent) are kept beside it without announcements, so that
// typing does not re-render the view being typed in. No DOM here, so Node can test it.

export function createStore(initial) {
  let state = Object.freeze({ ...initial });
  const listeners = new Set();
  const drafts = new Map();

  function set(patch) {
    state = Object.freeze({ ...state, ...patch });
    for (const listener of [...listeners]) listener(state, patch);
  }

  return {
    get: () => state,
    // Merges `patch` into the state and calls every listener with the new state and the patch.
    set,
    // set() with the patch `change(state)` returns; nothing happens for a null patch.
    update(change) {
      const patch = change(state);
      if (patch) set(patch);
    },
    // Returns the function that stops the listening.
    subscribe(listener) {
      listeners.add(listener);
      return () => listeners.delete(listener);
    },
    // The draft under `key`, or `fallback` when none was typed.
    draft: (key, fallback = '') => (drafts.has(key) ? drafts.get(key) : fallback),
    setDraft: (key, value) => drafts.set(key, value),
    clearDraft: (key) => drafts.delete(key),
  };
}

// A copy of the map `record` (an object) with `key` set to `value`, or removed for undefined.
export function withEntry(record, key, value) {
  const copy = { ...(record ?? {}) };
  if (value === undefined) delete copy[key];
  else copy[key] = value;
  return copy;
}

// `withEntry` one level down: record[outer][inner] = value, merging into what is there.
export function withMerged(record, key, patch) {
  return withEntry(record, key, { ...(record?.[key] ?? {}), ...patch });
}
