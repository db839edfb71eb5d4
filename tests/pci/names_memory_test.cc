// Every allocation of a look-up of names fails once, and from then on: an exception comes out, no
// memory and no file descriptor is left over, and the next look-up is right.

#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <new>
#include <optional>

#include "pci/names.h"
#include "support/failing_allocator.h"

namespace pci_test {
namespace {

struct Texts {
  std::string vendor, device, class_name;

  bool operator==(const Texts&) const = default;
};

Texts LookUp() {
  pci::NameQuery query;
  const auto vendor = query.Vendor(0x8086), device = query.Device(0x8086, 0x1237);
  const auto class_name = query.Class(0x06fe);
  const pci::Names names = pci::Names::LookUp(query);
  return {names.At(vendor), names.At(device), names.At(class_name)};
}

std::ptrdiff_t OpenDescriptors() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

class NamesMemoryTest : public testing::TestWithParam<Fail> {};

TEST_P(NamesMemoryTest, EveryAllocation) {
  const Texts whole = LookUp();
  ASSERT_EQ(whole.class_name, "Bridge [06fe]");
  const std::ptrdiff_t descriptors = OpenDescriptors();
  const std::size_t live = LiveAllocations();
  std::size_t failed = 0;
  for (std::size_t n = 1;; ++n) {
    AllocationReport report;
    bool thrown = false;
    {
      const FailingAllocations failing(n, GetParam(), report);
      try {
        LookUp();
      } catch (const std::bad_alloc&) {
        thrown = true;
      }
    }
    if (report.failed() == 0) break;
    ++failed;
    ASSERT_TRUE(thrown) << "allocation " << n;
    ASSERT_EQ(LiveAllocations(), live) << "allocation " << n;
    ASSERT_EQ(OpenDescriptors(), descriptors) << "allocation " << n;
    ASSERT_EQ(LookUp(), whole) << "after allocation " << n;
  }
  EXPECT_GT(failed, 5u);
}

INSTANTIATE_TEST_SUITE_P(Failing, NamesMemoryTest, testing::Values(Fail::kOnce, Fail::kFromThen),
                         [](const auto& test) {
                           return test.param == Fail::kOnce ? "Once" : "FromThen";
                         });

}  // namespace
}  // namespace pci_test
