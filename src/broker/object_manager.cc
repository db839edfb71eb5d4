#include "broker/object_manager.h"

#include <algorithm>
#include <exception>
#include <type_traits>
#include <utility>

#include "broker/call.h"
#include "broker/objects.h"
#include "broker/provider_objects.h"
#include "broker/provider_slot.h"
#include "cim/text.h"

namespace broker {

struct Provider {
  std::string name;
  std::shared_ptr<const ProviderLibrary> library;
  bool has_associations;  // whether the library has an association factory for it
  std::recursive_mutex mutex;
  std::shared_ptr<const CMPIBroker> broker;  // null where it gets the manager's
  ProviderSlot<CMPIInstanceMI> instance{mutex};
  ProviderSlot<CMPIAssociationMI> association{mutex};
};

namespace {

constexpr std::size_t kErrorsKept = 1000;

template <class MI>
constexpr bool kIsInstance = std::is_same_v<MI, CMPIInstanceMI>;

template <class MI>
ProviderSlot<MI>& SlotOf(Provider& provider) {
  if constexpr (kIsInstance<MI>) {
    return provider.instance;
  } else {
    return provider.association;
  }
}

template <class MI>
auto FactoryOf(const Provider& provider) {
  if constexpr (kIsInstance<MI>) {
    return provider.library->FindInstanceFactory(provider.name);
  } else {
    return provider.library->FindAssociationFactory(provider.name);
  }
}

const Imitation& Itself() {
  static const Imitation imitation{CurrentTables()};
  return imitation;
}

std::string LowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), cim::LowerAscii);
  return text;
}

// What `entry` answers, which calls a function of the provider. No exception may leave one; one
// that does is the provider's error.
template <class Entry>
CMPIStatus Guarded(Call& call, Entry entry) {
  std::string text = "unknown exception";
  try {
    return entry();
  } catch (const std::exception& thrown) {
    text = thrown.what();
  } catch (...) {
  }
  ReportMisuse(call.operation(), "an exception left the provider: " + text);
  return {CMPI_RC_ERR_FAILED, &NewString(call.base(), text)->record};
}

// A property list as the interface wants it; null for all properties.
class PropertyArray {
 public:
  explicit PropertyArray(const PropertyList& list) : all_(!list) {
    if (all_) return;
    names_.reserve(list->size() + 1);
    for (const std::string& name : *list) names_.push_back(name.c_str());
    names_.push_back(nullptr);
  }
  const char** get() { return all_ ? nullptr : names_.data(); }

 private:
  bool all_;
  std::vector<const char*> names_;
};

const char* TextOrNull(const std::optional<std::string>& text) {
  return text ? text->c_str() : nullptr;
}

}  // namespace

std::string ToString(const ProviderError& error) {
  return error.operation + " of " + error.class_name + ": " + error.function + ": " + error.text;
}

ObjectManager::ObjectManager(Options options)
    : options_(std::move(options)),
      system_name_(LowerCase(options_.system_name)),
      imitation_(options_.imitate != nullptr ? *options_.imitate : Itself()),
      broker_{this, tables().services, tables().encapsulation, tables().system, tables().memory} {}

ObjectManager::~ObjectManager() {
  for (const auto& provider : providers_) {
    CleanUp<CMPIAssociationMI>(*provider, true);
    CleanUp<CMPIInstanceMI>(*provider, true);
  }
  // A library's static objects may release the clones that they keep: the library goes first.
  providers_.clear();
  while (clones_ != nullptr) EndClone(*clones_);
}

void ObjectManager::SetSystemName(std::string_view name) {
  system_name_ = LowerCase(std::string(name));
}

cim::ObjectPath ObjectManager::ClassPath(std::string_view class_name) const {
  return {std::nullopt, options_.name_space, std::string(class_name), {}};
}

cim::ObjectPath ObjectManager::SystemPath() const {
  cim::ObjectPath path = ClassPath(cim::schema::kSystemClass);
  path.keys = {{"CreationClassName", cim::Value(cim::schema::kSystemClass)},
               {"Name", cim::Value(system_name_)}};
  return path;
}

