// CIM values, object paths and instances as plain C++ values: what a caller of the object manager
// gives and gets. They own all that they hold and know nothing of CMPI memory.
//
// Thread rule: plain values; share them as const.

#ifndef CIM_VALUE_H_
#define CIM_VALUE_H_

#include <concepts>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "platform/cmpi/cmpi.h"

namespace cim {

struct ObjectPath;
struct Instance;

// A date and time or an interval in the text form of CIM (DSP0004, 5.2.4), unchecked.
struct DateTime {
  std::string text;
  bool operator==(const DateTime&) const = default;
};

// One CIM value with its type code, a null included: a null keeps the type that it would have.
class Value {
 public:
  using Array = std::vector<Value>;

  // A null without a type.
  Value() = default;
  static Value Null(CMPIType type);
  // An array: every element has the type `element_type` (or is null).
  static Value ArrayOf(CMPIType element_type, Array elements);

  // Exactly the CIM types: no integer is widened or narrowed on its way in, so that the type code
  // is the one that the caller spelt.
  template <class T>
  requires(std::same_as<T, bool> || std::same_as<T, char16_t> || std::same_as<T, std::uint8_t> ||
           std::same_as<T, std::uint16_t> || std::same_as<T, std::uint32_t> ||
           std::same_as<T, std::uint64_t> || std::same_as<T, std::int8_t> ||
           std::same_as<T, std::int16_t> || std::same_as<T, std::int32_t> ||
           std::same_as<T, std::int64_t> || std::same_as<T, float> || std::same_as<T, double>)
      Value(T value)
      : type_(TypeOf<T>()), data_(value) {}
  Value(std::string text) : type_(CMPI_string), data_(std::move(text)) {}
  Value(std::string_view text) : Value(std::string(text)) {}
  Value(const char* text) : Value(std::string(text)) {}
  Value(DateTime time) : type_(CMPI_dateTime), data_(std::move(time)) {}
  Value(ObjectPath reference);
  Value(Instance embedded);

  // CMPI_string for text (never CMPI_chars); CMPI_ARRAY is or-ed to the element type of an array.
  CMPIType type() const { return type_; }
  bool is_null() const { return std::holds_alternative<std::monostate>(data_); }
  bool is_array() const { return (type_ & CMPI_ARRAY) != 0; }

  // The held value, or nullptr where the value is of another type or null.
  template <class T>
  const T* get() const {
    return std::get_if<T>(&data_);
  }
  const std::string* text() const { return get<std::string>(); }
  const Array* elements() const { return get<Array>(); }
  const ObjectPath* reference() const;
  const Instance* embedded_instance() const;
  // Any unsigned or signed integer type that is not negative; nothing otherwise.
  std::optional<std::uint64_t> as_unsigned() const;
  // Any signed or unsigned integer type that fits.
  std::optional<std::int64_t> as_signed() const;

  // Same type and same value; references and embedded instances by what they hold.
  friend bool operator==(const Value& a, const Value& b);

 private:
  using Data = std::variant<std::monostate, bool, char16_t, std::uint8_t, std::uint16_t,
                            std::uint32_t, std::uint64_t, std::int8_t, std::int16_t, std::int32_t,
                            std::int64_t, float, double, std::string, DateTime, Array,
                            std::shared_ptr<const ObjectPath>, std::shared_ptr<const Instance>>;

  template <class T>
  static constexpr CMPIType TypeOf() {
    if constexpr (std::same_as<T, bool>) return CMPI_boolean;
    if constexpr (std::same_as<T, char16_t>) return CMPI_char16;
    if constexpr (std::same_as<T, std::uint8_t>) return CMPI_uint8;
    if constexpr (std::same_as<T, std::uint16_t>) return CMPI_uint16;
    if constexpr (std::same_as<T, std::uint32_t>) return CMPI_uint32;
    if constexpr (std::same_as<T, std::uint64_t>) return CMPI_uint64;
    if constexpr (std::same_as<T, std::int8_t>) return CMPI_sint8;
    if constexpr (std::same_as<T, std::int16_t>) return CMPI_sint16;
    if constexpr (std::same_as<T, std::int32_t>) return CMPI_sint32;
    if constexpr (std::same_as<T, std::int64_t>) return CMPI_sint64;
    if constexpr (std::same_as<T, float>) return CMPI_real32;
    if constexpr (std::same_as<T, double>) return CMPI_real64;
  }

  CMPIType type_ = CMPI_null;
  Data data_;
};

// A class path (no keys) or an instance path. Keys stand in the order in which they were set.
struct ObjectPath {
  std::optional<std::string> host;
  std::string name_space;
  std::string class_name;
  std::vector<std::pair<std::string, Value>> keys;

  // The key's value, its name compared ignoring case; nullptr where there is none.
  const Value* Key(std::string_view name) const;

  // Byte for byte and in the same order. Two paths that name the same element may still differ.
  friend bool operator==(const ObjectPath& a, const ObjectPath& b);
};

struct Property {
  std::string name;
  Value value;

  bool operator==(const Property&) const = default;
};

// Properties stand in the order in which they were set; the keys of the path come first.
struct Instance {
  ObjectPath path;
  std::vector<Property> properties;

  // The property's value, its name compared ignoring case; nullptr where there is none.
  const Value* Find(std::string_view name) const;

  friend bool operator==(const Instance& a, const Instance& b);
};

// The CIM name of a type code: "uint16", "string", "reference"; with "[]" for an array.
std::string TypeName(CMPIType type);

// The value as a person reads it: text without quotes, numbers in decimal, arrays as "{1, 2}", a
// reference as its WBEM URI, a null as "NULL".
std::string ToText(const Value& value);

}  // namespace cim

#endif  // CIM_VALUE_H_
