// "Ostrel_PCIDevice", as naive_providers.h has it.

#include <cstddef>
#include <optional>
#include <string>

#include "support/naive/cim.h"
#include "support/naive_providers.h"

namespace naive {

using broker::PropertyList;
using cim::Instance;
using cim::ObjectPath;
using cim::Value;

void Providers::PopulateDeviceDetails(const fake::Device& device, Instance& instance) {
  const std::string vendor = model_.Ask("GetVendorName", device, device.vendor_name);
  const std::string name = model_.Ask("GetDeviceName", device, device.device_name);
  const int number = model_.Ask("GetDeviceNumber", device, device.number);
  const std::string element_name = vendor + " " + name + " #" + std::to_string(number);

  const std::optional<std::string> parent = AskParentName(device);

  const auto codes = model_.Ask("GetCapabilities", device, device.capabilities);
  Value::Array capabilities(codes.size(), Value::Null(CMPI_uint16));
  for (std::size_t i = 0; i < codes.size(); ++i) {
    capabilities[i % 256] = Uint16(static_cast<int>(codes[i] % 65536));
  }

  const int class_code = model_.Ask("GetClassCode", device, device.class_code);

  Set(instance, "BusNumber", Uint8(model_.Ask("GetBus", device, device.bus)));
  Set(instance, "DeviceNumber", Uint8(model_.Ask("GetDeviceNumber", device, device.number)));
  Set(instance, "FunctionNumber", Uint8(model_.Ask("GetFunction", device, device.function)));
  Set(instance, "ElementName", element_name);
  Set(instance, "PrimaryStatus", Uint16(0));
  Set(instance, "HealthState", Uint16(0));
  Set(instance, "EnabledState", Uint16(0));
  Set(instance, "RequestedState", Uint16(0));
  Set(instance, "Capabilities", Value::ArrayOf(CMPI_uint16, capabilities));
  Set(instance, "ClassCode", Uint8(class_code / 256));
  Set(instance, "SubsystemID", Uint16(model_.Ask("GetSubsystemId", device, device.subsystem_id)));
  Set(instance, "SubsystemVendorID",
      Uint16(model_.Ask("GetSubsystemVendorId", device, device.subsystem_vendor_id)));
  Set(instance, "PCIDeviceID", Uint16(model_.Ask("GetDeviceId", device, device.device_id)));
  Set(instance, "VendorID", Uint16(model_.Ask("GetVendorId", device, device.vendor_id)));
  Set(instance, "RevisionID", Uint8(model_.Ask("GetRevision", device, device.revision)));
  Set(instance, "SubClassCode", Uint8(class_code % 256));
  Set(instance, "SegmentNumber", Uint16(model_.Ask("GetSegment", device, device.segment)));
  Set(instance, "ParentDeviceID", parent.value_or(""));
  try {
    const int slot = model_.Ask("GetPhysicalSlot", device, device.slot);
    if (slot != -1) Set(instance, "PhysicalSlot", Uint8(slot));
  } catch (const Model::Failure& failure) {
    if (failure.thrown != fake::Thrown::kHostCtlException) throw;
    Log(kError, "Report PCI devices failed : " + failure.text);
  }
}

bool Providers::IsPlainDevice(const fake::Device& device) {
  if (model_.IsBridge(device)) return false;
  if (model_.IsPortOnSwitch(device)) return false;
  return true;
}

void Providers::DeviceList(const PropertyList& properties) {
  for (Position i = 0; i < DeviceCount(); ++i) {
    const fake::Device& device = DeviceAt(i);
    if (!IsPlainDevice(device)) continue;
    Instance instance = InstanceFrom(DevicePath(device, kDevice));
    PopulateDeviceDetails(device, instance);
    ReturnInstance(Filtered(instance, properties));
  }
}

void Providers::DeviceListRef() {
  for (Position i = 0; i < DeviceCount(); ++i) {
    const fake::Device& device = DeviceAt(i);
    if (!IsPlainDevice(device)) continue;
    ReturnPath(DevicePath(device, kDevice));
  }
}

void Providers::DeviceEnumInstanceNames() {
  DeviceListRef();
  ReturnDone();
}

void Providers::DeviceEnumInstances(const PropertyList& properties) {
  DeviceList(properties);
  ReturnDone();
}

void Providers::DeviceGetInstance(const ObjectPath& path, const PropertyList& properties) {
  const std::string id = ReadText(path, "DeviceID");
  if (id.empty()) NotFound();
  const auto found = topology().device_index.find(id);
  if (found != topology().device_index.end()) {
    try {
      const fake::Device& device = DeviceAt(found->second);
      Instance instance = InstanceFrom(DevicePath(device, kDevice));
      PopulateDeviceDetails(device, instance);
      ReturnInstance(Filtered(instance, properties));
    } catch (const Model::Failure& failure) {
      if (failure.thrown != fake::Thrown::kHostCtlException) throw;
      Log(kError, kReadFailed + failure.text);
    }
  }
  ReturnDone();
}

}  // namespace naive
