#include <gtest/gtest.h>
#include <syslog.h>

#include <thread>
#include <vector>

#include "cache/hostctl.h"
#include "support/fake_host.h"
#include "support/log_capture.h"

namespace {

TEST(FakeHostThreadTest, CountsTheCallsOfManyThreads) {
  fake::Use(fake::Host().Add(fake::Endpoint("E")));
  const auto devices = HostCtl::Host::GetHardwareInfo()->GetPciInfo()->GetPciDevices();
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 8; ++thread) {
    threads.emplace_back([&] {
      for (int call = 0; call < 1000; ++call) devices.front()->GetBus();
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(fake::CallCount("GetBus"), 8000U);
}

TEST(LogCaptureThreadTest, LosesNoLineOfManyThreads) {
  const LogCapture log;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 8; ++thread) {
    threads.emplace_back([] {
      for (int line = 0; line < 100; ++line) syslog(LOG_DEBUG, "line %d", line);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(log.Lines().size(), 800U);
}

}  // namespace
