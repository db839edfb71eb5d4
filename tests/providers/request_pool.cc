#include "providers/request_pool.h"

#include <algorithm>
#include <cctype>
#include <utility>

#include "providers/provider_run.h"

using cim::ObjectPath;
using naive::Operation;
using naive::Request;

namespace {

constexpr const char* kSystemClass = "OMC_UnitaryComputerSystem";
constexpr const char* kElementClasses[] = {"Ostrel_PCIDevice", "Ostrel_PCIBridge",
                                           "Ostrel_PCIeSwitch", "Ostrel_PCIPort"};

// The first reference key of each association class, and the second.
struct Ends {
  const char* class_name;
  const char* first;
  const char* second;
};
constexpr Ends kEnds[] = {
    {"Ostrel_PCISystemDevice", "GroupComponent", "PartComponent"},
    {"Ostrel_PCIDeviceConnection", "Antecedent", "Dependent"},
    {"Ostrel_PCIControlledBy", "Antecedent", "Dependent"},
    {"Ostrel_PCIHostedCollection", "Antecedent", "Dependent"},
    {"Ostrel_PCIMemberOfCollection", "Collection", "Member"},
};

const Ends& EndsOf(const std::string& class_name) {
  return *std::find_if(std::begin(kEnds), std::end(kEnds),
                       [&](const Ends& ends) { return ends.class_name == class_name; });
}

std::string Lower(std::string text) {
  for (char& letter : text) {
    letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
  }
  return text;
}

ObjectPath ClassPath(const std::string& class_name) {
  return {{}, naive::kNameSpace, class_name, {}};
}

ObjectPath Association(const std::string& class_name, const ObjectPath& first,
                       const ObjectPath& second) {
  const Ends& ends = EndsOf(class_name);
  return {{}, naive::kNameSpace, class_name, {{ends.first, first}, {ends.second, second}}};
}

constexpr Operation kInstanceOperations[] = {Operation::kEnumInstanceNames,
                                             Operation::kEnumInstances, Operation::kGetInstance};
constexpr Operation kAssociationOperations[] = {Operation::kAssociators,
                                                Operation::kAssociatorNames, Operation::kReferences,
                                                Operation::kReferenceNames};

Request Make(const std::string& class_name, Operation operation, ObjectPath path) {
  Request request;
  request.class_name = class_name;
  request.operation = operation;
  request.path = std::move(path);
  return request;
}

}  // namespace

ObjectPath ElementPath(const std::string& class_name, const std::string& id,
                       const std::string& system_name) {
  return {{},
          naive::kNameSpace,
          class_name,
          {{"SystemCreationClassName", kSystemClass},
           {"SystemName", system_name},
           {"CreationClassName", class_name},
           {"DeviceID", id}}};
}

ObjectPath GroupPath(const std::string& id) {
  return {{}, naive::kNameSpace, "Ostrel_PCIPortGroup", {{"InstanceID", id}}};
}

ObjectPath SystemPath(const std::string& system_name) {
  return {{},
          naive::kNameSpace,
          kSystemClass,
          {{"CreationClassName", kSystemClass}, {"Name", system_name}}};
}

RequestPool::RequestPool(const fake::Host& host, std::uint32_t seed)
    : dice_(seed), system_name_(Lower(host.system_name)) {
  for (const fake::Device& device : host.devices) {
    names_.push_back(device.name);
    for (const char* suffix : {"-up", "-ep", "-pri", "-sec"}) {
      names_.push_back(device.name + suffix);
    }
    buses_.push_back(device.bus);
    buses_.push_back(device.secondary_bus);
  }
  names_.emplace_back("unknown");
  buses_.push_back(0);
}

std::string RequestPool::DrawName() {
  std::string name = dice_.OneOf(names_);
  switch (dice_.Draw(24)) {
    case 0: return "";
    case 1: return name + "-ep";
    case 2: return name.substr(0, name.size() / 2);
    case 3: return MixCase(name);
    case 4: return "-" + name;
    case 5: return "unknown";
    default: return name;
  }
}

std::string RequestPool::DrawGroupId() {
  const std::string bus = std::to_string(dice_.OneOf(buses_));
  switch (dice_.Draw(24)) {
    case 0: return "";
    case 1: return "Ostrel:bus";
    case 2: return "Ostrel:bus-";
    case 3: return "foo-" + bus;
    case 4: return "Ostrel:bus-" + std::to_string(256 + dice_.Draw(256));
    case 5: return "Ostrel:bus- " + bus + "tail";
    case 6: return "-" + bus;
    case 7: return "Ostrel:bus--" + bus;
    case 8: return "Ostrel:bus-99999999999999999999";
    case 9: return "Ostrel:bus-x" + bus;
    case 10: return std::to_string(dice_.Draw(256));
    case 11: return "Ostrel:bus-" + std::to_string(dice_.Draw(256));
    default: return "Ostrel:bus-" + bus;
  }
}

