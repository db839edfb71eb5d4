// The codes of CIM_PCIController.Capabilities that registers come to, and what else of them is
// asked.

#include <gmock/gmock.h>

#include "hostctl/sources.h"

namespace hostctl_test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::unique_ptr<HostCtl::Hardware::PciDevice> Read(const Function& function) {
  Devices devices = ReadDumpOf({function});
  if (devices.size() != 1) throw std::runtime_error("not one device");
  return std::move(devices[0]);
}

Function AnyFunction() { return Function("0000:00:01.0").Ids(0x8086, 0x1234); }

// A PCI Express capability: flags, then link capabilities and link capabilities 2.
Function Express(unsigned flags, unsigned max_speed, unsigned speeds_vector) {
  return AnyFunction()
      .Capability(0x34, 0x40, 0x10, {flags & 0xff, flags >> 8})
      .Set(0x4c, {max_speed})
      .Set(0x6c, {speeds_vector});
}

TEST(CapabilityCodes, EachCapabilityHasItsCode) {
  const std::pair<unsigned, std::uint32_t> codes[] = {{0x07, 5},  {0x01, 6}, {0x05, 7},  {0x11, 7},
                                                      {0x02, 9},  {0x0e, 9}, {0x03, 10}, {0x04, 11},
                                                      {0x06, 12}, {0x10, 13}};
  for (const auto& [id, code] : codes) {
    const auto device = Read(AnyFunction().Capability(0x34, 0x40, id));
    EXPECT_THAT(device->GetCapabilities(), ElementsAre(code)) << "capability " << id;
    EXPECT_TRUE(device->HasCapability(static_cast<std::uint8_t>(id)));
  }
}

TEST(CapabilityCodes, OtherCapabilitiesHaveNoCode) {
  const auto device = Read(AnyFunction().Capability(0x34, 0x40, 0x09).Capability(0x41, 0x50, 0xfe));
  EXPECT_THAT(device->GetCapabilities(), IsEmpty());
  EXPECT_TRUE(device->HasCapability(0x09));
  EXPECT_TRUE(device->HasCapability(0xfe));
  EXPECT_FALSE(device->HasCapability(0x00));
}

TEST(CapabilityCodes, StatusBitsHaveTheirCodes) {
  EXPECT_THAT(Read(AnyFunction().Set(6, {0x20}))->GetCapabilities(), ElementsAre(2));
  EXPECT_THAT(Read(AnyFunction().Set(6, {0x40}))->GetCapabilities(), ElementsAre(3));
  EXPECT_THAT(Read(AnyFunction().Set(6, {0x80}))->GetCapabilities(), ElementsAre(4));
}

TEST(CapabilityCodes, LinkSpeedsHaveTheirCodes) {
  EXPECT_THAT(Read(Express(2, 1, 0))->GetCapabilities(), ElementsAre(13));
  EXPECT_THAT(Read(Express(2, 2, 0))->GetCapabilities(), ElementsAre(13, 14));
  EXPECT_THAT(Read(Express(2, 3, 0))->GetCapabilities(), ElementsAre(13, 14, 15));
  EXPECT_THAT(Read(Express(2, 5, 0))->GetCapabilities(), ElementsAre(13, 14, 15));
  EXPECT_THAT(Read(Express(2, 0, 0x06))->GetCapabilities(), ElementsAre(13, 14));
  EXPECT_THAT(Read(Express(2, 0, 0x0e))->GetCapabilities(), ElementsAre(13, 14, 15));
}

TEST(CapabilityCodes, VersionOneHasNoSpeedsVector) {
  EXPECT_THAT(Read(Express(1, 1, 0x0e))->GetCapabilities(), ElementsAre(13));
  EXPECT_THAT(Read(Express(0x91, 3, 0))->GetCapabilities(), ElementsAre(13))
      << "nor has a function of the root complex a link";
}

TEST(CapabilityCodes, AFunctionThatDoesNotAnswerIsListedAndTellsNothing) {
  Function gone("0000:00:01.0");
  for (std::size_t i = 0; i < 256; ++i) gone.Set(i, {0xff});
  const auto device = Read(gone);
  EXPECT_EQ(device->GetVendorId(), 0xffff);
  EXPECT_EQ(device->GetDeviceName(), "Device ffff");
  EXPECT_THAT(device->GetCapabilities(), IsEmpty());
  EXPECT_EQ(device->GetSecondaryBus(), 0);
  EXPECT_EQ(device->GetSubsystemVendorId(), 0);
  EXPECT_EQ(device->GetPcieDeviceType(), -1);
}

TEST(CapabilityCodes, AVirtualFunctionKeepsThem) {
  const auto device =
      Read(Function("0000:00:01.0").Ids(0xffff, 0xffff).Capability(0x34, 0x40, 0x10, {0x02, 0}));
  EXPECT_THAT(device->GetCapabilities(), ElementsAre(13));
  EXPECT_TRUE(device->HasCapability(0x10));
  EXPECT_EQ(device->GetPcieDeviceType(), 0);
}

TEST(CapabilityCodes, UnknownIdsAreNamedByTheirNumbers) {
  const auto device = Read(Function("0000:00:01.0").Ids(0xfff0, 0x5678));
  EXPECT_EQ(device->GetVendorName(), "Vendor fff0");
  EXPECT_EQ(device->GetDeviceName(), "Device 5678");
}

}  // namespace
}  // namespace hostctl_test
