// The association "Ostrel_PCIDeviceConnection".

#include "associations/pci_device_connection.h"

#include <string>
#include <vector>

#include "support/provider_test.h"

namespace {

using ::testing::ElementsAre;
using ::testing::Eq;
using ::testing::IsEmpty;

class PciDeviceConnectionTest : public ProviderTest {
 protected:
  Answer GetConnection(const std::string& antecedent, const std::string& dependent) {
    return Get("PCIDeviceConnection",
               AssociationPath("PCIDeviceConnection", PortPath(antecedent), PortPath(dependent)));
  }
  std::vector<Answer> FromPort(const std::string& port) {
    return AssociationRequests("PCIDeviceConnection", PortPath(port));
  }
  // What getInstance logs after the line for the request itself.
  std::vector<std::string> Complaints() const {
    std::vector<std::string> texts = log.Texts(LOG_DEBUG);
    EXPECT_THAT(texts.front(), ::testing::StartsWith("PCIDeviceConnection gi using item '"));
    texts.erase(texts.begin());
    return texts;
  }
};

// ---------------------------------------------------------------------------------------------
// Enumeration

TEST_F(PciDeviceConnectionTest, ListsDevicesWhoseParentIsCalledLikeAPort) {
  Use(fake::Host()
          .Add(fake::Endpoint("a"))
          .Add(fake::Endpoint("c").Parent("a-ep"))
          .Add(fake::PciBridge("d").Parent("a-ep")));
  EXPECT_EQ(EnumNames("PCIDeviceConnection"),
            "PCIDeviceConnection(PCIPort a-ep, PCIPort c-ep), "
            "PCIDeviceConnection(PCIPort a-ep, PCIPort d-pri), done, OK");
  EXPECT_EQ(EnumInstances("PCIDeviceConnection"),
            "[PCIDeviceConnection(PCIPort a-ep, PCIPort c-ep)], "
            "[PCIDeviceConnection(PCIPort a-ep, PCIPort d-pri)], done, OK");
}

TEST_F(PciDeviceConnectionTest, ListsNothingWhereIdentifiersAreNoPortNames) {
  Use(MixedHost());
  EXPECT_EQ(EnumNames("PCIDeviceConnection"), "done, OK");
  EXPECT_EQ(EnumInstances("PCIDeviceConnection"), "done, OK");
}

TEST_F(PciDeviceConnectionTest, SkipsDevicesToWhichNothingIsConnected) {
  Use(fake::Host().Add(fake::Endpoint("a")).Add(fake::HostBridge("h").Parent("a-ep")));
  EXPECT_EQ(EnumNames("PCIDeviceConnection"), "done, OK");
}

TEST_F(PciDeviceConnectionTest, SkipsAPortNameThatTheIndexDoesNotHold) {
  Use(fake::Host().Add(fake::Endpoint("a")).Add(fake::Endpoint("c").Parent("a-ep")));
  ProcessCache().port_index.erase("a-ep");
  EXPECT_EQ(EnumNames("PCIDeviceConnection"), "done, OK");
}

TEST_F(PciDeviceConnectionTest, EndsTheListWithTheFailureOfADevice) {
  Use(fake::Host()
          .Add(fake::Endpoint("a"))
          .Add(fake::Endpoint("c").Parent("a-ep"))
          .Add(fake::Endpoint("mute").Throws("GetParent", "no parent")));
  EXPECT_EQ(EnumNames("PCIDeviceConnection"),
            "PCIDeviceConnection(PCIPort a-ep, PCIPort c-ep), FAILED");
  EXPECT_EQ(EnumInstances("PCIDeviceConnection"),
            "[PCIDeviceConnection(PCIPort a-ep, PCIPort c-ep)], FAILED");
}

// ---------------------------------------------------------------------------------------------
// getInstance

TEST_F(PciDeviceConnectionTest, LeadsFromTheDependentToItsHostAndFromTheAntecedentToItself) {
  Use(MixedHost());
  EXPECT_EQ(GetConnection("x-ep", "D1-ep"),
            "[PCIDeviceConnection(PCIPort U-up, PCIPort x-ep)], done, OK");
  EXPECT_EQ(GetConnection("e-ep", "b-sec"),
            "[PCIDeviceConnection(PCIPort b-pri, PCIPort e-ep)], done, OK");
  EXPECT_THAT(log.Texts(LOG_ERR), IsEmpty());
}

TEST_F(PciDeviceConnectionTest, DoesNotFindAnUnknownDependent) {
  Use(MixedHost());
  EXPECT_EQ(GetConnection("U-up", "nobody"), "NOT_FOUND");
  EXPECT_THAT(Complaints(), ElementsAre("PCIDeviceConnection gi: lookup item 'nobody' not found"));
  log.Clear();
  EXPECT_EQ(GetConnection("U-up", ""), "NOT_FOUND");
  EXPECT_THAT(Complaints(), ElementsAre("PCIDeviceConnection gi: lookup item '' not found"));
}

TEST_F(PciDeviceConnectionTest, DoesNotFindADependentWhoseHostHasNoPorts) {
  Use(fake::Host().Add(fake::HostBridge("h")).Add(fake::SwitchDownstream("D").Parent("h")));
  EXPECT_EQ(GetConnection("D-ep", "D-ep"), "NOT_FOUND");
  EXPECT_THAT(Complaints(), ElementsAre("PCIDeviceConnection gi item D-ep not found"));
}

TEST_F(PciDeviceConnectionTest, DoesNotFindADependentWhoseHostIsNotThere) {
  Use(fake::Host().Add(fake::SwitchDownstream("D").Parent("elsewhere")));
  EXPECT_EQ(GetConnection("D-ep", "D-ep"), "NOT_FOUND");
  EXPECT_THAT(Complaints(), ElementsAre("PCIDeviceConnection gi item D-ep not found"));
}

TEST_F(PciDeviceConnectionTest, DoesNotFindAHostPortThatIsNoPortName) {
  Use(MixedHost());
  ProcessCache().port_names.erase("U-up");
  EXPECT_EQ(GetConnection("x-ep", "D1-ep"), "NOT_FOUND");
  EXPECT_THAT(Complaints(), ElementsAre("PCIDeviceConnection gi no portNames, found using 'U-up'"));
}

TEST_F(PciDeviceConnectionTest, DoesNotFindAHostPortThatTheIndexDoesNotHold) {
  Use(MixedHost());
  ProcessCache().port_index.erase("U-up");
  EXPECT_EQ(GetConnection("x-ep", "D1-ep"), "NOT_FOUND");
  EXPECT_THAT(Complaints(),
              ElementsAre("PCIDeviceConnection gi FAILED LookupPortEntry(parentID) = U-up"));
}

TEST_F(PciDeviceConnectionTest, DoesNotFindAnUnknownAntecedent) {
  Use(MixedHost());
  EXPECT_EQ(GetConnection("nobody", "D1-ep"), "NOT_FOUND");
  EXPECT_THAT(Complaints(), ElementsAre("PCIDeviceConnection gi FAILED FindConnectedPort(nobody)"));
}

TEST_F(PciDeviceConnectionTest, ReadsTheAntecedentOnlyOnceTheDependentIsFound) {
  Use(MixedHost());
  const auto bare = [](const char* dependent) {
    return Without(AssociationPath("PCIDeviceConnection", PortPath("x-ep"), PortPath(dependent)),
                   "Antecedent");
  };
  EXPECT_EQ(Get("PCIDeviceConnection", bare("nobody")), "NOT_FOUND");
  EXPECT_EQ(Get("PCIDeviceConnection", bare("D1-ep")), "NO_SUCH_PROPERTY");
}

TEST_F(PciDeviceConnectionTest, NeedsTheIdentifiersOfItsEnds) {
  Use(MixedHost());
  const cim::ObjectPath nameless = Without(PortPath("x-ep"), "DeviceID");
  EXPECT_EQ(Get("PCIDeviceConnection",
                AssociationPath("PCIDeviceConnection", nameless, PortPath("D1-ep"))),
            "NO_SUCH_PROPERTY");
  EXPECT_EQ(Get("PCIDeviceConnection",
                AssociationPath("PCIDeviceConnection", PortPath("x-ep"), nameless)),
            "NO_SUCH_PROPERTY");
}

// ---------------------------------------------------------------------------------------------
// Sources

// associators, associatorNames, references, referenceNames.

TEST_F(PciDeviceConnectionTest, ConnectsAnEndpointWithItself) {
  Use(MixedHost());
  EXPECT_THAT(FromPort("e-ep"),
              ElementsAre("[PCIPort e-ep], done, done, OK", "PCIPort e-ep, done, done, OK",
                          "[PCIDeviceConnection(PCIPort e-ep, PCIPort e-ep)], done, done, OK",
                          "PCIDeviceConnection(PCIPort e-ep, PCIPort e-ep), done, done, OK"));
}

TEST_F(PciDeviceConnectionTest, GivesAllPortsOfAConnectedBridgeButOnePath) {
  Use(MixedHost());
  EXPECT_THAT(FromPort("b-sec"),
              ElementsAre("[PCIPort b-pri], [PCIPort b-sec], done, done, OK",
                          "PCIPort b-pri, done, done, OK",
                          "[PCIDeviceConnection(PCIPort b-pri, PCIPort b-pri)], done, done, OK",
                          "PCIDeviceConnection(PCIPort b-pri, PCIPort b-pri), done, done, OK"));
}

TEST_F(PciDeviceConnectionTest, SearchesFromTheHostForPortsAndFromThePortForReferences) {
  Use(MixedHost());  // nothing names D1 as the host of its port
  EXPECT_THAT(FromPort("D1-ep"),
              ElementsAre("[PCIPort U-up], done, done, OK", "PCIPort U-up, done, done, OK",
                          "done, OK", "done, OK"));
}

TEST_F(PciDeviceConnectionTest, TakesThePortOnTheLowestBus) {
  Use(fake::Host()
          .Add(fake::SwitchUpstream("U").Bus(3))
          .Add(fake::SwitchDownstream("D").Bus(1).Parent("U")));
  EXPECT_THAT(FromPort("U-up"),
              ElementsAre("[PCIPort D-ep], done, done, OK", "PCIPort D-ep, done, done, OK",
                          "[PCIDeviceConnection(PCIPort U-up, PCIPort D-ep)], done, done, OK",
                          "PCIDeviceConnection(PCIPort U-up, PCIPort D-ep), done, done, OK"));
}

TEST_F(PciDeviceConnectionTest, FindsNothingForUnknownPorts) {
  Use(MixedHost());
  for (const char* port : {"nobody", "", "e"}) {
    EXPECT_THAT(FromPort(port), ::testing::Each(Eq("done, OK"))) << port;
  }
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(PciDeviceConnectionTest, FindsNothingWhereTheHostOfThePortHasNoPorts) {
  Use(fake::Host().Add(fake::HostBridge("h")).Add(fake::SwitchDownstream("D").Parent("h")));
  EXPECT_THAT(FromPort("D-ep"), ::testing::Each(Eq("done, OK")));
}

TEST_F(PciDeviceConnectionTest, FindsNothingWhereThePortOfTheHostIsNotIndexed) {
  Use(MixedHost());
  ProcessCache().port_names.erase("U-up");
  EXPECT_THAT(FromPort("D1-ep"), ::testing::Each(Eq("done, OK")));
  Use(MixedHost());
  ProcessCache().port_index.erase("U-up");
  EXPECT_THAT(FromPort("D1-ep"), ::testing::Each(Eq("done, OK")));
}

TEST_F(PciDeviceConnectionTest, FindsNothingWhereNothingIsConnectedToTheHost) {
  Use(MixedHost());
  ProcessCache().port_index.at("U-up") = ProcessCache().port_index.at("D2-ep");
  EXPECT_EQ(Associators("PCIDeviceConnection", PortPath("D1-ep")), "done, OK");
  EXPECT_EQ(AssociatorNames("PCIDeviceConnection", PortPath("D1-ep")), "done, OK");
}

TEST_F(PciDeviceConnectionTest, FailsForAPortWithoutIdentifier) {
  Use(MixedHost());
  for (const cim::ObjectPath& source :
       {Without(PortPath("e-ep"), "DeviceID"), With(PortPath("e-ep"), "DeviceID", true)}) {
    for (const Answer& answer : AssociationRequests("PCIDeviceConnection", source)) {
      EXPECT_NE(answer.status.code, CMPI_RC_OK);
      EXPECT_EQ(answer.done_count, 0);
    }
  }
}

TEST_F(PciDeviceConnectionTest, PortFunctionsAnswerNotFoundThemselves) {
  Use(MixedHost());
  const auto related = [](auto& result, const auto& path) {
    return GetRelatedPort(result, path, nullptr);
  };
  const auto connection = [](auto& result, const auto& path) {
    return GetDevConnByPort(result, path, nullptr);
  };
  EXPECT_EQ(Inside(PortPath("e-ep"), related), "[PCIPort e-ep], done, OK");
  EXPECT_EQ(InsideRef(PortPath("e-ep"), GetRelatedPortRef), "PCIPort e-ep, done, OK");
  EXPECT_EQ(Inside(PortPath("nobody"), related), "NOT_FOUND");
  EXPECT_EQ(InsideRef(PortPath("nobody"), GetRelatedPortRef), "NOT_FOUND");
  EXPECT_EQ(Inside(PortPath("D1-ep"), connection), "NOT_FOUND");
  EXPECT_EQ(InsideRef(PortPath("D1-ep"), GetDevConnByPortRef), "NOT_FOUND");
}

}  // namespace
