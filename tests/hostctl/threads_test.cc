// Devices are read, and hosts listed, on many threads at once.

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <thread>

#include "hostctl/device_text.h"
#include "hostctl/sources.h"
#include "support/on_threads.h"

namespace hostctl_test {
namespace {

constexpr int kThreads = 8;

TEST(Threads, ShareTheSameDevices) {
  const Devices devices = ReadSysfs(RecordedSysfs());
  const std::vector<std::string> expected = DescribeAll(devices);
  std::atomic<int> different = 0;
  OnThreads(kThreads, [&](std::size_t) {
    for (int round = 0; round < 20; ++round) different += DescribeAll(devices) != expected;
  });
  EXPECT_EQ(different, 0);
}

TEST(Threads, ReadHostsAndFailSideBySide) {
  const TempFolder folder;
  const std::string good = folder.Path("tree");
  folder.Write("tree/devices/0000:00:01.0/vendor", "0x8086\n");
  const ScopedVariable sysfs("HOSTCTL_PCI_SYSFS", good);
  std::atomic<int> failures = 0;
  OnThreads(kThreads, [&](std::size_t) {
    for (int round = 0; round < 20; ++round) {
      try {
        HostCtl::Host::GetHardwareInfo()->GetPciInfo()->GetPciDevices();
      } catch (const HostCtl::Lib::HostCtlException& error) {
        failures += error.message.find("/device: No such file") != std::string::npos;
      }
    }
  });
  EXPECT_EQ(failures, kThreads * 20);
}

TEST(Threads, TheLastUserOfASnapshotMayBeAnyThread) {
  Devices devices = ReadDump(RecordedDump());
  std::vector<std::thread> threads;
  threads.reserve(devices.size());
  for (auto& device : devices) {
    threads.emplace_back([owned = std::move(device)]() mutable {
      auto parent = owned->GetParent();
      owned.reset();
      EXPECT_TRUE(!parent || !parent->GetVendorName().empty());
    });
  }
  devices.clear();
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace hostctl_test
