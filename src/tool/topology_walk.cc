#include "tool/topology_walk.h"

#include <algorithm>
#include <bitset>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "pci/address.h"
#include "pci/host.h"
#include "tool/inventory/function_text.h"
#include "tool/pci_class.h"
#include "tool/property_text.h"

namespace tool {
namespace {

using broker::InstanceView;
using cim::ObjectPath;

constexpr const char* kDevice = "Ostrel_PCIDevice";
constexpr const char* kBridge = "Ostrel_PCIBridge";
constexpr const char* kSwitch = "Ostrel_PCIeSwitch";
constexpr const char* kPort = "Ostrel_PCIPort";

// ---------------------------------------------------------------------------------------------
// Reading elements while they are returned

// A sink that looks at elements and keeps none.
template <class Take>
class InstanceTaker : public broker::ResultSink {
 public:
  explicit InstanceTaker(Take take) : take_(std::move(take)) {}
  void OnInstanceView(const InstanceView& instance) override { take_(instance); }

 private:
  Take take_;
};

template <class Take>
class PathTaker : public broker::ResultSink {
 public:
  explicit PathTaker(Take take) : take_(std::move(take)) {}
  void OnObjectPath(ObjectPath&& path) override { take_(path); }

 private:
  Take take_;
};

std::string TextOf(const InstanceView& instance, std::string_view name) {
  return std::string(instance.Text(name).value_or(""));
}

std::uint8_t ByteOf(const InstanceView& instance, std::string_view name) {
  return static_cast<std::uint8_t>(instance.Unsigned(name).value_or(0));
}

// The function's identifier in a port's: without the port's suffix.
std::string FunctionOfPort(std::string_view port_id) {
  return std::string(port_id.substr(0, port_id.rfind('-')));
}

// What CIM says of a function, but for its kind and its place.
void TakeDescription(const InstanceView& instance, Function& function) {
  function.name = WithoutDeviceNumber(TextOf(instance, "ElementName"),
                                      std::to_string(ByteOf(instance, "DeviceNumber")));
  function.class_name =
      PciClassName(ByteOf(instance, "ClassCode"), ByteOf(instance, "SubClassCode"));
  const auto slot = instance.Unsigned("PhysicalSlot");
  if (slot) function.physical_slot = static_cast<std::uint8_t>(*slot);
}

// Where CIM says that the function is.
void TakePlace(const InstanceView& instance, Function& function) {
  // The identifier holds the domain as a whole, the property 16 bits of it.
  const auto address = pci::ParseAddress(function.id);
  function.domain =
      address ? address->domain
              : static_cast<std::uint32_t>(instance.Unsigned("SegmentNumber").value_or(0));
  function.bus = ByteOf(instance, "BusNumber");
  function.device = ByteOf(instance, "DeviceNumber");
  function.number = ByteOf(instance, "FunctionNumber");
  function.parent = TextOf(instance, "ParentDeviceID");
  if (function.physical_slot) function.slot = std::to_string(*function.physical_slot);
  // Bus 0 is below no bridge: a host or ISA bridge has no secondary bus.
  const std::uint8_t secondary = ByteOf(instance, "SecondaryBusNumber");
  if (secondary != 0) function.buses = BusRange{secondary, secondary};
}

// ---------------------------------------------------------------------------------------------
// What the host control library shares

std::vector<bool> OccupiedSlots(const pci::Host& host) {
  std::vector<bool> occupied(host.slots().size());
  for (const pci::Function& function : host.functions()) {
    if (function.slot != pci::kNone) occupied[function.slot] = true;
  }
  return occupied;
}

Function PlacedFunction(const pci::Host& host, const pci::Function& function,
                        const std::vector<bool>& occupied) {
  Function placed;
  placed.id = FormatAddress(function.address);
  if (function.parent != pci::kNone) {
    placed.parent = FormatAddress(host.functions()[function.parent].address);
  }
  placed.domain = function.address.domain;
  placed.bus = function.address.bus;
  placed.device = function.address.device;
  placed.number = function.address.function;
  const auto [secondary, subordinate] = function.buses;
  if (secondary != 0) placed.buses = BusRange{secondary, subordinate};
  if (function.slot != pci::kNone) placed.slot = host.slots()[function.slot].name;
  if (function.slot_below != pci::kNone && !occupied[function.slot_below]) {
    placed.empty_slot = host.slots()[function.slot_below].name;
  }
  return placed;
}

FunctionKind KindOf(const pci::Function& function) {
  if (function.pcie_port_type == kUpstreamPort) return FunctionKind::kSwitch;
  if (function.pcie_port_type == kDownstreamPort) return FunctionKind::kDownstreamPort;
  constexpr std::uint16_t kBridgeClass = 0x06;
  return function.class_code >> 8 == kBridgeClass ? FunctionKind::kBridge : FunctionKind::kDevice;
}

// ---------------------------------------------------------------------------------------------

class Walk {
 public:
  explicit Walk(Session& session) : session_(session), host_(session.host()) {
    asked_.name_space = session_.system().name_space;
    asked_.keys = {{"SystemCreationClassName", session_.system().class_name},
                   {"SystemName", *session_.system().Key("Name")},
                   {"CreationClassName", {}},
                   {"DeviceID", {}}};
  }

