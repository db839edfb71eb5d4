// The provider library itself, opened and closed for every host: it answers as the model.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "broker/provider_library.h"
#include "providers/comparison.h"
#include "providers/varied_hosts.h"
#include "support/sample_hosts.h"

namespace {

// A library that was closed starts with an empty cache when it is opened again.
Bench LibraryBench() {
  return {[] { return broker::ProviderLibrary::Open(OSTREL_PROVIDER_LIBRARY); }};
}

TEST(ProviderLibrary, AnswersAsTheModelOnEveryHostItIsOpenedOn) {
  Tally tally;
  for (std::uint32_t seed = 1; seed <= 250; ++seed) {
    ASSERT_EQ(CompareOnHost(LibraryBench(), TreeHost(seed), seed, 60, tally), "");
    fake::Host host = fake::RandomHost(seed, 10, true);
    Vary(host, seed);
    ASSERT_EQ(CompareOnHost(LibraryBench(), host, seed, 60, tally), "");
    ASSERT_EQ(fake::LiveObjects(), fake::Live{}) << "the closed library kept host objects";
  }
  RecordProperty("compared", tally.Text());
  EXPECT_GT(tally.instances, tally.hosts);
}

}  // namespace
