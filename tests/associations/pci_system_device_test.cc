// The association "Ostrel_PCISystemDevice".

#include "support/provider_test.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PciSystemDeviceTest : public ProviderTest {
 protected:
  Answer GetPart(const cim::ObjectPath& part) {
    return Get("PCISystemDevice", AssociationPath("PCISystemDevice", SystemPath(), part));
  }
};

// Two devices, so that the walk over them can fail half way: a plain device is asked four times
// (HasCapability, GetClassCode, HasCapability, GetName), the first and third of which fail quietly.
fake::Host TwoDevices() { return fake::Host().Add(fake::Endpoint("e")).Add(fake::Endpoint("f")); }
constexpr std::size_t kClassCodeOfSecondDevice = 6;

constexpr const char* kFailureText =
    "enumInstance request to retrieve PCI references failed,error injected failure at call 6";

TEST_F(PciSystemDeviceTest, ListsDevicesThenPorts) {
  Use(fake::Host()
          .Add(fake::PciBridge("b"))
          .Add(fake::Endpoint("e"))
          .Add(fake::HostBridge("h"))
          .Add(fake::SwitchUpstream("U"))
          .Add(fake::Endpoint("f")));
  EXPECT_EQ(EnumNames("PCISystemDevice"),
            "PCISystemDevice(System fake-host, PCIDevice e), "
            "PCISystemDevice(System fake-host, PCIDevice f), "
            "PCISystemDevice(System fake-host, PCIPort b-pri), "
            "PCISystemDevice(System fake-host, PCIPort b-sec), "
            "PCISystemDevice(System fake-host, PCIPort e-ep), "
            "PCISystemDevice(System fake-host, PCIPort U-up), "
            "PCISystemDevice(System fake-host, PCIPort f-ep), done, OK");
}

TEST_F(PciSystemDeviceTest, ListsEveryPortEntryOfADuplicateBridge) {
  Use(fake::Host().Add(fake::PciBridge("b")).Add(fake::PciBridge("b")));
  EXPECT_EQ(EnumInstances("PCISystemDevice").instances.size(), 4);
}

TEST_F(PciSystemDeviceTest, NamesTheSystemInLowerCase) {
  Use(fake::Host().SystemName("HOST").Add(fake::Endpoint("e")));
  const cim::ObjectPath path = EnumNames("PCISystemDevice").paths.at(0);
  EXPECT_EQ(*path.Key("GroupComponent")->reference(), SystemPath("host"));
}

// ---------------------------------------------------------------------------------------------
// getInstance

TEST_F(PciSystemDeviceTest, GetsDevicesAndPorts) {
  Use(MixedHost());
  EXPECT_EQ(GetPart(DevicePath("x")), "[PCISystemDevice(System fake-host, PCIDevice x)], done, OK");
  for (const char* port : {"b-pri", "b-sec", "U-up", "D1-ep", "x-ep"}) {
    EXPECT_EQ(GetPart(PortPath(port)),
              std::string("[PCISystemDevice(System fake-host, PCIPort ") + port + ")], done, OK");
  }
}

