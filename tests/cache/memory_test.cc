// What survives when an allocation fails during the build: for every allocation in turn, once and
// for good. The build is logged as one that failed and is not done again; all that it leaves leads
// to what it names, and is part of what a whole build makes.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <new>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "cache/controlled_by.h"
#include "cache/observe_cache.h"
#include "cache/topology_cache.h"
#include "support/cache_reset.h"
#include "support/failing_allocator.h"
#include "support/log_capture.h"
#include "support/naive_topology.h"
#include "support/sample_hosts.h"

namespace {

using naive::Position;
using naive::Topology;
using testing::Contains;

constexpr const char* kStarted = "GetPCIData started to analyze and cache HKI PCI data";
constexpr const char* kCaught =
    "Unexpected exception from PCI initialization, reporting may be incomplete.";

template <typename List>
bool IsStart(const List& start, const List& whole) {
  return start.size() <= whole.size() && std::equal(start.begin(), start.end(), whole.begin());
}

template <typename Key, typename List>
bool AreStarts(const std::map<Key, List>& lists, const std::map<Key, List>& whole) {
  return std::all_of(lists.begin(), lists.end(), [&](const auto& entry) {
    const auto found = whole.find(entry.first);
    return found != whole.end() && IsStart(entry.second, found->second);
  });
}

// Whether every position of an index is one of `list`, and name_of(element) its key.
template <typename List, typename NameOf>
bool Leads(const std::map<std::string, Position>& index, const List& list, NameOf name_of) {
  return std::all_of(index.begin(), index.end(), [&](const auto& entry) {
    return entry.second < list.size() && name_of(list[entry.second]) == entry.first;
  });
}

// Where the incomplete topology holds what does not stand in the whole one, or leads elsewhere.
std::string Complaints(const Topology& part, const Topology& whole) {
  std::string text;
  const auto expect = [&](bool holds, const char* what) {
    if (!holds) text += std::string(what) + '\n';
  };
  expect(part.system_name == whole.system_name, "system name");
  expect(part.devices.empty() || part.devices == whole.devices, "devices");
  expect(IsStart(part.ports, whole.ports), "ports");
  expect(part.bus_numbers.empty() || part.bus_numbers == whole.bus_numbers, "bus numbers");
  expect(std::includes(whole.port_names.begin(), whole.port_names.end(), part.port_names.begin(),
                       part.port_names.end()),
         "port names");
  expect(AreStarts(part.bus_members, whole.bus_members), "bus members");
  expect(IsStart(part.switches, whole.switches), "switches");
  expect(IsStart(part.bridges, whole.bridges), "bridges");
  expect(AreStarts(part.bridge_ports, whole.bridge_ports), "bridge ports");
  expect(AreStarts(part.switch_ports, whole.switch_ports), "switch ports");
  expect(IsStart(part.controlled_by, whole.controlled_by), "controlled by");

  const auto port_at = [&](const naive::ControlledBy& record) { return part.ports[record.port]; };
  expect(Leads(part.device_index, part.devices, [](const auto& name) { return name; }),
         "index of devices");
  expect(Leads(part.port_index, part.ports, [](const auto& port) { return port.name; }),
         "index of ports");
  expect(Leads(part.device_ports, part.ports, [](const auto& port) { return port.device_name; }),
         "ports by device");
  expect(Leads(part.controlled_by_port, part.controlled_by,
               [&](const auto& record) { return port_at(record).name; }),
         "controlled by, by port");
  expect(Leads(part.controlled_by_device, part.controlled_by,
               [&](const auto& record) { return part.devices[record.device]; }),
         "controlled by, by device");
  return text;
}

// Of all ports that `name` hosts the first, and the first on the lowest bus, port by port.
std::pair<const PortEntry*, const PortEntry*> HostedPorts(const std::string& name) {
  const PortEntry* first = &LookupPortEntry("");
  const PortEntry* lowest = first;
  for (const PortEntry& entry : GetPortsCache()) {
    if (entry.parentName != name) continue;
    if (first->device == nullptr) first = lowest = &entry;
    if (entry.bus < lowest->bus) lowest = &entry;
  }
  return {first, lowest};
}

// The searches by host know all ports that there are, whatever indexes are missing.
void ExpectSearchesFindWhatThereIs() {
  std::set<std::string> hosts = {"unknown"};
  for (const PortEntry& entry : GetPortsCache()) hosts.insert({entry.parentName, entry.portName});
  for (const std::string& name : hosts) {
    const auto [first, lowest] = HostedPorts(name);
    EXPECT_EQ(&FindHostedPort(name), first) << name;
    EXPECT_EQ(&FindConnectedPort(name), lowest) << name;
  }
}

// The host under names for which a string needs memory; their ends, which tell kinds of ports,
// stay.
fake::Host WithLongNames(fake::Host host) {
  const std::string begin = "a.name.of.more.than.a.few.letters.";
  for (fake::Device& device : host.devices) {
    if (!device.name.empty()) device.name.insert(0, begin);
    if (device.parent && !device.parent->empty()) device.parent->insert(0, begin);
  }
  return host;
}

struct Build {
  AllocationReport report;
  bool threw = false;
  std::vector<LogLine> log;
};

// Builds anew; the n-th allocation fails.
Build BuildFailing(std::size_t n, Fail mode) {
  ResetCache();
  Build build;
  const LogCapture log;
  {
    const FailingAllocations failing(n, mode, build.report);
    try {
      LoadCache();
    } catch (const std::bad_alloc&) {
      build.threw = true;
    }
  }
  build.log = log.Lines();
  return build;
}

class CacheMemoryTest : public testing::TestWithParam<Fail> {
 protected:
  CacheMemoryTest() {
    AroundCapture(AllocationPause::Bracket);
    const LogCapture first;  // takes what all captures share, and keeps it
  }
  ~CacheMemoryTest() override { AroundCapture(nullptr); }

