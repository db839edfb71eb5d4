// Paths as clients give them, with a system to complete them by and without.

#include "requests/path_completion.h"

#include <gtest/gtest.h>

#include "cim/wbem_uri.h"

namespace requests {
namespace {

using cim::ObjectPath;
using cim::ParseWbemUri;

const cim::schema::Class& FindClass(const std::string& name) {
  const cim::schema::Class* cls = cim::schema::FindClass(name);
  if (cls == nullptr) throw std::out_of_range(name);
  return *cls;
}

ObjectPath System() {
  return ParseWbemUri(
      "root/cimv2:OMC_UnitaryComputerSystem.CreationClassName=\"OMC_UnitaryComputerSystem\","
      "Name=\"host\"");
}

// With the system: what a person writes.
std::string Completed(const ObjectPath& given) {
  const ObjectPath system = System();
  return ToWbemUri(CompletePath(given, {FindClass, "root/cimv2", &system}));
}
std::string Completed(const char* given) { return Completed(ParseWbemUri(given)); }

// Without: what a client sends.
std::string Whole(const ObjectPath& given) {
  return ToWbemUri(CompletePath(given, {FindClass, "root/cimv2"}));
}
std::string Whole(const char* given) { return Whole(ParseWbemUri(given)); }

template <class Complete>
std::string Error(Complete complete) {
  try {
    complete();
  } catch (const PathError& error) {
    return std::to_string(error.code()) + " " + error.what();
  }
  return "none";
}

constexpr const char* kDevice =
    "root/cimv2:Ostrel_PCIDevice.SystemCreationClassName=\"OMC_UnitaryComputerSystem\","
    "SystemName=\"host\",CreationClassName=\"Ostrel_PCIDevice\",DeviceID=\"d\"";

TEST(PathCompletion, AddsWhatTheClassAndTheSystemDetermine) {
  EXPECT_EQ(Completed("Ostrel_PCIDevice.DeviceID=\"d\""), kDevice);
}

TEST(PathCompletion, SpellsNamesAsTheSchemaInItsOrder) {
  EXPECT_EQ(
      Whole("ROOT/CIMV2:ostrel_pcidevice.deviceid=\"d\",CREATIONCLASSNAME=\"Ostrel_PCIDevice\","
            "systemname=\"host\",SystemCreationClassName=\"OMC_UnitaryComputerSystem\""),
      kDevice);
}

TEST(PathCompletion, KeepsWhatIsGiven) {
  EXPECT_EQ(ParseWbemUri(Completed("Ostrel_PCIPort.DeviceID=\"d\",SystemName=\"other\""))
                .Key("SystemName")
                ->text()
                ->c_str(),
            std::string("other"));
}

TEST(PathCompletion, LeavesOutWhatTheSystemDoesNotTell) {
  EXPECT_EQ(ParseWbemUri(Completed("Ostrel_PCIDevice")).Key("DeviceID"), nullptr);
  EXPECT_EQ(Completed("Ostrel_PCIPortGroup"), "root/cimv2:Ostrel_PCIPortGroup");
  EXPECT_EQ(ParseWbemUri(Completed("omc_unitarycomputersystem")), System());
}

TEST(PathCompletion, CompletesReferencesAlsoThoseGivenAsText) {
  const std::string end = "Ostrel_PCIDevice.DeviceID=\"d\"";
  ObjectPath given{{}, "", "Ostrel_PCISystemDevice", {{"PartComponent", cim::Value(end)}}};
  const ObjectPath as_text = ParseWbemUri(Completed(given));
  EXPECT_EQ(ToWbemUri(*as_text.Key("PartComponent")->reference()), kDevice);
  EXPECT_EQ(*as_text.Key("GroupComponent")->reference(), System());
  given.keys[0].second = cim::Value(ParseWbemUri(end));
  EXPECT_EQ(ParseWbemUri(Completed(given)), as_text);
}

TEST(PathCompletion, ANameMayLackWhereTheClassHasOneKey) {
  EXPECT_EQ(Whole(ObjectPath{{}, "", "Ostrel_PCIPortGroup", {{"", cim::Value("x")}}}),
            "root/cimv2:Ostrel_PCIPortGroup.InstanceID=\"x\"");
  EXPECT_EQ(Error([] {
              Whole(ObjectPath{{}, "", "OMC_UnitaryComputerSystem", {{"", cim::Value("x")}}});
            }),
            "4 OMC_UnitaryComputerSystem has no key property \"\"");
}

TEST(PathCompletion, RefusesWhatIsNoPathOfTheClass) {
  EXPECT_EQ(Error([] { Whole("Ostrel_PCIPortGroup"); }), "4 the key InstanceID is missing");
  EXPECT_EQ(Error([] { Whole("Ostrel_PCIPortGroup.InstanceID=1"); }),
            "4 the key InstanceID is a string");
  EXPECT_EQ(Error([] { Completed("Ostrel_PCIPortGroup.InstanceID=1"); }),
            "4 the key InstanceID is a string");
  EXPECT_EQ(Error([] { Whole("Ostrel_PCIPortGroup.InstanceID=\"x\",Colour=\"red\""); }),
            "4 Ostrel_PCIPortGroup has no key property \"Colour\"");
  // A property, but no key.
  EXPECT_EQ(Error([] { Completed("Ostrel_PCIPortGroup.BusNumber=\"1\""); }),
            "4 Ostrel_PCIPortGroup has no key property \"BusNumber\"");
  EXPECT_EQ(Error([] {
              Whole(ObjectPath{{},
                               "",
                               "Ostrel_PCIPortGroup",
                               {{"InstanceID", cim::Value("x")}, {"instanceid", cim::Value("x")}}});
            }),
            "4 the key InstanceID is given twice");
  EXPECT_EQ(Error([] { Completed("Ostrel_PCISystemDevice.PartComponent=5"); }),
            "4 the key PartComponent is a reference");
  // A client that sends text where a reference belongs is mistaken; a person is not.
  EXPECT_EQ(
      Error([] {
        Whole(ObjectPath{{}, "", "Ostrel_PCISystemDevice", {{"PartComponent", cim::Value("x")}}});
      }),
      "4 the key PartComponent is a reference");
}

TEST(PathCompletion, RefusesOtherNamespaces) {
  EXPECT_EQ(Error([] { Whole("root/other:Ostrel_PCIPortGroup.InstanceID=\"x\""); }),
            "3 there is no namespace \"root/other\", only \"root/cimv2\"");
}

TEST(PathCompletion, RefusesReferencesThatAreNestedTooDeeply) {
  ObjectPath path = ParseWbemUri(kDevice);
  for (int depth = 1; depth <= cim::kMaxReferenceDepth + 1; ++depth) {
    path = {{}, "", "Ostrel_PCISystemDevice", {{"PartComponent", cim::Value(path)}}};
    const std::string error = Error([&] { Completed(path); });
    EXPECT_EQ(error, depth <= cim::kMaxReferenceDepth ? "none" : "4 references nested too deeply");
  }
}

TEST(PathCompletion, AsksTheCallerForClasses) {
  EXPECT_THROW(Whole("No_Such.K=\"x\""), std::out_of_range);
}

}  // namespace
}  // namespace requests
