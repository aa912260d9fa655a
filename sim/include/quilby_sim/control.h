/* quilby_sim/control.h: control of the simulated device world, for tests and the development
 * host. Exported by libquilbysim.so, the library that holds the world shared by the six simulated
 * device libraries.
 *
 * JSON texts are returned through caller buffers: a function writes at most `size` - 1 bytes and
 * a terminating NUL, and returns the length of the whole text (without the NUL), so a result of
 * `size` or more means the text was cut and a larger buffer is needed. Every function may be
 * called from any thread.
 */
#ifndef QUILBY_SIM_CONTROL_H
#define QUILBY_SIM_CONTROL_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Replaces the world by the one named by the environment variable QUILBY_SIM_WORLD (a file), or
 * by the built-in default world when it is not set. Every handle is invalidated; injected
 * failures, the journal and the critical sections are cleared. Returns 0; -1 when the file
 * cannot be read or is not a valid world, in which case the built-in world is loaded and the
 * reason is available from QuilbySimLastError. */
int QuilbySimReset(void);

/* Replaces the world by the one in the JSON text `world` (format in docs/simulator.md), resetting
 * handles, failures, journal and critical sections as QuilbySimReset does. Returns 0; on a
 * malformed or inconsistent world returns -1, leaves the current world as it was, and writes a
 * message naming the problem and its place (for example "monitors[1].serial: longer than 8
 * characters") into `error` (may be NULL). */
int QuilbySimLoadWorld(const char* world, char* error, uint32_t errorSize);

/* The message of the last failed QuilbySimReset or QuilbySimLoadWorld ("" when none). */
uint32_t QuilbySimLastError(char* buffer, uint32_t size);

/* The current world as JSON, in the same format QuilbySimLoadWorld reads, with the state that
 * calls changed (modes, arm, applied corrections, shown colours, stored records, ...). */
uint32_t QuilbySimWorld(char* buffer, uint32_t size);

/* Makes the next `count` calls of the device-library function named `function` (for example
 * "MDOpen" or "EmCtrlLockMonitor") fail with `status` without doing anything else; `count` 0
 * removes the failure. For functions that return no EmError the failure value is the function's
 * own "nothing" (NULL, 0, or a negative number for CSSG2H_SetColorSensorDataIndex). */
void QuilbySimFailNext(const char* function, uint32_t count, uint32_t status);

/* Removes every injected failure, those of the world file included. */
void QuilbySimClearFailures(void);

/* The calls made to the device libraries since the last clear, oldest first, as a JSON array of
 * {"function": name, "arguments": [...], "status": result} objects (format in
 * docs/simulator.md). Calls to libquilbysim.so itself are not journaled. */
uint32_t QuilbySimJournal(char* buffer, uint32_t size);

/* The last `count` entries of the journal (all of them when it holds fewer), oldest first, in
 * the form of QuilbySimJournal. Its cost grows with `count`, not with the journal, so that a
 * page can poll for the newest calls however long the session. */
uint32_t QuilbySimJournalLast(uint32_t count, char* buffer, uint32_t size);

void QuilbySimClearJournal(void);

/* The monitors' critical sections as a JSON array of {"serial", "product", "owner"} objects, one
 * per monitor; "owner" is null (free), "process" (entered through EmCtrlLockMonitor by this
 * process) or "other" (held by another program, see QuilbySimHoldMonitor). */
uint32_t QuilbySimCriticalSections(char* buffer, uint32_t size);

/* Makes another program enter (`held` non-zero) or leave the critical section of the monitor
 * (serial, product). Returns 0, or -1 for an unknown monitor or a section this process holds. */
int QuilbySimHoldMonitor(const char* serial, const char* product, int held);

/* Sets the colour the monitor (serial, product) shows, as red, green and blue in [0, 1]. Later
 * measurements of every sensor looking at that monitor follow it. Returns 0, or -1 for an
 * unknown monitor or a value outside [0, 1]. */
int QuilbySimSetShownColor(const char* serial, const char* product, double red, double green,
                           double blue);

#ifdef __cplusplus
}  /* extern "C" */
#endif

#endif  /* QUILBY_SIM_CONTROL_H */
