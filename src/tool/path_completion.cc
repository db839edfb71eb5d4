#include "tool/path_completion.h"

#include <fmt/format.h>

#include <optional>
#include <string>
#include <utility>

#include "cim/schema.h"
#include "cim/status.h"
#include "cim/text.h"
#include "cim/wbem_uri.h"
#include "tool/class_names.h"
#include "tool/errors.h"

namespace tool {
namespace {

using cim::ObjectPath;
using cim::Value;
using cim::schema::Class;

ObjectPath Complete(ObjectPath path, const ObjectPath& system);

ObjectPath Parse(std::string_view text) {
  try {
    return cim::ParseWbemUri(text);
  } catch (const cim::WbemUriError& error) {
    throw UsageError(fmt::format("\"{}\" is no object path: {}", text, error.what()));
  }
}

// Under a short class name the reader could not know that the text is a reference.
Value CompleteValue(const cim::schema::Property& key, Value value, const ObjectPath& system) {
  if (key.type != CMPI_ref) return value;
  if (const ObjectPath* reference = value.reference()) return Complete(*reference, system);
  if (const std::string* text = value.text()) return Complete(Parse(*text), system);
  throw UsageError(fmt::format("the key {} holds no object path", key.name));
}

// The value that the key has in every instance of the class on this host.
std::optional<Value> KnownKey(const Class& cls, const cim::schema::Property& key,
                              const ObjectPath& system) {
  using cim::EqualIgnoringCase;
  if (EqualIgnoringCase(cls.name, system.class_name)) {
    if (const Value* value = system.Key(key.name)) return *value;
  }
  if (EqualIgnoringCase(key.name, "CreationClassName")) return Value(cls.name);
  if (EqualIgnoringCase(key.name, "SystemCreationClassName")) return Value(system.class_name);
  if (EqualIgnoringCase(key.name, "SystemName")) return *system.Key("Name");
  if (cim::schema::IsA(key.reference_class, "CIM_System")) return Value(system);
  return std::nullopt;
}

void CheckNamespace(const ObjectPath& path, const ObjectPath& system) {
  if (path.name_space.empty() || cim::EqualIgnoringCase(path.name_space, system.name_space)) {
    return;
  }
  throw CommandError(fmt::format("{}: there is no namespace \"{}\", only \"{}\"",
                                 cim::StatusName(CMPI_RC_ERR_INVALID_NAMESPACE), path.name_space,
                                 system.name_space));
}

ObjectPath Complete(ObjectPath path, const ObjectPath& system) {
  CheckNamespace(path, system);
  const Class& cls = ResolveClass(path.class_name);
  path.name_space = system.name_space;
  path.class_name = cls.name;
  for (auto& [name, value] : path.keys) {
    const cim::schema::Property* key = cim::schema::FindProperty(cls, name);
    if (key == nullptr || !key->key) {
      throw UsageError(fmt::format("{} has no key property \"{}\"", cls.name, name));
    }
    name = key->name;
    value = CompleteValue(*key, std::move(value), system);
  }
  for (const std::string_view name : cim::schema::KeyNames(cls)) {
    if (path.Key(name) != nullptr) continue;
    const cim::schema::Property* key = cim::schema::FindProperty(cls, name);
    if (std::optional<Value> value = KnownKey(cls, *key, system)) {
      path.keys.emplace_back(name, *std::move(value));
    }
  }
  return path;
}

}  // namespace

ObjectPath ReadPath(std::string_view text, const ObjectPath& system) {
  return Complete(Parse(text), system);
}

}  // namespace tool
