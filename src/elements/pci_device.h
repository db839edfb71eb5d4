// The provider of "Ostrel_PCIDevice": one instance per PCI function that is neither a bridge nor a
// port of a PCI Express switch. Its property builder and its walk serve the other providers too.
//
// Thread rule: reads the topology cache and the devices; may run on any thread.
// Errors: HostCtl::Lib::HostCtlException of a device passes to the caller unless said otherwise;
// what was returned before it stays returned.

#ifndef ELEMENTS_PCI_DEVICE_H_
#define ELEMENTS_PCI_DEVICE_H_

#include <string>

#include "cache/classification.h"
#include "cache/hostctl.h"
#include "cache/topology_cache.h"
#include "frame/object_paths.h"
#include "platform/ostint/cmpi_broker.h"
#include "platform/ostint/cmpi_object.h"

// The vendor's name and the device's, which open the "ElementName" of devices and ports.
std::string ProductName(const HostCtl::Hardware::PciDevice* device);

// Sets the nineteen PCI properties that device, bridge and switch instances share. A physical slot
// that cannot be read is logged and left out.
void PopulateDeviceDetails(const HostCtl::Hardware::PciDevice* device,
                           ostInt::CmpiInstance& instance);

// Returns the instances, or the object paths, of all plain devices, in the order of the device
// list. Do not call returnDone().
void DeviceList(ostInt::CmpiResult& result, const char** properties);
void DeviceListRef(ostInt::CmpiResult& result);

// Calls visit(device, path) for each plain device, in the order of the device list, until a visit
// answers true; answers whether one did. What a visit makes is freed after it.
template <typename Visit>
bool AnyPlainDevice(Visit visit) {
  for (const auto& device : GetDevicesCache()) {
    if (IsBridge(device.get()) || IsPortOnSwitch(device.get())) continue;
    const ostInt::CmpiElementScope scope;
    ostInt::CmpiObjectPath path(kNameSpace, kDeviceClass);
    PopulateDevicePath(device.get(), path);
    if (visit(device.get(), path)) return true;
  }
  return false;
}

#endif  // ELEMENTS_PCI_DEVICE_H_
