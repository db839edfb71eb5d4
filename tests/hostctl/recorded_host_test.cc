// The recorded host, whose facts were read off lspci's output by hand.

#include <gmock/gmock.h>

#include <filesystem>

#include "hostctl/device_text.h"
#include "hostctl/expectations.h"
#include "hostctl/sources.h"

namespace hostctl_test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class RecordedHost : public ::testing::Test {
 protected:
  const HostCtl::Hardware::PciDevice& Device(const std::string& name) {
    const auto* device = Find(devices_, name);
    if (!device) throw std::runtime_error(name);
    return *device;
  }

  std::string ParentOf(const std::string& name) {
    const auto parent = Device(name).GetParent();
    return parent ? parent->GetName() : "none";
  }

  Devices devices_ = ReadSysfs(RecordedSysfs());
};

TEST_F(RecordedHost, IsTheSameInSysfsAndInADump) {
  EXPECT_EQ(DescribeAllWithoutSlots(devices_), DescribeAllWithoutSlots(ReadDump(RecordedDump())));
}

TEST_F(RecordedHost, ListsEveryFunctionInTheOrderOfAddresses) {
  ASSERT_EQ(devices_.size(), 31u);
  ExpectSensible(devices_);
  EXPECT_EQ(devices_.front()->GetName(), "0000:00:00.0");
  EXPECT_EQ(devices_.back()->GetName(), "0000:81:00.0");
}

// Of the slots that ports tell; bridges to conventional PCI tell none.
TEST_F(RecordedHost, ADumpTellsTheSlotsOfPorts) {
  const Devices devices = ReadDump(RecordedDump());
  EXPECT_EQ(Find(devices, "0000:03:00.0")->GetPhysicalSlot(), 11) << "0 is the kernel's label";
  EXPECT_EQ(Find(devices, "0000:81:00.0")->GetPhysicalSlot(), 8);
  EXPECT_EQ(Find(devices, "0000:0f:07.0")->GetPhysicalSlot(), -1);
  EXPECT_EQ(Find(devices, "0000:00:03.0")->GetPhysicalSlot(), -1);
}

TEST_F(RecordedHost, DescribesASwitchUpstreamPort) {
  const auto& port = Device("0000:05:00.0");
  EXPECT_EQ(port.GetSegment(), 0);
  EXPECT_EQ(port.GetBus(), 5);
  EXPECT_EQ(port.GetDeviceNumber(), 0);
  EXPECT_EQ(port.GetFunction(), 0);
  EXPECT_EQ(port.GetPhysicalSlot(), -1);
  EXPECT_EQ(port.GetVendorId(), 0x104c);
  EXPECT_EQ(port.GetVendorName(), "Texas Instruments");
  EXPECT_EQ(port.GetDeviceId(), 0x8232);
  EXPECT_EQ(port.GetDeviceName(), "XIO3130 PCI Express Switch (Upstream)");
  EXPECT_EQ(port.GetSubsystemVendorId(), 0);
  EXPECT_EQ(port.GetSubsystemId(), 0);
  EXPECT_EQ(port.GetClassCode(), 0x0604);
  EXPECT_EQ(port.GetRevision(), 2);
  EXPECT_EQ(port.GetSecondaryBus(), 6);
  EXPECT_THAT(port.GetCapabilities(), ElementsAre(7, 13));
  EXPECT_TRUE(port.HasCapability(0x10));
  EXPECT_TRUE(port.HasCapability(0x05));
  EXPECT_TRUE(port.HasCapability(0x0d));
  EXPECT_FALSE(port.HasCapability(0x07));
  EXPECT_EQ(port.GetPcieDeviceType(), 5);
  EXPECT_EQ(ParentOf("0000:05:00.0"), "0000:02:02.0");
}

TEST_F(RecordedHost, DescribesASwitchDownstreamPort) {
  const auto& port = Device("0000:02:01.0");
  EXPECT_EQ(port.GetBus(), 2);
  EXPECT_EQ(port.GetDeviceNumber(), 1);
  EXPECT_EQ(port.GetDeviceId(), 0x8233);
  EXPECT_EQ(port.GetRevision(), 1);
  EXPECT_EQ(port.GetSecondaryBus(), 4);
  EXPECT_EQ(port.GetPcieDeviceType(), 6);
  EXPECT_EQ(ParentOf("0000:02:01.0"), "0000:01:00.0");
}

TEST_F(RecordedHost, DescribesARootPort) {
  const auto& port = Device("0000:00:05.1");
  EXPECT_EQ(port.GetDeviceNumber(), 5);
  EXPECT_EQ(port.GetFunction(), 1);
  EXPECT_EQ(port.GetSubsystemVendorId(), 0x1b36) << "from the bridge's subsystem capability";
  EXPECT_EQ(port.GetSubsystemId(), 0);
  EXPECT_EQ(port.GetSecondaryBus(), 0x0d);
  EXPECT_EQ(port.GetPcieDeviceType(), 4);
  EXPECT_THAT(port.GetCapabilities(), ElementsAre(7, 13, 14, 15)) << "its link runs at 16 GT/s";
  EXPECT_EQ(port.GetParent(), nullptr);
}