  Topology Run(const WalkOptions& options) {
    if (host_ != nullptr) AddFunctionsOfHost();
    Enumerate(kDevice, FunctionKind::kDevice);
    Enumerate(kBridge, FunctionKind::kBridge);
    EnumerateSwitches();
    if (options.ports || host_ == nullptr) EnumeratePorts();
    host_ != nullptr ? AskForUndescribed() : AskForUnlisted();
    if (options.ports) HandOutPorts();
    Topology topology =
        BuildTopology(ShortName(session_.system()), std::move(functions_),
                      host_ != nullptr ? BusNumbers::kProgrammed : BusNumbers::kSeen);
    if (options.buses) topology.buses = Buses();
    return topology;
  }

 private:
  // ---- functions, one by one

  bool Known(const std::string& id) const { return places_.contains(id); }

  void Take(const InstanceView& instance, FunctionKind kind) {
    const std::string id = TextOf(instance, "DeviceID");
    const auto [place, is_new] = places_.emplace(id, functions_.size());
    if (is_new) {
      functions_.emplace_back().id = id;
      described_.push_back(false);
    }
    if (described_[place->second]) return;
    described_[place->second] = true;
    Function& function = functions_[place->second];
    function.kind = kind;
    TakeDescription(instance, function);
    if (is_new) TakePlace(instance, function);
  }

  void Enumerate(const char* class_name, FunctionKind kind) {
    InstanceTaker taker([&](const InstanceView& instance) { Take(instance, kind); });
    session_.Enumerate(*cim::schema::FindClass(class_name), std::nullopt, taker);
  }

  // Whether there is such an instance; no matter in which way the provider says that there is none.
  template <class TakeInstance>
  bool Get(const char* class_name, const std::string& id, TakeInstance take) {
    bool there = false;
    InstanceTaker taker([&](const InstanceView& instance) {
      there = true;
      take(instance);
    });
    asked_.class_name = class_name;
    asked_.keys[2].second = class_name;
    asked_.keys[3].second = id;
    session_.TryGet(asked_, taker);
    return there;
  }
  bool Ask(const char* class_name, const std::string& id, FunctionKind kind) {
    return Get(class_name, id, [&](const InstanceView& instance) { Take(instance, kind); });
  }

  // As a switch, an upstream port is answered with the number of its ports, for which the provider
  // goes through all devices each time. As a device it is answered without; the ports are those
  // that hang below it.
  void EnumerateSwitches() {
    std::vector<std::string> ids;
    PathTaker taker([&](const ObjectPath& path) { ids.push_back(ShortName(path)); });
    session_.EnumerateNames(*cim::schema::FindClass(kSwitch), taker);
    for (const std::string& id : ids) Ask(kDevice, id, FunctionKind::kSwitch);
  }

  // ---- with what the host control library shares

  void AddFunctionsOfHost() {
    const std::vector<bool> occupied = OccupiedSlots(*host_);
    functions_.reserve(host_->functions().size());
    places_.reserve(host_->functions().size());
    for (const pci::Function& function : host_->functions()) {
      functions_.push_back(PlacedFunction(*host_, function, occupied));
      places_.emplace(functions_.back().id, places_.size());
    }
    described_.resize(functions_.size());
  }

  // Bridges without ports (host, ISA) and a switch's downstream ports are listed by no enumeration.
  void AskForUndescribed() {
    for (std::size_t i = 0; i < host_->functions().size(); ++i) {
      if (described_[i]) continue;
      const pci::Function& function = host_->functions()[i];
      const FunctionKind kind = KindOf(function);
      if (Ask(kind == FunctionKind::kBridge ? kBridge : kDevice, functions_[i].id, kind)) continue;
      // The providers have no more than a part of the host, which the session tells.
      functions_[i].kind = kind;
      functions_[i].name = host_->VendorName(function) + ' ' + host_->DeviceName(function);
      functions_[i].class_name =
          PciClassName(static_cast<std::uint8_t>(function.class_code >> 8),
                       static_cast<std::uint8_t>(function.class_code & 0xff));
    }
  }

  // ---- with CIM alone

  void AskForUnlisted() {
    for (const auto& [function, port] : ports_) {
      if (!Known(function)) Ask(kDevice, function, FunctionKind::kDownstreamPort);
    }
    AskForParents();
    AskAtEveryPlace();
    AskForParents();
  }

