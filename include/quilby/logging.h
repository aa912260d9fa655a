/* quilby/logging.h: the logging library, libmirelto2_x64.so, looked up by name at run time. */
#ifndef QUILBY_LOGGING_H
#define QUILBY_LOGGING_H

#include "quilby/device_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The library's logger object; NULL when logging is unavailable. */
void* mirelto_get_logger(void);
/* Writes one line `text` at `level` under the logger name `name` (for example "Quilby"). */
void  mirelto_log(void* logger, const char* name, MireltoLevel level, const char* text);

#ifdef __cplusplus
}  /* extern "C" */
#endif

#endif  /* QUILBY_LOGGING_H */
