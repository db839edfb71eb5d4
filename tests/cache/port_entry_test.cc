#include "cache/port_entry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "cache/topology_cache.h"
#include "support/cache_reset.h"
#include "support/fake_host.h"

namespace {

using HostCtl::Lib::HostCtlException;
using testing::ElementsAre;
using testing::IsEmpty;

// A port entry's texts and bus.
struct Port {
  std::string name;
  std::string parent;
  std::string peer;
  std::string device;
  int bus = 0;

  bool operator==(const Port&) const = default;
  friend std::ostream& operator<<(std::ostream& out, const Port& port) {
    return out << port.name << " parent " << port.parent << " peer " << port.peer << " of "
               << port.device << " bus " << port.bus;
  }
};

std::vector<Port> Summary(const std::vector<PortEntry>& entries) {
  std::vector<Port> ports;
  for (const PortEntry& entry : entries) {
    ports.push_back(
        {entry.portName, entry.parentName, entry.peerName, entry.deviceName, entry.bus});
  }
  return ports;
}

// The ports of a host with these devices.
std::vector<Port> PortsOf(const std::vector<fake::Device>& devices) {
  fake::Host host;
  for (const fake::Device& device : devices) host.Add(device);
  LoadHost(host);
  return Summary(GetPortsCache());
}

TEST(PortEntryTest, EndpointHasOnePortHostedByItself) {
  EXPECT_THAT(PortsOf({fake::Endpoint("N").Bus(3)}), ElementsAre(Port{"N-ep", "N", "", "N", 3}));
}

TEST(PortEntryTest, BridgeHasTwoPortsOnItsOwnBusThatNameEachOther) {
  EXPECT_THAT(
      PortsOf({fake::PciBridge("B").Bus(0).Secondary(5)}),
      ElementsAre(Port{"B-pri", "B", "B-sec", "B", 0}, Port{"B-sec", "B", "B-pri", "B", 0}));
}

TEST(PortEntryTest, BridgesOfThreeSubclassesHavePortsAndOthersNone) {
  for (const int class_code : {0x0604, 0x060a, 0x060b}) {
    EXPECT_EQ(PortsOf({fake::PciBridge("B").ClassCode(class_code)}).size(), 2U) << class_code;
  }
  for (const int class_code : {0x0600, 0x0601, 0x0605, 0x0607, 0x0609, 0x060c, 0x0680}) {
    EXPECT_THAT(PortsOf({fake::PciBridge("B").ClassCode(class_code)}), IsEmpty()) << class_code;
    EXPECT_EQ(BuildPortFromDevice("B"), "");
  }
}

TEST(PortEntryTest, SwitchPortsAreHostedByTheUpstreamPort) {
  EXPECT_THAT(PortsOf({fake::SwitchUpstream("U").Bus(1).Parent("R"),
                       fake::SwitchDownstream("D1").Bus(2).Parent("U"),
                       fake::SwitchDownstream("D2").Bus(2).Parent("U")}),
              ElementsAre(Port{"U-up", "U", "", "U", 1}, Port{"D1-ep", "U", "", "D1", 2},
                          Port{"D2-ep", "U", "", "D2", 2}));
}

TEST(PortEntryTest, DownstreamPortWithoutParentHasNoPort) {
  EXPECT_THAT(PortsOf({fake::SwitchDownstream("D").NoParent()}), IsEmpty());
  EXPECT_EQ(BuildPortFromDevice("D"), "");
}

TEST(PortEntryTest, ParentNeedNotBeInTheDeviceList) {
  EXPECT_THAT(PortsOf({fake::SwitchDownstream("D").Parent("elsewhere")}),
              ElementsAre(Port{"D-ep", "elsewhere", "", "D", 0}));
}

TEST(PortEntryTest, DevicesOfOneNameBothHavePorts) {
  EXPECT_THAT(PortsOf({fake::Endpoint("N").Bus(1), fake::Endpoint("N").Bus(2)}),
              ElementsAre(Port{"N-ep", "N", "", "N", 1}, Port{"N-ep", "N", "", "N", 2}));
  EXPECT_EQ(GetPortsCache()[0].device, GetDevicesCache()[0].get());
  EXPECT_EQ(GetPortsCache()[1].device, GetDevicesCache()[1].get());
}

TEST(PortEntryTest, ParentObjectIsReleased) {
  PortsOf({fake::SwitchUpstream("U"), fake::SwitchDownstream("D").Parent("U")});
  EXPECT_EQ(fake::LiveObjects(), fake::Live{.devices = 2});
}

TEST(PortEntryTest, MakeTakesThePortNameFirst) {
  LoadHost(fake::Host().Add(fake::Endpoint("N").Bus(7)));
  const auto* device = LookupDevice("N");
  const PortEntry entry = MakePCIPortTRef("the port", "the parent", device);
  EXPECT_THAT(Summary({entry}), ElementsAre(Port{"the port", "the parent", "", "N", 7}));
  EXPECT_EQ(entry.device, device);
}

TEST(PortEntryTest, MakersAppendToWhatIsThere) {
  LoadHost(fake::Host().Add(fake::PciBridge("B")));
  std::vector<PortEntry> ports;
  const auto* device = LookupDevice("B");
  MakePCIEndpointPortTRef(device, ports);
  MakePCIeUpstreamPortTRef(device, ports);
  MakePCIBridgePortTRef(device, ports);
  MakePCIeDownstreamPortTRef(device, ports);  // no parent: nothing
  EXPECT_THAT(
      Summary(ports),
      ElementsAre(Port{"B-ep", "B", "", "B", 0}, Port{"B-up", "B", "", "B", 0},
                  Port{"B-pri", "B", "B-sec", "B", 0}, Port{"B-sec", "B", "B-pri", "B", 0}));
}

TEST(PortEntryTest, ListHasRoomForTwentyMoreThanTheDevices) {
  PortsOf({fake::Endpoint("N"), fake::Endpoint("M")});
  PortVector ports;
  BuildPortDefs(ports);
  EXPECT_EQ(ports.capacity(), 22U);
  EXPECT_EQ(ports.size(), 2U);
}

TEST(BuildPortFromDeviceTest, AnswersTheFirstPort) {
  LoadHost(fake::Host()
               .Add(fake::Endpoint("E"))
               .Add(fake::PciBridge("B"))
               .Add(fake::SwitchUpstream("U"))
               .Add(fake::SwitchDownstream("D").Parent("U")));
  EXPECT_EQ(BuildPortFromDevice("E"), "E-ep");
  EXPECT_EQ(BuildPortFromDevice("B"), "B-pri");
  EXPECT_EQ(BuildPortFromDevice("U"), "U-up");
  EXPECT_EQ(BuildPortFromDevice("D"), "D-ep");
  EXPECT_EQ(GetPortsCache().size(), 5U) << "the cache must stay as it is";
}

TEST(BuildPortFromDeviceTest, UnknownNameAsksTheHostNothing) {
  LoadHost(fake::Host().Add(fake::Endpoint("E")));
  const std::size_t calls = fake::CallCount();
  EXPECT_EQ(BuildPortFromDevice("F"), "");
  EXPECT_EQ(BuildPortFromDevice(""), "");
  EXPECT_EQ(BuildPortFromDevice("E-ep"), "");
  EXPECT_EQ(fake::CallCount(), calls);
}

TEST(BuildPortFromDeviceTest, FailureReachesTheCallerAndReleasesTheParent) {
  LoadHost(
      fake::Host().Add(fake::SwitchUpstream("U")).Add(fake::SwitchDownstream("D").Parent("U")));
  std::size_t before = fake::CallCount();
  BuildPortFromDevice("D");
  const std::size_t calls = fake::CallCount() - before;
  // The wider switch test absorbs its first two reads and, in a bridge, the walk goes on; what is
  // left throws.
  int thrown = 0;
  for (std::size_t n = 1; n <= calls; ++n) {
    fake::FailAt(n);
    try {
      BuildPortFromDevice("D");
    } catch (const HostCtlException&) {
      ++thrown;
    }
    EXPECT_EQ(fake::LiveObjects(), fake::Live{.devices = 2});
  }
  // The unguarded capability read, GetParent, two names of D, the parent's name, the bus.
  EXPECT_EQ(thrown, 6);
}

}  // namespace
