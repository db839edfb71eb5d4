#include "broker/manager.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>
#include <utility>

#include "broker/guest.h"
#include "cim/text.h"

namespace broker {

namespace {

constexpr std::size_t kErrorsKept = 1000;

const char* NameOf(Operation operation) {
  switch (operation) {
    case Operation::kEnumerateInstances: return "EnumerateInstances";
    case Operation::kEnumerateInstanceNames: return "EnumerateInstanceNames";
    case Operation::kGetInstance: return "GetInstance";
    case Operation::kCreateInstance: return "CreateInstance";
    case Operation::kModifyInstance: return "ModifyInstance";
    case Operation::kDeleteInstance: return "DeleteInstance";
    case Operation::kExecQuery: return "ExecQuery";
    case Operation::kAssociators: return "Associators";
    case Operation::kAssociatorNames: return "AssociatorNames";
    case Operation::kReferences: return "References";
    case Operation::kReferenceNames: return "ReferenceNames";
  }
  return "";
}

Expected ExpectedOf(Operation operation) {
  switch (operation) {
    case Operation::kEnumerateInstances:
    case Operation::kGetInstance:
    case Operation::kExecQuery:
    case Operation::kAssociators:
    case Operation::kReferences: return Expected::kInstances;
    case Operation::kEnumerateInstanceNames:
    case Operation::kCreateInstance:
    case Operation::kAssociatorNames:
    case Operation::kReferenceNames: return Expected::kPaths;
    case Operation::kModifyInstance:
    case Operation::kDeleteInstance: break;
  }
  return Expected::kNothing;
}

bool IsAssociationOperation(Operation operation) { return operation >= Operation::kAssociators; }

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

void AddText(Region& region, NamedList& list, std::string_view name, std::string_view text) {
  CMPIData data{CMPI_string, CMPI_goodValue, {}};
  data.value.string = &NewString(region, text)->record;
  SetNamed(region, list, name, data);
}

}  // namespace

void Manager::FreeMemory::operator()(void* memory) const { std::free(memory); }

Manager::Manager(Options options)
    : options_(std::move(options)),
      system_name_(LowerCase(options_.system_name)),
      imitation_(options_.imitate != nullptr ? *options_.imitate : Itself()),
      broker_(NewBrokerRecord()) {}

Manager::~Manager() {
  for (const auto& provider : providers_) {
    CleanupSlot(*provider, provider->association, true);
    CleanupSlot(*provider, provider->instance, true);
  }
  // A library's static objects may release the clones that they keep: the library goes first.
  providers_.clear();
  while (clones_ != nullptr) EndClone(*clones_);
}

void Manager::SetSystemName(std::string_view name) { system_name_ = LowerCase(std::string(name)); }

// ---------------------------------------------------------------------------------------------
// Providers

void Manager::Register(std::string_view class_name,
                       std::shared_ptr<const ProviderLibrary> library) {
  auto provider = std::make_unique<Provider>();
  provider->name = class_name;
  provider->has_associations = library->FindAssociationFactory(class_name) != nullptr;
  provider->library = std::move(library);
  providers_.push_back(std::move(provider));
}

Manager::Provider* Manager::Find(std::string_view name) const {
  for (const auto& provider : providers_) {
    if (cim::EqualIgnoringCase(provider->name, name)) return provider.get();
  }
  return nullptr;
}

std::vector<std::string> Manager::ProvidersFor(std::string_view class_name) const {
  std::vector<std::string> names;
  for (const auto& provider : providers_) {
    if (cim::schema::IsA(provider->name, class_name)) names.push_back(provider->name);
  }
  const bool provided = Find(cim::schema::kSystemClass) != nullptr;
  // NOLINTNEXTLINE(readability-suspicious-call-argument): a class is below a class
  if (!provided && cim::schema::IsA(cim::schema::kSystemClass, class_name)) {
    names.emplace_back(cim::schema::kSystemClass);
  }
  return names;
}

std::vector<std::string> Manager::AssociationProvidersFor(const char* assoc_class) const {
  std::vector<std::string> names;
  for (const auto& provider : providers_) {
    const bool asked = assoc_class == nullptr || cim::schema::IsA(provider->name, assoc_class);
    if (asked && provider->has_associations) names.push_back(provider->name);
  }
  return names;
}

// A version 100 record ends before its last member, and so does its memory.
Manager::BrokerRecord Manager::NewBrokerRecord() {
  const Tables& offered = tables();
  const bool is_old = offered.services->brokerVersion == CMPIVersion100;
  void* memory = std::malloc(is_old ? offsetof(CMPIBroker, mft) : sizeof(CMPIBroker));
  if (memory == nullptr) throw std::bad_alloc();
  auto* broker = static_cast<CMPIBroker*>(memory);
  broker->hdl = this;
  broker->bft = offered.services;
  broker->eft = offered.encapsulation;
  broker->xft = offered.system;
  if (!is_old) broker->mft = offered.memory;
  return BrokerRecord(broker);
}

// Called while the class's factory or cleanup runs.
const CMPIBroker* Manager::BrokerFor(Provider& provider) {
  if (!imitation_.broker_per_provider) return broker_.get();
  if (provider.instance.empty() && provider.association.empty()) {
    provider.broker = NewBrokerRecord();
    *provider.broker = *broker_;  // with what a test put into it
  }
  return provider.broker.get();
}

// A factory is the one place where a C++ exception of the guest is expected.
template <class MI, class Factory>
cim::Status Manager::CallFactory(Provider& provider, ProviderKind kind, Factory factory,
                                 MI** made) {
  if (factory == nullptr) {
    return {CMPI_RC_ERR_NOT_SUPPORTED, "the library has no such factory for " + provider.name};
  }
  Call call(*this, "factory", provider.name, Expected::kNothing, nullptr);
  ContextObject* context = RequestContext(call.base());
  AddText(call.base(), context->items, "CMPIInitNameSpace", options_.name_space);
  CMPIStatus answer{CMPI_RC_OK, nullptr};
  try {
    const auto make = [&] { *made = factory(BrokerFor(provider), &context->record, &answer); };
    options_.around_factory ? options_.around_factory(provider.name, kind, make) : make();
  } catch (const std::exception& thrown) {
    return {CMPI_RC_ERR_FAILED, "factory of " + provider.name + ": " + thrown.what()};
  } catch (...) {
    return {CMPI_RC_ERR_FAILED, "factory of " + provider.name + ": unknown exception"};
  }
  cim::Status status = call.Finish(answer);
  if (*made != nullptr) return {};
  if (status.ok()) return {CMPI_RC_ERR_FAILED, "factory of " + provider.name + ": no provider"};
  return status;
}

cim::Status Manager::MakeInstanceProvider(Provider& provider, CMPIInstanceMI** made) {
  return CallFactory(provider, ProviderKind::kInstance,
                     provider.library->FindInstanceFactory(provider.name), made);
}

cim::Status Manager::MakeAssociationProvider(Provider& provider, CMPIAssociationMI** made) {
  return CallFactory(provider, ProviderKind::kAssociation,
                     provider.library->FindAssociationFactory(provider.name), made);
}

CMPIInstanceMI* Manager::InstanceProvider(std::string_view name, cim::Status* status) {
  Provider* provider = Find(name);
  if (provider == nullptr) {
    *status = {CMPI_RC_ERR_INVALID_CLASS, std::string(name)};
    return nullptr;
  }
  return ProviderSlot<CMPIInstanceMI>::Use(provider->instance)
      .Get([&](CMPIInstanceMI** made) { return MakeInstanceProvider(*provider, made); }, status);
}

CMPIAssociationMI* Manager::AssociationProvider(std::string_view name, cim::Status* status) {
  Provider* provider = Find(name);
  if (provider == nullptr) {
    *status = {CMPI_RC_ERR_INVALID_CLASS, std::string(name)};
    return nullptr;
  }
  return ProviderSlot<CMPIAssociationMI>::Use(provider->association)
      .Get([&](CMPIAssociationMI** made) { return MakeAssociationProvider(*provider, made); },
           status);
}

template <class MI>
cim::Status Manager::CleanupSlot(const Provider& provider, ProviderSlot<MI>& slot,
                                 bool terminating) {
  using Slot = ProviderSlot<MI>;
  cim::Status status;
  const auto drop = [&](MI* record) {
    Call call(*this, "cleanup", provider.name, Expected::kNothing, nullptr);
    ContextObject* context = RequestContext(call.base());
    status = call.Finish(Guarded(
        call, [&] { return record->ft->cleanup(record, &context->record, terminating ? 1 : 0); }));
    return terminating || status.ok();
  };
  switch (slot.TryDrop(drop)) {
    case Slot::Dropped::kYes: return status;
    case Slot::Dropped::kNone: return {CMPI_RC_ERR_NOT_FOUND, "nothing to clean up"};
    case Slot::Dropped::kInUse: break;
  }
  return {CMPI_RC_ERR_FAILED, provider.name + " is in use"};
}

cim::Status Manager::Cleanup(std::string_view name, ProviderKind kind, bool terminating) {
  Provider* provider = Find(name);
  if (provider == nullptr) return {CMPI_RC_ERR_INVALID_CLASS, std::string(name)};
  return kind == ProviderKind::kInstance
             ? CleanupSlot(*provider, provider->instance, terminating)
             : CleanupSlot(*provider, provider->association, terminating);
}

void Manager::CleanUpIdle() {
  if (imitation_.idle_every == 0 || Call::Current() != nullptr) return;
  if (++requests_ % imitation_.idle_every != 0) return;
  for (const auto& provider : providers_) {
    CleanupSlot(*provider, provider->association, false);
    CleanupSlot(*provider, provider->instance, false);
  }
}

// ---------------------------------------------------------------------------------------------
// Requests

PathObject* Manager::RequestPath(Region& region, const Request& request) const {
  PathObject* path = request.path_object != nullptr ? Copy(region, *request.path_object)
                                                    : ToObject(region, *request.path);
  if (path->name_space.empty()) path->name_space = options_.name_space;
  return path;
}

ContextObject* Manager::RequestContext(Region& region) const {
  ContextObject* context = NewContext(region);
  CMPIData flags{CMPI_uint32, CMPI_goodValue, {}};
  flags.value.uint32 = 0;
  SetNamed(region, context->items, "CMPIInvocationFlags", flags);
  if (!options_.principal.empty()) {
    AddText(region, context->items, "CMPIPrincipal", options_.principal);
  }
  return context;
}

namespace {

// What every entry point of a provider is given.
struct Arguments {
  const CMPIContext* context;
  const CMPIResult* result;
  const CMPIObjectPath* path;
  const CMPIInstance* instance;
};

// Calls an entry point; a table may leave one out.
template <class Entry, class MI, class... Rest>
CMPIStatus Enter(Entry entry, MI* record, const Arguments& with, Rest... rest) {
  if (entry == nullptr) {
    ReportMisuse("provider function table", "no entry for the operation");
    return Answer(CMPI_RC_ERR_NOT_SUPPORTED);
  }
  return entry(record, with.context, with.result, with.path, rest...);
}

CMPIStatus Invoke(CMPIInstanceMI* record, const Request& request, const Arguments& with) {
  const CMPIInstanceMIFT& ft = *record->ft;
  const char** properties = request.properties;
  switch (request.operation) {
    case Operation::kEnumerateInstances:
      return Enter(ft.enumerateInstances, record, with, properties);
    case Operation::kEnumerateInstanceNames: return Enter(ft.enumerateInstanceNames, record, with);
    case Operation::kGetInstance: return Enter(ft.getInstance, record, with, properties);
    case Operation::kCreateInstance: return Enter(ft.createInstance, record, with, with.instance);
    case Operation::kModifyInstance:
      return Enter(ft.modifyInstance, record, with, with.instance, properties);
    case Operation::kDeleteInstance: return Enter(ft.deleteInstance, record, with);
    default: return Enter(ft.execQuery, record, with, request.query, request.language);
  }
}

CMPIStatus Invoke(CMPIAssociationMI* record, const Request& r, const Arguments& with) {
  const CMPIAssociationMIFT& ft = *record->ft;
  switch (r.operation) {
    case Operation::kAssociators:
      return Enter(ft.associators, record, with, r.assoc_class, r.result_class, r.role,
                   r.result_role, r.properties);
    case Operation::kAssociatorNames:
      return Enter(ft.associatorNames, record, with, r.assoc_class, r.result_class, r.role,
                   r.result_role);
    case Operation::kReferences:
      return Enter(ft.references, record, with, r.result_class, r.role, r.properties);
    default: return Enter(ft.referenceNames, record, with, r.result_class, r.role);
  }
}

ResultObject* NewResult(Call& call) {
  auto* result = call.base().New<ResultObject>();
  result->record = {result, call.manager().tables().result};
  result->call = &call;
  return result;
}

}  // namespace

cim::Status Manager::RunInProvider(Provider& provider, const Request& request, ResultSink& sink) {
  const auto run = [&](auto& slot, auto make) -> cim::Status {
    typename std::remove_reference_t<decltype(slot)>::Use use(slot);
    cim::Status status;
    auto* record = use.Get(make, &status);
    if (record == nullptr) return status;
    Call call(*this, NameOf(request.operation), provider.name, ExpectedOf(request.operation),
              &sink);
    Arguments with{&RequestContext(call.base())->record, &NewResult(call)->record,
                   &RequestPath(call.base(), request)->record, nullptr};
    if (request.instance_object != nullptr) {
      with.instance = &Copy(call.base(), *request.instance_object)->record;
    } else if (request.instance != nullptr) {
      with.instance = &ToObject(call.base(), *request.instance)->record;
    }
    status = call.Finish(Guarded(call, [&] { return Invoke(record, request, with); }));
    const auto answer = imitation_.answer_to_get_instance;
    const bool answered = request.operation == Operation::kGetInstance && answer != nullptr;
    return answered ? answer(status, call.instances()) : status;
  };
  if (IsAssociationOperation(request.operation)) {
    return run(provider.association,
               [&](CMPIAssociationMI** made) { return MakeAssociationProvider(provider, made); });
  }
  return run(provider.instance,
             [&](CMPIInstanceMI** made) { return MakeInstanceProvider(provider, made); });
}

cim::Status Manager::Run(const Request& request, ResultSink& sink) {
  CleanUpIdle();
  if (Provider* provider = Find(request.provider)) return RunInProvider(*provider, request, sink);
  if (cim::EqualIgnoringCase(request.provider, cim::schema::kSystemClass)) {
    return RunInSystemClass(request, sink);
  }
  return {CMPI_RC_ERR_INVALID_CLASS, std::string(request.provider)};
}

// ---------------------------------------------------------------------------------------------
// The hosting system

namespace {

PathObject* NewSystemPath(Region& region, std::string_view name_space,
                          std::string_view system_name) {
  PathObject* path = NewPath(region, name_space, cim::schema::kSystemClass);
  AddText(region, path->keys, "CreationClassName", cim::schema::kSystemClass);
  AddText(region, path->keys, "Name", system_name);
  return path;
}

bool HasText(const NamedList& keys, std::string_view name, std::string_view text) {
  const NamedData* key = keys.Find(name);
  return key != nullptr && key->data.type == CMPI_string && key->data.state == CMPI_goodValue &&
         Behind<StringObject>(key->data.value.string)->view() == text;
}

}  // namespace

cim::Status Manager::AnswerForSystem(const Request& request, Call& call) {
  const bool exists = options_.system_class == SystemClassMode::kServed;
  PathObject* asked = RequestPath(call.base(), request);
  PathObject* path = NewSystemPath(call.base(), asked->name_space, system_name_);
  switch (request.operation) {
    case Operation::kEnumerateInstanceNames:
      if (exists) call.ReturnPath(*path, "system class");
      break;
    case Operation::kGetInstance:
      if (!exists || !HasText(asked->keys, "Name", system_name_)) {
        return {CMPI_RC_ERR_NOT_FOUND, {}};
      }
      [[fallthrough]];
    case Operation::kEnumerateInstances: {
      InstanceObject* instance = NewInstance(call.base(), *path);
      AddText(call.base(), instance->properties, "ElementName", system_name_);
      instance->record.ft->setPropertyFilter(&instance->record, request.properties, nullptr);
      if (exists) call.ReturnInstance(*instance, "system class");
      break;
    }
    default: return {CMPI_RC_ERR_NOT_SUPPORTED, {}};
  }
  call.ReturnDone();
  return {};
}

cim::Status Manager::RunInSystemClass(const Request& request, ResultSink& sink) {
  if (options_.system_class == SystemClassMode::kRefused) return options_.system_class_refusal;
  Call call(*this, NameOf(request.operation), cim::schema::kSystemClass,
            ExpectedOf(request.operation), &sink);
  cim::Status status = AnswerForSystem(request, call);
  call.Finish(Answer(status.code));  // for what the sink threw
  return status;
}

// ---------------------------------------------------------------------------------------------
// What is counted

void Manager::AddError(ProviderError error) {
  const std::lock_guard lock(errors_mutex_);
  if (errors_.size() < kErrorsKept) errors_.push_back(std::move(error));
}

std::vector<ProviderError> Manager::Errors() const {
  const std::lock_guard lock(errors_mutex_);
  return errors_;
}

void Manager::ClearErrors() {
  const std::lock_guard lock(errors_mutex_);
  errors_.clear();
}

Region& Manager::NewCloneRegion() {
  Region* region = Region::OpenForClone(*this);
  const std::lock_guard lock(clones_mutex_);
  region->next_clone = clones_;
  if (clones_ != nullptr) clones_->previous_clone = region;
  clones_ = region;
  ++clones_alive_;
  return *region;
}

void Manager::EndClone(Region& region) {
  {
    const std::lock_guard lock(clones_mutex_);
    (region.previous_clone != nullptr ? region.previous_clone->next_clone : clones_) =
        region.next_clone;
    if (region.next_clone != nullptr) region.next_clone->previous_clone = region.previous_clone;
    --clones_alive_;
  }
  Region::Close(&region);
}

void Manager::NotePeak(std::size_t bytes) {
  std::uint64_t known = peak_call_bytes_.load(std::memory_order_relaxed);
  while (bytes > known && !peak_call_bytes_.compare_exchange_weak(known, bytes)) {
  }
}

Statistics Manager::GetStatistics() const {
  return {peak_call_bytes_.load(), clones_alive_.load()};
}

}  // namespace broker
