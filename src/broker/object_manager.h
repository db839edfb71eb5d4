// The in-process object manager: a CMPI broker that loads provider libraries, calls their
// providers, and streams what they return into a sink. It serves one class itself, the hosting
// system's.
//
//   broker::ObjectManager manager({.system_name = "host"});
//   manager.Register("Ostrel_PCIDevice", broker::ProviderLibrary::Open("./libOstrelPCI.so"));
//   broker::Recorder found;
//   cim::Status status =
//       manager.EnumerateInstances("Ostrel_PCIDevice", manager.ClassPath("Ostrel_PCIDevice"),
//                                  std::nullopt, found);
//
// It hands requests through as they are and adds nothing to the answer: a sink sees every element
// at the moment it is returned, every returnDone, and the caller gets the provider's own status. So
// a GetInstance that returns no instance and CMPI_RC_OK is visible as just that.
//
// What a provider makes through the broker belongs to the provider call and is freed when that call
// returns, or earlier by mark and release. While it checks its providers
// (Options::check_providers), misuse of the interface answers an error code and is kept in
// ProviderErrors(). Of the interface it serves what our providers use; all else answers
// CMPI_RC_ERR_NOT_SUPPORTED.
//
// Errors: what fails for want of memory in a function of the interface is answered to the provider
// as CMPI_RC_ERR_FAILED; in an operation outside of the provider, std::bad_alloc leaves it.
//
// Thread rule: thread-safe; many operations may run at once, one per thread, also on the same
// class. Register everything before the first operation. The manager must outlive its operations.

#ifndef BROKER_OBJECT_MANAGER_H_
#define BROKER_OBJECT_MANAGER_H_

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "broker/imitation.h"
#include "broker/provider_library.h"
#include "broker/result_sink.h"
#include "cim/status.h"
#include "cim/value.h"
#include "platform/cmpi/cmpi.h"

namespace broker {

struct Provider;
class Region;

// std::nullopt asks for all properties, an empty list for none (but the keys).
using PropertyList = std::optional<std::vector<std::string>>;

// What an association request narrows by; an absent filter reaches the provider as a null pointer.
struct AssociationFilter {
  std::optional<std::string> assoc_class;  // not looked at by References and ReferenceNames
  std::optional<std::string> result_class;
  std::optional<std::string> role;
  std::optional<std::string> result_role;  // not looked at by References and ReferenceNames
};

enum class ProviderKind { kInstance, kAssociation };

// Something that a provider did and that the interface forbids.
struct ProviderError {
  std::string class_name;  // of the provider that was called
  std::string operation;   // "EnumerateInstances", "factory", "cleanup"
  std::string function;    // the interface function, "CMPIInstance.setProperty"
  std::string text;
};

// "EnumerateInstances of X: CMPIInstance.setProperty: text".
std::string ToString(const ProviderError& error);

struct Options {
  std::string system_name = "localhost";  // reported in lower case
  std::string name_space = "root/cimv2";  // for paths that come without one
  bool check_providers = true;
  const Imitation* imitate = nullptr;  // for tests; null: its own ways
  // Called around every factory call instead of the call itself; must run `call` once.
  std::function<void(std::string_view class_name, ProviderKind kind,
                     const std::function<void()>& call)>
      around_factory = {};
};

struct Statistics {
  std::uint64_t peak_call_bytes = 0;  // most object memory that one provider call held at once
  std::int64_t clones_alive = 0;      // clones made and not yet released
};

class ObjectManager {
 public:
  explicit ObjectManager(Options options);
  // Cleans up every provider (terminating = true), then lets go of the libraries.
  ~ObjectManager();

  ObjectManager(const ObjectManager&) = delete;
  ObjectManager& operator=(const ObjectManager&) = delete;

  // Requests for `class_name` go to the library's provider of that name. Its factories are called
  // when first needed, the instance and the association factory each by itself. A factory that
  // throws or answers null makes the request answer CMPI_RC_ERR_FAILED with its text; the next one
  // tries again. A provider of the system class takes the place of the manager's own answers.
  void Register(std::string_view class_name, std::shared_ptr<const ProviderLibrary> library);

  // The registered classes that are `class_name` or below it (in order of registration), and the
  // system class where it is: whom a deep request for `class_name` concerns.
  std::vector<std::string> ProvidersFor(std::string_view class_name) const;
  // Those of them that have an association factory; of all classes where `assoc_class` is absent.
  std::vector<std::string> AssociationProvidersFor(
      const std::optional<std::string>& assoc_class) const;

