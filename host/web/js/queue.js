// One line of work per sensor: an action on a sensor starts only after the previous one on the
// same sensor has ended, however it ended, so that a measurement never overtakes a calibration
// that is still running. Different sensors do not wait for each other. No DOM here, so Node can
// test it.

// `onChange(key, running)` is told when a key's line starts working (the task's `label`) and
// when it falls idle (null).
export function createQueue(onChange = () => {}) {
  const tails = new Map();
  const pending = new Map();

  function settle(key) {
    const left = (pending.get(key) ?? 1) - 1;
    if (left > 0) {
      pending.set(key, left);
      return;
    }
    pending.delete(key);
    tails.delete(key);
    onChange(key, null);
  }

  return {
    // Runs `task()` after every earlier task of `key`; resolves or rejects as the task does.
    run(key, label, task) {
      const previous = tails.get(key) ?? Promise.resolve();
      pending.set(key, (pending.get(key) ?? 0) + 1);
      const result = previous.then(() => {
        onChange(key, label);
        return task();
      });
      const tail = result.then(
        () => settle(key),
        () => settle(key),
      );
      tails.set(key, tail);
      return result;
    },
    // Whether `key` has a task running or waiting.
    busy: (key) => pending.has(key),
  };
}

// Calls `step()`, waits for its answer, then waits `delay()` milliseconds (read afresh each time)
// before the next call, until stop() or until `step()` answers false or throws. So there is never
// more than one step in flight, however slow the answers are. `wait(ms)` is the timer (injected so
// tests need no clock); `onEnd(error)` is told once when the loop ends.
export function startLoop({ step, delay, wait, onEnd = () => {} }) {
  let stopped = false;
  let wake = null;
  const run = async () => {
    let failure = null;
    try {
      while (!stopped) {
        if ((await step()) === false) break;
        if (stopped) break;
        await new Promise((resolve) => {
          wake = resolve;
          wait(delay()).then(resolve);
        });
        wake = null;
      }
    } catch (error) {
      failure = error;
    }
    stopped = true;
    onEnd(failure);
  };
  const done = run();
  return {
    stop() {
      stopped = true;
      wake?.();
    },
    get running() {
      return !stopped;
    },
    done,
  };
}
