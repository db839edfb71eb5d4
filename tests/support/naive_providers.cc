#include "support/naive_providers.h"

#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <sstream>

#include "broker/wbem_uri.h"

namespace naive {

using broker::Instance;
using broker::ObjectPath;
using broker::PropertyList;
using broker::Value;

namespace {

constexpr int kError = 3;
constexpr int kDebug = 7;

constexpr const char* kSystemClass = "OMC_UnitaryComputerSystem";
constexpr const char* kDevice = "Ostrel_PCIDevice";
constexpr const char* kBridge = "Ostrel_PCIBridge";
constexpr const char* kSwitch = "Ostrel_PCIeSwitch";
constexpr const char* kPort = "Ostrel_PCIPort";
constexpr const char* kPortGroup = "Ostrel_PCIPortGroup";
constexpr const char* kSystemDevice = "Ostrel_PCISystemDevice";
constexpr const char* kConnection = "Ostrel_PCIDeviceConnection";
constexpr const char* kControlledBy = "Ostrel_PCIControlledBy";
constexpr const char* kHosted = "Ostrel_PCIHostedCollection";
constexpr const char* kMember = "Ostrel_PCIMemberOfCollection";

constexpr const char* kReadFailed =
    "enumInstance request to retrieve PCI information failed,error ";
constexpr const char* kReferencesFailed =
    "enumInstance request to retrieve PCI references failed,error ";

// A status that an operation answers without going on: its own, or the wrapper's for a key.
struct Status {
  CMPIrc code;
  bool of_wrapper;
};

[[noreturn]] void NotFound() { throw Status{CMPI_RC_ERR_NOT_FOUND, false}; }

std::string Lower(const std::string& text) {
  std::string lower;
  for (const char character : text) {
    lower += static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
  }
  return lower;
}

bool SameName(const std::string& left, const std::string& right) {
  return Lower(left) == Lower(right);
}

Value Uint8(int value) { return static_cast<std::uint8_t>(value); }
Value Uint16(int value) { return static_cast<std::uint16_t>(value); }

void Set(Instance& instance, const char* name, Value value) {
  instance.properties.push_back({name, std::move(value)});
}

// An instance starts with the keys of its path.
Instance InstanceFrom(const ObjectPath& path) {
  Instance instance;
  instance.path = path;
  for (const auto& [name, value] : path.keys) instance.properties.push_back({name, value});
  return instance;
}

// Object managers keep the keys, listed or not.
Instance Filtered(const Instance& instance, const PropertyList& properties) {
  if (!properties) return instance;
  Instance filtered;
  filtered.path = instance.path;
  for (const broker::Property& property : instance.properties) {
    bool kept = false;
    for (const std::string& listed : *properties) {
      if (SameName(listed, property.name)) kept = true;
    }
    for (const auto& [key, value] : instance.path.keys) {
      if (SameName(key, property.name)) kept = true;
    }
    if (kept) filtered.properties.push_back(property);
  }
  return filtered;
}

const Value& ReadKey(const ObjectPath& path, const char* name) {
  for (const auto& [key, value] : path.keys) {
    if (SameName(key, name) && !value.is_null()) return value;
  }
  throw Status{CMPI_RC_ERR_NO_SUCH_PROPERTY, true};
}

std::string ReadText(const ObjectPath& path, const char* name) {
  const Value& value = ReadKey(path, name);
  if (value.text() == nullptr) throw Status{CMPI_RC_ERR_TYPE_MISMATCH, true};
  return *value.text();
}

ObjectPath ReadReference(const ObjectPath& path, const char* name) {
  const Value& value = ReadKey(path, name);
  if (value.reference() == nullptr) throw Status{CMPI_RC_ERR_TYPE_MISMATCH, true};
  return *value.reference();
}

bool IsA(const ObjectPath& path, const std::string& class_name) {
  return SameName(path.class_name, class_name) || path.class_name == kSubclassPrefix + class_name;
}

bool SameElement(const ObjectPath& left, const ObjectPath& right);

bool SameValue(const Value& left, const Value& right) {
  if (left.is_null() || right.is_null()) return left.is_null() && right.is_null();
  if (left.reference() != nullptr && right.reference() != nullptr) {
    return SameElement(*left.reference(), *right.reference());
  }
  if (left.as_signed() && right.as_signed()) return left.as_signed() == right.as_signed();
  return left == right;
}

bool SameElement(const ObjectPath& left, const ObjectPath& right) {
  if (!SameName(left.class_name, right.class_name)) return false;
  if (!left.name_space.empty() && !right.name_space.empty() &&
      !SameName(left.name_space, right.name_space)) {
    return false;
  }
  if (left.keys.size() != right.keys.size()) return false;
  for (const auto& [name, value] : left.keys) {
    bool found = false;
    for (const auto& [other_name, other_value] : right.keys) {
      if (SameName(name, other_name) && SameValue(value, other_value)) found = true;
    }
    if (!found) return false;
  }
  return true;
}

// A log line ends at a zero byte, which a path with a zero character holds.
std::string Text(const ObjectPath& path) {
  const std::string text = broker::ToWbemUri(path);
  return text.substr(0, text.find('\0'));
}

bool HasDash(const std::string& name) { return name.find('-') != std::string::npos; }

}  // namespace

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

// --- Requests ------------------------------------------------------------------------------------

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

// --- Paths ---------------------------------------------------------------------------------------

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

// --- Results -------------------------------------------------------------------------------------

void Providers::ReturnPath(ObjectPath path) { answer_.events.emplace_back(std::move(path)); }
void Providers::ReturnInstance(Instance instance) {
  answer_.events.emplace_back(std::move(instance));
}
void Providers::ReturnDone() { answer_.events.emplace_back(Done{}); }

// --- Lookups -------------------------------------------------------------------------------------

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

// --- Devices -------------------------------------------------------------------------------------

void Providers::PopulateDeviceDetails(const fake::Device& device, Instance& instance) {
  const std::string vendor = model_.Ask("GetVendorName", device, device.vendor_name);
  const std::string name = model_.Ask("GetDeviceName", device, device.device_name);
  const int number = model_.Ask("GetDeviceNumber", device, device.number);
  const std::string element_name = vendor + " " + name + " #" + std::to_string(number);

  const std::optional<std::string> parent = AskParentName(device);

  const auto codes = model_.Ask("GetCapabilities", device, device.capabilities);
  Value::Array capabilities(codes.size(), Value::Null(CMPI_uint16));
  for (std::size_t i = 0; i < codes.size(); ++i) {
    capabilities[i % 256] = Uint16(static_cast<int>(codes[i] % 65536));
  }

  const int class_code = model_.Ask("GetClassCode", device, device.class_code);

  Set(instance, "BusNumber", Uint8(model_.Ask("GetBus", device, device.bus)));
  Set(instance, "DeviceNumber", Uint8(model_.Ask("GetDeviceNumber", device, device.number)));
  Set(instance, "FunctionNumber", Uint8(model_.Ask("GetFunction", device, device.function)));
  Set(instance, "ElementName", element_name);
  Set(instance, "PrimaryStatus", Uint16(0));
  Set(instance, "HealthState", Uint16(0));
  Set(instance, "EnabledState", Uint16(0));
  Set(instance, "RequestedState", Uint16(0));
  Set(instance, "Capabilities", Value::ArrayOf(CMPI_uint16, capabilities));
  Set(instance, "ClassCode", Uint8(class_code / 256));
  Set(instance, "SubsystemID", Uint16(model_.Ask("GetSubsystemId", device, device.subsystem_id)));
  Set(instance, "SubsystemVendorID",
      Uint16(model_.Ask("GetSubsystemVendorId", device, device.subsystem_vendor_id)));
  Set(instance, "PCIDeviceID", Uint16(model_.Ask("GetDeviceId", device, device.device_id)));
  Set(instance, "VendorID", Uint16(model_.Ask("GetVendorId", device, device.vendor_id)));
  Set(instance, "RevisionID", Uint8(model_.Ask("GetRevision", device, device.revision)));
  Set(instance, "SubClassCode", Uint8(class_code % 256));
  Set(instance, "SegmentNumber", Uint16(model_.Ask("GetSegment", device, device.segment)));
  Set(instance, "ParentDeviceID", parent.value_or(""));
  try {
    const int slot = model_.Ask("GetPhysicalSlot", device, device.slot);
    if (slot != -1) Set(instance, "PhysicalSlot", Uint8(slot));
  } catch (const Model::Failure& failure) {
    if (failure.thrown != fake::Thrown::kHostCtlException) throw;
    Log(kError, "Report PCI devices failed : " + failure.text);
  }
}

bool Providers::IsPlainDevice(const fake::Device& device) {
  if (model_.IsBridge(device)) return false;
  if (model_.IsPortOnSwitch(device)) return false;
  return true;
}

void Providers::DeviceList(const PropertyList& properties) {
  for (Position i = 0; i < DeviceCount(); ++i) {
    const fake::Device& device = DeviceAt(i);
    if (!IsPlainDevice(device)) continue;
    Instance instance = InstanceFrom(DevicePath(device, kDevice));
    PopulateDeviceDetails(device, instance);
    ReturnInstance(Filtered(instance, properties));
  }
}

void Providers::DeviceListRef() {
  for (Position i = 0; i < DeviceCount(); ++i) {
    const fake::Device& device = DeviceAt(i);
    if (!IsPlainDevice(device)) continue;
    ReturnPath(DevicePath(device, kDevice));
  }
}

void Providers::DeviceEnumInstanceNames() {
  DeviceListRef();
  ReturnDone();
}

void Providers::DeviceEnumInstances(const PropertyList& properties) {
  DeviceList(properties);
  ReturnDone();
}

void Providers::DeviceGetInstance(const ObjectPath& path, const PropertyList& properties) {
  const std::string id = ReadText(path, "DeviceID");
  if (id.empty()) NotFound();
  const auto found = topology().device_index.find(id);
  if (found != topology().device_index.end()) {
    try {
      const fake::Device& device = DeviceAt(found->second);
      Instance instance = InstanceFrom(DevicePath(device, kDevice));
      PopulateDeviceDetails(device, instance);
      ReturnInstance(Filtered(instance, properties));
    } catch (const Model::Failure& failure) {
      if (failure.thrown != fake::Thrown::kHostCtlException) throw;
      Log(kError, kReadFailed + failure.text);
    }
  }
  ReturnDone();
}

// --- Bridges -------------------------------------------------------------------------------------

Instance Providers::MakeBridge(const fake::Device& device, const PropertyList& properties) {
  Instance instance = InstanceFrom(DevicePath(device, kBridge));
  PopulateDeviceDetails(device, instance);
  Set(instance, "BridgeType", Uint16(model_.Ask("GetClassCode", device, device.class_code) % 256));
  Set(instance, "SecondaryBusNumber",
      Uint8(model_.Ask("GetSecondaryBus", device, device.secondary_bus)));
  return Filtered(instance, properties);
}

void Providers::BridgeEnumInstanceNames() {
  for (const Position bridge : topology().bridges) {
    ReturnPath(DevicePath(DeviceOf(topology().ports[bridge]), kBridge));
  }
  ReturnDone();
}

void Providers::BridgeEnumInstances(const PropertyList& properties) {
  for (const Position bridge : topology().bridges) {
    ReturnInstance(MakeBridge(DeviceOf(topology().ports[bridge]), properties));
  }
  ReturnDone();
}

void Providers::BridgeGetInstance(const ObjectPath& path, const PropertyList& properties) {
  const std::string id = ReadText(path, "DeviceID");
  if (id.empty()) NotFound();
  const auto found = topology().device_index.find(id);
  if (found == topology().device_index.end()) return;
  const fake::Device& device = DeviceAt(found->second);
  if (!model_.IsBridge(device)) NotFound();
  ReturnInstance(MakeBridge(device, properties));
}

// --- Switches ------------------------------------------------------------------------------------

bool Providers::IsChildOf(const fake::Device& parent, const fake::Device& device) {
  try {
    const std::optional<std::string> name = AskParentName(device);
    if (!name) return false;
    return *name == model_.Ask("GetName", parent, parent.name);
  } catch (const Model::Failure& failure) {
    if (failure.thrown != fake::Thrown::kHostCtlException) throw;
    Log(kError, "Check Child of PCIeSwitch class failed,reporting false, error " + failure.text);
    return false;
  }
}

// Every failure that its handler knows is met in the child test already.
int Providers::DownstreamPortsCount(const fake::Device& device) {
  int count = 0;
  for (Position i = 0; i < DeviceCount(); ++i) {
    if (IsChildOf(device, DeviceAt(i))) ++count;
  }
  return count % 65536;
}

Instance Providers::MakeSwitch(const fake::Device& device, const PropertyList& properties) {
  Instance instance = InstanceFrom(DevicePath(device, kSwitch));
  PopulateDeviceDetails(device, instance);
  Set(instance, "NumberOfPorts", Uint16(DownstreamPortsCount(device)));
  return Filtered(instance, properties);
}

void Providers::SwitchEnumInstanceNames() {
  for (const Position upstream : topology().switches) {
    ReturnPath(DevicePath(DeviceOf(topology().ports[upstream]), kSwitch));
  }
  ReturnDone();
}

void Providers::SwitchEnumInstances(const PropertyList& properties) {
  for (const Position upstream : topology().switches) {
    ReturnInstance(MakeSwitch(DeviceOf(topology().ports[upstream]), properties));
  }
  ReturnDone();
}

void Providers::SwitchGetInstance(const ObjectPath& path, const PropertyList& properties) {
  const std::string id = ReadText(path, "DeviceID");
  if (id.empty()) NotFound();
  const auto found = topology().device_index.find(id);
  if (found == topology().device_index.end()) return;
  try {
    ReturnInstance(MakeSwitch(DeviceAt(found->second), properties));
  } catch (const Model::Failure& failure) {
    if (failure.thrown != fake::Thrown::kHostCtlException) throw;
    Log(kError, kReadFailed + failure.text);
  }
}

// --- Ports ---------------------------------------------------------------------------------------

Instance Providers::MakePort(const PropertyList& properties, const std::string& port_name,
                             const std::string& controller, const fake::Device& device,
                             int port_type, int bus) {
  Instance instance = InstanceFrom(PortPath(port_name));
  Set(instance, "PortType", Uint16(port_type));
  const std::string vendor = model_.Ask("GetVendorName", device, device.vendor_name);
  const std::string name = model_.Ask("GetDeviceName", device, device.device_name);
  Set(instance, "ElementName", vendor + " " + name);
  Set(instance, "ControllerDeviceID", controller);
  Set(instance, "BusNumber", Uint8(bus));
  Set(instance, "DeviceNumber", Uint8(model_.Ask("GetDeviceNumber", device, device.number)));
  Set(instance, "FunctionNumber", Uint8(model_.Ask("GetFunction", device, device.function)));
  Set(instance, "PCIDeviceID", Uint16(model_.Ask("GetDeviceId", device, device.device_id)));
  Set(instance, "VendorID", Uint16(model_.Ask("GetVendorId", device, device.vendor_id)));
  Set(instance, "RevisionID", Uint8(model_.Ask("GetRevision", device, device.revision)));
  const int class_code = model_.Ask("GetClassCode", device, device.class_code);
  Set(instance, "ClassCode", Uint8(class_code / 256));
  Set(instance, "SubClassCode", Uint8(class_code % 256));
  return Filtered(instance, properties);
}

void Providers::MakeUpstreamPort(const fake::Device& device, const PropertyList& properties) {
  const std::string id = model_.Ask("GetName", device, device.name);
  const int bus = model_.Ask("GetBus", device, device.bus);
  ReturnInstance(MakePort(properties, id + "-up", id, device, 152, bus));
}

void Providers::MakeDownstreamPort(const fake::Device& device, const PropertyList& properties) {
  const std::optional<std::string> parent = model_.Ask("GetParent", device, device.parent);
  if (!parent) return;
  const std::string id = model_.Ask("GetName", device, device.name);
  const std::string controller = AskNameOfParent(*parent);
  const int bus = model_.Ask("GetBus", device, device.bus);
  ReturnInstance(MakePort(properties, id + "-ep", controller, device, 152, bus));
}

void Providers::MakeEndpointPort(const fake::Device& device, const PropertyList& properties) {
  const std::string id = model_.Ask("GetName", device, device.name);
  int port_type = 150;
  if (model_.Ask("HasCapability", device, device.capability_ids).contains(0x10)) {
    port_type = 152;
  } else if (model_.Ask("HasCapability", device, device.capability_ids).contains(0x07)) {
    port_type = 151;
  }
  const int bus = model_.Ask("GetBus", device, device.bus);
  ReturnInstance(MakePort(properties, id + "-ep", id, device, port_type, bus));
}

void Providers::MakeBridgePorts(const fake::Device& device, std::set<std::string>& seen,
                                const PropertyList& properties) {
  const int subclass = model_.Ask("GetClassCode", device, device.class_code) % 256;
  if (subclass != 0x04 && subclass != 0x0a && subclass != 0x0b) return;
  const std::string id = model_.Ask("GetName", device, device.name);
  if (seen.contains(id)) return;
  seen.insert(id);
  int primary_type = 150;
  int secondary_type = 150;
  if (subclass == 0x0a) secondary_type = 152;
  if (subclass == 0x0b) primary_type = 152;
  const int primary_bus = model_.Ask("GetBus", device, device.bus);
  ReturnInstance(MakePort(properties, id + "-pri", id, device, primary_type, primary_bus));
  const int secondary_bus = model_.Ask("GetSecondaryBus", device, device.secondary_bus);
  ReturnInstance(MakePort(properties, id + "-sec", id, device, secondary_type, secondary_bus));
}

void Providers::MakeBridgePortsRef(const fake::Device& device, std::set<std::string>& seen) {
  const int subclass = model_.Ask("GetClassCode", device, device.class_code) % 256;
  if (subclass != 0x04 && subclass != 0x0a && subclass != 0x0b) return;
  const std::string id = model_.Ask("GetName", device, device.name);
  if (seen.contains(id)) return;
  seen.insert(id);
  ReturnPath(PortPath(id + "-pri"));
  ReturnPath(PortPath(id + "-sec"));
}

Providers::PortKind Providers::KindOf(const fake::Device& device) {
  if (model_.IsPortOnSwitch(device) && !model_.IsUpstreamPortOnSwitch(device)) {
    return PortKind::kDownstream;
  }
  if (model_.IsPortOnSwitch(device) && model_.IsUpstreamPortOnSwitch(device)) {
    return PortKind::kUpstream;
  }
  if (model_.IsBridge(device)) return PortKind::kBridge;
  if (!model_.IsPortOnSwitch(device)) return PortKind::kEndpoint;
  return PortKind::kNone;
}

void Providers::MakePortsForDevice(const fake::Device& device, std::set<std::string>& seen,
                                   const PropertyList& properties) {
  switch (KindOf(device)) {
    case PortKind::kDownstream: return MakeDownstreamPort(device, properties);
    case PortKind::kUpstream: return MakeUpstreamPort(device, properties);
    case PortKind::kBridge: return MakeBridgePorts(device, seen, properties);
    case PortKind::kEndpoint: return MakeEndpointPort(device, properties);
    case PortKind::kNone: return;
  }
}

void Providers::MakePortsForDeviceRef(const fake::Device& device, std::set<std::string>& seen) {
  switch (KindOf(device)) {
    case PortKind::kDownstream:
      return ReturnPath(PortPath(model_.Ask("GetName", device, device.name) + "-ep"));
    case PortKind::kUpstream:
      return ReturnPath(PortPath(model_.Ask("GetName", device, device.name) + "-up"));
    case PortKind::kBridge: return MakeBridgePortsRef(device, seen);
    case PortKind::kEndpoint:
      return ReturnPath(PortPath(model_.Ask("GetName", device, device.name) + "-ep"));
    case PortKind::kNone: return;
  }
}

void Providers::PortList(const PropertyList& properties) {
  std::set<std::string> seen;
  for (const Port& port : topology().ports) MakePortsForDevice(DeviceOf(port), seen, properties);
}

void Providers::PortListRef() {
  std::set<std::string> seen;
  for (const Port& port : topology().ports) MakePortsForDeviceRef(DeviceOf(port), seen);
}

void Providers::PortEnumInstanceNames() {
  PortListRef();
  ReturnDone();
}

void Providers::PortEnumInstances(const PropertyList& properties) {
  PortList(properties);
  ReturnDone();
}

void Providers::PortGetInstance(const ObjectPath& path, const PropertyList& properties) {
  const std::string id = ReadText(path, "DeviceID");
  if (id.empty()) NotFound();
  const Port* port = FindPort(id);
  if (port != nullptr) {
    std::set<std::string> seen;
    MakePortsForDevice(DeviceOf(*port), seen, properties);
  }
  ReturnDone();
}

// --- Port groups ---------------------------------------------------------------------------------

Instance Providers::MakePortGroup(int bus) {
  Instance instance = InstanceFrom(GroupPath(bus));
  Set(instance, "BusNumber", Uint8(bus));
  Set(instance, "ElementName", "PCI port group with bus number " + std::to_string(bus));
  return instance;
}

std::optional<int> Providers::ParseBusId(const ObjectPath& path) {
  const std::string id = ReadText(path, "InstanceID");
  if (!HasDash(id)) return {};
  const std::string number = id.substr(id.find('-') + 1);
  return static_cast<std::uint8_t>(std::strtol(number.c_str(), nullptr, 10));
}

bool Providers::PortGroupExists(int bus) const {
  for (const Port& port : topology().ports) {
    if (port.bus == bus) return true;
  }
  return false;
}

void Providers::GroupEnumInstanceNames() {
  for (const int bus : topology().bus_numbers) ReturnPath(GroupPath(bus));
  ReturnDone();
}

void Providers::GroupEnumInstances(const PropertyList& properties) {
  for (const int bus : topology().bus_numbers) {
    ReturnInstance(Filtered(MakePortGroup(bus), properties));
  }
  ReturnDone();
}

void Providers::GroupGetInstance(const ObjectPath& path, const PropertyList& properties) {
  const std::optional<int> bus = ParseBusId(path);
  if (!bus || !PortGroupExists(*bus)) {
    ReturnDone();
    NotFound();
  }
  ReturnInstance(Filtered(MakePortGroup(*bus), properties));
  ReturnDone();
}

// --- System and device ---------------------------------------------------------------------------

void Providers::ReturnSystemDevice(const ObjectPath& part, const PropertyList& properties) {
  const ObjectPath path =
      AssociationPath(kSystemDevice, "GroupComponent", SystemPath(), "PartComponent", part);
  ReturnInstance(Filtered(InstanceFrom(path), properties));
}

void Providers::ReturnSystemDeviceRef(const ObjectPath& part) {
  ReturnPath(AssociationPath(kSystemDevice, "GroupComponent", SystemPath(), "PartComponent", part));
}

void Providers::LoadSysDevices(const PropertyList& properties) {
  for (Position i = 0; i < DeviceCount(); ++i) {
    if (!IsPlainDevice(DeviceAt(i))) continue;
    ReturnSystemDevice(DevicePath(DeviceAt(i), kDevice), properties);
  }
}

void Providers::LoadSysPorts(const PropertyList& properties) {
  for (const Port& port : topology().ports) ReturnSystemDevice(PortPath(port.name), properties);
}

void Providers::LoadSysDevicesRef() {
  for (Position i = 0; i < DeviceCount(); ++i) {
    if (!IsPlainDevice(DeviceAt(i))) continue;
    ReturnSystemDeviceRef(DevicePath(DeviceAt(i), kDevice));
  }
}

void Providers::LoadSysPortsRef() {
  for (const Port& port : topology().ports) ReturnSystemDeviceRef(PortPath(port.name));
}

void Providers::LoadDevicesAndPortsRef() {
  try {
    LoadSysDevicesRef();
    LoadSysPortsRef();
  } catch (const Model::Failure& failure) {
    if (failure.thrown != fake::Thrown::kHostCtlException) throw;
    Log(kError, kReferencesFailed + failure.text);
  }
}

bool Providers::FindDevicePort(const ObjectPath& path, const PropertyList& properties) {
  try {
    if (!SameElement(ReadReference(path, "GroupComponent"), SystemPath())) return false;
    const ObjectPath part = ReadReference(path, "PartComponent");
    for (Position i = 0; i < DeviceCount(); ++i) {
      if (!IsPlainDevice(DeviceAt(i))) continue;
      const ObjectPath device = DevicePath(DeviceAt(i), kDevice);
      if (!SameElement(part, device)) continue;
      ReturnSystemDevice(device, properties);
      return true;
    }
    for (const Port& port : topology().ports) {
      if (!SameElement(part, PortPath(port.name))) continue;
      ReturnSystemDevice(PortPath(port.name), properties);
      return true;
    }
    return false;
  } catch (const Model::Failure& failure) {
    if (failure.thrown != fake::Thrown::kHostCtlException) throw;
    Log(kError, kReferencesFailed + failure.text);
    return false;
  }
}

void Providers::SystemDeviceEnumInstanceNames() {
  LoadDevicesAndPortsRef();
  ReturnDone();
}

void Providers::SystemDeviceEnumInstances(const PropertyList& properties) {
  LoadSysDevices(properties);
  LoadSysPorts(properties);
  ReturnDone();
}

void Providers::SystemDeviceGetInstance(const ObjectPath& path, const PropertyList& properties) {
  if (!FindDevicePort(path, properties)) NotFound();
  ReturnDone();
}

// What the object manager says when it is asked for the hosting system.

void Providers::ReturnSystemNameOfObjectManager() {
  if (system_.mode == broker::SystemClassMode::kRefused) throw Status{CMPI_RC_ERR_FAILED, true};
  if (system_.mode == broker::SystemClassMode::kEmpty) return;
  ObjectPath path = SystemPath();
  path.keys[1].second = system_.name;
  ReturnPath(path);
}

void Providers::ReturnSystemOfObjectManager(const PropertyList& properties) {
  if (system_.mode == broker::SystemClassMode::kRefused) throw Status{CMPI_RC_ERR_FAILED, true};
  if (system_.mode == broker::SystemClassMode::kEmpty) return;
  ObjectPath path = SystemPath();
  path.keys[1].second = system_.name;
  Instance instance = InstanceFrom(path);
  Set(instance, "ElementName", system_.name);
  ReturnInstance(Filtered(instance, properties));
}

void Providers::SystemDeviceAssociators(const Request& request) {
  const std::string result_class = request.filter.result_class.value_or("");
  if (IsA(request.path, kPort) || IsA(request.path, kDevice)) {
    ReturnSystemOfObjectManager(request.properties);
  } else if (IsA(request.path, kSystemClass)) {
    if (SameName(result_class, kPort)) {
      PortList(request.properties);
    } else if (SameName(result_class, kDevice)) {
      DeviceList(request.properties);
    } else {
      PortList(request.properties);
      DeviceList(request.properties);
    }
  } else {
    Log(kDebug, "PCISystemDevice ai ignoring " + Text(request.path));
  }
  ReturnDone();
}

void Providers::SystemDeviceAssociatorNames(const Request& request) {
  const std::string result_class = request.filter.result_class.value_or("");
  if (IsA(request.path, kPort) || IsA(request.path, kDevice)) {
    ReturnPath(SystemPath());
  } else if (IsA(request.path, kSystemClass)) {
    if (SameName(result_class, kPort)) {
      PortListRef();
    } else if (SameName(result_class, kDevice)) {
      DeviceListRef();
    } else {
      PortListRef();
      DeviceListRef();
    }
  } else {
    Log(kDebug, "PCISystemDevice ai ignoring " + Text(request.path));
  }
  ReturnDone();
}

void Providers::SystemDeviceReferences(const Request& request) {
  if (IsA(request.path, kDevice)) {
    LoadSysDevices(request.properties);
  } else if (IsA(request.path, kPort)) {
    LoadSysPorts(request.properties);
  } else if (IsA(request.path, kSystemClass)) {
    LoadSysDevices(request.properties);
    LoadSysPorts(request.properties);
  } else {
    Log(kDebug, "PCISystemDevice reference unsupported class " + Text(request.path));
  }
  ReturnDone();
}

void Providers::SystemDeviceReferenceNames(const Request& request) {
  if (IsA(request.path, kDevice)) {
    LoadSysDevicesRef();
  } else if (IsA(request.path, kPort)) {
    LoadSysPortsRef();
  } else if (IsA(request.path, kSystemClass)) {
    LoadDevicesAndPortsRef();
  } else {
    Log(kDebug, "PCISystemDevice reference unsupported class " + Text(request.path));
  }
  ReturnDone();
}

// --- Port and connected port ---------------------------------------------------------------------

Providers::Connection Providers::ConnectionOfDevice(const fake::Device& device) {
  const std::string parent = AskParentName(device).value_or("");
  if (parent.empty()) return {};
  if (!topology().port_names.contains(parent)) return {};
  const Port* parent_port = FindPort(parent);
  const std::string id = model_.Ask("GetName", device, device.name);
  const std::optional<Position> connected = model_.FindConnectedPort(id);
  if (!connected) return {};
  return {{parent_port->name, topology().ports[*connected].name}};
}

// The first port of the device that hosts the asked one, and the asked one; null where either is
// missing.
const Port* Providers::PortAbove(const ObjectPath& path, const Port** asked) {
  *asked = FindPort(ReadText(path, "DeviceID"));
  if (*asked == nullptr) return nullptr;
  const std::string name = model_.PortOfDevice((*asked)->parent);
  if (name.empty() || !topology().port_names.contains(name)) return nullptr;
  return FindPort(name);
}

Providers::Connection Providers::ConnectionOfPort(const ObjectPath& path) {
  const Port* asked = nullptr;
  const Port* parent_port = PortAbove(path, &asked);
  if (parent_port == nullptr) return {};
  const fake::Device& device = DeviceOf(*asked);
  const std::string id = model_.Ask("GetName", device, device.name);
  const std::optional<Position> connected = model_.FindConnectedPort(id);
  if (!connected) return {};
  return {{parent_port->name, topology().ports[*connected].name}};
}

void Providers::ReturnConnection(const Connection& connection, const PropertyList& properties) {
  const ObjectPath path = AssociationPath(kConnection, "Antecedent", PortPath(connection->first),
                                          "Dependent", PortPath(connection->second));
  ReturnInstance(Filtered(InstanceFrom(path), properties));
}

void Providers::ReturnConnectionRef(const Connection& connection) {
  ReturnPath(AssociationPath(kConnection, "Antecedent", PortPath(connection->first), "Dependent",
                             PortPath(connection->second)));
}

void Providers::ConnectionEnumInstanceNames() {
  for (Position i = 0; i < DeviceCount(); ++i) {
    const Connection connection = ConnectionOfDevice(DeviceAt(i));
    if (connection) ReturnConnectionRef(connection);
  }
  ReturnDone();
}

void Providers::ConnectionEnumInstances(const PropertyList& properties) {
  for (Position i = 0; i < DeviceCount(); ++i) {
    const Connection connection = ConnectionOfDevice(DeviceAt(i));
    if (connection) ReturnConnection(connection, properties);
  }
  ReturnDone();
}

void Providers::ConnectionGetInstance(const ObjectPath& path, const PropertyList& properties) {
  Log(kDebug, "PCIDeviceConnection gi using item '" + Text(path) + "'");
  const std::string dependent = ReadText(ReadReference(path, "Dependent"), "DeviceID");
  const Port* entry = FindPort(dependent);
  if (entry == nullptr) {
    Log(kDebug, "PCIDeviceConnection gi: lookup item '" + dependent + "' not found");
    NotFound();
  }
  const std::string parent = model_.PortOfDevice(entry->parent);
  if (parent.empty()) {
    Log(kDebug, "PCIDeviceConnection gi item " + dependent + " not found");
    NotFound();
  }
  if (!topology().port_names.contains(parent)) {
    Log(kDebug, "PCIDeviceConnection gi no portNames, found using '" + parent + "'");
    NotFound();
  }
  const Port* parent_entry = FindPort(parent);
  if (parent_entry == nullptr) {
    Log(kDebug, "PCIDeviceConnection gi FAILED LookupPortEntry(parentID) = " + parent);
    NotFound();
  }
  const std::string antecedent = ReadText(ReadReference(path, "Antecedent"), "DeviceID");
  const Port* other = FindPort(antecedent);
  if (other == nullptr) {
    Log(kDebug, "PCIDeviceConnection gi FAILED FindConnectedPort(" + antecedent + ")");
    NotFound();
  }
  ReturnConnection({{parent_entry->name, other->name}}, properties);
  ReturnDone();
}

void Providers::ConnectionAssociators(const Request& request) {
  if (IsA(request.path, kPort)) {
    const Port* asked = nullptr;
    const Port* parent_port = PortAbove(request.path, &asked);
    if (parent_port != nullptr) {
      const fake::Device& above = DeviceOf(*parent_port);
      const std::string id = model_.Ask("GetName", above, above.name);
      const std::optional<Position> connected = model_.FindConnectedPort(id);
      if (connected) {
        std::set<std::string> seen;
        MakePortsForDevice(DeviceOf(topology().ports[*connected]), seen, request.properties);
        ReturnDone();
      }
    }
  } else {
    Log(kDebug, "PCIDeviceConnection ai ignoring " + Text(request.path));
  }
  ReturnDone();
}

void Providers::ConnectionAssociatorNames(const Request& request) {
  if (IsA(request.path, kPort)) {
    const Port* asked = nullptr;
    const Port* parent_port = PortAbove(request.path, &asked);
    if (parent_port != nullptr) {
      const fake::Device& above = DeviceOf(*parent_port);
      const std::string id = model_.Ask("GetName", above, above.name);
      const std::optional<Position> connected = model_.FindConnectedPort(id);
      if (connected) {
        ReturnPath(PortPath(topology().ports[*connected].name));
        ReturnDone();
      }
    }
  } else {
    Log(kDebug, "PCIDeviceConnection ain ignoring " + Text(request.path));
  }
  ReturnDone();
}

void Providers::ConnectionReferences(const Request& request) {
  if (IsA(request.path, kPort)) {
    const Connection connection = ConnectionOfPort(request.path);
    if (connection) {
      ReturnConnection(connection, request.properties);
      ReturnDone();
    }
  } else {
    Log(kDebug, "PCIDeviceConnection reference unsupported class " + Text(request.path));
  }
  ReturnDone();
}

void Providers::ConnectionReferenceNames(const Request& request) {
  if (IsA(request.path, kPort)) {
    const Connection connection = ConnectionOfPort(request.path);
    if (connection) {
      ReturnConnectionRef(connection);
      ReturnDone();
    }
  } else {
    Log(kDebug, "PCIDeviceConnection rin unsupported class " + Text(request.path));
  }
  ReturnDone();
}

// --- Controller and port -------------------------------------------------------------------------

Providers::Source Providers::ReadSource(const ObjectPath& path) const {
  Source source;
  try {
    source.id = ReadText(path, "DeviceID");
  } catch (const Status&) {  // no such key, or no text: as if it were empty
  }
  if (source.id.empty()) {
    for (const char* class_name : {kBridge, kSwitch, kDevice, kPort}) {
      if (source.class_name.empty() && IsA(path, class_name)) source.class_name = class_name;
    }
    return source;
  }
  const auto& map =
      HasDash(source.id) ? topology().controlled_by_port : topology().controlled_by_device;
  const auto found = map.find(source.id);
  if (found == map.end()) return source;
  const ControlledBy* record = &topology().controlled_by[found->second];
  (HasDash(source.id) ? source.port_record : source.device_record) = record;
  return source;
}

ObjectPath Providers::ControllerPath(const ControlledBy& record) {
  return DevicePath(DeviceAt(record.device), record.class_name);
}

void Providers::ReturnControlledBy(const ObjectPath& controller, const std::string& port_name,
                                   const PropertyList& properties) {
  const ObjectPath path =
      AssociationPath(kControlledBy, "Antecedent", controller, "Dependent", PortPath(port_name));
  ReturnInstance(Filtered(InstanceFrom(path), properties));
}

void Providers::ReturnControlledByRef(const ObjectPath& controller, const std::string& port_name) {
  ReturnPath(
      AssociationPath(kControlledBy, "Antecedent", controller, "Dependent", PortPath(port_name)));
}

void Providers::ControlledByEnumInstanceNames() {
  for (const ControlledBy& record : topology().controlled_by) {
    ReturnControlledByRef(ControllerPath(record), PortOf(record).name);
  }
  ReturnDone();
}

void Providers::ControlledByEnumInstances(const PropertyList& properties) {
  for (const ControlledBy& record : topology().controlled_by) {
    ReturnControlledBy(ControllerPath(record), PortOf(record).name, properties);
  }
  ReturnDone();
}

void Providers::ControlledByGetInstance(const ObjectPath& path, const PropertyList& properties) {
  Log(kDebug, "GetInstance for " + Text(path));
  const std::string id = ReadText(ReadReference(path, "Dependent"), "DeviceID");
  const Port* entry = FindPort(id);
  if (entry == nullptr) {
    Log(kDebug, "PCIControlledBy gi: lookup item '" + id + "' not found");
    NotFound();
  }
  const std::string parent_id = model_.PortOfDevice(entry->parent);
  const Port* parent = FindPort(parent_id);
  if (parent == nullptr) {
    Log(kDebug, "PCIControlledBy gi FAILED LookupPortEntry(parentID) = " + parent_id);
    NotFound();
  }
  const fake::Device& device = DeviceOf(*parent);
  const std::string class_name = model_.ClassName(device);
  ReturnControlledBy(DevicePath(device, class_name), parent->name, properties);
  ReturnDone();
}

// The functions below serve sources with an empty identifier, or without one: those that need it
// read the key again and fail with the wrapper's status where it is missing.

std::vector<std::string> Providers::PortsOfBridge(const ObjectPath& path) {
  std::vector<std::string> names;
  const auto found = topology().bridge_ports.find(ReadText(path, "DeviceID"));
  if (found == topology().bridge_ports.end()) return names;
  for (const Position position : found->second) {
    const Port& port = topology().ports[position];
    names.push_back(port.name);
    if (!port.peer.empty()) names.push_back(port.peer);
  }
  return names;
}

std::vector<std::string> Providers::PortsOfSwitch(const ObjectPath& path) {
  std::vector<std::string> names;
  const auto found = topology().switch_ports.find(ReadText(path, "DeviceID"));
  if (found == topology().switch_ports.end()) return names;
  for (const Position position : found->second) names.push_back(topology().ports[position].name);
  return names;
}

std::vector<std::string> Providers::PortsOfDevice(const ObjectPath& path) {
  std::vector<std::string> names;
  const std::string id = ReadText(path, "DeviceID");
  if (model_.PortOfDevice(id).empty()) return names;
  const std::optional<Position> connected = model_.FindConnectedPort(id);
  if (!connected) return names;
  const Port& port = topology().ports[*connected];
  names.push_back(port.name);
  if (!port.peer.empty()) names.push_back(port.peer);
  return names;
}

void Providers::ControlledByAssociators(const Request& request) {
  const Source source = ReadSource(request.path);
  if (source.port_record != nullptr) {
    const ControlledBy& record = *source.port_record;
    Instance instance = InstanceFrom(ControllerPath(record));
    PopulateDeviceDetails(DeviceAt(record.device), instance);
    ReturnInstance(Filtered(instance, request.properties));
  } else if (source.device_record != nullptr) {
    std::set<std::string> seen;
    MakePortsForDevice(DeviceAt(source.device_record->device), seen, request.properties);
  } else if (source.id.empty()) {
    if (source.class_name.empty()) {
      Log(kDebug, "PCIControlledBy ai ignoring " + Text(request.path));
    } else {
      ReadText(request.path, "DeviceID");  // the lists of all four kinds: empty for an empty key
    }
  }
  ReturnDone();
}

void Providers::ControlledByAssociatorNames(const Request& request) {
  const Source source = ReadSource(request.path);
  if (source.port_record != nullptr) {
    ReturnPath(ControllerPath(*source.port_record));
  } else if (source.device_record != nullptr) {
    const Port& port = PortOf(*source.device_record);
    ReturnPath(PortPath(port.name));
    if (!port.peer.empty()) ReturnPath(PortPath(port.peer));
  } else if (source.id.empty()) {
    if (source.class_name.empty()) {
      Log(kDebug, "PCIControlledBy ai ignoring " + Text(request.path));
    } else {
      ReadText(request.path, "DeviceID");  // the lists of all four kinds: empty for an empty key
    }
  }
  ReturnDone();
}

void Providers::ControlledByReferences(const Request& request) {
  const ObjectPath& path = request.path;
  const Source source = ReadSource(path);
  if (source.port_record != nullptr) {
    const ControlledBy& record = *source.port_record;
    ReturnControlledBy(ControllerPath(record), PortOf(record).name, request.properties);
  } else if (source.device_record != nullptr) {
    const ObjectPath controller = ControllerPath(*source.device_record);
    const Port& port = PortOf(*source.device_record);
    ReturnControlledBy(controller, port.name, request.properties);
    if (!port.peer.empty()) ReturnControlledBy(controller, port.peer, request.properties);
  } else if (source.id.empty()) {
    if (source.class_name == kBridge) {
      for (const std::string& port : PortsOfBridge(path)) {
        ReturnControlledBy(path, port, request.properties);
      }
    } else if (source.class_name == kSwitch) {
      for (const std::string& port : PortsOfSwitch(path)) {
        ReturnControlledBy(path, port, request.properties);
      }
    } else if (source.class_name == kDevice) {
      for (const std::string& port : PortsOfDevice(path)) {
        ReturnControlledBy(path, port, request.properties);
      }
    } else if (source.class_name == kPort) {
      ReadText(path, "DeviceID");  // no port has an empty name
    } else {
      Log(kDebug, "PCIControlledBy reference unsupported class " + Text(path));
    }
  }
  ReturnDone();
}

void Providers::ControlledByReferenceNames(const Request& request) {
  const ObjectPath& path = request.path;
  const Source source = ReadSource(path);
  if (source.port_record != nullptr) {
    const ControlledBy& record = *source.port_record;
    ReturnControlledByRef(ControllerPath(record), PortOf(record).name);
  } else if (source.device_record != nullptr) {
    const ObjectPath controller = ControllerPath(*source.device_record);
    const Port& port = PortOf(*source.device_record);
    ReturnControlledByRef(controller, port.name);
    if (!port.peer.empty()) ReturnControlledByRef(controller, port.peer);
  } else if (source.id.empty()) {
    if (source.class_name == kBridge) {
      for (const std::string& port : PortsOfBridge(path)) ReturnControlledByRef(path, port);
    } else if (source.class_name == kSwitch) {
      for (const std::string& port : PortsOfSwitch(path)) ReturnControlledByRef(path, port);
    } else if (source.class_name == kDevice) {
      for (const std::string& port : PortsOfDevice(path)) ReturnControlledByRef(path, port);
    } else if (source.class_name == kPort) {
      ReadText(path, "DeviceID");  // no port has an empty name
      Log(kDebug, "PCIControlledBy rin: lookup item '' not found");
    } else {
      Log(kDebug, "PCIControlledBy reference unsupported class " + Text(path));
    }
  }
  ReturnDone();
}

// --- System and port group -----------------------------------------------------------------------

void Providers::ReturnHosted(int bus, const PropertyList& properties) {
  const ObjectPath path =
      AssociationPath(kHosted, "Antecedent", SystemPath(), "Dependent", GroupPath(bus));
  ReturnInstance(Filtered(InstanceFrom(path), properties));
}

void Providers::ReturnHostedRef(int bus) {
  ReturnPath(AssociationPath(kHosted, "Antecedent", SystemPath(), "Dependent", GroupPath(bus)));
}

void Providers::HostedEnumInstanceNames() {
  for (const int bus : topology().bus_numbers) ReturnHostedRef(bus);
  ReturnDone();
}

void Providers::HostedEnumInstances(const PropertyList& properties) {
  for (const int bus : topology().bus_numbers) ReturnHosted(bus, properties);
  ReturnDone();
}

void Providers::HostedGetInstance(const ObjectPath& path, const PropertyList& properties) {
  const std::optional<int> bus = ParseBusId(ReadReference(path, "Dependent"));
  if (!bus) {
    ReturnDone();
    NotFound();
  }
  if (PortGroupExists(*bus)) ReturnHosted(*bus, properties);
  ReturnDone();
}

void Providers::HostedAssociators(const Request& request) {
  if (IsA(request.path, kPortGroup)) {
    ReturnSystemOfObjectManager(request.properties);
  } else if (IsA(request.path, kSystemClass)) {
    GroupEnumInstances(request.properties);
  } else {
    Log(kDebug, "PCIHostedCollection ai ignoring " + Text(request.path));
  }
  ReturnDone();
}

void Providers::HostedAssociatorNames(const Request& request) {
  if (IsA(request.path, kPortGroup)) {
    ReturnSystemNameOfObjectManager();
  } else if (IsA(request.path, kSystemClass)) {
    GroupEnumInstanceNames();
  } else {
    Log(kDebug, "PCIHostedCollection ain ignoring " + Text(request.path));
  }
  ReturnDone();
}

void Providers::HostedReferences(const Request& request) {
  if (IsA(request.path, kPortGroup)) {
    const std::optional<int> bus = ParseBusId(request.path);
    if (bus && PortGroupExists(*bus)) ReturnHosted(*bus, request.properties);
    ReturnDone();
  } else if (IsA(request.path, kSystemClass)) {
    HostedEnumInstances(request.properties);
  } else {
    Log(kDebug, "PCIHostedCollection reference unsupported class " + Text(request.path));
  }
  ReturnDone();
}

void Providers::HostedReferenceNames(const Request& request) {
  if (IsA(request.path, kPortGroup)) {
    const std::optional<int> bus = ParseBusId(request.path);
    if (bus && PortGroupExists(*bus)) ReturnHostedRef(*bus);
    ReturnDone();
  } else if (IsA(request.path, kSystemClass)) {
    HostedEnumInstanceNames();
  } else {
    Log(kDebug, "PCIHostedCollection reference unsupported class " + Text(request.path));
  }
  ReturnDone();
}

// --- Port group and port -------------------------------------------------------------------------

void Providers::ReturnMember(int bus, const std::string& port_name,
                             const PropertyList& properties) {
  const ObjectPath path =
      AssociationPath(kMember, "Collection", GroupPath(bus), "Member", PortPath(port_name));
  ReturnInstance(Filtered(InstanceFrom(path), properties));
}

void Providers::ReturnMemberRef(int bus, const std::string& port_name) {
  ReturnPath(AssociationPath(kMember, "Collection", GroupPath(bus), "Member", PortPath(port_name)));
}

void Providers::MemberEnumInstanceNames() {
  for (const Port& port : topology().ports) {
    ReturnMemberRef(port.bus, port.name);
    if (!port.peer.empty()) ReturnMemberRef(port.bus, port.peer);
  }
  ReturnDone();
}

void Providers::MemberEnumInstances(const PropertyList& properties) {
  for (const Port& port : topology().ports) {
    ReturnMember(port.bus, port.name, properties);
    if (!port.peer.empty()) ReturnMember(port.bus, port.peer, properties);
  }
  ReturnDone();
}

void Providers::MemberGetInstance(const ObjectPath& path, const PropertyList& properties) {
  Log(kDebug, "PCIMemberOfCollection " + Text(path));
  const std::string id = ReadText(ReadReference(path, "Member"), "DeviceID");
  const Port* port = FindPort(id);
  if (port == nullptr) {
    Log(kDebug, "MemberOfCollection gi: lookup item '" + id + "' not found");
    NotFound();
  }
  ReturnMember(port->bus, port->name, properties);
  ReturnDone();
}

// The devices on the bus of a group. Nothing where the group does not parse (done is called then)
// or where nothing is on its bus (done is not called).
std::optional<Positions> Providers::DevicesOfGroup(const ObjectPath& path) {
  const std::optional<int> bus = ParseBusId(path);
  if (!bus) {
    ReturnDone();
    return {};
  }
  const auto found = topology().bus_members.find(*bus);
  if (found == topology().bus_members.end()) return {};
  return found->second;
}

void Providers::MemberAssociators(const Request& request) {
  if (IsA(request.path, kPort)) {
    const Port* port = FindPort(ReadText(request.path, "DeviceID"));
    if (port != nullptr) {
      ReturnInstance(MakePortGroup(port->bus));  // unfiltered
      ReturnDone();
    }
  } else if (IsA(request.path, kPortGroup)) {
    const std::optional<Positions> devices = DevicesOfGroup(request.path);
    if (devices) {
      std::set<std::string> seen;
      for (const Position device : *devices) {
        MakePortsForDevice(DeviceAt(device), seen, request.properties);
      }
      ReturnDone();
    }
  } else {
    Log(kDebug, "PCIDeviceConnection ai ignoring " + Text(request.path));
  }
  ReturnDone();
}

void Providers::MemberAssociatorNames(const Request& request) {
  if (IsA(request.path, kPort)) {
    const Port* port = FindPort(ReadText(request.path, "DeviceID"));
    if (port != nullptr) {
      ReturnPath(GroupPath(port->bus));
      ReturnDone();
    }
  } else if (IsA(request.path, kPortGroup)) {
    const std::optional<Positions> devices = DevicesOfGroup(request.path);
    if (devices) {
      std::set<std::string> seen;
      for (const Position device : *devices) MakePortsForDeviceRef(DeviceAt(device), seen);
      ReturnDone();
    }
  } else {
    Log(kDebug, "PCIDeviceConnection ai ignoring " + Text(request.path));
  }
  ReturnDone();
}

void Providers::MemberReferences(const Request& request) {
  if (IsA(request.path, kPort)) {
    const std::string id = ReadText(request.path, "DeviceID");
    const Port* port = FindPort(id);
    if (port != nullptr) {
      ReturnMember(port->bus, port->name, request.properties);
      if (!port->peer.empty()) ReturnMember(port->bus, port->peer, request.properties);
      ReturnDone();
    } else {
      Log(kDebug, "MemberOfCollection ri: lookup item '" + id + "' not found");
    }
  } else if (IsA(request.path, kPortGroup)) {
    const std::optional<Positions> devices = DevicesOfGroup(request.path);
    if (devices) {
      for (const Position position : *devices) {
        const fake::Device& device = DeviceAt(position);
        const auto found = topology().device_ports.find(model_.Ask("GetName", device, device.name));
        if (found == topology().device_ports.end()) continue;
        const Port& port = topology().ports[found->second];
        ReturnMember(port.bus, port.name, request.properties);
        if (!port.peer.empty()) ReturnMember(port.bus, port.peer, request.properties);
      }
      ReturnDone();
    }
  } else {
    Log(kDebug, "PCIDeviceConnection reference unsupported class " + Text(request.path));
  }
  ReturnDone();
}

void Providers::MemberReferenceNames(const Request& request) {
  if (IsA(request.path, kPort)) {
    const std::string id = ReadText(request.path, "DeviceID");
    const Port* port = FindPort(id);
    if (port != nullptr) {
      ReturnMemberRef(port->bus, port->name);
      if (!port->peer.empty()) ReturnMemberRef(port->bus, port->peer);
      ReturnDone();
    } else {
      Log(kDebug, "MemberOfCollection ri: lookup item '" + id + "' not found");
    }
  } else if (IsA(request.path, kPortGroup)) {
    const std::optional<Positions> devices = DevicesOfGroup(request.path);
    if (devices) {
      for (const Position position : *devices) {
        const fake::Device& device = DeviceAt(position);
        const auto found = topology().device_ports.find(model_.Ask("GetName", device, device.name));
        if (found == topology().device_ports.end()) continue;
        const Port& port = topology().ports[found->second];
        ReturnMemberRef(port.bus, port.name);
        // Not the peer's name, but one made of the last "-sec" in the port's own.
        const std::size_t secondary = port.name.rfind("-sec");
        if (secondary != std::string::npos) {
          ReturnMemberRef(port.bus, port.name.substr(0, secondary) + "-pri");
        }
      }
      ReturnDone();
    }
  } else {
    Log(kDebug, "PCIDeviceConnection reference unsupported class " + Text(request.path));
  }
  ReturnDone();
}

// --- For people ----------------------------------------------------------------------------------

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
  std::string text = "instance " + broker::ToWbemUri(instance.path);
  for (const broker::Property& property : instance.properties) {
    text += "\n    " + property.name + " " + broker::TypeName(property.value.type()) + " " +
            broker::ToText(property.value);
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
      line += "path " + broker::ToWbemUri(*path);
    } else {
      line += "done";
    }
    lines.push_back(line);
  }
  lines.push_back("status " + broker::ToString({answer.code, answer.message.value_or("")}));
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
  text += broker::ToWbemUri(request.path);
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
