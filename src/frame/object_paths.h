// Object paths of what the providers name: PCI elements (devices, bridges, switches), PCI ports and
// the hosting system; and the reading of keys from the paths of requests.
//
// All paths live in "root/cimv2" and all key values are strings. Identifiers, port names and the
// system name are used as they stand, so that a key of a request can be looked up in the cache
// directly. Keys are set in a fixed order, which differs between elements and ports (intended).
// Thread rule: no state; needs the topology cache to be built.
// Errors: HostCtl::Lib::HostCtlException of a device passes to the caller, and so does the
// wrapper's CmpiStatus.

#ifndef FRAME_OBJECT_PATHS_H_
#define FRAME_OBJECT_PATHS_H_

#include <string>

#include "cache/hostctl.h"
#include "platform/ostint/cmpi_object.h"

inline constexpr const char* kNameSpace = "root/cimv2";

inline constexpr const char* kSystemClass = "OMC_UnitaryComputerSystem";
inline constexpr const char* kDeviceClass = "Ostrel_PCIDevice";
inline constexpr const char* kBridgeClass = "Ostrel_PCIBridge";
inline constexpr const char* kSwitchClass = "Ostrel_PCIeSwitch";
inline constexpr const char* kPortClass = "Ostrel_PCIPort";
inline constexpr const char* kPortGroupClass = "Ostrel_PCIPortGroup";

// Sets the four keys of a PCI element on `path`; "CreationClassName" becomes `className`.
void SetDeviceObjectPath(const HostCtl::Hardware::PciDevice* device, ostInt::CmpiObjectPath& path,
                         const char* className);

// The same with "CreationClassName" always "Ostrel_PCIDevice", whatever the device is (intended).
void PopulateDevicePath(const HostCtl::Hardware::PciDevice* device, ostInt::CmpiObjectPath& path);

// A new element path of class `className`, its "CreationClassName" the same.
ostInt::CmpiObjectPath MakeElementRef(const HostCtl::Hardware::PciDevice* device,
                                      const char* className);

// A new port path.
ostInt::CmpiObjectPath MakePCIPortRef(const char* portName);
inline ostInt::CmpiObjectPath MakePCIPortRef(const std::string& portName) {
  return MakePCIPortRef(portName.c_str());
}

// A new path of the hosting system.
ostInt::CmpiObjectPath PciCreateSystemRef();

// The identifier of the device's parent; empty when it has none.
std::string ParentIdentifier(const HostCtl::Hardware::PciDevice* device);

// The text of a string key. Throws CmpiStatus when the key is missing or no string.
std::string KeyText(const ostInt::CmpiObjectPath& path, const char* name);

// The "DeviceID" of a path.
inline std::string DeviceIdOf(const ostInt::CmpiObjectPath& path) {
  return KeyText(path, "DeviceID");
}

// The object path in a reference key. Throws CmpiStatus when the key is missing or no reference.
ostInt::CmpiObjectPath KeyRef(const ostInt::CmpiObjectPath& path, const char* name);

#endif  // FRAME_OBJECT_PATHS_H_
