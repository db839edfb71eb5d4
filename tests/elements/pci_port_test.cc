// The provider of "Ostrel_PCIPort", and the port-emitting functions that the associations call.

#include "elements/pci_port.h"

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "cim/wbem_uri.h"
#include "support/provider_test.h"

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class PciPortTest : public ProviderTest {
 protected:
  // What a pair of twins returns for a source path: the instances, then the paths.
  using InstanceForm = void (*)(const ostInt::CmpiObjectPath&, const char**, ostInt::CmpiResult&);
  using RefForm = void (*)(const ostInt::CmpiObjectPath&, ostInt::CmpiResult&);
  std::vector<Answer> Twins(InstanceForm instances, RefForm refs, const cim::ObjectPath& source) {
    return {
        Inside(source, [=](auto& result, const auto& path) { instances(path, nullptr, result); }),
        InsideRef(source, [=](auto& result, const auto& path) { refs(path, result); })};
  }
  std::vector<Answer> ListPortsOf(const cim::ObjectPath& source) {
    return Twins(&ListPorts, &ListPortsRef, source);
  }
  std::vector<Answer> ListBridgePortsOf(const cim::ObjectPath& source) {
    return Twins(&ListBridgePorts, &ListBridgePortsRef, source);
  }
  std::vector<Answer> ListSwitchPortsOf(const cim::ObjectPath& source) {
    return Twins(&ListSwitchPorts, &ListSwitchPortsRef, source);
  }
};

// ---------------------------------------------------------------------------------------------
// Which ports a device has

struct Kind {
  const char* name;
  fake::Device device;
  // "port name, controller, PortType, BusNumber" of each port.
  std::vector<std::string> ports;
};
std::ostream& operator<<(std::ostream& out, const Kind& kind) { return out << kind.name; }

class PortKindTest : public ProviderTest, public ::testing::WithParamInterface<Kind> {};

INSTANTIATE_TEST_SUITE_P(
    Kinds, PortKindTest,
    ::testing::Values(
        Kind{"ConventionalEndpoint", fake::Endpoint("n"), {"n-ep n 150 7"}},
        Kind{"PciXEndpoint", fake::PciXEndpoint("n"), {"n-ep n 151 7"}},
        Kind{"PciExpressEndpoint", fake::PcieEndpoint("n"), {"n-ep n 152 7"}},
        Kind{"PciExpressGoesBeforePciX", fake::PcieEndpoint("n").Capability(7), {"n-ep n 152 7"}},
        Kind{"SwitchUpstreamPort", fake::SwitchUpstream("n").Parent("p"), {"n-up n 152 7"}},
        Kind{"SwitchDownstreamPort", fake::SwitchDownstream("n").Parent("p"), {"n-ep p 152 7"}},
        Kind{"SwitchDownstreamPortWithoutParent", fake::SwitchDownstream("n"), {}},
        Kind{"PciBridge", fake::PciBridge("n"), {"n-pri n 150 7", "n-sec n 150 9"}},
        Kind{"RootPort", fake::RootPort("n"), {"n-pri n 150 7", "n-sec n 150 9"}},
        Kind{"SemiTransparentBridge",
             fake::PciBridge("n").ClassCode(0x060a),
             {"n-pri n 150 7", "n-sec n 152 9"}},
        Kind{"InfinibandBridge",
             fake::PciBridge("n").ClassCode(0x060b),
             {"n-pri n 152 7", "n-sec n 150 9"}},
        Kind{"HostBridge", fake::HostBridge("n"), {}},
        Kind{"CardBusBridge", fake::PciBridge("n").ClassCode(0x0607), {}}),
    ::testing::PrintToStringParamName());

TEST_P(PortKindTest, HasItsPorts) {
  fake::Device device = GetParam().device;
  Use(fake::Host().Add(device.Bus(7).Secondary(9)));
  std::vector<std::string> ports;
  for (const cim::Instance& port : EnumInstances("PCIPort").instances) {
    const auto text = [&](const char* name) { return " " + cim::ToText(*port.Find(name)); };
    ports.push_back(cim::ToText(*port.Find("DeviceID")) + text("ControllerDeviceID") +
                    text("PortType") + text("BusNumber"));
  }
  EXPECT_EQ(ports, GetParam().ports);
}

// ---------------------------------------------------------------------------------------------
// The provider

TEST_F(PciPortTest, ListsThePortsOfEveryKindOnce) {
  Use(MixedHost());
  EXPECT_EQ(EnumNames("PCIPort"),
            "PCIPort b-pri, PCIPort b-sec, PCIPort e-ep, PCIPort r-pri, PCIPort r-sec, "
            "PCIPort U-up, PCIPort D1-ep, PCIPort D2-ep, PCIPort x-ep, done, OK");
  EXPECT_EQ(EnumInstances("PCIPort"),
            "[PCIPort b-pri], [PCIPort b-sec], [PCIPort e-ep], [PCIPort r-pri], [PCIPort r-sec], "
            "[PCIPort U-up], [PCIPort D1-ep], [PCIPort D2-ep], [PCIPort x-ep], done, OK");
}

