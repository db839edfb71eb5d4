#include "support/provider_test.h"

#include <algorithm>
#include <functional>
#include <map>
#include <stdexcept>
#include <utility>

#include "broker/provider_library.h"
#include "cim/schema.h"
#include "frame/registration.h"
#include "platform/cmpi/cmpi.h"
#include "support/object_manager_kind.h"

using cim::ObjectPath;
using cim::Value;

// The factories of the providers under test, as an object manager's loader finds them.
#define PROVIDER_TEST_DECLARE_INSTANCE(Class)                                      \
  extern "C" CMPIInstanceMI* Ostrel_##Class##_Create_InstanceMI(const CMPIBroker*, \
                                                                const CMPIContext*)
#define PROVIDER_TEST_DECLARE_ASSOCIATION(Class)                                         \
  PROVIDER_TEST_DECLARE_INSTANCE(Class);                                                 \
  extern "C" CMPIAssociationMI* Ostrel_##Class##_Create_AssociationMI(const CMPIBroker*, \
                                                                      const CMPIContext*)

PROVIDER_TEST_DECLARE_INSTANCE(PCIDevice);
PROVIDER_TEST_DECLARE_INSTANCE(PCIBridge);
PROVIDER_TEST_DECLARE_INSTANCE(PCIeSwitch);
PROVIDER_TEST_DECLARE_INSTANCE(PCIPort);
PROVIDER_TEST_DECLARE_INSTANCE(PCIPortGroup);
PROVIDER_TEST_DECLARE_ASSOCIATION(PCISystemDevice);
PROVIDER_TEST_DECLARE_ASSOCIATION(PCIDeviceConnection);
PROVIDER_TEST_DECLARE_ASSOCIATION(PCIControlledBy);
PROVIDER_TEST_DECLARE_ASSOCIATION(PCIHostedCollection);
PROVIDER_TEST_DECLARE_ASSOCIATION(PCIMemberOfCollection);

namespace {

// What the probe's operations run.
std::function<ostInt::CmpiStatus(ostInt::CmpiResult&, const ostInt::CmpiObjectPath&)> probe_body;

// A provider whose operations are the test's own.
class Probe : virtual public ostInt::CmpiInstanceMI {
 public:
  Probe(const ostInt::CmpiBroker& broker, const ostInt::CmpiContext& context)
      : CmpiBaseMI(broker, context), CmpiInstanceMI(broker, context) {}

  ostInt::CmpiStatus enumInstanceNames(const ostInt::CmpiContext& /*context*/,
                                       ostInt::CmpiResult& result,
                                       const ostInt::CmpiObjectPath& path) override {
    return probe_body(result, path);
  }
  ostInt::CmpiStatus enumInstances(const ostInt::CmpiContext& /*context*/,
                                   ostInt::CmpiResult& result, const ostInt::CmpiObjectPath& path,
                                   const char** /*properties*/) override {
    return probe_body(result, path);
  }
};

}  // namespace

OSTREL_REGISTER_INSTANCE_PROVIDER(Probe);

