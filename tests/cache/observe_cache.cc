#include "cache/observe_cache.h"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <limits>
#include <set>
#include <utility>

#include "cache/cache_state.h"
#include "cache/controlled_by.h"
#include "cache/topology_cache.h"
#include "support/cache_reset.h"

namespace {

using HostCtl::Hardware::PciDevice;
using naive::Position;
using naive::Positions;

constexpr Position kStray = std::numeric_limits<Position>::max();  // points outside its list

template <typename Element>
Position PositionIn(const std::vector<Element>& list, const Element* element) {
  for (Position position = 0; position < list.size(); ++position) {
    if (&list[position] == element) return position;
  }
  return kStray;
}

Position PositionOf(Position position) { return position; }
Position PositionOf(const PortEntry* port) { return PositionIn(GetPortsCache(), port); }
Position PositionOf(const ControlledByRecord* record) {
  return PositionIn(GetControlledByCache(), record);
}
Position PositionOf(const PciDevice* device) {
  const DeviceVector& devices = GetDevicesCache();
  for (Position position = 0; position < devices.size(); ++position) {
    if (devices[position].get() == device) return position;
  }
  return kStray;
}

template <typename Pointer>
Positions PositionsOf(const std::vector<Pointer>& pointers) {
  Positions positions;
  for (const Pointer pointer : pointers) positions.push_back(PositionOf(pointer));
  return positions;
}

// Where the index leads, as positions.
template <typename Map>
std::map<std::string, Position> PositionsByName(const Map& index) {
  std::map<std::string, Position> positions;
  for (const auto& [name, target] : index) positions[name] = PositionOf(target);
  return positions;
}

template <typename Key, typename Map>
std::map<Key, Positions> ListsByKey(const Map& map) {
  std::map<Key, Positions> lists;
  for (const auto& [key, list] : map) lists[key] = PositionsOf(list);
  return lists;
}

// --- Lookups: one line per question and answer, of the model and of the cache --------------------

// A line per question; the same texts on both sides.
class Answers {
 public:
  void Add(const char* question, const std::string& about, const std::string& answer) {
    lines_.push_back(std::string(question) + "(" + about + ") = " + answer);
  }
  void Add(const char* question, const std::string& about, std::optional<Position> answer) {
    Add(question, about, answer ? "#" + std::to_string(*answer) : std::string("none"));
  }
  void Add(const char* question, const std::string& about, const Positions& answer) {
    std::string text;
    for (const Position position : answer) text += "#" + std::to_string(position) + " ";
    Add(question, about, text);
  }
  const std::vector<std::string>& lines() const { return lines_; }