// ---------------------------------------------------------------------------------------------
// Providers

void ObjectManager::Register(std::string_view class_name,
                             std::shared_ptr<const ProviderLibrary> library) {
  auto provider = std::make_unique<Provider>();
  provider->name = class_name;
  provider->has_associations = library->FindAssociationFactory(class_name) != nullptr;
  provider->library = std::move(library);
  providers_.push_back(std::move(provider));
}

Provider* ObjectManager::Find(std::string_view name) const {
  for (const auto& provider : providers_) {
    if (cim::EqualIgnoringCase(provider->name, name)) return provider.get();
  }
  return nullptr;
}

bool ObjectManager::ServesSystemItself(std::string_view provider) const {
  return cim::EqualIgnoringCase(provider, cim::schema::kSystemClass) && Find(provider) == nullptr;
}

std::vector<std::string> ObjectManager::ProvidersFor(std::string_view class_name) const {
  std::vector<std::string> names;
  for (const auto& provider : providers_) {
    if (cim::schema::IsA(provider->name, class_name)) names.push_back(provider->name);
  }
  const std::string_view system = cim::schema::kSystemClass;
  // NOLINTNEXTLINE(readability-suspicious-call-argument): a class is below a class
  if (ServesSystemItself(system) && cim::schema::IsA(system, class_name)) {
    names.emplace_back(system);
  }
  return names;
}

std::vector<std::string> ObjectManager::AssociationProvidersFor(
    const std::optional<std::string>& assoc_class) const {
  std::vector<std::string> names;
  for (const auto& provider : providers_) {
    const bool asked = !assoc_class || cim::schema::IsA(provider->name, *assoc_class);
    if (asked && provider->has_associations) names.push_back(provider->name);
  }
  return names;
}

// Called while the class's factory runs.
const CMPIBroker* ObjectManager::BrokerFor(Provider& provider) {
  if (imitation_.broker_for_provider == nullptr) return &broker_;
  if (provider.instance.empty() && provider.association.empty()) {
    provider.broker = imitation_.broker_for_provider(broker_);
  }
  return provider.broker.get();
}

// A factory is the one place where a C++ exception of the provider is expected.
template <class MI>
cim::Status ObjectManager::CallFactory(Provider& provider, MI** made) {
  const auto factory = FactoryOf<MI>(provider);
  if (factory == nullptr) {
    return {CMPI_RC_ERR_NOT_SUPPORTED, "the library has no such factory for " + provider.name};
  }
  Call call(*this, "factory", provider.name, Expected::kNothing, nullptr);
  const CMPIContext* context = &NewContext(call.base())->record;
  std::string text = "unknown exception";
  try {
    const auto make = [&] { *made = factory(BrokerFor(provider), context); };
    const auto kind = kIsInstance<MI> ? ProviderKind::kInstance : ProviderKind::kAssociation;
    options_.around_factory ? options_.around_factory(provider.name, kind, make) : make();
    if (*made != nullptr) return {};
    text = "no provider";
  } catch (const std::exception& thrown) {
    text = thrown.what();
  } catch (...) {
  }
  return {CMPI_RC_ERR_FAILED, "factory of " + provider.name + ": " + text};
}

template <class MI>
MI* ObjectManager::RecordOf(std::string_view name, cim::Status* status) {
  cim::Status unasked;
  if (status == nullptr) status = &unasked;
  Provider* provider = Find(name);
  if (provider == nullptr) {
    *status = {CMPI_RC_ERR_INVALID_CLASS, std::string(name)};
    return nullptr;
  }
  typename ProviderSlot<MI>::Use use(SlotOf<MI>(*provider));
  return use.Get([&](MI** made) { return CallFactory(*provider, made); }, status);
}

CMPIInstanceMI* ObjectManager::InstanceProvider(std::string_view provider, cim::Status* status) {
  return RecordOf<CMPIInstanceMI>(provider, status);
}

