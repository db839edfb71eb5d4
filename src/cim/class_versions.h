// Which declaration of a class has which Version. An object manager may keep the class that it has
// where one of the same Version is loaded (OpenPegasus does), so a class that changed must not keep
// its Version. What each Version declared is on record in schema/class_versions.txt.
//
// Thread rule: pure functions over constant data.

#ifndef CIM_CLASS_VERSIONS_H_
#define CIM_CLASS_VERSIONS_H_

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "cim/schema.h"

namespace cim::schema {

inline constexpr std::string_view kClassVersionsFile = "class_versions.txt";

// The record of these classes: a line each of the class's name, its Version, and a hash of all else
// that it declares. How the declaration is laid out as text does not count.
std::string ClassVersions(std::span<const Class* const> classes);

// What is wrong with the Versions of these classes by the record of before, a sentence each that
// says what to do: a class that declares something else under its old Version, or a lower Version.
// A class that is not on record may have any Version.
std::vector<std::string> VersionFaults(std::string_view record,
                                       std::span<const Class* const> classes);

}  // namespace cim::schema

#endif  // CIM_CLASS_VERSIONS_H_
