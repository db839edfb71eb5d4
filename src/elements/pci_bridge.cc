// The provider of "Ostrel_PCIBridge": one instance per bridge of the topology cache's bridge list.
//
// Thread rule: reads the topology cache and the devices; may run on any thread.
// Errors: HostCtl::Lib::HostCtlException of a device leaves the operation, nothing is caught.

#include <cstdint>
#include <string>

#include "cache/classification.h"
#include "cache/topology_cache.h"
#include "elements/pci_device.h"
#include "frame/object_paths.h"
#include "frame/registration.h"
#include "platform/ostint/cmpi_base_mi.h"
#include "platform/ostint/cmpi_data.h"

using HostCtl::Hardware::PciDevice;
using ostInt::CmpiContext;
using ostInt::CmpiInstance;
using ostInt::CmpiObjectPath;
using ostInt::CmpiResult;
using ostInt::CmpiStatus;

namespace {

CmpiInstance MakeBridge(const PciDevice* device, const CmpiObjectPath& path,
                        const char** properties) {
  CmpiInstance instance(path);
  PopulateDeviceDetails(device, instance);
  instance.setProperty("BridgeType", static_cast<std::uint16_t>(SubClass(device->GetClassCode())));
  instance.setProperty("SecondaryBusNumber", device->GetSecondaryBus());
  instance.setPropertyFilter(properties, nullptr);
  return instance;
}

// Calls visit(device, path) for each bridge, in the order of the bridge list.
template <typename Visit>
void ForEachBridge(Visit visit) {
  for (const PortEntry* entry : GetBridgesCache()) {
    const ostInt::CmpiElementScope scope;
    visit(entry->device, MakeElementRef(entry->device, kBridgeClass));
  }
}

}  // namespace

class PCIBridge : virtual public ostInt::CmpiInstanceMI {
 public:
  PCIBridge(const ostInt::CmpiBroker& broker, const CmpiContext& context)
      : CmpiBaseMI(broker, context), CmpiInstanceMI(broker, context) {
    LoadCache();
  }

  CmpiStatus enumInstanceNames(const CmpiContext& /*context*/, CmpiResult& result,
                               const CmpiObjectPath& /*path*/) override {
    ForEachBridge(
        [&](const PciDevice* /*device*/, const CmpiObjectPath& path) { result.returnData(path); });
    result.returnDone();
    return CMPI_RC_OK;
  }

  CmpiStatus enumInstances(const CmpiContext& /*context*/, CmpiResult& result,
                           const CmpiObjectPath& /*path*/, const char** properties) override {
    ForEachBridge([&](const PciDevice* device, const CmpiObjectPath& path) {
      result.returnData(MakeBridge(device, path, properties));
    });
    result.returnDone();
    return CMPI_RC_OK;
  }

  // Never calls returnDone(), and refuses devices that are no bridges, unlike the provider of
  // plain devices (both intended).
  CmpiStatus getInstance(const CmpiContext& /*context*/, CmpiResult& result,
                         const CmpiObjectPath& path, const char** properties) override {
    const std::string identifier = DeviceIdOf(path);
    if (identifier.empty()) return CMPI_RC_ERR_NOT_FOUND;
    const PciDevice* device = LookupDevice(identifier);
    if (device == nullptr) return CMPI_RC_OK;
    if (!IsBridge(device)) return CMPI_RC_ERR_NOT_FOUND;
    result.returnData(MakeBridge(device, MakeElementRef(device, kBridgeClass), properties));
    return CMPI_RC_OK;
  }
};

OSTREL_REGISTER_INSTANCE_PROVIDER(PCIBridge);
