// The provider of "Ostrel_PCIDevice".

#include "elements/pci_device.h"

#include <cstdint>
#include <numeric>
#include <string>
#include <vector>

#include "cim/wbem_uri.h"
#include "support/provider_test.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class PciDeviceTest : public ProviderTest {
 protected:
  // The instance of the one device "e" of a host.
  cim::Instance Instance(fake::Device device) {
    device.name = "e";
    Use(fake::Host().Add(std::move(device)));
    return EnumInstances("PCIDevice").Only();
  }
};

TEST_F(PciDeviceTest, ListsWhatIsNeitherABridgeNorASwitchPort) {
  Use(MixedHost());
  EXPECT_EQ(EnumNames("PCIDevice"), "PCIDevice e, PCIDevice x, done, OK");
  EXPECT_EQ(EnumInstances("PCIDevice"), "[PCIDevice e], [PCIDevice x], done, OK");
}

TEST_F(PciDeviceTest, ListsInTheOrderOfTheHost) {
  Use(fake::Host().Add(fake::Endpoint("z")).Add(fake::Endpoint("a")).Add(fake::Endpoint("m")));
  EXPECT_EQ(EnumNames("PCIDevice"), "PCIDevice z, PCIDevice a, PCIDevice m, done, OK");
}

TEST_F(PciDeviceTest, ListsADuplicateTwice) {
  Use(fake::Host().Add(fake::Endpoint("e")).Add(fake::Endpoint("e")));
  EXPECT_EQ(EnumNames("PCIDevice"), "PCIDevice e, PCIDevice e, done, OK");
}

TEST_F(PciDeviceTest, KeysStandInOrderAndCarryTheLoweredSystemName) {
  Use(fake::Host().SystemName("Host.EXAMPLE").Add(fake::Endpoint("0000:01:00.0 Ä")));
  EXPECT_EQ(cim::ToWbemUri(EnumNames("PCIDevice").paths.at(0)),
            "root/cimv2:Ostrel_PCIDevice.SystemCreationClassName=\"OMC_UnitaryComputerSystem\","
            "SystemName=\"host.example\",CreationClassName=\"Ostrel_PCIDevice\","
            "DeviceID=\"0000:01:00.0 Ä\"");
}

TEST_F(PciDeviceTest, SetsNineteenPropertiesInOrder) {
  EXPECT_THAT(
      Properties(Instance(fake::Endpoint("e")
                              .Segment(1)
                              .At(2, 3, 4)
                              .VendorName("V")
                              .DeviceName("D")
                              .Capabilities({6, 7})
                              .ClassCode(0x0c03)
                              .SubsystemIds(5, 6)
                              .Ids(7, 8)
                              .Revision(9)
                              .Parent("p")
                              .Slot(10))),
      ElementsAre("BusNumber uint8 2", "DeviceNumber uint8 3", "FunctionNumber uint8 4",
                  "ElementName string V D #3", "PrimaryStatus uint16 0", "HealthState uint16 0",
                  "EnabledState uint16 0", "RequestedState uint16 0",
                  "Capabilities uint16[] {6, 7}", "ClassCode uint8 12", "SubsystemID uint16 6",
                  "SubsystemVendorID uint16 5", "PCIDeviceID uint16 8", "VendorID uint16 7",
                  "RevisionID uint8 9", "SubClassCode uint8 3", "SegmentNumber uint16 1",
                  "ParentDeviceID string p", "PhysicalSlot uint8 10"));
}

TEST_F(PciDeviceTest, AsksTheDeviceInAFixedOrder) {
  Use(fake::Host().Add(fake::Endpoint("e").Parent("p")));
  fake::TraceCalls(true);
  Get("PCIDevice", DevicePath("e"));
  EXPECT_THAT(
      fake::Calls(),
      ElementsAre("GetName(e)", "GetVendorName(e)", "GetDeviceName(e)", "GetDeviceNumber(e)",
                  "GetParent(e)", "GetName(p)", "GetCapabilities(e)", "GetClassCode(e)",
                  "GetBus(e)", "GetDeviceNumber(e)", "GetFunction(e)", "GetSubsystemId(e)",
                  "GetSubsystemVendorId(e)", "GetDeviceId(e)", "GetVendorId(e)", "GetRevision(e)",
                  "GetSegment(e)", "GetPhysicalSlot(e)"));
}

TEST_F(PciDeviceTest, HasAnEmptyParentWithoutAParent) {
  EXPECT_EQ(PropertyText(Instance(fake::Endpoint("e")), "ParentDeviceID"),
            "ParentDeviceID string ");
}

TEST_F(PciDeviceTest, HasNoSlotWhereTheHostKnowsNone) {
  EXPECT_EQ(PropertyText(Instance(fake::Endpoint("e").Slot(-1)), "PhysicalSlot"),
            "no property PhysicalSlot");
}

TEST_F(PciDeviceTest, CutsTheSlotToEightBits) {
  EXPECT_EQ(PropertyText(Instance(fake::Endpoint("e").Slot(300)), "PhysicalSlot"),
            "PhysicalSlot uint8 44");
  EXPECT_EQ(PropertyText(Instance(fake::Endpoint("e").Slot(-2)), "PhysicalSlot"),
            "PhysicalSlot uint8 254");
}

