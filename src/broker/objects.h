// The CMPI objects themselves: the records that a provider sees, and behind each what the object
// manager keeps. All of them lie in regions and hold only what lies in the same region, so that an
// object is whole as long as its region lives; what comes from elsewhere is copied in.
//
// Thread rule: as regions.

#ifndef BROKER_OBJECTS_H_
#define BROKER_OBJECTS_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "broker/memory.h"
#include "cim/schema.h"
#include "cim/value.h"
#include "platform/cmpi/cmpi.h"

namespace broker {

struct StringObject {
  using Record = CMPIString;
  static constexpr ObjectKind kKind = ObjectKind::kString;

  CMPIString record;
  ObjectState state;
  std::size_t size;

  char* text() { return reinterpret_cast<char*>(this + 1); }  // null-terminated
  std::string_view view() const { return {reinterpret_cast<const char*>(this + 1), size}; }
};

// Text is held as CMPI_string, never as CMPI_chars.
struct ArrayObject {
  using Record = CMPIArray;
  static constexpr ObjectKind kKind = ObjectKind::kArray;

  CMPIArray record;
  ObjectState state;
  CMPIType element_type;
  CMPICount size;
  CMPIData* elements;
};

struct NamedData {
  std::string_view name;  // null-terminated
  CMPIData data;
};

// Values by name, in the order in which they were first set.
struct NamedList {
  NamedData* items = nullptr;
  std::uint32_t size = 0;
  std::uint32_t capacity = 0;

  NamedData* begin() const { return items; }
  NamedData* end() const { return items + size; }
  NamedData* Find(std::string_view name) const;  // ignoring case; nullptr where there is none
  // `name` must live as long as the region.
  NamedData& Append(Region& region, std::string_view name);
  void Reserve(Region& region, std::uint32_t count);
};

struct PathObject {
  using Record = CMPIObjectPath;
  static constexpr ObjectKind kKind = ObjectKind::kPath;

  CMPIObjectPath record;
  ObjectState state;
  std::string_view host;  // these three null-terminated; the host is empty while none is set
  std::string_view name_space;
  std::string_view class_name;
  NamedList keys;
};

struct InstanceObject {
  using Record = CMPIInstance;
  static constexpr ObjectKind kKind = ObjectKind::kInstance;

  CMPIInstance record;
  ObjectState state;
  PathObject* path;
  const cim::schema::Class* cls;  // null for a class that the tree does not know
  NamedList properties;
};

struct ContextObject {
  using Record = CMPIContext;
  static constexpr ObjectKind kKind = ObjectKind::kContext;

  CMPIContext record;
  ObjectState state;
};

struct EnumerationObject {
  using Record = CMPIEnumeration;
  static constexpr ObjectKind kKind = ObjectKind::kEnumeration;

  CMPIEnumeration record;
  ObjectState state;
  ArrayObject* elements;
  CMPICount position;
};

struct DateTimeObject {
  using Record = CMPIDateTime;
  static constexpr ObjectKind kKind = ObjectKind::kDateTime;
  static constexpr std::size_t kTextSize = 25;

  CMPIDateTime record;
  ObjectState state;
  char text[kTextSize + 1];
};

struct ResultObject {
  using Record = CMPIResult;
  static constexpr ObjectKind kKind = ObjectKind::kResult;

  CMPIResult record;
  ObjectState state;
  Call* call;
};

static_assert(offsetof(StringObject, state) == kStateOffset &&
              offsetof(PathObject, state) == kStateOffset &&
              offsetof(InstanceObject, state) == kStateOffset);

// ---------------------------------------------------------------------------------------------
// Making and copying, into `region`

StringObject* NewString(Region& region, std::string_view text);
ArrayObject* NewArray(Region& region, CMPICount size, CMPIType element_type);
PathObject* NewPath(Region& region, std::string_view name_space, std::string_view class_name);
// The keys of the path become the first properties, as object managers do.
InstanceObject* NewInstance(Region& region, const PathObject& path);
ContextObject* NewContext(Region& region);
EnumerationObject* NewEnumeration(Region& region, ArrayObject* elements);
// `text` must have the 25 characters of a CIM date.
DateTimeObject* NewDateTime(Region& region, std::string_view text);

CMPIData CopyData(Region& region, const CMPIData& data);
StringObject* Copy(Region& region, const StringObject& text);
ArrayObject* Copy(Region& region, const ArrayObject& array);
PathObject* Copy(Region& region, const PathObject& path);
InstanceObject* Copy(Region& region, const InstanceObject& instance);
DateTimeObject* Copy(Region& region, const DateTimeObject& time);

// `data` must lie in the region already. The name is copied, a constant one is not: it must live as
// long as the region and be null-terminated.
void SetNamed(Region& region, NamedList& list, std::string_view name, const CMPIData& data);
void SetNamedConstant(Region& region, NamedList& list, std::string_view name, const CMPIData& data);

// Whether a property or key may have this type: an element type or an array of one.
bool IsDataType(CMPIType type);
// The type as it is kept: text is CMPI_string.
constexpr CMPIType KeptType(CMPIType type) {
  return (type & ~CMPI_ARRAY) == CMPI_chars
             ? static_cast<CMPIType>(CMPI_string | (type & CMPI_ARRAY))
             : type;
}
inline CMPIData NullData(CMPIType type) { return {KeptType(type), CMPI_nullValue, {}}; }

// ---------------------------------------------------------------------------------------------
// From and to C++ values

CMPIData ToData(Region& region, const cim::Value& value);
PathObject* ToObject(Region& region, const cim::ObjectPath& path);
InstanceObject* ToObject(Region& region, const cim::Instance& instance);

cim::Value ToValue(const CMPIData& data);
cim::ObjectPath ToValue(const PathObject& path);
cim::Instance ToValue(const InstanceObject& instance);

// The path as a WBEM URI; nothing where references are nested too deeply to print.
std::optional<std::string> TextOf(const PathObject& path);

// "CMPIString" and so on: the name of the kind's record.
const char* RecordName(ObjectKind kind);

// The object behind a record that stands in a value that the object manager keeps.
template <class T>
T* Behind(typename T::Record* record) {
  return reinterpret_cast<T*>(record);
}

}  // namespace broker

#endif  // BROKER_OBJECTS_H_
