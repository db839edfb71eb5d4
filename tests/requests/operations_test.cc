// Enumerations, GetInstance, and what becomes of providers that fail.

#include "requests/operations.h"

#include <stdexcept>

#include "support/provider_test.h"

namespace requests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class RequestsTest : public ProviderTest {
 protected:
  static const cim::schema::Class& Class(const char* name) { return *cim::schema::FindClass(name); }

  Operations Stopping() { return {manager(), AfterFailure::kStop}; }
  Operations GoingOn() { return {manager(), AfterFailure::kAskTheOthers}; }

  static std::vector<std::string> Names(const broker::Recorder& found) {
    std::vector<std::string> names;
    for (const cim::ObjectPath& path : found.paths) names.push_back(Brief(path));
    for (const cim::Instance& instance : found.instances) names.push_back(Brief(instance.path));
    return names;
  }
};

TEST_F(RequestsTest, EnumerationsAskAllClassesBelow) {
  Use(fake::Host().Add(fake::Endpoint("e")).Add(fake::PciBridge("b")));
  broker::Recorder names;
  EXPECT_FALSE(Stopping().EnumerateInstanceNames(Class("CIM_PCIDevice"), names));
  EXPECT_THAT(Names(names), ElementsAre("PCIDevice e", "PCIBridge b"));
  broker::Recorder instances;
  EXPECT_FALSE(Stopping().EnumerateInstances(Class("CIM_PCIDevice"), {}, instances));
  EXPECT_EQ(Names(instances), Names(names));
}

TEST_F(RequestsTest, AClassWithoutAProviderHasNoInstances) {
  broker::ObjectManager without_providers({});
  broker::Recorder found;
  const Operations operations(without_providers, AfterFailure::kStop);
  EXPECT_FALSE(operations.EnumerateInstances(Class("CIM_PCIDevice"), {}, found));
  EXPECT_THAT(Names(found), IsEmpty());
}

TEST_F(RequestsTest, GetInstanceBringsTheOnePortThatIsMeant) {
  Use(MixedHost());
  for (const char* port : {"b-pri", "b-sec", "e-ep", "D2-ep"}) {
    std::vector<cim::Instance> found;
    EXPECT_FALSE(Stopping().GetInstance(PortPath(port), {}, found));
    ASSERT_EQ(found.size(), 1U) << port;
    EXPECT_EQ(Brief(found[0].path), std::string("PCIPort ") + port);
  }
}

TEST_F(RequestsTest, GetInstanceAsksTheClassItselfAlone) {
  Use(MixedHost());
  std::vector<cim::Instance> found(3);
  cim::ObjectPath path = DevicePath("e");
  path.class_name = "CIM_PCIDevice";
  EXPECT_FALSE(Stopping().GetInstance(path, {}, found));
  EXPECT_THAT(found, IsEmpty());
}

CMPIInstanceMI* FailingFactory(const CMPIBroker*, const CMPIContext*) {
  throw std::runtime_error("out of order");
}

TEST_F(RequestsTest, TheFirstFailureIsTheAnswer) {
  broker::ObjectManager failing({.system_name = "host"});
  const auto library = broker::ProviderLibrary::FromResolver(
      [](const char*) { return reinterpret_cast<void*>(&FailingFactory); });
  for (const char* cls : {"Ostrel_PCIPort", "Ostrel_PCIDevice"}) failing.Register(cls, library);
  for (const AfterFailure after : {AfterFailure::kStop, AfterFailure::kAskTheOthers}) {
    broker::Recorder found;
    const auto failure =
        Operations(failing, after).EnumerateInstanceNames(Class("CIM_ManagedElement"), found);
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->provider, "Ostrel_PCIPort");
    // The system comes last and is well.
    EXPECT_EQ(found.paths.size(), after == AfterFailure::kStop ? 0U : 1U);
  }
}

TEST_F(RequestsTest, AFailureNamesItsProviderAndTheOthersAreAskedWhereThatIsWanted) {
  Use(MixedHost(), RefusingSystem(CMPI_RC_ERR_ACCESS_DENIED, "no"));
  const cim::schema::Class& every = Class("CIM_ManagedElement");
  for (const bool all : {false, true}) {
    broker::Recorder found;
    const auto failure = (all ? GoingOn() : Stopping()).EnumerateInstanceNames(every, found);
    ASSERT_TRUE(failure) << all;
    EXPECT_EQ(failure->provider, "OMC_UnitaryComputerSystem");
    EXPECT_EQ(failure->status.message, "no");
  }
}

}  // namespace
}  // namespace requests
