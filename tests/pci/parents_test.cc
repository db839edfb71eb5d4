// Parents, where bus numbers alone tell them.

#include <gtest/gtest.h>

#include <map>

#include "pci/hosts.h"

namespace pci_test {
namespace {

std::string Address(unsigned domain, unsigned bus, unsigned device) {
  char text[32];
  std::snprintf(text, sizeof text, "%04x:%02x:%02x.0", domain, bus, device);
  return text;
}

Function Bridge(const std::string& address, unsigned secondary, unsigned subordinate) {
  return Endpoint(address).Bridge(secondary, subordinate);
}

TEST(Parents, TheDeepestBridgeAroundABusIsTheParent) {
  const pci::Host host = ReadDumpOf({
      Bridge("0000:00:01.0", 1, 9),
      Bridge("0000:01:00.0", 2, 8),
      Bridge("0000:02:00.0", 3, 3),
      Bridge("0000:02:01.0", 4, 6),
      Endpoint("0000:03:00.0"),
      Endpoint("0000:05:00.0"),
      Endpoint("0000:09:00.0"),
      Endpoint("0000:0a:00.0"),
  });
  EXPECT_EQ(ParentOf(host, "0000:00:01.0"), "none");
  EXPECT_EQ(ParentOf(host, "0000:01:00.0"), "0000:00:01.0");
  EXPECT_EQ(ParentOf(host, "0000:02:01.0"), "0000:01:00.0");
  EXPECT_EQ(ParentOf(host, "0000:03:00.0"), "0000:02:00.0");
  EXPECT_EQ(ParentOf(host, "0000:05:00.0"), "0000:02:01.0") << "a bus of virtual functions";
  EXPECT_EQ(ParentOf(host, "0000:09:00.0"), "0000:00:01.0");
  EXPECT_EQ(ParentOf(host, "0000:0a:00.0"), "none");
}

TEST(Parents, ABridgeHoldsBusesOfItsOwnDomainOnly) {
  const pci::Host host = ReadDumpOf({
      Bridge("0000:00:01.0", 1, 9),
      Endpoint("0001:01:00.0"),
      Bridge("10000:00:01.0", 1, 1),
      Endpoint("10000:01:00.0"),
  });
  EXPECT_EQ(ParentOf(host, "0001:01:00.0"), "none");
  EXPECT_EQ(ParentOf(host, "10000:01:00.0"), "10000:00:01.0");
}

TEST(Parents, ABridgeThatNamesItselfIsNobodysParent) {
  const pci::Host host = ReadDumpOf({Bridge("0000:01:00.0", 1, 1), Endpoint("0000:01:01.0")});
  EXPECT_EQ(ParentOf(host, "0000:01:00.0"), "none");
  EXPECT_EQ(ParentOf(host, "0000:01:01.0"), "none");
}

TEST(Parents, BridgesThatNameEachOtherMakeNoCycle) {
  const pci::Host host = ReadDumpOf({Bridge("0000:01:00.0", 2, 3), Bridge("0000:02:00.0", 1, 3)});
  EXPECT_EQ(ParentOf(host, "0000:02:00.0"), "0000:01:00.0");
  EXPECT_EQ(ParentOf(host, "0000:01:00.0"), "none");
}

TEST(Parents, ABridgeThatIsNotSetUpHoldsNothing) {
  const pci::Host host = ReadDumpOf(
      {Bridge("0000:00:01.0", 0, 0), Bridge("0000:00:02.0", 5, 4), Endpoint("0000:05:00.0")});
  EXPECT_EQ(ParentOf(host, "0000:05:00.0"), "none");
}

// The rule once more, as it is said: of all bridges around the bus, the one that begins last, then
// the one that ends first, then the first one.
std::string SlowParent(const pci::Host& host, const pci::Function& child) {
  const pci::Function* best = nullptr;
  for (const pci::Function& bridge : host.functions()) {
    const unsigned bus = child.address.bus;
    const auto [begin, end] = bridge.buses;
    const bool around = bridge.address.domain == child.address.domain &&
                        begin > bridge.address.bus && begin <= bus && bus <= end;
    if (!around) continue;
    const bool deeper = !best || begin > best->buses.secondary ||
                        (begin == best->buses.secondary && end < best->buses.subordinate);
    if (deeper) best = &bridge;
  }
  return best ? FormatAddress(best->address) : "none";
}

TEST(Parents, RandomBusNumbersFollowTheRule) {
  Random random(7);
  for (int round = 0; round < 100; ++round) {
    std::map<std::string, Function> by_address;
    for (unsigned i = 0, count = 1 + random.Below(30); i < count; ++i) {
      const std::string address = Address(random.Below(2), random.Below(8), random.Below(4));
      by_address.insert_or_assign(address, Bridge(address, random.Below(9), random.Below(9)));
    }
    std::vector<Function> functions;
    for (const auto& [address, function] : by_address) functions.push_back(function);
    const pci::Host host = ReadDumpOf(functions);
    EXPECT_EQ(Complaints(host), "");
    ASSERT_EQ(host.functions().size(), functions.size());
    for (const pci::Function& function : host.functions()) {
      const std::string address = FormatAddress(function.address);
      EXPECT_EQ(ParentOf(host, address), SlowParent(host, function));
    }
  }
}

}  // namespace
}  // namespace pci_test
