#include "wbem/operations.h"

#include <fmt/format.h>

#include <algorithm>
#include <exception>
#include <functional>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

#include "cim/schema.h"
#include "cim/text.h"
#include "wbem/cim_error.h"
#include "wbem/cim_xml_writer.h"
#include "wbem/parameters.h"

namespace wbem {

namespace {

using cim::EqualIgnoringCase;
using cim::Instance;
using cim::ObjectPath;
namespace schema = cim::schema;

// Hands what a provider returns to one of two functions, and makes its failure a CimError.
class Results : public broker::ResultSink {
 public:
  explicit Results(std::function<void(Instance&&)> on_instance)
      : on_instance_(std::move(on_instance)) {}
  explicit Results(std::function<void(ObjectPath&&)> on_path) : on_path_(std::move(on_path)) {}

  void OnInstance(Instance&& instance) override {
    if (on_instance_) on_instance_(std::move(instance));
  }
  void OnObjectPath(ObjectPath&& path) override {
    if (on_path_) on_path_(std::move(path));
  }
  void OnError(cim::Status&& error) override {
    if (!error_) error_ = std::move(error);
  }

  // To be called with the operation's own status.
  void Check(const cim::Status& status) const {
    if (!status.ok()) throw ErrorOf(status);
    if (error_ && !error_->ok()) throw ErrorOf(*error_);
  }

 private:
  std::function<void(Instance&&)> on_instance_;
  std::function<void(ObjectPath&&)> on_path_;
  std::optional<cim::Status> error_;
};

// What an association request asks for.
struct AssociationRequest {
  ObjectPath source;
  std::optional<std::string> association_class;
  std::optional<std::string> result_class;  // of associated elements only
  std::optional<std::string> role;
  std::optional<std::string> result_role;  // of associated elements only
};

// Whether one of the association's references has the name (any, where there is none), may refer to
// an element of the class, and is `wanted`.
template <class Wanted>
bool AnyReference(std::string_view association, const std::optional<std::string>& name,
                  std::string_view class_name, Wanted wanted) {
  const schema::Class* cls = schema::FindClass(association);
  if (cls == nullptr) return false;
  const auto properties = schema::AllProperties(*cls);
  return std::any_of(properties.begin(), properties.end(), [&](const schema::Property* property) {
    return property->type == CMPI_ref && (!name || EqualIgnoringCase(property->name, *name)) &&
           schema::IsA(class_name, property->reference_class) && wanted(*property);
  });
}

// Whether an element of the class, found through the association, is one that the request wants. An
// element comes without the instance that associates it, so the schema says what roles there are.
bool Admits(const AssociationRequest& request, std::string_view association,
            std::string_view element_class) {
  if (request.result_class && !schema::IsA(element_class, *request.result_class)) return false;
  if (!request.role && !request.result_role) return true;
  return AnyReference(
      association, request.role, request.source.class_name, [&](const schema::Property& from) {
        return AnyReference(association, request.result_role, element_class,
                            [&](const schema::Property& to) { return &from != &to; });
      });
}

// Whether the association has the role that the request wants, and there an element of the source's
// class. It need not be the source itself: providers may answer more widely than they are asked.
bool Admits(const AssociationRequest& request, const ObjectPath& association) {
  if (!request.role) return true;
  const cim::Value* end = association.Key(*request.role);
  const ObjectPath* element = end != nullptr ? end->reference() : nullptr;
  return element != nullptr && (schema::IsA(element->class_name, request.source.class_name) ||
                                schema::IsA(request.source.class_name, element->class_name));
}

// What the provider is told: its own class where the client may have named one above it.
broker::AssociationFilter AssociatorsFilter(const AssociationRequest& request,
                                            const std::string& provider) {
  return {provider, request.result_class, request.role, request.result_role};
}
broker::AssociationFilter ReferencesFilter(const AssociationRequest& request,
                                           const std::string& provider) {
  return {std::nullopt, provider, request.role, std::nullopt};
}

// One request being answered.
class Call {
 public:
  Call(broker::ObjectManager& manager, const Request& request, const std::string& host,
       AnswerStream& answer)
      : manager_(manager), request_(request), place_{host, kNameSpace}, answer_(answer) {}

  void GetClass();
  void EnumerateClasses();
  void EnumerateClassNames();
  void GetInstance();
  void EnumerateInstances();
  void EnumerateInstanceNames();
  void Associators();
  void AssociatorNames();
  void References();
  void ReferenceNames();

 private:
  static const schema::Class& KnownClass(const std::string& name, CimCode if_unknown);
  static Selection SelectionOfInstances(const Parameters& parameters);
  static Selection SelectionOfClasses(const Parameters& parameters);
  static std::vector<const schema::Class*> ClassesBelow(const Parameters& parameters);

