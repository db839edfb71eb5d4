// The types of what the topology cache holds: lists of devices and ports, and the records of the
// controlled-by index.
//
// Thread rule: plain values.

#ifndef CACHE_CONTAINERS_H_
#define CACHE_CONTAINERS_H_

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "cache/hostctl.h"
#include "cache/port_entry.h"

using DeviceVector = std::vector<std::unique_ptr<HostCtl::Hardware::PciDevice>>;
using DevicePointers = std::vector<const HostCtl::Hardware::PciDevice*>;
using PortVector = std::vector<PortEntry>;
using PortPointers = std::vector<const PortEntry*>;
using PortsByName = std::unordered_map<std::string, PortPointers>;

// One port with its device and the CIM class of that device (static text, see SetClassName).
struct ControlledByRecord {
  const HostCtl::Hardware::PciDevice* device = nullptr;
  const char* className = nullptr;
  const PortEntry* entry = nullptr;
};

#endif  // CACHE_CONTAINERS_H_