TEST_F(PciPortTest, ListsDuplicateBridgesOnceAndOtherDuplicatesEachTime) {
  Use(fake::Host()
          .Add(fake::PciBridge("b"))
          .Add(fake::PciBridge("b"))
          .Add(fake::Endpoint("e"))
          .Add(fake::Endpoint("e")));
  EXPECT_EQ(EnumNames("PCIPort"),
            "PCIPort b-pri, PCIPort b-sec, PCIPort e-ep, PCIPort e-ep, done, OK");
  EXPECT_EQ(EnumInstances("PCIPort"),
            "[PCIPort b-pri], [PCIPort b-sec], [PCIPort e-ep], [PCIPort e-ep], done, OK");
}

TEST_F(PciPortTest, KeysStandInAnOrderOfTheirOwn) {
  Use(fake::Host().Add(fake::Endpoint("e")));
  EXPECT_EQ(cim::ToWbemUri(EnumNames("PCIPort").paths.at(0)),
            "root/cimv2:Ostrel_PCIPort.SystemName=\"fake-host\",CreationClassName="
            "\"Ostrel_PCIPort\",SystemCreationClassName=\"OMC_UnitaryComputerSystem\","
            "DeviceID=\"e-ep\"");
}

TEST_F(PciPortTest, SetsElevenPropertiesInOrder) {
  Use(fake::Host().Add(fake::Endpoint("e")
                           .At(2, 3, 4)
                           .VendorName("V")
                           .DeviceName("D")
                           .ClassCode(0x0c03)
                           .Ids(7, 8)
                           .Revision(9)));
  EXPECT_THAT(
      Properties(EnumInstances("PCIPort").Only()),
      ElementsAre("PortType uint16 150", "ElementName string V D", "ControllerDeviceID string e",
                  "BusNumber uint8 2", "DeviceNumber uint8 3", "FunctionNumber uint8 4",
                  "PCIDeviceID uint16 8", "VendorID uint16 7", "RevisionID uint8 9",
                  "ClassCode uint8 12", "SubClassCode uint8 3"));
}

TEST_F(PciPortTest, GetsAPort) {
  Use(MixedHost());
  for (const char* name : {"e-ep", "U-up", "D1-ep", "x-ep"}) {
    EXPECT_EQ(Get("PCIPort", PortPath(name)), std::string("[PCIPort ") + name + "], done, OK");
  }
}

TEST_F(PciPortTest, GetsBothPortsOfABridgeByEither) {
  Use(MixedHost());
  EXPECT_EQ(Get("PCIPort", PortPath("b-pri")), "[PCIPort b-pri], [PCIPort b-sec], done, OK");
  EXPECT_EQ(Get("PCIPort", PortPath("b-sec")), "[PCIPort b-pri], [PCIPort b-sec], done, OK");
}

TEST_F(PciPortTest, GetsNothingForNamesThatAreNoPorts) {
  Use(MixedHost());
  for (const char* name : {"e", "nobody-ep", "E-ep", "h-pri"}) {
    EXPECT_EQ(Get("PCIPort", PortPath(name)), "done, OK") << name;
  }
}

TEST_F(PciPortTest, DoesNotFindAnEmptyName) {
  Use(MixedHost());
  EXPECT_EQ(Get("PCIPort", PortPath("")), "NOT_FOUND");
}

TEST_F(PciPortTest, AnswersWithTheFailureOfADevice) {
  Use(fake::Host().Add(fake::Endpoint("e").Throws("GetRevision", "gone")));
  const Answer answer = Get("PCIPort", PortPath("e-ep"));
  EXPECT_EQ(answer, "FAILED");
  EXPECT_EQ(answer.status.message, "gone");
}

TEST_F(PciPortTest, NamesADownstreamPortWithoutParentButHasNoInstance) {
  Use(fake::Host().Add(fake::SwitchDownstream("D")));
  const auto* device = GetDevicesCache().front().get();
  std::set<std::string> seen;
  EXPECT_EQ(Inside(PortPath(""),
                   [&](auto& result, const auto& /*path*/) {
                     MakePortsForDevice(device, result, seen, nullptr);
                   }),
            "OK");
  EXPECT_EQ(InsideRef(PortPath(""),
                      [&](auto& result, const auto& /*path*/) {
                        MakePortsForDeviceRef(device, seen, result);
                      }),
            "PCIPort D-ep, OK");
}

