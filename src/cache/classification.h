// What kind of PCI function a device is: switch port, bridge, or plain device.
//
// Thread rule: no state; every call asks the device afresh and may run on any thread.
// Errors: HostCtl::Lib::HostCtlException of a device passes to the caller unless a function says
// that it answers false instead. What is answered that way is logged at LOG_ERR.

#ifndef CACHE_CLASSIFICATION_H_
#define CACHE_CLASSIFICATION_H_

#include <cstdint>

#include "cache/hostctl.h"

// Capability IDs (PCI Local Bus 3.0, appendix H).
inline constexpr std::uint8_t kPciExpressCapability = 0x10;
inline constexpr std::uint8_t kPciXCapability = 0x07;

// PCI base class and the subclass of a 16-bit class code.
constexpr std::uint8_t BaseClass(std::uint16_t class_code) {
  return static_cast<std::uint8_t>(class_code >> 8U);
}
constexpr std::uint8_t SubClass(std::uint16_t class_code) {
  return static_cast<std::uint8_t>(class_code & 0xffU);
}

// Whether the device is the upstream or a downstream port of a PCI Express switch. A device whose
// capability or port type cannot be read is none.
bool IsPortOnSwitch(const HostCtl::Hardware::PciDevice* device);

// Whether the device is the upstream port of a switch, the function that stands for the switch. A
// device whose port type cannot be read is none; a failing capability read passes to the caller,
// unlike in IsPortOnSwitch (intended).
bool IsUpstreamPortOnSwitch(const HostCtl::Hardware::PciDevice* device);

// Whether the device is a bridge: base class 6 of any subclass, and no port of a switch.
bool IsBridge(const HostCtl::Hardware::PciDevice* device);

// Whether a bridge of this class code has ports: PCI-to-PCI (0x04), semi-transparent (0x0a) or
// InfiniBand-to-PCI (0x0b). Host, ISA, CardBus and other bridges have none.
bool IsBridgeWithPorts(std::uint16_t class_code);

// Which ports a device has, by its kind. Every test behind it asks the device again; a device that
// changes its answers in between may be kNone (intended).
enum class PortKind {
  kSwitchDownstream,
  kSwitchUpstream,
  kBridge,  // of any subclass; see IsBridgeWithPorts
  kEndpoint,
  kNone,
};
PortKind ClassifyPorts(const HostCtl::Hardware::PciDevice* device);

// The CIM class under which the device is reported as an element: "Ostrel_PCIBridge",
// "Ostrel_PCIeSwitch" (upstream ports) or "Ostrel_PCIDevice". Static text.
const char* SetClassName(const HostCtl::Hardware::PciDevice* device);

#endif  // CACHE_CLASSIFICATION_H_
