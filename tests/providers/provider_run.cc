#include "providers/provider_run.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <cctype>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <utility>

#include "broker/result_sink.h"
#include "platform/cmpi/cmpi.h"
#include "support/object_manager_kind.h"

namespace {

// Sends the standard error stream nowhere for as long as it lives.
class QuietStandardError {
 public:
  QuietStandardError() : kept_(dup(STDERR_FILENO)) {
    static const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    (void)std::fflush(stderr);
    dup2(nowhere, STDERR_FILENO);
  }
  ~QuietStandardError() {
    (void)std::fflush(stderr);
    dup2(kept_, STDERR_FILENO);
    close(kept_);
  }
  QuietStandardError(const QuietStandardError&) = delete;
  QuietStandardError& operator=(const QuietStandardError&) = delete;

 private:
  int kept_;
};

broker::Options OptionsFor(const fake::Host& host, bool quiet_factories) {
  broker::Options options;
  options.imitate = &TestedObjectManager();
  options.system_name = ObjectManagerSystem(host);
  if (quiet_factories) {
    options.around_factory = [](std::string_view, broker::ProviderKind,
                                const std::function<void()>& call) {
      const QuietStandardError quiet;
      call();
    };
  }
  return options;
}

CMPIBrokerEncFT* original_functions = nullptr;

// The object manager's class tree, with a subclass of every class.
CMPIBoolean IsAWithSubclasses(const CMPIBroker* broker, const CMPIObjectPath* path,
                              const char* type, CMPIStatus* status) {
  CMPIString* text = path->ft->getClassName(path, nullptr);
  const std::string_view name = text->ft->getCharPtr(text, nullptr);
  if (!name.starts_with(naive::kSubclassPrefix)) {
    return original_functions->classPathIsA(broker, path, type, status);
  }
  if (status != nullptr) *status = {CMPI_RC_OK, nullptr};
  const bool same = name.substr(std::strlen(naive::kSubclassPrefix)) == type;
  return static_cast<CMPIBoolean>(same);
}

void AddSubclasses(const CMPIBroker* broker) {
  static CMPIBrokerEncFT extended = [broker] {
    original_functions = broker->eft;
    CMPIBrokerEncFT functions = CopyOfTable(broker->eft);
    functions.classPathIsA = IsAWithSubclasses;
    return functions;
  }();
  const_cast<CMPIBroker*>(broker)->eft = &extended;
}

class Recorder : public broker::ResultSink {
 public:
  explicit Recorder(naive::Answer& answer) : answer_(answer) {}
  void OnInstance(cim::Instance&& instance) override {
    RemoveClassDefaults(instance);
    answer_.events.emplace_back(std::move(instance));
  }
  void OnObjectPath(cim::ObjectPath&& path) override {
    answer_.events.emplace_back(std::move(path));
  }
  void OnDone() override { answer_.events.emplace_back(naive::Done{}); }

 private:
  naive::Answer& answer_;
};

cim::Status Run(broker::ObjectManager& manager, const naive::Request& request,
                broker::ResultSink& sink) {
  const std::string& provider = request.class_name;
  const broker::AssociationFilter& filter = request.filter;
  switch (request.operation) {
    case naive::Operation::kEnumInstanceNames:
      return manager.EnumerateInstanceNames(provider, request.path, sink);
    case naive::Operation::kEnumInstances:
      return manager.EnumerateInstances(provider, request.path, request.properties, sink);
    case naive::Operation::kGetInstance:
      return manager.GetInstance(provider, request.path, request.properties, sink);
    case naive::Operation::kAssociators:
      return manager.Associators(provider, request.path, filter, request.properties, sink);
    case naive::Operation::kAssociatorNames:
      return manager.AssociatorNames(provider, request.path, filter, sink);
    case naive::Operation::kReferences:
      return manager.References(provider, request.path, filter, request.properties, sink);
    case naive::Operation::kReferenceNames:
      return manager.ReferenceNames(provider, request.path, filter, sink);
  }
  return {};
}

}  // namespace

std::shared_ptr<const broker::ProviderLibrary> LinkedProviders() {
  static const auto library = broker::ProviderLibrary::FromResolver(
      [](const char* symbol) { return dlsym(RTLD_DEFAULT, symbol); });
  return library;
}

std::string ObjectManagerSystem(const fake::Host& host) {
  std::string name = "manager-of-" + host.system_name;
  for (char& character : name) {
    character = static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
  }
  return name;
}

naive::Answer Expect(naive::Providers& model, const naive::Request& request) {
  const naive::Answer answer = model.Ask(request);
  const bool takes_one = OnServer() && request.operation == naive::Operation::kGetInstance;
  return takes_one ? naive::DeliveredByOne(request, answer) : answer;
}

ProviderRun::ProviderRun(const fake::Host& host,
                         const std::shared_ptr<const broker::ProviderLibrary>& library,
                         SystemClassMode mode, bool quiet_factories)
    : manager_(OptionsFor(host, quiet_factories)) {
  fake::Use(host);
  AddSubclasses(manager_.broker());
  for (const char* name : kProviderClasses) manager_.Register(name, library);
  ReplaceSystemClass(manager_, {.mode = mode});
}

naive::Answer ProviderRun::AskWithoutLog(const naive::Request& request) {
  naive::Answer answer;
  Recorder recorder(answer);
  cim::Status status = Run(manager_, request, recorder);
  answer.code = status.code;
  answer.message = std::move(status.message);
  return answer;
}

naive::Answer ProviderRun::Ask(const naive::Request& request) {
  log_.Clear();
  naive::Answer answer = AskWithoutLog(request);
  answer.log = log_.Lines();
  return answer;
}

std::string ProviderRun::Faults(std::size_t devices) const {
  std::string text;
  for (const auto& error : manager_.ProviderErrors()) text += broker::ToString(error) + '\n';
  if (manager_.GetStatistics().clones_alive != 0) text += "clones are left over\n";
  const fake::Live live = fake::LiveObjects();
  if (live.devices != static_cast<int>(devices))
    text += "devices alive: " + std::to_string(live.devices) + '\n';
  if (live.parents != 0) text += "parents are left over\n";
  if (live.pci_infos != 0 || live.hardware_infos != 0) text += "host objects are left over\n";
  return text;
}
