// A small store of the console's shared state: views read it, change it with set(), and are told
// of every change. No DOM here, so Node can test it.

export function createStore(initial) {
  let state = Object.freeze({ ...initial });
  const listeners = new Set();
  return {
    get: () => state,
    // Merges `patch` into the state and calls every listener with the new state and the patch.
    set(patch) {
      state = Object.freeze({ ...state, ...patch });
      for (const listener of [...listeners]) listener(state, patch);
    },
    // Returns the function that stops the listening.
    subscribe(listener) {
      listeners.add(listener);
      return () => listeners.delete(listener);
    },
  };
}
