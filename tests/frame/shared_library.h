// The provider library as a file, loaded as an object manager loads it.
//
// Thread rule: on the test's own thread.

#ifndef FRAME_SHARED_LIBRARY_H_
#define FRAME_SHARED_LIBRARY_H_

#include <memory>
#include <string>

#include "broker/provider_library.h"
#include "ostint/recording_broker.h"
#include "platform/cmpi/cmpi.h"

inline constexpr const char* kElementClasses[] = {"Ostrel_PCIDevice", "Ostrel_PCIBridge",
                                                  "Ostrel_PCIeSwitch", "Ostrel_PCIPort",
                                                  "Ostrel_PCIPortGroup"};
inline constexpr const char* kAssociationClasses[] = {
    "Ostrel_PCISystemDevice", "Ostrel_PCIDeviceConnection", "Ostrel_PCIControlledBy",
    "Ostrel_PCIHostedCollection", "Ostrel_PCIMemberOfCollection"};

class SharedLibrary {
 public:
  explicit SharedLibrary(const RecordingBroker& broker)
      : broker_(broker), library_(broker::ProviderLibrary::Open(OSTREL_PCI_LIBRARY)) {}

  CMPIInstanceMI* InstanceMI(const std::string& class_name) const {
    return library_->FindInstanceFactory(class_name)(broker_.raw(), RecordingBroker::Context());
  }
  CMPIAssociationMI* AssociationMI(const std::string& class_name) const {
    return library_->FindAssociationFactory(class_name)(broker_.raw(), RecordingBroker::Context());
  }

 private:
  const RecordingBroker& broker_;
  std::shared_ptr<const broker::ProviderLibrary> library_;
};

#endif  // FRAME_SHARED_LIBRARY_H_
