// The cache from many threads: one build, then readers that take no lock.

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "cache/controlled_by.h"
#include "support/cache_reset.h"
#include "support/fake_host.h"
#include "support/on_threads.h"
#include "support/sample_hosts.h"

namespace {

constexpr std::size_t kThreads = 16;

// What a reader sees, asked through every lookup.
std::string ReadEverything() {
  std::string seen = PciGetSystemName();
  for (const std::string& name : GetPortNames()) {
    const PortEntry& port = LookupPortEntry(name);
    seen += name + port.parentName + port.device->GetName();
    const PortEntry& connected = FindConnectedPort(port.parentName);
    seen += connected.portName + BuildPortFromDevice(port.deviceName);
    seen += LookupPortByDeviceEntry(port.deviceName).portName;
    seen += std::to_string(LookupSwitchPorts(port.parentName).size());
    seen += std::to_string(LookupBridgePorts(port.parentName).size());
    seen += LookupControlledByPort(name)->className;
  }
  for (const std::uint8_t bus : GetBusNumbers()) {
    std::vector<const HostCtl::Hardware::PciDevice*> members;
    FindPortsInGroup(bus, members);
    for (const auto* member : members) seen += member->GetName();
  }
  return seen;
}

TEST(CacheThreadTest, ManyFirstLoadsBuildOnce) {
  for (std::uint32_t round = 0; round < 20; ++round) {
    ResetCache();
    fake::Use(fake::RandomHost(round, 30, false));
    std::vector<std::size_t> ports(kThreads);
    OnThreads(kThreads, [&](std::size_t n) {
      LoadCache();
      ports[n] = GetPortsCache().size();
    });
    EXPECT_EQ(fake::CallCount("GetPciDevices"), 1U);
    EXPECT_EQ(fake::CallCount("GetSystemName"), 1U);
    EXPECT_EQ(ports, std::vector<std::size_t>(kThreads, GetPortsCache().size()));
  }
}

TEST(CacheThreadTest, ReadersAllSeeTheSame) {
  LoadHost(fake::RandomHost(1, 60, false));
  const std::string expected = ReadEverything();
  std::vector<std::string> seen(kThreads);
  OnThreads(kThreads, [&](std::size_t n) { seen[n] = ReadEverything(); });
  EXPECT_EQ(seen, std::vector<std::string>(kThreads, expected));
}

TEST(CacheThreadTest, ThreadsThatLoadAndReadSeeAFinishedCache) {
  const fake::Host host = fake::RandomHost(2, 60, false);
  LoadHost(host);
  const std::string expected = ReadEverything();
  ResetCache();
  fake::Use(host);
  std::vector<std::string> seen(kThreads);
  OnThreads(kThreads, [&](std::size_t n) {
    LoadCache();
    seen[n] = ReadEverything();
  });
  EXPECT_EQ(seen, std::vector<std::string>(kThreads, expected));
}

}  // namespace
