#include "support/naive_providers.h"

#include <sstream>

#include "cim/wbem_uri.h"
#include "support/naive/cim.h"

namespace naive {

using broker::PropertyList;
using cim::Instance;
using cim::ObjectPath;

Providers::Providers(fake::Host host, SystemClass system)
    : host_(std::move(host)), system_(std::move(system)), model_(host_) {}

void Providers::FailAt(const Failures& from_now) {
  if (!topology().built) StartAnew();
  model_.FailAt(from_now);
}

void Providers::StartAnew() {
  model_ = Model(host_);
  fresh_ = true;
}

// --- Requests
// --------------------------------------------------------------------------------------

Answer Providers::Ask(const Request& request) {
  answer_ = {};
  if (!topology().built) {
    if (!fresh_) StartAnew();
    fresh_ = false;
    model_.Build();
    if (!topology().built) {
      answer_.code = CMPI_RC_ERR_FAILED;  // the factory was left by an exception
      answer_.log = model_.TakeLog();
      return answer_;
    }
  }
  Request received = request;
  if (received.path.name_space.empty()) received.path.name_space = kNameSpace;  // by the manager
  try {
    Dispatch(received);
  } catch (const Status& status) {
    answer_.code = status.code;
  } catch (const Model::Failure& failure) {
    answer_.code = CMPI_RC_ERR_FAILED;
    answer_.message = failure.thrown == fake::Thrown::kNoException
                          ? "unknown exception in the provider"
                          : failure.text;
  }
  answer_.log = model_.TakeLog();
  return answer_;
}

void Providers::Dispatch(const Request& request) {
  const std::string& class_name = request.class_name;
  const ObjectPath& path = request.path;
  const PropertyList& properties = request.properties;
  switch (request.operation) {
    case Operation::kEnumInstanceNames:
      if (class_name == kDevice) return DeviceEnumInstanceNames();
      if (class_name == kBridge) return BridgeEnumInstanceNames();
      if (class_name == kSwitch) return SwitchEnumInstanceNames();
      if (class_name == kPort) return PortEnumInstanceNames();
      if (class_name == kPortGroup) return GroupEnumInstanceNames();
      if (class_name == kSystemDevice) return SystemDeviceEnumInstanceNames();
      if (class_name == kConnection) return ConnectionEnumInstanceNames();
      if (class_name == kControlledBy) return ControlledByEnumInstanceNames();
      if (class_name == kHosted) return HostedEnumInstanceNames();
      return MemberEnumInstanceNames();
    case Operation::kEnumInstances:
      if (class_name == kDevice) return DeviceEnumInstances(properties);
      if (class_name == kBridge) return BridgeEnumInstances(properties);
      if (class_name == kSwitch) return SwitchEnumInstances(properties);
      if (class_name == kPort) return PortEnumInstances(properties);
      if (class_name == kPortGroup) return GroupEnumInstances(properties);
      if (class_name == kSystemDevice) return SystemDeviceEnumInstances(properties);
      if (class_name == kConnection) return ConnectionEnumInstances(properties);
      if (class_name == kControlledBy) return ControlledByEnumInstances(properties);
      if (class_name == kHosted) return HostedEnumInstances(properties);
      return MemberEnumInstances(properties);
    case Operation::kGetInstance:
      if (class_name == kDevice) return DeviceGetInstance(path, properties);
      if (class_name == kBridge) return BridgeGetInstance(path, properties);
      if (class_name == kSwitch) return SwitchGetInstance(path, properties);
      if (class_name == kPort) return PortGetInstance(path, properties);
      if (class_name == kPortGroup) return GroupGetInstance(path, properties);
      if (class_name == kSystemDevice) return SystemDeviceGetInstance(path, properties);
      if (class_name == kConnection) return ConnectionGetInstance(path, properties);
      if (class_name == kControlledBy) return ControlledByGetInstance(path, properties);
      if (class_name == kHosted) return HostedGetInstance(path, properties);
      return MemberGetInstance(path, properties);
    default: DispatchAssociation(request);
  }
}

void Providers::DispatchAssociation(const Request& request) {
  const std::string& class_name = request.class_name;
  switch (request.operation) {
    case Operation::kAssociators:
      if (class_name == kSystemDevice) return SystemDeviceAssociators(request);
      if (class_name == kConnection) return ConnectionAssociators(request);
      if (class_name == kControlledBy) return ControlledByAssociators(request);
      if (class_name == kHosted) return HostedAssociators(request);
      return MemberAssociators(request);
    case Operation::kAssociatorNames:
      if (class_name == kSystemDevice) return SystemDeviceAssociatorNames(request);
      if (class_name == kConnection) return ConnectionAssociatorNames(request);
      if (class_name == kControlledBy) return ControlledByAssociatorNames(request);
      if (class_name == kHosted) return HostedAssociatorNames(request);
      return MemberAssociatorNames(request);
    case Operation::kReferences:
      if (class_name == kSystemDevice) return SystemDeviceReferences(request);
      if (class_name == kConnection) return ConnectionReferences(request);
      if (class_name == kControlledBy) return ControlledByReferences(request);
      if (class_name == kHosted) return HostedReferences(request);
      return MemberReferences(request);
    default:
      if (class_name == kSystemDevice) return SystemDeviceReferenceNames(request);
      if (class_name == kConnection) return ConnectionReferenceNames(request);
      if (class_name == kControlledBy) return ControlledByReferenceNames(request);
      if (class_name == kHosted) return HostedReferenceNames(request);
      return MemberReferenceNames(request);
  }
}

// --- Paths
// -----------------------------------------------------------------------------------------

ObjectPath Providers::DevicePath(const fake::Device& device, const std::string& class_name) {
  return DevicePath(device, class_name, class_name);
}

ObjectPath Providers::DevicePath(const fake::Device& device, const std::string& class_name,
                                 const std::string& creation_class_name) {
  ObjectPath path;
  path.name_space = kNameSpace;
  path.class_name = class_name;
  path.keys.emplace_back("SystemCreationClassName", kSystemClass);
  path.keys.emplace_back("SystemName", topology().system_name);
  path.keys.emplace_back("CreationClassName", creation_class_name);
  path.keys.emplace_back("DeviceID", model_.Ask("GetName", device, device.name));
  return path;
}

ObjectPath Providers::PortPath(const std::string& port_name) const {
  ObjectPath path;
  path.name_space = kNameSpace;
  path.class_name = kPort;
  path.keys.emplace_back("SystemName", topology().system_name);
  path.keys.emplace_back("CreationClassName", kPort);
  path.keys.emplace_back("SystemCreationClassName", kSystemClass);
  path.keys.emplace_back("DeviceID", port_name);
  return path;
}

ObjectPath Providers::SystemPath() const {
  ObjectPath path;
  path.name_space = kNameSpace;
  path.class_name = kSystemClass;
  path.keys.emplace_back("CreationClassName", kSystemClass);
  path.keys.emplace_back("Name", topology().system_name);
  return path;
}

ObjectPath Providers::GroupPath(int bus) {
  ObjectPath path;
  path.name_space = kNameSpace;
  path.class_name = kPortGroup;
  path.keys.emplace_back("InstanceID", "Ostrel:bus-" + std::to_string(bus));
  return path;
}

ObjectPath Providers::AssociationPath(const std::string& class_name, const std::string& first_key,
                                      const ObjectPath& first, const std::string& second_key,
                                      const ObjectPath& second) {
  ObjectPath path;
  path.name_space = kNameSpace;
  path.class_name = class_name;
  path.keys.emplace_back(first_key, first);
  path.keys.emplace_back(second_key, second);
  return path;
}

// --- Results
// ---------------------------------------------------------------------------------------

void Providers::ReturnPath(ObjectPath path) { answer_.events.emplace_back(std::move(path)); }
void Providers::ReturnInstance(Instance instance) {
  answer_.events.emplace_back(std::move(instance));
}
void Providers::ReturnDone() { answer_.events.emplace_back(Done{}); }

// --- Lookups
// ---------------------------------------------------------------------------------------

const Port* Providers::FindPort(const std::string& port_name) const {
  const auto found = topology().port_index.find(port_name);
  return found == topology().port_index.end() ? nullptr : &topology().ports[found->second];
}

// The name that a parent object answers: it is a device of the host, or one with a name alone.
std::string Providers::AskNameOfParent(const std::string& parent) {
  const fake::Device* known = host_.Find(parent);
  model_.Call("GetName", known == nullptr ? fake::Faults() : known->faults);
  return parent;
}

// The same from the device on; nothing where there is no parent.
std::optional<std::string> Providers::AskParentName(const fake::Device& device) {
  const std::optional<std::string> parent = model_.Ask("GetParent", device, device.parent);
  if (!parent) return {};
  return AskNameOfParent(*parent);
}

// --- One instance alone
// ----------------------------------------------------------------------------

namespace {

bool HasKeysOf(const ObjectPath& asked, const Instance& instance) {
  for (const auto& [name, value] : asked.keys) {
    bool same = false;
    for (const auto& [key, held] : instance.path.keys) {
      if (SameName(name, key)) same = SameValue(value, held);
    }
    if (!same) return false;
  }
  return true;
}

}  // namespace

Answer DeliveredByOne(const Request& request, const Answer& returned) {
  Answer delivered = returned;
  delivered.events.clear();
  if (returned.code != CMPI_RC_OK) return delivered;
  std::optional<Instance> chosen;
  bool has_keys = false;
  for (const Event& event : returned.events) {
    const auto* instance = std::get_if<Instance>(&event);
    if (instance == nullptr || has_keys) continue;
    has_keys = HasKeysOf(request.path, *instance);
    if (has_keys || !chosen) chosen = *instance;
  }
  if (!chosen) {
    delivered.code = CMPI_RC_ERR_NOT_FOUND;
    delivered.message = "";
    return delivered;
  }
  delivered.events.emplace_back(*chosen);
  delivered.events.emplace_back(Done{});
  return delivered;
}

// --- For people
// ------------------------------------------------------------------------------------

namespace {

const char* NameOf(Operation operation) {
  switch (operation) {
    case Operation::kEnumInstanceNames: return "enumInstanceNames";
    case Operation::kEnumInstances: return "enumInstances";
    case Operation::kGetInstance: return "getInstance";
    case Operation::kAssociators: return "associators";
    case Operation::kAssociatorNames: return "associatorNames";
    case Operation::kReferences: return "references";
    case Operation::kReferenceNames: return "referenceNames";
  }
  return "";
}

std::string DescribeInstance(const Instance& instance) {
  std::string text = "instance " + cim::ToWbemUri(instance.path);
  for (const cim::Property& property : instance.properties) {
    text += "\n    " + property.name + " " + cim::TypeName(property.value.type()) + " " +
            cim::ToText(property.value);
  }
  return text;
}

}  // namespace

std::vector<std::string> Describe(const Answer& answer) {
  std::vector<std::string> lines;
  std::size_t number = 0;
  for (const Event& event : answer.events) {
    std::string line = "event " + std::to_string(++number) + ": ";
    if (const auto* instance = std::get_if<Instance>(&event)) {
      line += DescribeInstance(*instance);
    } else if (const auto* path = std::get_if<ObjectPath>(&event)) {
      line += "path " + cim::ToWbemUri(*path);
    } else {
      line += "done";
    }
    lines.push_back(line);
  }
  lines.push_back("status " + cim::ToString({answer.code, answer.message.value_or("")}));
  number = 0;
  for (const LogLine& line : answer.log) {
    std::ostringstream out;
    out << "log " << ++number << ": " << line;
    lines.push_back(out.str());
  }
  return lines;
}

std::string Describe(const Request& request) {
  std::string text = request.class_name + " " + NameOf(request.operation) + " ";
  text += cim::ToWbemUri(request.path);
  if (request.filter.result_class) text += ", result class " + *request.filter.result_class;
  if (request.properties) {
    text += ", properties {";
    for (const std::string& property : *request.properties) text += " " + property;
    text += " }";
  }
  return text;
}

bool IsAsExpected(const Answer& expected, const Answer& actual) {
  return expected.events == actual.events && expected.code == actual.code &&
         (!expected.message || expected.message == actual.message) && expected.log == actual.log;
}

}  // namespace naive
