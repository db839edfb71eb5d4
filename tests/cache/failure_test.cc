// What survives when a call of the host fails during the build: for every call in turn, for pairs
// of calls, and for each way to fail. The naive model says what must be left.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "cache/cache_state.h"
#include "cache/controlled_by.h"
#include "cache/hostctl.h"
#include "cache/observe_cache.h"
#include "cache/topology_cache.h"
#include "support/cache_reset.h"
#include "support/log_capture.h"
#include "support/naive_topology.h"
#include "support/sample_hosts.h"
#include "support/sanitizers.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::size_t kSystemNameCalls = 2;  // GetHardwareInfo, GetSystemName: not absorbed
constexpr std::size_t kFirstCall = kExceptionsPassOnce ? 1 : kSystemNameCalls + 1;

std::string Explain(const fake::Host& host, const naive::Failures& failures) {
  std::string text = naive::Describe(host) + "failing calls:";
  for (const std::size_t call : failures.calls) text += ' ' + std::to_string(call);
  return text;
}

std::size_t CallsOfBuild(const fake::Host& host) { return naive::Model(host).Build().calls; }

// Fails every call of the build in turn.
void FailEachCall(const fake::Host& host, fake::Thrown thrown) {
  const std::size_t calls = CallsOfBuild(host);
  // One call more than there are: that build runs clean.
  for (std::size_t n = kFirstCall; n <= calls + 1; ++n) {
    const naive::Failures failures = {{n}, thrown};
    ASSERT_EQ(CompareWithModel(host, failures), "") << Explain(host, failures);
  }
}

class FailureTest : public testing::TestWithParam<fake::Thrown> {};

TEST_P(FailureTest, EveryCallOfEverySmallHost) {
  for (std::size_t kind = 0; kind < fake::SampleKinds().size(); ++kind) {
    fake::ForEachHost(kind, kSanitized ? 1 : 2, [](const fake::Host& host) {
      if (!HasFatalFailure()) FailEachCall(host, GetParam());
    });
  }
}

TEST_P(FailureTest, EveryCallOfSomeLargerHosts) {
  for (std::uint32_t seed = 0; seed < 12; ++seed) {
    FailEachCall(fake::RandomHost(seed, 12, false), GetParam());
    if (HasFatalFailure()) return;
  }
}

