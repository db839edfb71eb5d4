// CIM values as JSON: numbers as numbers, references as path objects, nulls as null. Names keep
// the order in which they were set.
//
// Thread rule: pure functions.

#ifndef TOOL_JSON_VALUE_H_
#define TOOL_JSON_VALUE_H_

#include <nlohmann/json.hpp>

#include "broker/value.h"

namespace tool {

using Json = nlohmann::ordered_json;

// {"namespace": ..., "className": ..., "keys": {...}}, with "host" in front where there is one.
Json ToJson(const broker::ObjectPath& path);
// {"path": ..., "properties": {...}}
Json ToJson(const broker::Instance& instance);
Json ToJson(const broker::Value& value);

}  // namespace tool

#endif  // TOOL_JSON_VALUE_H_
