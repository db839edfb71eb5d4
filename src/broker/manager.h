// Behind ObjectManager: the providers, the requests to them, and what is counted.
//
// Thread rule: thread-safe. A request takes no lock unless it is the first of its class.

#ifndef BROKER_MANAGER_H_
#define BROKER_MANAGER_H_

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "broker/call.h"
#include "broker/imitation.h"
#include "broker/object_manager.h"
#include "broker/objects.h"
#include "broker/provider_slot.h"
#include "broker/tables.h"

namespace broker {

enum class Operation {
  kEnumerateInstances,
  kEnumerateInstanceNames,
  kGetInstance,
  kCreateInstance,
  kModifyInstance,
  kDeleteInstance,
  kExecQuery,
  kAssociators,
  kAssociatorNames,
  kReferences,
  kReferenceNames,
};

// One request to one provider. It comes from a caller of ObjectManager, as values, or from a
// provider, as objects of its call; of each pair one is null. Texts may be null, as the interface
// has it.
struct Request {
  Operation operation;
  std::string_view provider;
  const cim::ObjectPath* path = nullptr;
  const PathObject* path_object = nullptr;
  const cim::Instance* instance = nullptr;
  const InstanceObject* instance_object = nullptr;
  const char** properties = nullptr;
  const char* assoc_class = nullptr;
  const char* result_class = nullptr;
  const char* role = nullptr;
  const char* result_role = nullptr;
  const char* query = nullptr;
  const char* language = nullptr;
};

class Manager {
 public:
  explicit Manager(Options options);
  ~Manager();

  Manager(const Manager&) = delete;
  Manager& operator=(const Manager&) = delete;

  static Manager& Of(const CMPIBroker* broker) { return *static_cast<Manager*>(broker->hdl); }

  const Options& options() const { return options_; }
  bool checking() const { return options_.check_guest; }
  const std::string& system_name() const { return system_name_; }
  void SetSystemName(std::string_view name);
  const Tables& tables() const { return imitation_.tables; }
  const CMPIBroker* broker() const { return broker_.get(); }

  void Register(std::string_view class_name, std::shared_ptr<const ProviderLibrary> library);
  std::vector<std::string> ProvidersFor(std::string_view class_name) const;
  std::vector<std::string> AssociationProvidersFor(const char* assoc_class) const;

  // Runs the request in a call of its own.
  cim::Status Run(const Request& request, ResultSink& sink);

  cim::Status Cleanup(std::string_view name, ProviderKind kind, bool terminating);
  CMPIInstanceMI* InstanceProvider(std::string_view name, cim::Status* status);
  CMPIAssociationMI* AssociationProvider(std::string_view name, cim::Status* status);

  void AddError(ProviderError error);
  std::vector<ProviderError> Errors() const;
  void ClearErrors();

  Region& NewCloneRegion();
  void EndClone(Region& region);

  void NotePeak(std::size_t bytes);
  Statistics GetStatistics() const;

 private:
  struct FreeMemory {
    void operator()(void* memory) const;
  };
  using BrokerRecord = std::unique_ptr<CMPIBroker, FreeMemory>;

  struct Provider {
    std::string name;
    std::shared_ptr<const ProviderLibrary> library;
    bool has_associations = false;  // whether the library has an association factory for it
    std::recursive_mutex mutex;
    BrokerRecord broker;  // null where it gets the manager's
    ProviderSlot<CMPIInstanceMI> instance{mutex};
    ProviderSlot<CMPIAssociationMI> association{mutex};
  };

  Provider* Find(std::string_view name) const;
  cim::Status RunInProvider(Provider& provider, const Request& request, ResultSink& sink);
  cim::Status RunInSystemClass(const Request& request, ResultSink& sink);
  cim::Status AnswerForSystem(const Request& request, Call& call);
  template <class MI, class Factory>
  cim::Status CallFactory(Provider& provider, ProviderKind kind, Factory factory, MI** made);
  cim::Status MakeInstanceProvider(Provider& provider, CMPIInstanceMI** made);
  cim::Status MakeAssociationProvider(Provider& provider, CMPIAssociationMI** made);
  BrokerRecord NewBrokerRecord();
  const CMPIBroker* BrokerFor(Provider& provider);
  void CleanUpIdle();
  template <class MI>
  cim::Status CleanupSlot(const Provider& provider, ProviderSlot<MI>& slot, bool terminating);
  PathObject* RequestPath(Region& region, const Request& request) const;
  ContextObject* RequestContext(Region& region) const;

  const Options options_;
  std::string system_name_;
  const Imitation& imitation_;
  const BrokerRecord broker_;
  std::vector<std::unique_ptr<Provider>> providers_;

  mutable std::mutex errors_mutex_;
  std::vector<ProviderError> errors_;

  std::mutex clones_mutex_;
  Region* clones_ = nullptr;

  std::atomic<unsigned> requests_{0};
  std::atomic<std::uint64_t> peak_call_bytes_{0};
  std::atomic<std::int64_t> clones_alive_{0};
};

}  // namespace broker

#endif  // BROKER_MANAGER_H_
