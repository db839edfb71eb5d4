// What the tree comes to hold where the host control library is another platform's: CIM is all
// there is to ask.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>

#include "support/fake_host.h"
#include "tool/errors.h"
#include "tool/session.h"
#include "tool/topology_walk.h"

namespace tool {
namespace {

using testing::ElementsAre;
using testing::Pair;

using Parents = std::map<std::string, std::string>;  // a function's identifier to its parent's

class TopologyWalk : public testing::Test {
 protected:
  ~TopologyWalk() override { fake::Use({}); }

  Topology Walked(const WalkOptions& options = {}) {
    fake::Use(host_);
    Session session({PROVIDER_LIBRARY, "this-machine"});
    EXPECT_EQ(session.host(), nullptr);
    return WalkTopology(session, options);
  }

  // As drawn: of functions that the tree holds below the parent that they name.
  static void Collect(const Topology& topology, const std::vector<std::size_t>& places,
                      const std::string& parent, Parents& parents) {
    for (const std::size_t place : places) {
      const Function& function = topology.functions[place];
      EXPECT_TRUE(parents.emplace(function.id, parent).second) << function.id << " stands twice";
      Collect(topology, function.children, function.id, parents);
    }
  }
  static Parents ParentsIn(const Topology& topology) {
    Parents parents;
    for (const RootBus& root : topology.roots) Collect(topology, root.functions, "", parents);
    EXPECT_EQ(parents.size(), topology.functions.size());
    return parents;
  }

  // Of the kernel's form, its numbers taken from there.
  static fake::Device At(fake::Device device) {
    const std::string& name = device.name;
    const auto number = [&](std::size_t from_end, std::size_t digits) {
      return std::stoi(name.substr(name.size() - from_end, digits), nullptr, 16);
    };
    device.Segment(std::stoi(name, nullptr, 16));
    return device.At(number(7, 2), number(4, 2), number(1, 1));
  }