  // Renames the hosting system, as Options::system_name names it. Not while an operation runs.
  void SetSystemName(std::string_view name);

  // The path of a class in the manager's namespace.
  cim::ObjectPath ClassPath(std::string_view class_name) const;
  // The path of the hosting system's one instance.
  cim::ObjectPath SystemPath() const;

  // Operations. `provider` is a registered class or the system class, compared ignoring case;
  // another one answers CMPI_RC_ERR_INVALID_CLASS. `path` reaches the provider as it is, except
  // that an empty namespace is filled in. The answer is the provider's own status.
  cim::Status EnumerateInstances(std::string_view provider, const cim::ObjectPath& path,
                                 const PropertyList& properties, ResultSink& sink);
  cim::Status EnumerateInstanceNames(std::string_view provider, const cim::ObjectPath& path,
                                     ResultSink& sink);
  cim::Status GetInstance(std::string_view provider, const cim::ObjectPath& path,
                          const PropertyList& properties, ResultSink& sink);
  cim::Status CreateInstance(std::string_view provider, const cim::ObjectPath& path,
                             const cim::Instance& instance, ResultSink& sink);
  cim::Status ModifyInstance(std::string_view provider, const cim::ObjectPath& path,
                             const cim::Instance& instance, const PropertyList& properties,
                             ResultSink& sink);
  cim::Status DeleteInstance(std::string_view provider, const cim::ObjectPath& path,
                             ResultSink& sink);
  cim::Status ExecQuery(std::string_view provider, const cim::ObjectPath& path,
                        const std::string& query, const std::string& language, ResultSink& sink);
  cim::Status Associators(std::string_view provider, const cim::ObjectPath& source,
                          const AssociationFilter& filter, const PropertyList& properties,
                          ResultSink& sink);
  cim::Status AssociatorNames(std::string_view provider, const cim::ObjectPath& source,
                              const AssociationFilter& filter, ResultSink& sink);
  cim::Status References(std::string_view provider, const cim::ObjectPath& source,
                         const AssociationFilter& filter, const PropertyList& properties,
                         ResultSink& sink);
  cim::Status ReferenceNames(std::string_view provider, const cim::ObjectPath& source,
                             const AssociationFilter& filter, ResultSink& sink);

  // Calls the provider's cleanup, as an object manager does with a class that is idle. The provider
  // is forgotten, and its factory called again by the next request, unless it answers that it must
  // stay (and `terminating` is false). CMPI_RC_ERR_NOT_FOUND: there is none to clean up;
  // CMPI_RC_ERR_FAILED: a request is running in it.
  cim::Status Cleanup(std::string_view provider, ProviderKind kind, bool terminating);

  // The provider record that the factory handed out, calling the factory if need be; nullptr and
  // `status` (which may be null) where that fails.
  CMPIInstanceMI* InstanceProvider(std::string_view provider, cim::Status* status);
  CMPIAssociationMI* AssociationProvider(std::string_view provider, cim::Status* status);

  // What the providers did wrong so far, oldest first (the first 1000).
  std::vector<ProviderError> ProviderErrors() const;

  Statistics GetStatistics() const;

  // The broker record that the factories receive, or a copy of which each class's factories do.
  const CMPIBroker* broker() const { return &broker_; }

  // ---- for the functions that a provider calls

  static ObjectManager& Of(const CMPIBroker* broker) {
    return *static_cast<ObjectManager*>(broker->hdl);
  }
  const Tables& tables() const { return imitation_.tables; }
  bool checking() const { return options_.check_providers; }
  void AddError(ProviderError error);
  Region& NewCloneRegion();
  void EndClone(Region& region);
  void NotePeak(std::size_t bytes);

 private:
  struct Operation;

  Provider* Find(std::string_view name) const;
  bool ServesSystemItself(std::string_view provider) const;
  // MI: the provider record's type, CMPIInstanceMI or CMPIAssociationMI.
  template <class MI>
  MI* RecordOf(std::string_view name, cim::Status* status);
  template <class MI>
  cim::Status CallFactory(Provider& provider, MI** made);
  const CMPIBroker* BrokerFor(Provider& provider);
  template <class MI>
  cim::Status CleanUp(Provider& provider, bool terminating);
  void CleanUpIdle();
  template <class MI, class Entry, class... Rest>
  cim::Status Run(const Operation& operation, Entry entry, const Rest&... rest);
  cim::Status ReturnSystem(const Operation& operation, const char** properties);

  const Options options_;
  std::string system_name_;
  const Imitation& imitation_;
  CMPIBroker broker_;
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

#endif  // BROKER_OBJECT_MANAGER_H_