CMPIAssociationMI* ObjectManager::AssociationProvider(std::string_view provider,
                                                      cim::Status* status) {
  return RecordOf<CMPIAssociationMI>(provider, status);
}

template <class MI>
cim::Status ObjectManager::CleanUp(Provider& provider, bool terminating) {
  using Dropped = typename ProviderSlot<MI>::Dropped;
  cim::Status status;
  const auto drop = [&](MI* record) {
    Call call(*this, "cleanup", provider.name, Expected::kNothing, nullptr);
    const CMPIContext* context = &NewContext(call.base())->record;
    status = call.Finish(
        Guarded(call, [&] { return record->ft->cleanup(record, context, terminating ? 1 : 0); }));
    return terminating || status.ok();
  };
  switch (SlotOf<MI>(provider).TryDrop(drop)) {
    case Dropped::kYes: return status;
    case Dropped::kNone: return {CMPI_RC_ERR_NOT_FOUND, "nothing to clean up"};
    case Dropped::kInUse: break;
  }
  return {CMPI_RC_ERR_FAILED, provider.name + " is in use"};
}

cim::Status ObjectManager::Cleanup(std::string_view provider, ProviderKind kind, bool terminating) {
  Provider* found = Find(provider);
  if (found == nullptr) return {CMPI_RC_ERR_INVALID_CLASS, std::string(provider)};
  return kind == ProviderKind::kInstance ? CleanUp<CMPIInstanceMI>(*found, terminating)
                                         : CleanUp<CMPIAssociationMI>(*found, terminating);
}

void ObjectManager::CleanUpIdle() {
  if (imitation_.idle_every == 0 || Call::Current() != nullptr) return;
  if (++requests_ % imitation_.idle_every != 0) return;
  for (const auto& provider : providers_) {
    CleanUp<CMPIAssociationMI>(*provider, false);
    CleanUp<CMPIInstanceMI>(*provider, false);
  }
}

// ---------------------------------------------------------------------------------------------
// Operations

struct ObjectManager::Operation {
  const char* name;
  Expected expected;
  std::string_view provider;
  const cim::ObjectPath& path;
  ResultSink& sink;
};

namespace {

PathObject* ToRequestPath(Region& region, const cim::ObjectPath& path,
                          std::string_view name_space) {
  PathObject* object = ToObject(region, path);
  if (object->name_space.empty()) object->name_space = name_space;
  return object;
}

ResultObject* NewResult(Call& call) {
  auto* result = call.base().New<ResultObject>();
  result->record = {result, call.manager().tables().result};
  result->call = &call;
  return result;
}

// What an entry point takes beside the record, the context, the result and the path.
const char** Passed(Call&, const char** list) { return list; }
const char* Passed(Call&, const char* text) { return text; }
const CMPIInstance* Passed(Call& call, const cim::Instance& instance) {
  return &ToObject(call.base(), instance)->record;
}

}  // namespace

// `entry`: of the record's function table, which may leave it out.
template <class MI, class Entry, class... Rest>
cim::Status ObjectManager::Run(const Operation& operation, Entry entry, const Rest&... rest) {
  CleanUpIdle();
  Provider* provider = Find(operation.provider);
  if (provider == nullptr) {
    return {ServesSystemItself(operation.provider) ? CMPI_RC_ERR_NOT_SUPPORTED
                                                   : CMPI_RC_ERR_INVALID_CLASS,
            std::string(operation.provider)};
  }
  typename ProviderSlot<MI>::Use use(SlotOf<MI>(*provider));
  cim::Status status;
  MI* record = use.Get([&](MI** made) { return CallFactory(*provider, made); }, &status);
  if (record == nullptr) return status;
  Call call(*this, operation.name, provider->name, operation.expected, &operation.sink);
  const CMPIContext* context = &NewContext(call.base())->record;
  const CMPIResult* result = &NewResult(call)->record;
  const CMPIObjectPath* path =
      &ToRequestPath(call.base(), operation.path, options_.name_space)->record;
  const auto enter = [&](auto... arguments) {
    const auto function = record->ft->*entry;
    if (function == nullptr) {
      ReportMisuse("provider function table", "no entry for the operation");
      return Answer(CMPI_RC_ERR_NOT_SUPPORTED);
    }
    return Guarded(call, [&] { return function(record, context, result, path, arguments...); });
  };
  status = call.Finish(enter(Passed(call, rest)...));
  return imitation_.answer != nullptr ? imitation_.answer(call, status) : status;
}

