#include "cim/value.h"

#include <fmt/format.h>

#include <limits>
#include <type_traits>

#include "cim/text.h"
#include "cim/utf8.h"
#include "cim/wbem_uri.h"

namespace cim {

Value Value::Null(CMPIType type) {
  Value value;
  value.type_ = type;
  return value;
}

Value Value::ArrayOf(CMPIType element_type, Array elements) {
  Value value;
  value.type_ = static_cast<CMPIType>(element_type | CMPI_ARRAY);
  value.data_ = std::move(elements);
  return value;
}

Value::Value(ObjectPath reference)
    : type_(CMPI_ref), data_(std::make_shared<const ObjectPath>(std::move(reference))) {}

Value::Value(Instance embedded)
    : type_(CMPI_instance), data_(std::make_shared<const Instance>(std::move(embedded))) {}

const ObjectPath* Value::reference() const {
  const auto* held = get<std::shared_ptr<const ObjectPath>>();
  return held != nullptr ? held->get() : nullptr;
}

const Instance* Value::embedded_instance() const {
  const auto* held = get<std::shared_ptr<const Instance>>();
  return held != nullptr ? held->get() : nullptr;
}

namespace {

template <class T>
constexpr bool kIsInteger =
    std::is_integral_v<T> && !std::is_same_v<T, bool> && !std::is_same_v<T, char16_t>;

}  // namespace

std::optional<std::uint64_t> Value::as_unsigned() const {
  return std::visit(
      [](const auto& held) -> std::optional<std::uint64_t> {
        if constexpr (kIsInteger<std::decay_t<decltype(held)>>) {
          if (held >= 0) return static_cast<std::uint64_t>(held);
        }
        return std::nullopt;
      },
      data_);
}

std::optional<std::int64_t> Value::as_signed() const {
  return std::visit(
      [](const auto& held) -> std::optional<std::int64_t> {
        using T = std::decay_t<decltype(held)>;
        if constexpr (kIsInteger<T>) {
          constexpr auto kLargest = std::numeric_limits<std::int64_t>::max();
          if constexpr (std::is_same_v<T, std::uint64_t>) {
            if (held > static_cast<std::uint64_t>(kLargest)) return std::nullopt;
          }
          return static_cast<std::int64_t>(held);
        }
        return std::nullopt;
      },
      data_);
}

bool operator==(const Value& a, const Value& b) {
  if (a.type_ != b.type_ || a.data_.index() != b.data_.index()) return false;
  if (const ObjectPath* path = a.reference()) return *path == *b.reference();
  if (const Instance* instance = a.embedded_instance()) return *instance == *b.embedded_instance();
  return a.data_ == b.data_;
}

const Value* ObjectPath::Key(std::string_view name) const {
  for (const auto& [key, value] : keys) {
    if (EqualIgnoringCase(key, name)) return &value;
  }
  return nullptr;
}

bool operator==(const ObjectPath& a, const ObjectPath& b) {
  return a.host == b.host && a.name_space == b.name_space && a.class_name == b.class_name &&
         a.keys == b.keys;
}

const Value* Instance::Find(std::string_view name) const {
  for (const Property& property : properties) {
    if (EqualIgnoringCase(property.name, name)) return &property.value;
  }
  return nullptr;
}

bool operator==(const Instance& a, const Instance& b) {
  return a.path == b.path && a.properties == b.properties;
}

std::string TypeName(CMPIType type) {
  const char* suffix = (type & CMPI_ARRAY) != 0 ? "[]" : "";
  const char* name = "unknown";
  switch (type & ~CMPI_ARRAY) {
    case CMPI_null: name = "null"; break;
    case CMPI_boolean: name = "boolean"; break;
    case CMPI_char16: name = "char16"; break;
    case CMPI_real32: name = "real32"; break;
    case CMPI_real64: name = "real64"; break;
    case CMPI_uint8: name = "uint8"; break;
    case CMPI_uint16: name = "uint16"; break;
    case CMPI_uint32: name = "uint32"; break;
    case CMPI_uint64: name = "uint64"; break;
    case CMPI_sint8: name = "sint8"; break;
    case CMPI_sint16: name = "sint16"; break;
    case CMPI_sint32: name = "sint32"; break;
    case CMPI_sint64: name = "sint64"; break;
    case CMPI_instance: name = "instance"; break;
    case CMPI_ref: name = "reference"; break;
    case CMPI_args: name = "args"; break;
    case CMPI_enumeration: name = "enumeration"; break;
    case CMPI_string: name = "string"; break;
    case CMPI_chars: name = "chars"; break;
    case CMPI_dateTime: name = "datetime"; break;
    default: break;
  }
  return std::string(name) + suffix;
}

namespace {

std::string InstanceText(const Instance& instance) {
  std::string text = "instance of " + instance.path.class_name + " {";
  const char* separator = "";
  for (const Property& property : instance.properties) {
    text += separator + property.name + " = " + ToText(property.value);
    separator = ", ";
  }
  return text + "}";
}

std::string ArrayText(const Value::Array& elements) {
  std::string text = "{";
  const char* separator = "";
  for (const Value& element : elements) {
    text += separator + ToText(element);
    separator = ", ";
  }
  return text + "}";
}

}  // namespace

std::string ToText(const Value& value) {
  if (value.is_null()) return "NULL";
  if (const auto* text = value.text()) return *text;
  if (const auto* flag = value.get<bool>()) return *flag ? "TRUE" : "FALSE";
  if (const auto* letter = value.get<char16_t>()) return ToUtf8(*letter);
  if (const auto* time = value.get<DateTime>()) return time->text;
  if (const auto* number = value.get<float>()) return fmt::format("{}", *number);
  if (const auto* number = value.get<double>()) return fmt::format("{}", *number);
  if (const auto* elements = value.elements()) return ArrayText(*elements);
  if (const auto* path = value.reference()) return ToWbemUri(*path);
  if (const auto* instance = value.embedded_instance()) return InstanceText(*instance);
  if (const auto number = value.as_signed()) return fmt::format("{}", *number);
  return fmt::format("{}", *value.as_unsigned());
}

}  // namespace cim
