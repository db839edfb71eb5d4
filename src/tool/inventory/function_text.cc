#include "tool/inventory/function_text.h"

#include <fmt/format.h>

#include <array>

#include "tool/pci_class.h"

namespace tool {
namespace {

// By the number of the speed (PCI Express Base, 7.5.3.6).
constexpr std::array<std::string_view, 7> kSpeeds = {"?",       "2.5 GT/s", "5 GT/s", "8 GT/s",
                                                     "16 GT/s", "32 GT/s",  "64 GT/s"};

std::string SpeedText(std::uint8_t speed) {
  return speed < kSpeeds.size() ? std::string(kSpeeds[speed]) : fmt::format("speed {}", speed);
}

}  // namespace

std::string IdsText(std::uint16_t vendor, std::uint16_t device) {
  return fmt::format("{:04x}:{:04x}", vendor, device);
}

std::string RateText(const pci::LinkRate& rate) {
  if (rate.speed == 0 && rate.width == 0) return "";
  return SpeedText(rate.speed) + (rate.width == 0 ? " x?" : fmt::format(" x{}", rate.width));
}

std::string KindText(const pci::Function& function) {
  if (function.physical_function != pci::kNone) return "virtual function";
  const bool has_buses = function.buses.secondary != 0 || function.buses.subordinate != 0;
  switch (function.pcie_port_type) {
    case kRootPort: return has_buses ? "root port" : "bridge";
    case kUpstreamPort: return "switch";
    case kDownstreamPort: return "downstream port";
    case kToPci: return "bridge to PCI";
    case kFromPci: return "bridge from PCI";
    case kIntegratedEndpoint: return "integrated endpoint";
    case kEventCollector: return "event collector";
    default: break;
  }
  constexpr unsigned kBridgeClass = 0x06;
  return function.class_code >> 8 == kBridgeClass ? "bridge" : "device";
}

std::string ClassText(const pci::Function& function) {
  return PciClassName(static_cast<std::uint8_t>(function.class_code >> 8),
                      static_cast<std::uint8_t>(function.class_code & 0xff));
}

std::string NameText(const pci::Host& host, const pci::Function& function) {
  return host.VendorName(function) + ' ' + host.DeviceName(function);
}

std::string PathText(const pci::Host& host, const pci::Function& function) {
  const pci::Address& address = function.address;
  const std::string step = fmt::format("/{:02x}.{:x}", address.device, address.function);
  if (function.parent == pci::kNone)
    return fmt::format("{:04x}:{:02x}{}", address.domain, address.bus, step);
  const pci::Function& parent = host.functions()[function.parent];
  const int distance = address.bus - parent.buses.secondary;
  return PathText(host, parent) + (distance == 0 ? "" : fmt::format("/{:+}", distance)) + step;
}

std::string SlotName(const pci::Host& host, const pci::Function& function) {
  return function.slot == pci::kNone ? "" : host.slots()[function.slot].name;
}

}  // namespace tool