  ObjectPath SourcePath(const Parameters& parameters) const;
  AssociationRequest AssociatorsRequest(const Parameters& parameters) const;
  AssociationRequest ReferencesRequest(const Parameters& parameters) const;

  void EmitPath(const ObjectPath& path);
  void EmitObject(const Instance& instance, const Selection& selection);

  broker::ObjectManager& manager_;
  const Request& request_;
  Place place_;
  AnswerStream& answer_;
};

const schema::Class& Call::KnownClass(const std::string& name, CimCode if_unknown) {
  const schema::Class* cls = schema::FindClass(name);
  if (cls == nullptr) throw CimError(if_unknown, fmt::format("unknown class {}", name));
  return *cls;
}

// The names of the request's list that some class has, each once: every name is looked for in every
// instance, and a request may bring thousands.
broker::PropertyList PropertyListOf(const Parameters& parameters) {
  const auto listed = parameters.List("PropertyList");
  if (!listed) return std::nullopt;
  std::set<std::string_view> names;
  for (const std::string& name : *listed) names.insert(schema::PropertyName(name));
  names.erase(std::string_view());  // of those that no class has
  return std::vector<std::string>(names.begin(), names.end());
}

// ---------------------------------------------------------------------------------------------
// Classes

Selection Call::SelectionOfClasses(const Parameters& parameters) {
  Selection selection;
  selection.local_only = parameters.Boolean("LocalOnly", true);
  selection.qualifiers = parameters.Boolean("IncludeQualifiers", true);
  selection.class_origin = parameters.Boolean("IncludeClassOrigin", false);
  return selection;
}

std::vector<const schema::Class*> Call::ClassesBelow(const Parameters& parameters) {
  const bool deep = parameters.Boolean("DeepInheritance", false);
  const auto above = parameters.Class("ClassName");
  if (above) KnownClass(*above, CimCode::kInvalidClass);
  std::vector<const schema::Class*> below;
  for (const schema::Class& cls : schema::AllClasses()) {
    const bool is_direct = EqualIgnoringCase(cls.superclass, above.value_or(""));
    const bool is_deep =
        !above || (schema::IsA(cls.name, *above) && !EqualIgnoringCase(cls.name, *above));
    if (deep ? is_deep : is_direct) below.push_back(&cls);
  }
  return below;
}

void Call::GetClass() {
  const Parameters parameters(request_, {"ClassName", "LocalOnly", "IncludeQualifiers",
                                         "IncludeClassOrigin", "PropertyList"});
  const std::string name = parameters.RequiredClass("ClassName");
  Selection selection = SelectionOfClasses(parameters);
  selection.properties = PropertyListOf(parameters);
  const schema::Class& cls = KnownClass(name, CimCode::kNotFound);
  answer_.Element([&](std::string& out) { AppendClass(out, cls, selection); });
}

void Call::EnumerateClasses() {
  const Parameters parameters(request_, {"ClassName", "DeepInheritance", "LocalOnly",
                                         "IncludeQualifiers", "IncludeClassOrigin"});
  const Selection selection = SelectionOfClasses(parameters);
  for (const schema::Class* cls : ClassesBelow(parameters)) {
    answer_.Element([&](std::string& out) { AppendClass(out, *cls, selection); });
  }
}

void Call::EnumerateClassNames() {
  const Parameters parameters(request_, {"ClassName", "DeepInheritance"});
  for (const schema::Class* cls : ClassesBelow(parameters)) {
    answer_.Element([&](std::string& out) { AppendClassName(out, cls->name); });
  }
}

// ---------------------------------------------------------------------------------------------
// Instances

Selection Call::SelectionOfInstances(const Parameters& parameters) {
  parameters.Boolean("LocalOnly", true);
  parameters.Boolean("IncludeQualifiers", false);
  Selection selection;
  selection.class_origin = parameters.Boolean("IncludeClassOrigin", false);
  selection.properties = PropertyListOf(parameters);
  return selection;
}

std::size_t EqualKeys(const ObjectPath& a, const ObjectPath& b);

// A path's keys have no order, and its namespace and the letter case of its class say nothing here.
bool NamesSame(const ObjectPath& a, const ObjectPath& b) {
  return EqualIgnoringCase(a.class_name, b.class_name) && a.keys.size() == b.keys.size() &&
         EqualKeys(a, b) == a.keys.size();
}

// How many keys of `a` have the same value in `b`.
std::size_t EqualKeys(const ObjectPath& a, const ObjectPath& b) {
  return static_cast<std::size_t>(std::count_if(a.keys.begin(), a.keys.end(), [&](const auto& key) {
    const cim::Value* other = b.Key(key.first);
    if (other == nullptr) return false;
    const ObjectPath* reference = key.second.reference();
    const ObjectPath* other_reference = other->reference();
    return reference != nullptr && other_reference != nullptr
               ? NamesSame(*reference, *other_reference)
               : *other == key.second;
  }));
}

// A provider may return more than the one instance, such as both ports of a bridge; the one whose
// keys match best is meant.
void Call::GetInstance() {
  const Parameters parameters(request_, {"InstanceName", "LocalOnly", "IncludeQualifiers",
                                         "IncludeClassOrigin", "PropertyList"});
  const Selection selection = SelectionOfInstances(parameters);
  const InstanceName& name = parameters.RequiredInstance("InstanceName");
  const schema::Class& cls = KnownClass(name.class_name, CimCode::kInvalidClass);
  const ObjectPath path = ToObjectPath(name, cls, place_.name_space);

  std::optional<Instance> best;
  Results results([&](Instance&& found) {
    if (!best || EqualKeys(path, found.path) > EqualKeys(path, best->path)) best = std::move(found);
  });
  const auto served = manager_.ProvidersFor(cls.name);
  if (std::find(served.begin(), served.end(), cls.name) != served.end()) {
    results.Check(manager_.GetInstance(cls.name, path, selection.properties, results));
  }
  if (!best) throw CimError(CimCode::kNotFound, fmt::format("no such instance of {}", cls.name));
  answer_.Element([&](std::string& out) { AppendInstance(out, *best, selection, place_); });
}

void Call::EnumerateInstances() {
  const Parameters parameters(request_,
                              {"ClassName", "LocalOnly", "DeepInheritance", "IncludeQualifiers",
                               "IncludeClassOrigin", "PropertyList"});
  const std::string name = parameters.RequiredClass("ClassName");
  Selection selection = SelectionOfInstances(parameters);
  const bool deep = parameters.Boolean("DeepInheritance", true);
  const schema::Class& cls = KnownClass(name, CimCode::kInvalidClass);
  if (!deep) selection.known_to = &cls;

  for (const std::string& provider : manager_.ProvidersFor(cls.name)) {
    Results results([&](Instance&& instance) {
      answer_.Element([&](std::string& out) {
        AppendWrapped(out, "VALUE.NAMEDINSTANCE", [&] {
          AppendInstanceName(out, instance.path, place_);
          AppendInstance(out, instance, selection, place_);
        });
      });
    });
    results.Check(manager_.EnumerateInstances(provider, manager_.ClassPath(provider),
                                              selection.properties, results));
  }
}

void Call::EnumerateInstanceNames() {
  const Parameters parameters(request_, {"ClassName"});
  const schema::Class& cls =
      KnownClass(parameters.RequiredClass("ClassName"), CimCode::kInvalidClass);
  for (const std::string& provider : manager_.ProvidersFor(cls.name)) {
    Results results([&](ObjectPath&& path) {
      answer_.Element([&](std::string& out) { AppendInstanceName(out, path, place_); });
    });
    results.Check(manager_.EnumerateInstanceNames(provider, manager_.ClassPath(provider), results));
  }
}

// ---------------------------------------------------------------------------------------------
// Associations

ObjectPath Call::SourcePath(const Parameters& parameters) const {
  const InstanceName* name = parameters.InstanceOrClass("ObjectName");
  if (name == nullptr) {
    throw CimError(CimCode::kNotSupported, "associations between classes are not served");
  }
  const schema::Class& cls = KnownClass(name->class_name, CimCode::kInvalidParameter);
  return ToObjectPath(*name, cls, place_.name_space);
}

// The name of a class that a filter may name.
std::optional<std::string> FilterClass(const Parameters& parameters, std::string_view parameter) {
  auto name = parameters.Class(parameter);
  if (name && schema::FindClass(*name) == nullptr) {
    throw CimError(CimCode::kInvalidParameter, fmt::format("unknown class {}", *name));
  }
  return name;
}

AssociationRequest Call::AssociatorsRequest(const Parameters& parameters) const {
  return {SourcePath(parameters), FilterClass(parameters, "AssocClass"),
          FilterClass(parameters, "ResultClass"), parameters.Text("Role"),
          parameters.Text("ResultRole")};
}

AssociationRequest Call::ReferencesRequest(const Parameters& parameters) const {
  return {SourcePath(parameters), FilterClass(parameters, "ResultClass"), std::nullopt,
          parameters.Text("Role"), std::nullopt};
}

void Call::EmitPath(const ObjectPath& path) {
  answer_.Element([&](std::string& out) {
    AppendWrapped(out, "OBJECTPATH", [&] { AppendInstancePath(out, path, place_); });
  });
}

void Call::EmitObject(const Instance& instance, const Selection& selection) {
  answer_.Element([&](std::string& out) {
    AppendWrapped(out, "VALUE.OBJECTWITHPATH", [&] {
      AppendInstancePath(out, instance.path, place_);
      AppendInstance(out, instance, selection, place_);
    });
  });
}

void Call::Associators() {
  const Parameters parameters(request_,
                              {"ObjectName", "AssocClass", "ResultClass", "Role", "ResultRole",
                               "IncludeQualifiers", "IncludeClassOrigin", "PropertyList"});
  const Selection selection = SelectionOfInstances(parameters);
  const AssociationRequest wanted = AssociatorsRequest(parameters);
  for (const auto& provider : manager_.AssociationProvidersFor(wanted.association_class)) {
    Results results([&](Instance&& element) {
      if (Admits(wanted, provider, element.path.class_name)) EmitObject(element, selection);
    });
    results.Check(manager_.Associators(provider, wanted.source, AssociatorsFilter(wanted, provider),
                                       selection.properties, results));
  }
}

void Call::AssociatorNames() {
  const Parameters parameters(request_,
                              {"ObjectName", "AssocClass", "ResultClass", "Role", "ResultRole"});
  const AssociationRequest wanted = AssociatorsRequest(parameters);
  for (const auto& provider : manager_.AssociationProvidersFor(wanted.association_class)) {
    Results results([&](ObjectPath&& element) {
      if (Admits(wanted, provider, element.class_name)) EmitPath(element);
    });
    results.Check(manager_.AssociatorNames(provider, wanted.source,
                                           AssociatorsFilter(wanted, provider), results));
  }
}

void Call::References() {
  const Parameters parameters(request_, {"ObjectName", "ResultClass", "Role", "IncludeQualifiers",
                                         "IncludeClassOrigin", "PropertyList"});
  const Selection selection = SelectionOfInstances(parameters);
  const AssociationRequest wanted = ReferencesRequest(parameters);
  for (const auto& provider : manager_.AssociationProvidersFor(wanted.association_class)) {
    Results results([&](Instance&& association) {
      if (Admits(wanted, association.path)) EmitObject(association, selection);
    });
    results.Check(manager_.References(provider, wanted.source, ReferencesFilter(wanted, provider),
                                      selection.properties, results));
  }
}

void Call::ReferenceNames() {
  const Parameters parameters(request_, {"ObjectName", "ResultClass", "Role"});
  const AssociationRequest wanted = ReferencesRequest(parameters);
  for (const auto& provider : manager_.AssociationProvidersFor(wanted.association_class)) {
    Results results([&](ObjectPath&& association) {
      if (Admits(wanted, association)) EmitPath(association);
    });
    results.Check(manager_.ReferenceNames(provider, wanted.source,
                                          ReferencesFilter(wanted, provider), results));
  }
}

// ---------------------------------------------------------------------------------------------
// Methods

struct Method {
  std::string_view name;
  void (Call::*run)();
};

constexpr Method kMethods[] = {
    {"GetClass", &Call::GetClass},
    {"EnumerateClasses", &Call::EnumerateClasses},
    {"EnumerateClassNames", &Call::EnumerateClassNames},
    {"GetInstance", &Call::GetInstance},
    {"EnumerateInstances", &Call::EnumerateInstances},
    {"EnumerateInstanceNames", &Call::EnumerateInstanceNames},
    {"Associators", &Call::Associators},
    {"AssociatorNames", &Call::AssociatorNames},
    {"References", &Call::References},
    {"ReferenceNames", &Call::ReferenceNames},
};

const Method* FindMethod(const Request& request) {
  if (!request.intrinsic) return nullptr;
  const auto* found = std::find_if(
      std::begin(kMethods), std::end(kMethods),
      [&](const auto& method) { return EqualIgnoringCase(method.name, request.method); });
  return found != std::end(kMethods) ? found : nullptr;
}

void Run(const Method* method, Call& call, const Request& request) {
  if (method == nullptr) {
    throw CimError(CimCode::kNotSupported, fmt::format("{} is not supported", request.method));
  }
  if (!EqualIgnoringCase(request.name_space, kNameSpace)) {
    throw CimError(CimCode::kInvalidNamespace,
                   fmt::format("no namespace {}; there is {}", request.name_space, kNameSpace));
  }
  (call.*method->run)();
}

}  // namespace

void Answer(broker::ObjectManager& manager, const Request& request, const std::string& host,
            ByteSink& sink) {
  const Method* method = FindMethod(request);
  AnswerStream answer(request, method != nullptr ? method->name : request.method, sink);
  Call call(manager, request, host, answer);
  try {
    Run(method, call, request);
  } catch (const StreamBroken&) {
    throw;
  } catch (const CimError& error) {
    return answer.Fail(error);
  } catch (const std::exception& error) {
    return answer.Fail(CimError(CimCode::kFailed, error.what()));
  }
  answer.Finish();
}

}  // namespace wbem
