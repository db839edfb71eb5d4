// The host control library fails at one call after another, while the cache is built and during
// requests: what was returned stays, log lines and statuses are those of the model, and nothing is
// left over.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "providers/linked_pair.h"
#include "providers/request_pool.h"
#include "providers/varied_hosts.h"

namespace {

using fake::Thrown;
using Pair = LinkedPair;

std::vector<naive::Request> RequestsOf(const std::string& class_name) {
  std::vector<naive::Request> requests = RequestPool::OrdinaryRequests(RichHost());
  std::erase_if(requests,
                [&](const naive::Request& request) { return request.class_name != class_name; });
  return requests;
}

bool StartsWith(const std::vector<naive::Event>& events, const std::vector<naive::Event>& start) {
  return start.size() <= events.size() && std::equal(start.begin(), start.end(), events.begin());
}

class RequestFaults : public ::testing::TestWithParam<const char*> {
 protected:
  // Asks again and again, one call later failing each time, until none fails.
  static void FailAtEveryCall(Pair& pair, const naive::Request& request, Thrown thrown) {
    ASSERT_EQ(pair.Ask(request), "");
    const naive::Answer whole = pair.actual();
    for (std::size_t n = 1; n <= pair.calls(); ++n) {
      pair.FailAt({n}, thrown);
      ASSERT_EQ(pair.Ask(request), "") << "call " << n << " fails";
      if (thrown == Thrown::kRuntimeError) ExpectPartOf(whole, pair.actual(), n);
      pair.FailNever();
      ASSERT_EQ(pair.Ask(request), "") << "after call " << n << " failed";
    }
  }

  // No operation catches what the interface rules out.
  static void ExpectPartOf(const naive::Answer& whole, const naive::Answer& part, std::size_t n) {
    EXPECT_EQ(part.code, CMPI_RC_ERR_FAILED);
    EXPECT_EQ(part.message, "injected failure at call " + std::to_string(n));
    EXPECT_TRUE(StartsWith(whole.events, part.events)) << "call " << n;
    EXPECT_TRUE(whole.events.empty() || part.events.size() < whole.events.size()) << "call " << n;
  }
};

TEST_P(RequestFaults, EndARequestAsTheModelSays) {
  Pair pair(RichHost());
  ASSERT_EQ(pair.Ask(RequestsOf("Ostrel_PCIPortGroup").front()), "");  // builds the cache
  std::size_t failures = 0;
  for (const naive::Request& request : RequestsOf(GetParam())) {
    ASSERT_EQ(pair.Ask(request), "");
    failures += pair.calls();
    FailAtEveryCall(pair, request, Thrown::kHostCtlException);
    if (HasFatalFailure()) return;
    FailAtEveryCall(pair, request, Thrown::kRuntimeError);
    if (HasFatalFailure()) return;
  }
  // Port groups and their system are answered from the cache alone.
  const std::string class_name = GetParam();
  const bool asks_host =
      class_name != "Ostrel_PCIPortGroup" && class_name != "Ostrel_PCIHostedCollection";
  EXPECT_EQ(failures > 0, asks_host);
}

INSTANTIATE_TEST_SUITE_P(Classes, RequestFaults, ::testing::ValuesIn(kProviderClasses),
                         [](const auto& test) { return std::string(test.param); });

class BuildFaults : public ::testing::TestWithParam<Thrown> {
 protected:
  static std::size_t CallsOfBuild() {
    Pair pair(RichHost());
    EXPECT_EQ(pair.Ask(RequestsOf("Ostrel_PCIPortGroup").front()), "");
    return pair.calls();
  }
};

// The provider of every class in turn is the one whose construction builds the cache.
TEST_P(BuildFaults, LeaveWhatTheModelKeeps) {
  const std::vector<naive::Request> requests = RequestPool::OrdinaryRequests(RichHost());
  const std::size_t calls = CallsOfBuild();
  ASSERT_GT(calls, 100U);
  for (std::size_t n = 1; n <= calls; ++n) {
    Pair pair(RichHost());
    pair.FailAt({n}, GetParam());
    ASSERT_EQ(pair.Ask(requests[n * 7 % requests.size()]), "") << "call " << n << " fails";
    pair.FailNever();
    for (std::size_t i = n % 5; i < requests.size(); i += 5) {
      ASSERT_EQ(pair.Ask(requests[i]), "") << "after call " << n << " failed";
    }
  }
}

// The first two calls fetch the system's name: their failure leaves the factory.
TEST_P(BuildFaults, OfTheSystemNameLeaveTheFactoryAndTheNextOneBuilds) {
  for (const std::size_t n : {1U, 2U}) {
    for (const naive::Request& request : RequestPool::OrdinaryRequests(RichHost())) {
      Pair pair(RichHost());
      pair.FailAt({n}, GetParam());
      ASSERT_EQ(pair.Ask(request), "");
      const std::string text = GetParam() == Thrown::kNoException
                                   ? "unknown exception"
                                   : "injected failure at call " + std::to_string(n);
      ASSERT_EQ(pair.actual().code, CMPI_RC_ERR_FAILED);
      ASSERT_EQ(pair.actual().message, "factory of " + request.class_name + ": " + text);
      ASSERT_TRUE(pair.actual().events.empty());
      ASSERT_EQ(pair.Ask(request), "");
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Kinds, BuildFaults,
                         ::testing::Values(Thrown::kHostCtlException, Thrown::kRuntimeError,
                                           Thrown::kNoException));

class RandomFaults : public ::testing::TestWithParam<std::uint32_t> {};

// Several failures in one request, and hosts that go away for good.
TEST_P(RandomFaults, EndRequestsAsTheModelSays) {
  for (std::uint32_t seed = 1 + GetParam(); seed <= 300; seed += 2) {
    const fake::Host host = TreeHost(seed);
    Pair pair(host);
    RequestPool pool(host, seed);
    Dice dice(seed);
    ASSERT_EQ(pair.Ask(pool.Draw()), "");  // builds the cache
    for (int i = 0; i < 40; ++i) {
      std::set<std::size_t> failing;
      const int last = dice.OneIn(4) ? 1000 : dice.Draw(6);
      for (int call = dice.Draw(80) + 1; last > static_cast<int>(failing.size()); ++call) {
        failing.insert(static_cast<std::size_t>(call));
        if (last < 1000) call += dice.Draw(10);
      }
      pair.FailAt(failing, dice.OneIn(3) ? Thrown::kNoException : Thrown::kHostCtlException);
      ASSERT_EQ(pair.Ask(pool.Draw()), "") << "seed " << seed << ", request " << i;
      pair.FailNever();
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomFaults, ::testing::Values(0U, 1U));

}  // namespace
