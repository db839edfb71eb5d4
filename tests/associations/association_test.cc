// What the five association providers have in common.

#include <string>
#include <vector>

#include "support/provider_test.h"

namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

struct Association {
  const char* class_name;
  // The ends of one association that getInstance finds on the host below, and what it answers.
  cim::ObjectPath first;
  cim::ObjectPath second;
  const char* found;
  // The name of the reference that getInstance needs.
  const char* needed;
  // Sources that are served, and some that are not.
  std::vector<cim::ObjectPath> served;
  std::vector<cim::ObjectPath> unserved;
  // How the log lines for unserved sources begin: associators, associatorNames, references,
  // referenceNames.
  std::vector<std::string> texts;
};
std::ostream& operator<<(std::ostream& out, const Association& association) {
  return out << association.class_name;
}

// A path of a class that has no identifier at all.
cim::ObjectPath Bare(const char* class_name) {
  return {{}, "root/cimv2", std::string("Ostrel_") + class_name, {}};
}

std::vector<Association> AllAssociations() {
  return {
      {"PCISystemDevice",
       SystemPath(),
       DevicePath("e"),
       "[PCISystemDevice(System fake-host, PCIDevice e)], done, OK",
       "PartComponent",
       {SystemPath(), DevicePath("e"), PortPath("e-ep")},
       {BridgePath("b"), SwitchPath("U"), GroupPath("Ostrel:bus-1"), Bare("PCISystemDevice")},
       {"PCISystemDevice ai ignoring ", "PCISystemDevice ai ignoring ",
        "PCISystemDevice reference unsupported class ",
        "PCISystemDevice reference unsupported class "}},
      {"PCIDeviceConnection",
       PortPath("U-up"),
       PortPath("D1-ep"),
       "[PCIDeviceConnection(PCIPort U-up, PCIPort U-up)], done, OK",
       "Dependent",
       {PortPath("e-ep"), PortPath("b-sec")},
       {DevicePath("e"), SystemPath(), GroupPath("Ostrel:bus-1"), Bare("PCIDeviceConnection")},
       {"PCIDeviceConnection ai ignoring ", "PCIDeviceConnection ain ignoring ",
        "PCIDeviceConnection reference unsupported class ",
        "PCIDeviceConnection rin unsupported class "}},
      {"PCIControlledBy",
       DevicePath("e"),
       PortPath("e-ep"),
       "[PCIControlledBy(PCIDevice e, PCIPort e-ep)], done, OK",
       "Dependent",
       {DevicePath("e"), BridgePath(""), SwitchPath(""), DevicePath(""), PortPath(""),
        Bare("PCIBridge"), Bare("PCIPort")},
       {SystemPath(), GroupPath("Ostrel:bus-1"), Bare("PCIControlledBy")},
       {"PCIControlledBy ai ignoring ", "PCIControlledBy ai ignoring ",
        "PCIControlledBy reference unsupported class ",
        "PCIControlledBy reference unsupported class "}},
      {"PCIHostedCollection",
       SystemPath(),
       GroupPath("Ostrel:bus-1"),
       "[PCIHostedCollection(System fake-host, PCIPortGroup bus-1)], done, OK",
       "Dependent",
       {SystemPath(), GroupPath("Ostrel:bus-1")},
       {PortPath("e-ep"), DevicePath("e"), Bare("PCIHostedCollection")},
       {"PCIHostedCollection ai ignoring ", "PCIHostedCollection ain ignoring ",
        "PCIHostedCollection reference unsupported class ",
        "PCIHostedCollection reference unsupported class "}},
      {"PCIMemberOfCollection",
       GroupPath("Ostrel:bus-1"),
       PortPath("e-ep"),
       "[PCIMemberOfCollection(PCIPortGroup bus-1, PCIPort e-ep)], done, OK",
       "Member",
       {PortPath("e-ep"), GroupPath("Ostrel:bus-1")},
       {DevicePath("e"), SystemPath(), Bare("PCIMemberOfCollection")},
       {"PCIDeviceConnection ai ignoring ", "PCIDeviceConnection ai ignoring ",
        "PCIDeviceConnection reference unsupported class ",
        "PCIDeviceConnection reference unsupported class "}},
  };
}

// The mixed host with two devices that make a connection be listed: the parent of c is called like
// the port of a.
fake::Host ConnectedHost() {
  return MixedHost().Add(fake::Endpoint("a").Bus(5)).Add(fake::Endpoint("c").Bus(6).Parent("a-ep"));
}

class AssociationTest : public ProviderTest, public ::testing::WithParamInterface<Association> {
 protected:
  const char* Class() const { return GetParam().class_name; }
  cim::ObjectPath Path() const {
    return AssociationPath(Class(), GetParam().first, GetParam().second);
  }
  std::vector<std::string> Texts(const cim::ObjectPath& source, const Filter& filter = {}) {
    std::vector<std::string> texts;
    for (const Answer& answer : AssociationRequests(Class(), source, filter)) {
      texts.push_back(answer.Text());
    }
    return texts;
  }
};

INSTANTIATE_TEST_SUITE_P(Classes, AssociationTest, ::testing::ValuesIn(AllAssociations()),
                         ::testing::PrintToStringParamName());

