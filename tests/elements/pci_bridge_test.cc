// The provider of "Ostrel_PCIBridge".

#include "support/provider_test.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PciBridgeTest : public ProviderTest {};

TEST_F(PciBridgeTest, ListsBridgesWithPorts) {
  Use(MixedHost());
  EXPECT_EQ(EnumNames("PCIBridge"), "PCIBridge b, PCIBridge r, done, OK");
  EXPECT_EQ(EnumInstances("PCIBridge"), "[PCIBridge b], [PCIBridge r], done, OK");
}

TEST_F(PciBridgeTest, AddsTwoPropertiesToThoseOfADevice) {
  Use(fake::Host().Add(fake::PciBridge("b").Secondary(5).Slot(1)));
  const std::vector<std::string> properties = Properties(EnumInstances("PCIBridge").Only());
  const std::vector<std::string> of_device = Properties(Get("PCIDevice", DevicePath("b")).Only());
  ASSERT_EQ(of_device.size(), 19);
  ASSERT_EQ(properties.size(), 21);
  EXPECT_TRUE(std::equal(of_device.begin(), of_device.end(), properties.begin()));
  EXPECT_EQ(properties[19], "BridgeType uint16 4");
  EXPECT_EQ(properties[20], "SecondaryBusNumber uint8 5");
}

TEST_F(PciBridgeTest, GetsABridgeAndDoesNotEndTheResult) {
  Use(MixedHost());
  EXPECT_EQ(Get("PCIBridge", BridgePath("b")), "[PCIBridge b], OK");
}

TEST_F(PciBridgeTest, GetsAHostBridgeThatIsNotListed) {
  Use(MixedHost());
  const Answer answer = Get("PCIBridge", BridgePath("h"));
  EXPECT_EQ(answer, "[PCIBridge h], OK");
  EXPECT_EQ(PropertyText(answer.Only(), "BridgeType"), "BridgeType uint16 0");
}

TEST_F(PciBridgeTest, DoesNotFindDevicesThatAreNoBridges) {
  Use(MixedHost());
  for (const char* name : {"e", "x", "U", "D1"}) {
    EXPECT_EQ(Get("PCIBridge", BridgePath(name)), "NOT_FOUND") << name;
  }
}

TEST_F(PciBridgeTest, GetsNothingForAnUnknownIdentifier) {
  Use(MixedHost());
  EXPECT_EQ(Get("PCIBridge", BridgePath("nobody")), "OK");
}

TEST_F(PciBridgeTest, DoesNotFindAnEmptyIdentifier) {
  Use(MixedHost());
  EXPECT_EQ(Get("PCIBridge", BridgePath("")), "NOT_FOUND");
}

TEST_F(PciBridgeTest, AnswersWithTheFailureOfADevice) {
  Use(fake::Host().Add(fake::PciBridge("b").Throws("GetSecondaryBus", "gone")));
  const Answer answer = Get("PCIBridge", BridgePath("b"));
  EXPECT_EQ(answer, "FAILED");
  EXPECT_EQ(answer.status.message, "gone");
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(PciBridgeTest, LogsAnUnreadablePortTypeAndTakesTheDeviceForABridge) {
  Use(fake::Host().Add(fake::SwitchUpstream("b").Throws("GetPcieDeviceType", "no type")));
  EXPECT_EQ(Get("PCIBridge", BridgePath("b")), "[PCIBridge b], OK");
  EXPECT_THAT(log.Lines(),
              ElementsAre(LogLine{LOG_ERR,
                                  "Check for Port on PCIeSwitch failed,reporting false, error "
                                  "no type"}));
}

}  // namespace
