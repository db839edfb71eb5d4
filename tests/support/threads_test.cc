#include <gtest/gtest.h>
#include <syslog.h>

#include <cstddef>

#include "cache/hostctl.h"
#include "support/fake_host.h"
#include "support/log_capture.h"
#include "support/on_threads.h"

namespace {

TEST(FakeHostThreadTest, CountsTheCallsOfManyThreads) {
  fake::Use(fake::Host().Add(fake::Endpoint("E")));
  const auto devices = HostCtl::Host::GetHardwareInfo()->GetPciInfo()->GetPciDevices();
  OnThreads(8, [&](std::size_t) {
    for (int call = 0; call < 1000; ++call) devices.front()->GetBus();
  });
  EXPECT_EQ(fake::CallCount("GetBus"), 8000U);
}

TEST(LogCaptureThreadTest, LosesNoLineOfManyThreads) {
  const LogCapture log;
  OnThreads(8, [](std::size_t) {
    for (int line = 0; line < 100; ++line) syslog(LOG_DEBUG, "line %d", line);
  });
  EXPECT_EQ(log.Lines().size(), 800U);
}

}  // namespace
