// The association "Ostrel_PCIControlledBy".

#include "associations/pci_controlled_by.h"

#include <string>
#include <vector>

#include "cache/cache_state.h"
#include "cache/controlled_by.h"
#include "support/provider_test.h"

namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Eq;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class PciControlledByTest : public ProviderTest {
 protected:
  Answer GetControlled(const std::string& port) {
    return Get("PCIControlledBy",
               AssociationPath("PCIControlledBy", DevicePath("any"), PortPath(port)));
  }
  // associators, associatorNames, references, referenceNames.
  std::vector<Answer> From(const cim::ObjectPath& source) {
    return AssociationRequests("PCIControlledBy", source);
  }

  // What a pair of twins returns for a source path: the instances, then the paths.
  using InstanceForm = void (*)(ostInt::CmpiResult&, const ostInt::CmpiObjectPath&, const char**);
  using RefForm = void (*)(ostInt::CmpiResult&, const ostInt::CmpiObjectPath&);
  std::vector<Answer> Twins(InstanceForm instances, RefForm refs, const cim::ObjectPath& source) {
    return {
        Inside(source, [=](auto& result, const auto& path) { instances(result, path, nullptr); }),
        InsideRef(source, [=](auto& result, const auto& path) { refs(result, path); })};
  }
  std::vector<Answer> ByBridge(const cim::ObjectPath& source) {
    return Twins(&GetCBInstancesByBridge, &GetCBInstancesByBridgeRef, source);
  }
  std::vector<Answer> BySwitch(const cim::ObjectPath& source) {
    return Twins(&GetCBInstancesBySwitch, &GetCBInstancesBySwitchRef, source);
  }
  std::vector<Answer> ByDevice(const cim::ObjectPath& source) {
    return Twins(&GetCBInstanceByDevice, &GetCBInstanceByDeviceRef, source);
  }
  std::vector<Answer> ByPort(const std::string& port) {
    return Twins(&GetCBInstanceByPort, &GetCBInstanceByPortRef, PortPath(port));
  }
  std::vector<Answer> Controllers(const std::string& port) {
    return {Inside(PortPath(port),
                   [](auto& result, const auto& path) { ListControllers(path, nullptr, result); }),
            InsideRef(PortPath(port),
                      [](auto& result, const auto& path) { ListControllersRef(path, result); })};
  }
};

// A downstream port whose host has no ports, so that its controller cannot be found.
fake::Host HostlessPort() {
  return fake::Host().Add(fake::HostBridge("h")).Add(fake::SwitchDownstream("D").Parent("h"));
}

TEST_F(PciControlledByTest, ListsEveryPortWithItsOwnDevice) {
  Use(MixedHost());
  EXPECT_EQ(EnumNames("PCIControlledBy"),
            "PCIControlledBy(PCIBridge b, PCIPort b-pri), "
            "PCIControlledBy(PCIBridge b, PCIPort b-sec), "
            "PCIControlledBy(PCIDevice e, PCIPort e-ep), "
            "PCIControlledBy(PCIBridge r, PCIPort r-pri), "
            "PCIControlledBy(PCIBridge r, PCIPort r-sec), "
            "PCIControlledBy(PCIeSwitch U, PCIPort U-up), "
            "PCIControlledBy(PCIDevice D1, PCIPort D1-ep), "
            "PCIControlledBy(PCIDevice D2, PCIPort D2-ep), "
            "PCIControlledBy(PCIDevice x, PCIPort x-ep), done, OK");
}

TEST_F(PciControlledByTest, NamesTheControllerByItsClassInEveryKey) {
  Use(fake::Host().Add(fake::SwitchUpstream("U")));
  const cim::ObjectPath path = EnumNames("PCIControlledBy").paths.at(0);
  EXPECT_EQ(*path.Key("Antecedent")->reference(), SwitchPath("U"));
}

