// The reading that the library shares with a program of its own release.

#include "pci/shared_host.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "hostctl/sources.h"

namespace hostctl_test {
namespace {

const pci::Host* SharedHost(const pci::HostLayout& callers = {}) {
  void* function = dlsym(RTLD_DEFAULT, pci::kSharedHostSymbol);
  if (function == nullptr) throw std::runtime_error(dlerror());
  return reinterpret_cast<pci::SharedHostFunction*>(function)(callers);
}

TEST(SharedHost, IsTheLatestReadingAsLongAsADeviceOfItLives) {
  EXPECT_EQ(SharedHost(), nullptr);
  Devices devices = ReadDumpOf({Endpoint("0000:00:01.0"), Endpoint("0000:00:02.0")});
  ASSERT_NE(SharedHost(), nullptr);
  ASSERT_EQ(SharedHost()->functions().size(), 2U);
  EXPECT_EQ(FormatAddress(SharedHost()->functions()[1].address), devices[1]->GetName());
  {
    const Devices later = ReadDumpOf({Endpoint("0000:00:03.0")});
    EXPECT_EQ(SharedHost()->functions().size(), 1U);
  }
  EXPECT_EQ(SharedHost(), nullptr);
}

TEST(SharedHost, IsNotForProgramsThatWouldMisreadIt) {
  const Devices devices = ReadDumpOf({Endpoint("0000:00:01.0")});
  EXPECT_EQ(SharedHost({.release = "0.0.0"}), nullptr);
  EXPECT_EQ(SharedHost({.function_size = 1}), nullptr);
  EXPECT_EQ(SharedHost({.host_size = 1}), nullptr);
  EXPECT_NE(SharedHost({}), nullptr);
}

}  // namespace
}  // namespace hostctl_test
