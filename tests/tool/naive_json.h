// CIM values as JSON documents in memory: what the JSON writer's text must say.
//
// Thread rule: pure functions.

#ifndef TESTS_TOOL_NAIVE_JSON_H_
#define TESTS_TOOL_NAIVE_JSON_H_

#include "cim/value.h"
#include "tool/json_value.h"

namespace tool {

// {"namespace": ..., "className": ..., "keys": {...}}, with "host" in front where there is one.
Json ToJson(const cim::ObjectPath& path);
// {"path": ..., "properties": {...}}
Json ToJson(const cim::Instance& instance);
Json ToJson(const cim::Value& value);

}  // namespace tool

#endif  // TESTS_TOOL_NAIVE_JSON_H_
