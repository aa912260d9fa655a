/* A logging library that accepts every line and writes none, for request_bench: the plug-in and
 * its direct twin both hand each request line to it, so that the timings compare the work of
 * the plug-in itself and not the cost of writing log files. */
#include "quilby/logging.h"

static char logger;

void* mirelto_get_logger(void) { return &logger; }

void mirelto_log(void* object, const char* name, MireltoLevel level, const char* text) {
  (void)object;
  (void)name;
  (void)level;
  (void)text;
}