TEST_P(AssociationTest, ListsNothingOnAHostWithoutDevices) {
  Use(fake::Host());
  EXPECT_EQ(EnumNames(Class()), "done, OK");
  EXPECT_EQ(EnumInstances(Class()), "done, OK");
}

TEST_P(AssociationTest, NamesTheAssociationsThatItHasInstancesOf) {
  Use(ConnectedHost());
  const Answer names = EnumNames(Class());
  const Answer instances = EnumInstances(Class());
  ASSERT_FALSE(names.paths.empty());
  ASSERT_EQ(names.paths.size(), instances.instances.size());
  for (std::size_t i = 0; i < names.paths.size(); ++i) {
    EXPECT_EQ(names.paths[i], instances.instances[i].path);
  }
  EXPECT_EQ(names.done_count, 1);
  EXPECT_EQ(instances.done_count, 1);
}

TEST_P(AssociationTest, GetsTheAssociation) {
  Use(ConnectedHost());
  EXPECT_EQ(Get(Class(), Path()), GetParam().found);
}

TEST_P(AssociationTest, SetsItsTwoReferencesInOrderAndNothingElse) {
  Use(ConnectedHost());
  const cim::Instance instance = Get(Class(), Path()).Only();
  ASSERT_EQ(instance.path.keys.size(), 2);
  EXPECT_EQ(instance.path.keys[0].first, Path().keys[0].first);
  EXPECT_EQ(instance.path.keys[1].first, Path().keys[1].first);
  EXPECT_EQ(instance.path.name_space, "root/cimv2");
  EXPECT_THAT(Properties(instance), IsEmpty());
}

TEST_P(AssociationTest, KeepsItsKeysWhateverThePropertyList) {
  Use(ConnectedHost());
  const cim::ObjectPath found = Get(Class(), Path()).Only().path;
  for (const PropertyList& list :
       {PropertyList{std::vector<std::string>()}, PropertyList{{"Caption"}},
        PropertyList{{Path().keys[0].first}}}) {
    EXPECT_EQ(Get(Class(), Path(), list), GetParam().found);
    EXPECT_EQ(Get(Class(), Path(), list).Only().path, found);
    EXPECT_EQ(EnumInstances(Class(), list).Text(), EnumInstances(Class()).Text());
  }
}

TEST_P(AssociationTest, FailsWithoutTheReferenceThatItReads) {
  Use(ConnectedHost());
  EXPECT_EQ(Get(Class(), Without(Path(), GetParam().needed)), "NO_SUCH_PROPERTY");
}

TEST_P(AssociationTest, FailsOnAReferenceThatIsNone) {
  Use(ConnectedHost());
  EXPECT_EQ(Get(Class(), With(Path(), GetParam().needed, "text")), "TYPE_MISMATCH");
}

TEST_P(AssociationTest, LogsSourcesOfClassesThatItDoesNotServe) {
  Use(ConnectedHost());
  for (const cim::ObjectPath& source : GetParam().unserved) {
    log.Clear();
    EXPECT_THAT(AssociationRequests(Class(), source), Each(::testing::Eq("done, OK")))
        << Brief(source);
    const std::vector<LogLine> lines = log.Lines();
    ASSERT_EQ(lines.size(), 4) << Brief(source);
    for (std::size_t i = 0; i < lines.size(); ++i) {
      EXPECT_EQ(lines[i].priority, LOG_DEBUG);
      EXPECT_THAT(lines[i].text, StartsWith(GetParam().texts[i]));
      EXPECT_THAT(lines[i].text.substr(GetParam().texts[i].size()), HasSubstr(source.class_name));
    }
  }
}

TEST_P(AssociationTest, LooksAtNoFilter) {
  Use(ConnectedHost());
  const Filter nonsense = {"CIM_Dependency", "CIM_Nonsense", "NoRole", "NoOtherRole"};
  for (const cim::ObjectPath& source : GetParam().served) {
    EXPECT_EQ(Texts(source, nonsense), Texts(source)) << Brief(source);
  }
}

TEST_P(AssociationTest, ServesSubclassesOfItsSources) {
  for (const cim::ObjectPath& source : GetParam().served) {
    Use(ConnectedHost());
    const std::vector<std::string> expected = Texts(source);
    const std::vector<LogLine> expected_log = log.Lines();
    AddSubclass("Ostrel_Special", source.class_name);
    log.Clear();
    cim::ObjectPath special = source;
    special.class_name = "Ostrel_Special";
    EXPECT_EQ(Texts(special), expected) << Brief(source);
    EXPECT_EQ(log.Lines(), expected_log) << Brief(source);
  }
}

TEST_P(AssociationTest, ChangesNothing) {
  Use(ConnectedHost());
  const std::string name = std::string("Ostrel_") + Class();
  const cim::Instance instance = {Path(), {}};
  broker::Recorder recorder;
  EXPECT_EQ(manager().CreateInstance(name, Path(), instance, recorder).code,
            CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT_EQ(manager().ModifyInstance(name, Path(), instance, {}, recorder).code,
            CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT_EQ(manager().DeleteInstance(name, Path(), recorder).code, CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT_EQ(manager().ExecQuery(name, Path(), "select *", "WQL", recorder).code,
            CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT_THAT(recorder.events, IsEmpty());
}

}  // namespace
