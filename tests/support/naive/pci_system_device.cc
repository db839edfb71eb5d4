// "Ostrel_PCISystemDevice", as naive_providers.h has it.

#include <string>

#include "support/naive/cim.h"
#include "support/naive_providers.h"

namespace naive {

using broker::PropertyList;
using cim::Instance;
using cim::ObjectPath;

void Providers::ReturnSystemDevice(const ObjectPath& part, const PropertyList& properties) {
  const ObjectPath path =
      AssociationPath(kSystemDevice, "GroupComponent", SystemPath(), "PartComponent", part);
  ReturnInstance(Filtered(InstanceFrom(path), properties));
}

void Providers::ReturnSystemDeviceRef(const ObjectPath& part) {
  ReturnPath(AssociationPath(kSystemDevice, "GroupComponent", SystemPath(), "PartComponent", part));
}

void Providers::LoadSysDevices(const PropertyList& properties) {
  for (Position i = 0; i < DeviceCount(); ++i) {
    if (!IsPlainDevice(DeviceAt(i))) continue;
    ReturnSystemDevice(DevicePath(DeviceAt(i), kDevice), properties);
  }
}

void Providers::LoadSysPorts(const PropertyList& properties) {
  for (const Port& port : topology().ports) ReturnSystemDevice(PortPath(port.name), properties);
}

void Providers::LoadSysDevicesRef() {
  for (Position i = 0; i < DeviceCount(); ++i) {
    if (!IsPlainDevice(DeviceAt(i))) continue;
    ReturnSystemDeviceRef(DevicePath(DeviceAt(i), kDevice));
  }
}

void Providers::LoadSysPortsRef() {
  for (const Port& port : topology().ports) ReturnSystemDeviceRef(PortPath(port.name));
}

void Providers::LoadDevicesAndPortsRef() {
  try {
    LoadSysDevicesRef();
    LoadSysPortsRef();
  } catch (const Model::Failure& failure) {
    if (failure.thrown != fake::Thrown::kHostCtlException) throw;
    Log(kError, kReferencesFailed + failure.text);
  }
}

bool Providers::FindDevicePort(const ObjectPath& path, const PropertyList& properties) {
  try {
    if (!SameElement(ReadReference(path, "GroupComponent"), SystemPath())) return false;
    const ObjectPath part = ReadReference(path, "PartComponent");
    for (Position i = 0; i < DeviceCount(); ++i) {
      if (!IsPlainDevice(DeviceAt(i))) continue;
      const ObjectPath device = DevicePath(DeviceAt(i), kDevice);
      if (!SameElement(part, device)) continue;
      ReturnSystemDevice(device, properties);
      return true;
    }
    for (const Port& port : topology().ports) {
      if (!SameElement(part, PortPath(port.name))) continue;
      ReturnSystemDevice(PortPath(port.name), properties);
      return true;
    }
    return false;
  } catch (const Model::Failure& failure) {
    if (failure.thrown != fake::Thrown::kHostCtlException) throw;
    Log(kError, kReferencesFailed + failure.text);
    return false;
  }
}

void Providers::SystemDeviceEnumInstanceNames() {
  LoadDevicesAndPortsRef();
  ReturnDone();
}

void Providers::SystemDeviceEnumInstances(const PropertyList& properties) {
  LoadSysDevices(properties);
  LoadSysPorts(properties);
  ReturnDone();
}

void Providers::SystemDeviceGetInstance(const ObjectPath& path, const PropertyList& properties) {
  if (!FindDevicePort(path, properties)) NotFound();
  ReturnDone();
}

// What the object manager says when it is asked for the hosting system.

void Providers::ReturnSystemNameOfObjectManager() {
  if (system_.mode == SystemClassMode::kRefused) throw Status{CMPI_RC_ERR_FAILED, true};
  if (system_.mode == SystemClassMode::kEmpty) return;
  ObjectPath path = SystemPath();
  path.keys[1].second = system_.name;
  ReturnPath(path);
}

void Providers::ReturnSystemOfObjectManager(const PropertyList& properties) {
  if (system_.mode == SystemClassMode::kRefused) throw Status{CMPI_RC_ERR_FAILED, true};
  if (system_.mode == SystemClassMode::kEmpty) return;
  ObjectPath path = SystemPath();
  path.keys[1].second = system_.name;
  Instance instance = InstanceFrom(path);
  Set(instance, "ElementName", system_.name);
  ReturnInstance(Filtered(instance, properties));
}

void Providers::SystemDeviceAssociators(const Request& request) {
  const std::string result_class = request.filter.result_class.value_or("");
  if (IsA(request.path, kPort) || IsA(request.path, kDevice)) {
    ReturnSystemOfObjectManager(request.properties);
  } else if (IsA(request.path, kSystemClass)) {
    if (SameName(result_class, kPort)) {
      PortList(request.properties);
    } else if (SameName(result_class, kDevice)) {
      DeviceList(request.properties);
    } else {
      PortList(request.properties);
      DeviceList(request.properties);
    }
  } else {
    Log(kDebug, "PCISystemDevice ai ignoring " + Text(request.path));
  }
  ReturnDone();
}

void Providers::SystemDeviceAssociatorNames(const Request& request) {
  const std::string result_class = request.filter.result_class.value_or("");
  if (IsA(request.path, kPort) || IsA(request.path, kDevice)) {
    ReturnPath(SystemPath());
  } else if (IsA(request.path, kSystemClass)) {
    if (SameName(result_class, kPort)) {
      PortListRef();
    } else if (SameName(result_class, kDevice)) {
      DeviceListRef();
    } else {
      PortListRef();
      DeviceListRef();
    }
  } else {
    Log(kDebug, "PCISystemDevice ai ignoring " + Text(request.path));
  }
  ReturnDone();
}

void Providers::SystemDeviceReferences(const Request& request) {
  if (IsA(request.path, kDevice)) {
    LoadSysDevices(request.properties);
  } else if (IsA(request.path, kPort)) {
    LoadSysPorts(request.properties);
  } else if (IsA(request.path, kSystemClass)) {
    LoadSysDevices(request.properties);
    LoadSysPorts(request.properties);
  } else {
    Log(kDebug, "PCISystemDevice reference unsupported class " + Text(request.path));
  }
  ReturnDone();
}

void Providers::SystemDeviceReferenceNames(const Request& request) {
  if (IsA(request.path, kDevice)) {
    LoadSysDevicesRef();
  } else if (IsA(request.path, kPort)) {
    LoadSysPortsRef();
  } else if (IsA(request.path, kSystemClass)) {
    LoadDevicesAndPortsRef();
  } else {
    Log(kDebug, "PCISystemDevice reference unsupported class " + Text(request.path));
  }
  ReturnDone();
}

}  // namespace naive
