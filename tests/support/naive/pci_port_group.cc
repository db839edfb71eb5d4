// "Ostrel_PCIPortGroup", as naive_providers.h has it.

#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>

#include "support/naive/cim.h"
#include "support/naive_providers.h"

namespace naive {

using broker::PropertyList;
using cim::Instance;
using cim::ObjectPath;

Instance Providers::MakePortGroup(int bus) {
  Instance instance = InstanceFrom(GroupPath(bus));
  Set(instance, "BusNumber", Uint8(bus));
  Set(instance, "ElementName", "PCI port group with bus number " + std::to_string(bus));
  return instance;
}

std::optional<int> Providers::ParseBusId(const ObjectPath& path) {
  const std::string id = ReadText(path, "InstanceID");
  if (!HasDash(id)) return {};
  const std::string number = id.substr(id.find('-') + 1);
  return static_cast<std::uint8_t>(std::strtol(number.c_str(), nullptr, 10));
}

bool Providers::PortGroupExists(int bus) const {
  for (const Port& port : topology().ports) {
    if (port.bus == bus) return true;
  }
  return false;
}

void Providers::GroupEnumInstanceNames() {
  for (const int bus : topology().bus_numbers) ReturnPath(GroupPath(bus));
  ReturnDone();
}

void Providers::GroupEnumInstances(const PropertyList& properties) {
  for (const int bus : topology().bus_numbers) {
    ReturnInstance(Filtered(MakePortGroup(bus), properties));
  }
  ReturnDone();
}

void Providers::GroupGetInstance(const ObjectPath& path, const PropertyList& properties) {
  const std::optional<int> bus = ParseBusId(path);
  if (!bus || !PortGroupExists(*bus)) {
    ReturnDone();
    NotFound();
  }
  ReturnInstance(Filtered(MakePortGroup(*bus), properties));
  ReturnDone();
}

}  // namespace naive
