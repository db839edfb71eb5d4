#include "support/naive_topology.h"

#include <algorithm>
#include <cctype>
#include <sstream>
#include <utility>

namespace naive {
namespace {

constexpr int kError = 3;
constexpr int kDebug = 7;
constexpr int kCritical = 2;

bool Contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

}  // namespace

Model::Model(fake::Host host, Failures failures, bool dump_file)
    : host_(std::move(host)),
      failures_(std::move(failures)),
      progress_(dump_file ? kCritical : kDebug) {}

// --- Questions to the host -----------------------------------------------------------------------

void Model::Call(const char* operation, const fake::Faults& faults) {
  const std::size_t n = ++topology_.calls;
  if (failures_.calls.contains(n)) {
    throw Failure{"injected failure at call " + std::to_string(n - first_call_), failures_.thrown};
  }
  if (const auto fault = faults.find(operation); fault != faults.end()) {
    throw Failure{fault->second.text, fault->second.thrown};
  }
}

void Model::FailAt(const Failures& from_now) {
  first_call_ = topology_.calls;
  failures_ = {{}, from_now.thrown};
  for (const std::size_t call : from_now.calls) failures_.calls.insert(topology_.calls + call);
}

void Model::Log(int priority, const std::string& text) {
  topology_.log.push_back({priority, text});
}

// --- Kinds of devices ----------------------------------------------------------------------------

bool Model::IsPortOnSwitch(const fake::Device& device) {
  try {
    const auto& capabilities = Ask("HasCapability", device, device.capability_ids);
    if (!capabilities.contains(16)) return false;
    const int type = Ask("GetPcieDeviceType", device, device.pcie_type);
    return type == 5 || type == 6;
  } catch (const Failure& failure) {
    if (failure.thrown != fake::Thrown::kHostCtlException) throw;
    Log(kError, "Check for Port on PCIeSwitch failed,reporting false, error " + failure.text);
    return false;
  }
}

bool Model::IsUpstreamPortOnSwitch(const fake::Device& device) {
  if (!Ask("HasCapability", device, device.capability_ids).contains(16)) return false;
  try {
    return Ask("GetPcieDeviceType", device, device.pcie_type) == 5;
  } catch (const Failure& failure) {
    if (failure.thrown != fake::Thrown::kHostCtlException) throw;
    Log(kError,
        "Check Upstream port on PCIeSwitch class failed,reporting false, error " + failure.text);
    return false;
  }
}

bool Model::IsBridge(const fake::Device& device) {
  return !IsPortOnSwitch(device) && Ask("GetClassCode", device, device.class_code) / 256 == 6;
}

std::string Model::ClassName(const fake::Device& device) {
  if (IsBridge(device)) return "Ostrel_PCIBridge";
  if (IsUpstreamPortOnSwitch(device)) return "Ostrel_PCIeSwitch";
  return "Ostrel_PCIDevice";
}

// --- Ports of a device ---------------------------------------------------------------------------

Port Model::MakePort(Position position, const std::string& suffix, const std::string& parent) {
  const fake::Device& device = host_.devices[position];
  Port port;
  port.parent = parent;
  port.name = device.name + suffix;
  port.bus = Ask("GetBus", device, device.bus);
  port.device_name = Ask("GetName", device, device.name);
  port.device = position;
  return port;
}

void Model::AppendPorts(Position position, std::vector<Port>& ports) {
  const fake::Device& device = host_.devices[position];
  const std::string& name = device.name;

  if (IsPortOnSwitch(device) && !IsUpstreamPortOnSwitch(device)) {
    const auto& parent = Ask("GetParent", device, device.parent);
    if (!parent) return;
    const fake::Device* known = host_.Find(*parent);
    const fake::Device upstream = known != nullptr ? *known : fake::Named(*parent);
    Call("GetName", device.faults);
    const std::string host_name = Ask("GetName", upstream, upstream.name);
    ports.push_back(MakePort(position, "-ep", host_name));
    return;
  }
  if (IsPortOnSwitch(device) && IsUpstreamPortOnSwitch(device)) {
    Call("GetName", device.faults);
    ports.push_back(MakePort(position, "-up", name));
    return;
  }
  if (IsBridge(device)) {
    const int subclass = Ask("GetClassCode", device, device.class_code) % 256;
    if (subclass != 0x04 && subclass != 0x0a && subclass != 0x0b) return;
    Call("GetName", device.faults);
    ports.push_back(MakePort(position, "-pri", name));
    ports.back().peer = name + "-sec";
    ports.push_back(MakePort(position, "-sec", name));
    ports.back().peer = name + "-pri";
    return;
  }
  if (!IsPortOnSwitch(device)) {
    Call("GetName", device.faults);
    ports.push_back(MakePort(position, "-ep", name));
  }
}

// --- The build -----------------------------------------------------------------------------------

const Topology& Model::Build() {
  Log(progress_, "GetPCIData started to analyze and cache HKI PCI data");
  try {
    FetchSystemName();
  } catch (const Failure&) {
    return topology_;
  }
  try {
    BuildWithinGuard();
  } catch (const Failure& failure) {
    Log(kError,
        failure.thrown == fake::Thrown::kHostCtlException
            ? "PCI information caught exception, reporting may be incomplete, error " + failure.text
            : "Unexpected exception from PCI initialization, reporting may be incomplete.");
  }
  Log(progress_, "*** GetPCIData loaded, " + std::to_string(topology_.switches.size()) +
                     " switches, " + std::to_string(topology_.bridges.size()) +
                     " bridges busNumbers " + std::to_string(topology_.bus_numbers.size()));
  topology_.built = true;
  failures_ = {};
  return topology_;
}

void Model::FetchSystemName() {
  Call("GetHardwareInfo", host_.faults);
  Call("GetSystemName", host_.faults);
  for (const char character : host_.system_name) {
    topology_.system_name += static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
  }
}

void Model::BuildWithinGuard() {
  for (const char* operation : {"GetHost", "GetHardwareInfo", "GetPciInfo", "GetPciDevices"}) {
    Call(operation, host_.faults);
  }
  for (const fake::Device& device : host_.devices) topology_.devices.push_back(device.name);

  IndexDevices();
  for (Position device = 0; device < host_.devices.size(); ++device) {
    Call("GetName", host_.devices[device].faults);
    AppendPorts(device, topology_.ports);
  }
  IndexPorts();
  for (Position port = 0; port < topology_.ports.size(); ++port) FilePort(port);
  IndexControlledBy();
}

void Model::IndexDevices() {
  for (Position position = 0; position < host_.devices.size(); ++position) {
    const fake::Device& device = host_.devices[position];
    const std::string& name = Ask("GetName", device, device.name);
    if (topology_.device_index.contains(name)) {
      Log(kError, "duplicate name found '" + name + "' skipped");
      continue;
    }
    topology_.device_index[name] = position;
    if (IsBridge(device)) {
      bridge_names_.insert(name);
      Log(progress_, " *** Bridge: " + name);
    } else if (IsUpstreamPortOnSwitch(device)) {
      switch_names_.insert(name);
      Log(progress_, " *** Switch: " + name);
    }
  }
}

void Model::IndexPorts() {
  std::set<int> buses;
  for (Position position = 0; position < topology_.ports.size(); ++position) {
    const Port& port = topology_.ports[position];
    if (topology_.port_index.contains(port.name)) {
      Log(kError, "duplicate port name found '" + port.name + "; skipped");
      continue;
    }
    topology_.port_index[port.name] = position;
    topology_.port_names.insert(port.name);
    buses.insert(port.bus);
  }
  topology_.bus_numbers.assign(buses.begin(), buses.end());
}

void Model::FilePort(Position position) {
  const Port& port = topology_.ports[position];
  topology_.bus_members[port.bus].push_back(port.device);
  topology_.device_ports[port.device_name] = position;

  const bool of_switch = switch_names_.contains(port.device_name);
  const bool of_bridge = !of_switch && bridge_names_.contains(port.device_name);
  const bool below_bridge = !of_switch && !of_bridge && bridge_names_.contains(port.parent);
  const bool below_switch =
      !of_switch && !of_bridge && !below_bridge && switch_names_.contains(port.parent);
  if (of_switch) {
    topology_.switches.push_back(position);
    Log(progress_, "loaded switch " + port.name);
  }
  if (of_bridge && Contains(port.name, "-pri")) {
    topology_.bridges.push_back(position);
    Log(progress_, "loaded bridge " + port.name);
  }
  if (below_bridge) {
    topology_.bridge_ports[port.parent].push_back(position);
    Log(progress_, "loaded bridge port " + port.name);
  }
  if (below_switch) {
    topology_.switch_ports[port.parent].push_back(position);
    Log(progress_, "loaded switch port " + port.name);
  }
  if (!of_switch && !of_bridge && !below_bridge && !below_switch) {
    Log(progress_, "not loaded port " + port.name + " parent " + port.parent);
  }
}

void Model::IndexControlledBy() {
  for (Position position = 0; position < topology_.ports.size(); ++position) {
    const Position device = topology_.ports[position].device;  // every port name holds a "-"
    topology_.controlled_by.push_back({device, ClassName(host_.devices[device]), position});
  }
  for (Position record = 0; record < topology_.controlled_by.size(); ++record) {
    const Port& port = topology_.ports[topology_.controlled_by[record].port];
    topology_.controlled_by_port[port.name] = record;
  }
  for (Position record = 0; record < topology_.controlled_by.size(); ++record) {
    const fake::Device& device = host_.devices[topology_.controlled_by[record].device];
    topology_.controlled_by_device[Ask("GetName", device, device.name)] = record;
  }
  Log(kDebug, "PCI CB cache idx: cbPortMap=" + std::to_string(topology_.controlled_by_port.size()) +
                  " cbDevMap=" + std::to_string(topology_.controlled_by_device.size()));
}

// --- Questions to the built topology -------------------------------------------------------------

std::optional<Position> Model::FindConnectedPort(const std::string& name) {
  std::optional<Position> first;
  std::optional<Position> best;
  for (Position position = 0; position < topology_.ports.size(); ++position) {
    const Port& port = topology_.ports[position];
    if (port.parent != name) continue;
    if (!first) first = position;
    if (!best || port.bus < topology_.ports[*best].bus) best = position;
  }
  if (!best) return {};
  Log(kDebug,
      "FindConnectedPort looking for lowest busid " + std::to_string(topology_.ports[*first].bus));
  Log(kDebug, "FindConnectedPort returning bus " + std::to_string(topology_.ports[*best].bus));
  return best;
}

std::string Model::PortOfDevice(const std::string& name) {
  const auto found = topology_.device_index.find(name);
  if (found == topology_.device_index.end()) return "";
  std::vector<Port> ports;
  AppendPorts(found->second, ports);
  return ports.empty() ? "" : ports.front().name;
}

// --- For people ----------------------------------------------------------------------------------

namespace {

std::string Text(std::size_t value) { return "#" + std::to_string(value); }
std::string Text(const Positions& positions) {
  std::string text;
  for (const Position position : positions) text += " #" + std::to_string(position);
  return text;
}

class Describer {
 public:
  template <typename... Parts>
  void Line(const Parts&... parts) {
    std::ostringstream line;
    (line << ... << parts);
    lines_.push_back(line.str());
  }
  template <typename Map>
  void Entries(const char* title, const Map& map) {
    for (const auto& [key, value] : map) Line(title, " ", key, " = ", Text(value));
  }
  std::vector<std::string> Take() { return std::move(lines_); }

