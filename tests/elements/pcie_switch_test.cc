// The provider of "Ostrel_PCIeSwitch", and the count of a switch's ports.

#include "elements/pcie_switch.h"

#include <string>

#include "support/provider_test.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PcieSwitchTest : public ProviderTest {
 protected:
  std::string NumberOfPorts(const std::string& name) {
    return PropertyText(Get("PCIeSwitch", SwitchPath(name)).Only(), "NumberOfPorts");
  }
};

HostCtl::Hardware::PciDevice* CachedDevice(std::size_t position) {
  return GetDevicesCache().at(position).get();
}

TEST_F(PcieSwitchTest, ListsUpstreamPorts) {
  Use(MixedHost());
  EXPECT_EQ(EnumNames("PCIeSwitch"), "PCIeSwitch U, done, OK");
  EXPECT_EQ(EnumInstances("PCIeSwitch"), "[PCIeSwitch U], done, OK");
}

TEST_F(PcieSwitchTest, AddsOnePropertyToThoseOfADevice) {
  Use(MixedHost());
  const std::vector<std::string> properties = Properties(EnumInstances("PCIeSwitch").Only());
  std::vector<std::string> expected = Properties(Get("PCIDevice", DevicePath("U")).Only());
  expected.push_back("NumberOfPorts uint16 2");
  EXPECT_EQ(properties, expected);
}

TEST_F(PcieSwitchTest, CountsDirectChildrenOnly) {
  Use(MixedHost());  // x sits below D1, D1 and D2 below U, U below r
  EXPECT_EQ(NumberOfPorts("U"), "NumberOfPorts uint16 2");
  EXPECT_EQ(NumberOfPorts("D1"), "NumberOfPorts uint16 1");
  EXPECT_EQ(NumberOfPorts("D2"), "NumberOfPorts uint16 0");
}

TEST_F(PcieSwitchTest, CountsNoFurtherThanSixteenBits) {
  fake::Host host;
  host.Add(fake::SwitchUpstream("U"));
  for (int child = 0; child <= 65536; ++child) host.Add(fake::Endpoint("e").Parent("U"));
  Use(host);
  EXPECT_EQ(NumberOfPorts("U"), "NumberOfPorts uint16 1");
}

TEST_F(PcieSwitchTest, GetsAnyDeviceAsASwitchAndDoesNotEndTheResult) {
  Use(MixedHost());
  for (const char* name : {"U", "D1", "b", "h", "e"}) {
    EXPECT_EQ(Get("PCIeSwitch", SwitchPath(name)), std::string("[PCIeSwitch ") + name + "], OK");
  }
}

TEST_F(PcieSwitchTest, GetsNothingForAnUnknownIdentifier) {
  Use(MixedHost());
  EXPECT_EQ(Get("PCIeSwitch", SwitchPath("nobody")), "OK");
}

TEST_F(PcieSwitchTest, DoesNotFindAnEmptyIdentifier) {
  Use(MixedHost());
  EXPECT_EQ(Get("PCIeSwitch", SwitchPath("")), "NOT_FOUND");
}

TEST_F(PcieSwitchTest, LogsADeviceThatFailsWhileItIsFetched) {
  Use(fake::Host().Add(fake::SwitchUpstream("U").Throws("GetRevision", "gone")));
  EXPECT_EQ(Get("PCIeSwitch", SwitchPath("U")), "OK");
  EXPECT_THAT(log.Lines(),
              ElementsAre(LogLine{
                  LOG_ERR, "enumInstance request to retrieve PCI information failed,error gone"}));
}

TEST_F(PcieSwitchTest, LeavesDevicesThatCannotSayTheirParentOutOfTheCount) {
  Use(MixedHost().Add(fake::Endpoint("mute").Parent("U").Throws("GetParent", "no parent")));
  EXPECT_EQ(NumberOfPorts("U"), "NumberOfPorts uint16 2");
  EXPECT_THAT(
      log.Lines(),
      ElementsAre(LogLine{
          LOG_ERR, "Check Child of PCIeSwitch class failed,reporting false, error no parent"}));
}

TEST_F(PcieSwitchTest, TakesADeviceForAChildByTheParentsName) {
  Use(MixedHost());  // 4: U, 5: D1, 7: x
  EXPECT_TRUE(IsChildOf(CachedDevice(4), CachedDevice(5)));
  EXPECT_FALSE(IsChildOf(CachedDevice(4), CachedDevice(7)));
  EXPECT_FALSE(IsChildOf(CachedDevice(5), CachedDevice(4)));
}

TEST_F(PcieSwitchTest, ReadsNoIdentifierOfADeviceWithoutAParent) {
  Use(fake::Host().Add(fake::Endpoint("e")).Add(fake::Endpoint("f")));
  const std::size_t before = fake::CallCount("GetName");
  EXPECT_FALSE(IsChildOf(CachedDevice(0), CachedDevice(1)));
  EXPECT_EQ(fake::CallCount("GetName"), before);
}

TEST_F(PcieSwitchTest, LogsAnUnreadableIdentifierOfEitherDevice) {
  Use(fake::Host().Add(fake::Endpoint("p")).Add(fake::Endpoint("e").Parent("p")));
  for (const std::size_t call : {2U, 3U}) {  // after GetParent: the two names
    log.Clear();
    fake::FailAt(call);
    EXPECT_FALSE(IsChildOf(CachedDevice(0), CachedDevice(1)));
    EXPECT_THAT(log.Lines(),
                ElementsAre(LogLine{LOG_ERR,
                                    "Check Child of PCIeSwitch class failed,reporting false, error "
                                    "injected failure at call " +
                                        std::to_string(call)}));
  }
}

}  // namespace
