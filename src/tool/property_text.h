// Properties of instances as a person reads them.
//
// Thread rule: pure functions.

#ifndef TOOL_PROPERTY_TEXT_H_
#define TOOL_PROPERTY_TEXT_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "cim/value.h"

namespace tool {

// The property's value without quotes, on one line; "" where it is not set.
std::string PropertyText(const cim::Instance& instance, std::string_view name);

// An unsigned property; nothing where it is not set or no such number.
std::optional<std::uint64_t> PropertyNumber(const cim::Instance& instance, std::string_view name);

// What the schema says that the property's code means ("PCI" of BridgeType 4); "" where it says
// nothing.
std::string CodeMeaning(std::string_view class_name, std::string_view property,
                        const cim::Value& value);

// The property's value as PropertyText has it, with what its codes mean and with identifiers in
// hexadecimal as well: "{6 (PCI Power Management Supported), 13 (Supports PCIe)}", "4307 (0x10d3)".
std::string ExplainedText(const cim::Instance& instance, const cim::Property& property);

// Vendor and device name: the ElementName of a function without the number of its device, which it
// ends in (" #3").
std::string WithoutDeviceNumber(std::string element_name, std::string_view number);
std::string ElementTitle(const cim::Instance& instance);

// The name of the function's PCI class; "" where the instance has none.
std::string ClassTitle(const cim::Instance& instance);

// "PCI", "PCI-X", "PCIe" of a PortType; the number where it is none of them.
std::string PortTypeName(std::uint64_t type);

// The one key that tells the element from its like: DeviceID, InstanceID or Name; the whole path
// where it has none of them.
std::string ShortName(const cim::ObjectPath& path);

}  // namespace tool

#endif  // TOOL_PROPERTY_TEXT_H_
