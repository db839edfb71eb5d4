// "Ostrel_PCIBridge", as naive_providers.h has it.

#include <string>

#include "support/naive/cim.h"
#include "support/naive_providers.h"

namespace naive {

using broker::PropertyList;
using cim::Instance;
using cim::ObjectPath;

Instance Providers::MakeBridge(const fake::Device& device, const PropertyList& properties) {
  Instance instance = InstanceFrom(DevicePath(device, kBridge));
  PopulateDeviceDetails(device, instance);
  Set(instance, "BridgeType", Uint16(model_.Ask("GetClassCode", device, device.class_code) % 256));
  Set(instance, "SecondaryBusNumber",
      Uint8(model_.Ask("GetSecondaryBus", device, device.secondary_bus)));
  return Filtered(instance, properties);
}

void Providers::BridgeEnumInstanceNames() {
  for (const Position bridge : topology().bridges) {
    ReturnPath(DevicePath(DeviceOf(topology().ports[bridge]), kBridge));
  }
  ReturnDone();
}

void Providers::BridgeEnumInstances(const PropertyList& properties) {
  for (const Position bridge : topology().bridges) {
    ReturnInstance(MakeBridge(DeviceOf(topology().ports[bridge]), properties));
  }
  ReturnDone();
}

void Providers::BridgeGetInstance(const ObjectPath& path, const PropertyList& properties) {
  const std::string id = ReadText(path, "DeviceID");
  if (id.empty()) NotFound();
  const auto found = topology().device_index.find(id);
  if (found == topology().device_index.end()) return;
  const fake::Device& device = DeviceAt(found->second);
  if (!model_.IsBridge(device)) NotFound();
  ReturnInstance(MakeBridge(device, properties));
}

}  // namespace naive
