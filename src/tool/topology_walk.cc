#include "tool/topology_walk.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "tool/property_text.h"

namespace tool {
namespace {

using broker::AssociationFilter;
using broker::Instance;
using broker::ObjectPath;

constexpr const char* kDevice = "Ostrel_PCIDevice";
constexpr const char* kBridge = "Ostrel_PCIBridge";
constexpr const char* kSwitch = "Ostrel_PCIeSwitch";
constexpr const char* kPort = "Ostrel_PCIPort";

// "0000:00:1f.2" as the bus ("0000:00") and the rest; nothing for another form of identifier.
struct Address {
  std::string bus;
  int device;
  int function;
};
std::optional<Address> ParseAddress(const std::string& id) {
  const std::size_t colon = id.rfind(':');
  const auto hex = [&](std::size_t at) {
    return std::isxdigit(static_cast<unsigned char>(id[at])) != 0;
  };
  if (colon == std::string::npos || id.size() != colon + 5 || !hex(colon + 1) || !hex(colon + 2) ||
      id[colon + 3] != '.' || id[colon + 4] < '0' || id[colon + 4] > '7') {
    return std::nullopt;
  }
  return Address{id.substr(0, colon), std::stoi(id.substr(colon + 1, 2), nullptr, 16),
                 id[colon + 4] - '0'};
}

class Walk {
 public:
  explicit Walk(Session& session) : session_(session) {}

  Topology Run(bool buses) {
    const std::vector<Instance> ports = PartsOfSystem(kPort);
    Add(PartsOfSystem(kDevice), FunctionKind::kDevice);
    Add(Enumerate(kBridge), FunctionKind::kBridge);
    Add(Enumerate(kSwitch), FunctionKind::kSwitch);
    AddDownstreamPorts(ports);
    AddParents();
    AddSilentBridges();
    Topology topology = BuildTopology(ShortName(session_.system()), std::move(functions_), ports);
    if (buses) topology.buses = Buses();
    return topology;
  }

 private:
  std::vector<Instance> Enumerate(std::string_view class_name) {
    broker::Recorder found;
    session_.Enumerate(*broker::schema::FindClass(class_name), std::nullopt, found);
    return std::move(found.instances);
  }

  std::vector<Instance> PartsOfSystem(const char* class_name) {
    AssociationFilter filter;
    filter.assoc_class = "Ostrel_PCISystemDevice";
    filter.result_class = class_name;
    broker::Recorder found;
    session_.Associators(session_.system(), filter, std::nullopt, found);
    return std::move(found.instances);
  }

  // Nothing where there is no such instance, in whatever way the provider says so.
  std::optional<Instance> Get(const char* class_name, const std::string& id) {
    ObjectPath path;
    path.name_space = session_.system().name_space;
    path.class_name = class_name;
    path.keys = {{"SystemCreationClassName", session_.system().class_name},
                 {"SystemName", *session_.system().Key("Name")},
                 {"CreationClassName", class_name},
                 {"DeviceID", id}};
    broker::Recorder found;
    if (!session_.TryGet(path, found) || found.instances.empty()) return std::nullopt;
    return std::move(found.instances.front());
  }

  bool Known(const std::string& id) const { return known_.contains(id); }

  void Add(const Instance& instance, FunctionKind kind) {
    Function function = MakeFunction(instance, kind);
    if (known_.insert(function.id).second) functions_.push_back(std::move(function));
  }
  void Add(const std::vector<Instance>& instances, FunctionKind kind) {
    for (const Instance& instance : instances) Add(instance, kind);
  }

  // A downstream port's controller is the switch, not the function that the port is named after.
  void AddDownstreamPorts(const std::vector<Instance>& ports) {
    for (const Instance& port : ports) {
      const std::string id = FunctionOfPort(PropertyText(port, "DeviceID"));
      if (Known(id) || PropertyText(port, "ControllerDeviceID") == id) continue;
      if (const auto instance = Get(kDevice, id)) Add(*instance, FunctionKind::kDownstreamPort);
    }
  }

  void AddParents() {
    for (std::size_t i = 0; i < functions_.size(); ++i) {
      const std::string parent = functions_[i].parent;
      if (!parent.empty() && !Known(parent)) AddUnlisted(parent);
    }
  }

  void AddUnlisted(const std::string& id) {
    if (const auto bridge = Get(kBridge, id)) {
      Add(*bridge, FunctionKind::kBridge);
    } else if (const auto other = Get(kDevice, id)) {
      Add(*other, FunctionKind::kDownstreamPort);
    }
  }

  // Bridges without ports that nothing hangs below: asked for by address on every bus in sight.
  // Functions 1 to 7 are asked for only where the device is known to be there.
  void AddSilentBridges() {
    std::set<std::pair<std::string, int>> present;
    std::set<std::string> buses;
    for (const Function& function : functions_) {
      const auto address = ParseAddress(function.id);
      if (!address) continue;
      present.emplace(address->bus, address->device);
      buses.insert(address->bus);
      if (function.secondary_bus) {
        const std::string domain = address->bus.substr(0, address->bus.rfind(':'));
        buses.insert(fmt::format("{}:{:02x}", domain, *function.secondary_bus));
      }
    }
    if (functions_.empty()) buses.insert("0000:00");
    for (const std::string& bus : buses) {
      for (int device = 0; device < 32; ++device) {
        const bool there = AddSilentBridge(bus, device, 0) || present.contains({bus, device});
        for (int function = 1; there && function < 8; ++function) {
          AddSilentBridge(bus, device, function);
        }
      }
    }
    AddParents();
  }

  bool AddSilentBridge(const std::string& bus, int device, int function) {
    const std::string id = fmt::format("{}:{:02x}.{}", bus, device, function);
    if (Known(id)) return true;
    const auto bridge = Get(kBridge, id);
    if (bridge) Add(*bridge, FunctionKind::kBridge);
    return bridge.has_value();
  }

  std::vector<TopologyBus> Buses() {
    std::vector<TopologyBus> buses;
    AssociationFilter filter;
    filter.assoc_class = "Ostrel_PCIHostedCollection";
    broker::Recorder groups;
    session_.Associators(session_.system(), filter, std::nullopt, groups);
    for (const Instance& group : groups.instances) {
      buses.push_back({PropertyText(group, "InstanceID"),
                       PropertyNumber(group, "BusNumber").value_or(0), Members(group.path)});
    }
    return buses;
  }

  std::vector<std::string> Members(const ObjectPath& group) {
    AssociationFilter filter;
    filter.assoc_class = "Ostrel_PCIMemberOfCollection";
    broker::Recorder found;
    session_.AssociatorNames(group, filter, found);
    std::vector<std::string> members;
    for (const ObjectPath& path : found.paths) members.push_back(ShortName(path));
    // A device with several port entries is named once for each.
    std::sort(members.begin(), members.end());
    members.erase(std::unique(members.begin(), members.end()), members.end());
    return members;
  }

  Session& session_;
  std::vector<Function> functions_;
  std::unordered_set<std::string> known_;
};

}  // namespace

Topology WalkTopology(Session& session, bool buses) { return Walk(session).Run(buses); }

}  // namespace tool
