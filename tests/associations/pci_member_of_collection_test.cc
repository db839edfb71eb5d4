// The association "Ostrel_PCIMemberOfCollection".

#include "associations/pci_member_of_collection.h"

#include <string>
#include <vector>

#include "support/provider_test.h"

namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Eq;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class PciMemberOfCollectionTest : public ProviderTest {
 protected:
  Answer GetMember(const cim::ObjectPath& collection, const cim::ObjectPath& member) {
    return Get("PCIMemberOfCollection",
               AssociationPath("PCIMemberOfCollection", collection, member));
  }
  // associators, associatorNames, references, referenceNames.
  std::vector<Answer> From(const cim::ObjectPath& source) {
    return AssociationRequests("PCIMemberOfCollection", source);
  }
  Answer Run(const cim::ObjectPath& source,
             ostInt::CmpiStatus (*worker)(ostInt::CmpiResult&, const ostInt::CmpiObjectPath&,
                                          const char**)) {
    return Inside(source, [=](auto& result, const auto& path) {
      const char* properties[] = {"BusNumber", nullptr};
      return worker(result, path, properties);
    });
  }
  Answer Run(const cim::ObjectPath& source,
             ostInt::CmpiStatus (*worker)(ostInt::CmpiResult&, const ostInt::CmpiObjectPath&)) {
    return InsideRef(source, *worker);
  }
};

TEST_F(PciMemberOfCollectionTest, PlacesEveryPortInTheGroupOfItsBus) {
  Use(fake::Host()
          .Add(fake::Endpoint("e").Bus(1))
          .Add(fake::SwitchUpstream("U").Bus(2))
          .Add(fake::SwitchDownstream("D").Bus(3).Parent("U")));
  EXPECT_EQ(EnumNames("PCIMemberOfCollection"),
            "PCIMemberOfCollection(PCIPortGroup bus-1, PCIPort e-ep), "
            "PCIMemberOfCollection(PCIPortGroup bus-2, PCIPort U-up), "
            "PCIMemberOfCollection(PCIPortGroup bus-3, PCIPort D-ep), done, OK");
}

TEST_F(PciMemberOfCollectionTest, PlacesEachPortOfABridgeTwice) {
  Use(fake::Host().Add(fake::PciBridge("b").Bus(4).Secondary(5)));
  EXPECT_EQ(EnumNames("PCIMemberOfCollection"),
            "PCIMemberOfCollection(PCIPortGroup bus-4, PCIPort b-pri), "
            "PCIMemberOfCollection(PCIPortGroup bus-4, PCIPort b-sec), "
            "PCIMemberOfCollection(PCIPortGroup bus-4, PCIPort b-sec), "
            "PCIMemberOfCollection(PCIPortGroup bus-4, PCIPort b-pri), done, OK");
  EXPECT_EQ(EnumInstances("PCIMemberOfCollection"),
            "[PCIMemberOfCollection(PCIPortGroup bus-4, PCIPort b-pri)], "
            "[PCIMemberOfCollection(PCIPortGroup bus-4, PCIPort b-sec)], "
            "[PCIMemberOfCollection(PCIPortGroup bus-4, PCIPort b-sec)], "
            "[PCIMemberOfCollection(PCIPortGroup bus-4, PCIPort b-pri)], done, OK");
}

TEST_F(PciMemberOfCollectionTest, PlacesThePeerInTheGroupOfTheEntry) {
  Use(fake::Host().Add(fake::PciBridge("b").Bus(0)));
  ProcessCache().ports[1].bus = 1;
  EXPECT_EQ(EnumNames("PCIMemberOfCollection"),
            "PCIMemberOfCollection(PCIPortGroup bus-0, PCIPort b-pri), "
            "PCIMemberOfCollection(PCIPortGroup bus-0, PCIPort b-sec), "
            "PCIMemberOfCollection(PCIPortGroup bus-1, PCIPort b-sec), "
            "PCIMemberOfCollection(PCIPortGroup bus-1, PCIPort b-pri), done, OK");
}

// ---------------------------------------------------------------------------------------------
// getInstance

TEST_F(PciMemberOfCollectionTest, GetsTheOneAssociationOfAPortWithoutItsPeer) {
  Use(MixedHost());
  EXPECT_EQ(GetMember(GroupPath("Ostrel:bus-0"), PortPath("b-sec")),
            "[PCIMemberOfCollection(PCIPortGroup bus-0, PCIPort b-sec)], done, OK");
  ASSERT_THAT(log.Lines(), SizeIs(1));
  EXPECT_EQ(log.Lines()[0].priority, LOG_DEBUG);
  EXPECT_THAT(log.Lines()[0].text, ::testing::StartsWith("PCIMemberOfCollection "));
  EXPECT_THAT(log.Lines()[0].text, ::testing::HasSubstr("Ostrel_PCIMemberOfCollection"));
}

