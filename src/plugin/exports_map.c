/* Preprocessed, not compiled, into the linker's version script for libquilby.so: the dynamic
 * symbols are the plug-in's C interface and nothing else. */
#include "quilby/resource_list.h"

#define QUILBY_EXPORT_RESOURCE(Name, Methods, Path) Name;
#define QUILBY_EXPORT_FUNCTION(Name) Name;

{
  global:
    QUILBY_RESOURCES(QUILBY_EXPORT_RESOURCE)
    QUILBY_OTHER_EXPORTS(QUILBY_EXPORT_FUNCTION)
  local:
    *;
};
