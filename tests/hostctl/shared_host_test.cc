// The reading that the library shares with a program of its own release.

#include "pci/shared_host.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "hostctl/sources.h"

namespace hostctl_test {
namespace {

bool Ask(const pci::HostLayout& callers, pci::SharedReading& reading) {
  void* function = dlsym(RTLD_DEFAULT, pci::kSharedHostSymbol);
  if (function == nullptr) throw std::runtime_error(dlerror());
  return reinterpret_cast<pci::SharedHostFunction*>(function)(callers, reading);
}

pci::SharedReading LatestReading() {
  pci::SharedReading reading;
  EXPECT_TRUE(Ask({}, reading));
  return reading;
}

TEST(SharedHost, IsTheLatestReadingAsLongAsADeviceOfItLives) {
  EXPECT_EQ(LatestReading().host, nullptr);
  Devices devices = ReadDumpOf({Endpoint("0000:00:01.0"), Endpoint("0000:00:02.0")});
  ASSERT_NE(LatestReading().host, nullptr);
  ASSERT_EQ(LatestReading().host->functions().size(), 2U);
  EXPECT_EQ(FormatAddress(LatestReading().host->functions()[1].address), devices[1]->GetName());
  {
    const Devices later = ReadDumpOf({Endpoint("0000:00:03.0")});
    EXPECT_EQ(LatestReading().host->functions().size(), 1U);
  }
  EXPECT_EQ(LatestReading().host, nullptr);
}

TEST(SharedHost, IsNoneWhereTheHostCannotBeRead) {
  const Devices devices = ReadDumpOf({Endpoint("0000:00:01.0")});
  EXPECT_EQ(LatestReading().failure, "");
  EXPECT_THROW(ReadDump("/nonexistent"), HostCtl::Lib::HostCtlException);
  EXPECT_EQ(LatestReading().host, nullptr);
  EXPECT_EQ(LatestReading().failure, "Cannot open /nonexistent: No such file or directory");
  const Devices later = ReadDumpOf({Endpoint("0000:00:01.0")});
  EXPECT_NE(LatestReading().host, nullptr);
  EXPECT_EQ(LatestReading().failure, "");
}

TEST(SharedHost, IsNotForProgramsThatWouldMisreadIt) {
  const Devices devices = ReadDumpOf({Endpoint("0000:00:01.0")});
  pci::SharedReading reading;
  EXPECT_FALSE(Ask({.release = "0.0.0"}, reading));
  EXPECT_FALSE(Ask({.function_size = 1}, reading));
  EXPECT_FALSE(Ask({.host_size = 1}, reading));
  EXPECT_EQ(reading.host, nullptr);
  EXPECT_TRUE(Ask({}, reading));
  EXPECT_NE(reading.host, nullptr);
}

}  // namespace
}  // namespace hostctl_test