TEST_F(PciDeviceTest, HasAnEmptyCapabilityArrayWithoutCapabilities) {
  EXPECT_EQ(PropertyText(Instance(fake::Endpoint("e")), "Capabilities"),
            "Capabilities uint16[] {}");
}

TEST_F(PciDeviceTest, CutsCapabilitiesToSixteenBits) {
  EXPECT_EQ(PropertyText(Instance(fake::Endpoint("e").Capabilities({0x10005, 9})), "Capabilities"),
            "Capabilities uint16[] {5, 9}");
}

TEST_F(PciDeviceTest, WrapsThePositionAfter256Capabilities) {
  std::vector<std::uint32_t> codes(258);
  std::iota(codes.begin(), codes.end(), 1000);
  const cim::Instance instance = Instance(fake::Endpoint("e").Capabilities(codes));
  const cim::Value::Array& array = *instance.Find("Capabilities")->elements();
  ASSERT_THAT(array, SizeIs(258));
  EXPECT_EQ(array[0], cim::Value(std::uint16_t{1256}));
  EXPECT_EQ(array[1], cim::Value(std::uint16_t{1257}));
  EXPECT_EQ(array[2], cim::Value(std::uint16_t{1002}));
  EXPECT_EQ(array[255], cim::Value(std::uint16_t{1255}));
  EXPECT_TRUE(array[256].is_null());
  EXPECT_TRUE(array[257].is_null());
}

TEST_F(PciDeviceTest, ReadsTheDeviceAfreshForEveryRequest) {
  Use(fake::Host().Add(fake::Endpoint("e")));
  const std::size_t before = fake::CallCount("GetVendorName");
  Get("PCIDevice", DevicePath("e"));
  Get("PCIDevice", DevicePath("e"));
  EXPECT_EQ(fake::CallCount("GetVendorName"), before + 2);
}

TEST_F(PciDeviceTest, LeavesAnUnreadableSlotOut) {
  const cim::Instance instance =
      Instance(fake::Endpoint("e").Slot(1).Throws("GetPhysicalSlot", "no slot"));
  EXPECT_THAT(log.Lines(), ElementsAre(LogLine{LOG_ERR, "Report PCI devices failed : no slot"}));
  EXPECT_EQ(PropertyText(instance, "PhysicalSlot"), "no property PhysicalSlot");
  EXPECT_THAT(Properties(instance), SizeIs(18));
}

TEST_F(PciDeviceTest, GetsADevice) {
  Use(MixedHost());
  EXPECT_EQ(Get("PCIDevice", DevicePath("e")), "[PCIDevice e], done, OK");
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(PciDeviceTest, GetsAnyKindOfDeviceAsAPlainOne) {
  Use(MixedHost());
  for (const char* name : {"b", "h", "r", "U", "D1"}) {
    const Answer answer = Get("PCIDevice", DevicePath(name));
    EXPECT_EQ(answer, std::string("[PCIDevice ") + name + "], done, OK");
    EXPECT_EQ(answer.Only().path, DevicePath(name));
  }
}

TEST_F(PciDeviceTest, GetsNothingForAnUnknownIdentifier) {
  Use(MixedHost());
  EXPECT_EQ(Get("PCIDevice", DevicePath("nobody")), "done, OK");
  EXPECT_EQ(Get("PCIDevice", DevicePath("E")), "done, OK");
  EXPECT_EQ(Get("PCIDevice", DevicePath("e-ep")), "done, OK");
}

TEST_F(PciDeviceTest, DoesNotFindAnEmptyIdentifier) {
  Use(MixedHost());
  EXPECT_EQ(Get("PCIDevice", DevicePath("")), "NOT_FOUND");
}

TEST_F(PciDeviceTest, GetsTheFirstOfADuplicate) {
  Use(fake::Host().Add(fake::Endpoint("e").Bus(1)).Add(fake::Endpoint("e").Bus(2)));
  EXPECT_EQ(PropertyText(Get("PCIDevice", DevicePath("e")).Only(), "BusNumber"),
            "BusNumber uint8 1");
}

TEST_F(PciDeviceTest, LogsADeviceThatFailsWhileItIsFetched) {
  Use(fake::Host().Add(fake::Endpoint("e").Throws("GetRevision", "gone")));
  EXPECT_EQ(Get("PCIDevice", DevicePath("e")), "done, OK");
  EXPECT_THAT(log.Lines(),
              ElementsAre(LogLine{
                  LOG_ERR, "enumInstance request to retrieve PCI information failed,error gone"}));
}

TEST_F(PciDeviceTest, LetsOtherExceptionsThrough) {
  Use(fake::Host().Add(
      fake::Endpoint("e").Throws("GetRevision", "broken", fake::Thrown::kRuntimeError)));
  const Answer answer = Get("PCIDevice", DevicePath("e"));
  EXPECT_EQ(answer, "FAILED");
  EXPECT_EQ(answer.status.message, "broken");
}

}  // namespace
