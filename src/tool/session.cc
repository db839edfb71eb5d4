#include "tool/session.h"

#include <fmt/format.h>

#include <exception>
#include <functional>
#include <utility>

#include "broker/provider_library.h"
#include "cim/status.h"
#include "cim/wbem_uri.h"
#include "pci/missing_parts.h"
#include "pci/shared_host.h"
#include "tool/class_names.h"
#include "tool/errors.h"
#include "tool/library_file.h"
#include "tool/output.h"
#include "tool/quiet_factory.h"

namespace tool {
namespace {

using broker::PropertyList;
using broker::ResultSink;
using cim::Instance;
using cim::ObjectPath;
using cim::Status;
using cim::schema::Class;
using requests::AssociationRequest;

broker::Options ManagerOptions(const SessionOptions& options,
                               std::function<void()> on_first_factory) {
  broker::Options manager;
  manager.system_name = options.system_name;
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
  return MissingFunctions(*reading.host);
}

// "get of root/cimv2:Ostrel_PCIDevice.DeviceID=..."
std::string RequestText(std::string_view operation, const ObjectPath* target,
                        std::string_view provider) {
  if (target == nullptr) return fmt::format("{} of {}", operation, provider);
  std::string text = fmt::format("{} of {}", operation, ToWbemUri(*target));
  if (target->class_name != provider) text += fmt::format(" by {}", provider);
  return text;
}

// `target` is what the request is about, where that is no class.
void Check(std::string_view operation, const ObjectPath* target,
           const std::optional<requests::Failure>& failure) {
  if (failure) {
    throw StatusError(RequestText(operation, target, failure->provider), failure->status);
  }
}

}  // namespace

Session::Session(const SessionOptions& options)
    : verbose_(options.verbose),
      manager_(ManagerOptions(options, [this] { TakeReading(); })),
      operations_(manager_, requests::AfterFailure::kAskTheOthers),
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

void Session::CheckServed(const Class& cls) const {
  if (!manager_.ProvidersFor(cls.name).empty()) return;
  throw CommandError(fmt::format("{}: no provider serves {} or a class below it",
                                 cim::StatusName(CMPI_RC_ERR_INVALID_CLASS), cls.name));
}

void Session::CheckAssociation(const AssociationRequest& request) const {
  if (!manager_.AssociationProvidersFor(request.association_class).empty()) return;
  throw CommandError(request.association_class
                         ? fmt::format("{}: {} is no association class with a provider",
                                       cim::StatusName(CMPI_RC_ERR_INVALID_CLASS),
                                       *request.association_class)
                         : fmt::format("{}: the library has no provider of an association",
                                       cim::StatusName(CMPI_RC_ERR_NOT_SUPPORTED)));
}

void Session::Enumerate(const Class& cls, const PropertyList& properties, ResultSink& sink) {
  CheckServed(cls);
  Check("enumeration", nullptr, operations_.EnumerateInstances(cls, properties, sink));
}

void Session::EnumerateNames(const Class& cls, ResultSink& sink) {
  CheckServed(cls);
  Check("enumeration", nullptr, operations_.EnumerateInstanceNames(cls, sink));
}

std::vector<Instance> Session::Get(const ObjectPath& path, const PropertyList& properties) {
  std::vector<Instance> found;
  Check("get", &path, operations_.GetInstance(path, properties, found));
  return found;
}

bool Session::TryGet(const ObjectPath& path, ResultSink& sink) {
  const Status status = manager_.GetInstance(path.class_name, path, std::nullopt, sink);
  if (!status.ok() && status.code != CMPI_RC_ERR_NOT_FOUND) {
    throw StatusError(RequestText("get", &path, path.class_name), status);
  }
  return status.ok();
}

void Session::Associators(const AssociationRequest& request, const PropertyList& properties,
                          ResultSink& sink) {
  CheckAssociation(request);
  Check("associators", &request.source, operations_.Associators(request, properties, sink));
}

void Session::AssociatorNames(const AssociationRequest& request, ResultSink& sink) {
  CheckAssociation(request);
  Check("associator names", &request.source, operations_.AssociatorNames(request, sink));
}

void Session::References(const AssociationRequest& request, const PropertyList& properties,
                         ResultSink& sink) {
  CheckAssociation(request);
  Check("references", &request.source, operations_.References(request, properties, sink));
}

void Session::ReferenceNames(const AssociationRequest& request, ResultSink& sink) {
  CheckAssociation(request);
  Check("reference names", &request.source, operations_.ReferenceNames(request, sink));
}

}  // namespace tool
