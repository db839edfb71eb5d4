// The life of the provider library, over and over: an object manager opens it, many threads ask at
// once for everything while others clean up whatever class is idle and the next request calls its
// factory again, and it is closed. Every answer is the model's, and no round leaves anything
// behind.
//
// A few rounds, or as many as begin within OSTREL_SOAK_SECONDS (script/soak).

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "broker/provider_library.h"
#include "platform/cmpi/cmpi.h"
#include "providers/asked_alone.h"
#include "providers/provider_run.h"
#include "providers/varied_hosts.h"
#include "support/failing_allocator.h"
#include "support/on_threads.h"

namespace {

// Blocks of memory in use; where they cannot be counted, none.
#ifdef COUNT_ALLOCATIONS
constexpr bool kCounted = true;
std::size_t BlocksInUse() { return LiveAllocations(); }
#else
constexpr bool kCounted = false;
std::size_t BlocksInUse() { return 0; }
#endif

constexpr std::size_t kAskers = 4;
constexpr std::size_t kCleaners = 2;
constexpr int kRequests = 150;  // of each thread in a round
// What the test and the object manager make once, when it is first needed, is there after these.
constexpr std::uint32_t kFirstRounds = 30;
constexpr std::uint32_t kFewRounds = 40;

struct Tally {
  std::atomic<std::size_t> requests = 0;
  std::atomic<std::size_t> cleanups = 0;
  std::atomic<std::size_t> cleanups_refused = 0;  // of providers in use
};

bool IsLoaded() {
  void* handle = dlopen(OSTREL_PROVIDER_LIBRARY, RTLD_LAZY | RTLD_NOLOAD);
  if (handle != nullptr) dlclose(handle);
  return handle != nullptr;
}

// Cleans up one provider, as an object manager does with one that has been idle for a while: the
// others go on.
void CleanUpIdle(broker::ObjectManager& manager, Dice& dice, Tally& tally, Finding& finding) {
  const auto kind =
      dice.OneIn(2) ? broker::ProviderKind::kInstance : broker::ProviderKind::kAssociation;
  const char* const provider = dice.OneOf(kProviderClasses);
  const cim::Status status = manager.Cleanup(provider, kind, dice.OneIn(4));
  const bool refused =
      status.code == CMPI_RC_ERR_FAILED && status.message == std::string(provider) + " is in use";
  if (status.code == CMPI_RC_OK) ++tally.cleanups;
  if (refused) ++tally.cleanups_refused;
  if (status.code != CMPI_RC_OK && status.code != CMPI_RC_ERR_NOT_FOUND && !refused) {
    finding.Add(std::string("cleanup of ") + provider + ": " + std::to_string(status.code));
  }
}

// One life of the library. Answers what went wrong.
std::string Live(std::uint32_t seed, Tally& tally) {
  const fake::Host host = seed % 4 == 0 ? RichHost() : TreeHost(seed);
  const std::vector<Asked> asked = AskedAlone(host, seed, kRequests);
  Finding finding;
  ProviderRun run(host, broker::ProviderLibrary::Open(OSTREL_PROVIDER_LIBRARY),
                  SystemClassMode::kServed, false);
  std::atomic<std::size_t> asking = kAskers;
  OnThreads(kAskers + kCleaners, [&](std::size_t thread) {
    if (thread >= kAskers) {
      Dice dice(seed * 100 + static_cast<std::uint32_t>(thread));
      while (asking != 0) CleanUpIdle(run.manager(), dice, tally, finding);
      return;
    }
    for (std::size_t i = 0; i < asked.size(); ++i) {
      finding.Add(AskAgain(run, asked[(i + thread * 37) % asked.size()]));
      ++tally.requests;
    }
    --asking;
  });
  for (const char* provider : kProviderClasses) {
    run.manager().Cleanup(provider, broker::ProviderKind::kAssociation, true);
    run.manager().Cleanup(provider, broker::ProviderKind::kInstance, true);
  }
  // The topology stays for as long as the library does.
  finding.Add(run.Faults(host.devices.size()));
  if (fake::CallCount("GetPciDevices") != 1) finding.Add("the topology was read again");
  return finding.text();
}

std::size_t MibResident() {
  std::size_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages >> pages;
  return pages * 4096 >> 20U;
}

TEST(Soak, RoundAfterRoundAnswersTheSameAndLeavesNothing) {
  const char* const seconds = std::getenv("OSTREL_SOAK_SECONDS");
  const auto end = std::chrono::steady_clock::now() +
                   std::chrono::seconds(seconds != nullptr ? std::stoi(seconds) : 0);
  Tally tally;
  std::size_t allocations = 0;
  std::uint32_t round = 0;
  while (round < kFewRounds || std::chrono::steady_clock::now() < end) {
    ASSERT_EQ(Live(++round, tally), "") << "round " << round;
    ASSERT_FALSE(IsLoaded()) << "after round " << round;
    ASSERT_EQ(fake::LiveObjects(), fake::Live{}) << "after round " << round;
    fake::Use({});  // gives back the round's host
    if (round <= kFirstRounds) allocations = BlocksInUse();
    ASSERT_EQ(allocations != 0, kCounted);
    ASSERT_EQ(BlocksInUse(), allocations) << "after round " << round;
    if (round % 1000 == 0) std::printf("round %u: %zu MiB resident\n", round, MibResident());
  }
  std::printf("%u rounds, %zu requests, %zu cleanups and %zu refused, %zu MiB resident\n", round,
              tally.requests.load(), tally.cleanups.load(), tally.cleanups_refused.load(),
              MibResident());
  EXPECT_GT(tally.cleanups, 0U);
}

}  // namespace
