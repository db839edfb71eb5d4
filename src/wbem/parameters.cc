#include "wbem/parameters.h"

#include <fmt/format.h>

#include <algorithm>

#include "cim/text.h"
#include "cim/wbem_uri.h"
#include "wbem/cim_error.h"

namespace wbem {

namespace {

using cim::EqualIgnoringCase;
namespace schema = cim::schema;

[[noreturn]] void Invalid(const std::string& text) {
  throw CimError(CimCode::kInvalidParameter, text);
}

// The value where it is a T, nullptr where it is absent or null.
template <class T>
const T* ValueAs(const ParameterValue* value, std::string_view name) {
  if (value == nullptr || std::holds_alternative<NoValue>(*value)) return nullptr;
  const T* held = std::get_if<T>(value);
  if (held == nullptr) Invalid(fmt::format("{} is of the wrong type", name));
  return held;
}

template <class T>
const T& RequiredValue(const ParameterValue* value, std::string_view name) {
  if (const T* held = ValueAs<T>(value, name)) return *held;
  Invalid(fmt::format("{} is required", name));
}

// ---------------------------------------------------------------------------------------------
// Keys

cim::ObjectPath ReadPath(const InstanceName& name, const schema::Class& cls,
                         const std::string& name_space, int depth);

cim::Value ReadReference(const InstanceName& name, const std::string& name_space, int depth) {
  if (depth >= cim::kMaxReferenceDepth) Invalid("references nested too deeply");
  const schema::Class* cls = schema::FindClass(name.class_name);
  if (cls == nullptr) Invalid(fmt::format("a key refers to the unknown class {}", name.class_name));
  return ReadPath(name, *cls, name_space, depth + 1);
}

std::string ReadText(const KeyLiteral& literal, std::string_view key) {
  const bool is_text = literal.kind == KeyLiteral::Kind::kString &&
                       (literal.type.empty() || EqualIgnoringCase(literal.type, "string"));
  if (!is_text) Invalid(fmt::format("the key {} is a string", key));
  return literal.text;
}

// The keys of all classes in the schema are strings and references.
cim::Value ReadKey(const KeyBinding& binding, const schema::Property& key,
                   const std::string& name_space, int depth) {
  const bool is_reference = key.type == CMPI_ref;
  if (const auto* literal = std::get_if<KeyLiteral>(&binding.value)) {
    if (is_reference) Invalid(fmt::format("the key {} is a reference", key.name));
    return ReadText(*literal, key.name);
  }
  if (!is_reference) Invalid(fmt::format("the key {} is a string", key.name));
  return ReadReference(*std::get<std::shared_ptr<const InstanceName>>(binding.value), name_space,
                       depth);
}

const KeyBinding& BindingFor(const InstanceName& name, std::string_view key, bool only_key) {
  const auto names_key = [&](const KeyBinding& binding) {
    return EqualIgnoringCase(binding.name, key) || (only_key && binding.name.empty());
  };
  const auto found = std::find_if(name.keys.begin(), name.keys.end(), names_key);
  if (found == name.keys.end()) Invalid(fmt::format("the key {} is missing", key));
  return *found;
}

cim::ObjectPath ReadPath(const InstanceName& name, const schema::Class& cls,
                         const std::string& name_space, int depth) {
  const bool own_name_space =
      name.name_space.empty() || EqualIgnoringCase(name.name_space, name_space);
  cim::ObjectPath path;
  path.name_space = own_name_space ? name_space : name.name_space;
  path.class_name = cls.name;
  const auto keys = schema::KeyNames(cls);
  for (const std::string_view key : keys) {
    path.keys.emplace_back(key, ReadKey(BindingFor(name, key, keys.size() == 1),
                                        *schema::FindProperty(cls, key), name_space, depth));
  }
  // Every key has been found, so another number means one that is unknown or there twice.
  if (name.keys.size() != keys.size()) {
    Invalid(fmt::format("{} has {} keys, not {}", cls.name, keys.size(), name.keys.size()));
  }
  return path;
}

}  // namespace

Parameters::Parameters(const Request& request, std::initializer_list<std::string_view> known)
    : request_(request) {
  for (const Parameter& parameter : request.parameters) {
    const auto is_named = [&](std::string_view name) {
      return EqualIgnoringCase(name, parameter.name);
    };
    if (std::none_of(known.begin(), known.end(), is_named)) {
      Invalid(fmt::format("{} has no parameter {}", request.method, parameter.name));
    }
    if (Find(parameter.name) != &parameter.value) {
      Invalid(fmt::format("{} is given twice", parameter.name));
    }
  }
}

bool Parameters::Boolean(std::string_view name, bool if_absent) const {
  const ParameterValue* value = Find(name);
  if (value == nullptr) return if_absent;
  const auto& text = RequiredValue<std::string>(value, name);
  if (EqualIgnoringCase(text, "true")) return true;
  if (EqualIgnoringCase(text, "false")) return false;
  Invalid(fmt::format("{} is neither TRUE nor FALSE", name));
}

std::optional<std::string> Parameters::Text(std::string_view name) const {
  const auto* text = ValueAs<std::string>(Find(name), name);
  return text != nullptr ? std::optional(*text) : std::nullopt;
}

std::optional<std::vector<std::string>> Parameters::List(std::string_view name) const {
  const auto* list = ValueAs<std::vector<std::string>>(Find(name), name);
  return list != nullptr ? std::optional(*list) : std::nullopt;
}

std::optional<std::string> Parameters::Class(std::string_view name) const {
  const auto* cls = ValueAs<ClassName>(Find(name), name);
  return cls != nullptr ? std::optional(cls->name) : std::nullopt;
}

std::string Parameters::RequiredClass(std::string_view name) const {
  return RequiredValue<ClassName>(Find(name), name).name;
}

const InstanceName& Parameters::RequiredInstance(std::string_view name) const {
  return RequiredValue<InstanceName>(Find(name), name);
}

const InstanceName* Parameters::InstanceOrClass(std::string_view name) const {
  const ParameterValue* value = Find(name);
  if (value != nullptr && std::holds_alternative<ClassName>(*value)) return nullptr;
  return &RequiredValue<InstanceName>(value, name);
}

const ParameterValue* Parameters::Find(std::string_view name) const {
  for (const Parameter& parameter : request_.parameters) {
    if (EqualIgnoringCase(parameter.name, name)) return &parameter.value;
  }
  return nullptr;
}

cim::ObjectPath ToObjectPath(const InstanceName& name, const schema::Class& cls,
                             const std::string& name_space) {
  return ReadPath(name, cls, name_space, 0);
}

}  // namespace wbem
