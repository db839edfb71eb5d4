#include "wbem/parameters.h"

#include <fmt/format.h>

#include <algorithm>

#include "cim/text.h"
#include "requests/path_completion.h"
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

// The keys as they are written. What is no text is a null: no key of the schema takes it.
cim::ObjectPath GivenPath(const InstanceName& name) {
  cim::ObjectPath path{std::nullopt, name.name_space, name.class_name, {}};
  for (const KeyBinding& binding : name.keys) {
    cim::Value value;
    if (const auto* literal = std::get_if<KeyLiteral>(&binding.value)) {
      const bool is_text = literal->kind == KeyLiteral::Kind::kString &&
                           (literal->type.empty() || EqualIgnoringCase(literal->type, "string"));
      if (is_text) value = literal->text;
    } else {
      value = GivenPath(*std::get<std::shared_ptr<const InstanceName>>(binding.value));
    }
    path.keys.emplace_back(binding.name, std::move(value));
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

cim::ObjectPath ToObjectPath(const InstanceName& name, const std::string& name_space) {
  const auto find_class = [](const std::string& class_name) -> const schema::Class& {
    const schema::Class* cls = schema::FindClass(class_name);
    if (cls == nullptr) Invalid(fmt::format("unknown class {}", class_name));
    return *cls;
  };
  try {
    return requests::CompletePath(GivenPath(name), {find_class, name_space});
  } catch (const requests::PathError& error) {
    Invalid(error.what());
  }
}

}  // namespace wbem