TEST_F(PciControlledByTest, LeavesPortsWithoutADashOutAndTakesTheirNamesForDevices) {
  Use(fake::Host().Add(fake::Endpoint("e")).Add(fake::Endpoint("f")));
  ProcessCache().ports.front().portName = "plain";
  DropControlledBy();
  CacheControlledBy();
  EXPECT_THAT(log.Texts(LOG_ERR), ElementsAre("PortEntry name not right skipping plain"));
  EXPECT_EQ(EnumNames("PCIControlledBy"), "PCIControlledBy(PCIDevice f, PCIPort f-ep), done, OK");
  EXPECT_THAT(From(PortPath("plain")), Each(Eq("done, OK")));
}

// ---------------------------------------------------------------------------------------------
// getInstance

TEST_F(PciControlledByTest, GetsTheFirstPortOfTheDeviceThatHostsThePort) {
  Use(MixedHost());
  EXPECT_EQ(GetControlled("e-ep"), "[PCIControlledBy(PCIDevice e, PCIPort e-ep)], done, OK");
  EXPECT_EQ(GetControlled("b-pri"), "[PCIControlledBy(PCIBridge b, PCIPort b-pri)], done, OK");
  EXPECT_EQ(GetControlled("b-sec"), "[PCIControlledBy(PCIBridge b, PCIPort b-pri)], done, OK");
  EXPECT_EQ(GetControlled("D1-ep"), "[PCIControlledBy(PCIeSwitch U, PCIPort U-up)], done, OK");
}

TEST_F(PciControlledByTest, LogsTheRequestedPath) {
  Use(MixedHost());
  GetControlled("e-ep");
  ASSERT_THAT(log.Lines(), SizeIs(1));
  EXPECT_EQ(log.Lines()[0].priority, LOG_DEBUG);
  EXPECT_THAT(log.Lines()[0].text, ::testing::StartsWith("GetInstance for "));
  EXPECT_THAT(log.Lines()[0].text, ::testing::HasSubstr("Ostrel_PCIControlledBy"));
}

TEST_F(PciControlledByTest, DoesNotFindAnUnknownPort) {
  Use(MixedHost());
  for (const char* port : {"nobody", "", "e"}) {
    log.Clear();
    EXPECT_EQ(GetControlled(port), "NOT_FOUND");
    EXPECT_EQ(log.Lines().back(),
              (LogLine{LOG_DEBUG,
                       std::string("PCIControlledBy gi: lookup item '") + port + "' not found"}));
  }
}

TEST_F(PciControlledByTest, DoesNotFindAPortWhoseHostHasNone) {
  Use(HostlessPort());
  EXPECT_EQ(GetControlled("D-ep"), "NOT_FOUND");
  EXPECT_EQ(log.Lines().back(),
            (LogLine{LOG_DEBUG, "PCIControlledBy gi FAILED LookupPortEntry(parentID) = "}));
}

TEST_F(PciControlledByTest, DoesNotFindAPortWhoseHostsPortIsNotIndexed) {
  Use(MixedHost());
  ProcessCache().port_index.erase("U-up");
  EXPECT_EQ(GetControlled("D1-ep"), "NOT_FOUND");
  EXPECT_EQ(log.Lines().back(),
            (LogLine{LOG_DEBUG, "PCIControlledBy gi FAILED LookupPortEntry(parentID) = U-up"}));
}

TEST_F(PciControlledByTest, DoesNotFindAPortWhoseHostsPortHasNoName) {
  Use(HostlessPort());
  ProcessCache().port_index[""] = 0;
  EXPECT_EQ(GetControlled("D-ep"), "NOT_FOUND");
  EXPECT_EQ(log.Lines().back(), (LogLine{LOG_DEBUG, "PCIControlledBy gi item D-ep not found"}));
}

TEST_F(PciControlledByTest, NeverReadsTheAntecedent) {
  Use(MixedHost());
  const auto path = AssociationPath("PCIControlledBy", DevicePath("any"), PortPath("e-ep"));
  EXPECT_EQ(Get("PCIControlledBy", Without(path, "Antecedent")),
            "[PCIControlledBy(PCIDevice e, PCIPort e-ep)], done, OK");
  EXPECT_EQ(Get("PCIControlledBy", With(path, "Antecedent", "text")),
            "[PCIControlledBy(PCIDevice e, PCIPort e-ep)], done, OK");
}

