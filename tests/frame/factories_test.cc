// The factories of the ten real provider classes.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "cache/hostctl.h"
#include "frame/provider_classes.h"
#include "frame/stderr_capture.h"
#include "ostint/recording_broker.h"
#include "platform/ostint/cmpi_base_mi.h"
#include "support/cache_reset.h"
#include "support/fake_host.h"
#include "support/sanitizers.h"

namespace {

using ostInt::CmpiAssociationMI;
using ostInt::CmpiBaseMI;
using ostInt::CmpiInstanceMI;

using BaseCleanup = CMPIStatus (*)(CMPIInstanceMI*, const CMPIContext*, CMPIBoolean);
using AssociationCleanup = CMPIStatus (*)(CMPIAssociationMI*, const CMPIContext*, CMPIBoolean);

// Calls factories, and cleans up after each call at the end of the test.
class FactoriesTest : public testing::Test {
 protected:
  FactoriesTest() {
    ResetCache();
    fake::Use(fake::Host().Add(fake::Endpoint("0000:00:01.0")));
  }
  ~FactoriesTest() override {
    for (CMPIInstanceMI* mi : instances_) mi->ft->cleanup(mi, context_, 1);
    for (CMPIAssociationMI* mi : associations_) mi->ft->cleanup(mi, context_, 1);
    for (const CMPIInstanceMI* mi : instances_) EXPECT_EQ(mi->hdl, nullptr);
    for (const CMPIAssociationMI* mi : associations_) EXPECT_EQ(mi->hdl, nullptr);
    ResetCache();
  }

  CMPIInstanceMI* Create(CreateInstanceMI factory) {
    CMPIInstanceMI* mi = factory(broker_.raw(), context_);
    instances_.push_back(mi);
    return mi;
  }
  CMPIAssociationMI* Create(CreateAssociationMI factory) {
    CMPIAssociationMI* mi = factory(broker_.raw(), context_);
    associations_.push_back(mi);
    return mi;
  }

