#include "cache/topology_cache.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "cache/controlled_by.h"
#include "support/cache_reset.h"
#include "support/fake_host.h"
#include "support/log_capture.h"

namespace {

using HostCtl::Hardware::PciDevice;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

constexpr const char* kStarted = "GetPCIData started to analyze and cache HKI PCI data";

std::vector<std::string> Names(const PortPointers& ports) {
  std::vector<std::string> names;
  for (const PortEntry* port : ports) names.push_back(port->portName);
  return names;
}

// One of each kind that gets ports.
fake::Host MixedHost() {
  return fake::Host()
      .SystemName("Host.Example")
      .Add(fake::PciBridge("B").Bus(0))
      .Add(fake::Endpoint("E").Bus(1))
      .Add(fake::SwitchUpstream("U").Bus(2))
      .Add(fake::SwitchDownstream("D").Bus(3).Parent("U"))
      .Add(fake::SwitchDownstream("X").Bus(1).Parent("B"));
}

std::vector<std::string> ProgressLines() {
  return {kStarted,
          " *** Bridge: B",
          " *** Switch: U",
          "loaded bridge B-pri",
          "not loaded port E-ep parent E",
          "loaded switch U-up",
          "loaded switch port D-ep",
          "loaded bridge port X-ep",
          "*** GetPCIData loaded, 1 switches, 1 bridges busNumbers 4"};
}

TEST(CacheLogTest, ProgressIsDebugWithoutTheDumpFile) {
  const LogCapture log;
  LoadHost(MixedHost());
  std::vector<std::string> expected = ProgressLines();
  expected.insert(expected.end() - 1, "PCI CB cache idx: cbPortMap=6 cbDevMap=5");
  EXPECT_EQ(log.Texts(LOG_DEBUG), expected);
  EXPECT_EQ(log.Lines().size(), expected.size());
}

TEST(CacheLogTest, ProgressIsCriticalWithTheDumpFile) {
  const LogCapture log;
  fake::DumpFileReadable(true);
  LoadHost(MixedHost());
  fake::DumpFileReadable(false);
  EXPECT_EQ(log.Texts(LOG_CRIT), ProgressLines());
  EXPECT_THAT(log.Texts(LOG_DEBUG), ElementsAre("PCI CB cache idx: cbPortMap=6 cbDevMap=5"));
  EXPECT_THAT(log.Texts(LOG_ERR), IsEmpty());
}

TEST(CacheLogTest, DumpFileChangesNothingButPriorities) {
  fake::DumpFileReadable(true);
  const LogCapture log;
  LoadHost(fake::Host().Add(fake::Endpoint("N")).Add(fake::Endpoint("N")));
  fake::DumpFileReadable(false);
  EXPECT_THAT(log.Texts(LOG_ERR), ElementsAre("duplicate name found 'N' skipped",
                                              "duplicate port name found 'N-ep; skipped"));
}

TEST(CacheLogTest, DumpFileIsLookedForOncePerBuild) {
  const std::size_t before = fake::DumpFileChecks();
  LoadHost(MixedHost());
  LoadCache();
  EXPECT_EQ(fake::DumpFileChecks(), before + 1);
}

TEST(CacheBuildTest, HostWithoutDevicesLeavesEverythingEmpty) {
  const LogCapture log;
  LoadHost(fake::Host());
  EXPECT_THAT(GetDevicesCache(), IsEmpty());
  EXPECT_THAT(GetPortsCache(), IsEmpty());
  EXPECT_THAT(GetBridgePortsCache(), IsEmpty());
  EXPECT_THAT(GetSwitchPortsCache(), IsEmpty());
  EXPECT_THAT(GetBridgesCache(), IsEmpty());
  EXPECT_THAT(GetSwitchCache(), IsEmpty());
  EXPECT_THAT(GetBusNumbers(), IsEmpty());
  EXPECT_THAT(GetPortNames(), IsEmpty());
  EXPECT_THAT(
      log.Lines(),
      ElementsAre(LogLine{LOG_DEBUG, kStarted},
                  LogLine{LOG_DEBUG, "PCI CB cache idx: cbPortMap=0 cbDevMap=0"},
                  LogLine{LOG_DEBUG, "*** GetPCIData loaded, 0 switches, 0 bridges busNumbers 0"}));
}

TEST(CacheBuildTest, HostIsAskedInTheAgreedOrder) {
  ResetCache();
  fake::Use(fake::Host());
  fake::TraceCalls(true);
  LoadCache();
  EXPECT_THAT(fake::Calls(), ElementsAre("GetHardwareInfo()", "GetSystemName()", "GetHost()",
                                         "GetHardwareInfo()", "GetPciInfo()", "GetPciDevices()"));
  fake::TraceCalls(false);
}

TEST(CacheBuildTest, HostsInformationIsKeptNoLongerThanNeeded) {
  ResetCache();
  fake::Use(fake::Host().Add(fake::Endpoint("E")));
  fake::TraceCalls(true);
  LoadCache();
  const std::vector<std::string> calls = fake::Calls();
  const std::vector<fake::Live> live = fake::LiveAtCalls();
  fake::TraceCalls(false);
  ASSERT_EQ(live.size(), calls.size());
  const auto asked = std::find(calls.begin(), calls.end(), "GetPciDevices()");
  const auto devices = static_cast<std::size_t>(asked - calls.begin());
  ASSERT_GT(live.size(), devices + 1);
  for (std::size_t call = devices; call < live.size(); ++call) {
    EXPECT_EQ(live[call].hardware_infos, 0) << calls[call];
    EXPECT_EQ(live[call].pci_infos, 1) << calls[call];
  }
  EXPECT_EQ(live[devices - 2].hardware_infos, 0) << "the one that told the system name is gone";
}

TEST(CacheBuildTest, DevicesOutliveTheInformationThatTheyCameFrom) {
  LoadHost(MixedHost());
  EXPECT_EQ(fake::LiveObjects(), fake::Live{.devices = 5});
  EXPECT_EQ(LookupDevice("E")->GetBus(), 1);
}

TEST(CacheBuildTest, SecondLoadAsksNothing) {
  LoadHost(MixedHost());
  const std::size_t calls = fake::CallCount();
  LoadCache();
  EXPECT_EQ(fake::CallCount(), calls);
  EXPECT_EQ(GetDevicesCache().size(), 5U);
}

TEST(CacheBuildTest, SystemNameIsEmptyBeforeAndLowerCaseAfter) {
  ResetCache();
  EXPECT_STREQ(PciGetSystemName(), "");
  LoadHost(fake::Host().SystemName("HOST.Example-01_Z"));
  EXPECT_STREQ(PciGetSystemName(), "host.example-01_z");
}

TEST(CacheBuildTest, SystemNameKeepsBytesBeyondAscii) {
  LoadHost(fake::Host().SystemName("H\xc3\x84\xff"));
  EXPECT_STREQ(PciGetSystemName(), "h\xc3\x84\xff");
}

TEST(CacheBuildTest, DuplicateDeviceIsKeptButNeitherIndexedNorClassified) {
  const LogCapture log;
  LoadHost(fake::Host().Add(fake::Endpoint("N").Bus(1)).Add(fake::PciBridge("N").Bus(2)));
  EXPECT_EQ(GetDevicesCache().size(), 2U);
  EXPECT_EQ(LookupDevice("N"), GetDevicesCache()[0].get());
  EXPECT_EQ(GetPortsCache().size(), 3U);  // N-ep, N-pri, N-sec
  EXPECT_THAT(GetBridgesCache(), IsEmpty()) << "the bridge was not classified";
  EXPECT_THAT(log.Texts(LOG_ERR), ElementsAre("duplicate name found 'N' skipped"));
  EXPECT_EQ(log.Lines()[1].text, "duplicate name found 'N' skipped");
}

TEST(CacheBuildTest, DuplicatePortNameIsReportedAndTheFirstStays) {
  const LogCapture log;
  LoadHost(fake::Host().Add(fake::Endpoint("N").Bus(1)).Add(fake::Endpoint("N").Bus(2)));
  EXPECT_THAT(log.Texts(LOG_ERR), ElementsAre("duplicate name found 'N' skipped",
                                              "duplicate port name found 'N-ep; skipped"));
  EXPECT_EQ(LookupPortEntry("N-ep").bus, 1);
  EXPECT_THAT(GetBusNumbers(), ElementsAre(1)) << "the skipped port's bus is not counted";
  std::vector<const PciDevice*> members;
  EXPECT_TRUE(FindPortsInGroup(2, members)) << "but it has its bus members";
  EXPECT_EQ(LookupPortByDeviceEntry("N").bus, 2);
}

TEST(CacheBuildTest, BridgeIsListedByItsPrimaryPort) {
  LoadHost(fake::Host().Add(fake::PciBridge("B")));
  EXPECT_THAT(Names(GetBridgesCache()), ElementsAre("B-pri"));
  EXPECT_EQ(LookupPortEntry("B-sec").portName, "B-sec");
  EXPECT_EQ(LookupPortByDeviceEntry("B").portName, "B-sec");
  EXPECT_THAT(GetBridgePortsCache(), IsEmpty());
}

TEST(CacheBuildTest, BridgeWhoseNameHoldsThePrimarySuffixIsListedTwice) {
  // Intended: the suffix is looked for anywhere in the port's name.
  LoadHost(fake::Host().Add(fake::PciBridge("B-pri")));
  EXPECT_THAT(Names(GetBridgesCache()), ElementsAre("B-pri-pri", "B-pri-sec"));
}

TEST(CacheBuildTest, SwitchPortsAreFiledUnderTheirUpstreamPortInDeviceOrder) {
  LoadHost(fake::Host()
               .Add(fake::SwitchDownstream("D2").Parent("U"))
               .Add(fake::SwitchUpstream("U"))
               .Add(fake::SwitchDownstream("D1").Parent("U")));
  EXPECT_THAT(Names(GetSwitchCache()), ElementsAre("U-up"));
  ASSERT_EQ(GetSwitchPortsCache().size(), 1U);
  EXPECT_THAT(Names(GetSwitchPortsCache().at("U")), ElementsAre("D2-ep", "D1-ep"));
}

TEST(CacheBuildTest, BridgePortsHoldOnlySwitchPortsBelowABridge) {
  LoadHost(fake::Host()
               .Add(fake::PciBridge("B"))
               .Add(fake::Endpoint("E").Parent("B"))
               .Add(fake::PciBridge("C").Parent("B"))
               .Add(fake::SwitchDownstream("D").Parent("B")));
  ASSERT_EQ(GetBridgePortsCache().size(), 1U);
  EXPECT_THAT(Names(GetBridgePortsCache().at("B")), ElementsAre("D-ep"));
}

TEST(CacheBuildTest, PortUnderAnUnknownParentIsNotLoadedButFound) {
  const LogCapture log;
  LoadHost(fake::Host().Add(fake::SwitchDownstream("D").Parent("elsewhere").Bus(4)));
  EXPECT_THAT(log.Texts(LOG_DEBUG),
              testing::Contains("not loaded port D-ep parent elsewhere").Times(1));
  EXPECT_EQ(LookupPortEntry("D-ep").parentName, "elsewhere");
  EXPECT_THAT(GetPortNames(), ElementsAre("D-ep"));
  EXPECT_THAT(GetBusNumbers(), ElementsAre(4));
  EXPECT_THAT(GetSwitchPortsCache(), IsEmpty());
}

TEST(CacheBuildTest, BusNumbersAreDistinctAndAscending) {
  fake::Host host;
  int n = 0;
  for (const int bus : {255, 3, 0, 3, 17, 0}) {
    host.Add(fake::Endpoint("E" + std::to_string(n++)).Bus(bus));
  }
  LoadHost(host);
  EXPECT_THAT(GetBusNumbers(), ElementsAre(0, 3, 17, 255));
}

TEST(CacheBuildTest, BusOfADeviceWithoutPortsDoesNotCount) {
  LoadHost(fake::Host().Add(fake::HostBridge("H").Bus(9)).Add(fake::Endpoint("E").Bus(1)));
  EXPECT_THAT(GetBusNumbers(), ElementsAre(1));
  EXPECT_THAT(GetBridgesCache(), IsEmpty());
}

TEST(CacheBuildTest, PortNamesAreSorted) {
  LoadHost(fake::Host().Add(fake::PciBridge("z")).Add(fake::Endpoint("a")));
  EXPECT_THAT(GetPortNames(), ElementsAre("a-ep", "z-pri", "z-sec"));
}

TEST(CacheBuildTest, ListsHaveTheirRoomFromTheStart) {
  LoadHost(MixedHost());
  EXPECT_EQ(GetPortsCache().capacity(), GetDevicesCache().size() + 20);
  EXPECT_EQ(GetBusNumbers().capacity(), GetBusNumbers().size());
  EXPECT_GE(GetSwitchCache().capacity(), GetPortsCache().size() / 2);
  EXPECT_EQ(GetControlledByCache().capacity(), GetPortsCache().size());
}

TEST(CacheLookupTest, DeviceEntryTellsNameAndPosition) {
  LoadHost(MixedHost());
  DeviceIndexEntry entry = {"before", 77};
  EXPECT_FALSE(LookupDevice("e", entry));
  EXPECT_EQ(entry.name, "before");
  EXPECT_EQ(entry.position, 77U);
  EXPECT_TRUE(LookupDevice("E", entry));
  EXPECT_EQ(entry.name, "E");
  EXPECT_EQ(entry.position, 1U);
}

TEST(CacheLookupTest, PortAnswersItsDevice) {
  LoadHost(MixedHost());
  const PciDevice* const untouched = GetDevicesCache()[0].get();
  const PciDevice* device = untouched;
  EXPECT_FALSE(LookupPort("E", device));
  EXPECT_EQ(device, untouched);
  EXPECT_TRUE(LookupPort("E-ep", device));
  EXPECT_EQ(device, GetDevicesCache()[1].get());
}

TEST(CacheLookupTest, UnknownPortIsTheNullEntry) {
  LoadHost(MixedHost());
  for (const char* name : {"", "E", "E-EP", "E-ep ", "unknown"}) {
    const PortEntry& entry = LookupPortEntry(name);
    EXPECT_EQ(entry.device, nullptr) << name;
    EXPECT_EQ(entry.parentName + entry.portName + entry.peerName + entry.deviceName, "") << name;
    EXPECT_EQ(entry.bus, 0) << name;
  }
}

TEST(CacheLookupTest, NothingIsFoundBeforeTheBuild) {
  ResetCache();
  DeviceIndexEntry entry;
  EXPECT_FALSE(LookupDevice("E", entry));
  EXPECT_EQ(LookupDevice("E"), nullptr);
  EXPECT_EQ(LookupPortEntry("E-ep").device, nullptr);
  EXPECT_EQ(LookupPortByDeviceEntry("E").device, nullptr);
  EXPECT_EQ(FindConnectedPort("E").device, nullptr);
}

TEST(CacheLookupTest, ParentObjectsAreFoundByName) {
  LoadHost(MixedHost());
  const auto first = LookupDevice("D")->GetParent();
  const auto second = LookupDevice("D")->GetParent();
  EXPECT_NE(first, second);
  EXPECT_EQ(LookupDevice(first->GetName()), GetDevicesCache()[2].get());
  EXPECT_EQ(LookupDevice(second->GetName()), GetDevicesCache()[2].get());
}

}  // namespace
