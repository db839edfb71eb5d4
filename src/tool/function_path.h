// The object path of a function that the user names by its address alone.
//
// Thread rule: as Session.

#ifndef TOOL_FUNCTION_PATH_H_
#define TOOL_FUNCTION_PATH_H_

#include <string>
#include <string_view>

#include "cim/value.h"
#include "tool/session.h"

namespace tool {

// Whether the text can be an address, as FunctionNamed reads it, and no object path.
bool LooksLikeAddress(std::string_view text);

// The path of the function in the class that has it: Ostrel_PCIeSwitch, Ostrel_PCIBridge or
// Ostrel_PCIDevice. Throws CommandError where there is none, or where several are meant.
cim::ObjectPath PathOfFunction(const std::string& address, Session& session);

}  // namespace tool

#endif  // TOOL_FUNCTION_PATH_H_