TEST_F(PciControlledByTest, NeedsTheIdentifierOfTheDependent) {
  Use(MixedHost());
  EXPECT_EQ(Get("PCIControlledBy", AssociationPath("PCIControlledBy", DevicePath("e"),
                                                   Without(PortPath("e-ep"), "DeviceID"))),
            "NO_SUCH_PROPERTY");
}

// ---------------------------------------------------------------------------------------------
// Sources with an identifier

TEST_F(PciControlledByTest, LeadsFromAPortToItsController) {
  Use(MixedHost());
  EXPECT_THAT(From(PortPath("b-sec")),
              ElementsAre("[PCIBridge b], done, OK", "PCIBridge b, done, OK",
                          "[PCIControlledBy(PCIBridge b, PCIPort b-sec)], done, OK",
                          "PCIControlledBy(PCIBridge b, PCIPort b-sec), done, OK"));
  EXPECT_THAT(From(PortPath("D1-ep")),
              ElementsAre("[PCIDevice D1], done, OK", "PCIDevice D1, done, OK",
                          "[PCIControlledBy(PCIDevice D1, PCIPort D1-ep)], done, OK",
                          "PCIControlledBy(PCIDevice D1, PCIPort D1-ep), done, OK"));
}

TEST_F(PciControlledByTest, GivesTheControllerTheDevicePropertiesAlone) {
  Use(MixedHost());
  const cim::Instance bridge = Associators("PCIControlledBy", PortPath("b-pri")).Only();
  EXPECT_EQ(bridge.path, BridgePath("b"));
  EXPECT_EQ(Properties(bridge), Properties(Get("PCIDevice", DevicePath("b")).Only()));
  EXPECT_THAT(
      Properties(Associators("PCIControlledBy", PortPath("b-pri"), {}, {{"ClassCode"}}).Only()),
      ElementsAre("ClassCode uint8 6"));
}

TEST_F(PciControlledByTest, LeadsFromABridgeToItsPortsByTheProviderOrByTheIndex) {
  Use(MixedHost());
  EXPECT_THAT(From(BridgePath("b")),
              ElementsAre("[PCIPort b-pri], [PCIPort b-sec], done, OK",
                          "PCIPort b-sec, PCIPort b-pri, done, OK",
                          "[PCIControlledBy(PCIBridge b, PCIPort b-sec)], "
                          "[PCIControlledBy(PCIBridge b, PCIPort b-pri)], done, OK",
                          "PCIControlledBy(PCIBridge b, PCIPort b-sec), "
                          "PCIControlledBy(PCIBridge b, PCIPort b-pri), done, OK"));
}

TEST_F(PciControlledByTest, LeadsFromOtherDevicesToTheirPort) {
  Use(MixedHost());
  EXPECT_THAT(From(SwitchPath("U")),
              ElementsAre("[PCIPort U-up], done, OK", "PCIPort U-up, done, OK",
                          "[PCIControlledBy(PCIeSwitch U, PCIPort U-up)], done, OK",
                          "PCIControlledBy(PCIeSwitch U, PCIPort U-up), done, OK"));
  EXPECT_THAT(From(DevicePath("x")),
              ElementsAre("[PCIPort x-ep], done, OK", "PCIPort x-ep, done, OK",
                          "[PCIControlledBy(PCIDevice x, PCIPort x-ep)], done, OK",
                          "PCIControlledBy(PCIDevice x, PCIPort x-ep), done, OK"));
}

TEST_F(PciControlledByTest, GoesByTheNameWhateverTheClassOfTheSource) {
  Use(MixedHost());
  const cim::ObjectPath group = With(GroupPath("Ostrel:bus-9"), "DeviceID", "e");
  EXPECT_EQ(Associators("PCIControlledBy", group), "[PCIPort e-ep], done, OK");
  EXPECT_EQ(Associators("PCIControlledBy", DevicePath("e-ep")), "[PCIDevice e], done, OK");
  EXPECT_EQ(AssociatorNames("PCIControlledBy", PortPath("b")),
            "PCIPort b-sec, PCIPort b-pri, done, OK");
}

