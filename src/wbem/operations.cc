#include "wbem/operations.h"

#include <fmt/format.h>

#include <algorithm>
#include <exception>
#include <functional>
#include <optional>
#include <set>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "cim/schema.h"
#include "cim/text.h"
#include "requests/operations.h"
#include "wbem/cim_error.h"
#include "wbem/cim_xml_writer.h"
#include "wbem/interop.h"
#include "wbem/parameters.h"

namespace wbem {

namespace {

using cim::EqualIgnoringCase;
using cim::Instance;
using cim::ObjectPath;
using requests::AssociationRequest;
namespace schema = cim::schema;

// Hands what the providers return to one of two functions.
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

 private:
  std::function<void(Instance&&)> on_instance_;
  std::function<void(ObjectPath&&)> on_path_;
};

void Check(const std::optional<requests::Failure>& failure) {
  if (failure) throw ErrorOf(failure->status);
}

// One request being answered.
class MethodCall {
 public:
  MethodCall(broker::ObjectManager& manager, const Request& request, const std::string& host,
             AnswerStream& answer)
      : manager_(manager),
        operations_(manager, requests::AfterFailure::kStop),
        request_(request),
        place_{host, IsInterop(request.name_space) ? request.name_space : kNameSpace},
        answer_(answer) {}

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

  // The same in the interop namespace.
  void GetInteropInstance();
  void EnumerateInteropInstances();
  void EnumerateInteropInstanceNames();

 private:
  static const schema::Class& KnownClass(const std::string& name, CimCode if_unknown);
  static Selection SelectionOfInstances(const Parameters& parameters);
  static Selection SelectionOfClasses(const Parameters& parameters);
  static std::vector<const schema::Class*> ClassesBelow(const Parameters& parameters);

  ObjectPath SourcePath(const Parameters& parameters) const;
  AssociationRequest AssociatorsRequest(const Parameters& parameters) const;
  AssociationRequest ReferencesRequest(const Parameters& parameters) const;

  std::vector<Instance> FindInterop(std::string_view class_name) const;
  void NamedInstance(const Instance& instance, const Selection& selection);

  Results Paths();
  Results Objects(const Selection& selection);

