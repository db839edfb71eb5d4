// The files in schema/: what other object managers load to know our classes and who serves them.
// They are written from the class table, and checked in; a test holds both together.
//
// Thread rule: pure functions over constant data.

#ifndef CIM_SCHEMA_FILES_H_
#define CIM_SCHEMA_FILES_H_

#include <string>
#include <string_view>
#include <vector>

#include "cim/schema.h"

namespace cim::schema {

struct SchemaFile {
  std::string_view name;  // without a folder
  std::string text;
};

// Ostrel_PCI.mof: the classes that the provider library serves.
// OMC_UnitaryComputerSystem.mof: the hosting system's class and a template of its one instance.
// ostrel-pci.sfcb.reg, ostrel-pci.pegasus.mof: the registrations.
// class_versions.txt: which declaration has which Version; see class_versions.h.
std::vector<SchemaFile> SchemaFiles();

// The classes that the MOF files declare: those that the library serves, and the hosting system's.
std::vector<const Class*> DeclaredClasses();

// Stands for the host's name in the instance of OMC_UnitaryComputerSystem.mof.
inline constexpr std::string_view kSystemNamePlaceholder = "@SYSTEM_NAME@";

}  // namespace cim::schema

#endif  // CIM_SCHEMA_FILES_H_