 private:
  std::vector<std::string> lines_;
};

}  // namespace

std::vector<std::string> Describe(const Topology& topology) {
  Describer out;
  out.Line("built: ", topology.built, ", calls: ", topology.calls);
  out.Line("system name: \"", topology.system_name, '"');
  for (const std::string& name : topology.devices) out.Line("device ", name);
  out.Entries("device index:", topology.device_index);
  for (const Port& port : topology.ports) {
    out.Line("port ", port.name, " parent ", port.parent, " peer ", port.peer, " of ",
             port.device_name, " bus ", port.bus, " device ", Text(port.device));
  }
  out.Entries("port index:", topology.port_index);
  for (const std::string& name : topology.port_names) out.Line("port name ", name);
  for (const int bus : topology.bus_numbers) out.Line("bus ", bus);
  out.Entries("bus members:", topology.bus_members);
  out.Entries("device port:", topology.device_ports);
  out.Line("switches:", Text(topology.switches));
  out.Line("bridges:", Text(topology.bridges));
  out.Entries("bridge ports:", topology.bridge_ports);
  out.Entries("switch ports:", topology.switch_ports);
  for (const ControlledBy& record : topology.controlled_by) {
    out.Line("controlled by: device ", Text(record.device), " ", record.class_name, " port ",
             Text(record.port));
  }
  out.Entries("controlled by port:", topology.controlled_by_port);
  out.Entries("controlled by device:", topology.controlled_by_device);
  for (const LogLine& line : topology.log) out.Line("log ", line);
  return out.Take();
}

std::string Describe(const fake::Host& host) {
  std::ostringstream out;
  out << "host " << host.system_name << '\n';
  for (const auto& [operation, fault] : host.faults) out << "  " << operation << " throws\n";
  for (const fake::Device& device : host.devices) {
    out << "  " << device.name << std::hex << " class 0x" << device.class_code << std::dec
        << " bus " << int{device.bus} << " secondary " << int{device.secondary_bus};
    for (const int id : device.capability_ids) out << " capability " << id;
    out << " type " << device.pcie_type;
    if (device.parent) out << " parent " << *device.parent;
    for (const auto& [operation, fault] : device.faults) {
      out << ' ' << operation << " throws #" << static_cast<int>(fault.thrown);
    }
    out << '\n';
  }
  return out.str();
}

std::string Difference(const std::vector<std::string>& expected,
                       const std::vector<std::string>& actual) {
  if (expected == actual) return "";
  const auto lacks = [](const std::vector<std::string>& lines, const std::string& line) {
    return std::find(lines.begin(), lines.end(), line) == lines.end();
  };
  std::string text;
  for (const std::string& line : expected) {
    if (lacks(actual, line)) text += "- " + line + '\n';
  }
  for (const std::string& line : actual) {
    if (lacks(expected, line)) text += "+ " + line + '\n';
  }
  return text.empty() ? "the same lines in another order or number\n" : text;
}

}  // namespace naive