TEST_F(PciMemberOfCollectionTest, ComparesTheCollectionWithNothing) {
  Use(MixedHost());
  const char* found = "[PCIMemberOfCollection(PCIPortGroup bus-1, PCIPort e-ep)], done, OK";
  EXPECT_EQ(GetMember(GroupPath("Ostrel:bus-9"), PortPath("e-ep")), found);
  EXPECT_EQ(GetMember(SystemPath(), PortPath("e-ep")), found);
  EXPECT_EQ(Get("PCIMemberOfCollection",
                Without(AssociationPath("PCIMemberOfCollection", SystemPath(), PortPath("e-ep")),
                        "Collection")),
            found);
}

TEST_F(PciMemberOfCollectionTest, DoesNotFindAnUnknownMember) {
  Use(MixedHost());
  for (const char* name : {"nobody", "", "e"}) {
    log.Clear();
    EXPECT_EQ(GetMember(GroupPath("Ostrel:bus-1"), PortPath(name)), "NOT_FOUND");
    EXPECT_EQ(log.Lines().back(),
              (LogLine{LOG_DEBUG, std::string("MemberOfCollection gi: lookup item '") + name +
                                      "' not found"}));
  }
}

TEST_F(PciMemberOfCollectionTest, NeedsTheIdentifierOfTheMember) {
  Use(MixedHost());
  EXPECT_EQ(GetMember(GroupPath("Ostrel:bus-1"), Without(PortPath("e-ep"), "DeviceID")),
            "NO_SUCH_PROPERTY");
}

// ---------------------------------------------------------------------------------------------
// Sources

TEST_F(PciMemberOfCollectionTest, LeadsFromAPortToItsGroup) {
  Use(MixedHost());
  EXPECT_THAT(
      From(PortPath("e-ep")),
      ElementsAre("[PCIPortGroup bus-1], done, done, OK", "PCIPortGroup bus-1, done, done, OK",
                  "[PCIMemberOfCollection(PCIPortGroup bus-1, PCIPort e-ep)], done, done, "
                  "OK",
                  "PCIMemberOfCollection(PCIPortGroup bus-1, PCIPort e-ep), done, done, "
                  "OK"));
}

TEST_F(PciMemberOfCollectionTest, RefersFromAPortToItsPeerToo) {
  Use(fake::Host().Add(fake::PciBridge("b")));
  EXPECT_EQ(References("PCIMemberOfCollection", PortPath("b-sec")),
            "[PCIMemberOfCollection(PCIPortGroup bus-0, PCIPort b-sec)], "
            "[PCIMemberOfCollection(PCIPortGroup bus-0, PCIPort b-pri)], done, done, OK");
  EXPECT_EQ(ReferenceNames("PCIMemberOfCollection", PortPath("b-sec")),
            "PCIMemberOfCollection(PCIPortGroup bus-0, PCIPort b-sec), "
            "PCIMemberOfCollection(PCIPortGroup bus-0, PCIPort b-pri), done, done, OK");
}

TEST_F(PciMemberOfCollectionTest, FindsNothingForAnUnknownPort) {
  Use(MixedHost());
  EXPECT_THAT(From(PortPath("nobody")), Each(Eq("done, OK")));
  const LogLine line = {LOG_DEBUG, "MemberOfCollection ri: lookup item 'nobody' not found"};
  EXPECT_THAT(log.Lines(), ElementsAre(line, line));  // references and referenceNames
}

TEST_F(PciMemberOfCollectionTest, FailsForAPortWithoutIdentifier) {
  Use(MixedHost());
  EXPECT_THAT(From(Without(PortPath("e-ep"), "DeviceID")), Each(Eq("NO_SUCH_PROPERTY")));
  EXPECT_THAT(From(With(PortPath("e-ep"), "DeviceID", true)), Each(Eq("TYPE_MISMATCH")));
}

TEST_F(PciMemberOfCollectionTest, GivesTheGroupWholeWhateverThePropertyList) {
  Use(MixedHost());
  const PropertyList none = std::vector<std::string>();
  EXPECT_THAT(Properties(Associators("PCIMemberOfCollection", PortPath("e-ep"), {}, none).Only()),
              SizeIs(2));
}

