// Classes as users name them: in any letter case, with or without the "Ostrel_" and "PCI" in front,
// in the singular or the plural ("Ostrel_PCIDevice", "pcidevice", "devices").
//
// Thread rule: pure functions.

#ifndef TOOL_CLASS_NAMES_H_
#define TOOL_CLASS_NAMES_H_

#include <string>
#include <string_view>
#include <vector>

#include "cim/schema.h"

namespace tool {

// The ten classes of the provider library, in the schema's order.
std::vector<const cim::schema::Class*> ServedClasses();

// The class that the user means. Throws CommandError (CMPI_RC_ERR_INVALID_CLASS) with the nearest
// names where there is none.
const cim::schema::Class& ResolveClass(std::string_view name);

// The schema's spelling of the property, which a class has that is `cls` or below it, or any class
// where that is nullptr. Throws UsageError with the nearest names where none has.
std::string_view ResolveProperty(std::string_view name, const cim::schema::Class* cls);

// Names a user may have meant, nearest first, three at most.
std::vector<std::string> NearClassNames(std::string_view name);

}  // namespace tool

#endif  // TOOL_CLASS_NAMES_H_
