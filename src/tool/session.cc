#include "tool/session.h"

#include <fmt/format.h>

#include <exception>
#include <functional>
#include <utility>

#include "broker/provider_library.h"
#include "cim/status.h"
#include "cim/wbem_uri.h"
#include "pci/shared_host.h"
#include "tool/class_names.h"
#include "tool/errors.h"
#include "tool/library_file.h"
#include "tool/output.h"
#include "tool/quiet_factory.h"

namespace tool {
namespace {

using broker::AssociationFilter;
using broker::PropertyList;
using broker::ResultSink;
using cim::Instance;
using cim::ObjectPath;
using cim::Status;
using cim::schema::Class;

broker::Options ManagerOptions(const SessionOptions& options,
                               std::function<void()> on_first_factory) {
  broker::Options manager;
  manager.system_name = options.system_name;
  if (options.verbose) {
    manager.log = [](const broker::LogEntry& entry) {
      WriteDiagnostic(fmt::format("{} [{}] {}: {}\n",
                                  entry.source == broker::LogEntry::Source::kLog ? "log" : "trace",
                                  entry.level, entry.id, entry.text));
    };
  }
  manager.around_factory = [verbose = options.verbose, first = std::move(on_first_factory)](
                               std::string_view, broker::ProviderKind,
                               const std::function<void()>& call) mutable {
    const std::string said = RunFactory(call, verbose);
    if (first) std::exchange(first, nullptr)();
    WriteDiagnostic(said);
  };
  return manager;
}

std::shared_ptr<const broker::ProviderLibrary> OpenLibrary(
    const std::optional<std::string>& option) {
  const std::string file = FindLibrary(option);
  try {
    return broker::ProviderLibrary::Open(file);
  } catch (const std::runtime_error& error) {
    throw CommandError(fmt::format("the provider library cannot be loaded: {}", error.what()));
  }
}

// Nothing where the host control library is another platform's, or not of this release.
std::optional<pci::SharedReading> SharedReading(const broker::ProviderLibrary& library) {
  void* function = library.FindSymbol(pci::kSharedHostSymbol);
  pci::SharedReading reading;
  if (function == nullptr || !reinterpret_cast<pci::SharedHostFunction*>(function)({}, reading)) {
    return std::nullopt;
  }
  return reading;
}

// What of the host could not be read, in plain words; empty where all of it is there.
std::string MissingOf(const pci::SharedReading& reading) {
  if (reading.host == nullptr) {
    return fmt::format("the host could not be read: {}",
                       reading.failure.empty() ? "memory ran short" : reading.failure);
  }
  if (reading.host->troubles().empty()) return {};
  const std::size_t missing = reading.host->troubles().size();
  return fmt::format("{} of {} PCI functions could not be read", missing,
                     missing + reading.host->functions().size());
}

// Passes on what is an instance of the wanted class, and keeps the provider's own error.
class FilteringSink : public ResultSink {
 public:
  FilteringSink(ResultSink& next, std::string_view result_class)
      : next_(next), result_class_(result_class) {}

  void OnInstanceView(const broker::InstanceView& instance) override {
    if (Wanted(instance.path())) next_.OnInstanceView(instance);
  }
  void OnObjectPathView(const broker::ObjectPathView& path) override {
    if (Wanted(path)) next_.OnObjectPathView(path);
  }
  void OnError(Status&& error) override {
    if (error_.ok()) error_ = std::move(error);
  }

  const Status& error() const { return error_; }

 private:
  bool Wanted(const broker::ObjectPathView& path) const {
    return result_class_.empty() || cim::schema::IsA(path.class_name(), result_class_);
  }