cim::Status ObjectManager::EnumerateInstances(std::string_view provider,
                                              const cim::ObjectPath& path,
                                              const PropertyList& properties, ResultSink& sink) {
  PropertyArray names(properties);
  const Operation operation{"EnumerateInstances", Expected::kInstances, provider, path, sink};
  if (ServesSystemItself(provider)) return ReturnSystem(operation, names.get());
  return Run<CMPIInstanceMI>(operation, &CMPIInstanceMIFT::enumerateInstances, names.get());
}

cim::Status ObjectManager::EnumerateInstanceNames(std::string_view provider,
                                                  const cim::ObjectPath& path, ResultSink& sink) {
  const Operation operation{"EnumerateInstanceNames", Expected::kPaths, provider, path, sink};
  if (ServesSystemItself(provider)) return ReturnSystem(operation, nullptr);
  return Run<CMPIInstanceMI>(operation, &CMPIInstanceMIFT::enumerateInstanceNames);
}

cim::Status ObjectManager::GetInstance(std::string_view provider, const cim::ObjectPath& path,
                                       const PropertyList& properties, ResultSink& sink) {
  PropertyArray names(properties);
  const Operation operation{"GetInstance", Expected::kInstances, provider, path, sink};
  if (ServesSystemItself(provider)) {
    const cim::Value* name = path.Key("Name");
    const bool found = name != nullptr && *name == cim::Value(system_name_);
    return found ? ReturnSystem(operation, names.get()) : cim::Status{CMPI_RC_ERR_NOT_FOUND, {}};
  }
  return Run<CMPIInstanceMI>(operation, &CMPIInstanceMIFT::getInstance, names.get());
}

cim::Status ObjectManager::CreateInstance(std::string_view provider, const cim::ObjectPath& path,
                                          const cim::Instance& instance, ResultSink& sink) {
  return Run<CMPIInstanceMI>({"CreateInstance", Expected::kPaths, provider, path, sink},
                             &CMPIInstanceMIFT::createInstance, instance);
}

cim::Status ObjectManager::ModifyInstance(std::string_view provider, const cim::ObjectPath& path,
                                          const cim::Instance& instance,
                                          const PropertyList& properties, ResultSink& sink) {
  PropertyArray names(properties);
  return Run<CMPIInstanceMI>({"ModifyInstance", Expected::kNothing, provider, path, sink},
                             &CMPIInstanceMIFT::modifyInstance, instance, names.get());
}

cim::Status ObjectManager::DeleteInstance(std::string_view provider, const cim::ObjectPath& path,
                                          ResultSink& sink) {
  return Run<CMPIInstanceMI>({"DeleteInstance", Expected::kNothing, provider, path, sink},
                             &CMPIInstanceMIFT::deleteInstance);
}

cim::Status ObjectManager::ExecQuery(std::string_view provider, const cim::ObjectPath& path,
                                     const std::string& query, const std::string& language,
                                     ResultSink& sink) {
  return Run<CMPIInstanceMI>({"ExecQuery", Expected::kInstances, provider, path, sink},
                             &CMPIInstanceMIFT::execQuery, query.c_str(), language.c_str());
}

cim::Status ObjectManager::Associators(std::string_view provider, const cim::ObjectPath& source,
                                       const AssociationFilter& filter,
                                       const PropertyList& properties, ResultSink& sink) {
  PropertyArray names(properties);
  return Run<CMPIAssociationMI>({"Associators", Expected::kInstances, provider, source, sink},
                                &CMPIAssociationMIFT::associators, TextOrNull(filter.assoc_class),
                                TextOrNull(filter.result_class), TextOrNull(filter.role),
                                TextOrNull(filter.result_role), names.get());
}

