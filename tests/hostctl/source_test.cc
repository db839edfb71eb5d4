// Where the library reads, and the host's name.

#include <gmock/gmock.h>
#include <stdlib.h>
#include <sys/utsname.h>

#include "hostctl/sources.h"

namespace hostctl_test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;

std::string SystemName() { return HostCtl::Host::GetHardwareInfo()->GetSystemName(); }

TEST(Source, TwoSourcesAtOnceAreRefused) {
  const ScopedVariable sysfs("HOSTCTL_PCI_SYSFS", RecordedSysfs());
  setenv("HOSTCTL_PCI_DUMP", RecordedDump().c_str(), 1);
  try {
    HostCtl::Host::GetHardwareInfo()->GetPciInfo()->GetPciDevices();
    ADD_FAILURE() << "one of the two was chosen";
  } catch (const HostCtl::Lib::HostCtlException& error) {
    EXPECT_THAT(error.message,
                AllOf(HasSubstr("HOSTCTL_PCI_SYSFS"), HasSubstr("HOSTCTL_PCI_DUMP")));
    EXPECT_STREQ(error.what(), error.message.c_str());
  }
  unsetenv("HOSTCTL_PCI_DUMP");
}

TEST(Source, AnEmptyVariableCountsAsUnset) {
  const ScopedVariable sysfs("HOSTCTL_PCI_SYSFS", RecordedSysfs());
  setenv("HOSTCTL_PCI_DUMP", "", 1);
  EXPECT_EQ(HostCtl::Host::GetHardwareInfo()->GetPciInfo()->GetPciDevices().size(), 31u);
  unsetenv("HOSTCTL_PCI_DUMP");
}

TEST(Source, TheSystemNameIsTheHostsUnlessSet) {
  utsname host;
  ASSERT_EQ(uname(&host), 0);
  {
    const ScopedVariable name("HOSTCTL_SYSTEM_NAME", "Recorded.Example.com");
    EXPECT_EQ(SystemName(), "Recorded.Example.com");
  }
  {
    const ScopedVariable name("HOSTCTL_SYSTEM_NAME", "");
    EXPECT_EQ(SystemName(), host.nodename);
  }
  EXPECT_EQ(SystemName(), host.nodename);
}

TEST(Source, TheHostIsOneObject) {
  EXPECT_EQ(&HostCtl::HostFactory::GetHost(), &HostCtl::HostFactory::GetHost());
}

TEST(Source, EveryListIsASnapshotOfItsOwn) {
  const TempFolder folder;
  const std::string path = folder.Write("dump", Function("00:01.0").Ids(0x8086, 1).DumpText());
  const Devices before = ReadDump(path);
  folder.Write("dump", Function("00:01.0").Ids(0x8086, 2).DumpText());
  const Devices after = ReadDump(path);
  EXPECT_EQ(before.at(0)->GetDeviceId(), 1);
  EXPECT_EQ(after.at(0)->GetDeviceId(), 2);
}

}  // namespace
}  // namespace hostctl_test
