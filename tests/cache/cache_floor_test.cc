// The floor that the benchmark holds the build of the cache against: it must ask the host what the
// build asks, and keep what the build keeps.

#include "bench/cache_floor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "cache/controlled_by.h"
#include "support/cache_reset.h"
#include "support/fake_host.h"
#include "support/naive_topology.h"
#include "support/sample_hosts.h"

namespace {

using testing::ElementsAreArray;

// The calls that `build` makes of the host.
template <typename Build>
std::vector<std::string> CallsOf(const fake::Host& host, Build build) {
  fake::Use(host);
  fake::TraceCalls(true);
  build();
  std::vector<std::string> calls = fake::Calls();
  fake::TraceCalls(false);
  return calls;
}

// The floor takes names to be distinct.
fake::Host HostOfDistinctNames(std::uint32_t seed) {
  fake::Host host = fake::RandomHost(seed, 20, false);
  std::set<std::string> names;
  for (fake::Device& device : host.devices) {
    while (!names.insert(device.name).second) device.name += '+';
  }
  return host;
}

TEST(CacheFloorTest, AsksAndKeepsWhatTheBuildDoes) {
  for (std::uint32_t seed = 0; seed < 50; ++seed) {
    const fake::Host host = HostOfDistinctNames(seed);
    SCOPED_TRACE(naive::Describe(host));
    ResetCache();
    const std::vector<std::string> calls = CallsOf(host, LoadCache);
    bench::CacheFloor floor;
    ASSERT_THAT(CallsOf(host, [&] { floor.Build(); }), ElementsAreArray(calls));

    ASSERT_EQ(floor.system_name, PciGetSystemName());
    ASSERT_EQ(floor.port_names, GetPortNames());
    ASSERT_EQ(floor.ports.size(), GetPortsCache().size());
    for (std::size_t position = 0; position < floor.ports.size(); ++position) {
      const bench::CacheFloor::Port& port = floor.ports[position];
      const PortEntry& entry = GetPortsCache()[position];
      ASSERT_EQ(port.parent, entry.parentName);
      ASSERT_EQ(port.name, entry.portName);
      ASSERT_EQ(port.peer, entry.peerName);
      ASSERT_EQ(port.device_name, entry.deviceName);
      ASSERT_EQ(port.bus, entry.bus);
      ASSERT_STREQ(port.class_name, GetControlledByCache()[position].className);
    }
    for (const auto& [name, device, port] : floor.names.entries()) {
      ASSERT_EQ(device != bench::NameTable::kNone, LookupDevice(name) != nullptr) << name;
      ASSERT_EQ(port != bench::NameTable::kNone, LookupPortEntry(name).device != nullptr) << name;
    }
  }
}

}  // namespace
