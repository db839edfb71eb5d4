// The provider of "Ostrel_PCIPortGroup", and what the associations take from it.

#include "elements/pci_port_group.h"

#include <cstdint>
#include <string>

#include "cim/wbem_uri.h"
#include "support/provider_test.h"

namespace {

using ::testing::ElementsAre;

class PciPortGroupTest : public ProviderTest {
 protected:
  // What ParseBusID makes of an identifier: a bus, or "none".
  std::string Parsed(const std::string& instance_id) {
    std::string parsed;
    Inside(GroupPath(instance_id), [&](auto& /*result*/, const auto& path) {
      std::uint8_t bus = 77;
      const bool found = ParseBusID(path, bus);
      parsed = found ? std::to_string(bus) : bus == 77 ? "none" : "none, but touched";
    });
    return parsed;
  }
};

TEST_F(PciPortGroupTest, ListsEveryBusOnceAscending) {
  Use(fake::Host()
          .Add(fake::Endpoint("a").Bus(200))
          .Add(fake::PciBridge("b").Bus(3).Secondary(9))
          .Add(fake::Endpoint("c").Bus(200)));
  EXPECT_EQ(EnumNames("PCIPortGroup"), "PCIPortGroup bus-3, PCIPortGroup bus-200, done, OK");
  EXPECT_EQ(EnumInstances("PCIPortGroup"),
            "[PCIPortGroup bus-3], [PCIPortGroup bus-200], done, OK");
}

TEST_F(PciPortGroupTest, IsNamedByItsBus) {
  Use(fake::Host().Add(fake::Endpoint("e").Bus(7)));
  EXPECT_EQ(cim::ToWbemUri(EnumNames("PCIPortGroup").paths.at(0)),
            "root/cimv2:Ostrel_PCIPortGroup.InstanceID=\"Ostrel:bus-7\"");
}

TEST_F(PciPortGroupTest, SetsTwoPropertiesInOrder) {
  Use(fake::Host().Add(fake::Endpoint("e").Bus(7)));
  EXPECT_THAT(
      Properties(EnumInstances("PCIPortGroup").Only()),
      ElementsAre("BusNumber uint8 7", "ElementName string PCI port group with bus number 7"));
}

TEST_F(PciPortGroupTest, GetsAGroup) {
  Use(MixedHost());
  EXPECT_EQ(Get("PCIPortGroup", GroupPath("Ostrel:bus-3")), "[PCIPortGroup bus-3], done, OK");
}

TEST_F(PciPortGroupTest, NamesTheGroupCanonicallyHoweverItWasAskedFor) {
  Use(MixedHost());
  EXPECT_EQ(Get("PCIPortGroup", GroupPath("foo-+3x")).Only().path, GroupPath("Ostrel:bus-3"));
  EXPECT_EQ(Get("PCIPortGroup", GroupPath("a-259")).Only().path, GroupPath("Ostrel:bus-3"));
}

TEST_F(PciPortGroupTest, EndsTheResultWhereThereIsNoGroup) {
  Use(MixedHost());
  EXPECT_EQ(Get("PCIPortGroup", GroupPath("Ostrel:bus-9")), "done, NOT_FOUND");
  EXPECT_EQ(Get("PCIPortGroup", GroupPath("Ostrel:bus3")), "done, NOT_FOUND");
  EXPECT_EQ(Get("PCIPortGroup", GroupPath("")), "done, NOT_FOUND");
}

TEST_F(PciPortGroupTest, ListsABusWithoutPortsButDoesNotFindIt) {
  Use(MixedHost());
  ProcessCache().bus_numbers.push_back(9);
  EXPECT_THAT(EnumNames("PCIPortGroup").Text(), ::testing::HasSubstr("PCIPortGroup bus-9, done"));
  EXPECT_EQ(Get("PCIPortGroup", GroupPath("Ostrel:bus-9")), "done, NOT_FOUND");
}

TEST_F(PciPortGroupTest, FindsABusThatIsNotListed) {
  Use(MixedHost());
  ProcessCache().bus_numbers.clear();
  EXPECT_EQ(EnumNames("PCIPortGroup"), "done, OK");
  EXPECT_EQ(Get("PCIPortGroup", GroupPath("Ostrel:bus-3")), "[PCIPortGroup bus-3], done, OK");
}

TEST_F(PciPortGroupTest, RelatedGroupIsWhatGetInstanceAnswers) {
  Use(MixedHost());
  const auto related = [&](const std::string& id) {
    return Inside(GroupPath(id), [](auto& result, const auto& path) {
      const char* properties[] = {"BusNumber", nullptr};
      return GetRelatedPortGroup(result, path, properties);
    });
  };
  EXPECT_EQ(related("Ostrel:bus-3"), "[PCIPortGroup bus-3], done, OK");
  EXPECT_THAT(Properties(related("Ostrel:bus-3").Only()), ElementsAre("BusNumber uint8 3"));
  EXPECT_EQ(related("Ostrel:bus-9"), "done, NOT_FOUND");
  EXPECT_EQ(related("Ostrel"), "done, NOT_FOUND");
}

TEST_F(PciPortGroupTest, LeavesThePropertyListToTheCallerOfMakePortGroup) {
  Use(MixedHost());
  const Answer answer = Inside(GroupPath(""), [](auto& result, const auto& /*path*/) {
    const char* properties[] = {"BusNumber", nullptr};
    result.returnData(MakePortGroup(3, properties));
  });
  EXPECT_EQ(Properties(answer.Only()).size(), 2);
}

TEST_F(PciPortGroupTest, ParsesEveryBusThatItNames) {
  Use(fake::Host());
  Inside(GroupPath(""), [](auto& /*result*/, const auto& /*path*/) {
    for (int bus = 0; bus < 256; ++bus) {
      std::uint8_t parsed = static_cast<std::uint8_t>(~bus);
      EXPECT_TRUE(ParseBusID(MakePortGroupRef(static_cast<std::uint8_t>(bus)), parsed));
      EXPECT_EQ(parsed, bus);
    }
  });
}

TEST_F(PciPortGroupTest, ParsesLeniently) {
  Use(fake::Host());
  EXPECT_EQ(Parsed("Ostrel:bus-3"), "3");
  EXPECT_EQ(Parsed("foo-3"), "3");
  EXPECT_EQ(Parsed("-3"), "3");
  EXPECT_EQ(Parsed("Ostrel:bus-300"), "44");
  EXPECT_EQ(Parsed("Ostrel:bus--1"), "255");
  EXPECT_EQ(Parsed("Ostrel:bus- 3"), "3");
  EXPECT_EQ(Parsed("Ostrel:bus-3rd"), "3");
  EXPECT_EQ(Parsed("Ostrel:bus-3-4"), "3");
  EXPECT_EQ(Parsed("Ostrel:bus-0x10"), "0");
  EXPECT_EQ(Parsed("Ostrel:bus-"), "0");
  EXPECT_EQ(Parsed("Ostrel:bus-three"), "0");
}

TEST_F(PciPortGroupTest, ParsesNothingWithoutADash) {
  Use(fake::Host());
  EXPECT_EQ(Parsed("Ostrel:bus3"), "none");
  EXPECT_EQ(Parsed("3"), "none");
  EXPECT_EQ(Parsed(""), "none");
}

TEST_F(PciPortGroupTest, KnowsTheBusesOfPorts) {
  Use(MixedHost());
  EXPECT_TRUE(PortGroupExists(0));
  EXPECT_TRUE(PortGroupExists(4));
  EXPECT_FALSE(PortGroupExists(5));
  Use(fake::Host().Add(fake::Endpoint("e").Bus(4)));
  EXPECT_FALSE(PortGroupExists(3));
  Use(fake::Host());
  EXPECT_FALSE(PortGroupExists(0));
}

}  // namespace