  broker::ObjectManager& manager_;
  const requests::Operations operations_;
  const Request& request_;
  Place place_;
  AnswerStream& answer_;
};

const schema::Class& MethodCall::KnownClass(const std::string& name, CimCode if_unknown) {
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

Selection MethodCall::SelectionOfClasses(const Parameters& parameters) {
  Selection selection;
  selection.local_only = parameters.Boolean("LocalOnly", true);
  selection.qualifiers = parameters.Boolean("IncludeQualifiers", true);
  selection.class_origin = parameters.Boolean("IncludeClassOrigin", false);
  return selection;
}

std::vector<const schema::Class*> MethodCall::ClassesBelow(const Parameters& parameters) {
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

void MethodCall::GetClass() {
  const Parameters parameters(request_, {"ClassName", "LocalOnly", "IncludeQualifiers",
                                         "IncludeClassOrigin", "PropertyList"});
  const std::string name = parameters.RequiredClass("ClassName");
  Selection selection = SelectionOfClasses(parameters);
  selection.properties = PropertyListOf(parameters);
  const schema::Class& cls = KnownClass(name, CimCode::kNotFound);
  answer_.Element([&](std::string& out) { AppendClass(out, cls, selection); });
}

void MethodCall::EnumerateClasses() {
  const Parameters parameters(request_, {"ClassName", "DeepInheritance", "LocalOnly",
                                         "IncludeQualifiers", "IncludeClassOrigin"});
  const Selection selection = SelectionOfClasses(parameters);
  for (const schema::Class* cls : ClassesBelow(parameters)) {
    answer_.Element([&](std::string& out) { AppendClass(out, *cls, selection); });
  }
}

void MethodCall::EnumerateClassNames() {
  const Parameters parameters(request_, {"ClassName", "DeepInheritance"});
  for (const schema::Class* cls : ClassesBelow(parameters)) {
    answer_.Element([&](std::string& out) { AppendClassName(out, cls->name); });
  }
}

// ---------------------------------------------------------------------------------------------
// Instances

Selection MethodCall::SelectionOfInstances(const Parameters& parameters) {
  parameters.Boolean("LocalOnly", true);
  parameters.Boolean("IncludeQualifiers", false);
  Selection selection;
  selection.class_origin = parameters.Boolean("IncludeClassOrigin", false);
  selection.properties = PropertyListOf(parameters);
  return selection;
}

void MethodCall::GetInstance() {
  const Parameters parameters(request_, {"InstanceName", "LocalOnly", "IncludeQualifiers",
                                         "IncludeClassOrigin", "PropertyList"});
  const Selection selection = SelectionOfInstances(parameters);
  const InstanceName& name = parameters.RequiredInstance("InstanceName");
  const schema::Class& cls = KnownClass(name.class_name, CimCode::kInvalidClass);
  std::vector<Instance> found;
  Check(
      operations_.GetInstance(ToObjectPath(name, place_.name_space), selection.properties, found));
  if (found.empty()) {
    throw CimError(CimCode::kNotFound, fmt::format("no such instance of {}", cls.name));
  }
  // Where several match alike, the first is the answer.
  answer_.Element([&](std::string& out) { AppendInstance(out, found.front(), selection, place_); });
}

void MethodCall::NamedInstance(const Instance& instance, const Selection& selection) {
  answer_.Element([&](std::string& out) {
    AppendWrapped(out, "VALUE.NAMEDINSTANCE", [&] {
      AppendInstanceName(out, instance.path, place_);
      AppendInstance(out, instance, selection, place_);
    });
  });
}

void MethodCall::EnumerateInstances() {
  const Parameters parameters(request_,
                              {"ClassName", "LocalOnly", "DeepInheritance", "IncludeQualifiers",
                               "IncludeClassOrigin", "PropertyList"});
  const std::string name = parameters.RequiredClass("ClassName");
  Selection selection = SelectionOfInstances(parameters);
  const bool deep = parameters.Boolean("DeepInheritance", true);
  const schema::Class& cls = KnownClass(name, CimCode::kInvalidClass);
  if (!deep) selection.known_to = &cls;

  Results results([&](Instance&& instance) { NamedInstance(instance, selection); });
  Check(operations_.EnumerateInstances(cls, selection.properties, results));
}

void MethodCall::EnumerateInstanceNames() {
  const Parameters parameters(request_, {"ClassName"});
  const schema::Class& cls =
      KnownClass(parameters.RequiredClass("ClassName"), CimCode::kInvalidClass);
  Results results([&](ObjectPath&& path) {
    answer_.Element([&](std::string& out) { AppendInstanceName(out, path, place_); });
  });
  Check(operations_.EnumerateInstanceNames(cls, results));
}

// ---------------------------------------------------------------------------------------------
// Associations

ObjectPath MethodCall::SourcePath(const Parameters& parameters) const {
  const InstanceName* name = parameters.InstanceOrClass("ObjectName");
  if (name == nullptr) {
    throw CimError(CimCode::kNotSupported, "associations between classes are not served");
  }
  return ToObjectPath(*name, place_.name_space);
}

// The name of a class that a filter may name.
std::optional<std::string> FilterClass(const Parameters& parameters, std::string_view parameter) {
  auto name = parameters.Class(parameter);
  if (name && schema::FindClass(*name) == nullptr) {
    throw CimError(CimCode::kInvalidParameter, fmt::format("unknown class {}", *name));
  }
  return name;
}

AssociationRequest MethodCall::AssociatorsRequest(const Parameters& parameters) const {
  return {SourcePath(parameters), FilterClass(parameters, "AssocClass"),
          FilterClass(parameters, "ResultClass"), parameters.Text("Role"),
          parameters.Text("ResultRole")};
}

AssociationRequest MethodCall::ReferencesRequest(const Parameters& parameters) const {
  return {SourcePath(parameters), FilterClass(parameters, "ResultClass"), std::nullopt,
          parameters.Text("Role"), std::nullopt};
}

Results MethodCall::Paths() {
  return Results([this](ObjectPath&& path) {
    answer_.Element([&](std::string& out) {
      AppendWrapped(out, "OBJECTPATH", [&] { AppendInstancePath(out, path, place_); });
    });
  });
}

// `selection` must outlive the results.
Results MethodCall::Objects(const Selection& selection) {
  return Results([this, &selection](Instance&& instance) {
    answer_.Element([&](std::string& out) {
      AppendWrapped(out, "VALUE.OBJECTWITHPATH", [&] {
        AppendInstancePath(out, instance.path, place_);
        AppendInstance(out, instance, selection, place_);
      });
    });
  });
}

void MethodCall::Associators() {
  const Parameters parameters(request_,
                              {"ObjectName", "AssocClass", "ResultClass", "Role", "ResultRole",
                               "IncludeQualifiers", "IncludeClassOrigin", "PropertyList"});
  const Selection selection = SelectionOfInstances(parameters);
  Results results = Objects(selection);
  Check(operations_.Associators(AssociatorsRequest(parameters), selection.properties, results));
}

void MethodCall::AssociatorNames() {
  const Parameters parameters(request_,
                              {"ObjectName", "AssocClass", "ResultClass", "Role", "ResultRole"});
  Results results = Paths();
  Check(operations_.AssociatorNames(AssociatorsRequest(parameters), results));
}

void MethodCall::References() {
  const Parameters parameters(request_, {"ObjectName", "ResultClass", "Role", "IncludeQualifiers",
                                         "IncludeClassOrigin", "PropertyList"});
  const Selection selection = SelectionOfInstances(parameters);
  Results results = Objects(selection);
  Check(operations_.References(ReferencesRequest(parameters), selection.properties, results));
}

void MethodCall::ReferenceNames() {
  const Parameters parameters(request_, {"ObjectName", "ResultClass", "Role"});
  Results results = Paths();
  Check(operations_.ReferenceNames(ReferencesRequest(parameters), results));
}

// ---------------------------------------------------------------------------------------------
// The interop namespace

std::vector<Instance> MethodCall::FindInterop(std::string_view class_name) const {
  return InteropInstances(class_name, *manager_.SystemPath().Key("Name")->text());
}

// Of properties by the names that the client gives them: the schema does not have these classes.
Selection InteropSelection(const Parameters& parameters) {
  Selection selection;
  selection.properties = parameters.List("PropertyList");
  return selection;
}

// Whether the client's keys are those of the path, in whatever order.
bool Names(const InstanceName& name, const ObjectPath& path) {
  return name.keys.size() == path.keys.size() &&
         std::all_of(name.keys.begin(), name.keys.end(), [&](const KeyBinding& key) {
           const cim::Value* value = path.Key(key.name);
           const auto* literal = std::get_if<KeyLiteral>(&key.value);
           return value != nullptr && literal != nullptr && literal->text == *value->text();
         });
}

void MethodCall::GetInteropInstance() {
  const Parameters parameters(request_, {"InstanceName", "LocalOnly", "IncludeQualifiers",
                                         "IncludeClassOrigin", "PropertyList"});
  const InstanceName& name = parameters.RequiredInstance("InstanceName");
  const Selection selection = InteropSelection(parameters);
  for (const Instance& instance : FindInterop(name.class_name)) {
    if (!Names(name, instance.path)) continue;
    answer_.Element([&](std::string& out) { AppendInstance(out, instance, selection, place_); });
    return;
  }
  throw CimError(CimCode::kNotFound, fmt::format("no such instance of {}", name.class_name));
}

void MethodCall::EnumerateInteropInstances() {
  const Parameters parameters(request_,
                              {"ClassName", "LocalOnly", "DeepInheritance", "IncludeQualifiers",
                               "IncludeClassOrigin", "PropertyList"});
  const Selection selection = InteropSelection(parameters);
  for (const Instance& instance : FindInterop(parameters.RequiredClass("ClassName"))) {
    NamedInstance(instance, selection);
  }
}

void MethodCall::EnumerateInteropInstanceNames() {
  const Parameters parameters(request_, {"ClassName"});
  for (const Instance& instance : FindInterop(parameters.RequiredClass("ClassName"))) {
    answer_.Element([&](std::string& out) { AppendInstanceName(out, instance.path, place_); });
  }
}

// ---------------------------------------------------------------------------------------------
// Methods

struct Method {
  std::string_view name;
  void (MethodCall::*run)();
  void (MethodCall::*run_in_interop)() = nullptr;
};

constexpr Method kMethods[] = {
    {"GetClass", &MethodCall::GetClass},
    {"EnumerateClasses", &MethodCall::EnumerateClasses},
    {"EnumerateClassNames", &MethodCall::EnumerateClassNames},
    {"GetInstance", &MethodCall::GetInstance, &MethodCall::GetInteropInstance},
    {"EnumerateInstances", &MethodCall::EnumerateInstances, &MethodCall::EnumerateInteropInstances},
    {"EnumerateInstanceNames", &MethodCall::EnumerateInstanceNames,
     &MethodCall::EnumerateInteropInstanceNames},
    {"Associators", &MethodCall::Associators},
    {"AssociatorNames", &MethodCall::AssociatorNames},
    {"References", &MethodCall::References},
    {"ReferenceNames", &MethodCall::ReferenceNames},
};

const Method* FindMethod(const Request& request) {
  if (!request.intrinsic) return nullptr;
  const auto* found = std::find_if(
      std::begin(kMethods), std::end(kMethods),
      [&](const auto& method) { return EqualIgnoringCase(method.name, request.method); });
  return found != std::end(kMethods) ? found : nullptr;
}

void Run(const Method* method, MethodCall& call, const Request& request) {
  const bool in_interop = IsInterop(request.name_space);
  if (method == nullptr || (in_interop && method->run_in_interop == nullptr)) {
    throw CimError(CimCode::kNotSupported, fmt::format("{} is not supported", request.method));
  }
  if (!in_interop && !EqualIgnoringCase(request.name_space, kNameSpace)) {
    throw CimError(CimCode::kInvalidNamespace,
                   fmt::format("no namespace {}; there is {}", request.name_space, kNameSpace));
  }
  (call.*(in_interop ? method->run_in_interop : method->run))();
}

}  // namespace

Outcome Answer(broker::ObjectManager& manager, const Request& request, const std::string& host,
               ByteSink& sink) {
  const Method* method = FindMethod(request);
  AnswerStream answer(request, method != nullptr ? method->name : request.method, sink);
  MethodCall call(manager, request, host, answer);
  try {
    Run(method, call, request);
    answer.Finish();
  } catch (const StreamBroken&) {
    throw;
  } catch (const CimError& error) {
    answer.Fail(error);
  } catch (const std::exception& error) {
    answer.Fail(CimError(CimCode::kFailed, error.what()));
  }
  return answer.outcome();
}

}  // namespace wbem
