// Factories and requests on many threads at once.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <vector>

#include "frame/provider_classes.h"
#include "frame/stderr_capture.h"
#include "ostint/recording_broker.h"
#include "platform/ostint/cmpi_broker.h"
#include "support/cache_reset.h"
#include "support/fake_host.h"
#include "support/on_threads.h"

namespace {

fake::Host SampleHost() {
  fake::Host host;
  host.Add(fake::RootPort("0000:00:1c.0").Secondary(1))
      .Add(fake::SwitchUpstream("0000:01:00.0").Bus(1).Secondary(2).Parent("0000:00:1c.0"))
      .Add(fake::SwitchDownstream("0000:02:00.0").Bus(2).Secondary(3).Parent("0000:01:00.0"))
      .Add(fake::PcieEndpoint("0000:03:00.0").Bus(3).Parent("0000:02:00.0"))
      .Add(fake::PciBridge("0000:00:1e.0").Secondary(4))
      .Add(fake::Endpoint("0000:04:00.0").Bus(4).Parent("0000:00:1e.0"));
  return host;
}

class FrameThreadsTest : public testing::Test {
 protected:
  FrameThreadsTest() {
    ResetCache();
    fake::Use(SampleHost());
  }
  ~FrameThreadsTest() override {
    for (CMPIInstanceMI* mi : providers_) mi->ft->cleanup(mi, context_, 1);
    ResetCache();
  }

  // Each class on a thread of its own. Answers how many devices each saw when it had its provider.
  std::vector<std::size_t> CreateAllAtOnce() {
    providers_.resize(std::size(kProviderClasses));
    std::vector<std::size_t> devices(providers_.size());
    OnThreads(providers_.size(), [&](std::size_t thread) {
      providers_[thread] = kProviderClasses[thread].create_instance(broker_.raw(), context_);
      devices[thread] = GetDevicesCache().size();
    });
    return devices;
  }

  RecordingBroker broker_;
  const CMPIContext* context_ = RecordingBroker::Context();
  StderrCapture stderr_;  // the trace lines
  std::vector<CMPIInstanceMI*> providers_;
};

TEST_F(FrameThreadsTest, FactoriesOfAllClassesAtOnceBuildOneTopology) {
  for (int round = 0; round < 20; ++round) {
    ResetCache();
    fake::Use(SampleHost());
    // Nobody is handed a provider before the topology is complete.
    EXPECT_THAT(CreateAllAtOnce(), testing::Each(6U));
    EXPECT_EQ(fake::CallCount("GetPciDevices"), 1U);
    EXPECT_EQ(fake::CallCount("GetSystemName"), 1U);
    for (CMPIInstanceMI* mi : providers_) {
      EXPECT_NE(mi->hdl, nullptr);
      mi->ft->cleanup(mi, context_, 0);
      EXPECT_EQ(mi->hdl, nullptr);
    }
    providers_.clear();
  }
}

TEST_F(FrameThreadsTest, RequestsAtOnceSeeTheSame) {
  CreateAllAtOnce();
  std::vector<std::vector<std::string>> seen(8);
  std::atomic<int> failures = 0;
  OnThreads(seen.size(), [&](std::size_t thread) {
    RecordingBroker own;  // what this thread's requests do
    for (int round = 0; round < 5; ++round) {
      for (CMPIInstanceMI* mi : providers_) {
        const CMPIObjectPath* path = own.Path("root/cimv2", "C");
        const CMPIResult* result = own.Result();
        if (mi->ft->enumerateInstances(mi, context_, result, path, nullptr).rc != CMPI_RC_OK ||
            mi->ft->enumerateInstanceNames(mi, context_, result, path).rc != CMPI_RC_OK) {
          ++failures;
        }
      }
    }
    seen[thread] = own.calls();
  });
  EXPECT_EQ(failures, 0);
  EXPECT_GT(seen.front().size(), 1000U);
  for (const std::vector<std::string>& calls : seen) EXPECT_EQ(calls, seen.front());
}

}  // namespace
