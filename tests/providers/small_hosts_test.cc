// Every small host of the sample kinds: the providers answer as their model.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "providers/comparison.h"
#include "providers/linked_bench.h"
#include "providers/varied_hosts.h"
#include "support/sample_hosts.h"
#include "support/sanitizers.h"

namespace {

class SmallHosts : public ::testing::TestWithParam<std::size_t> {};

TEST_P(SmallHosts, AnswerAsTheModel) {
  constexpr int kPerHost = kSanitized ? 20 : 60;
  const Bench bench = LinkedBench();
  Tally tally;
  std::string difference;
  auto seed = static_cast<std::uint32_t>(GetParam() * 100000);
  fake::ForEachHost(GetParam(), 3, [&](const fake::Host& sample) {
    if (!difference.empty()) return;
    fake::Host host = sample;
    Vary(host, ++seed);
    difference = CompareOnHost(bench, host, seed, kPerHost, tally);
  });
  RecordProperty("compared", tally.Text());
  EXPECT_EQ(difference, "");
  EXPECT_GE(tally.hosts, 1U + 12 + 144);
  EXPECT_GT(tally.instances, tally.hosts);
}

// Of the hosts with four devices, some.
TEST_P(SmallHosts, OfFourDevicesAnswerAsTheModel) {
  constexpr std::uint32_t kEvery = kSanitized ? 17 : 5;
  constexpr int kPerHost = kSanitized ? 10 : 25;
  const Bench bench = LinkedBench();
  Tally tally;
  std::string difference;
  auto seed = static_cast<std::uint32_t>(GetParam() * 100000 + 50000);
  fake::ForEachHost(GetParam(), 4, [&](const fake::Host& sample) {
    ++seed;
    if (!difference.empty() || sample.devices.size() < 4 || seed % kEvery != 0) return;
    fake::Host host = sample;
    Vary(host, seed);
    difference = CompareOnHost(bench, host, seed, kPerHost, tally);
  });
  RecordProperty("compared", tally.Text());
  EXPECT_EQ(difference, "");
  EXPECT_GE(tally.hosts, 12U * 12 * 12 / kEvery - 10);
}

INSTANTIATE_TEST_SUITE_P(FirstKind, SmallHosts, ::testing::Range(std::size_t{0}, std::size_t{12}));

TEST(SampleKinds, AreAllUsed) { EXPECT_EQ(fake::SampleKinds().size(), 12U); }

}  // namespace
