// "Ostrel_PCIeSwitch", as naive_providers.h has it.

#include <optional>
#include <string>

#include "support/naive/cim.h"
#include "support/naive_providers.h"

namespace naive {

using broker::PropertyList;
using cim::Instance;
using cim::ObjectPath;

bool Providers::IsChildOf(const fake::Device& parent, const fake::Device& device) {
  try {
    const std::optional<std::string> name = AskParentName(device);
    if (!name) return false;
    return *name == model_.Ask("GetName", parent, parent.name);
  } catch (const Model::Failure& failure) {
    if (failure.thrown != fake::Thrown::kHostCtlException) throw;
    Log(kError, "Check Child of PCIeSwitch class failed,reporting false, error " + failure.text);
    return false;
  }
}

// Every failure that its handler knows is met in the child test already.
int Providers::DownstreamPortsCount(const fake::Device& device) {
  int count = 0;
  for (Position i = 0; i < DeviceCount(); ++i) {
    if (IsChildOf(device, DeviceAt(i))) ++count;
  }
  return count % 65536;
}

Instance Providers::MakeSwitch(const fake::Device& device, const PropertyList& properties) {
  Instance instance = InstanceFrom(DevicePath(device, kSwitch));
  PopulateDeviceDetails(device, instance);
  Set(instance, "NumberOfPorts", Uint16(DownstreamPortsCount(device)));
  return Filtered(instance, properties);
}

void Providers::SwitchEnumInstanceNames() {
  for (const Position upstream : topology().switches) {
    ReturnPath(DevicePath(DeviceOf(topology().ports[upstream]), kSwitch));
  }
  ReturnDone();
}

void Providers::SwitchEnumInstances(const PropertyList& properties) {
  for (const Position upstream : topology().switches) {
    ReturnInstance(MakeSwitch(DeviceOf(topology().ports[upstream]), properties));
  }
  ReturnDone();
}

void Providers::SwitchGetInstance(const ObjectPath& path, const PropertyList& properties) {
  const std::string id = ReadText(path, "DeviceID");
  if (id.empty()) NotFound();
  const auto found = topology().device_index.find(id);
  if (found == topology().device_index.end()) return;
  try {
    ReturnInstance(MakeSwitch(DeviceAt(found->second), properties));
  } catch (const Model::Failure& failure) {
    if (failure.thrown != fake::Thrown::kHostCtlException) throw;
    Log(kError, kReadFailed + failure.text);
  }
}

}  // namespace naive