// The device cannot be read at the first two questions, and is a switch port at the others: then it
// is neither a bridge nor an endpoint.
TEST_F(PciPortTest, ReturnsNothingForADeviceThatChangesItsAnswers) {
  Use(fake::Host().Add(fake::SwitchUpstream("U")));
  fake::FailAt({1, 2});
  EXPECT_EQ(EnumInstances("PCIPort"), "done, OK");
  fake::FailAt({1, 2});
  EXPECT_EQ(EnumNames("PCIPort"), "done, OK");
  EXPECT_THAT(log.Texts(LOG_ERR), ::testing::SizeIs(4));
}

TEST_F(PciPortTest, IgnoresANullDeviceAndTheRefFormSaysSo) {
  Use(fake::Host());
  std::set<std::string> seen;
  EXPECT_EQ(Inside(PortPath(""),
                   [&](auto& result, const auto& /*path*/) {
                     MakePortsForDevice(nullptr, result, seen, nullptr);
                   }),
            "OK");
  EXPECT_THAT(log.Lines(), IsEmpty());
  EXPECT_EQ(InsideRef(PortPath(""),
                      [&](auto& result, const auto& /*path*/) {
                        MakePortsForDeviceRef(nullptr, seen, result);
                      }),
            "OK");
  EXPECT_THAT(log.Lines(), ElementsAre(LogLine{LOG_CRIT, "ignoring null device"}));
}

// ---------------------------------------------------------------------------------------------
// Selections by an identifier

TEST_F(PciPortTest, ListsThePortsOfTheFirstDeviceWithAPortHostedByTheIdentifier) {
  Use(MixedHost());
  EXPECT_THAT(ListPortsOf(DevicePath("e")), ElementsAre("[PCIPort e-ep], OK", "PCIPort e-ep, OK"));
  EXPECT_THAT(ListPortsOf(DevicePath("b")), ElementsAre("[PCIPort b-pri], [PCIPort b-sec], OK",
                                                        "PCIPort b-pri, PCIPort b-sec, "
                                                        "OK"));
  EXPECT_THAT(ListPortsOf(DevicePath("U")), ElementsAre("[PCIPort U-up], OK", "PCIPort U-up, OK"));
}

TEST_F(PciPortTest, TheFirstPortHostedMayBelongToAnotherDevice) {
  Use(fake::Host().Add(fake::SwitchDownstream("D").Parent("U")).Add(fake::SwitchUpstream("U")));
  EXPECT_THAT(ListPortsOf(DevicePath("U")), ElementsAre("[PCIPort D-ep], OK", "PCIPort D-ep, OK"));
}

TEST_F(PciPortTest, ListsNoPortsForOtherIdentifiers) {
  Use(MixedHost());
  for (const char* name : {"", "e-ep", "D1", "h", "nobody"}) {
    EXPECT_THAT(ListPortsOf(DevicePath(name)), ElementsAre("OK", "OK")) << name;
  }
}

// A host on which downstream ports sit right below bridges, so that bridges have ports filed.
fake::Host HostWithPortsBelowBridges() {
  return fake::Host()
      .Add(fake::PciBridge("b1"))
      .Add(fake::PciBridge("b10"))
      .Add(fake::SwitchDownstream("d").Parent("b1"))
      .Add(fake::SwitchDownstream("f").Parent("b1"))
      .Add(fake::SwitchDownstream("g").Parent("b10"));
}

TEST_F(PciPortTest, ListsThePortsFiledUnderEveryBridgeWhoseNameHoldsTheIdentifier) {
  Use(HostWithPortsBelowBridges());
  EXPECT_THAT(ListBridgePortsOf(BridgePath("b10")),
              ElementsAre("[PCIPort g-ep], OK", "PCIPort g-ep, OK"));
  for (const char* part : {"b1", "b", "1"}) {
    for (const Answer& answer : ListBridgePortsOf(BridgePath(part))) {
      EXPECT_THAT(answer.Elements(), ElementsAre("PCIPort d-ep", "PCIPort f-ep", "PCIPort g-ep"));
    }
  }
}

TEST_F(PciPortTest, ListsThePortsOfABridgeInTheOrderInWhichTheyAreFiled) {
  Use(fake::Host()
          .Add(fake::PciBridge("b1"))
          .Add(fake::SwitchDownstream("f").Parent("b1"))
          .Add(fake::SwitchDownstream("d").Parent("b1")));
  EXPECT_THAT(ListBridgePortsOf(BridgePath("b1")),
              ElementsAre("[PCIPort f-ep], [PCIPort d-ep], OK", "PCIPort f-ep, PCIPort d-ep, OK"));
}

