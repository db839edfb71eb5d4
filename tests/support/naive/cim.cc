#include "support/naive/cim.h"

#include <cctype>
#include <cstdint>
#include <utility>

#include "cim/wbem_uri.h"
#include "support/naive_providers.h"

namespace naive {

using broker::PropertyList;
using cim::Instance;
using cim::ObjectPath;
using cim::Value;

namespace {

const Value& ReadKey(const ObjectPath& path, const char* name) {
  for (const auto& [key, value] : path.keys) {
    if (SameName(key, name) && !value.is_null()) return value;
  }
  throw Status{CMPI_RC_ERR_NO_SUCH_PROPERTY, true};
}

}  // namespace

[[noreturn]] void NotFound() { throw Status{CMPI_RC_ERR_NOT_FOUND, false}; }

std::string Lower(const std::string& text) {
  std::string lower;
  for (const char character : text) {
    lower += static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
  }
  return lower;
}

bool SameName(const std::string& left, const std::string& right) {
  return Lower(left) == Lower(right);
}

Value Uint8(int value) { return static_cast<std::uint8_t>(value); }
Value Uint16(int value) { return static_cast<std::uint16_t>(value); }

void Set(Instance& instance, const char* name, Value value) {
  instance.properties.push_back({name, std::move(value)});
}

Instance InstanceFrom(const ObjectPath& path) {
  Instance instance;
  instance.path = path;
  for (const auto& [name, value] : path.keys) instance.properties.push_back({name, value});
  return instance;
}

Instance Filtered(const Instance& instance, const PropertyList& properties) {
  if (!properties) return instance;
  Instance filtered;
  filtered.path = instance.path;
  for (const cim::Property& property : instance.properties) {
    bool kept = false;
    for (const std::string& listed : *properties) {
      if (SameName(listed, property.name)) kept = true;
    }
    for (const auto& [key, value] : instance.path.keys) {
      if (SameName(key, property.name)) kept = true;
    }
    if (kept) filtered.properties.push_back(property);
  }
  return filtered;
}

std::string ReadText(const ObjectPath& path, const char* name) {
  const Value& value = ReadKey(path, name);
  if (value.text() == nullptr) throw Status{CMPI_RC_ERR_TYPE_MISMATCH, true};
  return *value.text();
}

ObjectPath ReadReference(const ObjectPath& path, const char* name) {
  const Value& value = ReadKey(path, name);
  if (value.reference() == nullptr) throw Status{CMPI_RC_ERR_TYPE_MISMATCH, true};
  return *value.reference();
}

bool IsA(const ObjectPath& path, const std::string& class_name) {
  return SameName(path.class_name, class_name) || path.class_name == kSubclassPrefix + class_name;
}

bool SameValue(const Value& left, const Value& right) {
  if (left.is_null() || right.is_null()) return left.is_null() && right.is_null();
  if (left.reference() != nullptr && right.reference() != nullptr) {
    return SameElement(*left.reference(), *right.reference());
  }
  if (left.as_signed() && right.as_signed()) return left.as_signed() == right.as_signed();
  return left == right;
}

bool SameElement(const ObjectPath& left, const ObjectPath& right) {
  if (!SameName(left.class_name, right.class_name)) return false;
  if (!left.name_space.empty() && !right.name_space.empty() &&
      !SameName(left.name_space, right.name_space)) {
    return false;
  }
  if (left.keys.size() != right.keys.size()) return false;
  for (const auto& [name, value] : left.keys) {
    bool found = false;
    for (const auto& [other_name, other_value] : right.keys) {
      if (SameName(name, other_name) && SameValue(value, other_value)) found = true;
    }
    if (!found) return false;
  }
  return true;
}

std::string Text(const ObjectPath& path) {
  const std::string text = cim::ToWbemUri(path);
  return text.substr(0, text.find('\0'));
}

bool HasDash(const std::string& name) { return name.find('-') != std::string::npos; }

}  // namespace naive
