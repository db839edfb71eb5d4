// Ids and classes of functions as lspci -d takes them.
//
// Thread rule: a plain value.

#ifndef TOOL_INVENTORY_ID_PATTERN_H_
#define TOOL_INVENTORY_ID_PATTERN_H_

#include <cstdint>
#include <optional>
#include <string_view>

#include "pci/function.h"

namespace tool {

struct IdPattern {
  std::optional<std::uint32_t> vendor, device, programming_interface;
  std::uint16_t class_code = 0;
  std::uint16_t class_digits = 0;  // of the class code, those that count

  // [vendor]:[device][:[class][:[programming interface]]], hexadecimal; a part that is missing or
  // "*" is any, and so is a digit "x" of the class. Throws UsageError with what is wrong.
  static IdPattern Parse(std::string_view text);

  bool Matches(const pci::Function& function) const;
};

}  // namespace tool

#endif  // TOOL_INVENTORY_ID_PATTERN_H_
