#include "bench/cache_floor.h"

#include <cctype>
#include <utility>

namespace bench {

namespace {

using HostCtl::Hardware::PciDevice;

bool IsOnSwitch(const PciDevice* device) {
  if (!device->HasCapability(0x10)) return false;
  const std::int32_t type = device->GetPcieDeviceType();
  return type == 5 || type == 6;
}

bool IsUpstream(const PciDevice* device) {
  return device->HasCapability(0x10) && device->GetPcieDeviceType() == 5;
}

bool IsBridge(const PciDevice* device) {
  return !IsOnSwitch(device) && device->GetClassCode() >> 8U == 6;
}

CacheFloor::Port MakePort(std::string name, std::string parent, const PciDevice* device) {
  CacheFloor::Port port{std::move(parent), std::move(name), {}, {}, device->GetBus(), device};
  port.device_name = device->GetName();
  return port;
}

void AddPorts(const PciDevice* device, std::vector<CacheFloor::Port>& ports) {
  if (IsOnSwitch(device) && !IsUpstream(device)) {
    const std::unique_ptr<PciDevice> parent = device->GetParent();
    if (parent == nullptr) return;
    std::string name = device->GetName() + "-ep";
    ports.push_back(MakePort(std::move(name), parent->GetName(), device));
  } else if (IsOnSwitch(device) && IsUpstream(device)) {
    std::string name = device->GetName();
    ports.push_back(MakePort(name + "-up", name, device));
  } else if (IsBridge(device)) {
    const int subclass = device->GetClassCode() & 0xff;
    if (subclass != 0x04 && subclass != 0x0a && subclass != 0x0b) return;
    const std::string name = device->GetName();
    ports.push_back(MakePort(name + "-pri", name, device));
    ports.push_back(MakePort(name + "-sec", name, device));
    ports.back().peer = name + "-pri";
    ports[ports.size() - 2].peer = name + "-sec";
  } else if (!IsOnSwitch(device)) {
    std::string name = device->GetName();
    ports.push_back(MakePort(name + "-ep", name, device));
  }
}

}  // namespace

void CacheFloor::Build() {
  system_name = HostCtl::Host::GetHardwareInfo()->GetSystemName();
  for (char& letter : system_name) {
    letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
  }
  HostCtl::HostFactory::GetHost();
  devices = HostCtl::Host::GetHardwareInfo()->GetPciInfo()->GetPciDevices();

  std::size_t bridges = 0;
  names.Reserve(devices.size());
  for (std::uint32_t position = 0; position < devices.size(); ++position) {
    const PciDevice* device = devices[position].get();
    names[device->GetName()].device = position;
    if (IsBridge(device)) {
      ++bridges;
    } else {
      (void)IsUpstream(device);
    }
  }
  ports.reserve(devices.size() + bridges);
  for (const auto& device : devices) {
    (void)device->GetName();
    AddPorts(device.get(), ports);
  }
  names.Reserve(devices.size() + ports.size());
  for (std::uint32_t position = 0; position < ports.size(); ++position) {
    names[ports[position].name].port = position;
    port_names.insert(port_names.end(), ports[position].name);
  }
  for (Port& port : ports) {
    port.class_name = IsBridge(port.device)     ? "Ostrel_PCIBridge"
                      : IsUpstream(port.device) ? "Ostrel_PCIeSwitch"
                                                : "Ostrel_PCIDevice";
  }
  for (const Port& port : ports) (void)port.device->GetName();
}

}  // namespace bench
