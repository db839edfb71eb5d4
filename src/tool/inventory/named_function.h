// The one function that a user names by its address.
//
// Thread rule: pure functions.

#ifndef TOOL_INVENTORY_NAMED_FUNCTION_H_
#define TOOL_INVENTORY_NAMED_FUNCTION_H_

#include <cstdint>
#include <string_view>

#include "pci/host.h"

namespace tool {

// The place in Host::functions() of the function at this address, "0000:07:00.0" or "07:00.0"; what
// is left out of it may be anything that leads to one function alone, but a missing domain is 0000
// where a function is there. Throws CommandError where no function is meant or several are,
// UsageError where the text is no address.
std::uint32_t FunctionNamed(std::string_view text, const pci::Host& host);

}  // namespace tool

#endif  // TOOL_INVENTORY_NAMED_FUNCTION_H_
