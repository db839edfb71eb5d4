// The host's PCI topology as a tree of functions: what the renderers draw.
//
// Thread rule: a plain value; building it is pure.

#ifndef TOOL_TOPOLOGY_H_
#define TOOL_TOPOLOGY_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace tool {

enum class FunctionKind { kDevice, kBridge, kSwitch, kDownstreamPort };

struct TopologyPort {
  std::string id;  // DeviceID: the function's, with the port's suffix
  std::uint64_t type = 0;
  std::uint64_t bus = 0;
};

struct BusRange {
  std::uint8_t secondary = 0;
  std::uint8_t subordinate = 0;

  bool operator==(const BusRange&) const = default;
};

// What CIM has no word for. Empty where it is not known.
struct FunctionFacts {
  std::string type;      // "root port", "switch", "device", ...
  std::string ids;       // "8086:10d3"
  std::string revision;  // "03"
  std::string driver;
  std::string link;               // "8 GT/s x4"; of a degraded one " of 16 GT/s x4" behind it
  std::string physical_function;  // identifier, of a virtual function
  std::int32_t numa_node = -1;    // -1: not known
};

struct Function {
  FunctionKind kind = FunctionKind::kDevice;
  std::string id;      // DeviceID
  std::string parent;  // DeviceID of the function above; "" at the top
  std::string name;    // vendor and device
  std::string class_name;
  std::uint32_t domain = 0;
  std::uint8_t bus = 0;
  std::uint8_t device = 0;
  std::uint8_t number = 0;                    // of the function in its device
  std::optional<std::uint8_t> physical_slot;  // CIM's number of the slot, 8 bits of it
  std::string slot;                           // name of the slot that the function sits in
  std::string empty_slot;                     // name of the slot below a port that nothing sits in
  std::optional<BusRange> buses;              // of what may have functions below it
  FunctionFacts facts;
  std::vector<TopologyPort> ports;
  std::vector<std::size_t> children;  // positions in Topology::functions
  std::size_t hanging = 0;            // that hang below it, also where they are left out
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
  std::vector<Function> functions;  // by domain, bus, device, function
  std::vector<RootBus> roots;       // every function hangs below exactly one of them
  std::vector<TopologyBus> buses;
};

// " (slot 5)" of a function in a slot, " (empty slot 5)" of a port that leads to one that nothing
// sits in, both where it is both; "" mostly.
std::string SlotText(const Function& function);

// What Function::buses of the functions holds before the topology is built.
enum class BusNumbers {
  kProgrammed,  // all there is
  kSeen,        // at most the secondary bus: the rest is what hangs below the function
};

// Hangs the functions below each other. A function whose parent is not among them stands at the
// top, and so does one of those that are each other's ancestors. Equal identifiers: the first one
// counts.
Topology BuildTopology(std::string system_name, std::vector<Function> functions,
                       BusNumbers bus_numbers);

// Leaves functions out of the trees that are neither of these identifiers nor on the way to one
// nor below one, and port groups without a port of those that stay.
void KeepSelected(const std::set<std::string>& ids, Topology& topology);

}  // namespace tool

#endif  // TOOL_TOPOLOGY_H_