TEST_F(PciPortTest, ListsBridgesInTheOrderOfTheIndex) {
  Use(HostWithPortsBelowBridges());
  std::string expected;
  for (const auto& [bridge, ports] : GetBridgePortsCache()) {
    for (const PortEntry* port : ports) expected += "PCIPort " + port->portName + ", ";
  }
  EXPECT_EQ(ListBridgePortsOf(BridgePath("b")).back(), expected + "OK");
}

TEST_F(PciPortTest, SelectionsKeepToThePropertyList) {
  fake::Host host = HostWithPortsBelowBridges();
  Use(host.Add(fake::SwitchUpstream("U")).Add(fake::SwitchDownstream("D").Parent("U")));
  const char* names[] = {"BusNumber", nullptr};
  const std::vector<std::pair<InstanceForm, std::string>> selections = {
      {&ListPorts, "U"}, {&ListBridgePorts, "b10"}, {&ListSwitchPorts, "U"}};
  for (const auto& selection : selections) {
    const auto source = DevicePath(selection.second);
    const Answer answer = Inside(source, [&](auto& result, const auto& path) {
      selection.first(path, static_cast<const char**>(names), result);
    });
    const std::vector<std::string> properties = Properties(answer.Only());
    EXPECT_THAT(properties, Contains(HasSubstr("BusNumber")));
    EXPECT_THAT(properties, Not(Contains(HasSubstr("PortType"))));
  }
}

TEST_F(PciPortTest, ListsNoBridgePortsForOtherIdentifiers) {
  Use(HostWithPortsBelowBridges());
  for (const char* name : {"", "b100", "d", "nobody"}) {
    EXPECT_THAT(ListBridgePortsOf(BridgePath(name)), ElementsAre("OK", "OK")) << name;
  }
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(PciPortTest, SharesOneSeenSetOverAllBridges) {
  Use(fake::Host().Add(fake::PciBridge("b")));
  for (const char* key : {"k1", "k2"}) {
    for (const PortEntry& entry : GetPortsCache()) {
      ProcessCache().bridge_ports[key].push_back(&entry);
    }
  }
  EXPECT_THAT(
      ListBridgePortsOf(BridgePath("k")),
      ElementsAre("[PCIPort b-pri], [PCIPort b-sec], OK", "PCIPort b-pri, PCIPort b-sec, OK"));
}

TEST_F(PciPortTest, ListsThePortsFiledUnderTheSwitchAndTracesTheSearch) {
  Use(MixedHost());
  EXPECT_THAT(ListSwitchPortsOf(SwitchPath("U")),
              ElementsAre("[PCIPort D1-ep], [PCIPort D2-ep], OK",
                          "PCIPort D1-ep, PCIPort D2-ep, "
                          "OK"));
  EXPECT_THAT(log.Lines(),
              ElementsAre(LogLine{LOG_CRIT, "ListSwitchPorts searching U (p:2) for U"},
                          LogLine{LOG_CRIT, "ListSwitchPortsRef searching U (p:2) for U"}));
}

TEST_F(PciPortTest, ListsSwitchPortsForTheWholeIdentifierOnly) {
  Use(fake::Host()
          .Add(fake::SwitchUpstream("U1"))
          .Add(fake::SwitchDownstream("D").Parent("U1"))
          .Add(fake::SwitchUpstream("U10"))
          .Add(fake::SwitchDownstream("E").Parent("U10")));
  EXPECT_THAT(ListSwitchPortsOf(SwitchPath("U1")),
              ElementsAre("[PCIPort D-ep], OK", "PCIPort D-ep, OK"));
  EXPECT_THAT(ListSwitchPortsOf(SwitchPath("U")), ElementsAre("OK", "OK"));
  EXPECT_THAT(log.Texts(LOG_CRIT),
              ::testing::IsSupersetOf({"ListSwitchPorts searching U10 (p:1) for U1",
                                       "ListSwitchPortsRef searching U1 (p:1) for U"}));
  EXPECT_EQ(log.Lines().size(), 8);  // each of four walks looks at both switches
}

TEST_F(PciPortTest, ListsNoSwitchPortsForAnEmptyIdentifierAndTracesNothing) {
  Use(MixedHost());
  EXPECT_THAT(ListSwitchPortsOf(SwitchPath("")), ElementsAre("OK", "OK"));
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(PciPortTest, SelectionsFailWithoutAnIdentifier) {
  Use(MixedHost());
  const cim::ObjectPath bare = Without(DevicePath("e"), "DeviceID");
  const auto fails = ElementsAre("NO_SUCH_PROPERTY", "NO_SUCH_PROPERTY");
  EXPECT_THAT(ListPortsOf(bare), fails);
  EXPECT_THAT(ListBridgePortsOf(bare), fails);
  EXPECT_THAT(ListSwitchPortsOf(bare), fails);
}

}  // namespace
