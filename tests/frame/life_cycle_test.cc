// The life of the provider library in a process: loaded, used, cleaned up, unloaded, loaded again.

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "cache/hostctl.h"
#include "frame/shared_library.h"
#include "frame/stderr_capture.h"
#include "ostint/recording_broker.h"
#include "support/fake_host.h"
#include "support/sanitizers.h"

namespace {

bool InMemory() {
  void* handle = dlopen(OSTREL_PCI_LIBRARY, RTLD_NOW | RTLD_NOLOAD);
  if (handle != nullptr) dlclose(handle);
  return handle != nullptr;
}

// A host of `count` devices behind a bridge.
fake::Host HostOf(int count) {
  fake::Host host;
  host.SystemName("Host-" + std::to_string(count));
  host.Add(fake::PciBridge("0000:00:1c.0").Secondary(1));
  for (int device = 0; device < count; ++device) {
    host.Add(fake::PcieEndpoint("0000:01:0" + std::to_string(device) + ".0")
                 .At(1, device, 0)
                 .Parent("0000:00:1c.0"));
  }
  return host;
}

template <typename Mi>
CMPIrc Cleanup(Mi* mi, bool terminating) {
  return mi->ft->cleanup(mi, RecordingBroker::Context(), terminating ? 1 : 0).rc;
}

class LifeCycleTest : public testing::Test {
 protected:
  LifeCycleTest() { fake::Use(HostOf(2)); }
  ~LifeCycleTest() override { Unload(); }

  void Load() { library_.emplace(broker_); }
  // Whatever happened before: nothing of the library stays.
  void Unload() {
    if (!library_) return;
    library_.reset();
    EXPECT_FALSE(InMemory());
    EXPECT_EQ(fake::LiveObjects(), fake::Live{});
  }

  // How many paths the provider's enumeration answers.
  long CountNames(CMPIInstanceMI* mi) {
    const std::size_t before = broker_.calls().size();
    const CMPIStatus status = mi->ft->enumerateInstanceNames(
        mi, RecordingBroker::Context(), broker_.Result(), broker_.Path("root/cimv2", "C"));
    EXPECT_EQ(status.rc, CMPI_RC_OK) << TextOf(status.msg);
    return std::count_if(
        broker_.calls().begin() + static_cast<std::ptrdiff_t>(before), broker_.calls().end(),
        [](const std::string& call) { return call.starts_with("returnObjectPath"); });
  }

  RecordingBroker broker_;
  StderrCapture stderr_;  // the trace lines
  std::optional<SharedLibrary> library_;
};

TEST_F(LifeCycleTest, TheLibraryIsNotInMemoryBeforeItIsLoaded) { EXPECT_FALSE(InMemory()); }

TEST_F(LifeCycleTest, LoadingAloneAsksTheHostNothing) {
  Load();
  EXPECT_TRUE(InMemory());
  EXPECT_EQ(fake::CallCount(), 0U);
}

TEST_F(LifeCycleTest, TenLivesInOneProcessLeaveNothingBehind) {
  for (int life = 0; life < 10; ++life) {
    fake::Use(HostOf(life));
    Load();
    std::vector<CMPIInstanceMI*> instances;
    std::vector<CMPIAssociationMI*> associations;
    for (const char* name : kElementClasses) instances.push_back(library_->InstanceMI(name));
    for (const char* name : kAssociationClasses) {
      instances.push_back(library_->InstanceMI(name));
      associations.push_back(library_->AssociationMI(name));
    }
    // Every life sees the host as it is now.
    EXPECT_EQ(CountNames(instances.front()), life);
    EXPECT_THAT(broker_.calls(),
                testing::Contains("addKey SystemName chars host-" + std::to_string(life))
                    .Times(static_cast<std::size_t>(life)));
    EXPECT_EQ(fake::CallCount("GetPciDevices"), 1U);
    EXPECT_EQ(fake::LiveObjects().devices, life + 1);
    for (CMPIInstanceMI* mi : instances) EXPECT_EQ(Cleanup(mi, true), CMPI_RC_OK);
    for (CMPIAssociationMI* mi : associations) EXPECT_EQ(Cleanup(mi, true), CMPI_RC_OK);
    Unload();
  }
}

TEST_F(LifeCycleTest, OneCleanupForTheWholeLibraryIsEnough) {
  Load();
  std::vector<CMPIInstanceMI*> instances;
  for (const char* name : kElementClasses) instances.push_back(library_->InstanceMI(name));
  for (const char* name : kAssociationClasses) library_->AssociationMI(name);
  EXPECT_EQ(CountNames(instances.front()), 2);
  EXPECT_EQ(Cleanup(instances.front(), false), CMPI_RC_OK);
  Unload();
}

TEST_F(LifeCycleTest, TheLibraryMayGoWithoutAnyCleanup) {
  Load();
  for (const char* name : kElementClasses) CountNames(library_->InstanceMI(name));
  for (const char* name : kAssociationClasses) {
    CountNames(library_->InstanceMI(name));
    library_->AssociationMI(name);
  }
  Unload();
}

TEST_F(LifeCycleTest, AnIdleClassGoesWhileTheOthersStay) {
  Load();
  CMPIInstanceMI* devices = library_->InstanceMI("Ostrel_PCIDevice");
  CMPIInstanceMI* ports = library_->InstanceMI("Ostrel_PCIPort");
  CMPIInstanceMI* members = library_->InstanceMI("Ostrel_PCIMemberOfCollection");
  library_->AssociationMI("Ostrel_PCIMemberOfCollection");
  const long port_count = CountNames(ports);
  const long member_count = CountNames(members);
  EXPECT_GT(port_count, 0);

  EXPECT_EQ(Cleanup(devices, false), CMPI_RC_OK);
  EXPECT_EQ(devices->hdl, nullptr);
  EXPECT_EQ(CountNames(ports), port_count);
  EXPECT_EQ(CountNames(members), member_count);

  CMPIInstanceMI* again = library_->InstanceMI("Ostrel_PCIDevice");
  EXPECT_EQ(CountNames(again), 2);
  EXPECT_EQ(fake::CallCount("GetPciDevices"), 1U);
}

// The exception crosses from the host library through the provider library to the caller.
TEST_F(LifeCycleTest, AFactoryThatThrowsLeavesALibraryThatUnloads) {
  if (!kExceptionsPassOnce) GTEST_SKIP() << "the sanitizer's once does not let exceptions through";
  fake::Use(fake::Host().Throws("GetSystemName", "no name"));
  Load();
  EXPECT_THROW(library_->InstanceMI("Ostrel_PCIDevice"), HostCtl::Lib::HostCtlException);
  EXPECT_THROW(library_->AssociationMI("Ostrel_PCISystemDevice"), HostCtl::Lib::HostCtlException);
  Unload();
  fake::Use(HostOf(1));
  Load();
  EXPECT_EQ(CountNames(library_->InstanceMI("Ostrel_PCIDevice")), 1);
}

TEST_F(LifeCycleTest, ATopologyThatCannotBeReadIsReadAnewInTheNextLife) {
  fake::Use(fake::Host().Throws("GetPciDevices", "no bus"));
  Load();
  EXPECT_EQ(CountNames(library_->InstanceMI("Ostrel_PCIDevice")), 0);
  fake::Use(HostOf(1));
  EXPECT_EQ(CountNames(library_->InstanceMI("Ostrel_PCIDevice")), 0);
  Unload();
  Load();
  EXPECT_EQ(CountNames(library_->InstanceMI("Ostrel_PCIDevice")), 1);
}

}  // namespace
