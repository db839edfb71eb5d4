#include "support/fake_host.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "cache/hostctl.h"

namespace {

using HostCtl::Lib::HostCtlException;
using testing::ElementsAre;

std::vector<std::unique_ptr<HostCtl::Hardware::PciDevice>> FetchDevices() {
  return HostCtl::Host::GetHardwareInfo()->GetPciInfo()->GetPciDevices();
}

// The message of what the call throws; empty when it throws nothing.
template <typename Function>
std::string MessageOf(Function call) {
  try {
    call();
  } catch (const HostCtlException& error) {
    return error.message;
  }
  return {};
}

TEST(FakeHostTest, AnswersTheFactsOfEveryOperation) {
  fake::Use(fake::Host()
                .SystemName("Host.Example")
                .Add(fake::Endpoint("0001:02:03.4")
                         .Segment(1)
                         .At(2, 3, 4)
                         .Slot(5)
                         .Ids(0x8086, 0x1234)
                         .SubsystemIds(0xffff, 0xabcd)
                         .VendorName("V")
                         .DeviceName("D")
                         .ClassCode(0x0604)
                         .Revision(0xff)
                         .Secondary(6)
                         .Capability(0x10)
                         .PcieType(7)
                         .Capabilities({2, 0x10003})));
  EXPECT_EQ(HostCtl::Host::GetHardwareInfo()->GetSystemName(), "Host.Example");
  const auto devices = FetchDevices();
  ASSERT_EQ(devices.size(), 1U);
  const auto& device = *devices.front();
  EXPECT_EQ(device.GetName(), "0001:02:03.4");
  EXPECT_EQ(device.GetSegment(), 1);
  EXPECT_EQ(device.GetBus(), 2);
  EXPECT_EQ(device.GetDeviceNumber(), 3);
  EXPECT_EQ(device.GetFunction(), 4);
  EXPECT_EQ(device.GetPhysicalSlot(), 5);
  EXPECT_EQ(device.GetVendorId(), 0x8086);
  EXPECT_EQ(device.GetVendorName(), "V");
  EXPECT_EQ(device.GetDeviceId(), 0x1234);
  EXPECT_EQ(device.GetSubsystemVendorId(), 0xffff);
  EXPECT_EQ(device.GetSubsystemId(), 0xabcd);
  EXPECT_EQ(device.GetDeviceName(), "D");
  EXPECT_EQ(device.GetClassCode(), 0x0604);
  EXPECT_EQ(device.GetRevision(), 0xff);
  EXPECT_EQ(device.GetSecondaryBus(), 6);
  EXPECT_THAT(device.GetCapabilities(), ElementsAre(2U, 0x10003U));
  EXPECT_TRUE(device.HasCapability(0x10));
  EXPECT_FALSE(device.HasCapability(0x07));
  EXPECT_EQ(device.GetPcieDeviceType(), 7);
  EXPECT_EQ(device.GetParent(), nullptr);
}

TEST(FakeHostTest, ParentIsAFreshObjectWithTheFactsOfTheNamedDevice) {
  fake::Use(fake::Host()
                .Add(fake::Endpoint("E").Parent("B"))
                .Add(fake::PciBridge("B").Bus(3).Parent("Outside")));
  const auto devices = FetchDevices();
  const auto first = devices[0]->GetParent();
  const auto second = devices[0]->GetParent();
  EXPECT_NE(first, second);
  EXPECT_NE(first.get(), devices[1].get());
  EXPECT_EQ(first->GetName(), "B");
  EXPECT_EQ(first->GetBus(), 3);
  const auto outside = first->GetParent();
  EXPECT_EQ(outside->GetName(), "Outside");
  EXPECT_EQ(outside->GetParent(), nullptr);
}

TEST(FakeHostTest, CountsAndTracesCalls) {
  fake::Use(fake::Host().Add(fake::Endpoint("E").Parent("B")));
  fake::TraceCalls(true);
  HostCtl::HostFactory::GetHost();
  const auto devices = FetchDevices();
  devices.front()->GetParent()->GetBus();
  EXPECT_THAT(fake::Calls(), ElementsAre("GetHost()", "GetHardwareInfo()", "GetPciInfo()",
                                         "GetPciDevices()", "GetParent(E)", "GetBus(B)"));
  EXPECT_EQ(fake::CallCount(), 6U);
  EXPECT_EQ(fake::CallCount("GetBus"), 1U);
  fake::TraceCalls(false);
  devices.front()->GetBus();
  EXPECT_EQ(fake::CallCount("GetBus"), 2U);
}

TEST(FakeHostTest, FailsAtTheChosenCallAlone) {
  fake::Use(fake::Host().Add(fake::Endpoint("E")));
  const auto devices = FetchDevices();
  const auto& device = *devices.front();
  fake::FailAt(2);
  EXPECT_EQ(device.GetName(), "E");
  EXPECT_EQ(MessageOf([&] { device.GetBus(); }), "injected failure at call 2");
  EXPECT_EQ(device.GetBus(), 0);

  fake::FailAt(1, fake::Thrown::kRuntimeError);
  EXPECT_THROW(device.GetName(), std::runtime_error);
  fake::FailAt(1, fake::Thrown::kNoException);
  EXPECT_THROW(device.GetName(), int);

  fake::FailFrom(2);
  EXPECT_EQ(MessageOf([&] { device.GetName(); }), "");
  EXPECT_EQ(MessageOf([&] { device.GetName(); }), "injected failure at call 2");
  EXPECT_EQ(MessageOf([&] { device.GetName(); }), "injected failure at call 3");
  fake::FailNever();
  EXPECT_EQ(device.GetName(), "E");
}

TEST(FakeHostTest, FailsOneOperationOfOneDeviceAndOfItsParentObjects) {
  fake::Use(fake::Host()
                .Throws("GetSystemName", "no name")
                .Add(fake::PciBridge("B").Throws("GetBus", "no bus"))
                .Add(fake::Endpoint("E").Parent("B")));
  EXPECT_EQ(MessageOf([] { HostCtl::Host::GetHardwareInfo()->GetSystemName(); }), "no name");
  const auto devices = FetchDevices();
  EXPECT_EQ(MessageOf([&] { devices[0]->GetBus(); }), "no bus");
  EXPECT_EQ(MessageOf([&] { devices[1]->GetParent()->GetBus(); }), "no bus");
  EXPECT_EQ(devices[1]->GetBus(), 0);
}

TEST(FakeHostTest, RefusesAFaultOfAnUnknownOperation) {
  EXPECT_THROW(fake::Use(fake::Host().Throws("GetBsu", "typing error")), std::invalid_argument);
}

TEST(FakeHostTest, CountsLiveObjects) {
  const fake::Live before = fake::LiveObjects();
  {
    fake::Use(fake::Host().Add(fake::Endpoint("E").Parent("B")));
    const auto hardware = HostCtl::Host::GetHardwareInfo();
    const auto pci_info = hardware->GetPciInfo();
    const auto devices = pci_info->GetPciDevices();
    const auto parent = devices.front()->GetParent();
    EXPECT_EQ(fake::LiveObjects(), (fake::Live{before.devices + 1, before.parents + 1,
                                               before.pci_infos + 1, before.hardware_infos + 1}));
  }
  EXPECT_EQ(fake::LiveObjects(), before);
}

}  // namespace
