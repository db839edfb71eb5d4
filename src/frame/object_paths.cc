#include "frame/object_paths.h"

#include <memory>

#include "cache/topology_cache.h"
#include "platform/ostint/cmpi_data.h"

using HostCtl::Hardware::PciDevice;
using ostInt::CmpiObjectPath;

void SetDeviceObjectPath(const PciDevice* device, CmpiObjectPath& path, const char* className) {
  path.setKey("SystemCreationClassName", kSystemClass);
  path.setKey("SystemName", PciGetSystemName());
  path.setKey("CreationClassName", className);
  path.setKey("DeviceID", device->GetName().c_str());
}

void PopulateDevicePath(const PciDevice* device, CmpiObjectPath& path) {
  SetDeviceObjectPath(device, path, kDeviceClass);
}

CmpiObjectPath MakeElementRef(const PciDevice* device, const char* className) {
  CmpiObjectPath path(kNameSpace, className);
  SetDeviceObjectPath(device, path, className);
  return path;
}

CmpiObjectPath MakePCIPortRef(const char* portName) {
  CmpiObjectPath path(kNameSpace, kPortClass);
  path.setKey("SystemName", PciGetSystemName());
  path.setKey("CreationClassName", kPortClass);
  path.setKey("SystemCreationClassName", kSystemClass);
  path.setKey("DeviceID", portName);
  return path;
}

CmpiObjectPath PciCreateSystemRef() {
  CmpiObjectPath path(kNameSpace, kSystemClass);
  path.setKey("CreationClassName", kSystemClass);
  path.setKey("Name", PciGetSystemName());
  return path;
}

std::string ParentIdentifier(const PciDevice* device) {
  const std::unique_ptr<PciDevice> parent = device->GetParent();
  return parent == nullptr ? std::string() : parent->GetName();
}

std::string KeyText(const CmpiObjectPath& path, const char* name) {
  const ostInt::CmpiString text = path.getKey(name);
  return text.charPtr();
}

CmpiObjectPath KeyRef(const CmpiObjectPath& path, const char* name) { return path.getKey(name); }
