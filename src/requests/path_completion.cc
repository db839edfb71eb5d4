#include "requests/path_completion.h"

#include <fmt/format.h>

#include <optional>
#include <utility>
#include <vector>

#include "cim/text.h"
#include "cim/wbem_uri.h"

namespace requests {
namespace {

using cim::EqualIgnoringCase;
using cim::ObjectPath;
using cim::Value;
using cim::schema::Class;
using cim::schema::Property;

template <class... Parts>
[[noreturn]] void Invalid(fmt::format_string<Parts...> text, Parts&&... parts) {
  throw PathError(CMPI_RC_ERR_INVALID_PARAMETER, fmt::format(text, std::forward<Parts>(parts)...));
}

ObjectPath Complete(const ObjectPath& given, const PathRules& rules, int depth);

ObjectPath Parse(const std::string& text) {
  try {
    return cim::ParseWbemUri(text);
  } catch (const cim::WbemUriError& error) {
    Invalid("\"{}\" is no object path: {}", text, error.what());
  }
}

Value CompleteValue(const Property& key, const Value& given, const PathRules& rules, int depth) {
  const ObjectPath* reference = given.reference();
  if (key.type != CMPI_ref) {
    // The keys of all classes in the schema are strings and references.
    if (given.text() == nullptr) Invalid("the key {} is a string", key.name);
    return given;
  }
  if (depth >= cim::kMaxReferenceDepth) Invalid("references nested too deeply");
  if (reference != nullptr) return Complete(*reference, rules, depth + 1);
  // Under a short class name the reader could not know that the text is a reference.
  if (rules.system != nullptr && given.text() != nullptr) {
    return Complete(Parse(*given.text()), rules, depth + 1);
  }
  Invalid("the key {} is a reference", key.name);
}

// The value that the key has in every instance of the class on this host.
std::optional<Value> KnownKey(const Class& cls, const Property& key, const ObjectPath& system) {
  if (EqualIgnoringCase(cls.name, system.class_name)) {
    if (const Value* value = system.Key(key.name)) return *value;
  }
  if (EqualIgnoringCase(key.name, "CreationClassName")) return Value(cls.name);
  if (EqualIgnoringCase(key.name, "SystemCreationClassName")) return Value(system.class_name);
  if (EqualIgnoringCase(key.name, "SystemName")) return *system.Key("Name");
  if (cim::schema::IsA(key.reference_class, "CIM_System")) return Value(system);
  return std::nullopt;
}

void CheckNamespace(const ObjectPath& given, const PathRules& rules) {
  if (given.name_space.empty() || EqualIgnoringCase(given.name_space, rules.name_space)) return;
  throw PathError(
      CMPI_RC_ERR_INVALID_NAMESPACE,
      fmt::format("there is no namespace \"{}\", only \"{}\"", given.name_space, rules.name_space));
}

// Which of the class's keys a given one means.
std::size_t PositionOf(const std::string& name, const Class& cls,
                       const std::vector<std::string_view>& keys) {
  for (std::size_t i = 0; i < keys.size(); ++i) {
    if (EqualIgnoringCase(name, keys[i]) || (name.empty() && keys.size() == 1)) return i;
  }
  Invalid("{} has no key property \"{}\"", cls.name, name);
}

ObjectPath Complete(const ObjectPath& given, const PathRules& rules, int depth) {
  CheckNamespace(given, rules);
  const Class& cls = rules.find_class(given.class_name);
  const std::vector<std::string_view> names = cim::schema::KeyNames(cls);
  std::vector<std::optional<Value>> values(names.size());
  for (const auto& [name, value] : given.keys) {
    const std::size_t position = PositionOf(name, cls, names);
    if (values[position]) Invalid("the key {} is given twice", names[position]);
    values[position] =
        CompleteValue(*cim::schema::FindProperty(cls, names[position]), value, rules, depth);
  }

  ObjectPath path{given.host, rules.name_space, std::string(cls.name), {}};
  for (std::size_t i = 0; i < names.size(); ++i) {
    std::optional<Value>& value = values[i];
    if (!value && rules.system == nullptr) Invalid("the key {} is missing", names[i]);
    if (!value) value = KnownKey(cls, *cim::schema::FindProperty(cls, names[i]), *rules.system);
    if (value) path.keys.emplace_back(names[i], *std::move(value));
  }
  return path;
}

}  // namespace

ObjectPath CompletePath(const ObjectPath& given, const PathRules& rules) {
  return Complete(given, rules, 0);
}

}  // namespace requests