  fake::Host host_;
};

TEST_F(TopologyWalk, FindsARootBusWithHostBridgesOnly) {
  host_.Add(At(fake::Endpoint("0000:00:02.0")))
      .Add(At(fake::HostBridge("0000:ff:00.0")))
      .Add(At(fake::HostBridge("0000:ff:00.1")))
      .Add(At(fake::HostBridge("0000:ff:06.3")));
  EXPECT_THAT(ParentsIn(Walked()), ElementsAre(Pair("0000:00:02.0", ""), Pair("0000:ff:00.0", ""),
                                               Pair("0000:ff:00.1", ""), Pair("0000:ff:06.3", "")));
}

TEST_F(TopologyWalk, FindsABridgeWithoutPortsWhoseDeviceHasNoOtherFunction) {
  host_.Add(At(fake::Endpoint("0000:00:02.0")))
      .Add(At(fake::Named("0000:00:1f.3").ClassCode(0x0601)))
      .Add(At(fake::PciBridge("0000:00:1c.0").Secondary(1)))
      .Add(At(fake::HostBridge("0000:01:00.7").Parent("0000:00:1c.0")));
  const Topology topology = Walked();
  EXPECT_THAT(ParentsIn(topology),
              ElementsAre(Pair("0000:00:02.0", ""), Pair("0000:00:1c.0", ""),
                          Pair("0000:00:1f.3", ""), Pair("0000:01:00.7", "0000:00:1c.0")));
  EXPECT_EQ(topology.functions[2].kind, FunctionKind::kBridge);
  EXPECT_EQ(topology.functions[2].class_name, "ISA bridge");
}

TEST_F(TopologyWalk, FindsHostBridgesOfAHostWithNothingElse) {
  host_.Add(At(fake::HostBridge("0000:00:00.0")));
  EXPECT_THAT(ParentsIn(Walked()), ElementsAre(Pair("0000:00:00.0", "")));
}

TEST_F(TopologyWalk, FindsDownstreamPortsWithAndWithoutAParent) {
  host_.Add(At(fake::SwitchUpstream("0000:01:00.0")))
      .Add(At(fake::SwitchDownstream("0000:02:00.0").Parent("0000:01:00.0").Secondary(3)))
      .Add(At(fake::PcieEndpoint("0000:03:00.0").Parent("0000:02:00.0")))
      .Add(At(fake::SwitchDownstream("0000:05:01.0")));
  const Topology topology = Walked();
  EXPECT_THAT(ParentsIn(topology),
              ElementsAre(Pair("0000:01:00.0", ""), Pair("0000:02:00.0", "0000:01:00.0"),
                          Pair("0000:03:00.0", "0000:02:00.0"), Pair("0000:05:01.0", "")));
  EXPECT_EQ(topology.functions[0].kind, FunctionKind::kSwitch);
  EXPECT_EQ(topology.functions[1].kind, FunctionKind::kDownstreamPort);
  EXPECT_EQ(topology.functions[2].kind, FunctionKind::kDevice);
  EXPECT_EQ(topology.functions[3].kind, FunctionKind::kDownstreamPort);
}

TEST_F(TopologyWalk, ShowsTheBusesInUse) {
  host_.Add(At(fake::RootPort("0000:00:01.0").Secondary(1)))
      .Add(At(fake::SwitchUpstream("0000:01:00.0").Parent("0000:00:01.0")))
      .Add(At(fake::SwitchDownstream("0000:02:00.0").Parent("0000:01:00.0")))
      .Add(At(fake::PcieEndpoint("0000:03:00.0").Parent("0000:02:00.0")))
      .Add(At(fake::RootPort("0000:00:02.0").Secondary(7)));
  const Topology topology = Walked();
  EXPECT_EQ(topology.functions[0].buses, (BusRange{1, 3}));
  EXPECT_EQ(topology.functions[1].buses, (BusRange{7, 7}));
  EXPECT_EQ(topology.functions[2].buses, (BusRange{2, 3}));
  EXPECT_EQ(topology.functions[3].buses, (BusRange{3, 3}));
  EXPECT_EQ(topology.functions[4].buses, std::nullopt);
}

TEST_F(TopologyWalk, SortsDomainsByTheirWholeNumber) {
  host_.Add(At(fake::Endpoint("10000:e1:00.0")))
      .Add(At(fake::Endpoint("ffff:00:00.0")))
      .Add(At(fake::Endpoint("0001:00:00.0")));
  const Topology topology = Walked();
  ASSERT_EQ(topology.roots.size(), 3U);
  EXPECT_EQ(topology.roots[0].id, "0001:00");
  EXPECT_EQ(topology.roots[1].id, "ffff:00");
  EXPECT_EQ(topology.roots[2].id, "10000:e1");
  EXPECT_EQ(topology.functions[2].domain, 0x10000U);
}

TEST_F(TopologyWalk, TakesIdentifiersThatAreNoAddresses) {
  host_.Add(fake::RootPort("port a").Secondary(1))
      .Add(fake::PcieEndpoint("card").Bus(1).Parent("port a").Slot(3))
      .Add(fake::HostBridge("host"))
      .Add(fake::PcieEndpoint("onboard").Parent("host"));
  const Topology topology = Walked();
  EXPECT_THAT(ParentsIn(topology), ElementsAre(Pair("card", "port a"), Pair("host", ""),
                                               Pair("onboard", "host"), Pair("port a", "")));
  const auto card = std::find_if(topology.functions.begin(), topology.functions.end(),
                                 [](const Function& function) { return function.id == "card"; });
  EXPECT_EQ(card->slot, "3");
  EXPECT_EQ(card->physical_slot, 3U);
}

TEST_F(TopologyWalk, KeepsOneOfEqualIdentifiers) {
  host_.Add(At(fake::PciBridge("0000:00:01.0"))).Add(At(fake::Endpoint("0000:00:01.0")));
  EXPECT_EQ(Walked({.ports = true, .buses = true}).functions.size(), 1U);
}

TEST_F(TopologyWalk, GivesEveryFunctionItsPorts) {
  host_.Add(At(fake::RootPort("0000:00:01.0").Secondary(1)))
      .Add(At(fake::PcieEndpoint("0000:01:00.0").Parent("0000:00:01.0")));
  const Topology topology = Walked({.ports = true});
  ASSERT_EQ(topology.functions[0].ports.size(), 2U);
  EXPECT_EQ(topology.functions[0].ports[0].id, "0000:00:01.0-pri");
  EXPECT_EQ(topology.functions[0].ports[1].id, "0000:00:01.0-sec");
  EXPECT_EQ(topology.functions[0].ports[1].bus, 1U);
  ASSERT_EQ(topology.functions[1].ports.size(), 1U);
  EXPECT_EQ(topology.functions[1].ports[0].type, 152U);
}

TEST_F(TopologyWalk, IsOfTheSystemThatTheProvidersName) {
  host_.SystemName("Acme-Rack-1");
  EXPECT_EQ(Walked().system_name, "acme-rack-1");
  host_.Add(At(fake::Endpoint("0000:00:02.0")));
  EXPECT_EQ(Walked().system_name, "acme-rack-1");
}

TEST_F(TopologyWalk, LeavesTheServedSystemTheSameName) {
  fake::Use(host_.SystemName("Acme-Rack-1"));
  Session session({PROVIDER_LIBRARY, "this-machine"});
  EXPECT_EQ(session.ManagerForThreads().SystemPath(), session.system());
  EXPECT_EQ(*session.system().Key("Name"), cim::Value("acme-rack-1"));
}

TEST_F(TopologyWalk, IsOfTheNamedSystemWhereTheProvidersCannotTell) {
  host_.Throws("GetSystemName", "no name");
  fake::Use(host_);
  testing::internal::CaptureStderr();
  Session session({PROVIDER_LIBRARY, "this-machine"});
  EXPECT_EQ(*session.system().Key("Name"), cim::Value("this-machine"));
  EXPECT_THROW(WalkTopology(session, {}), CommandError);
  testing::internal::GetCapturedStderr();
}

// A switch that is asked for as a switch is answered with the number of its ports, which goes
// through the whole host.
TEST_F(TopologyWalk, AsksTheHostInProportionToItsSize) {
  const auto calls = [&](int switches) {
    host_ = {};
    for (int i = 0; i < switches; ++i) {
      const std::string domain = "000" + std::to_string(i);
      host_.Add(At(fake::SwitchUpstream(domain + ":01:00.0")))
          .Add(At(fake::SwitchDownstream(domain + ":02:00.0").Parent(domain + ":01:00.0")));
    }
    EXPECT_EQ(Walked().functions.size(), 2U * static_cast<unsigned>(switches));
    return fake::CallCount();
  };
  const std::size_t of_two = calls(2);
  EXPECT_LE(calls(8), 4 * of_two);
}

}  // namespace
}  // namespace tool
