// Class names and object paths as users write them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cim/wbem_uri.h"
#include "tool/class_names.h"
#include "tool/errors.h"
#include "tool/path_completion.h"

namespace tool {
namespace {

using cim::ObjectPath;
using testing::ElementsAre;
using testing::HasSubstr;

TEST(ClassNames, MayBeShortAndInAnyCase) {
  for (const char* name : {"Ostrel_PCIDevice", "OSTREL_PCIDEVICE", "PCIDevice", "pcidevice",
                           "device", "Devices", "ostrel_device"}) {
    EXPECT_EQ(ResolveClass(name).name, "Ostrel_PCIDevice") << name;
  }
  EXPECT_EQ(ResolveClass("PCIeSwitch").name, "Ostrel_PCIeSwitch");
  EXPECT_EQ(ResolveClass("switches").name, "Ostrel_PCIeSwitch");
  EXPECT_EQ(ResolveClass("group").name, "Ostrel_PCIPortGroup");
  EXPECT_EQ(ResolveClass("buses").name, "Ostrel_PCIPortGroup");
  EXPECT_EQ(ResolveClass("ports").name, "Ostrel_PCIPort");
  EXPECT_EQ(ResolveClass("memberofcollection").name, "Ostrel_PCIMemberOfCollection");
  EXPECT_EQ(ResolveClass("System").name, "OMC_UnitaryComputerSystem");
  EXPECT_EQ(ResolveClass("cim_pcidevice").name, "CIM_PCIDevice");
}

TEST(ClassNames, OfTheTenServedClassesAllHaveADifferentShortForm) {
  ASSERT_EQ(ServedClasses().size(), 10U);
  for (const cim::schema::Class* cls : ServedClasses()) {
    EXPECT_EQ(ResolveClass(cls->name.substr(7)).name, cls->name);
  }
}

TEST(ClassNames, ThatDoNotExistAreAnsweredWithNearOnes) {
  EXPECT_THAT(NearClassNames("PCIDevise"), ElementsAre("Ostrel_PCIDevice"));
  EXPECT_THAT(NearClassNames("contr"), ElementsAre("Ostrel_PCIControlledBy"));
  EXPECT_THAT(NearClassNames("entirely else"), ElementsAre());
  try {
    ResolveClass("brigde");
    FAIL() << "resolved";
  } catch (const CommandError& error) {
    EXPECT_EQ(error.exit_status(), 1);
    EXPECT_THAT(error.what(), HasSubstr("CMPI_RC_ERR_INVALID_CLASS (5)"));
    EXPECT_THAT(error.what(), HasSubstr("Ostrel_PCIBridge"));
  }
}

ObjectPath System() {
  return cim::ParseWbemUri(
      "root/cimv2:OMC_UnitaryComputerSystem.CreationClassName=\"OMC_UnitaryComputerSystem\","
      "Name=\"host\"");
}

std::string Completed(std::string_view text) { return ToWbemUri(ReadPath(text, System())); }

int StatusOf(std::string_view text) {
  try {
    ReadPath(text, System());
  } catch (const CommandError& error) {
    return error.exit_status();
  }
  return 0;
}

TEST(Paths, AreCompletedAndTheirClassNamesMayBeShort) {
  const std::string whole =
      "root/cimv2:Ostrel_PCIDevice.SystemCreationClassName=\"OMC_UnitaryComputerSystem\","
      "SystemName=\"host\",CreationClassName=\"Ostrel_PCIDevice\",DeviceID=\"0000:00:1f.2\"";
  EXPECT_EQ(Completed("PCIDevice.DeviceID=\"0000:00:1f.2\""), whole);
  EXPECT_EQ(Completed("device.deviceid=\"0000:00:1f.2\""), whole);
}

TEST(Paths, KnowTheSystemByItsClassAlone) {
  EXPECT_EQ(ReadPath("OMC_UnitaryComputerSystem", System()), System());
  EXPECT_EQ(ReadPath("system", System()), System());
}

TEST(Paths, InsideAPathMayBeShortToo) {
  const std::string whole = "PCISystemDevice.PartComponent=\"PCIPort.DeviceID=\\\"a-ep\\\"\"";
  for (const std::string& text : {whole, "Ostrel_" + whole, "systemdevice" + whole.substr(15)}) {
    const ObjectPath path = ReadPath(text, System());
    ASSERT_NE(path.Key("GroupComponent"), nullptr) << text;
    EXPECT_EQ(*path.Key("GroupComponent")->reference(), System());
    const ObjectPath* part = path.Key("PartComponent")->reference();
    ASSERT_NE(part, nullptr) << text;
    EXPECT_EQ(part->class_name, "Ostrel_PCIPort");
    EXPECT_EQ(*part->Key("SystemName")->text(), "host");
  }
}

TEST(Paths, ThatAreNoneOfTheirClassAreUsageErrors) {
  EXPECT_EQ(StatusOf("PCIDevice.DeviceID=unquoted"), 2);
  EXPECT_EQ(StatusOf("PCIDevice.Colour=\"red\""), 2);
  EXPECT_EQ(StatusOf("PCIControlledBy.Dependent=5"), 2);
  EXPECT_EQ(StatusOf("PCIControlledBy.Dependent=\"no path.\""), 2);
  EXPECT_EQ(StatusOf("Unknown.Key=\"x\""), 1);
  EXPECT_EQ(StatusOf("root/other:PCIDevice.DeviceID=\"x\""), 1);
  EXPECT_EQ(StatusOf("ROOT/CIMV2:PCIDevice.DeviceID=\"x\""), 0);
}

}  // namespace
}  // namespace tool
