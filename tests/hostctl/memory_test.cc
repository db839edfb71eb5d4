// Every allocation of a reading of a host fails once, and from then on, the C library's among them:
// an exception or the whole answer comes out, no memory and no file descriptor is left over, and
// the next reading is right.

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <functional>
#include <new>
#include <string>
#include <tuple>
#include <vector>

#include "hostctl/device_text.h"
#include "hostctl/sources.h"
#include "support/failing_allocator.h"

namespace hostctl_test {
namespace {

enum class Outcome { kAnswered, kHostCtlException, kBadAlloc };

// Runs `call` with allocations failing.
Outcome RunFailing(std::size_t n, Fail mode, AllocationReport& report,
                   const std::function<void()>& call) {
  const FailingAllocations failing(n, mode, report);
  try {
    call();
  } catch (const HostCtl::Lib::HostCtlException&) {
    return Outcome::kHostCtlException;
  } catch (const std::bad_alloc&) {
    return Outcome::kBadAlloc;
  }
  return Outcome::kAnswered;
}

enum class Source { kDump, kSysfs };

// Some functions of a switch and some slots, linked from the recorded tree: the whole tree takes
// ten times as many allocations, of the same kinds.
void LinkPartOfRecordedSysfs(const TempFolder& folder) {
  namespace fs = std::filesystem;
  for (const char* name :
       {"devices/0000:00:03.0", "devices/0000:01:00.0", "devices/0000:02:00.0",
        "devices/0000:02:01.0", "devices/0000:03:00.0", "slots/0", "slots/0-3", "slots/2"}) {
    const fs::path link = folder.Path(name);
    fs::create_directories(link.parent_path());
    fs::create_directory_symlink(fs::canonical(fs::path(RecordedSysfs()) / name), link);
  }
}

class ReadingMemoryTest : public testing::TestWithParam<std::tuple<Source, Fail>> {
 protected:
  ReadingMemoryTest() { LinkPartOfRecordedSysfs(folder_); }

  static Devices Read() { return HostCtl::Host::GetHardwareInfo()->GetPciInfo()->GetPciDevices(); }

  const bool is_dump_ = std::get<Source>(GetParam()) == Source::kDump;
  const Fail mode_ = std::get<Fail>(GetParam());
  const TempFolder folder_;
  const ScopedVariable variable_{is_dump_ ? "HOSTCTL_PCI_DUMP" : "HOSTCTL_PCI_SYSFS",
                                 is_dump_ ? RecordedDump() : folder_.Path("")};
};

TEST_P(ReadingMemoryTest, EveryAllocation) {
  const std::vector<std::string> whole = DescribeAll(Read());
  ASSERT_FALSE(whole.empty());
  const std::size_t descriptors = OpenDescriptors();
  const std::size_t live = LiveAllocations();
  int failed_readings = 0;
  std::size_t refused = 0;
  for (std::size_t n = 1;; ++n) {
    AllocationReport report;
    {
      Devices devices;
      const Outcome outcome = RunFailing(n, mode_, report, [&] { devices = Read(); });
      if (report.failed() == 0) break;
      ++failed_readings;
      refused += report.refused;
      // What works with less, or has something put by, asks by a form that does not throw.
      ASSERT_TRUE(outcome != Outcome::kAnswered || report.thrown == 0) << "allocation " << n;
      if (outcome == Outcome::kAnswered) {
        ASSERT_EQ(DescribeAll(devices), whole);
      }
    }
    ASSERT_EQ(OpenDescriptors(), descriptors) << "allocation " << n;
    // Until then the library knows why the one before failed.
    ASSERT_EQ(DescribeAll(Read()), whole) << "after allocation " << n;
    ASSERT_EQ(LiveAllocations(), live) << "allocation " << n;
  }
  EXPECT_GT(failed_readings, 50);
#ifdef OSTREL_FAILING_MALLOC
  EXPECT_GT(refused, 0u) << "the C library asks for memory to list a folder";
#endif
  RecordProperty("failed_readings", failed_readings);
  RecordProperty("refused", std::to_string(refused));
}

INSTANTIATE_TEST_SUITE_P(Sources, ReadingMemoryTest,
                         testing::Combine(testing::Values(Source::kDump, Source::kSysfs),
                                          testing::Values(Fail::kOnce, Fail::kFromThen)),
                         [](const auto& test) {
                           const bool dump = std::get<Source>(test.param) == Source::kDump;
                           const bool once = std::get<Fail>(test.param) == Fail::kOnce;
                           return std::string(dump ? "Dump" : "Sysfs") +
                                  (once ? "Once" : "FromThen");
                         });

TEST(DeviceMemoryTest, EveryAllocationOfADevicesAnswers) {
  const Devices devices = ReadDump(RecordedDump());
  int failed = 0;
  for (const auto& device : devices) {
    const std::string whole = Describe(*device);
    const std::size_t live = LiveAllocations();
    for (std::size_t n = 1;; ++n) {
      AllocationReport report;
      const Outcome outcome = RunFailing(n, Fail::kOnce, report, [&] {
        device->GetName();
        device->GetVendorName();
        device->GetDeviceName();
        device->GetCapabilities();
        device->GetParent();
      });
      if (report.failed() == 0) break;
      ++failed;
      ASSERT_NE(outcome, Outcome::kAnswered);
      ASSERT_EQ(LiveAllocations(), live);
      ASSERT_EQ(Describe(*device), whole);
    }
  }
  EXPECT_GT(failed, static_cast<int>(devices.size()));
}

}  // namespace
}  // namespace hostctl_test
