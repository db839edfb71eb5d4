// CMPIBrokerFT: what a provider asks of the object manager, up-calls above all. A request for a
// class goes to every provider of that class and of the classes below it; what they return is
// copied to the call that asks.

#include <algorithm>
#include <string>
#include <vector>

#include "broker/entry.h"
#include "broker/guest.h"
#include "broker/manager.h"
#include "broker/tables.h"

namespace broker {

namespace {

// Gathers copies in the region on top of the asking call.
class Gatherer : public ResultSink {
 public:
  explicit Gatherer(Region& region) : region_(region) {}

  void OnInstanceView(const InstanceView& instance) override {
    CMPIData data{CMPI_instance, CMPI_goodValue, {}};
    data.value.inst = &Copy(region_, instance.object())->record;
    found_.push_back(data);
  }
  void OnObjectPathView(const ObjectPathView& path) override {
    CMPIData data{CMPI_ref, CMPI_goodValue, {}};
    data.value.ref = &Copy(region_, path.object())->record;
    found_.push_back(data);
  }

  const std::vector<CMPIData>& found() const { return found_; }

  EnumerationObject* ToEnumeration(CMPIType type) const {
    ArrayObject* array = NewArray(region_, static_cast<CMPICount>(found_.size()), type);
    std::copy(found_.begin(), found_.end(), array->elements);
    return NewEnumeration(region_, array);
  }

