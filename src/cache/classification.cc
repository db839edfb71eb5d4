#include "cache/classification.h"

#include <syslog.h>

namespace {

// Device/port types (PCI Express Base, 7.5.3.2).
constexpr std::int32_t kUpstreamPort = 5;
constexpr std::int32_t kDownstreamPort = 6;

constexpr std::uint8_t kBridgeBaseClass = 0x06;

}  // namespace

bool IsPortOnSwitch(const HostCtl::Hardware::PciDevice* device) {
  try {
    if (!device->HasCapability(kPciExpressCapability)) return false;
    const std::int32_t type = device->GetPcieDeviceType();
    return type == kUpstreamPort || type == kDownstreamPort;
  } catch (const HostCtl::Lib::HostCtlException& error) {
    syslog(LOG_ERR, "Check for Port on PCIeSwitch failed,reporting false, error %s",
           error.message.c_str());
    return false;
  }
}

bool IsUpstreamPortOnSwitch(const HostCtl::Hardware::PciDevice* device) {
  // Outside the guard, unlike in IsPortOnSwitch: intended.
  if (!device->HasCapability(kPciExpressCapability)) return false;
  try {
    return device->GetPcieDeviceType() == kUpstreamPort;
  } catch (const HostCtl::Lib::HostCtlException& error) {
    syslog(LOG_ERR, "Check Upstream port on PCIeSwitch class failed,reporting false, error %s",
           error.message.c_str());
    return false;
  }
}

bool IsBridge(const HostCtl::Hardware::PciDevice* device) {
  // The ports of a switch carry the bridge class too, but are switch ports here.
  if (IsPortOnSwitch(device)) return false;
  return BaseClass(device->GetClassCode()) == kBridgeBaseClass;
}

bool IsBridgeWithPorts(std::uint16_t class_code) {
  const std::uint8_t subclass = SubClass(class_code);
  return subclass == 0x04 || subclass == 0x0a || subclass == 0x0b;
}

// Flat: asked for every port of an enumeration.
[[gnu::flatten]] PortKind ClassifyPorts(const HostCtl::Hardware::PciDevice* device) {
  if (IsPortOnSwitch(device) && !IsUpstreamPortOnSwitch(device)) return PortKind::kSwitchDownstream;
  if (IsPortOnSwitch(device) && IsUpstreamPortOnSwitch(device)) return PortKind::kSwitchUpstream;
  if (IsBridge(device)) return PortKind::kBridge;
  return IsPortOnSwitch(device) ? PortKind::kNone : PortKind::kEndpoint;
}

const char* SetClassName(const HostCtl::Hardware::PciDevice* device) {
  if (IsBridge(device)) return "Ostrel_PCIBridge";
  if (IsUpstreamPortOnSwitch(device)) return "Ostrel_PCIeSwitch";
  return "Ostrel_PCIDevice";
}
