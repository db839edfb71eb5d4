// The class tree that the object manager knows: the project's own classes, the CIM classes above
// them with the properties that are keys or that our instances set, and the hosting system's class.
//
// The schema files that are handed to other object managers say the same; a test holds both
// together.
//
// Thread rule: constant data, read from any thread.

#ifndef CIM_SCHEMA_H_
#define CIM_SCHEMA_H_

#include <span>
#include <string_view>
#include <vector>

#include "platform/cmpi/cmpi.h"

namespace cim::schema {

// One code of a coded property (the qualifiers ValueMap and Values).
struct CodedValue {
  std::string_view code;
  std::string_view meaning;
};

struct Property {
  std::string_view name;
  CMPIType type = CMPI_null;  // CMPI_ref for a reference; CMPI_ARRAY or-ed for an array
  bool key = false;
  std::string_view reference_class;  // empty unless the type is CMPI_ref
  std::string_view description;
  std::span<const CodedValue> values;
};

struct Class {
  std::string_view name;
  std::string_view superclass;  // empty for a root
  bool association = false;
  std::string_view version;
  std::string_view description;
  std::span<const Property> properties;  // declared by the class itself
};

// The name of the class of the hosting system, which the object manager serves itself.
inline constexpr std::string_view kSystemClass = "OMC_UnitaryComputerSystem";

// Every class, a superclass before its subclasses.
std::span<const Class> AllClasses();

// The class of that name, ignoring case; nullptr where there is none.
const Class* FindClass(std::string_view name);

// Whether `name` is `ancestor` or below it, ignoring case. A class that the tree does not know is
// only itself.
bool IsA(std::string_view name, std::string_view ancestor);

// The classes below `name`, at any depth, `name` itself not included.
std::vector<const Class*> SubclassesOf(std::string_view name);

// The class's properties with the inherited ones, the topmost ancestor's first. A redeclared
// property stands once, at its first place, as the lowest class declares it.
std::span<const Property* const> AllProperties(const Class& cls);

// The property of that name, inherited ones included, ignoring case; nullptr where there is none.
const Property* FindProperty(const Class& cls, std::string_view name);

// The name of a property as the classes spell it, from one in any case; empty where no class has
// it.
std::string_view PropertyName(std::string_view name);

// The names of the key properties, in the order of AllProperties.
std::vector<std::string_view> KeyNames(const Class& cls);

}  // namespace cim::schema

#endif  // CIM_SCHEMA_H_
