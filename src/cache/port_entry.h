// The port model: which ports each PCI function has, and how they are called.
//
// The host reports functions, not ports. A function gets no, one or two ports, named by its
// identifier and a suffix:
//
//   kind of function                         ports            host of the port (parentName)
//   switch downstream port with a parent     N-ep             the parent (the upstream port)
//   switch upstream port                     N-up             N
//   bridge of subclass 0x04, 0x0a, 0x0b      N-pri, N-sec     N
//   any other bridge                         none
//   anything else                            N-ep             N
//
// Thread rule: no state; every call asks the device afresh and may run on any thread.
// Errors: HostCtl::Lib::HostCtlException of a device passes to the caller; entries appended before
// it stay.

#ifndef CACHE_PORT_ENTRY_H_
#define CACHE_PORT_ENTRY_H_

#include <cstdint>
#include <string>
#include <vector>

#include "cache/hostctl.h"

// Suffixes of port names. An endpoint and a switch downstream port share "-ep": intended.
inline constexpr const char* kUpstreamSuffix = "-up";
inline constexpr const char* kEndpointSuffix = "-ep";
inline constexpr const char* kPrimarySuffix = "-pri";
inline constexpr const char* kSecondarySuffix = "-sec";

// One port.
struct PortEntry {
  std::string parentName;  // identifier of the device that hosts the port
  std::string portName;
  std::string peerName;    // portName of the other port of a bridge, else empty
  std::string deviceName;  // identifier of the device that the port belongs to
  std::uint8_t bus = 0;    // bus of the device, also for a bridge's secondary side (intended)
  const HostCtl::Hardware::PciDevice* device = nullptr;  // not owned; null in the null port entry
};

// One entry with an empty peerName. Mind the order: port name first.
PortEntry MakePCIPortTRef(const std::string& portName, const std::string& parentName,
                          const HostCtl::Hardware::PciDevice* device);

// Each appends the entries of one kind of device to `ports`.
void MakePCIeDownstreamPortTRef(const HostCtl::Hardware::PciDevice* device,
                                std::vector<PortEntry>& ports);
void MakePCIeUpstreamPortTRef(const HostCtl::Hardware::PciDevice* device,
                              std::vector<PortEntry>& ports);
void MakePCIBridgePortTRef(const HostCtl::Hardware::PciDevice* device,
                           std::vector<PortEntry>& ports);
void MakePCIEndpointPortTRef(const HostCtl::Hardware::PciDevice* device,
                             std::vector<PortEntry>& ports);

// Appends the entries of the device, of whatever kind it is, to `ports`.
void MakePortEntryfromDevice(const HostCtl::Hardware::PciDevice* device,
                             std::vector<PortEntry>& ports);

#endif  // CACHE_PORT_ENTRY_H_