ObjectPath RequestPool::DrawSource() {
  constexpr const char* kOtherClasses[] = {"CIM_PCIDevice",      "CIM_LogicalDevice", "CIM_Port",
                                           "CIM_ComputerSystem", "Unknown_Class",     ""};
  switch (dice_.Draw(12)) {
    case 0: return SystemPath(system_name_);
    case 1: return SystemPath("other");
    case 2:
    case 3:
    case 4: return GroupPath(DrawGroupId());
    case 5: return ElementPath(dice_.OneOf(kOtherClasses), DrawName(), system_name_);
    case 6: return ClassPath(dice_.OneOf(kProviderClasses));
    case 7:
    case 8: return ElementPath("Ostrel_PCIPort", DrawName(), system_name_);
    default: return ElementPath(dice_.OneOf(kElementClasses), DrawName(), system_name_);
  }
}

ObjectPath RequestPool::DrawAssociation(const std::string& class_name) {
  const bool odd = dice_.OneIn(6);
  const auto port = [&] { return ElementPath("Ostrel_PCIPort", DrawName(), system_name_); };
  const auto end = [&](ObjectPath usual) { return odd ? Mutated(DrawSource()) : std::move(usual); };
  if (class_name == "Ostrel_PCISystemDevice") {
    const char* part = dice_.OneIn(2) ? "Ostrel_PCIDevice" : "Ostrel_PCIPort";
    ObjectPath path = Association(class_name, SystemPath(system_name_),
                                  end(ElementPath(part, DrawName(), system_name_)));
    if (dice_.OneIn(4)) path.keys[1].second = Mutated(*path.keys[1].second.reference());
    if (dice_.OneIn(6)) path.keys[0].second = Mutated(*path.keys[0].second.reference());
    return path;
  }
  if (class_name == "Ostrel_PCIDeviceConnection") {
    return Association(class_name, end(port()), end(port()));
  }
  if (class_name == "Ostrel_PCIControlledBy") {
    return Association(class_name, Mutated(DrawSource()), end(port()));
  }
  if (class_name == "Ostrel_PCIHostedCollection") {
    return Association(class_name, Mutated(DrawSource()), end(GroupPath(DrawGroupId())));
  }
  return Association(class_name, end(GroupPath(DrawGroupId())), end(port()));
}

std::string RequestPool::MixCase(std::string text) {
  for (char& letter : text) {
    const auto code = static_cast<unsigned char>(letter);
    letter = static_cast<char>(dice_.OneIn(2) ? std::toupper(code) : std::tolower(code));
  }
  return text;
}

void RequestPool::MutateKey(ObjectPath& path) {
  if (path.keys.empty()) return;
  // Mostly the last: the one that is read.
  const auto position = dice_.OneIn(3) ? dice_.Draw(static_cast<int>(path.keys.size()))
                                       : static_cast<int>(path.keys.size()) - 1;
  auto& [name, value] = path.keys[static_cast<std::size_t>(position)];
  switch (dice_.Draw(8)) {
    case 0: path.keys.erase(path.keys.begin() + position); break;
    case 1: value = std::uint32_t{7}; break;
    case 2: value = true; break;
    case 3: value = GroupPath("Ostrel:bus-0"); break;
    case 4: value = cim::Value::Null(CMPI_string); break;
    case 5: value = ""; break;
    default: name = MixCase(name); break;
  }
}

ObjectPath RequestPool::Mutated(ObjectPath path) {
  switch (dice_.Draw(16)) {
    case 0:
    case 1:
    case 2: MutateKey(path); break;
    case 3: path.class_name = MixCase(path.class_name); break;
    case 4: path.class_name = naive::kSubclassPrefix + path.class_name; break;
    case 5: std::reverse(path.keys.begin(), path.keys.end()); break;
    case 6: path.name_space = dice_.OneIn(2) ? "" : "ROOT/cimV2"; break;
    case 7: path.name_space = "root/other"; break;
    case 8: path.host = "elsewhere"; break;
    case 9: path.keys.clear(); break;
    default: break;
  }
  return path;
}

broker::PropertyList RequestPool::DrawProperties() {
  constexpr const char* kProperties[] = {
      "BusNumber",  "ElementName",   "Capabilities", "PhysicalSlot", "ParentDeviceID",
      "PortType",   "DeviceID",      "InstanceID",   "Antecedent",   "Member",
      "BridgeType", "NumberOfPorts", "busnumber",    "CLASSCODE",    "NoSuchThing",
      "",           "VendorID",      "SystemName",   "SubClassCode"};
  if (dice_.OneIn(2)) return {};
  std::vector<std::string> list;
  for (int count = dice_.Draw(5); count > 0; --count) list.emplace_back(dice_.OneOf(kProperties));
  return list;
}

