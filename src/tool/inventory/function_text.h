// A PCI function in the words that the commands have for it.
//
// Thread rule: pure functions.

#ifndef TOOL_INVENTORY_FUNCTION_TEXT_H_
#define TOOL_INVENTORY_FUNCTION_TEXT_H_

#include <string>

#include "pci/host.h"

namespace tool {

// Values of the port type (PCI Express Base, 7.5.3.2).
enum PortType : std::int8_t {
  kNoPort = -1,
  kEndpoint = 0,
  kLegacyEndpoint = 1,
  kRootPort = 4,
  kUpstreamPort = 5,
  kDownstreamPort = 6,
  kToPci = 7,
  kFromPci = 8,
  kIntegratedEndpoint = 9,
  kEventCollector = 10,
};

// "8086:10d3".
std::string IdsText(std::uint16_t vendor, std::uint16_t device);

// "8 GT/s x8"; empty where neither speed nor width is told, "?" for the one that is not.
std::string RateText(const pci::LinkRate& rate);

// What a function is beside its class: "root port", "switch", "downstream port", "virtual
// function", ...; "bridge" and "device" where nothing more is known.
std::string KindText(const pci::Function& function);

// "Ethernet controller".
std::string ClassText(const pci::Function& function);

// Vendor and device.
std::string NameText(const pci::Host& host, const pci::Function& function);

// Where the function is whatever numbers its buses have: "0000:00/03.0/00.0", the root bus and the
// device and function numbers down from there. A bus of which no bridge is the secondary one, as
// virtual functions have, is counted from the one of the bridge above: "0000:00/03.0/+1/00.0".
std::string PathText(const pci::Host& host, const pci::Function& function);

// The name of the slot that the function sits in; empty where it sits in none.
std::string SlotName(const pci::Host& host, const pci::Function& function);

}  // namespace tool

#endif  // TOOL_INVENTORY_FUNCTION_TEXT_H_
