#include "cim/schema.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>

namespace cim::schema {
namespace {

std::vector<std::string_view> ChainOf(std::string_view name) {
  std::vector<std::string_view> chain;
  for (const Class* cls = FindClass(name); cls != nullptr; cls = FindClass(cls->superclass)) {
    chain.push_back(cls->name);
  }
  return chain;
}

using Names = std::vector<std::string_view>;

TEST(Schema, FindsClassesIgnoringCase) {
  ASSERT_NE(FindClass("ostrel_pcidevice"), nullptr);
  EXPECT_EQ(FindClass("ostrel_pcidevice")->name, "Ostrel_PCIDevice");
  EXPECT_EQ(FindClass("Ostrel_PCIDevic"), nullptr);
  EXPECT_EQ(FindClass(""), nullptr);
}

TEST(Schema, HasTheChainsOfCim) {
  EXPECT_EQ(ChainOf("Ostrel_PCIBridge"),
            (Names{"Ostrel_PCIBridge", "CIM_PCIBridge", "CIM_PCIDevice", "CIM_PCIController",
                   "CIM_Controller", "CIM_LogicalDevice", "CIM_EnabledLogicalElement",
                   "CIM_LogicalElement", "CIM_ManagedSystemElement", "CIM_ManagedElement"}));
  EXPECT_EQ(ChainOf("Ostrel_PCIPortGroup"),
            (Names{"Ostrel_PCIPortGroup", "CIM_PCIPortGroup", "CIM_LogicalPortGroup",
                   "CIM_SystemSpecificCollection", "CIM_Collection", "CIM_ManagedElement"}));
  EXPECT_EQ(ChainOf("Ostrel_PCIControlledBy"), (Names{"Ostrel_PCIControlledBy", "CIM_ControlledBy",
                                                      "CIM_DeviceConnection", "CIM_Dependency"}));
  EXPECT_EQ(ChainOf(kSystemClass),
            (Names{"OMC_UnitaryComputerSystem", "CIM_UnitaryComputerSystem", "CIM_ComputerSystem",
                   "CIM_System", "CIM_EnabledLogicalElement", "CIM_LogicalElement",
                   "CIM_ManagedSystemElement", "CIM_ManagedElement"}));
}

TEST(Schema, KnowsWhoIsBelowWhom) {
  EXPECT_TRUE(IsA("OSTREL_PCIPORT", "cim_logicalport"));
  EXPECT_FALSE(IsA("CIM_LogicalPort", "Ostrel_PCIPort"));
  EXPECT_FALSE(IsA("Ostrel_PCIPort", "CIM_PCIDevice"));
  EXPECT_TRUE(IsA("No_Such", "no_such"));
  EXPECT_FALSE(IsA("No_Such", "CIM_ManagedElement"));
  EXPECT_FALSE(IsA("CIM_ManagedElement", "No_Such"));
  EXPECT_EQ(SubclassesOf("CIM_PCIDevice").size(), 5U);
  EXPECT_TRUE(SubclassesOf("Ostrel_PCIDevice").empty());
}

TEST(Schema, SpellsThePropertiesOfAllClasses) {
  EXPECT_EQ(PropertyName("deviceid"), "DeviceID");
  EXPECT_EQ(PropertyName("SECONDARYBUSNUMBER"), "SecondaryBusNumber");
  EXPECT_EQ(PropertyName("DeviceI"), "");
  EXPECT_EQ(PropertyName(""), "");
}

TEST(Schema, InheritsProperties) {
  const Class& device = *FindClass("Ostrel_PCIDevice");
  EXPECT_EQ(KeyNames(device),
            (Names{"SystemCreationClassName", "SystemName", "CreationClassName", "DeviceID"}));
  EXPECT_EQ(FindProperty(device, "CAPABILITIES")->type, CMPI_uint16 | CMPI_ARRAY);
  EXPECT_EQ(FindProperty(device, "ElementName")->type, CMPI_string);
  EXPECT_EQ(FindProperty(device, "Colour"), nullptr);
  const Class& connection = *FindClass("Ostrel_PCIDeviceConnection");
  EXPECT_EQ(AllProperties(connection).size(), 2U);  // redeclared ones stand once
  EXPECT_EQ(FindProperty(connection, "Antecedent")->reference_class, "Ostrel_PCIPort");
}

TEST(Schema, IsWholeInItself) {
  std::set<std::string> names;
  for (const Class& cls : AllClasses()) {
    SCOPED_TRACE(cls.name);
    EXPECT_TRUE(cls.superclass.empty() || names.contains(std::string(cls.superclass)))
        << "a superclass stands before its subclasses";
    EXPECT_TRUE(names.insert(std::string(cls.name)).second);
    EXPECT_FALSE(cls.version.empty());
    EXPECT_FALSE(cls.description.empty());
    if (const Class* super = FindClass(cls.superclass)) {
      EXPECT_EQ(super->association, cls.association);
    }
    for (const Property& property : cls.properties) {
      SCOPED_TRACE(property.name);
      EXPECT_FALSE(property.description.empty());
      EXPECT_EQ(property.type == CMPI_ref, !property.reference_class.empty());
      EXPECT_TRUE(property.reference_class.empty() ||
                  FindClass(property.reference_class) != nullptr);
      // A constant name serves as a null-terminated text.
      EXPECT_EQ(*(property.name.data() + property.name.size()), '\0');
    }
  }
}

TEST(Schema, GivesEveryOwnClassItsKeys) {
  for (const Class& cls : AllClasses()) {
    if (!cls.name.starts_with("Ostrel_")) continue;
    EXPECT_EQ(cls.association, KeyNames(cls).size() == 2U) << cls.name;
    EXPECT_FALSE(KeyNames(cls).empty()) << cls.name;
  }
}

}  // namespace
}  // namespace cim::schema
