// cairnjson: the JSON document model of the plug-in.
//
//   Value       a JSON value with copy-on-write containers (value.h)
//   Parser      JSON text to Value, or to parse events (parser.h, parse_handler.h)
//   Serializer  Value to JSON text (serializer.h)
//   Double      the number text of doubles (double.h)
#ifndef CAIRNJSON_CAIRNJSON_H
#define CAIRNJSON_CAIRNJSON_H

#include "json/double.h"
#include "json/member.h"
#include "json/parse_handler.h"
#include "json/parser.h"
#include "json/serializer.h"
#include "json/value.h"

#endif  // CAIRNJSON_CAIRNJSON_H
