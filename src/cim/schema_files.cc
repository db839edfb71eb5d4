#include "cim/schema_files.h"

#include <fmt/format.h>

#include "cim/class_mof.h"
#include "cim/class_versions.h"
#include "cim/schema.h"

namespace cim::schema {
namespace {

constexpr std::string_view kNameSpace = "root/cimv2";
constexpr std::string_view kLibrary = "OstrelPCI";       // libOstrelPCI.so
constexpr std::string_view kModule = "OstrelPCIModule";  // OpenPegasus's name for the library
constexpr std::string_view kModuleVersion = "1.0.0";

constexpr std::string_view kOwnClassesHead =
    R"(// Ostrel_PCI.mof: the classes of the PCI topology that libOstrelPCI.so serves.
//
// They stand on the CIM schema, version 2.22 or later, and belong into the
// namespace root/cimv2. What a class does not declare here it inherits.
// The hosting system's class, OMC_UnitaryComputerSystem, is another
// provider's; OMC_UnitaryComputerSystem.mof is for object managers that
// lack it.
//
// Written by script/schema from the class table of the built-in object
// manager; changes are made there.
)";

constexpr std::string_view kSystemClassText =
    R"(// OMC_UnitaryComputerSystem.mof: the class of the system that hosts the PCI
// topology, with its one instance.
//
// Another provider of the object manager serves this class as a rule. Load
// this file only where none does: without the class, the associations that
// lead to the hosting system cannot be followed to it. The object manager
// itself then keeps the instance, as written at the end of the file.
//
// The instance is a template. Put the host's name in lower case, as the
// PCI classes report it in SystemName, in the place of {placeholder}:
//
//   sed "s/{placeholder}/$(uname -n | tr A-Z a-z)/" \
//       OMC_UnitaryComputerSystem.mof > system.mof
//
// "ostrel-pci register --with-system" does so.
//
// Written by script/schema from the class table of the built-in object
// manager; changes are made there.

{class_mof}
instance of {class_name}
{{
   CreationClassName = "{class_name}";
   Name = "{placeholder}";
   ElementName = "{placeholder}";
}};
)";

constexpr std::string_view kSfcbHead =
    R"(# ostrel-pci.sfcb.reg: who serves the classes of Ostrel_PCI.mof, for SFCB.
#
#   sfcbstage -n root/cimv2 -r ostrel-pci.sfcb.reg Ostrel_PCI.mof
#   sfcbrepos -f
#
# "location" is libOstrelPCI.so in one of SFCB's provider directories.
# Written by script/schema.
)";

constexpr std::string_view kSfcbStanza = R"(
[{class_name}]
   provider: {class_name}
   location: {library}
   type: {kinds}
   namespace: {name_space}
#
)";

constexpr std::string_view kPegasusHead =
    R"(// ostrel-pci.pegasus.mof: who serves the classes of Ostrel_PCI.mof, for
// OpenPegasus.
//
//   cimmof -n root/cimv2 Ostrel_PCI.mof
//   cimmof -n root/PG_InterOp ostrel-pci.pegasus.mof
//
// An earlier registration goes first: cimprovider -r -m {module}
// "Location" is libOstrelPCI.so in one of the server's provider directories.
// Written by script/schema.

instance of PG_ProviderModule
{{
   Name = "{module}";
   Location = "{library}";
   Vendor = "Ostrel";
   Version = "{version}";
   InterfaceType = "CMPI";
   InterfaceVersion = "2.0.0";
}};
)";

constexpr std::string_view kPegasusProvider = R"(

// {class_name}

instance of PG_Provider
{{
   ProviderModuleName = "{module}";
   Name = "{class_name}";
}};

instance of PG_ProviderCapabilities
{{
   ProviderModuleName = "{module}";
   ProviderName = "{class_name}";
   CapabilityID = "{class_name}";
   ClassName = "{class_name}";
   Namespaces = {{ "{name_space}" }};
   ProviderType = {{ {kinds} }};  // {kinds_text}
   SupportedProperties = NULL;  // all
   SupportedMethods = NULL;
}};
)";

std::vector<const Class*> OwnClasses() {
  std::vector<const Class*> own;
  for (const Class& cls : AllClasses()) {
    if (cls.name.starts_with("Ostrel_")) own.push_back(&cls);
  }
  return own;
}

std::string Banner(std::string_view name) {
  const std::string rule = "// " + std::string(66, '=') + '\n';
  return rule + fmt::format("// {}\n", name) + rule;
}

std::string OwnClassesMof() {
  std::string text(kOwnClassesHead);
  for (const Class* cls : OwnClasses()) {
    text += "\n\n" + Banner(cls->name) + ClassMof(*cls);
  }
  return text;
}

std::string SystemClassMof() {
  return fmt::format(kSystemClassText, fmt::arg("class_mof", ClassMof(*FindClass(kSystemClass))),
                     fmt::arg("class_name", kSystemClass),
                     fmt::arg("placeholder", kSystemNamePlaceholder));
}

std::string SfcbRegistration() {
  std::string text(kSfcbHead);
  for (const Class* cls : OwnClasses()) {
    text +=
        fmt::format(kSfcbStanza, fmt::arg("class_name", cls->name), fmt::arg("library", kLibrary),
                    fmt::arg("kinds", cls->association ? "instance association" : "instance"),
                    fmt::arg("name_space", kNameSpace));
  }
  return text;
}

std::string PegasusRegistration() {
  std::string text =
      fmt::format(kPegasusHead, fmt::arg("module", kModule), fmt::arg("library", kLibrary),
                  fmt::arg("version", kModuleVersion));
  for (const Class* cls : OwnClasses()) {
    text += fmt::format(
        kPegasusProvider, fmt::arg("class_name", cls->name), fmt::arg("module", kModule),
        fmt::arg("name_space", kNameSpace), fmt::arg("kinds", cls->association ? "2, 3" : "2"),
        fmt::arg("kinds_text", cls->association ? "instance, association" : "instance"));
  }
  return text;
}

}  // namespace

std::vector<const Class*> DeclaredClasses() {
  std::vector<const Class*> classes = OwnClasses();
  classes.push_back(FindClass(kSystemClass));
  return classes;
}

std::vector<SchemaFile> SchemaFiles() {
  return {
      {"Ostrel_PCI.mof", OwnClassesMof()},
      {"OMC_UnitaryComputerSystem.mof", SystemClassMof()},
      {"ostrel-pci.sfcb.reg", SfcbRegistration()},
      {"ostrel-pci.pegasus.mof", PegasusRegistration()},
      {kClassVersionsFile, ClassVersions(DeclaredClasses())},
  };
}

}  // namespace cim::schema