 private:
  std::vector<std::string> lines_;
};

// Every name of the topology, and some that are not in it.
std::set<std::string> NamesToAsk(const naive::Topology& topology) {
  std::set<std::string> names = {"", "-", "-ep", "elsewhere", "unknown"};
  names.insert(topology.devices.begin(), topology.devices.end());
  names.insert(topology.port_names.begin(), topology.port_names.end());
  return names;
}

template <typename Map>
auto Find(const Map& map, const typename Map::key_type& key)
    -> std::optional<typename Map::mapped_type> {
  const auto found = map.find(key);
  if (found == map.end()) return {};
  return found->second;
}

std::optional<Position> FindDevice(const naive::Topology& topology, std::optional<Position> port) {
  if (!port) return {};
  return topology.ports[*port].device;
}

Answers AskModel(naive::Model& model, const std::set<std::string>& names) {
  Answers answers;
  const naive::Topology& topology = model.topology();
  for (const std::string& name : names) {
    const auto port = Find(topology.port_index, name);
    answers.Add("LookupDevice", name, Find(topology.device_index, name));
    answers.Add("LookupPort", name, FindDevice(topology, port));
    answers.Add("LookupPortEntry", name, port);
    answers.Add("LookupPortByDeviceEntry", name, Find(topology.device_ports, name));
    answers.Add("LookupBridgePorts", name, Find(topology.bridge_ports, name).value_or(Positions{}));
    answers.Add("LookupSwitchPorts", name, Find(topology.switch_ports, name).value_or(Positions{}));
    answers.Add("LookupControlledByPort", name, Find(topology.controlled_by_port, name));
    answers.Add("LookupControlledByDevice", name, Find(topology.controlled_by_device, name));
    answers.Add("FindConnectedPort", name, model.FindConnectedPort(name));
    try {
      answers.Add("BuildPortFromDevice", name, model.PortOfDevice(name));
    } catch (const naive::Model::Failure& failure) {
      answers.Add("BuildPortFromDevice", name, "exception");
    }
  }
  for (int bus = 0; bus < 256; ++bus) {
    if (const auto members = Find(topology.bus_members, bus)) {
      answers.Add("FindPortsInGroup", std::to_string(bus), *members);
    }
  }
  return answers;
}

std::optional<Position> Found(const PortEntry& entry) {
  if (entry.device == nullptr) return {};
  return PositionOf(&entry);
}

template <typename Pointee>
std::optional<Position> Found(const Pointee* pointer) {
  if (pointer == nullptr) return {};
  return PositionOf(pointer);
}

std::optional<Position> FoundDevice(const std::string& name) {
  DeviceIndexEntry entry;
  const bool found = LookupDevice(name, entry);
  const std::optional<Position> by_pointer = Found(LookupDevice(name));
  if (!found) return by_pointer;
  return entry.name == name && by_pointer == entry.position ? entry.position : kStray;
}

std::optional<Position> FoundPortDevice(const std::string& name) {
  const PciDevice* device = nullptr;
  if (!LookupPort(name, device)) return {};
  return PositionOf(device);
}

Answers AskCache(const std::set<std::string>& names) {
  Answers answers;
  for (const std::string& name : names) {
    answers.Add("LookupDevice", name, FoundDevice(name));
    answers.Add("LookupPort", name, FoundPortDevice(name));
    answers.Add("LookupPortEntry", name, Found(LookupPortEntry(name)));
    answers.Add("LookupPortByDeviceEntry", name, Found(LookupPortByDeviceEntry(name)));
    answers.Add("LookupBridgePorts", name, PositionsOf(LookupBridgePorts(name)));
    answers.Add("LookupSwitchPorts", name, PositionsOf(LookupSwitchPorts(name)));
    answers.Add("LookupControlledByPort", name, Found(LookupControlledByPort(name)));
    answers.Add("LookupControlledByDevice", name, Found(LookupControlledByDevice(name)));
    answers.Add("FindConnectedPort", name, Found(FindConnectedPort(name)));
    try {
      answers.Add("BuildPortFromDevice", name, BuildPortFromDevice(name));
    } catch (...) {  // an int among what the fake throws
      answers.Add("BuildPortFromDevice", name, "exception");
    }
  }
  for (int bus = 0; bus < 256; ++bus) {
    std::vector<const PciDevice*> members;
    if (FindPortsInGroup(static_cast<std::uint8_t>(bus), members)) {
      answers.Add("FindPortsInGroup", std::to_string(bus), PositionsOf(members));
    }
  }
  return answers;
}

// A device that refuses to tell its name to the comparison.
constexpr const char* kNameless = "(nameless)";

std::string NameOf(const PciDevice& device) {
  try {
    return device.GetName();
  } catch (...) {  // an int among what the fake throws
    return kNameless;
  }
}

// The topology as ObserveCache can see it.
naive::Topology WithoutSecretNames(naive::Topology topology, const fake::Host& host) {
  for (Position position = 0; position < topology.devices.size(); ++position) {
    if (host.devices[position].faults.contains("GetName")) topology.devices[position] = kNameless;
  }
  return topology;
}

// Builds, with the failures injected. False when the build is left by an exception.
bool Builds(const naive::Failures& failures, bool dump_file) {
  fake::FailAt(failures.calls, failures.thrown);
  fake::DumpFileReadable(dump_file);
  bool built = true;
  try {
    LoadCache();
  } catch (...) {  // an int among what the fake throws
    built = false;
  }
  fake::FailNever();
  fake::DumpFileReadable(false);
  return built;
}

// A host object that outlives its use, or a build that is done again.
std::string CompareAftermath(bool built) {
  std::string difference;
  const fake::Live expected = {.devices = static_cast<int>(GetDevicesCache().size())};
  if (fake::LiveObjects() != expected) difference += "objects of the host are left over\n";
  const std::size_t calls = fake::CallCount();
  if (built) LoadCache();
  if (fake::CallCount() != calls) difference += "the build is done again\n";
  return difference;
}

std::string Difference(const naive::Topology& expected, const naive::Topology& actual) {
  if (expected == actual) return "";
  return "topology:\n" + naive::Difference(naive::Describe(expected), naive::Describe(actual));
}

}  // namespace

naive::Topology ObserveCache() {
  const TopologyCache& cache = ProcessCache();
  naive::Topology topology;
  topology.system_name = PciGetSystemName();
  for (const auto& device : GetDevicesCache()) topology.devices.push_back(NameOf(*device));
  topology.device_index = PositionsByName(cache.device_index);
  for (const PortEntry& port : GetPortsCache()) {
    topology.ports.push_back({port.parentName, port.portName, port.peerName, port.deviceName,
                              port.bus, PositionOf(port.device)});
  }
  topology.port_index = PositionsByName(cache.port_index);
  topology.port_names = GetPortNames();
  topology.bus_numbers.assign(GetBusNumbers().begin(), GetBusNumbers().end());
  topology.bus_members = ListsByKey<int>(cache.bus_members);
  topology.device_ports = PositionsByName(cache.device_ports);
  topology.switches = PositionsOf(GetSwitchCache());
  topology.bridges = PositionsOf(GetBridgesCache());
  topology.bridge_ports = ListsByKey<std::string>(GetBridgePortsCache());
  topology.switch_ports = ListsByKey<std::string>(GetSwitchPortsCache());
  for (const ControlledByRecord& record : GetControlledByCache()) {
    topology.controlled_by.push_back(
        {PositionOf(record.device), record.className, PositionOf(record.entry)});
  }
  topology.controlled_by_port = PositionsByName(cache.cbPortMap);
  topology.controlled_by_device = PositionsByName(cache.cbDevMap);
  return topology;
}

std::string CompareWithModel(const fake::Host& host, const naive::Failures& failures,
                             bool dump_file) {
  naive::Model model(host, failures, dump_file);
  model.Build();
  const naive::Topology expected = WithoutSecretNames(model.topology(), host);

  ResetCache();
  fake::Use(host);
  const LogCapture log;
  const bool built = Builds(failures, dump_file);
  const std::size_t calls = fake::CallCount();
  const std::vector<LogLine> build_log = log.Lines();
  naive::Topology actual = ObserveCache();
  actual.built = built;
  actual.calls = calls;
  actual.log = build_log;

  std::string difference = Difference(expected, actual) + CompareAftermath(built);
  const std::set<std::string> names = NamesToAsk(expected);
  const Answers wanted = AskModel(model, names);
  difference += naive::Difference(wanted.lines(), AskCache(names).lines());
  if (model.log() != log.Lines()) difference += "the log lines differ\n";
  return difference;
}
