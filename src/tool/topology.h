// The host's PCI topology as a tree of functions: what the renderers draw. Made of CIM instances
// and nothing else.
//
// Thread rule: a plain value; building it is pure.

#ifndef TOOL_TOPOLOGY_H_
#define TOOL_TOPOLOGY_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "broker/value.h"

namespace tool {

enum class FunctionKind { kDevice, kBridge, kSwitch, kDownstreamPort };

struct TopologyPort {
  std::string id;  // DeviceID: the function's, with the port's suffix
  std::uint64_t type = 0;
  std::uint64_t bus = 0;
};

struct Function {
  FunctionKind kind = FunctionKind::kDevice;
  std::string id;      // DeviceID
  std::string parent;  // DeviceID of the function above; "" at the top
  std::string name;    // vendor and device
  std::string class_name;
  std::uint64_t segment = 0;
  std::uint64_t bus = 0;
  std::uint64_t device = 0;
  std::uint64_t number = 0;  // of the function in its device
  std::optional<std::uint64_t> slot;
  std::optional<std::uint64_t> secondary_bus;    // of what may have functions below it
  std::optional<std::uint64_t> subordinate_bus;  // the highest bus seen below it
  std::optional<std::uint64_t> port_count;       // of a switch: its downstream ports
  std::vector<TopologyPort> ports;
  std::vector<std::size_t> children;  // positions in Topology::functions
};

struct TopologyBus {
  std::string id;  // InstanceID of the port group
  std::uint64_t number = 0;
  std::vector<std::string> ports;  // DeviceIDs
};

struct RootBus {
  std::string id;  // "0000:80"
  std::vector<std::size_t> functions;
};

struct Topology {
  std::string system_name;
  std::vector<Function> functions;  // by segment, bus, device, function
  std::vector<RootBus> roots;       // every function hangs below exactly one of them
  std::vector<TopologyBus> buses;
};

// The function that an instance of one of the three device classes describes, its ports and
// children still missing.
Function MakeFunction(const broker::Instance& instance, FunctionKind kind);

// The function's identifier in a port's: without the port's suffix.
std::string FunctionOfPort(const std::string& port_id);

// Hangs the functions below each other, gives each its ports, and fills in the bus numbers that
// only their children tell. A function whose parent is not among them stands at the top, and so
// does one of those that are each other's ancestors. Equal identifiers: the first one counts.
Topology BuildTopology(std::string system_name, std::vector<Function> functions,
                       const std::vector<broker::Instance>& ports);

}  // namespace tool

#endif  // TOOL_TOPOLOGY_H_