 private:
  Region& region_;
  std::vector<CMPIData> found_;
};

// The status of a request as the asking provider gets it, with its text.
void SetStatus(CMPIStatus* rc, const cim::Status& status) {
  if (rc == nullptr) return;
  *rc = Answer(status.code);
  if (!status.message.empty()) {
    rc->msg = &NewString(Call::Current()->region(), status.message)->record;
  }
}

bool IsKnown(const Manager& manager, std::string_view class_name) {
  return cim::schema::FindClass(class_name) != nullptr || !manager.ProvidersFor(class_name).empty();
}

cim::Status RunInEach(Manager& manager, const std::vector<std::string>& providers, Request request,
                      ResultSink& sink) {
  for (const std::string& provider : providers) {
    request.provider = provider;
    cim::Status status = manager.Run(request, sink);
    if (!status.ok()) return status;
  }
  return {};
}

// A request about the class of a path.
cim::Status RunForClass(const PathObject& path, const Request& request, Gatherer& gatherer) {
  Manager& manager = Call::Current()->manager();
  const std::vector<std::string> providers = manager.ProvidersFor(path.class_name);
  if (providers.empty() && !IsKnown(manager, path.class_name)) {
    return {CMPI_RC_ERR_INVALID_CLASS, std::string(path.class_name)};
  }
  return RunInEach(manager, providers, request, gatherer);
}

// A request about what a path is associated with.
cim::Status RunForSource(const char* association, const Request& request, Gatherer& gatherer) {
  Manager& manager = Call::Current()->manager();
  return RunInEach(manager, manager.AssociationProvidersFor(association), request, gatherer);
}

// What all up-calls begin with; null where the guest may not ask.
const PathObject* AskedPath(const CMPIBroker* mb, const CMPIObjectPath* op, const char* function,
                            CMPIStatus* rc) {
  if (CallFor(mb, function, rc) == nullptr) return nullptr;
  const auto* path = Use<PathObject>(op, function);
  if (path == nullptr) SetCode(rc, CMPI_RC_ERR_INVALID_HANDLE);
  return path;
}

template <class Run>
CMPIEnumeration* Enumerate(const CMPIBroker* mb, const CMPIObjectPath* op, const char* function,
                           CMPIType type, CMPIStatus* rc, Request request, Run run) {
  const PathObject* path = AskedPath(mb, op, function, rc);
  if (path == nullptr) return nullptr;
  request.path_object = path;
  Gatherer gatherer(Call::Current()->region());
  const cim::Status status = run(*path, request, gatherer);
  SetStatus(rc, status);
  return status.ok() ? &gatherer.ToEnumeration(type)->record : nullptr;
}

Request RequestFor(Operation operation) {
  Request request{};
  request.operation = operation;
  return request;
}

CMPIEnumeration* EnumerateInstanceNames(const CMPIBroker* mb, const CMPIContext*,
                                        const CMPIObjectPath* op, CMPIStatus* rc) {
  return Enumerate(mb, op, "CMPIBroker.enumerateInstanceNames", CMPI_ref, rc,
                   RequestFor(Operation::kEnumerateInstanceNames), RunForClass);
}

CMPIEnumeration* EnumerateInstances(const CMPIBroker* mb, const CMPIContext*,
                                    const CMPIObjectPath* op, const char** properties,
                                    CMPIStatus* rc) {
  Request request = RequestFor(Operation::kEnumerateInstances);
  request.properties = properties;
  return Enumerate(mb, op, "CMPIBroker.enumerateInstances", CMPI_instance, rc, request,
                   RunForClass);
}

CMPIEnumeration* ExecQuery(const CMPIBroker* mb, const CMPIContext*, const CMPIObjectPath* op,
                           const char* query, const char* lang, CMPIStatus* rc) {
  Request request = RequestFor(Operation::kExecQuery);
  request.query = query;
  request.language = lang;
  return Enumerate(mb, op, "CMPIBroker.execQuery", CMPI_instance, rc, request, RunForClass);
}

CMPIInstance* GetInstance(const CMPIBroker* mb, const CMPIContext*, const CMPIObjectPath* op,
                          const char** properties, CMPIStatus* rc) {
  const PathObject* path = AskedPath(mb, op, "CMPIBroker.getInstance", rc);
  if (path == nullptr) return nullptr;
  Request request = RequestFor(Operation::kGetInstance);
  request.path_object = path;
  request.provider = path->class_name;
  request.properties = properties;
  Call& call = *Call::Current();
  Gatherer gatherer(call.region());
  cim::Status status = call.manager().Run(request, gatherer);
  if (status.ok() && gatherer.found().empty()) status.code = CMPI_RC_ERR_NOT_FOUND;
  SetStatus(rc, status);
  return status.ok() ? gatherer.found().front().value.inst : nullptr;
}

CMPIEnumeration* AskAssociations(const CMPIBroker* mb, const CMPIObjectPath* op,
                                 const char* function, CMPIType type, CMPIStatus* rc,
                                 const char* association, const Request& request) {
  return Enumerate(mb, op, function, type, rc, request,
                   [&](const PathObject&, const Request& asked, Gatherer& gatherer) {
                     return RunForSource(association, asked, gatherer);
                   });
}

Request AssociatorsRequest(Operation operation, const char* assoc_class, const char* result_class,
                           const char* role, const char* result_role) {
  Request request = RequestFor(operation);
  request.assoc_class = assoc_class;
  request.result_class = result_class;
  request.role = role;
  request.result_role = result_role;
  return request;
}

CMPIEnumeration* Associators(const CMPIBroker* mb, const CMPIContext*, const CMPIObjectPath* op,
                             const char* assoc_class, const char* result_class, const char* role,
                             const char* result_role, const char** properties, CMPIStatus* rc) {
  Request request =
      AssociatorsRequest(Operation::kAssociators, assoc_class, result_class, role, result_role);
  request.properties = properties;
  return AskAssociations(mb, op, "CMPIBroker.associators", CMPI_instance, rc, assoc_class, request);
}

CMPIEnumeration* AssociatorNames(const CMPIBroker* mb, const CMPIContext*, const CMPIObjectPath* op,
                                 const char* assoc_class, const char* result_class,
                                 const char* role, const char* result_role, CMPIStatus* rc) {
  return AskAssociations(mb, op, "CMPIBroker.associatorNames", CMPI_ref, rc, assoc_class,
                         AssociatorsRequest(Operation::kAssociatorNames, assoc_class, result_class,
                                            role, result_role));
}

CMPIEnumeration* References(const CMPIBroker* mb, const CMPIContext*, const CMPIObjectPath* op,
                            const char* result_class, const char* role, const char** properties,
                            CMPIStatus* rc) {
  Request request =
      AssociatorsRequest(Operation::kReferences, nullptr, result_class, role, nullptr);
  request.properties = properties;
  return AskAssociations(mb, op, "CMPIBroker.references", CMPI_instance, rc, result_class, request);
}

CMPIEnumeration* ReferenceNames(const CMPIBroker* mb, const CMPIContext*, const CMPIObjectPath* op,
                                const char* result_class, const char* role, CMPIStatus* rc) {
  return AskAssociations(
      mb, op, "CMPIBroker.referenceNames", CMPI_ref, rc, result_class,
      AssociatorsRequest(Operation::kReferenceNames, nullptr, result_class, role, nullptr));
}

CMPIObjectPath* CreateInstance(const CMPIBroker* mb, const CMPIContext*, const CMPIObjectPath* op,
                               const CMPIInstance* inst, CMPIStatus* rc) {
  const PathObject* path = AskedPath(mb, op, "CMPIBroker.createInstance", rc);
  if (path == nullptr) return nullptr;
  Request request = RequestFor(Operation::kCreateInstance);
  request.path_object = path;
  request.provider = path->class_name;
  request.instance_object = Use<InstanceObject>(inst, "CMPIBroker.createInstance");
  if (request.instance_object == nullptr) {
    return Answer(rc, CMPI_RC_ERR_INVALID_HANDLE, static_cast<CMPIObjectPath*>(nullptr));
  }
  Call& call = *Call::Current();
  Gatherer gatherer(call.region());
  const cim::Status status = call.manager().Run(request, gatherer);
  SetStatus(rc, status);
  return gatherer.found().empty() ? nullptr : gatherer.found().front().value.ref;
}

// Modifying and deleting answer nothing but a status.
CMPIStatus RunForStatus(const CMPIObjectPath* op, const char* function, Request request) {
  CMPIStatus rc{CMPI_RC_OK, nullptr};
  const auto* path = Use<PathObject>(op, function);
  if (path == nullptr) return Answer(CMPI_RC_ERR_INVALID_HANDLE);
  request.path_object = path;
  request.provider = path->class_name;
  Gatherer gatherer(Call::Current()->region());
  SetStatus(&rc, Call::Current()->manager().Run(request, gatherer));
  return rc;
}

CMPIStatus ModifyInstance(const CMPIBroker* mb, const CMPIContext*, const CMPIObjectPath* op,
                          const CMPIInstance* inst, const char** properties) {
  constexpr const char* kFunction = "CMPIBroker.modifyInstance";
  CMPIStatus rc{CMPI_RC_OK, nullptr};
  if (CallFor(mb, kFunction, &rc) == nullptr) return rc;
  Request request = RequestFor(Operation::kModifyInstance);
  request.instance_object = Use<InstanceObject>(inst, kFunction);
  if (request.instance_object == nullptr) return Answer(CMPI_RC_ERR_INVALID_HANDLE);
  request.properties = properties;
  return RunForStatus(op, kFunction, request);
}

CMPIStatus DeleteInstance(const CMPIBroker* mb, const CMPIContext*, const CMPIObjectPath* op) {
  constexpr const char* kFunction = "CMPIBroker.deleteInstance";
  CMPIStatus rc{CMPI_RC_OK, nullptr};
  if (CallFor(mb, kFunction, &rc) == nullptr) return rc;
  return RunForStatus(op, kFunction, RequestFor(Operation::kDeleteInstance));
}

CMPIData InvokeMethod(const CMPIBroker*, const CMPIContext*, const CMPIObjectPath*, const char*,
                      const CMPIArgs*, CMPIArgs*, CMPIStatus* rc) {
  return NotThere(rc, CMPI_RC_ERR_NOT_SUPPORTED);
}

CMPIStatus SetProperty(const CMPIBroker*, const CMPIContext*, const CMPIObjectPath*, const char*,
                       const CMPIValue*, CMPIType) {
  return Answer(CMPI_RC_ERR_NOT_SUPPORTED);
}

CMPIData GetProperty(const CMPIBroker* mb, const CMPIContext* ctx, const CMPIObjectPath* op,
                     const char* name, CMPIStatus* rc) {
  CMPIInstance* instance = GetInstance(mb, ctx, op, nullptr, rc);
  if (instance == nullptr) return {CMPI_null, CMPI_notFound | CMPI_nullValue, {}};
  return instance->ft->getProperty(instance, name, rc);
}

CMPIStatus DeliverIndication(const CMPIBroker*, const CMPIContext*, const char*,
                             const CMPIInstance*) {
  return Answer(CMPI_RC_ERR_NOT_SUPPORTED);
}

// ---------------------------------------------------------------------------------------------
// Threads of a provider's own

// The context goes to the new thread, which attaches with it; detaching frees it.
CMPIContext* PrepareAttachThread(const CMPIBroker* mb, const CMPIContext* ctx) {
  constexpr const char* kFunction = "CMPIBroker.prepareAttachThread";
  Call* call = CallFor(mb, kFunction, nullptr);
  const auto* context = call != nullptr ? Use<ContextObject>(ctx, kFunction) : nullptr;
  if (context == nullptr) return nullptr;
  ContextObject* copy = NewClone(*context);
  copy->origin = call;
  return &copy->record;
}

thread_local Call* attached_call = nullptr;

CMPIStatus AttachThread(const CMPIBroker* mb, const CMPIContext* ctx) {
  constexpr const char* kFunction = "CMPIBroker.attachThread";
  Manager& manager = Manager::Of(mb);
  const auto* context = Use<ContextObject>(ctx, kFunction);
  if (context == nullptr) return Answer(CMPI_RC_ERR_INVALID_HANDLE);
  if (Call::Current() != nullptr) {
    ReportMisuse(kFunction, "the thread is attached already");
    return Answer(CMPI_RC_ERR_FAILED);
  }
  attached_call = new Call(manager, "attached thread", "", Expected::kNothing, nullptr);
  attached_call->AttachTo(context->origin);
  return Answer(CMPI_RC_OK);
}

CMPIStatus DetachThread(const CMPIBroker*, const CMPIContext* ctx) {
  constexpr const char* kFunction = "CMPIBroker.detachThread";
  if (attached_call == nullptr || attached_call != Call::Current()) {
    ReportMisuse(kFunction, "the thread is not attached");
    return Answer(CMPI_RC_ERR_FAILED);
  }
  const CMPIStatus released =
      ReleaseObject<ContextObject>(const_cast<CMPIContext*>(ctx), kFunction);
  delete attached_call;
  attached_call = nullptr;
  return released;
}

}  // namespace

CMPIBrokerFT broker_services = {
    CMPI_MB_Class_2 | CMPI_MB_Supports_MemEnhancements | CMPI_MB_Supports_Extended_Error,
    CMPIVersion200,
    "ostrel in-process object manager",
    Entry<PrepareAttachThread>,
    Entry<AttachThread>,
    Entry<DetachThread>,
    Entry<DeliverIndication>,
    Entry<EnumerateInstanceNames>,
    Entry<GetInstance>,
    Entry<CreateInstance>,
    Entry<ModifyInstance>,
    Entry<DeleteInstance>,
    Entry<ExecQuery>,
    Entry<EnumerateInstances>,
    Entry<Associators>,
    Entry<AssociatorNames>,
    Entry<References>,
    Entry<ReferenceNames>,
    Entry<InvokeMethod>,
    Entry<SetProperty>,
    Entry<GetProperty>,
};

}  // namespace broker
