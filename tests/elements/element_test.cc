// What the five element providers have in common.

#include <cctype>
#include <string>
#include <vector>

#include "support/provider_test.h"

namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

struct Element {
  const char* class_name;
  const char* identifier;  // of one element on the mixed host
  const char* key;         // that getInstance reads
};

// For the names of the test cases.
std::ostream& operator<<(std::ostream& out, const Element& element) {
  return out << element.class_name;
}

class ElementTest : public ProviderTest, public ::testing::WithParamInterface<Element> {
 protected:
  const char* Class() const { return GetParam().class_name; }
  cim::ObjectPath Path() const {
    return std::string(Class()) == "PCIPortGroup" ? GroupPath(GetParam().identifier)
                                                  : ElementPath(Class(), GetParam().identifier);
  }
  std::vector<std::string> KeyNames() const {
    std::vector<std::string> names;
    for (const auto& key : Path().keys) names.push_back(key.first);
    return names;
  }
};

INSTANTIATE_TEST_SUITE_P(Classes, ElementTest,
                         ::testing::Values(Element{"PCIDevice", "e", "DeviceID"},
                                           Element{"PCIBridge", "b", "DeviceID"},
                                           Element{"PCIeSwitch", "U", "DeviceID"},
                                           Element{"PCIPort", "e-ep", "DeviceID"},
                                           Element{"PCIPortGroup", "Ostrel:bus-1", "InstanceID"}),
                         ::testing::PrintToStringParamName());

TEST_P(ElementTest, ListsNothingOnAHostWithoutDevices) {
  Use(fake::Host());
  EXPECT_EQ(EnumNames(Class()), "done, OK");
  EXPECT_EQ(EnumInstances(Class()), "done, OK");
}

TEST_P(ElementTest, ListsNothingWhereTheHostCannotSayItsDevices) {
  Use(fake::Host().Throws("GetPciDevices", "no devices"));
  EXPECT_EQ(EnumNames(Class()), "done, OK");
  EXPECT_EQ(EnumInstances(Class()), "done, OK");
}

TEST_P(ElementTest, NamesTheElementsThatItHasInstancesOf) {
  Use(MixedHost());
  const Answer names = EnumNames(Class());
  const Answer instances = EnumInstances(Class());
  ASSERT_EQ(names.paths.size(), instances.instances.size());
  ASSERT_FALSE(names.paths.empty());
  for (std::size_t i = 0; i < names.paths.size(); ++i) {
    EXPECT_EQ(names.paths[i], instances.instances[i].path);
  }
}

TEST_P(ElementTest, GetsTheInstanceThatItLists) {
  Use(MixedHost());
  const Answer listed = EnumInstances(Class());
  const cim::Instance instance = Get(Class(), Path()).Only();
  EXPECT_EQ(instance.path, Path());
  EXPECT_THAT(listed.instances, ::testing::Contains(instance));
}

TEST_P(ElementTest, GivesAllPropertiesWithoutAList) {
  Use(MixedHost());
  EXPECT_THAT(Properties(Get(Class(), Path()).Only()),
              ::testing::Contains(HasSubstr("BusNumber ")));
  EXPECT_THAT(Properties(Get(Class(), Path()).Only()),
              ::testing::Contains(HasSubstr("ElementName ")));
}

// Object managers make instances with the defaults of their class, such as EnabledState 5: what the
// provider means to be 0 has to be said.
TEST_P(ElementTest, SaysItsPropertiesOverTheDefaultsOfTheClass) {
  Use(MixedHost());
  const std::vector<cim::Instance> said = EnumInstances(Class()).instances;
  PresetInstances();
  const std::vector<cim::Instance> preset = EnumInstances(Class()).instances;
  ASSERT_FALSE(said.empty());
  ASSERT_EQ(preset.size(), said.size());
  for (std::size_t i = 0; i < said.size(); ++i) {
    for (const cim::Property& property : said[i].properties) {
      EXPECT_EQ(PropertyText(preset[i], property.name), PropertyText(said[i], property.name));
    }
  }
}

TEST_F(ProviderTest, StatesAreUnknownOfDevicesAndTheDefaultOfPorts) {
  Use(MixedHost());
  PresetInstances();
  for (const char* state : {"PrimaryStatus", "HealthState", "EnabledState", "RequestedState"}) {
    const std::string name = state;
    for (const char* class_name : {"PCIDevice", "PCIBridge", "PCIeSwitch"}) {
      for (const cim::Instance& instance : EnumInstances(class_name).instances) {
        EXPECT_EQ(PropertyText(instance, name), name + " uint16 0");
      }
    }
    for (const cim::Instance& port : EnumInstances("PCIPort").instances) {
      EXPECT_EQ(PropertyText(port, name), name + " uint16 222");
    }
  }
}

