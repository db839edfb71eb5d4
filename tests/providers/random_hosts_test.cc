// Thousands of larger hosts and requests: the providers answer as their model.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "providers/comparison.h"
#include "providers/linked_bench.h"
#include "providers/varied_hosts.h"
#include "support/sample_hosts.h"
#include "support/sanitizers.h"

namespace {

constexpr std::uint32_t kHosts = kSanitized ? 150 : 500;
constexpr int kRequests = 60;

// Each its own seeds, so that the cases can run side by side.
class RandomHosts : public ::testing::TestWithParam<std::uint32_t> {
 protected:
  static std::uint32_t FirstSeed() { return 1 + GetParam() * 10000; }

  // Compares on `count` hosts that `make` makes of their seed.
  template <typename MakeHost>
  static Tally Compare(const Bench& bench, std::uint32_t count, MakeHost make) {
    Tally tally;
    for (std::uint32_t seed = FirstSeed(); seed < FirstSeed() + count; ++seed) {
      const std::string difference = CompareOnHost(bench, make(seed), seed, kRequests, tally);
      EXPECT_EQ(difference, "") << "seed " << seed;
      if (!difference.empty()) break;
    }
    EXPECT_EQ(tally.hosts, count);
    RecordProperty("compared", tally.Text());
    return tally;
  }
};

TEST_P(RandomHosts, AnswerAsTheModel) {
  const Tally tally = Compare(LinkedBench(), kHosts, [](std::uint32_t seed) {
    fake::Host host = fake::RandomHost(seed, 12, false);
    Vary(host, seed);
    return host;
  });
  EXPECT_GT(tally.instances, tally.hosts);
}

// Some operations of some devices always fail: in the build, in requests, or in both.
TEST_P(RandomHosts, ThatFailInPlacesAnswerAsTheModel) {
  constexpr const char* kOperations[] = {"GetPhysicalSlot", "GetVendorName",   "GetCapabilities",
                                         "GetParent",       "GetSecondaryBus", "GetRevision",
                                         "GetDeviceId",     "GetFunction"};
  Compare(LinkedBench(), kHosts / 2, [&](std::uint32_t seed) {
    fake::Host host = fake::RandomHost(seed, 10, true);
    Vary(host, seed);
    Dice dice(seed);
    for (fake::Device& device : host.devices) {
      if (dice.OneIn(8)) {
        device.Throws(
            dice.OneOf(kOperations), "broken",
            dice.OneIn(3) ? fake::Thrown::kRuntimeError : fake::Thrown::kHostCtlException);
      }
    }
    return host;
  });
}

TEST_P(RandomHosts, OfWellFormedHierarchiesAnswerAsTheModel) {
  const Tally tally = Compare(LinkedBench(), kHosts, TreeHost);
  EXPECT_GT(tally.paths, tally.hosts);
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomHosts, ::testing::Range(0U, 4U));

class SystemClass : public ::testing::TestWithParam<SystemClassMode> {};

// The object manager knows no hosting system, or refuses to say.
TEST_P(SystemClass, ChangesNothingElse) {
  Tally tally;
  for (std::uint32_t seed = 1; seed <= 100; ++seed) {
    ASSERT_EQ(CompareOnHost(LinkedBench(GetParam()), TreeHost(seed), seed, kRequests, tally), "");
  }
  RecordProperty("compared", tally.Text());
  EXPECT_GT(tally.instances, tally.hosts);
}

INSTANTIATE_TEST_SUITE_P(Modes, SystemClass,
                         ::testing::Values(SystemClassMode::kEmpty, SystemClassMode::kRefused));

}  // namespace