  // The exception has left the build: nothing but the fetching of the name was done.
  static void ExpectBuildsAgain(const Topology& whole) {
    EXPECT_STREQ(PciGetSystemName(), "");
    LoadCache();
    EXPECT_EQ(ObserveCache(), whole);
  }

  // All is there but, maybe, the index of hosts, which only the searches know of.
  static void ExpectWhole(const Topology& whole) {
    EXPECT_EQ(ObserveCache(), whole);
    ExpectSearchesFindWhatThereIs();
  }

  static void ExpectIncomplete(const Build& build, const Topology& whole) {
    EXPECT_THAT(build.log, Contains(LogLine{LOG_DEBUG, kStarted}).Times(1));
    EXPECT_THAT(build.log, Contains(LogLine{LOG_ERR, kCaught}).Times(1));
    EXPECT_EQ(build.log.back().text.find("*** GetPCIData loaded, "), 0U);
    EXPECT_EQ(Complaints(ObserveCache(), whole), "");
    ExpectSearchesFindWhatThereIs();
    const std::size_t calls = fake::CallCount();
    LoadCache();
    EXPECT_EQ(fake::CallCount(), calls);
  }

  // Every allocation of the build in turn.
  void FailEachAllocation(const fake::Host& host) {
    std::vector<LogLine> whole_log;
    {
      const LogCapture log;
      LoadHost(host);
      whole_log = log.Lines();
    }
    const Topology whole = ObserveCache();
    for (std::size_t n = 1;; ++n) {
      ResetCache();
      const std::size_t live = LiveAllocations();
      {
        const Build build = BuildFailing(n, GetParam());
        if (build.report.failed() == 0) return;
        ++failed_builds_;
        if (build.threw) {
          ExpectBuildsAgain(whole);
        } else if (build.log == whole_log) {
          ExpectWhole(whole);
        } else {
          ExpectIncomplete(build, whole);
        }
      }
      ResetCache();
      ASSERT_EQ(LiveAllocations(), live);
      ASSERT_EQ(fake::LiveObjects(), fake::Live{});
      ASSERT_FALSE(HasFailure()) << "allocation " << n << " of\n" << naive::Describe(host);
    }
  }

  int failed_builds_ = 0;
};

TEST_P(CacheMemoryTest, EveryAllocationOfEverySmallHost) {
  for (std::size_t kind = 0; kind < fake::SampleKinds().size(); ++kind) {
    fake::ForEachHost(kind, 2, [&](const fake::Host& host) {
      if (!HasFailure()) FailEachAllocation(WithLongNames(host));
    });
  }
  EXPECT_GT(failed_builds_, 1000);
  RecordProperty("failed_builds", failed_builds_);
}

TEST_P(CacheMemoryTest, EveryAllocationOfSomeLargerHosts) {
  for (std::uint32_t seed = 0; seed < 40; ++seed) {
    FailEachAllocation(WithLongNames(fake::RandomHost(seed, 12, false)));
    if (HasFailure()) return;
  }
  EXPECT_GT(failed_builds_, 100);
  RecordProperty("failed_builds", failed_builds_);
}

INSTANTIATE_TEST_SUITE_P(Modes, CacheMemoryTest, testing::Values(Fail::kOnce, Fail::kFromThen),
                         [](const auto& test) {
                           return test.param == Fail::kOnce ? "Once" : "FromThen";
                         });

}  // namespace