  void AskForParents() {
    for (std::size_t i = 0; i < functions_.size(); ++i) {
      const std::string parent = functions_[i].parent;
      if (!parent.empty() && !Known(parent)) AskForBridgeOrPort(parent);
    }
  }

  void AskForBridgeOrPort(const std::string& id) {
    Ask(kBridge, id, FunctionKind::kBridge) || Ask(kDevice, id, FunctionKind::kDownstreamPort);
  }

  // Bridges and downstream ports that nothing known leads to.
  void AskAtEveryPlace() {
    for (const auto& [domain, in_sight] : BusesInSight()) {
      for (unsigned bus = 0; bus < in_sight.size(); ++bus) {
        AskOnBus({domain, static_cast<std::uint8_t>(bus)}, in_sight[bus]);
      }
    }
  }

  // By domain. Where no identifier is an address there is nothing to ask for, but on a host of
  // which nothing is known at all.
  std::map<std::uint32_t, std::bitset<256>> BusesInSight() const {
    std::map<std::uint32_t, std::bitset<256>> buses;
    if (functions_.empty()) buses[0];
    for (const Function& function : functions_) {
      if (!pci::ParseAddress(function.id)) continue;
      std::bitset<256>& in_sight = buses[function.domain];
      in_sight.set(function.bus);
      if (function.buses) in_sight.set(function.buses->secondary);
    }
    return buses;
  }

  // A device that is there has a function 0 (PCI Local Bus 3.0, 3.2.2.3.4). That is made use of
  // where nothing is known of a bus: what a guest was given of a device may lack it.
  void AskOnBus(pci::Address place, bool in_sight) {
    for (place.device = 0; place.device < 32; ++place.device) {
      if (AskAt(place)) in_sight = true;
    }
    if (!in_sight) return;
    for (place.device = 0; place.device < 32; ++place.device) {
      for (place.function = 1; place.function < 8; ++place.function) AskAt(place);
    }
  }

  bool AskAt(const pci::Address& place) {
    const std::string id = FormatAddress(place);
    if (Known(id)) return true;
    const bool there = Get(kDevice, id, [](const InstanceView&) {});
    if (there) AskForBridgeOrPort(id);
    return there;
  }

  // ---- ports and buses

  void EnumeratePorts() {
    InstanceTaker taker([&](const InstanceView& instance) {
      TopologyPort port;
      port.id = TextOf(instance, "DeviceID");
      port.type = instance.Unsigned("PortType").value_or(0);
      port.bus = ByteOf(instance, "BusNumber");
      std::string function = FunctionOfPort(port.id);
      ports_.emplace_back(std::move(function), std::move(port));
    });
    session_.Enumerate(*cim::schema::FindClass(kPort), std::nullopt, taker);
  }

  void HandOutPorts() {
    for (auto& [function, port] : ports_) {
      const auto place = places_.find(function);
      if (place == places_.end()) continue;
      std::vector<TopologyPort>& ports = functions_[place->second].ports;
      const bool there = std::any_of(ports.begin(), ports.end(), [&port = port](const auto& other) {
        return other.id == port.id;
      });
      if (!there) ports.push_back(std::move(port));
    }
  }

  std::vector<TopologyBus> Buses() {
    std::vector<ObjectPath> groups;
    std::vector<TopologyBus> buses;
    InstanceTaker taker([&](const InstanceView& group) {
      groups.push_back(group.path().ToObjectPath());
      buses.push_back({TextOf(group, "InstanceID"), ByteOf(group, "BusNumber"), {}});
    });
    session_.Associators({session_.system(), "Ostrel_PCIHostedCollection", {}, {}, {}},
                         std::nullopt, taker);
    for (std::size_t i = 0; i < groups.size(); ++i) buses[i].ports = Members(groups[i]);
    return buses;
  }

  std::vector<std::string> Members(const ObjectPath& group) {
    std::vector<std::string> members;
    PathTaker taker([&](const ObjectPath& path) { members.push_back(ShortName(path)); });
    session_.AssociatorNames({group, "Ostrel_PCIMemberOfCollection", {}, {}, {}}, taker);
    // A device with several port entries is named once for each.
    std::sort(members.begin(), members.end());
    members.erase(std::unique(members.begin(), members.end()), members.end());
    return members;
  }

  Session& session_;
  const pci::Host* host_;
  ObjectPath asked_;
  std::vector<Function> functions_;
  std::vector<bool> described_;                              // by CIM; place by place as functions_
  std::unordered_map<std::string, std::size_t> places_;      // by identifier
  std::vector<std::pair<std::string, TopologyPort>> ports_;  // with the identifier of the function
};

}  // namespace

Topology WalkTopology(Session& session, const WalkOptions& options) {
  return Walk(session).Run(options);
}

}  // namespace tool
