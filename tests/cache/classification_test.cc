#include "cache/classification.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <syslog.h>

#include <memory>
#include <vector>

#include "support/fake_host.h"
#include "support/log_capture.h"

namespace {

using HostCtl::Hardware::PciDevice;
using HostCtl::Lib::HostCtlException;
using testing::ElementsAre;
using testing::IsEmpty;

// The device as the host would hand it out.
std::unique_ptr<PciDevice> Make(const fake::Device& facts) {
  fake::Use(fake::Host().Add(facts));
  return std::move(HostCtl::Host::GetHardwareInfo()->GetPciInfo()->GetPciDevices().front());
}

TEST(SwitchPortTest, DownstreamPortIsASwitchPortAndNotUpstream) {
  const auto device = Make(fake::SwitchDownstream("D"));
  EXPECT_TRUE(IsPortOnSwitch(device.get()));
  EXPECT_FALSE(IsUpstreamPortOnSwitch(device.get()));
}

TEST(SwitchPortTest, UpstreamPortIsBoth) {
  const auto device = Make(fake::SwitchUpstream("U"));
  EXPECT_TRUE(IsPortOnSwitch(device.get()));
  EXPECT_TRUE(IsUpstreamPortOnSwitch(device.get()));
}

TEST(SwitchPortTest, OtherPortTypesAreNeither) {
  for (const int type : {-1, 0, 1, 4, 7, 8, 0x7fffffff}) {
    const auto device = Make(fake::SwitchUpstream("P").PcieType(type));
    EXPECT_FALSE(IsPortOnSwitch(device.get())) << type;
    EXPECT_FALSE(IsUpstreamPortOnSwitch(device.get())) << type;
  }
}

TEST(SwitchPortTest, WithoutPciExpressThePortTypeIsNeverRead) {
  const auto device = Make(fake::PciBridge("B").Capability(0x07).PcieType(5));
  EXPECT_FALSE(IsPortOnSwitch(device.get()));
  EXPECT_FALSE(IsUpstreamPortOnSwitch(device.get()));
  EXPECT_EQ(fake::CallCount("HasCapability"), 2U);
  EXPECT_EQ(fake::CallCount("GetPcieDeviceType"), 0U);
}

TEST(SwitchPortTest, FailingCapabilityReadIsAbsorbedByTheWiderTestAlone) {
  const auto device = Make(fake::SwitchUpstream("U").Throws("HasCapability", "cut off"));
  const LogCapture log;
  EXPECT_FALSE(IsPortOnSwitch(device.get()));
  EXPECT_THAT(log.Lines(),
              ElementsAre(LogLine{
                  LOG_ERR, "Check for Port on PCIeSwitch failed,reporting false, error cut off"}));
  EXPECT_THROW(IsUpstreamPortOnSwitch(device.get()), HostCtlException);
  EXPECT_EQ(log.Lines().size(), 1U);
}

TEST(SwitchPortTest, FailingTypeReadIsAbsorbedByBothTests) {
  const auto device = Make(fake::SwitchUpstream("U").Throws("GetPcieDeviceType", "cut off"));
  const LogCapture log;
  EXPECT_FALSE(IsPortOnSwitch(device.get()));
  EXPECT_FALSE(IsUpstreamPortOnSwitch(device.get()));
  EXPECT_THAT(
      log.Lines(),
      ElementsAre(
          LogLine{LOG_ERR, "Check for Port on PCIeSwitch failed,reporting false, error cut off"},
          LogLine{
              LOG_ERR,
              "Check Upstream port on PCIeSwitch class failed,reporting false, error cut off"}));
}

TEST(SwitchPortTest, UnexpectedExceptionIsNotAbsorbed) {
  const auto device =
      Make(fake::SwitchUpstream("U").Throws("GetPcieDeviceType", "x", fake::Thrown::kRuntimeError));
  EXPECT_THROW(IsPortOnSwitch(device.get()), std::runtime_error);
  EXPECT_THROW(IsUpstreamPortOnSwitch(device.get()), std::runtime_error);
}

TEST(BridgeTest, EverySubclassOfBaseClass6Counts) {
  for (int subclass = 0; subclass < 0x100; ++subclass) {
    const auto device = Make(fake::Named("B").ClassCode(0x0600 | subclass));
    EXPECT_TRUE(IsBridge(device.get())) << subclass;
  }
}

TEST(BridgeTest, OtherBaseClassesDoNot) {
  for (const int class_code : {0x0000, 0x0006, 0x0506, 0x0706, 0x0204, 0x8604, 0xffff}) {
    const auto device = Make(fake::Named("E").ClassCode(class_code));
    EXPECT_FALSE(IsBridge(device.get())) << class_code;
  }
}

TEST(BridgeTest, SwitchPortsAreNoBridgesAndRootPortsAre) {
  EXPECT_FALSE(IsBridge(Make(fake::SwitchUpstream("U")).get()));
  EXPECT_FALSE(IsBridge(Make(fake::SwitchDownstream("D")).get()));
  EXPECT_TRUE(IsBridge(Make(fake::RootPort("R")).get()));
}

TEST(BridgeTest, FailingClassCodePassesToTheCaller) {
  const auto device = Make(fake::PciBridge("B").Throws("GetClassCode", "cut off"));
  EXPECT_THROW(IsBridge(device.get()), HostCtlException);
  EXPECT_THROW(SetClassName(device.get()), HostCtlException);
}

TEST(BridgeTest, OnlyThreeSubclassesHavePorts) {
  std::vector<int> with_ports;
  for (int subclass = 0; subclass < 0x100; ++subclass) {
    if (IsBridgeWithPorts(static_cast<std::uint16_t>(0x0600 | subclass))) {
      with_ports.push_back(subclass);
    }
  }
  EXPECT_THAT(with_ports, ElementsAre(0x04, 0x0a, 0x0b));
}

TEST(ClassNameTest, NamesTheElementClass) {
  EXPECT_STREQ(SetClassName(Make(fake::PciBridge("B")).get()), "Ostrel_PCIBridge");
  EXPECT_STREQ(SetClassName(Make(fake::HostBridge("H")).get()), "Ostrel_PCIBridge");
  EXPECT_STREQ(SetClassName(Make(fake::SwitchUpstream("U")).get()), "Ostrel_PCIeSwitch");
  EXPECT_STREQ(SetClassName(Make(fake::Endpoint("E")).get()), "Ostrel_PCIDevice");
}

TEST(ClassNameTest, DownstreamPortIsNamedAPlainDevice) {
  EXPECT_STREQ(SetClassName(Make(fake::SwitchDownstream("D")).get()), "Ostrel_PCIDevice");
}

TEST(ClassNameTest, FailingCapabilityReadOfANonBridgePassesToTheCaller) {
  const auto endpoint = Make(fake::Endpoint("E").Throws("HasCapability", "cut off"));
  EXPECT_THROW(SetClassName(endpoint.get()), HostCtlException);
  const auto bridge = Make(fake::PciBridge("B").Throws("HasCapability", "cut off"));
  EXPECT_STREQ(SetClassName(bridge.get()), "Ostrel_PCIBridge");
}

TEST(PortKindTest, FollowsTheKindOfDevice) {
  EXPECT_EQ(ClassifyPorts(Make(fake::SwitchDownstream("D")).get()), PortKind::kSwitchDownstream);
  EXPECT_EQ(ClassifyPorts(Make(fake::SwitchUpstream("U")).get()), PortKind::kSwitchUpstream);
  EXPECT_EQ(ClassifyPorts(Make(fake::PciBridge("B")).get()), PortKind::kBridge);
  EXPECT_EQ(ClassifyPorts(Make(fake::HostBridge("H")).get()), PortKind::kBridge);
  EXPECT_EQ(ClassifyPorts(Make(fake::PcieEndpoint("E")).get()), PortKind::kEndpoint);
}

TEST(PortKindTest, DeviceThatChangesItsAnswersMayHaveNoPorts) {
  // Not a switch port in the first three tests, and one in the fourth.
  const auto device = Make(fake::SwitchDownstream("D").ClassCode(0x0200));
  const LogCapture log;
  fake::FailAt({1, 2, 3});
  EXPECT_EQ(ClassifyPorts(device.get()), PortKind::kNone);
  EXPECT_EQ(log.Texts(LOG_ERR).size(), 3U);
}

TEST(PortKindTest, UpstreamTestThatFailsOnceMakesASwitchPortDownstream) {
  // Intended: the second reading of the type decides, and unreadable counts as not upstream.
  const auto device = Make(fake::SwitchUpstream("U"));
  fake::FailAt(4);  // HasCapability and type twice: this is the second type
  EXPECT_EQ(ClassifyPorts(device.get()), PortKind::kSwitchDownstream);
}

}  // namespace
