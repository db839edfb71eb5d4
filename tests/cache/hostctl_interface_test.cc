// The host control library's interface as other people's binaries know it: a function's place in
// its class's table of virtual functions. What changes a place breaks them.

#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>

#include "cache/hostctl.h"

namespace HostCtl {
namespace {

// The place of a virtual function in its class's table, as the Itanium C++ ABI writes it into a
// pointer to a member; ARM keeps the mark of a virtual function in the second word.
template <typename Function>
std::size_t Place(Function function) {
  std::size_t words[2];
  static_assert(sizeof function == sizeof words);
  std::memcpy(words, &function, sizeof words);
  return words[0] / sizeof(void*);
}

// A class's next function comes where the class ends.
struct AfterDevice : Hardware::PciDevice {
  virtual void Next() {}
};
struct AfterPciInfo : PciInfo {
  virtual void Next() {}
};
struct AfterHardwareInfo : HardwareInfo {
  virtual void Next() {}
};

// Two destructors stand before the first function. An addition gets a line before Next, and
// HOSTCTL_VERSION the next number.
TEST(HostCtlInterface, EachFunctionHasItsPlace) {
  static_assert(HOSTCTL_VERSION == 1);
  using Device = Hardware::PciDevice;
  EXPECT_EQ(Place(&Hardware::NamedObject::GetName), 2u);
  EXPECT_EQ(Place(&Device::GetSegment), 3u);
  EXPECT_EQ(Place(&Device::GetBus), 4u);
  EXPECT_EQ(Place(&Device::GetDeviceNumber), 5u);
  EXPECT_EQ(Place(&Device::GetFunction), 6u);
  EXPECT_EQ(Place(&Device::GetPhysicalSlot), 7u);
  EXPECT_EQ(Place(&Device::GetVendorId), 8u);
  EXPECT_EQ(Place(&Device::GetVendorName), 9u);
  EXPECT_EQ(Place(&Device::GetDeviceId), 10u);
  EXPECT_EQ(Place(&Device::GetSubsystemVendorId), 11u);
  EXPECT_EQ(Place(&Device::GetSubsystemId), 12u);
  EXPECT_EQ(Place(&Device::GetDeviceName), 13u);
  EXPECT_EQ(Place(&Device::GetClassCode), 14u);
  EXPECT_EQ(Place(&Device::GetRevision), 15u);
  EXPECT_EQ(Place(&Device::GetSecondaryBus), 16u);
  EXPECT_EQ(Place(&Device::GetCapabilities), 17u);
  EXPECT_EQ(Place(&Device::HasCapability), 18u);
  EXPECT_EQ(Place(&Device::GetPcieDeviceType), 19u);
  EXPECT_EQ(Place(&Device::GetParent), 20u);
  EXPECT_EQ(Place(&AfterDevice::Next), 21u);

  EXPECT_EQ(Place(&PciInfo::GetPciDevices), 2u);
  EXPECT_EQ(Place(&AfterPciInfo::Next), 3u);

  EXPECT_EQ(Place(&HardwareInfo::GetPciInfo), 2u);
  EXPECT_EQ(Place(&HardwareInfo::GetSystemName), 3u);
  EXPECT_EQ(Place(&AfterHardwareInfo::Next), 4u);
}

// Handlers and callers on both sides lay these out for themselves.
TEST(HostCtlInterface, TypesKeepTheirSize) {
  EXPECT_EQ(sizeof(Lib::HostCtlException), sizeof(std::exception) + sizeof(std::string));
  EXPECT_EQ(sizeof(Hardware::PciDevice), sizeof(void*));
  EXPECT_EQ(sizeof(PciInfo), sizeof(void*));
  EXPECT_EQ(sizeof(HardwareInfo), sizeof(void*));
  EXPECT_TRUE(std::is_empty_v<Host>);
  EXPECT_TRUE(std::is_empty_v<HostFactory>);
}

}  // namespace
}  // namespace HostCtl
