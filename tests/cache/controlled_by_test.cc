#include "cache/controlled_by.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "cache/cache_state.h"
#include "cache/topology_cache.h"
#include "support/cache_reset.h"
#include "support/fake_host.h"
#include "support/log_capture.h"
#include "support/naive_topology.h"

namespace {

using HostCtl::Hardware::PciDevice;
using testing::ElementsAre;
using testing::IsEmpty;

fake::Host EndpointAndBridge() {
  return fake::Host().Add(fake::Endpoint("E").Bus(1)).Add(fake::PciBridge("B").Bus(0));
}

TEST(ControlledByTest, LogsTheSizesOfBothMaps) {
  const LogCapture log;
  LoadHost(EndpointAndBridge());
  EXPECT_THAT(log.Texts(LOG_DEBUG),
              testing::Contains("PCI CB cache idx: cbPortMap=3 cbDevMap=2").Times(1));
}

TEST(ControlledByTest, RecordsFollowThePorts) {
  LoadHost(EndpointAndBridge());
  ASSERT_EQ(GetControlledByCache().size(), 3U);
  for (std::size_t n = 0; n < 3; ++n) {
    const ControlledByRecord& record = GetControlledByCache()[n];
    EXPECT_EQ(record.entry, &GetPortsCache()[n]);
    EXPECT_EQ(record.device, GetPortsCache()[n].device);
    EXPECT_STREQ(record.className, n == 0 ? "Ostrel_PCIDevice" : "Ostrel_PCIBridge");
  }
}

TEST(ControlledByTest, BridgeIsFoundByEitherPortAndByNameAsItsSecondary) {
  LoadHost(EndpointAndBridge());
  EXPECT_EQ(LookupControlledByPort("B-pri")->entry->portName, "B-pri");
  EXPECT_EQ(LookupControlledByPort("B-sec")->entry->portName, "B-sec");
  EXPECT_EQ(LookupControlledByDevice("B")->entry->portName, "B-sec");
  EXPECT_EQ(LookupControlledByPort("B"), nullptr);
  EXPECT_EQ(LookupControlledByDevice("B-pri"), nullptr);
}

TEST(ControlledByTest, LastOfSeveralPortsOfOneNameIsFound) {
  LoadHost(fake::Host().Add(fake::Endpoint("N").Bus(1)).Add(fake::Endpoint("N").Bus(2)));
  EXPECT_EQ(LookupControlledByPort("N-ep")->entry->bus, 2);
  EXPECT_EQ(LookupPortEntry("N-ep").bus, 1) << "the port index keeps the first";
}

TEST(ControlledByTest, SkipsAPortWhoseNameHasNoHyphen) {
  LoadHost(fake::Host().Add(fake::Endpoint("E")));
  // No maker names a port so; put one there, as a damaged name would be.
  TopologyCache& cache = ProcessCache();
  PortEntry odd = cache.ports.front();
  odd.portName = "odd name";
  cache.ports.insert(cache.ports.begin(), odd);
  DropControlledBy();

  const LogCapture log;
  CacheControlledBy();
  EXPECT_THAT(log.Lines(),
              ElementsAre(LogLine{LOG_ERR, "PortEntry name not right skipping odd name"},
                          LogLine{LOG_DEBUG, "PCI CB cache idx: cbPortMap=1 cbDevMap=1"}));
  ASSERT_EQ(GetControlledByCache().size(), 1U);
  EXPECT_EQ(GetControlledByCache().front().entry, &cache.ports[1]);
}

TEST(AddToMapTest, AppendsInOrderAndMakesTheListOnFirstUse) {
  PortsByName map;
  const PortEntry first;
  const PortEntry second;
  AddToMap("key", first, map);
  AddToMap("key", second, map);
  AddToMap("other", first, map);
  EXPECT_THAT(map.at("key"), ElementsAre(&first, &second));
  EXPECT_THAT(map.at("other"), ElementsAre(&first));
}

TEST(FindConnectedPortTest, UnknownParentIsTheNullEntryAndLogsNothing) {
  LoadHost(EndpointAndBridge());
  const LogCapture log;
  for (const char* name : {"", "e", "E-ep", "EE", "unknown"}) {
    EXPECT_EQ(FindConnectedPort(name).device, nullptr) << name;
  }
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST(FindConnectedPortTest, EndpointIsConnectedByItsOwnPort) {
  LoadHost(EndpointAndBridge());
  EXPECT_EQ(FindConnectedPort("E").portName, "E-ep");
}

TEST(FindConnectedPortTest, BridgeIsConnectedByItsPrimaryPort) {
  LoadHost(fake::Host().Add(fake::PciBridge("B").Bus(4)));
  const LogCapture log;
  EXPECT_EQ(FindConnectedPort("B").portName, "B-pri");
  EXPECT_THAT(log.Lines(),
              ElementsAre(LogLine{LOG_DEBUG, "FindConnectedPort looking for lowest busid 4"},
                          LogLine{LOG_DEBUG, "FindConnectedPort returning bus 4"}));
}

TEST(FindConnectedPortTest, SwitchIsConnectedByItsUpstreamPortAndItsPortsByNone) {
  LoadHost(fake::Host()
               .Add(fake::SwitchDownstream("D").Bus(3).Parent("U"))
               .Add(fake::SwitchUpstream("U").Bus(2)));
  EXPECT_EQ(FindConnectedPort("U").portName, "U-up");
  EXPECT_EQ(FindConnectedPort("D").device, nullptr);
}

// An enumeration asks for every device: a walk through all ports for each would be quadratic.
TEST(FindConnectedPortTest, KnowsThePortsOfEveryHostAfterABuildThatFailedToo) {
  for (const bool fails : {false, true}) {
    // The name of a bridge is asked for last, by the last index.
    const fake::Host host = EndpointAndBridge();
    const std::size_t calls = naive::Model(host).Build().calls;
    ResetCache();
    fake::Use(host);
    if (fails) fake::FailAt(calls);
    LoadCache();
    fake::FailNever();
    const auto& hosts = ProcessCache().hosted_ports;
    ASSERT_EQ(hosts.size(), 2U) << fails;
    EXPECT_EQ(hosts.at("E").connected, &LookupPortEntry("E-ep")) << fails;
    EXPECT_EQ(hosts.at("B").connected, &LookupPortEntry("B-pri")) << fails;
  }
}

// Ports of a host "P" that has none of its own, as one of the devices or as none.
class ConnectedPortsOfAParentTest : public testing::TestWithParam<bool> {
 protected:
  static void LoadPorts(std::initializer_list<fake::Device> ports) {
    fake::Host host;
    if (GetParam()) host.Add(fake::HostBridge("P"));
    for (fake::Device port : ports) host.Add(port.Parent("P"));
    LoadHost(host);
  }
};

TEST_P(ConnectedPortsOfAParentTest, LowerBusLaterInTheListWins) {
  LoadPorts({fake::SwitchDownstream("D3").Bus(3), fake::SwitchDownstream("D1").Bus(1),
             fake::SwitchDownstream("D2").Bus(2)});
  const LogCapture log;
  EXPECT_EQ(FindConnectedPort("P").portName, "D1-ep");
  EXPECT_THAT(log.Lines(),
              ElementsAre(LogLine{LOG_DEBUG, "FindConnectedPort looking for lowest busid 3"},
                          LogLine{LOG_DEBUG, "FindConnectedPort returning bus 1"}));
  EXPECT_EQ(FindHostedPort("P").portName, "D3-ep");
}

TEST_P(ConnectedPortsOfAParentTest, EarlierPortOfEqualBusWins) {
  LoadPorts({fake::SwitchDownstream("D5").Bus(5), fake::SwitchDownstream("Da").Bus(1),
             fake::SwitchDownstream("Db").Bus(1)});
  EXPECT_EQ(FindConnectedPort("P").portName, "Da-ep");
}

INSTANTIATE_TEST_SUITE_P(Hosts, ConnectedPortsOfAParentTest, testing::Bool(),
                         [](const auto& test) { return test.param ? "Listed" : "Unlisted"; });

TEST(FindPortsInGroupTest, CopiesOneDevicePerPortOfTheBus) {
  LoadHost(fake::Host()
               .Add(fake::PciBridge("B").Bus(0))
               .Add(fake::Endpoint("E").Bus(1))
               .Add(fake::Endpoint("F").Bus(0)));
  const auto& devices = GetDevicesCache();
  std::vector<const PciDevice*> members = {devices[1].get()};
  EXPECT_TRUE(FindPortsInGroup(0, members));
  EXPECT_THAT(members, ElementsAre(devices[0].get(), devices[0].get(), devices[2].get()));
}

TEST(FindPortsInGroupTest, BusWithoutPortsLeavesTheListAlone) {
  LoadHost(fake::Host().Add(fake::HostBridge("H").Bus(0)).Add(fake::Endpoint("E").Bus(1)));
  const PciDevice* const device = LookupDevice("E");
  std::vector<const PciDevice*> members = {device};
  EXPECT_FALSE(FindPortsInGroup(0, members));
  EXPECT_FALSE(FindPortsInGroup(255, members));
  EXPECT_THAT(members, ElementsAre(device));
}

TEST(PortListLookupTest, UnknownNameIsAnEmptyList) {
  LoadHost(fake::Host()
               .Add(fake::SwitchUpstream("U"))
               .Add(fake::SwitchDownstream("D").Parent("U"))
               .Add(fake::PciBridge("B"))
               .Add(fake::SwitchDownstream("X").Parent("B")));
  EXPECT_THAT(LookupBridgePorts("unknown"), IsEmpty());
  EXPECT_THAT(LookupBridgePorts("U"), IsEmpty());
  EXPECT_THAT(LookupSwitchPorts("unknown"), IsEmpty());
  EXPECT_THAT(LookupSwitchPorts("B"), IsEmpty());
  EXPECT_THAT(LookupBridgePorts("B"), ElementsAre(&LookupPortEntry("X-ep")));
  EXPECT_THAT(LookupSwitchPorts("U"), ElementsAre(&LookupPortEntry("D-ep")));
  EXPECT_EQ(GetBridgePortsCache().size(), 1U) << "a lookup must not add a list";
}

TEST(PortByDeviceTest, AnswersTheLastPortOfTheDevice) {
  LoadHost(EndpointAndBridge());
  EXPECT_EQ(&LookupPortByDeviceEntry("E"), &LookupPortEntry("E-ep"));
  EXPECT_EQ(&LookupPortByDeviceEntry("B"), &LookupPortEntry("B-sec"));
  EXPECT_EQ(LookupPortByDeviceEntry("E-ep").device, nullptr);
}

}  // namespace
