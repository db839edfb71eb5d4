#include "tool/naive_json.h"

#include <string>
#include <utility>

#include "cim/utf8.h"
#include "tool/utf8_text.h"

namespace tool {

using cim::Instance;
using cim::ObjectPath;
using cim::Value;

namespace {

Json ScalarToJson(const Value& value) {
  if (const bool* truth = value.get<bool>()) return *truth;
  if (const char16_t* letter = value.get<char16_t>()) return ValidUtf8(cim::ToUtf8(*letter));
  if (const float* single = value.get<float>()) return *single;
  if (const double* real = value.get<double>()) return *real;
  if (const auto number = value.as_unsigned()) return *number;
  if (const auto number = value.as_signed()) return *number;
  if (const auto* time = value.get<cim::DateTime>()) return ValidUtf8(time->text);
  if (const std::string* text = value.text()) return ValidUtf8(*text);
  return nullptr;
}

}  // namespace

Json ToJson(const ObjectPath& path) {
  Json keys = Json::object();
  for (const auto& [name, value] : path.keys) keys[ValidUtf8(name)] = ToJson(value);
  Json json;
  if (path.host) json["host"] = ValidUtf8(*path.host);
  json["namespace"] = ValidUtf8(path.name_space);
  json["className"] = ValidUtf8(path.class_name);
  json["keys"] = std::move(keys);
  return json;
}

Json ToJson(const Instance& instance) {
  Json properties = Json::object();
  for (const cim::Property& property : instance.properties) {
    properties[ValidUtf8(property.name)] = ToJson(property.value);
  }
  Json json;
  json["path"] = ToJson(instance.path);
  json["properties"] = std::move(properties);
  return json;
}

Json ToJson(const Value& value) {
  if (const ObjectPath* reference = value.reference()) return ToJson(*reference);
  if (const Instance* embedded = value.embedded_instance()) return ToJson(*embedded);
  const Value::Array* elements = value.elements();
  if (elements == nullptr) return ScalarToJson(value);
  Json array = Json::array();
  for (const Value& element : *elements) array.push_back(ToJson(element));
  return array;
}

}  // namespace tool
