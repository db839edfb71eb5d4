// The cache against the naive model: every host of up to four devices of a set of kinds, and random
// larger hosts. A difference is shown for the smallest host that has it.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "cache/observe_cache.h"
#include "support/naive_topology.h"
#include "support/sample_hosts.h"
#include "support/sanitizers.h"

namespace {

// The difference on the smallest host that shows one.
std::string Explain(const fake::Host& host, bool dump_file = false) {
  const fake::Host smallest = fake::Shrink(host, [&](const fake::Host& smaller) {
    return !CompareWithModel(smaller, {}, dump_file).empty();
  });
  return naive::Describe(smallest) + CompareWithModel(smallest, {}, dump_file);
}

class EverySmallHostTest : public testing::TestWithParam<std::size_t> {};

TEST_P(EverySmallHostTest, AgreesWithTheModel) {
  fake::ForEachHost(GetParam(), kSanitized ? 3 : 4, [](const fake::Host& host) {
    if (HasFailure()) return;  // one explained difference is enough
    ASSERT_EQ(CompareWithModel(host), "") << Explain(host);
  });
}

INSTANTIATE_TEST_SUITE_P(FirstKind, EverySmallHostTest,
                         testing::Range<std::size_t>(0, fake::SampleKinds().size()));

class RandomHostTest : public testing::TestWithParam<std::uint32_t> {};

TEST_P(RandomHostTest, AgreesWithTheModel) {
  constexpr std::uint32_t kHostsPerCase = 500;
  for (std::uint32_t n = 0; n < kHostsPerCase; n += kSanitized ? 3 : 1) {
    const std::uint32_t seed = GetParam() * kHostsPerCase + n;
    const fake::Host host = fake::RandomHost(seed, 60, seed % 2 == 1);
    const bool dump_file = seed % 5 == 0;
    ASSERT_EQ(CompareWithModel(host, {}, dump_file), "") << "seed " << seed << '\n'
                                                         << Explain(host, dump_file);
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomHostTest, testing::Range<std::uint32_t>(0, 6));

// The comparison itself must be able to fail.
TEST(ComparisonTest, TellsWhatDiffers) {
  const fake::Host host = fake::Host().Add(fake::Endpoint("e"));
  naive::Model model(host);
  naive::Topology other = model.Build();
  other.bus_numbers = {9};
  EXPECT_EQ(naive::Difference(naive::Describe(model.topology()), naive::Describe(other)),
            "- bus 0\n+ bus 9\n");
}

TEST(ComparisonTest, ShrinksToTheDevicesThatMatter) {
  fake::Host host;
  for (const char* name : {"a", "b", "c", "b", "d"}) host.Add(fake::Endpoint(name));
  const fake::Host smallest = fake::Shrink(host, [](const fake::Host& candidate) {
    int count = 0;
    for (const fake::Device& device : candidate.devices) count += device.name == "b" ? 1 : 0;
    return count == 2;
  });
  ASSERT_EQ(smallest.devices.size(), 2U);
  EXPECT_EQ(smallest.devices[0].name, "b");
  EXPECT_EQ(smallest.devices[1].name, "b");
}

}  // namespace