cim::Status ObjectManager::AssociatorNames(std::string_view provider, const cim::ObjectPath& source,
                                           const AssociationFilter& filter, ResultSink& sink) {
  return Run<CMPIAssociationMI>({"AssociatorNames", Expected::kPaths, provider, source, sink},
                                &CMPIAssociationMIFT::associatorNames,
                                TextOrNull(filter.assoc_class), TextOrNull(filter.result_class),
                                TextOrNull(filter.role), TextOrNull(filter.result_role));
}

cim::Status ObjectManager::References(std::string_view provider, const cim::ObjectPath& source,
                                      const AssociationFilter& filter,
                                      const PropertyList& properties, ResultSink& sink) {
  PropertyArray names(properties);
  return Run<CMPIAssociationMI>({"References", Expected::kInstances, provider, source, sink},
                                &CMPIAssociationMIFT::references, TextOrNull(filter.result_class),
                                TextOrNull(filter.role), names.get());
}

cim::Status ObjectManager::ReferenceNames(std::string_view provider, const cim::ObjectPath& source,
                                          const AssociationFilter& filter, ResultSink& sink) {
  return Run<CMPIAssociationMI>({"ReferenceNames", Expected::kPaths, provider, source, sink},
                                &CMPIAssociationMIFT::referenceNames,
                                TextOrNull(filter.result_class), TextOrNull(filter.role));
}

// ---------------------------------------------------------------------------------------------
// The hosting system

cim::Status ObjectManager::ReturnSystem(const Operation& operation, const char** properties) {
  Call call(*this, operation.name, cim::schema::kSystemClass, operation.expected, &operation.sink);
  cim::ObjectPath path = SystemPath();
  if (!operation.path.name_space.empty()) path.name_space = operation.path.name_space;
  if (operation.expected == Expected::kPaths) {
    call.ReturnPath(*ToObject(call.base(), path), "system class");
  } else {
    InstanceObject* instance =
        ToObject(call.base(), cim::Instance{path, {{"ElementName", cim::Value(system_name_)}}});
    instance->record.ft->setPropertyFilter(&instance->record, properties, nullptr);
    call.ReturnInstance(*instance, "system class");
  }
  call.ReturnDone();
  return call.Finish(Answer(CMPI_RC_OK));
}

// ---------------------------------------------------------------------------------------------
// What is counted

void ObjectManager::AddError(ProviderError error) {
  const std::lock_guard lock(errors_mutex_);
  if (errors_.size() < kErrorsKept) errors_.push_back(std::move(error));
}

std::vector<ProviderError> ObjectManager::ProviderErrors() const {
  const std::lock_guard lock(errors_mutex_);
  return errors_;
}

Region& ObjectManager::NewCloneRegion() {
  Region* region = Region::OpenForClone(*this);
  const std::lock_guard lock(clones_mutex_);
  region->next_clone = clones_;
  if (clones_ != nullptr) clones_->previous_clone = region;
  clones_ = region;
  ++clones_alive_;
  return *region;
}

void ObjectManager::EndClone(Region& region) {
  {
    const std::lock_guard lock(clones_mutex_);
    (region.previous_clone != nullptr ? region.previous_clone->next_clone : clones_) =
        region.next_clone;
    if (region.next_clone != nullptr) region.next_clone->previous_clone = region.previous_clone;
    --clones_alive_;
  }
  Region::Close(&region);
}

void ObjectManager::NotePeak(std::size_t bytes) {
  std::uint64_t known = peak_call_bytes_.load(std::memory_order_relaxed);
  while (bytes > known && !peak_call_bytes_.compare_exchange_weak(known, bytes)) {
  }
}

Statistics ObjectManager::GetStatistics() const {
  return {peak_call_bytes_.load(), clones_alive_.load()};
}

}  // namespace broker
