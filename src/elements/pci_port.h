// The provider of "Ostrel_PCIPort", and the port-emitting functions that the associations call.
//
// Every function comes twice: the instance form returns full instances, the form ending in Ref
// returns object paths. Both name the same ports in the same order, except that a switch downstream
// port without a parent has a path but no instance (intended). None of the functions calls
// returnDone(); the provider's operations do.
// A seen set holds the identifiers of the bridges that have already produced ports; it belongs to
// the caller and is shared across one whole enumeration.
// Thread rule: reads the topology cache and the devices; may run on any thread.
// Errors: exceptions of devices and of the wrapper pass to the caller.

#ifndef ELEMENTS_PCI_PORT_H_
#define ELEMENTS_PCI_PORT_H_

#include <cstdint>
#include <set>
#include <string>

#include "cache/hostctl.h"
#include "platform/ostint/cmpi_broker.h"
#include "platform/ostint/cmpi_object.h"

// Values of "PortType" (CIM_PCIPort.PortType, CIM schema).
enum PCIPortType : std::uint16_t {
  PCIPortTypePCI = 150,
  PCIPortTypePCIX = 151,
  PCIPortTypePCIe = 152,
};

// One port instance of `device`, controlled by the device with the identifier `controller`. `bus`
// is the bus that the port reports.
ostInt::CmpiInstance MakePCIPort(const char** properties, const std::string& portName,
                                 const char* controller, const HostCtl::Hardware::PciDevice* device,
                                 PCIPortType type, std::uint8_t bus);

// The one "-up" port of a switch upstream port.
void MakePCIeUpstreamPort(const HostCtl::Hardware::PciDevice* device, ostInt::CmpiResult& result,
                          const char** properties);
void MakePCIeUpstreamPortRef(const HostCtl::Hardware::PciDevice* device,
                             ostInt::CmpiResult& result);

// The one "-ep" port of a switch downstream port, controlled by the device's parent. Without a
// parent there is no instance, but still a path (intended).
void MakePCIeDownstreamPort(const HostCtl::Hardware::PciDevice* device, ostInt::CmpiResult& result,
                            const char** properties);
void MakePCIeDownstreamPortRef(const HostCtl::Hardware::PciDevice* device,
                               ostInt::CmpiResult& result);

// The one "-ep" port of an endpoint.
void MakePCIEndpointPort(const HostCtl::Hardware::PciDevice* device, ostInt::CmpiResult& result,
                         const char** properties);
void MakePCIEndpointPortRef(const HostCtl::Hardware::PciDevice* device, ostInt::CmpiResult& result);

// The "-pri", then the "-sec" port of a bridge, once per seen set; none for a bridge without ports.
void MakePCIBridgePorts(const HostCtl::Hardware::PciDevice* device, ostInt::CmpiResult& result,
                        std::set<std::string>& seen, const char** properties);
void MakePCIBridgePortsRef(const HostCtl::Hardware::PciDevice* device, std::set<std::string>& seen,
                           ostInt::CmpiResult& result);

// The ports of a device of whatever kind; none for a null device.
void MakePortsForDevice(const HostCtl::Hardware::PciDevice* device, ostInt::CmpiResult& result,
                        std::set<std::string>& seen, const char** properties);
void MakePortsForDeviceRef(const HostCtl::Hardware::PciDevice* device, std::set<std::string>& seen,
                           ostInt::CmpiResult& result);

// All ports of the host, in the order of the port list.
void PortList(ostInt::CmpiResult& result, const char** properties);
void PortListRef(ostInt::CmpiResult& result);

// The ports of the first device that has a port hosted by the path's "DeviceID" (parentName).
void ListPorts(const ostInt::CmpiObjectPath& path, const char** properties,
               ostInt::CmpiResult& result);
void ListPortsRef(const ostInt::CmpiObjectPath& path, ostInt::CmpiResult& result);

// The ports filed under every bridge whose name contains the path's "DeviceID" (intended: a
// substring is enough).
void ListBridgePorts(const ostInt::CmpiObjectPath& path, const char** properties,
                     ostInt::CmpiResult& result);
void ListBridgePortsRef(const ostInt::CmpiObjectPath& path, ostInt::CmpiResult& result);

// The ports filed under the switch whose name is the path's "DeviceID". Traces every switch that it
// looks at, at LOG_CRIT.
void ListSwitchPorts(const ostInt::CmpiObjectPath& path, const char** properties,
                     ostInt::CmpiResult& result);
void ListSwitchPortsRef(const ostInt::CmpiObjectPath& path, ostInt::CmpiResult& result);

#endif  // ELEMENTS_PCI_PORT_H_