// A failure that a predicate absorbs changes what comes after it, up to a second failure.
TEST_P(FailureTest, EveryTwoCallsOfEveryDeviceKind) {
  for (const fake::Device& kind : fake::SampleKinds()) {
    const fake::Host host = fake::Host().Add(kind);
    const std::size_t calls = CallsOfBuild(host) + 2;
    for (std::size_t first = kFirstCall; first <= calls; ++first) {
      for (std::size_t second = first + 1; second <= calls; ++second) {
        const naive::Failures failures = {{first, second}, GetParam()};
        ASSERT_EQ(CompareWithModel(host, failures), "") << Explain(host, failures);
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Thrown, FailureTest,
                         testing::Values(fake::Thrown::kHostCtlException,
                                         fake::Thrown::kRuntimeError, fake::Thrown::kNoException));

// --- The same rules on hosts that a person can read ----------------------------------------------

// One endpoint and one bridge.
fake::Host SmallHost() {
  return fake::Host()
      .SystemName("Host.Example")
      .Add(fake::Endpoint("E").Bus(1))
      .Add(fake::PciBridge("B").Bus(0));
}

std::string Caught(const std::string& text) {
  return "PCI information caught exception, reporting may be incomplete, error " + text;
}

void LoadHostFailingAt(const fake::Host& host, std::size_t n) {
  ResetCache();
  fake::Use(host);
  fake::FailAt(n);
  LoadCache();
}

// The number of the n-th call of this operation on this subject in a clean build of the host.
std::size_t CallNumber(const fake::Host& host, const std::string& call, int occurrence) {
  fake::TraceCalls(true);
  LoadHost(host);
  const std::vector<std::string> calls = fake::Calls();
  fake::TraceCalls(false);
  for (std::size_t n = 0; n < calls.size(); ++n) {
    if (calls[n] == call && --occurrence == 0) return n + 1;
  }
  throw std::out_of_range("the build does not call " + call + " that often");
}

TEST(BuildFailureTest, FailingDeviceListLeavesEverythingEmpty) {
  for (const char* operation : {"GetHost", "GetPciInfo", "GetPciDevices"}) {
    const LogCapture log;
    LoadHost(SmallHost().Throws(operation, "no inventory"));
    EXPECT_STREQ(PciGetSystemName(), "host.example");
    EXPECT_THAT(GetDevicesCache(), IsEmpty());
    EXPECT_THAT(GetPortsCache(), IsEmpty());
    EXPECT_THAT(
        log.Lines(),
        ElementsAre(
            LogLine{LOG_DEBUG, "GetPCIData started to analyze and cache HKI PCI data"},
            LogLine{LOG_ERR, Caught("no inventory")},
            LogLine{LOG_DEBUG, "*** GetPCIData loaded, 0 switches, 0 bridges busNumbers 0"}));
  }
}

TEST(BuildFailureTest, UnexpectedExceptionHasItsOwnLine) {
  for (const fake::Thrown thrown : {fake::Thrown::kRuntimeError, fake::Thrown::kNoException}) {
    const LogCapture log;
    LoadHost(SmallHost().Throws("GetPciDevices", "surprise", thrown));
    EXPECT_THAT(
        log.Texts(LOG_ERR),
        ElementsAre("Unexpected exception from PCI initialization, reporting may be incomplete."));
    EXPECT_EQ(log.Lines().back().text, "*** GetPCIData loaded, 0 switches, 0 bridges busNumbers 0");
  }
}

TEST(BuildFailureTest, FailureWhileIndexingDevicesKeepsTheDevicesIndexedBefore) {
  const std::size_t n = CallNumber(SmallHost(), "GetName(B)", 1);
  const LogCapture log;
  LoadHostFailingAt(SmallHost(), n);
  EXPECT_EQ(GetDevicesCache().size(), 2U);
  EXPECT_NE(LookupDevice("E"), nullptr);
  EXPECT_EQ(LookupDevice("B"), nullptr);
  EXPECT_THAT(GetPortsCache(), IsEmpty());
  EXPECT_THAT(log.Texts(LOG_ERR),
              ElementsAre(Caught("injected failure at call " + std::to_string(n))));
}

TEST(BuildFailureTest, FailureWhileBuildingPortsLeavesAPartialListAndNoIndex) {
  // The bridge's bus is read once for each of its two ports.
  LoadHostFailingAt(SmallHost(), CallNumber(SmallHost(), "GetBus(B)", 2));
  ASSERT_EQ(GetPortsCache().size(), 2U);
  EXPECT_EQ(GetPortsCache()[0].portName, "E-ep");
  EXPECT_EQ(GetPortsCache()[1].portName, "B-pri");
  EXPECT_EQ(LookupPortEntry("E-ep").device, nullptr);
  EXPECT_THAT(GetPortNames(), IsEmpty());
  EXPECT_THAT(GetBusNumbers(), IsEmpty());
  EXPECT_THAT(GetBridgesCache(), IsEmpty());
  EXPECT_THAT(GetControlledByCache(), IsEmpty());
}

TEST(BuildFailureTest, FailureAtTheLastStepKeepsThePortsAndPartOfTheIndex) {
  const std::size_t calls = CallsOfBuild(SmallHost());
  const LogCapture log;
  LoadHostFailingAt(SmallHost(), calls);  // the name for the last record of cbDevMap
  EXPECT_EQ(GetControlledByCache().size(), 3U);
  EXPECT_EQ(ProcessCache().cbPortMap.size(), 3U);
  EXPECT_EQ(ProcessCache().cbDevMap.size(), 2U);
  EXPECT_EQ(LookupControlledByDevice("B")->entry->portName, "B-pri");
  EXPECT_EQ(GetBridgesCache().size(), 1U);
  ASSERT_GE(log.Lines().size(), 2U);
  EXPECT_EQ(*std::prev(log.Lines().end(), 2),
            (LogLine{LOG_ERR, Caught("injected failure at call " + std::to_string(calls))}));
  EXPECT_EQ(log.Lines().back().text, "*** GetPCIData loaded, 0 switches, 1 bridges busNumbers 2");
}

TEST(BuildFailureTest, FailedBuildIsNotDoneAgain) {
  LoadHost(SmallHost().Throws("GetPciDevices", "no inventory"));
  fake::Use(SmallHost());
  LoadCache();
  EXPECT_EQ(fake::CallCount(), 0U);
  EXPECT_THAT(GetDevicesCache(), IsEmpty());
}

TEST(BuildFailureTest, UnreadablePortTypeMakesASwitchPortABridge) {
  const LogCapture log;
  LoadHost(fake::Host().Add(fake::SwitchUpstream("U").Throws("GetPcieDeviceType", "no type")));
  ASSERT_EQ(GetPortsCache().size(), 2U);
  EXPECT_EQ(GetPortsCache()[0].portName, "U-pri");
  EXPECT_EQ(GetPortsCache()[1].portName, "U-sec");
  for (const std::string& text : log.Texts(LOG_ERR)) {
    EXPECT_EQ(text, "Check for Port on PCIeSwitch failed,reporting false, error no type");
  }
}

class SystemNameFailureTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!kExceptionsPassOnce) GTEST_SKIP() << "the sanitizer's pthread_once stops exceptions";
  }
};

TEST_F(SystemNameFailureTest, LeavesLoadCacheAndTheNextCallBuilds) {
  const LogCapture log;
  for (const char* operation : {"GetHardwareInfo", "GetSystemName"}) {
    ResetCache();
    fake::Use(SmallHost().Throws(operation, "no name"));
    EXPECT_THROW(LoadCache(), HostCtl::Lib::HostCtlException);
    EXPECT_STREQ(PciGetSystemName(), "");
    EXPECT_EQ(fake::LiveObjects(), fake::Live{});

    fake::Use(SmallHost());
    LoadCache();
    EXPECT_STREQ(PciGetSystemName(), "host.example");
    EXPECT_EQ(GetPortsCache().size(), 3U);
  }
  EXPECT_THAT(log.Texts(LOG_ERR), IsEmpty());
}

TEST_F(SystemNameFailureTest, UnexpectedExceptionPassesToo) {
  ResetCache();
  fake::Use(SmallHost().Throws("GetSystemName", "surprise", fake::Thrown::kRuntimeError));
  EXPECT_THROW(LoadCache(), std::runtime_error);
  fake::Use(SmallHost().Throws("GetSystemName", "surprise", fake::Thrown::kNoException));
  EXPECT_THROW(LoadCache(), int);
}

}  // namespace
