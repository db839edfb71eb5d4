// CMPIBrokerFT and CMPIBrokerMemFT: what a provider asks of the object manager. Of other providers
// it asks for their instances: a request for a class goes to every provider of that class and of
// the classes below it; what they return is copied to the call that asks.

#include <algorithm>
#include <string>
#include <vector>

#include "broker/entry.h"
#include "broker/object_manager.h"
#include "broker/provider_objects.h"
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
void SetStatus(CMPIStatus* rc, const cim::Status& status, Region& region) {
  if (rc == nullptr) return;
  *rc = Answer(status.code);
  if (!status.message.empty()) rc->msg = &NewString(region, status.message)->record;
}

// Runs `ask` (a provider's name, the path, the sink) for all providers that the path's class
// concerns, until one fails.
template <class Ask>
cim::Status AskProviders(const ObjectManager& manager, const PathObject& path, ResultSink& sink,
                         Ask ask) {
  const std::vector<std::string> providers = manager.ProvidersFor(path.class_name);
  if (providers.empty() && cim::schema::FindClass(path.class_name) == nullptr) {
    return {CMPI_RC_ERR_INVALID_CLASS, std::string(path.class_name)};
  }
  const cim::ObjectPath asked = ToValue(path);
  for (const std::string& provider : providers) {
    cim::Status status = ask(provider, asked, sink);
    if (!status.ok()) return status;
  }
  return {};
}

template <class Ask>
CMPIEnumeration* Enumerate(const CMPIBroker* mb, const CMPIObjectPath* op, const char* function,
                           CMPIType type, CMPIStatus* rc, Ask ask) {
  Call* call = CallFor(mb, function, rc);
  if (call == nullptr) return nullptr;
  const auto* path = Use<PathObject>(op, function);
  if (path == nullptr) {
    SetCode(rc, CMPI_RC_ERR_INVALID_HANDLE);
    return nullptr;
  }
  Gatherer gatherer(call->region());
  const cim::Status status = AskProviders(call->manager(), *path, gatherer, ask);
  SetStatus(rc, status, call->region());
  return status.ok() ? &gatherer.ToEnumeration(type)->record : nullptr;
}

CMPIEnumeration* EnumerateInstanceNames(const CMPIBroker* mb, const CMPIContext*,
                                        const CMPIObjectPath* op, CMPIStatus* rc) {
  return Enumerate(mb, op, "CMPIBroker.enumerateInstanceNames", CMPI_ref, rc,
                   [&](const std::string& provider, const cim::ObjectPath& path, ResultSink& sink) {
                     return ObjectManager::Of(mb).EnumerateInstanceNames(provider, path, sink);
                   });
}

CMPIEnumeration* EnumerateInstances(const CMPIBroker* mb, const CMPIContext*,
                                    const CMPIObjectPath* op, const char** properties,
                                    CMPIStatus* rc) {
  PropertyList list;
  if (properties != nullptr) {
    list.emplace();
    for (; *properties != nullptr; ++properties) list->emplace_back(*properties);
  }
  return Enumerate(mb, op, "CMPIBroker.enumerateInstances", CMPI_instance, rc,
                   [&](const std::string& provider, const cim::ObjectPath& path, ResultSink& sink) {
                     return ObjectManager::Of(mb).EnumerateInstances(provider, path, list, sink);
                   });
}

// ---------------------------------------------------------------------------------------------
// Memory

CMPIGcStat* Mark(const CMPIBroker* mb, CMPIStatus* rc) {
  Call* call = CallFor(mb, "CMPIBroker.mark", rc);
  if (call == nullptr) return nullptr;
  return Answer(rc, CMPI_RC_OK, reinterpret_cast<CMPIGcStat*>(call->Mark()));
}

CMPIStatus Release(const CMPIBroker* mb, const CMPIGcStat* gc) {
  CMPIStatus rc{CMPI_RC_OK, nullptr};
  Call* call = CallFor(mb, "CMPIBroker.release", &rc);
  if (call == nullptr) return rc;
  if (call->Release(reinterpret_cast<const Region*>(gc))) return rc;
  ReportMisuse("CMPIBroker.release", "no open mark of this call");
  return Answer(CMPI_RC_ERR_INVALID_HANDLE);
}

}  // namespace

CMPIBrokerFT broker_services = {
    CMPI_MB_Class_0 | CMPI_MB_Supports_MemEnhancements,
    CMPIVersion200,
    "ostrel in-process object manager",
    kNotSupported,
    kNotSupported,
    kNotSupported,
    kNotSupported,
    Entry<EnumerateInstanceNames>,
    kNotSupported,
    kNotSupported,
    kNotSupported,
    kNotSupported,
    kNotSupported,
    Entry<EnumerateInstances>,
    kNotSupported,
    kNotSupported,
    kNotSupported,
    kNotSupported,
    kNotSupported,
    kNotSupported,
    kNotSupported,
};

CMPIBrokerMemFT broker_memory = {
    CMPIVersion200, Entry<Mark>,   Entry<Release>, kNotSupported, kNotSupported,
    kNotSupported,  kNotSupported, kNotSupported,  kNotSupported, kNotSupported,
    kNotSupported,  kNotSupported, kNotSupported,  kNotSupported, kNotSupported,
};

}  // namespace broker
