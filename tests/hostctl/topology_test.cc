// Parents, where bus numbers alone tell them.

#include <gtest/gtest.h>

#include <map>

#include "hostctl/expectations.h"
#include "hostctl/sources.h"

namespace hostctl_test {
namespace {

std::string Address(unsigned domain, unsigned bus, unsigned device) {
  char text[32];
  std::snprintf(text, sizeof text, "%04x:%02x:%02x.0", domain, bus, device);
  return text;
}

Function Bridge(const std::string& address, unsigned secondary, unsigned subordinate) {
  return Endpoint(address).Bridge(secondary, subordinate);
}

std::string ParentOf(const Devices& devices, const std::string& name) {
  const auto* device = Find(devices, name);
  const auto parent = device ? device->GetParent() : nullptr;
  return parent ? parent->GetName() : "none";
}

TEST(Topology, TheDeepestBridgeAroundABusIsTheParent) {
  const Devices devices = ReadDumpOf({
      Bridge("0000:00:01.0", 1, 9),
      Bridge("0000:01:00.0", 2, 8),
      Bridge("0000:02:00.0", 3, 3),
      Bridge("0000:02:01.0", 4, 6),
      Endpoint("0000:03:00.0"),
      Endpoint("0000:05:00.0"),
      Endpoint("0000:09:00.0"),
      Endpoint("0000:0a:00.0"),
  });
  EXPECT_EQ(ParentOf(devices, "0000:00:01.0"), "none");
  EXPECT_EQ(ParentOf(devices, "0000:01:00.0"), "0000:00:01.0");
  EXPECT_EQ(ParentOf(devices, "0000:02:01.0"), "0000:01:00.0");
  EXPECT_EQ(ParentOf(devices, "0000:03:00.0"), "0000:02:00.0");
  EXPECT_EQ(ParentOf(devices, "0000:05:00.0"), "0000:02:01.0") << "a bus of virtual functions";
  EXPECT_EQ(ParentOf(devices, "0000:09:00.0"), "0000:00:01.0");
  EXPECT_EQ(ParentOf(devices, "0000:0a:00.0"), "none");
}

TEST(Topology, ABridgeHoldsBusesOfItsOwnDomainOnly) {
  const Devices devices = ReadDumpOf({
      Bridge("0000:00:01.0", 1, 9),
      Endpoint("0001:01:00.0"),
      Bridge("10000:00:01.0", 1, 1),
      Endpoint("10000:01:00.0"),
  });
  EXPECT_EQ(ParentOf(devices, "0001:01:00.0"), "none");
  EXPECT_EQ(ParentOf(devices, "10000:01:00.0"), "10000:00:01.0");
  EXPECT_EQ(Find(devices, "10000:01:00.0")->GetSegment(), 0) << "the low 16 bits";
}

TEST(Topology, ABridgeThatNamesItselfIsNobodysParent) {
  const Devices devices = ReadDumpOf({Bridge("0000:01:00.0", 1, 1), Endpoint("0000:01:01.0")});
  EXPECT_EQ(ParentOf(devices, "0000:01:00.0"), "none");
  EXPECT_EQ(ParentOf(devices, "0000:01:01.0"), "none");
}

TEST(Topology, BridgesThatNameEachOtherMakeNoCycle) {
  const Devices devices = ReadDumpOf({Bridge("0000:01:00.0", 2, 3), Bridge("0000:02:00.0", 1, 3)});
  EXPECT_EQ(ParentOf(devices, "0000:02:00.0"), "0000:01:00.0");
  EXPECT_EQ(ParentOf(devices, "0000:01:00.0"), "none");
}

TEST(Topology, ABridgeThatIsNotSetUpHoldsNothing) {
  const Devices devices = ReadDumpOf(
      {Bridge("0000:00:01.0", 0, 0), Bridge("0000:00:02.0", 5, 4), Endpoint("0000:05:00.0")});
  EXPECT_EQ(ParentOf(devices, "0000:05:00.0"), "none");
}

// The rule once more, as it is said: of all bridges around the bus, the one that begins last, then
// the one that ends first, then the first one.
std::string SlowParent(const Devices& all, const std::vector<Function>& functions,
                       const HostCtl::Hardware::PciDevice& child) {
  const HostCtl::Hardware::PciDevice* best = nullptr;
  unsigned best_end = 0;
  for (std::size_t i = 0; i < all.size(); ++i) {
    const auto& bridge = *all[i];
    const unsigned end = static_cast<std::uint8_t>(functions[i].Config()[0x1a]);
    const bool around = bridge.GetSegment() == child.GetSegment() &&
                        bridge.GetSecondaryBus() > bridge.GetBus() &&
                        bridge.GetSecondaryBus() <= child.GetBus() && child.GetBus() <= end;
    if (!around) continue;
    const bool deeper = !best || bridge.GetSecondaryBus() > best->GetSecondaryBus() ||
                        (bridge.GetSecondaryBus() == best->GetSecondaryBus() && end < best_end);
    if (deeper) best = &bridge, best_end = end;
  }
  return best ? best->GetName() : "none";
}

TEST(Topology, RandomBusNumbersFollowTheRule) {
  Random random(7);
  for (int round = 0; round < 100; ++round) {
    std::map<std::string, Function> by_address;
    for (unsigned i = 0, count = 1 + random.Below(30); i < count; ++i) {
      const std::string address = Address(random.Below(2), random.Below(8), random.Below(4));
      by_address.insert_or_assign(address, Bridge(address, random.Below(9), random.Below(9)));
    }
    std::vector<Function> functions;
    for (const auto& [address, function] : by_address) functions.push_back(function);
    const Devices devices = ReadDumpOf(functions);
    ExpectSensible(devices);
    ASSERT_EQ(devices.size(), functions.size());
    for (const auto& device : devices) {
      EXPECT_EQ(ParentOf(devices, device->GetName()), SlowParent(devices, functions, *device));
    }
  }
}

}  // namespace
}  // namespace hostctl_test