TEST_F(PciSystemDeviceTest, DoesNotFindOtherParts) {
  Use(MixedHost());
  EXPECT_EQ(GetPart(BridgePath("b")), "NOT_FOUND");
  EXPECT_EQ(GetPart(DevicePath("b")), "NOT_FOUND");
  EXPECT_EQ(GetPart(SwitchPath("U")), "NOT_FOUND");
  EXPECT_EQ(GetPart(DevicePath("nobody")), "NOT_FOUND");
  EXPECT_EQ(GetPart(PortPath("e")), "NOT_FOUND");
  EXPECT_EQ(GetPart(With(DevicePath("e"), "SystemName", "other")), "NOT_FOUND");
  EXPECT_EQ(GetPart(Without(DevicePath("e"), "SystemName")), "NOT_FOUND");
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(PciSystemDeviceTest, ComparesPartsByMeaning) {
  Use(MixedHost());
  cim::ObjectPath part = DevicePath("e");
  part.class_name = "ostrel_pcidevice";
  std::swap(part.keys[0], part.keys[3]);
  EXPECT_EQ(GetPart(part), "[PCISystemDevice(System fake-host, PCIDevice e)], done, OK");
  EXPECT_EQ(*GetPart(part).Only().path.Key("PartComponent")->reference(), DevicePath("e"));
}

TEST_F(PciSystemDeviceTest, DoesNotFindAnotherSystem) {
  Use(MixedHost());
  for (const cim::ObjectPath& group :
       {SystemPath("other"), SystemPath("FAKE-HOST"),
        With(SystemPath(), "CreationClassName", "CIM_ComputerSystem"), DevicePath("e")}) {
    EXPECT_EQ(Get("PCISystemDevice", AssociationPath("PCISystemDevice", group, DevicePath("e"))),
              "NOT_FOUND");
  }
}

TEST_F(PciSystemDeviceTest, LooksAtThePartOnlyOfItsOwnSystem) {
  Use(MixedHost());
  const auto path = AssociationPath("PCISystemDevice", SystemPath("other"), DevicePath("e"));
  EXPECT_EQ(Get("PCISystemDevice", Without(path, "PartComponent")), "NOT_FOUND");
}

TEST_F(PciSystemDeviceTest, NeedsTheSystemAsAReference) {
  Use(MixedHost());
  const auto path = AssociationPath("PCISystemDevice", SystemPath(), DevicePath("e"));
  EXPECT_EQ(Get("PCISystemDevice", Without(path, "GroupComponent")), "NO_SUCH_PROPERTY");
  EXPECT_EQ(Get("PCISystemDevice", With(path, "GroupComponent", "text")), "TYPE_MISMATCH");
}

TEST_F(PciSystemDeviceTest, LogsADeviceThatFailsWhileAPartIsSought) {
  Use(TwoDevices());
  fake::FailAt(kClassCodeOfSecondDevice);
  EXPECT_EQ(GetPart(DevicePath("f")), "NOT_FOUND");
  EXPECT_THAT(log.Lines(), ::testing::Contains(LogLine{LOG_ERR, kFailureText}));
}

// ---------------------------------------------------------------------------------------------
// Failures while listing

TEST_F(PciSystemDeviceTest, NamesWhatItCouldReadAndLogsTheFailure) {
  Use(TwoDevices());
  for (const bool of_system : {false, true}) {
    log.Clear();
    fake::FailAt(kClassCodeOfSecondDevice);
    EXPECT_EQ(
        of_system ? ReferenceNames("PCISystemDevice", SystemPath()) : EnumNames("PCISystemDevice"),
        "PCISystemDevice(System fake-host, PCIDevice e), done, OK");
    EXPECT_THAT(log.Lines(), ElementsAre(LogLine{LOG_ERR, kFailureText}));
  }
}

TEST_F(PciSystemDeviceTest, InstancesEndWithTheFailure) {
  Use(TwoDevices());
  for (const bool of_system : {false, true}) {
    fake::FailAt(kClassCodeOfSecondDevice);
    const Answer answer =
        of_system ? References("PCISystemDevice", SystemPath()) : EnumInstances("PCISystemDevice");
    EXPECT_EQ(answer, "[PCISystemDevice(System fake-host, PCIDevice e)], FAILED");
    EXPECT_EQ(answer.status.message, "injected failure at call 6");
  }
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(PciSystemDeviceTest, NamesFromADeviceEndWithTheFailure) {
  Use(TwoDevices());
  fake::FailAt(kClassCodeOfSecondDevice);
  EXPECT_EQ(ReferenceNames("PCISystemDevice", DevicePath("e")),
            "PCISystemDevice(System fake-host, PCIDevice e), FAILED");
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(PciSystemDeviceTest, OtherExceptionsEndTheNamesToo) {
  Use(TwoDevices());
  fake::FailAt(kClassCodeOfSecondDevice, fake::Thrown::kRuntimeError);
  EXPECT_EQ(EnumNames("PCISystemDevice"), "PCISystemDevice(System fake-host, PCIDevice e), FAILED");
  EXPECT_THAT(log.Lines(), IsEmpty());
}

// ---------------------------------------------------------------------------------------------
// Sources

TEST_F(PciSystemDeviceTest, LeadsFromAnyPortOrDeviceToTheSystem) {
  Use(MixedHost());
  for (const cim::ObjectPath& source : {PortPath("e-ep"), DevicePath("e"), PortPath("nobody"),
                                        DevicePath(""), Without(DevicePath("e"), "DeviceID")}) {
    EXPECT_EQ(Associators("PCISystemDevice", source), "[System fake-host], done, OK");
    EXPECT_EQ(AssociatorNames("PCISystemDevice", source), "System fake-host, done, OK");
  }
}

TEST_F(PciSystemDeviceTest, AsksTheObjectManagerForTheSystemsInstanceWithThePropertyList) {
  Use(MixedHost());
  const PropertyList none = std::vector<std::string>();
  EXPECT_THAT(Properties(Associators("PCISystemDevice", PortPath("e-ep"), {}, none).Only()),
              IsEmpty());
}

TEST_F(PciSystemDeviceTest, MakesTheSystemsPathWithoutTheObjectManager) {
  Use(MixedHost(), RefusingSystem(CMPI_RC_ERR_FAILED, "refused"));
  EXPECT_EQ(AssociatorNames("PCISystemDevice", DevicePath("e")), "System fake-host, done, OK");
}

TEST_F(PciSystemDeviceTest, LeadsNowhereWhereTheObjectManagerHasNoSystem) {
  Use(MixedHost(), WithoutSystem());
  EXPECT_EQ(Associators("PCISystemDevice", DevicePath("e")), "done, OK");
}

TEST_F(PciSystemDeviceTest, AnswersWithTheObjectManagersRefusal) {
  Use(MixedHost(), RefusingSystem(CMPI_RC_ERR_ACCESS_DENIED, "not for you"));
  const Answer answer = Associators("PCISystemDevice", DevicePath("e"));
  EXPECT_EQ(answer, "ACCESS_DENIED");
  EXPECT_EQ(answer.status.message, "not for you");
}

constexpr const char* kPorts =
    "[PCIPort b-pri], [PCIPort b-sec], [PCIPort e-ep], [PCIPort r-pri], [PCIPort r-sec], "
    "[PCIPort U-up], [PCIPort D1-ep], [PCIPort D2-ep], [PCIPort x-ep], ";
constexpr const char* kPortNames =
    "PCIPort b-pri, PCIPort b-sec, PCIPort e-ep, PCIPort r-pri, PCIPort r-sec, PCIPort U-up, "
    "PCIPort D1-ep, PCIPort D2-ep, PCIPort x-ep, ";

TEST_F(PciSystemDeviceTest, LeadsFromTheSystemToPortsThenDevices) {
  Use(MixedHost());
  for (const char* result_class : {"", "CIM_LogicalDevice", "Ostrel_PCIBridge", "PCIPort"}) {
    const Filter filter = ResultClass(result_class);
    EXPECT_EQ(Associators("PCISystemDevice", SystemPath(), filter),
              std::string(kPorts) + "[PCIDevice e], [PCIDevice x], done, OK");
    EXPECT_EQ(AssociatorNames("PCISystemDevice", SystemPath(), filter),
              std::string(kPortNames) + "PCIDevice e, PCIDevice x, done, OK");
  }
  EXPECT_EQ(Associators("PCISystemDevice", SystemPath()),
            std::string(kPorts) + "[PCIDevice e], [PCIDevice x], done, OK");
}

TEST_F(PciSystemDeviceTest, NarrowsToTheResultClassInAnyCase) {
  Use(MixedHost());
  for (const char* ports : {"Ostrel_PCIPort", "ostrel_pciport", "OSTREL_PCIPORT"}) {
    EXPECT_EQ(Associators("PCISystemDevice", SystemPath(), ResultClass(ports)),
              std::string(kPorts) + "done, OK");
    EXPECT_EQ(AssociatorNames("PCISystemDevice", SystemPath(), ResultClass(ports)),
              std::string(kPortNames) + "done, OK");
  }
  for (const char* devices : {"Ostrel_PCIDevice", "oSTREL_pCIdEVICE"}) {
    EXPECT_EQ(Associators("PCISystemDevice", SystemPath(), ResultClass(devices)),
              "[PCIDevice e], [PCIDevice x], done, OK");
    EXPECT_EQ(AssociatorNames("PCISystemDevice", SystemPath(), ResultClass(devices)),
              "PCIDevice e, PCIDevice x, done, OK");
  }
}

TEST_F(PciSystemDeviceTest, AppliesThePropertyListToPortsAndDevices) {
  Use(fake::Host().Add(fake::Endpoint("e").Bus(3)));
  const Answer answer = Associators("PCISystemDevice", SystemPath(), {}, {{"BusNumber"}});
  ASSERT_EQ(answer, "[PCIPort e-ep], [PCIDevice e], done, OK");
  EXPECT_THAT(Properties(answer.instances[0]), ElementsAre("BusNumber uint8 3"));
  EXPECT_THAT(Properties(answer.instances[1]), ElementsAre("BusNumber uint8 3"));
}

TEST_F(PciSystemDeviceTest, RefersFromOneDeviceOrPortToAllOfTheirKind) {
  Use(fake::Host().Add(fake::Endpoint("e")).Add(fake::PciBridge("b")).Add(fake::Endpoint("f")));
  for (const char* name : {"e", "nobody"}) {
    EXPECT_EQ(ReferenceNames("PCISystemDevice", DevicePath(name)),
              "PCISystemDevice(System fake-host, PCIDevice e), "
              "PCISystemDevice(System fake-host, PCIDevice f), done, OK");
    EXPECT_EQ(References("PCISystemDevice", DevicePath(name)),
              "[PCISystemDevice(System fake-host, PCIDevice e)], "
              "[PCISystemDevice(System fake-host, PCIDevice f)], done, OK");
  }
  EXPECT_EQ(ReferenceNames("PCISystemDevice", PortPath("e-ep")),
            "PCISystemDevice(System fake-host, PCIPort e-ep), "
            "PCISystemDevice(System fake-host, PCIPort b-pri), "
            "PCISystemDevice(System fake-host, PCIPort b-sec), "
            "PCISystemDevice(System fake-host, PCIPort f-ep), done, OK");
  EXPECT_EQ(References("PCISystemDevice", PortPath("e-ep")).instances.size(), 4);
}

TEST_F(PciSystemDeviceTest, RefersFromTheSystemToEverything) {
  Use(MixedHost());
  EXPECT_EQ(ReferenceNames("PCISystemDevice", SystemPath()).Text(),
            EnumNames("PCISystemDevice").Text());
  EXPECT_EQ(References("PCISystemDevice", SystemPath()).Text(),
            EnumInstances("PCISystemDevice").Text());
}

}  // namespace