TEST_F(PciMemberOfCollectionTest, LeadsFromAGroupToThePortsOnItsBus) {
  Use(MixedHost());
  EXPECT_THAT(
      From(GroupPath("Ostrel:bus-3")),
      ElementsAre("[PCIPort D1-ep], [PCIPort D2-ep], done, done, OK",
                  "PCIPort D1-ep, PCIPort D2-ep, done, done, OK",
                  "[PCIMemberOfCollection(PCIPortGroup bus-3, PCIPort D1-ep)], "
                  "[PCIMemberOfCollection(PCIPortGroup bus-3, PCIPort D2-ep)], done, done, OK",
                  "PCIMemberOfCollection(PCIPortGroup bus-3, PCIPort D1-ep), "
                  "PCIMemberOfCollection(PCIPortGroup bus-3, PCIPort D2-ep), done, done, OK"));
}

TEST_F(PciMemberOfCollectionTest, ListsABridgeOnceButRefersToItTwice) {
  Use(fake::Host().Add(fake::PciBridge("b")));
  EXPECT_THAT(
      From(GroupPath("Ostrel:bus-0")),
      ElementsAre("[PCIPort b-pri], [PCIPort b-sec], done, done, OK",
                  "PCIPort b-pri, PCIPort b-sec, done, done, OK",
                  "[PCIMemberOfCollection(PCIPortGroup bus-0, PCIPort b-sec)], "
                  "[PCIMemberOfCollection(PCIPortGroup bus-0, PCIPort b-pri)], "
                  "[PCIMemberOfCollection(PCIPortGroup bus-0, PCIPort b-sec)], "
                  "[PCIMemberOfCollection(PCIPortGroup bus-0, PCIPort b-pri)], done, done, OK",
                  "PCIMemberOfCollection(PCIPortGroup bus-0, PCIPort b-sec), "
                  "PCIMemberOfCollection(PCIPortGroup bus-0, PCIPort b-pri), "
                  "PCIMemberOfCollection(PCIPortGroup bus-0, PCIPort b-sec), "
                  "PCIMemberOfCollection(PCIPortGroup bus-0, PCIPort b-pri), done, done, OK"));
}

TEST_F(PciMemberOfCollectionTest, ListsOtherDuplicatesOncePerListing) {
  Use(fake::Host().Add(fake::Endpoint("e")).Add(fake::Endpoint("e")));
  EXPECT_EQ(AssociatorNames("PCIMemberOfCollection", GroupPath("Ostrel:bus-0")),
            "PCIPort e-ep, PCIPort e-ep, done, done, OK");
}

TEST_F(PciMemberOfCollectionTest, AppliesThePropertyListToPorts) {
  Use(fake::Host().Add(fake::Endpoint("e")));
  EXPECT_THAT(
      Properties(Associators("PCIMemberOfCollection", GroupPath("Ostrel:bus-0"), {}, {{"PortType"}})
                     .Only()),
      ElementsAre("PortType uint16 150"));
}

TEST_F(PciMemberOfCollectionTest, NamesThePeerOfAGroupsPortByItsSuffix) {
  Use(fake::Host().Add(fake::PciBridge("b")).Add(fake::Endpoint("e").Bus(1)));
  TopologyCache& cache = ProcessCache();
  cache.device_ports["b"] = &cache.ports[0];  // b-pri instead of b-sec
  cache.ports[2].peerName = "peer";           // of e-ep, which has none
  EXPECT_EQ(ReferenceNames("PCIMemberOfCollection", GroupPath("bus-0")).Elements().size(), 2);
  EXPECT_THAT(ReferenceNames("PCIMemberOfCollection", GroupPath("bus-0")).Elements(),
              Each(Eq("PCIMemberOfCollection(PCIPortGroup bus-0, PCIPort b-pri)")));
  EXPECT_EQ(References("PCIMemberOfCollection", GroupPath("bus-0")).instances.size(), 4);
  EXPECT_EQ(ReferenceNames("PCIMemberOfCollection", GroupPath("bus-1")),
            "PCIMemberOfCollection(PCIPortGroup bus-1, PCIPort e-ep), done, done, OK");
  EXPECT_EQ(References("PCIMemberOfCollection", GroupPath("bus-1")),
            "[PCIMemberOfCollection(PCIPortGroup bus-1, PCIPort e-ep)], "
            "[PCIMemberOfCollection(PCIPortGroup bus-1, PCIPort peer)], done, done, OK");
}