  RecordingBroker broker_;
  const CMPIContext* context_ = RecordingBroker::Context();
  StderrCapture stderr_;
  std::vector<CMPIInstanceMI*> instances_;
  std::vector<CMPIAssociationMI*> associations_;
};

TEST_F(FactoriesTest, InstanceTablesCarryVersionNameAndDriveFunctions) {
  for (const ProviderClass& provider : kProviderClasses) {
    const CMPIInstanceMIFT& table = *Create(provider.create_instance)->ft;
    EXPECT_EQ(table.ftVersion, 200);
    EXPECT_EQ(table.miVersion, 200);
    EXPECT_EQ(std::string(table.miName), std::string("instance") + provider.name);
    EXPECT_EQ(table.cleanup, static_cast<BaseCleanup>(CmpiBaseMI::driveBaseCleanup));
    EXPECT_EQ(table.enumerateInstanceNames, CmpiInstanceMI::driveEnumInstanceNames);
    EXPECT_EQ(table.enumerateInstances, CmpiInstanceMI::driveEnumInstances);
    EXPECT_EQ(table.getInstance, CmpiInstanceMI::driveGetInstance);
    EXPECT_EQ(table.createInstance, CmpiInstanceMI::driveCreateInstance);
    EXPECT_EQ(table.modifyInstance, CmpiInstanceMI::driveSetInstance);
    EXPECT_EQ(table.deleteInstance, CmpiInstanceMI::driveDeleteInstance);
    EXPECT_EQ(table.execQuery, CmpiInstanceMI::driveExecQuery);
  }
}

TEST_F(FactoriesTest, AssociationTablesCarryVersionNameAndDriveFunctions) {
  for (const ProviderClass& provider : kProviderClasses) {
    if (provider.create_association == nullptr) continue;
    const CMPIAssociationMIFT& table = *Create(provider.create_association)->ft;
    EXPECT_EQ(table.ftVersion, 200);
    EXPECT_EQ(table.miVersion, 200);
    EXPECT_EQ(std::string(table.miName), std::string("association") + provider.name);
    EXPECT_EQ(table.cleanup, static_cast<AssociationCleanup>(CmpiBaseMI::driveBaseCleanup));
    EXPECT_EQ(table.associators, CmpiAssociationMI::driveAssociators);
    EXPECT_EQ(table.associatorNames, CmpiAssociationMI::driveAssociatorNames);
    EXPECT_EQ(table.references, CmpiAssociationMI::driveReferences);
    EXPECT_EQ(table.referenceNames, CmpiAssociationMI::driveReferenceNames);
  }
  EXPECT_EQ(associations_.size(), 5U);
}

TEST_F(FactoriesTest, BothRecordsOfSystemDeviceShareOneObjectWithTwoUses) {
  CMPIInstanceMI* instance = Create(Ostrel_PCISystemDevice_Create_InstanceMI);
  CMPIAssociationMI* association = Create(Ostrel_PCISystemDevice_Create_AssociationMI);
  EXPECT_NE(static_cast<void*>(instance), static_cast<void*>(association));
  EXPECT_EQ(instance->hdl, association->hdl);
  // Two uses: the first cleanup leaves the object, the second takes it.
  instance->ft->cleanup(instance, context_, 0);
  EXPECT_NE(association->hdl, nullptr);
  association->ft->cleanup(association, context_, 0);
  EXPECT_EQ(association->hdl, nullptr);
}

TEST_F(FactoriesTest, EveryClassHasAnObjectOfItsOwn) {
  std::vector<const void*> handles;
  for (const ProviderClass& provider : kProviderClasses) {
    const void* handle = Create(provider.create_instance)->hdl;
    EXPECT_THAT(handles, testing::Not(testing::Contains(handle))) << provider.name;
    handles.push_back(handle);
    if (provider.create_association == nullptr) continue;
    EXPECT_EQ(Create(provider.create_association)->hdl, handle) << provider.name;
  }
}

// OpenPegasus gives each provider a broker, and may unload one while others answer.
TEST_F(FactoriesTest, AClassNeverUsesTheBrokerOfAnother) {
  CMPIInstanceMI* devices = Create(Ostrel_PCIDevice_Create_InstanceMI);
  {
    CMPIBrokerEncFT nothing{};  // ends the process where it is asked for anything
    const CMPIBroker passing{nullptr, broker_.raw()->bft, &nothing, nullptr, nullptr};
    CMPIInstanceMI* ports = Ostrel_PCIPort_Create_InstanceMI(&passing, context_);
    ports->ft->cleanup(ports, context_, 0);
  }
  const CMPIStatus status = devices->ft->enumerateInstanceNames(
      devices, context_, broker_.Result(), broker_.Path("root/cimv2", "Ostrel_PCIDevice"));
  EXPECT_EQ(status.rc, CMPI_RC_OK);
  EXPECT_THAT(broker_.calls(), testing::Contains("returnObjectPath Ostrel_PCIDevice").Times(1));
}

TEST_F(FactoriesTest, TheTopologyIsReadOnceForAllClasses) {
  for (const ProviderClass& provider : kProviderClasses) {
    Create(provider.create_instance);
    if (provider.create_association != nullptr) Create(provider.create_association);
  }
  EXPECT_EQ(fake::CallCount("GetHost"), 1U);
  EXPECT_EQ(fake::CallCount("GetSystemName"), 1U);
  EXPECT_EQ(fake::CallCount("GetPciDevices"), 1U);
}

TEST_F(FactoriesTest, AProviderMadeAnewReadsNoTopologyAgain) {
  CMPIInstanceMI* mi = Create(Ostrel_PCIDevice_Create_InstanceMI);
  mi->ft->cleanup(mi, context_, 0);
  EXPECT_EQ(mi->hdl, nullptr);
  Create(Ostrel_PCIDevice_Create_InstanceMI);
  EXPECT_NE(mi->hdl, nullptr);
  EXPECT_EQ(fake::CallCount("GetPciDevices"), 1U);
}

TEST_F(FactoriesTest, InstanceFactoriesTraceAndAssociationFactoriesDoNot) {
  std::string expected;
  for (const ProviderClass& provider : kProviderClasses) {
    if (provider.create_association != nullptr) Create(provider.create_association);
    EXPECT_EQ(stderr_.Text(), expected) << provider.name;
    Create(provider.create_instance);
    expected += kTraceLine;
    EXPECT_EQ(stderr_.Text(), expected) << provider.name;
    Create(provider.create_instance);
    expected += kTraceLine;
    EXPECT_EQ(stderr_.Text(), expected) << provider.name;
  }
}

TEST_F(FactoriesTest, NothingCanBeCreatedModifiedDeletedOrQueried) {
  const CMPIResult* result = broker_.Result();
  const CMPIObjectPath* path = broker_.Path("root/cimv2", "C", {{"DeviceID", broker_.Text("x")}});
  const CMPIInstance* instance = broker_.Instance();
  for (const ProviderClass& provider : kProviderClasses) {
    CMPIInstanceMI* mi = Create(provider.create_instance);
    const std::size_t host_calls = fake::CallCount();
    const CMPIStatus statuses[] = {
        mi->ft->createInstance(mi, context_, result, path, instance),
        mi->ft->modifyInstance(mi, context_, result, path, instance, nullptr),
        mi->ft->deleteInstance(mi, context_, result, path),
        mi->ft->execQuery(mi, context_, result, path, "select * from C", "WQL")};
    for (const CMPIStatus& status : statuses) {
      EXPECT_EQ(status.rc, CMPI_RC_ERR_NOT_SUPPORTED) << provider.name;
      EXPECT_EQ(status.msg, nullptr) << provider.name;
    }
    EXPECT_EQ(fake::CallCount(), host_calls) << provider.name;
  }
  EXPECT_THAT(broker_.calls(), testing::IsEmpty());
}

TEST_F(FactoriesTest, AHostWithoutNameMakesTheFactoryThrowUntilItHasOne) {
  if (!kExceptionsPassOnce) GTEST_SKIP() << "the sanitizer's once does not let exceptions through";
  fake::Use(fake::Host().Throws("GetSystemName", "no name yet"));
  for (const ProviderClass& provider : kProviderClasses) {
    try {
      Create(provider.create_instance);
      FAIL() << provider.name << " was made without a system name";
    } catch (const HostCtl::Lib::HostCtlException& error) {
      EXPECT_EQ(error.message, "no name yet");
    }
  }
  EXPECT_EQ(stderr_.Text(), "");
  EXPECT_EQ(fake::CallCount("GetPciDevices"), 0U);

  fake::Use(fake::Host().SystemName("named"));
  EXPECT_NE(Create(Ostrel_PCIDevice_Create_InstanceMI)->hdl, nullptr);
  EXPECT_EQ(std::string(PciGetSystemName()), "named");
  EXPECT_EQ(fake::CallCount("GetPciDevices"), 1U);
}

TEST_F(FactoriesTest, AHostWithoutDevicesStillHasProviders) {
  fake::Use(fake::Host().Throws("GetPciDevices", "no bus"));
  CMPIInstanceMI* mi = Create(Ostrel_PCIDevice_Create_InstanceMI);
  const CMPIStatus status =
      mi->ft->enumerateInstances(mi, context_, broker_.Result(), broker_.Path("", "C"), nullptr);
  EXPECT_EQ(status.rc, CMPI_RC_OK);
  EXPECT_THAT(broker_.calls(), testing::ElementsAre("returnDone"));
}

}  // namespace
