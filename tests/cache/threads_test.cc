// The cache from many threads: one build, then readers that take no lock.

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "cache/controlled_by.h"
#include "support/cache_reset.h"
#include "support/fake_host.h"
#include "support/sample_hosts.h"

namespace {

constexpr int kThreads = 16;

// Runs the work on all threads, released together.
void RunOnThreads(const std::function<void(int)>& work) {
  std::atomic<int> waiting{kThreads};
  std::vector<std::thread> threads;
  for (int n = 0; n < kThreads; ++n) {
    threads.emplace_back([&, n] {
      --waiting;
      while (waiting != 0) std::this_thread::yield();
      work(n);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

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
    RunOnThreads([&](int n) {
      LoadCache();
      ports[static_cast<std::size_t>(n)] = GetPortsCache().size();
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
  RunOnThreads([&](int n) { seen[static_cast<std::size_t>(n)] = ReadEverything(); });
  EXPECT_EQ(seen, std::vector<std::string>(kThreads, expected));
}

TEST(CacheThreadTest, ThreadsThatLoadAndReadSeeAFinishedCache) {
  const fake::Host host = fake::RandomHost(2, 60, false);
  LoadHost(host);
  const std::string expected = ReadEverything();
  ResetCache();
  fake::Use(host);
  std::vector<std::string> seen(kThreads);
  RunOnThreads([&](int n) {
    LoadCache();
    seen[static_cast<std::size_t>(n)] = ReadEverything();
  });
  EXPECT_EQ(seen, std::vector<std::string>(kThreads, expected));
}

}  // namespace