TEST_F(PciMemberOfCollectionTest, ReplacesTheLastSecondarySuffixAndWhatFollows) {
  Use(fake::Host().Add(fake::Endpoint("x-sec-sec")));
  EXPECT_EQ(ReferenceNames("PCIMemberOfCollection", GroupPath("bus-0")),
            "PCIMemberOfCollection(PCIPortGroup bus-0, PCIPort x-sec-sec-ep), "
            "PCIMemberOfCollection(PCIPortGroup bus-0, PCIPort x-sec-pri), done, done, OK");
}

TEST_F(PciMemberOfCollectionTest, RefersToTheBusOfThePortAndNotOfTheGroup) {
  Use(fake::Host().Add(fake::Endpoint("e").Bus(1)));
  ProcessCache().ports[0].bus = 2;
  EXPECT_EQ(ReferenceNames("PCIMemberOfCollection", GroupPath("bus-1")),
            "PCIMemberOfCollection(PCIPortGroup bus-2, PCIPort e-ep), done, done, OK");
}

TEST_F(PciMemberOfCollectionTest, SkipsDevicesOfAGroupWithoutAnIndexedPort) {
  Use(fake::Host().Add(fake::Endpoint("e")).Add(fake::Endpoint("f")));
  ProcessCache().device_ports.erase("e");
  EXPECT_EQ(ReferenceNames("PCIMemberOfCollection", GroupPath("bus-0")),
            "PCIMemberOfCollection(PCIPortGroup bus-0, PCIPort f-ep), done, done, OK");
  EXPECT_EQ(References("PCIMemberOfCollection", GroupPath("bus-0")),
            "[PCIMemberOfCollection(PCIPortGroup bus-0, PCIPort f-ep)], done, done, OK");
}

TEST_F(PciMemberOfCollectionTest, EndsTheResultOfAGroupThatNamesNoBusTwice) {
  Use(MixedHost());
  EXPECT_THAT(From(GroupPath("Ostrel:bus3")), Each(Eq("done, done, OK")));
  EXPECT_THAT(From(GroupPath("")), Each(Eq("done, done, OK")));
}

TEST_F(PciMemberOfCollectionTest, EndsTheResultOfABusWithoutPortsOnce) {
  Use(MixedHost());
  EXPECT_THAT(From(GroupPath("Ostrel:bus-9")), Each(Eq("done, OK")));
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(PciMemberOfCollectionTest, FailsForAGroupWithoutIdentifier) {
  Use(MixedHost());
  EXPECT_THAT(From(Without(GroupPath("x"), "InstanceID")), Each(Eq("NO_SUCH_PROPERTY")));
  EXPECT_THAT(From(With(GroupPath("x"), "InstanceID", std::uint8_t{1})), Each(Eq("TYPE_MISMATCH")));
}

TEST_F(PciMemberOfCollectionTest, AnswersWithTheFailureOfADevice) {
  Use(fake::Host().Add(fake::Endpoint("e")).Add(fake::Endpoint("f").Throws("GetRevision", "gone")));
  const Answer answer = Associators("PCIMemberOfCollection", GroupPath("bus-0"));
  EXPECT_EQ(answer, "[PCIPort e-ep], FAILED");
  EXPECT_EQ(answer.status.message, "gone");
}

TEST_F(PciMemberOfCollectionTest, WorkersAnswerForThemselves) {
  Use(MixedHost());
  EXPECT_EQ(Run(PortPath("nobody"), &PortToPortGroup), "NOT_FOUND");
  EXPECT_EQ(Run(PortPath("nobody"), &PortToPortGroupRef), "NOT_FOUND");
  EXPECT_EQ(Run(PortPath("nobody"), &GetMBInstanceByPort), "NOT_FOUND");
  EXPECT_EQ(Run(PortPath("nobody"), &GetMBInstanceByPortRef), "NOT_FOUND");
  for (const auto worker : {&PortGroupToPorts, &GetMBInstanceByGroup}) {
    EXPECT_EQ(Run(GroupPath("none"), worker), "done, NOT_FOUND");
    EXPECT_EQ(Run(GroupPath("bus-9"), worker), "NOT_FOUND");
  }
  for (const auto worker : {&PortGroupToPortsRef, &GetMBInstanceByGroupRef}) {
    EXPECT_EQ(Run(GroupPath("none"), worker), "done, NOT_FOUND");
    EXPECT_EQ(Run(GroupPath("bus-9"), worker), "NOT_FOUND");
  }
}

}  // namespace
