#include "broker/object_manager.h"

#include <array>
#include <utility>

#include "broker/manager.h"
#include "cim/text.h"

namespace broker {

std::string ToString(const ProviderError& error) {
  return error.operation + " of " + error.class_name + ": " + error.function + ": " + error.text;
}

namespace {

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

Request MakeRequest(Operation operation, std::string_view provider, const cim::ObjectPath& path) {
  Request request{};
  request.operation = operation;
  request.provider = provider;
  request.path = &path;
  return request;
}

Request MakeRequest(Operation operation, std::string_view provider, const cim::ObjectPath& source,
                    const AssociationFilter& filter) {
  Request request = MakeRequest(operation, provider, source);
  request.assoc_class = TextOrNull(filter.assoc_class);
  request.result_class = TextOrNull(filter.result_class);
  request.role = TextOrNull(filter.role);
  request.result_role = TextOrNull(filter.result_role);
  return request;
}

}  // namespace

ObjectManager::ObjectManager(Options options)
    : manager_(std::make_unique<Manager>(std::move(options))) {}
ObjectManager::~ObjectManager() = default;

void ObjectManager::Register(std::string_view class_name,
                             std::shared_ptr<const ProviderLibrary> library) {
  manager_->Register(class_name, std::move(library));
}

std::vector<std::string> ObjectManager::ProvidersFor(std::string_view class_name) const {
  return manager_->ProvidersFor(class_name);
}

std::vector<std::string> ObjectManager::AssociationProvidersFor(
    const std::optional<std::string>& assoc_class) const {
  return manager_->AssociationProvidersFor(TextOrNull(assoc_class));
}

void ObjectManager::SetSystemName(std::string_view name) { manager_->SetSystemName(name); }

cim::ObjectPath ObjectManager::ClassPath(std::string_view class_name) const {
  return {std::nullopt, manager_->options().name_space, std::string(class_name), {}};
}

cim::ObjectPath ObjectManager::SystemPath() const {
  cim::ObjectPath path = ClassPath(cim::schema::kSystemClass);
  path.keys = {{"CreationClassName", cim::Value(cim::schema::kSystemClass)},
               {"Name", cim::Value(manager_->system_name())}};
  return path;
}

cim::Status ObjectManager::EnumerateInstances(std::string_view provider,
                                              const cim::ObjectPath& path,
                                              const PropertyList& properties, ResultSink& sink) {
  PropertyArray names(properties);
  Request request = MakeRequest(Operation::kEnumerateInstances, provider, path);
  request.properties = names.get();
  return manager_->Run(request, sink);
}

cim::Status ObjectManager::EnumerateInstanceNames(std::string_view provider,
                                                  const cim::ObjectPath& path, ResultSink& sink) {
  return manager_->Run(MakeRequest(Operation::kEnumerateInstanceNames, provider, path), sink);
}

cim::Status ObjectManager::GetInstance(std::string_view provider, const cim::ObjectPath& path,
                                       const PropertyList& properties, ResultSink& sink) {
  PropertyArray names(properties);
  Request request = MakeRequest(Operation::kGetInstance, provider, path);
  request.properties = names.get();
  return manager_->Run(request, sink);
}

cim::Status ObjectManager::CreateInstance(std::string_view provider, const cim::ObjectPath& path,
                                          const cim::Instance& instance, ResultSink& sink) {
  Request request = MakeRequest(Operation::kCreateInstance, provider, path);
  request.instance = &instance;
  return manager_->Run(request, sink);
}

cim::Status ObjectManager::ModifyInstance(std::string_view provider, const cim::ObjectPath& path,
                                          const cim::Instance& instance,
                                          const PropertyList& properties, ResultSink& sink) {
  PropertyArray names(properties);
  Request request = MakeRequest(Operation::kModifyInstance, provider, path);
  request.instance = &instance;
  request.properties = names.get();
  return manager_->Run(request, sink);
}

cim::Status ObjectManager::DeleteInstance(std::string_view provider, const cim::ObjectPath& path,
                                          ResultSink& sink) {
  return manager_->Run(MakeRequest(Operation::kDeleteInstance, provider, path), sink);
}

cim::Status ObjectManager::ExecQuery(std::string_view provider, const cim::ObjectPath& path,
                                     const std::string& query, const std::string& language,
                                     ResultSink& sink) {
  Request request = MakeRequest(Operation::kExecQuery, provider, path);
  request.query = query.c_str();
  request.language = language.c_str();
  return manager_->Run(request, sink);
}

cim::Status ObjectManager::Associators(std::string_view provider, const cim::ObjectPath& source,
                                       const AssociationFilter& filter,
                                       const PropertyList& properties, ResultSink& sink) {
  PropertyArray names(properties);
  Request request = MakeRequest(Operation::kAssociators, provider, source, filter);
  request.properties = names.get();
  return manager_->Run(request, sink);
}

cim::Status ObjectManager::AssociatorNames(std::string_view provider, const cim::ObjectPath& source,
                                           const AssociationFilter& filter, ResultSink& sink) {
  return manager_->Run(MakeRequest(Operation::kAssociatorNames, provider, source, filter), sink);
}

cim::Status ObjectManager::References(std::string_view provider, const cim::ObjectPath& source,
                                      const AssociationFilter& filter,
                                      const PropertyList& properties, ResultSink& sink) {
  PropertyArray names(properties);
  Request request = MakeRequest(Operation::kReferences, provider, source, filter);
  request.properties = names.get();
  return manager_->Run(request, sink);
}

cim::Status ObjectManager::ReferenceNames(std::string_view provider, const cim::ObjectPath& source,
                                          const AssociationFilter& filter, ResultSink& sink) {
  return manager_->Run(MakeRequest(Operation::kReferenceNames, provider, source, filter), sink);
}

cim::Status ObjectManager::Cleanup(std::string_view provider, ProviderKind kind, bool terminating) {
  return manager_->Cleanup(provider, kind, terminating);
}

CMPIInstanceMI* ObjectManager::InstanceProvider(std::string_view provider, cim::Status* status) {
  cim::Status unasked;
  return manager_->InstanceProvider(provider, status != nullptr ? status : &unasked);
}

CMPIAssociationMI* ObjectManager::AssociationProvider(std::string_view provider,
                                                      cim::Status* status) {
  cim::Status unasked;
  return manager_->AssociationProvider(provider, status != nullptr ? status : &unasked);
}

std::vector<ProviderError> ObjectManager::ProviderErrors() const { return manager_->Errors(); }
void ObjectManager::ClearProviderErrors() { manager_->ClearErrors(); }
Statistics ObjectManager::GetStatistics() const { return manager_->GetStatistics(); }
const CMPIBroker* ObjectManager::broker() const { return manager_->broker(); }

}  // namespace broker
