// The association "Ostrel_PCIHostedCollection".

#include "associations/pci_hosted_collection.h"

#include "support/provider_test.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PciHostedCollectionTest : public ProviderTest {
 protected:
  Answer GetHosted(const cim::ObjectPath& dependent) {
    return Get("PCIHostedCollection",
               AssociationPath("PCIHostedCollection", SystemPath(), dependent));
  }
  std::vector<Answer> From(const cim::ObjectPath& source) {
    return AssociationRequests("PCIHostedCollection", source);
  }
};

fake::Host ThreeBuses() {
  return fake::Host()
      .Add(fake::Endpoint("a").Bus(5))
      .Add(fake::Endpoint("b").Bus(0))
      .Add(fake::Endpoint("c").Bus(3));
}

TEST_F(PciHostedCollectionTest, ListsOneAssociationPerBus) {
  Use(ThreeBuses());
  EXPECT_EQ(EnumNames("PCIHostedCollection"),
            "PCIHostedCollection(System fake-host, PCIPortGroup bus-0), "
            "PCIHostedCollection(System fake-host, PCIPortGroup bus-3), "
            "PCIHostedCollection(System fake-host, PCIPortGroup bus-5), done, OK");
  EXPECT_EQ(EnumInstances("PCIHostedCollection"),
            "[PCIHostedCollection(System fake-host, PCIPortGroup bus-0)], "
            "[PCIHostedCollection(System fake-host, PCIPortGroup bus-3)], "
            "[PCIHostedCollection(System fake-host, PCIPortGroup bus-5)], done, OK");
}

TEST_F(PciHostedCollectionTest, GetsTheAssociationOfAGroup) {
  Use(ThreeBuses());
  EXPECT_EQ(GetHosted(GroupPath("Ostrel:bus-3")),
            "[PCIHostedCollection(System fake-host, PCIPortGroup bus-3)], done, OK");
  EXPECT_EQ(GetHosted(GroupPath("any-259")),
            "[PCIHostedCollection(System fake-host, PCIPortGroup bus-3)], done, OK");
}

TEST_F(PciHostedCollectionTest, GetsNothingForABusWithoutGroup) {
  Use(ThreeBuses());
  EXPECT_EQ(GetHosted(GroupPath("Ostrel:bus-4")), "done, OK");
}

TEST_F(PciHostedCollectionTest, DoesNotFindAGroupThatNamesNoBus) {
  Use(ThreeBuses());
  EXPECT_EQ(GetHosted(GroupPath("Ostrel:bus3")), "done, NOT_FOUND");
}

TEST_F(PciHostedCollectionTest, FailsForAGroupWithoutIdentifier) {
  Use(ThreeBuses());
  EXPECT_EQ(GetHosted(Without(GroupPath("x"), "InstanceID")), "NO_SUCH_PROPERTY");
  EXPECT_EQ(GetHosted(With(GroupPath("x"), "InstanceID", std::uint8_t{3})), "TYPE_MISMATCH");
}

TEST_F(PciHostedCollectionTest, NeverReadsTheAntecedent) {
  Use(ThreeBuses());
  const auto path =
      AssociationPath("PCIHostedCollection", SystemPath("other"), GroupPath("Ostrel:bus-3"));
  for (const cim::ObjectPath& request :
       {path, Without(path, "Antecedent"), With(path, "Antecedent", "text")}) {
    EXPECT_EQ(Get("PCIHostedCollection", request),
              "[PCIHostedCollection(System fake-host, PCIPortGroup bus-3)], done, OK");
  }
}

// associators, associatorNames, references, referenceNames.

TEST_F(PciHostedCollectionTest, LeadsFromAGroupToTheSystem) {
  Use(ThreeBuses());
  EXPECT_THAT(From(GroupPath("Ostrel:bus-3")),
              ElementsAre("[System fake-host], done, OK", "System fake-host, done, OK",
                          "[PCIHostedCollection(System fake-host, PCIPortGroup bus-3)], done, "
                          "done, OK",
                          "PCIHostedCollection(System fake-host, PCIPortGroup bus-3), done, done, "
                          "OK"));
}

