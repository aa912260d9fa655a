/* quilby/host.h: the host interface, defined by the host application that loads the plug-in.
 *
 * The seven functions must be in the process's global scope before the plug-in is loaded (the
 * host executable exports them, or a library loaded with RTLD_GLOBAL or linked by the executable
 * provides them). Their texts belong to the host and are never NULL; the plug-in copies them at
 * once.
 */
#ifndef QUILBY_HOST_H
#define QUILBY_HOST_H

#ifdef __cplusplus
extern "C" {
#endif

/* A fresh promise id for one request. */
int         BridgeHelperCreatePromiseID(void);
/* Delivers the answer of the request `promiseId`: an HTTP-like status and the JSON envelope,
 * valid only during the call (the host copies it). Called exactly once per request. */
void        BridgeHelperSetResponse(int promiseId, int statusCode, const char* json);
/* The directory holding the plug-in and the device libraries. */
const char* Plg_GetRegistryExportsPath(void);
/* The directory of the host's web page (it holds "did.json"). */
const char* Plg_GetRegistryHtmlPath(void);
/* The host's registry directory, root of the measurement subprocess's bundle. */
const char* Plg_GetRegistryPath(void);
/* The architecture word, a directory name of the bundle. */
const char* Plg_GetArchitecture(void);
/* The host application's name. */
const char* Plg_GetApplicationName(void);

#ifdef __cplusplus
}  /* extern "C" */
#endif

#endif  /* QUILBY_HOST_H */