TEST_P(ElementTest, GivesOnlyTheListedProperties) {
  Use(MixedHost());
  const PropertyList list = {{"busnumber", "NoSuchProperty"}};
  EXPECT_THAT(Properties(Get(Class(), Path(), list).Only()),
              ::testing::ElementsAre(HasSubstr("BusNumber uint8")));
  for (const cim::Instance& instance : EnumInstances(Class(), list).instances) {
    EXPECT_THAT(Properties(instance), ::testing::ElementsAre(HasSubstr("BusNumber uint8")));
  }
}

TEST_P(ElementTest, GivesNoPropertiesForAnEmptyList) {
  Use(MixedHost());
  const PropertyList none = std::vector<std::string>();
  EXPECT_THAT(Properties(Get(Class(), Path(), none).Only()), IsEmpty());
  for (const cim::Instance& instance : EnumInstances(Class(), none).instances) {
    EXPECT_THAT(Properties(instance), IsEmpty());
  }
}

TEST_P(ElementTest, FailsWithoutTheKey) {
  Use(MixedHost());
  EXPECT_EQ(Get(Class(), Without(Path(), GetParam().key)), "NO_SUCH_PROPERTY");
}

TEST_P(ElementTest, FailsOnAKeyThatIsNoText) {
  Use(MixedHost());
  EXPECT_EQ(Get(Class(), With(Path(), GetParam().key, std::uint64_t{1})), "TYPE_MISMATCH");
}

TEST_P(ElementTest, ReadsNoOtherKey) {
  Use(MixedHost());
  cim::ObjectPath bare = Path();
  std::erase_if(bare.keys, [](const auto& key) { return key.first != GetParam().key; });
  EXPECT_EQ(Get(Class(), bare).Only().path, Path());
}

TEST_P(ElementTest, LooksAtNoClassOfThePath) {
  Use(MixedHost());
  for (const char* class_name :
       {"CIM_ManagedElement", "OMC_UnitaryComputerSystem", "No_SuchClass"}) {
    cim::ObjectPath path = Path();
    path.class_name = class_name;
    EXPECT_EQ(Get(Class(), path).Only().path, Path()) << class_name;
  }
}

TEST_P(ElementTest, FindsTheKeyWhateverItsCase) {
  Use(MixedHost());
  cim::ObjectPath path = Path();
  for (auto& key : path.keys) {
    for (char& letter : key.first) letter = static_cast<char>(std::toupper(letter));
  }
  EXPECT_EQ(Get(Class(), path).Only().path, Path());
}

TEST_P(ElementTest, ChangesNothing) {
  Use(MixedHost());
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

// The element providers whose instances are read from a device.
class DeviceReadingTest : public ElementTest {};

INSTANTIATE_TEST_SUITE_P(Classes, DeviceReadingTest,
                         ::testing::Values(Element{"PCIDevice", "e", "DeviceID"},
                                           Element{"PCIBridge", "b", "DeviceID"},
                                           Element{"PCIeSwitch", "U", "DeviceID"},
                                           Element{"PCIPort", "e-ep", "DeviceID"}),
                         ::testing::PrintToStringParamName());

// A device that fails ends the list; the elements before it have been returned.
TEST_P(DeviceReadingTest, KeepsWhatItHasListedWhenADeviceFails) {
  fake::Host host;
  host.Add(fake::Endpoint("e")).Add(fake::PciBridge("b")).Add(fake::SwitchUpstream("U"));
  host.Add(fake::Endpoint("bad").Throws("GetVendorName", "unreadable"));
  host.Add(fake::PciBridge("badb").Throws("GetVendorName", "unreadable"));
  host.Add(fake::SwitchUpstream("badU").Throws("GetVendorName", "unreadable"));
  Use(host);
  const Answer answer = EnumInstances(Class());
  EXPECT_THAT(answer.instances, ::testing::Not(IsEmpty()));
  EXPECT_EQ(answer.done_count, 0);
  EXPECT_EQ(answer.status.code, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(answer.status.message, "unreadable");
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_P(DeviceReadingTest, FailsToNameADeviceThatCannotSayItsName) {
  Use(MixedHost());
  const std::size_t before = fake::CallCount();
  const Answer whole = EnumNames(Class());
  fake::FailAt(fake::CallCount() - before);  // the last call of the next walk: a GetName
  const Answer cut = EnumNames(Class());
  EXPECT_EQ(cut.status.code, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(cut.done_count, 0);
  EXPECT_THAT(whole.paths, ::testing::Not(IsEmpty()));
  EXPECT_LT(cut.paths.size(), whole.paths.size());
}

}  // namespace