  ResultSink& next_;
  std::string result_class_;
  Status error_;
};

// "get of root/cimv2:Ostrel_PCIDevice.DeviceID=..."
std::string RequestText(std::string_view operation, const ObjectPath* target,
                        std::string_view provider) {
  if (target == nullptr) return fmt::format("{} of {}", operation, provider);
  std::string text = fmt::format("{} of {}", operation, ToWbemUri(*target));
  if (target->class_name != provider) text += fmt::format(" by {}", provider);
  return text;
}

// Asks one provider after the other; throws the first failure when all were asked. `target` is what
// the request is about, where that is no class.
void AskEach(std::string_view operation, const ObjectPath* target,
             const std::vector<std::string>& providers, std::string_view result_class,
             ResultSink& sink,
             const std::function<Status(const std::string& provider, ResultSink& sink)>& ask) {
  std::optional<StatusError> failure;
  for (const std::string& provider : providers) {
    FilteringSink filter(sink, result_class);
    Status status = ask(provider, filter);
    if (status.ok()) status = filter.error();
    if (!status.ok() && !failure) {
      failure.emplace(RequestText(operation, target, provider), status);
    }
  }
  if (failure) throw *failure;  // NOLINT(cert-err09-cpp,cert-err61-cpp): kept over the loop
}

// What stands at the reference is an instance of both classes, as far as the class tree tells.
bool MayStand(const Class& association, const std::string& role, std::string_view class_name) {
  const cim::schema::Property* reference = cim::schema::FindProperty(association, role);
  if (reference == nullptr || reference->type != CMPI_ref) return false;
  return class_name.empty() || cim::schema::IsA(class_name, reference->reference_class) ||
         cim::schema::IsA(reference->reference_class, class_name);
}

AssociationFilter Narrowed(AssociationFilter filter, std::string_view provider) {
  // Object managers hand a provider its own class where the client named one of its ancestors.
  if (filter.assoc_class) filter.assoc_class = provider;
  return filter;
}

AssociationFilter NarrowedReferences(AssociationFilter filter, std::string_view provider) {
  if (filter.result_class) filter.result_class = provider;
  return filter;
}

}  // namespace

bool RolesFit(const Class& association, const ObjectPath& source, const AssociationFilter& filter) {
  if (filter.role && !MayStand(association, *filter.role, source.class_name)) return false;
  return !filter.result_role ||
         MayStand(association, *filter.result_role, filter.result_class.value_or(""));
}

Session::Session(const SessionOptions& options)
    : verbose_(options.verbose),
      manager_(ManagerOptions(options, [this] { TakeReading(); })),
      system_(manager_.SystemPath()) {
  OpenLog(options.verbose);
  library_ = OpenLibrary(options.library);
  for (const Class* cls : ServedClasses()) {
    if (library_->FindInstanceFactory(cls->name) == nullptr) {
      throw CommandError(fmt::format("the library has no provider of {}", cls->name));
    }
    manager_.Register(cls->name, library_);
  }
  TakeSystemName();
}

// The first factory reads the host for all of them. Plain words come before what the library logs.
void Session::TakeReading() {
  const std::optional<pci::SharedReading> reading = SharedReading(*library_);
  if (!reading) return;
  host_ = reading->host;
  const std::string missing = MissingOf(*reading);
  incomplete_ = !missing.empty();
  if (incomplete_) WriteDiagnostic(fmt::format("ostrel-pci: {}\n", missing));
}

// Of the host control library's name for the system the providers alone know, and say it of a
// device whether there is one or not: a host without devices has a name as well.
void Session::TakeSystemName() {
  constexpr const char* kDevice = "Ostrel_PCIDevice";
  constexpr const char* kAssociation = "Ostrel_PCISystemDevice";
  ObjectPath device = manager_.ClassPath(kDevice);
  device.keys = {{"SystemCreationClassName", system_.class_name},
                 {"SystemName", *system_.Key("Name")},
                 {"CreationClassName", kDevice},
                 {"DeviceID", ""}};
  broker::Recorder found;
  // Where this fails, the requests of the commands fail, and those tell why.
  (void)manager_.AssociatorNames(kAssociation, device, {}, found);
  for (const ObjectPath& path : found.paths) {
    const cim::Value* name = path.Key("Name");
    if (name != nullptr && name->text() != nullptr) manager_.SetSystemName(*name->text());
  }
  system_ = manager_.SystemPath();
}

Session::~Session() {
  if (!verbose_) return;
  for (const broker::ProviderError& error : manager_.ProviderErrors()) {
    WriteDiagnostic(fmt::format("provider error: {}\n", broker::ToString(error)));
  }
}

broker::ObjectManager& Session::ManagerForThreads() {
  for (const Class* cls : ServedClasses()) {
    Status status;
    bool made = manager_.InstanceProvider(cls->name, &status) != nullptr;
    if (made && cls->association) {
      made = manager_.AssociationProvider(cls->name, &status) != nullptr;
    }
    if (!made) throw StatusError(fmt::format("factory of {}", cls->name), status);
  }
  return manager_;
}

std::vector<std::string> Session::ServedBelow(const Class& cls) const {
  std::vector<std::string> providers = manager_.ProvidersFor(cls.name);
  if (providers.empty()) {
    throw CommandError(fmt::format("{}: no provider serves {} or a class below it",
                                   cim::StatusName(CMPI_RC_ERR_INVALID_CLASS), cls.name));
  }
  return providers;
}

std::vector<std::string> Session::AssociationsOf(const ObjectPath& source,
                                                 const std::optional<std::string>& association,
                                                 const AssociationFilter& filter) const {
  std::vector<std::string> providers = manager_.AssociationProvidersFor(association);
  if (providers.empty() && !association) {
    throw CommandError(fmt::format("{}: the library has no provider of an association",
                                   cim::StatusName(CMPI_RC_ERR_NOT_SUPPORTED)));
  }
  if (providers.empty()) {
    throw CommandError(fmt::format("{}: {} is no association class with a provider",
                                   cim::StatusName(CMPI_RC_ERR_INVALID_CLASS), *association));
  }
  std::erase_if(providers, [&](const std::string& provider) {
    return !RolesFit(*cim::schema::FindClass(provider), source, filter);
  });
  return providers;
}

void Session::Enumerate(const Class& cls, const PropertyList& properties, ResultSink& sink) {
  AskEach("enumeration", nullptr, ServedBelow(cls), {}, sink,
          [&](const std::string& provider, ResultSink& results) {
            return manager_.EnumerateInstances(provider, manager_.ClassPath(provider), properties,
                                               results);
          });
}

void Session::EnumerateNames(const Class& cls, ResultSink& sink) {
  AskEach("enumeration", nullptr, ServedBelow(cls), {}, sink,
          [&](const std::string& provider, ResultSink& results) {
            return manager_.EnumerateInstanceNames(provider, manager_.ClassPath(provider), results);
          });
}

void Session::Get(const ObjectPath& path, const PropertyList& properties, ResultSink& sink) {
  AskEach("get", &path, {path.class_name}, {}, sink,
          [&](const std::string& provider, ResultSink& results) {
            return manager_.GetInstance(provider, path, properties, results);
          });
}

bool Session::TryGet(const ObjectPath& path, ResultSink& sink) {
  const Status status = manager_.GetInstance(path.class_name, path, std::nullopt, sink);
  if (!status.ok() && status.code != CMPI_RC_ERR_NOT_FOUND) {
    throw StatusError(RequestText("get", &path, path.class_name), status);
  }
  return status.ok();
}

void Session::Associators(const ObjectPath& source, const AssociationFilter& filter,
                          const PropertyList& properties, ResultSink& sink) {
  AskEach("associators", &source, AssociationsOf(source, filter.assoc_class, filter),
          filter.result_class.value_or(""), sink,
          [&](const std::string& provider, ResultSink& results) {
            return manager_.Associators(provider, source, Narrowed(filter, provider), properties,
                                        results);
          });
}

void Session::AssociatorNames(const ObjectPath& source, const AssociationFilter& filter,
                              ResultSink& sink) {
  AskEach("associator names", &source, AssociationsOf(source, filter.assoc_class, filter),
          filter.result_class.value_or(""), sink,
          [&](const std::string& provider, ResultSink& results) {
            return manager_.AssociatorNames(provider, source, Narrowed(filter, provider), results);
          });
}

void Session::References(const ObjectPath& source, const AssociationFilter& filter,
                         const PropertyList& properties, ResultSink& sink) {
  AskEach("references", &source, AssociationsOf(source, filter.result_class, filter), {}, sink,
          [&](const std::string& provider, ResultSink& results) {
            return manager_.References(provider, source, NarrowedReferences(filter, provider),
                                       properties, results);
          });
}

void Session::ReferenceNames(const ObjectPath& source, const AssociationFilter& filter,
                             ResultSink& sink) {
  AskEach("reference names", &source, AssociationsOf(source, filter.result_class, filter), {}, sink,
          [&](const std::string& provider, ResultSink& results) {
            return manager_.ReferenceNames(provider, source, NarrowedReferences(filter, provider),
                                           results);
          });
}

}  // namespace tool
