// What a PCI class code means to a person (PCI Code and ID Assignment Specification, section 1).
//
// Thread rule: pure functions.

#ifndef TOOL_PCI_CLASS_H_
#define TOOL_PCI_CLASS_H_

#include <cstdint>
#include <string>
#include <vector>

namespace tool {

// "SATA controller"; the base class's name where the subclass has none of its own, "Class 2a13"
// where neither has.
std::string PciClassName(std::uint8_t base_class, std::uint8_t subclass);

// The name of the base class alone: "Mass storage controller".
std::string PciBaseClassName(std::uint8_t base_class);

// All names that the two give, of base classes first.
std::vector<std::string> PciClassNames();

}  // namespace tool

#endif  // TOOL_PCI_CLASS_H_
