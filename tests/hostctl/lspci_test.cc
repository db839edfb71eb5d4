// The library's answers against lspci's, function by function, on every source.

#include <gtest/gtest.h>

#include <filesystem>

#include "hostctl/expectations.h"
#include "hostctl/lspci.h"
#include "hostctl/sources.h"
#include "pci/hosts.h"

namespace hostctl_test {
namespace {

void ExpectSame(const HostCtl::Hardware::PciDevice& device, const LspciFunction& lspci) {
  SCOPED_TRACE(lspci.slot);
  EXPECT_EQ(device.GetName(), lspci.slot);
  EXPECT_EQ(device.GetVendorId(), lspci.vendor);
  EXPECT_EQ(device.GetVendorName(), lspci.vendor_name);
  EXPECT_EQ(device.GetDeviceId(), lspci.device);
  EXPECT_EQ(device.GetDeviceName(), lspci.device_name);
  EXPECT_EQ(device.GetClassCode(), lspci.class_code);
  EXPECT_EQ(device.GetRevision(), lspci.revision);
  EXPECT_EQ(device.GetSubsystemVendorId(), lspci.subsystem_vendor);
  // lspci says nothing of the subsystem where its vendor is 0.
  if (lspci.subsystem_vendor != 0) {
    EXPECT_EQ(device.GetSubsystemId(), lspci.subsystem);
  }
  EXPECT_EQ(device.GetPhysicalSlot(), lspci.physical_slot);
  EXPECT_EQ(device.GetSecondaryBus(), lspci.secondary_bus);
  EXPECT_EQ(device.GetCapabilities(), lspci.capability_codes);
}

void ExpectSameHost(const Devices& devices, const std::vector<LspciFunction>& lspci) {
  ASSERT_EQ(devices.size(), lspci.size());
  for (std::size_t i = 0; i < devices.size(); ++i) ExpectSame(*devices[i], lspci[i]);
  ExpectSensible(devices);
}

TEST(Lspci, AgreesOnTheRunningHost) {
  std::error_code error;
  if (std::filesystem::is_empty("/sys/bus/pci/devices", error) || error) {
    GTEST_SKIP() << "this machine has no PCI bus: nothing to compare";
  }
  ExpectSameHost(ReadLiveHost(), RunLspci(""));
}

class LspciOnRecordedHost : public ::testing::TestWithParam<const char*> {};

TEST_P(LspciOnRecordedHost, AgreesOnSysfs) {
  const std::string path = pci_test::RecordedSysfs(GetParam());
  ExpectSameHost(ReadSysfs(path), RunLspci("-A linux-sysfs -O 'sysfs.path=" + path + "'"));
}

TEST_P(LspciOnRecordedHost, AgreesOnTheDump) {
  const std::string path = pci_test::RecordedDump(GetParam());
  ExpectSameHost(ReadDump(path), RunLspci("-F '" + path + "'"));
}

INSTANTIATE_TEST_SUITE_P(Hosts, LspciOnRecordedHost,
                         ::testing::Values("guest-sriov", "guest-switches"),
                         [](const auto& test) { return std::string(test.param).substr(6); });

// What the recorded hosts lack: CardBus bridges, unknown ids, wide domains, rarer capabilities.
TEST(Lspci, AgreesOnFunctionsOfRarerKinds) {
  const std::vector<Function> functions = {
      Function("0000:00:00.0")
          .Ids(0xfff0, 0x1234)
          .Set(0x06, {0xf0, 0x02})  // 66 MHz, UDF, fast back-to-back
          .Capability(0x34, 0x40, 0x02, {0x30, 0})
          .Capability(0x41, 0x50, 0x03)
          .Capability(0x51, 0x60, 0x06)
          .Capability(0x61, 0x70, 0x07),
      Function("0000:00:01.0")
          .Ids(0x104c, 0xac8f)
          .Set(0x0a, {0x07, 0x06, 0, 0, 2})
          .Set(0x18, {0x00, 0x05, 0x08})
          .Set(0x40, {0xf4, 0x1a, 0x00, 0x11})
          .Capability(0x14, 0xa0, 0x01, {2, 0}),
      Function("0000:00:02.0")
          .Ids(0x8086, 0xffee)
          .Bridge(9, 0x0a)
          .Capability(0x34, 0x50, 0x0d, {0, 0, 0x86, 0x80, 0x34, 0x12}),
      Function("10000:e0:06.7").Ids(0x1af4, 0x1041).Set(0x2c, {0xff, 0xff, 0xff, 0xff}),
  };
  std::string text;
  for (const Function& function : functions) text += function.DumpText();
  const TempFolder folder;
  const std::string path = folder.Write("dump", text);
  ExpectSameHost(ReadDump(path), RunLspci("-F '" + path + "'"));
}

}  // namespace
}  // namespace hostctl_test
