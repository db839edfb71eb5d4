// The provider of "Ostrel_PCIBridge": one instance per bridge of the topology cache's bridge list.
//
// Thread rule: reads the topology cache and the devices; may run on any thread.
// Errors: HostCtl::Lib::HostCtlException of a device leaves the operation, nothing is caught.

#ifndef ELEMENTS_PCI_BRIDGE_H_
#define ELEMENTS_PCI_BRIDGE_H_

#include "platform/ostint/cmpi_base_mi.h"

class PCIBridge : virtual public ostInt::CmpiInstanceMI {
 public:
  PCIBridge(const ostInt::CmpiBroker& broker, const ostInt::CmpiContext& context);

  ostInt::CmpiStatus enumInstanceNames(const ostInt::CmpiContext& context,
                                       ostInt::CmpiResult& result,
                                       const ostInt::CmpiObjectPath& path) override;
  ostInt::CmpiStatus enumInstances(const ostInt::CmpiContext& context, ostInt::CmpiResult& result,
                                   const ostInt::CmpiObjectPath& path,
                                   const char** properties) override;
  // Never calls returnDone(), and refuses devices that are no bridges, unlike the provider of
  // plain devices (both intended).
  ostInt::CmpiStatus getInstance(const ostInt::CmpiContext& context, ostInt::CmpiResult& result,
                                 const ostInt::CmpiObjectPath& path,
                                 const char** properties) override;
};

#endif  // ELEMENTS_PCI_BRIDGE_H_
