// JSON documents whose members keep the order in which they were set.

#ifndef TOOL_JSON_VALUE_H_
#define TOOL_JSON_VALUE_H_

#include <nlohmann/json.hpp>

namespace tool {

using Json = nlohmann::ordered_json;

}  // namespace tool

#endif  // TOOL_JSON_VALUE_H_