TEST_F(PciControlledByTest, FindsNothingForUnknownNames) {
  Use(fake::Host().Add(fake::HostBridge("h")).Add(fake::Endpoint("dashed-name")));
  for (const char* name : {"nobody", "nobody-ep", "h", "dashed-name"}) {
    EXPECT_THAT(From(DevicePath(name)), Each(Eq("done, OK"))) << name;
  }
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(PciControlledByTest, TakesTheLastOfADuplicate) {
  Use(fake::Host().Add(fake::Endpoint("e").Bus(1)).Add(fake::Endpoint("e").Bus(2)));
  EXPECT_EQ(PropertyText(Associators("PCIControlledBy", PortPath("e-ep")).Only(), "BusNumber"),
            "BusNumber uint8 2");
}

TEST_F(PciControlledByTest, AnswersWithTheFailureOfADevice) {
  Use(fake::Host().Add(fake::Endpoint("e").Throws("GetRevision", "gone")));
  EXPECT_EQ(Associators("PCIControlledBy", PortPath("e-ep")), "FAILED");
  EXPECT_EQ(Associators("PCIControlledBy", DevicePath("e")), "FAILED");
}

// ---------------------------------------------------------------------------------------------
// Sources without an identifier

TEST_F(PciControlledByTest, FindsNothingForAnEmptyIdentifierOfAServedClass) {
  Use(MixedHost());
  for (const auto& source : {BridgePath(""), SwitchPath(""), DevicePath("")}) {
    EXPECT_THAT(From(source), Each(Eq("done, OK"))) << Brief(source);
  }
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(PciControlledByTest, FindsNothingForAnEmptyPortNameAndNamesSaySoWhenReferred) {
  Use(MixedHost());
  EXPECT_THAT(From(PortPath("")), Each(Eq("done, OK")));
  EXPECT_THAT(log.Lines(),
              ElementsAre(LogLine{LOG_DEBUG, "PCIControlledBy rin: lookup item '' not found"}));
}

TEST_F(PciControlledByTest, FailsWithoutAnIdentifierOnceTheClassIsKnown) {
  Use(MixedHost());
  for (const auto& source : {BridgePath(""), SwitchPath(""), DevicePath(""), PortPath("")}) {
    EXPECT_THAT(From(Without(source, "DeviceID")), Each(Eq("NO_SUCH_PROPERTY"))) << Brief(source);
    EXPECT_THAT(From(With(source, "DeviceID", std::uint32_t{1})), Each(Eq("TYPE_MISMATCH")))
        << Brief(source);
  }
}

TEST_F(PciControlledByTest, LogsAnUnservedClassWhoseIdentifierIsNoText) {
  Use(MixedHost());
  EXPECT_THAT(From(With(SystemPath(), "DeviceID", std::uint32_t{1})), Each(Eq("done, OK")));
  EXPECT_THAT(log.Texts(LOG_DEBUG), SizeIs(4));
}

// ---------------------------------------------------------------------------------------------
// The functions behind the classes, which requests reach with an empty identifier alone

TEST_F(PciControlledByTest, AssociatesABridgeWithThePortsFiledUnderIt) {
  Use(fake::Host()
          .Add(fake::PciBridge("b"))
          .Add(fake::SwitchDownstream("d").Parent("b"))
          .Add(fake::SwitchDownstream("f").Parent("b")));
  EXPECT_THAT(ByBridge(BridgePath("b")),
              ElementsAre("[PCIControlledBy(PCIBridge b, PCIPort d-ep)], "
                          "[PCIControlledBy(PCIBridge b, PCIPort f-ep)], OK",
                          "PCIControlledBy(PCIBridge b, PCIPort d-ep), "
                          "PCIControlledBy(PCIBridge b, PCIPort f-ep), OK"));
  EXPECT_THAT(ByBridge(BridgePath("")), ElementsAre("OK", "OK"));
}

TEST_F(PciControlledByTest, AssociatesABridgeWithThePeersOfItsPortsToo) {
  Use(fake::Host().Add(fake::PciBridge("c")));
  for (const PortEntry& entry : GetPortsCache()) ProcessCache().bridge_ports["b"].push_back(&entry);
  EXPECT_EQ(ByBridge(BridgePath("b"))[1],
            "PCIControlledBy(PCIBridge b, PCIPort c-pri), "
            "PCIControlledBy(PCIBridge b, PCIPort c-sec), "
            "PCIControlledBy(PCIBridge b, PCIPort c-sec), "
            "PCIControlledBy(PCIBridge b, PCIPort c-pri), OK");
  EXPECT_EQ(ByBridge(BridgePath("b"))[0].instances.size(), 4);
}

TEST_F(PciControlledByTest, AssociatesASwitchWithThePortsFiledUnderItButNotTheirPeers) {
  Use(MixedHost());
  ProcessCache().ports[ProcessCache().port_index.at("D1-ep")].peerName = "peer";
  EXPECT_THAT(BySwitch(SwitchPath("U")),
              ElementsAre("[PCIControlledBy(PCIeSwitch U, PCIPort D1-ep)], "
                          "[PCIControlledBy(PCIeSwitch U, PCIPort D2-ep)], OK",
                          "PCIControlledBy(PCIeSwitch U, PCIPort D1-ep), "
                          "PCIControlledBy(PCIeSwitch U, PCIPort D2-ep), OK"));
  EXPECT_THAT(BySwitch(SwitchPath("D1")), ElementsAre("OK", "OK"));
}

TEST_F(PciControlledByTest, AssociatesADeviceWithItsConnectedPortAndThePeer) {
  Use(MixedHost());
  EXPECT_THAT(ByDevice(DevicePath("e")),
              ElementsAre("[PCIControlledBy(PCIDevice e, PCIPort e-ep)], OK",
                          "PCIControlledBy(PCIDevice e, PCIPort e-ep), OK"));
  EXPECT_THAT(ByDevice(DevicePath("b")),
              ElementsAre("[PCIControlledBy(PCIDevice b, PCIPort b-pri)], "
                          "[PCIControlledBy(PCIDevice b, PCIPort b-sec)], OK",
                          "PCIControlledBy(PCIDevice b, PCIPort b-pri), "
                          "PCIControlledBy(PCIDevice b, PCIPort b-sec), OK"));
}

TEST_F(PciControlledByTest, AssociatesOtherDevicesWithNothing) {
  Use(MixedHost());  // h has no ports, nothing is connected to D1
  for (const char* name : {"h", "D1", "nobody", ""}) {
    EXPECT_THAT(ByDevice(DevicePath(name)), ElementsAre("OK", "OK")) << name;
  }
}

TEST_F(PciControlledByTest, KeepsTheSourcePathAsItStands) {
  Use(MixedHost());
  const cim::ObjectPath odd = With(SwitchPath("U"), "SystemName", "elsewhere");
  for (const Answer& answer : BySwitch(odd)) {
    const cim::ObjectPath& path = answer.paths.empty() ? answer.instances[0].path : answer.paths[0];
    EXPECT_EQ(*path.Key("Antecedent")->reference(), odd);
  }
}

TEST_F(PciControlledByTest, FunctionsBehindTheClassesNeedTheIdentifier) {
  Use(MixedHost());
  const cim::ObjectPath bare = Without(DevicePath("e"), "DeviceID");
  EXPECT_THAT(ByBridge(bare), Each(Eq("NO_SUCH_PROPERTY")));
  EXPECT_THAT(BySwitch(bare), Each(Eq("NO_SUCH_PROPERTY")));
  EXPECT_THAT(ByDevice(bare), Each(Eq("NO_SUCH_PROPERTY")));
}

TEST_F(PciControlledByTest, AssociatesAPortByTheDeviceThatHostsIt) {
  Use(MixedHost());
  EXPECT_THAT(ByPort("b-sec"), ElementsAre("[PCIControlledBy(PCIBridge b, PCIPort b-pri)], OK",
                                           "PCIControlledBy(PCIBridge b, PCIPort b-pri), OK"));
  EXPECT_THAT(ByPort("D2-ep"), ElementsAre("[PCIControlledBy(PCIeSwitch U, PCIPort U-up)], OK",
                                           "PCIControlledBy(PCIeSwitch U, PCIPort U-up), OK"));
  EXPECT_THAT(ByPort("x-ep"), ElementsAre("[PCIControlledBy(PCIDevice x, PCIPort x-ep)], OK",
                                          "PCIControlledBy(PCIDevice x, PCIPort x-ep), OK"));
  EXPECT_THAT(log.Lines(), IsEmpty());
}

// The instance form logs nothing, so each line below is the path form's.

TEST_F(PciControlledByTest, LogsAnUnknownPortInThePathForm) {
  Use(MixedHost());
  EXPECT_THAT(ByPort("nobody"), ElementsAre("OK", "OK"));
  EXPECT_THAT(log.Lines(), ElementsAre(LogLine{
                               LOG_DEBUG, "PCIControlledBy rin: lookup item 'nobody' not found"}));
}

TEST_F(PciControlledByTest, LogsAHostWithoutPortsInThePathForm) {
  Use(HostlessPort());
  EXPECT_THAT(ByPort("D-ep"), ElementsAre("OK", "OK"));
  EXPECT_THAT(
      log.Lines(),
      ElementsAre(LogLine{LOG_DEBUG, "PCIControlledBy gi FAILED LookupPortEntry(parentID) = "}));
}

TEST_F(PciControlledByTest, LogsANamelessHostPortInThePathForm) {
  Use(HostlessPort());
  ProcessCache().port_index[""] = 0;
  EXPECT_THAT(ByPort("D-ep"), ElementsAre("OK", "OK"));
  EXPECT_THAT(log.Lines(),
              ElementsAre(LogLine{LOG_DEBUG, "PCIControlledBy gi item D-ep not found"}));
}

TEST_F(PciControlledByTest, ListsTheControllerOfAPort) {
  Use(MixedHost());
  EXPECT_THAT(Controllers("b-sec"), ElementsAre("[PCIBridge b], OK", "PCIBridge b, OK"));
  EXPECT_THAT(Controllers("U-up"), ElementsAre("[PCIeSwitch U], OK", "PCIeSwitch U, OK"));
  EXPECT_THAT(Controllers("D1-ep"), ElementsAre("[PCIDevice D1], OK", "PCIDevice D1, OK"));
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(PciControlledByTest, ListsControllersWithThePlainDevicesClassInTheKey) {
  Use(MixedHost());
  const std::vector<Answer> answers = Controllers("b-sec");
  cim::ObjectPath expected = DevicePath("b");
  expected.class_name = "Ostrel_PCIBridge";
  EXPECT_EQ(answers[0].Only().path, expected);
  EXPECT_EQ(answers[1].paths.at(0), expected);
  EXPECT_EQ(Properties(answers[0].Only()), Properties(Get("PCIDevice", DevicePath("b")).Only()));
}

TEST_F(PciControlledByTest, LogsAPortWithoutControllerUnlessItsNameIsEmpty) {
  Use(MixedHost());
  EXPECT_THAT(Controllers(""), ElementsAre("OK", "OK"));
  EXPECT_THAT(log.Lines(), IsEmpty());
  EXPECT_THAT(Controllers("nobody"), ElementsAre("OK", "OK"));
  EXPECT_THAT(log.Lines(),
              ElementsAre(LogLine{LOG_DEBUG, "ListControllers cop=nobody not found"},
                          LogLine{LOG_DEBUG, "ListControllersRef cop=nobody not found"}));
}

}  // namespace