TEST_F(RecordedHost, DescribesConventionalBridges) {
  const auto& express_to_pci = Device("0000:09:00.0");
  EXPECT_EQ(express_to_pci.GetPcieDeviceType(), 7);
  EXPECT_EQ(express_to_pci.GetSecondaryBus(), 0x0a);
  EXPECT_EQ(express_to_pci.GetDeviceName(), "Device 000e") << "not in pci.ids";
  EXPECT_THAT(express_to_pci.GetCapabilities(), ElementsAre(2, 4, 6, 7, 13));

  const auto& pci_to_pci = Device("0000:0a:03.0");
  EXPECT_EQ(pci_to_pci.GetPcieDeviceType(), -1);
  EXPECT_EQ(pci_to_pci.GetSecondaryBus(), 0x0b);
  EXPECT_THAT(pci_to_pci.GetCapabilities(), ElementsAre(2, 4, 7, 11));
  EXPECT_EQ(ParentOf("0000:0a:03.0"), "0000:09:00.0");
  EXPECT_EQ(ParentOf("0000:0b:02.0"), "0000:0a:03.0");
}

TEST_F(RecordedHost, DescribesEndpoints) {
  const auto& nvme = Device("0000:07:00.0");
  EXPECT_EQ(nvme.GetVendorId(), 0x1b36);
  EXPECT_EQ(nvme.GetVendorName(), "Red Hat, Inc.");
  EXPECT_EQ(nvme.GetDeviceId(), 0x0010);
  EXPECT_EQ(nvme.GetDeviceName(), "QEMU NVM Express Controller");
  EXPECT_EQ(nvme.GetSubsystemVendorId(), 0x1af4);
  EXPECT_EQ(nvme.GetSubsystemId(), 0x1100);
  EXPECT_EQ(nvme.GetClassCode(), 0x0108);
  EXPECT_EQ(nvme.GetRevision(), 2);
  EXPECT_EQ(nvme.GetSecondaryBus(), 0);
  EXPECT_EQ(nvme.GetPcieDeviceType(), 0);
  EXPECT_THAT(nvme.GetCapabilities(), ElementsAre(6, 7, 13)) << "its link runs at 2.5 GT/s";
  EXPECT_EQ(ParentOf("0000:07:00.0"), "0000:06:00.0");

  const auto& isa_bridge = Device("0000:00:1f.0");
  EXPECT_EQ(isa_bridge.GetClassCode(), 0x0601);
  EXPECT_EQ(isa_bridge.GetSecondaryBus(), 0);
  EXPECT_THAT(isa_bridge.GetCapabilities(), IsEmpty());
  EXPECT_EQ(isa_bridge.GetPcieDeviceType(), -1);
}

TEST_F(RecordedHost, KeepsTheExpanderBusApart) {
  EXPECT_EQ(ParentOf("0000:80:00.0"), "none");
  EXPECT_EQ(ParentOf("0000:81:00.0"), "0000:80:00.0");
}

TEST_F(RecordedHost, NumbersSlotsByTheStartOfTheirLabel) {
  EXPECT_EQ(Device("0000:03:00.0").GetPhysicalSlot(), 0);  // slot "0"
  EXPECT_EQ(Device("0000:07:00.0").GetPhysicalSlot(), 0);  // slot "0-3"
  EXPECT_EQ(Device("0000:0a:02.0").GetPhysicalSlot(), 2);  // slot "2"
  EXPECT_EQ(Device("0000:0f:07.0").GetPhysicalSlot(), 7);
  EXPECT_EQ(Device("0000:81:00.0").GetPhysicalSlot(), 8);
  EXPECT_EQ(Device("0000:00:03.0").GetPhysicalSlot(), -1);
}

TEST_F(RecordedHost, GivesAFreshParentObjectAtEveryCall) {
  const auto& device = Device("0000:81:00.0");
  const auto first = device.GetParent();
  const auto second = device.GetParent();
  EXPECT_NE(first.get(), second.get());
  EXPECT_EQ(Describe(*first), Describe(*second));
  EXPECT_EQ(Describe(*first), Describe(Device("0000:80:00.0")));
}

TEST_F(RecordedHost, DevicesOutliveTheirSource) {
  Devices devices;
  {
    const TempFolder folder;
    std::filesystem::copy(RecordedDump(), folder.Path("dump"));
    devices = ReadDump(folder.Path("dump"));
  }
  const auto parent = devices.back()->GetParent();
  devices.clear();
  EXPECT_EQ(parent->GetName(), "0000:80:00.0");
}

}  // namespace
}  // namespace hostctl_test