namespace {

constexpr const char* kPrefix = "Ostrel_";
constexpr const char* kNameSpace = "root/cimv2";

constexpr const char* kClasses[] = {"PCIDevice",
                                    "PCIBridge",
                                    "PCIeSwitch",
                                    "PCIPort",
                                    "PCIPortGroup",
                                    "PCISystemDevice",
                                    "PCIDeviceConnection",
                                    "PCIControlledBy",
                                    "PCIHostedCollection",
                                    "PCIMemberOfCollection",
                                    "Probe"};

void* FindFactory(const char* symbol) {
#define INSTANCE(Class)                                              \
  {                                                                  \
    "Ostrel_" #Class "_Create_InstanceMI",                           \
        reinterpret_cast<void*>(&Ostrel_##Class##_Create_InstanceMI) \
  }
#define ASSOCIATION(Class)                                              \
  INSTANCE(Class), {                                                    \
    "Ostrel_" #Class "_Create_AssociationMI",                           \
        reinterpret_cast<void*>(&Ostrel_##Class##_Create_AssociationMI) \
  }
  static const std::map<std::string_view, void*> factories = {
      INSTANCE(PCIDevice),
      INSTANCE(PCIBridge),
      INSTANCE(PCIeSwitch),
      INSTANCE(PCIPort),
      INSTANCE(PCIPortGroup),
      ASSOCIATION(PCISystemDevice),
      ASSOCIATION(PCIDeviceConnection),
      ASSOCIATION(PCIControlledBy),
      ASSOCIATION(PCIHostedCollection),
      ASSOCIATION(PCIMemberOfCollection),
      INSTANCE(Probe),
  };
#undef ASSOCIATION
#undef INSTANCE
  const auto found = factories.find(symbol);
  return found == factories.end() ? nullptr : found->second;
}

std::string ClassName(const std::string& name) { return kPrefix + name; }

// "CMPI_RC_ERR_NOT_FOUND (6)" as "NOT_FOUND".
std::string StatusText(const cim::Status& status) {
  std::string name = cim::StatusName(status.code);
  name.erase(std::min(name.find(' '), name.size()));
  for (const std::string_view prefix : {"CMPI_RC_ERR_", "CMPI_RC_"}) {
    if (name.starts_with(prefix)) return name.substr(prefix.size());
  }
  return name;
}

std::string WithoutPrefix(const std::string& text, std::string_view prefix) {
  return text.starts_with(prefix) ? text.substr(prefix.size()) : text;
}

std::string PropertyText(const cim::Property& property) {
  return property.name + " " + cim::TypeName(property.value.type()) + " " +
         cim::ToText(property.value);
}

}  // namespace

std::string Answer::Text() const {
  std::string text;
  auto instance = instances.begin();
  auto path = paths.begin();
  for (const Event event : events) {
    switch (event) {
      case Event::kInstance: text += "[" + Brief((instance++)->path) + "]"; break;
      case Event::kObjectPath: text += Brief(*path++); break;
      case Event::kDone: text += "done"; break;
    }
    text += ", ";
  }
  return text + StatusText(status);
}

namespace {

// What becomes of a provider's answer to GetInstance in an object manager that takes one instance.
std::string AsDelivered(std::string_view returned, const std::string& asked) {
  const std::size_t status = returned.rfind(' ') + 1;
  if (returned.substr(status) != "OK") return std::string(returned.substr(status));
  const std::string wanted = "[" + asked + "]";
  if (returned.find(wanted) != std::string_view::npos) return wanted + ", done, OK";
  if (returned.front() != '[') return "NOT_FOUND";
  return std::string(returned.substr(0, returned.find(']') + 1)) + ", done, OK";
}

}  // namespace

bool Answer::Is(std::string_view text) const {
  return Text() == (asked.empty() || !OnServer() ? std::string(text) : AsDelivered(text, asked));
}

std::vector<std::string> Answer::Elements() const {
  std::vector<std::string> elements;
  for (const cim::Instance& instance : instances) elements.push_back(Brief(instance.path));
  for (const ObjectPath& path : paths) elements.push_back(Brief(path));
  std::sort(elements.begin(), elements.end());
  return elements;
}

cim::Instance Answer::Only() const {
  if (instances.size() != 1) throw std::logic_error("not one instance: " + Text());
  return instances.front();
}

std::ostream& operator<<(std::ostream& out, const Answer& answer) {
  out << '"' << answer.Text() << '"';
  if (!answer.status.message.empty()) out << " (" << answer.status.message << ')';
  return out;
}

std::string Brief(const ObjectPath& path) {
  if (path.class_name == cim::schema::kSystemClass) {
    const Value* name = path.Key("Name");
    return "System " + (name == nullptr ? std::string() : cim::ToText(*name));
  }
  std::string text = WithoutPrefix(path.class_name, kPrefix);
  std::string ends;
  for (const auto& [name, value] : path.keys) {
    if (value.reference() != nullptr) {
      ends += (ends.empty() ? "" : ", ") + Brief(*value.reference());
    } else if (name == "DeviceID" || name == "InstanceID") {
      text += " " + WithoutPrefix(cim::ToText(value), "Ostrel:");
    }
  }
  return ends.empty() ? text : text + "(" + ends + ")";
}

std::vector<std::string> Properties(const cim::Instance& instance) {
  std::vector<std::string> texts;
  for (const cim::Property& property : instance.properties) {
    if (instance.path.Key(property.name) == nullptr) texts.push_back(PropertyText(property));
  }
  return texts;
}

std::string PropertyText(const cim::Instance& instance, std::string_view name) {
  for (const cim::Property& property : instance.properties) {
    if (property.name == name) return PropertyText(property);
  }
  return "no property " + std::string(name);
}

ObjectPath ElementPath(const std::string& class_name, const std::string& identifier) {
  ObjectPath path = {{},
                     kNameSpace,
                     ClassName(class_name),
                     {{"SystemCreationClassName", std::string(cim::schema::kSystemClass)},
                      {"SystemName", "fake-host"},
                      {"CreationClassName", ClassName(class_name)},
                      {"DeviceID", identifier}}};
  // The order that the providers keep.
  if (class_name == "PCIPort")
    std::rotate(path.keys.begin(), path.keys.begin() + 1, path.keys.begin() + 3);
  return path;
}

ObjectPath GroupPath(const std::string& instance_id) {
  return {{}, kNameSpace, ClassName("PCIPortGroup"), {{"InstanceID", instance_id}}};
}

ObjectPath SystemPath(const std::string& name) {
  const std::string class_name(cim::schema::kSystemClass);
  return {{}, kNameSpace, class_name, {{"CreationClassName", class_name}, {"Name", name}}};
}

ObjectPath AssociationPath(const std::string& class_name, const ObjectPath& first,
                           const ObjectPath& second) {
  const bool of_system = class_name == "PCISystemDevice";
  const bool of_group = class_name == "PCIMemberOfCollection";
  return {{},
          kNameSpace,
          ClassName(class_name),
          {{of_system  ? "GroupComponent"
            : of_group ? "Collection"
                       : "Antecedent",
            first},
           {of_system  ? "PartComponent"
            : of_group ? "Member"
                       : "Dependent",
            second}}};
}

ObjectPath With(ObjectPath path, const std::string& key, Value value) {
  path = Without(std::move(path), key);
  path.keys.emplace_back(key, std::move(value));
  return path;
}

ObjectPath Without(ObjectPath path, const std::string& key) {
  std::erase_if(path.keys, [&](const auto& entry) { return entry.first == key; });
  return path;
}

SystemClassAnswer WithoutSystem() { return {SystemClassMode::kEmpty, {}}; }

SystemClassAnswer RefusingSystem(CMPIrc code, const std::string& message) {
  return {SystemClassMode::kRefused, {code, message}};
}

broker::AssociationFilter ResultClass(const std::string& class_name) {
  broker::AssociationFilter filter;
  filter.result_class = class_name;
  return filter;
}

fake::Host MixedHost() {
  return fake::Host()
      .Add(fake::HostBridge("h"))
      .Add(fake::PciBridge("b").Secondary(1))
      .Add(fake::Endpoint("e").Bus(1).Parent("b"))
      .Add(fake::RootPort("r").Secondary(2))
      .Add(fake::SwitchUpstream("U").Bus(2).Secondary(3).Parent("r"))
      .Add(fake::SwitchDownstream("D1").Bus(3).Secondary(4).Parent("U"))
      .Add(fake::SwitchDownstream("D2").Bus(3).Secondary(5).Parent("U"))
      .Add(fake::PcieEndpoint("x").Bus(4).Parent("D1"));
}

// Puts functions of its own into the manager's broker, where a test changes what they do.
class ProviderTest::BrokerExtension {
 public:
  explicit BrokerExtension(const CMPIBroker* broker)
      : functions_(CopyOfTable(broker->eft)), original_(broker->eft) {
    current_ = this;
    const_cast<CMPIBroker*>(broker)->eft = &functions_;  // the manager's, made to be written
  }
  // The manager, whose providers may have copies of its broker, is gone.
  ~BrokerExtension() { current_ = nullptr; }
  BrokerExtension(const BrokerExtension&) = delete;
  BrokerExtension& operator=(const BrokerExtension&) = delete;

  void AddSubclass(const std::string& subclass, const std::string& class_name) {
    subclass_ = subclass;
    class_name_ = class_name;
    functions_.classPathIsA = &IsA;
  }
  void PresetInstances() { functions_.newInstance = &NewPresetInstance; }

 private:
  static CMPIBoolean IsA(const CMPIBroker* broker, const CMPIObjectPath* path, const char* type,
                         CMPIStatus* status) {
    const CMPIString* name = path->ft->getClassName(path, nullptr);
    if (current_->subclass_ == name->ft->getCharPtr(name, nullptr)) {
      if (status != nullptr) *status = {CMPI_RC_OK, nullptr};
      return static_cast<CMPIBoolean>(current_->class_name_ == type);
    }
    return current_->original_->classPathIsA(broker, path, type, status);
  }

  static CMPIInstance* NewPresetInstance(const CMPIBroker* broker, const CMPIObjectPath* path,
                                         CMPIStatus* status) {
    CMPIInstance* instance = current_->original_->newInstance(broker, path, status);
    const CMPIString* name = path->ft->getClassName(path, nullptr);
    const auto* cls = cim::schema::FindClass(name->ft->getCharPtr(name, nullptr));
    for (const cim::schema::Property* property : cim::schema::AllProperties(*cls)) {
      if (property->key) continue;
      CMPIValue value{};
      CMPIType type = property->type;
      if (type == CMPI_uint8) {
        value.uint8 = kPreset;
      } else if (type == CMPI_uint16) {
        value.uint16 = kPreset;
      } else {
        type = CMPI_null;  // no class of ours has a default of another type
      }
      instance->ft->setProperty(instance, property->name.data(), &value, type);
    }
    return instance;
  }

  static BrokerExtension* current_;

  CMPIBrokerEncFT functions_;
  CMPIBrokerEncFT* original_;
  std::string subclass_;
  std::string class_name_;
};

ProviderTest::BrokerExtension* ProviderTest::BrokerExtension::current_ = nullptr;

ProviderTest::ProviderTest() = default;
ProviderTest::~ProviderTest() = default;

void ProviderTest::TearDown() {
  std::string misuse;
  if (manager_ != nullptr) {
    for (const auto& error : manager_->ProviderErrors()) misuse += broker::ToString(error) + "\n";
  }
  EXPECT_EQ(misuse, "");
  manager_.reset();
  extension_.reset();
  probe_body = nullptr;
  fake::FailNever();
  fake::TraceCalls(false);
  ResetCache();
  EXPECT_EQ(fake::LiveObjects(), fake::Live{});
}

void ProviderTest::Use(const fake::Host& host, const SystemClassAnswer& system) {
  manager_.reset();
  extension_.reset();
  LoadHost(host);
  log.Clear();
  broker::Options options;
  options.system_name = host.system_name;
  options.imitate = &TestedObjectManager();
  manager_ = std::make_unique<broker::ObjectManager>(std::move(options));
  const auto library = broker::ProviderLibrary::FromResolver(&FindFactory);
  for (const char* class_name : kClasses) manager_->Register(ClassName(class_name), library);
  ReplaceSystemClass(*manager_, system);
}

Answer ProviderTest::Request(const std::function<cim::Status(broker::ResultSink&)>& request) {
  Answer answer;
  answer.status = request(answer);
  for (cim::Instance& instance : answer.instances) RemoveClassDefaults(instance);
  return answer;
}

Answer ProviderTest::EnumNames(const std::string& class_name) {
  const std::string name = ClassName(class_name);
  return Request([&](broker::ResultSink& sink) {
    return manager_->EnumerateInstanceNames(name, manager_->ClassPath(name), sink);
  });
}

Answer ProviderTest::EnumInstances(const std::string& class_name, const PropertyList& properties) {
  const std::string name = ClassName(class_name);
  return Request([&](broker::ResultSink& sink) {
    return manager_->EnumerateInstances(name, manager_->ClassPath(name), properties, sink);
  });
}

Answer ProviderTest::Get(const std::string& class_name, const ObjectPath& path,
                         const PropertyList& properties) {
  Answer answer = Request([&](broker::ResultSink& sink) {
    return manager_->GetInstance(ClassName(class_name), path, properties, sink);
  });
  answer.asked = Brief(path);
  return answer;
}

Answer ProviderTest::Associators(const std::string& class_name, const ObjectPath& source,
                                 const Filter& filter, const PropertyList& properties) {
  return Request([&](broker::ResultSink& sink) {
    return manager_->Associators(ClassName(class_name), source, filter, properties, sink);
  });
}

Answer ProviderTest::AssociatorNames(const std::string& class_name, const ObjectPath& source,
                                     const Filter& filter) {
  return Request([&](broker::ResultSink& sink) {
    return manager_->AssociatorNames(ClassName(class_name), source, filter, sink);
  });
}

Answer ProviderTest::References(const std::string& class_name, const ObjectPath& source,
                                const Filter& filter, const PropertyList& properties) {
  return Request([&](broker::ResultSink& sink) {
    return manager_->References(ClassName(class_name), source, filter, properties, sink);
  });
}

Answer ProviderTest::ReferenceNames(const std::string& class_name, const ObjectPath& source,
                                    const Filter& filter) {
  return Request([&](broker::ResultSink& sink) {
    return manager_->ReferenceNames(ClassName(class_name), source, filter, sink);
  });
}

std::vector<Answer> ProviderTest::AssociationRequests(const std::string& class_name,
                                                      const ObjectPath& source,
                                                      const Filter& filter) {
  return {Associators(class_name, source, filter), AssociatorNames(class_name, source, filter),
          References(class_name, source, filter), ReferenceNames(class_name, source, filter)};
}

Answer ProviderTest::RunProbe(const ObjectPath& path, ProbeOperation operation, bool refs) {
  probe_body = std::move(operation);
  const std::string name = ClassName("Probe");
  return Request([&](broker::ResultSink& sink) {
    return refs ? manager_->EnumerateInstanceNames(name, path, sink)
                : manager_->EnumerateInstances(name, path, {}, sink);
  });
}

ProviderTest::BrokerExtension& ProviderTest::ExtendBroker() {
  extension_ = std::make_unique<BrokerExtension>(manager_->broker());
  // Providers that are there already may have copies of the broker: they are made anew.
  for (const char* class_name : kClasses) {
    for (const auto kind : {broker::ProviderKind::kAssociation, broker::ProviderKind::kInstance}) {
      manager_->Cleanup(ClassName(class_name), kind, true);
    }
  }
  return *extension_;
}

void ProviderTest::AddSubclass(const std::string& subclass, const std::string& class_name) {
  ExtendBroker().AddSubclass(subclass, class_name);
}

void ProviderTest::PresetInstances() { ExtendBroker().PresetInstances(); }