Request RequestPool::Draw() {
  constexpr const char* kResultClasses[] = {"Ostrel_PCIPort",   "Ostrel_PCIDevice",
                                            "oSTREL_pciPORT",   "OSTREL_PCIDEVICE",
                                            "Ostrel_PCIBridge", ""};
  constexpr const char* kRoles[] = {"Antecedent", "Dependent", "member", "NoSuchRole", ""};
  const bool association = dice_.OneIn(2);
  const std::string class_name =
      kProviderClasses[association
                           ? kFirstAssociation + dice_.Draw(kProviderClassCount - kFirstAssociation)
                           : dice_.Draw(kProviderClassCount)];
  Request request;
  if (association) {
    const Operation operation = dice_.OneOf(kAssociationOperations);
    request = Make(class_name, operation, Mutated(DrawSource()));
    if (dice_.OneIn(3)) request.filter.result_class = dice_.OneOf(kResultClasses);
    if (dice_.OneIn(8)) request.filter.assoc_class = dice_.OneOf(kProviderClasses);
    if (dice_.OneIn(8)) request.filter.role = dice_.OneOf(kRoles);
    if (dice_.OneIn(8)) request.filter.result_role = dice_.OneOf(kRoles);
  } else {
    const Operation operation = dice_.OneIn(4) ? dice_.OneOf(kInstanceOperations)  //
                                               : Operation::kGetInstance;
    request = Make(class_name, operation, ClassPath(class_name));
    if (operation == Operation::kGetInstance) {
      const auto is = [&](const char* name) { return class_name == name; };
      const bool element = std::any_of(std::begin(kElementClasses), std::end(kElementClasses), is);
      request.path = Mutated(element ? ElementPath(class_name, DrawName(), system_name_)
                             : is("Ostrel_PCIPortGroup") ? GroupPath(DrawGroupId())
                                                         : DrawAssociation(class_name));
    }
  }
  request.properties = DrawProperties();
  return request;
}

std::vector<Request> RequestPool::OrdinaryRequests(const fake::Host& host) {
  const std::string system = Lower(host.system_name);
  // One element of each class and kind.
  std::vector<ObjectPath> elements;
  std::vector<std::string> ports;
  for (const fake::Device& device : host.devices) {
    const bool switch_port = device.pcie_type == 5 || device.pcie_type == 6;
    const bool bridge = device.class_code / 256 == 6 && !switch_port;
    const char* class_name = bridge                  ? "Ostrel_PCIBridge"
                             : device.pcie_type == 5 ? "Ostrel_PCIeSwitch"
                                                     : "Ostrel_PCIDevice";
    elements.push_back(ElementPath(class_name, device.name, system));
    if (bridge) ports.push_back(device.name + "-pri");
    ports.push_back(device.name + (bridge ? "-sec" : device.pcie_type == 5 ? "-up" : "-ep"));
  }
  std::vector<ObjectPath> sources = elements;
  sources.push_back(SystemPath(system));
  for (const std::string& port : ports) {
    sources.push_back(ElementPath("Ostrel_PCIPort", port, system));
  }
  for (const char* class_name : kElementClasses) {
    sources.push_back(ElementPath(class_name, "", system));
  }
  for (const int bus : {0, 1, 2, 9}) {
    sources.push_back(GroupPath("Ostrel:bus-" + std::to_string(bus)));
  }

  std::vector<Request> requests;
  for (const std::string class_name : kProviderClasses) {
    requests.push_back(Make(class_name, Operation::kEnumInstanceNames, ClassPath(class_name)));
    requests.push_back(Make(class_name, Operation::kEnumInstances, ClassPath(class_name)));
  }
  for (int i = 0; i < kFirstAssociation; ++i) {
    for (const ObjectPath& source : sources) {
      requests.push_back(Make(kProviderClasses[i], Operation::kGetInstance, source));
    }
  }
  for (const Ends& ends : kEnds) {
    for (const ObjectPath& source : sources) {
      const ObjectPath first = ends.first == std::string("GroupComponent")
                                   ? SystemPath(system)
                                   : ElementPath("Ostrel_PCIPort", ports.front(), system);
      requests.push_back(Make(ends.class_name, Operation::kGetInstance,
                              Association(ends.class_name, first, source)));
      for (const Operation operation : kAssociationOperations) {
        requests.push_back(Make(ends.class_name, operation, source));
      }
    }
  }
  return requests;
}
