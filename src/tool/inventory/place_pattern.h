// Places of functions as lspci -s takes them: parts of an address, of which any may be left out.
//
// Thread rule: a plain value.

#ifndef TOOL_INVENTORY_PLACE_PATTERN_H_
#define TOOL_INVENTORY_PLACE_PATTERN_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "pci/address.h"

namespace tool {

struct PlacePattern {
  std::optional<std::uint32_t> domain, bus, device, function;

  // [[[[domain]:]bus]:][device][.[function]], hexadecimal; a part that is missing or "*" is any.
  // Throws UsageError with what is wrong.
  static PlacePattern Parse(std::string_view text);

  bool Matches(const pci::Address& address) const;
};

// A number of hexadecimal digits that is at most `largest`; nothing where the text is empty or "*".
// Throws UsageError, which calls the number `what`.
std::optional<std::uint32_t> ParsePart(std::string_view text, std::uint32_t largest,
                                       const std::string& what);

}  // namespace tool

#endif  // TOOL_INVENTORY_PLACE_PATTERN_H_