TEST_F(PciHostedCollectionTest, LeadsToTheSystemFromGroupsThatDoNotExist) {
  Use(ThreeBuses());
  for (const cim::ObjectPath& group :
       {GroupPath("Ostrel:bus-4"), GroupPath("Ostrel:bus3"), GroupPath("")}) {
    EXPECT_THAT(From(group),
                ElementsAre("[System fake-host], done, OK", "System fake-host, done, OK",
                            "done, done, OK", "done, done, OK"));
  }
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(PciHostedCollectionTest, LeadsFromTheSystemToEveryGroup) {
  Use(fake::Host().Add(fake::Endpoint("a").Bus(5)).Add(fake::Endpoint("b").Bus(2)));
  EXPECT_THAT(From(SystemPath()),
              ElementsAre("[PCIPortGroup bus-2], [PCIPortGroup bus-5], done, done, OK",
                          "PCIPortGroup bus-2, PCIPortGroup bus-5, done, done, OK",
                          "[PCIHostedCollection(System fake-host, PCIPortGroup bus-2)], "
                          "[PCIHostedCollection(System fake-host, PCIPortGroup bus-5)], done, "
                          "done, OK",
                          "PCIHostedCollection(System fake-host, PCIPortGroup bus-2), "
                          "PCIHostedCollection(System fake-host, PCIPortGroup bus-5), done, done, "
                          "OK"));
}

TEST_F(PciHostedCollectionTest, AppliesThePropertyListToGroups) {
  Use(fake::Host().Add(fake::Endpoint("a").Bus(5)));
  EXPECT_THAT(
      Properties(Associators("PCIHostedCollection", SystemPath(), {}, {{"BusNumber"}}).Only()),
      ElementsAre("BusNumber uint8 5"));
}

TEST_F(PciHostedCollectionTest, LeadsNowhereWhereTheObjectManagerHasNoSystem) {
  Use(ThreeBuses(), WithoutSystem());
  const auto group = GroupPath("Ostrel:bus-3");
  EXPECT_EQ(Associators("PCIHostedCollection", group), "done, OK");
  EXPECT_EQ(AssociatorNames("PCIHostedCollection", group), "done, OK");
}

TEST_F(PciHostedCollectionTest, AnswersWithTheObjectManagersRefusal) {
  Use(ThreeBuses(), RefusingSystem(CMPI_RC_ERR_ACCESS_DENIED, "not for you"));
  const auto group = GroupPath("Ostrel:bus-3");
  EXPECT_EQ(Associators("PCIHostedCollection", group), "ACCESS_DENIED");
  EXPECT_EQ(AssociatorNames("PCIHostedCollection", group), "ACCESS_DENIED");
}

TEST_F(PciHostedCollectionTest, ReferencesFailForAGroupWithoutIdentifier) {
  Use(ThreeBuses());
  EXPECT_THAT(From(Without(GroupPath("x"), "InstanceID")),
              ElementsAre("[System fake-host], done, OK", "System fake-host, done, OK",
                          "NO_SUCH_PROPERTY", "NO_SUCH_PROPERTY"));
}

TEST_F(PciHostedCollectionTest, WorkersAnswerForThemselves) {
  Use(ThreeBuses());
  const auto get = [](auto& result, const auto& path) {
    return GetInstance(result, path, nullptr);
  };
  const auto get_ref = [](auto& result, const auto& path) { return GetInstanceRef(result, path); };
  EXPECT_EQ(Inside(GroupPath("none"), get), "done, NOT_FOUND");
  EXPECT_EQ(InsideRef(GroupPath("none"), get_ref), "done, NOT_FOUND");
  EXPECT_EQ(InsideRef(GroupPath("bus-4"), get_ref), "done, OK");
  EXPECT_EQ(InsideRef(GroupPath("bus-3"), get_ref),
            "PCIHostedCollection(System fake-host, PCIPortGroup bus-3), done, OK");
}

}  // namespace
