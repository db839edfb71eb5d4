#include "broker/objects.h"

#include <algorithm>
#include <cstring>

#include "broker/object_manager.h"
#include "broker/tables.h"
#include "cim/text.h"
#include "cim/wbem_uri.h"

namespace broker {

namespace {

const Tables& TablesOf(const Region& region) { return region.manager().tables(); }

template <class T, class Table>
T* NewWith(Region& region, Table* table, std::size_t extra = 0) {
  T* object = region.New<T>(extra);
  object->record = {object, table};
  return object;
}

std::string_view CopyView(Region& region, std::string_view text) {
  return {region.CopyText(text), text.size()};
}

NamedList CopyList(Region& region, const NamedList& from) {
  NamedList to;
  to.Reserve(region, from.size);
  for (const NamedData& item : from) {
    to.Append(region, CopyView(region, item.name)).data = CopyData(region, item.data);
  }
  return to;
}

}  // namespace

NamedData* NamedList::Find(std::string_view name) const {
  for (NamedData& item : *this) {
    if (cim::EqualIgnoringCase(item.name, name)) return &item;
  }
  return nullptr;
}

void NamedList::Reserve(Region& region, std::uint32_t count) {
  if (count <= capacity) return;
  auto* larger = region.AllocateArray<NamedData>(count);
  std::copy(begin(), end(), larger);
  items = larger;
  capacity = count;
}

NamedData& NamedList::Append(Region& region, std::string_view name) {
  if (size == capacity) Reserve(region, std::max(4U, 2 * capacity));
  NamedData& item = items[size++];
  item = {name, NullData(CMPI_null)};
  return item;
}

void SetNamed(Region& region, NamedList& list, std::string_view name, const CMPIData& data) {
  if (NamedData* held = list.Find(name)) {
    held->data = data;
  } else {
    list.Append(region, CopyView(region, name)).data = data;
  }
}

void SetNamedConstant(Region& region, NamedList& list, std::string_view name,
                      const CMPIData& data) {
  NamedData* held = list.Find(name);
  (held != nullptr ? *held : list.Append(region, name)).data = data;
}

StringObject* NewString(Region& region, std::string_view text) {
  auto* object = NewWith<StringObject>(region, TablesOf(region).string, text.size() + 1);
  object->size = text.size();
  if (!text.empty()) std::memcpy(object->text(), text.data(), text.size());
  object->text()[text.size()] = '\0';
  return object;
}

ArrayObject* NewArray(Region& region, CMPICount size, CMPIType element_type) {
  auto* object = NewWith<ArrayObject>(region, TablesOf(region).array);
  object->element_type = KeptType(element_type);
  object->size = size;
  object->elements = region.AllocateArray<CMPIData>(size);
  std::fill_n(object->elements, size, NullData(element_type));
  return object;
}

PathObject* NewPath(Region& region, std::string_view name_space, std::string_view class_name) {
  auto* object = NewWith<PathObject>(region, TablesOf(region).path);
  object->host = "";
  object->name_space = CopyView(region, name_space);
  object->class_name = CopyView(region, class_name);
  return object;
}

InstanceObject* NewInstance(Region& region, const PathObject& path) {
  constexpr std::uint32_t kUsualProperties = 24;
  auto* object = NewWith<InstanceObject>(region, TablesOf(region).instance);
  object->path = Copy(region, path);
  object->cls = cim::schema::FindClass(path.class_name);
  const NamedList& keys = object->path->keys;
  object->properties.Reserve(region, keys.size + kUsualProperties);
  for (const NamedData& key : keys) object->properties.Append(region, key.name).data = key.data;
  return object;
}

ContextObject* NewContext(Region& region) {
  return NewWith<ContextObject>(region, TablesOf(region).context);
}

EnumerationObject* NewEnumeration(Region& region, ArrayObject* elements) {
  auto* object = NewWith<EnumerationObject>(region, TablesOf(region).enumeration);
  object->elements = elements;
  return object;
}

DateTimeObject* NewDateTime(Region& region, std::string_view text) {
  auto* object = NewWith<DateTimeObject>(region, TablesOf(region).date_time);
  std::copy_n(text.data(), std::min(text.size(), DateTimeObject::kTextSize), object->text);
  return object;
}

// ---------------------------------------------------------------------------------------------
// Copies

CMPIData CopyData(Region& region, const CMPIData& data) {
  CMPIData copy = data;
  if ((data.state & CMPI_nullValue) != 0) return copy;
  if ((data.type & CMPI_ARRAY) != 0) {
    copy.value.array = &Copy(region, *Behind<ArrayObject>(data.value.array))->record;
    return copy;
  }
  switch (data.type) {
    case CMPI_string:
      copy.value.string = &Copy(region, *Behind<StringObject>(data.value.string))->record;
      break;
    case CMPI_ref:
      copy.value.ref = &Copy(region, *Behind<PathObject>(data.value.ref))->record;
      break;
    case CMPI_instance:
      copy.value.inst = &Copy(region, *Behind<InstanceObject>(data.value.inst))->record;
      break;
    case CMPI_dateTime:
      copy.value.dateTime = &Copy(region, *Behind<DateTimeObject>(data.value.dateTime))->record;
      break;
    default: break;
  }
  return copy;
}

StringObject* Copy(Region& region, const StringObject& text) {
  return NewString(region, text.view());
}

ArrayObject* Copy(Region& region, const ArrayObject& array) {
  ArrayObject* copy = NewArray(region, array.size, array.element_type);
  for (CMPICount i = 0; i < array.size; ++i) {
    copy->elements[i] = CopyData(region, array.elements[i]);
  }
  return copy;
}

PathObject* Copy(Region& region, const PathObject& path) {
  PathObject* copy = NewPath(region, path.name_space, path.class_name);
  if (!path.host.empty()) copy->host = CopyView(region, path.host);
  copy->keys = CopyList(region, path.keys);
  return copy;
}

InstanceObject* Copy(Region& region, const InstanceObject& instance) {
  auto* copy = NewWith<InstanceObject>(region, TablesOf(region).instance);
  copy->path = Copy(region, *instance.path);
  copy->cls = instance.cls;
  copy->properties = CopyList(region, instance.properties);
  return copy;
}

DateTimeObject* Copy(Region& region, const DateTimeObject& time) {
  return NewDateTime(region, time.text);
}

bool IsDataType(CMPIType type) {
  switch (type & ~CMPI_ARRAY) {
    case CMPI_boolean:
    case CMPI_char16:
    case CMPI_real32:
    case CMPI_real64:
    case CMPI_uint8:
    case CMPI_uint16:
    case CMPI_uint32:
    case CMPI_uint64:
    case CMPI_sint8:
    case CMPI_sint16:
    case CMPI_sint32:
    case CMPI_sint64:
    case CMPI_instance:
    case CMPI_ref:
    case CMPI_string:
    case CMPI_chars:
    case CMPI_dateTime: return true;
    default: return false;
  }
}

// ---------------------------------------------------------------------------------------------
// From C++ values

namespace {

CMPIData ToArrayData(Region& region, const cim::Value& value) {
  const cim::Value::Array& elements = *value.elements();
  const auto element_type = static_cast<CMPIType>(value.type() & ~CMPI_ARRAY);
  ArrayObject* array = NewArray(region, static_cast<CMPICount>(elements.size()), element_type);
  for (std::size_t i = 0; i < elements.size(); ++i) {
    array->elements[i] = ToData(region, elements[i]);
  }
  CMPIData data{value.type(), CMPI_goodValue, {}};
  data.value.array = &array->record;
  return data;
}

}  // namespace

CMPIData ToData(Region& region, const cim::Value& value) {
  if (value.is_null()) return NullData(value.type());
  if (value.is_array()) return ToArrayData(region, value);
  CMPIData data{value.type(), CMPI_goodValue, {}};
  switch (value.type()) {
    case CMPI_boolean: data.value.boolean = *value.get<bool>() ? 1 : 0; break;
    case CMPI_char16: data.value.char16 = *value.get<char16_t>(); break;
    case CMPI_real32: data.value.real32 = *value.get<float>(); break;
    case CMPI_real64: data.value.real64 = *value.get<double>(); break;
    case CMPI_uint8: data.value.uint8 = *value.get<std::uint8_t>(); break;
    case CMPI_uint16: data.value.uint16 = *value.get<std::uint16_t>(); break;
    case CMPI_uint32: data.value.uint32 = *value.get<std::uint32_t>(); break;
    case CMPI_uint64: data.value.uint64 = *value.get<std::uint64_t>(); break;
    case CMPI_sint8: data.value.sint8 = *value.get<std::int8_t>(); break;
    case CMPI_sint16: data.value.sint16 = *value.get<std::int16_t>(); break;
    case CMPI_sint32: data.value.sint32 = *value.get<std::int32_t>(); break;
    case CMPI_sint64: data.value.sint64 = *value.get<std::int64_t>(); break;
    case CMPI_string: data.value.string = &NewString(region, *value.text())->record; break;
    case CMPI_ref: data.value.ref = &ToObject(region, *value.reference())->record; break;
    case CMPI_instance:
      data.value.inst = &ToObject(region, *value.embedded_instance())->record;
      break;
    default:
      data.value.dateTime = &NewDateTime(region, value.get<cim::DateTime>()->text)->record;
      break;
  }
  return data;
}

PathObject* ToObject(Region& region, const cim::ObjectPath& path) {
  PathObject* object = NewPath(region, path.name_space, path.class_name);
  if (path.host) object->host = CopyView(region, *path.host);
  for (const auto& [name, value] : path.keys) {
    SetNamed(region, object->keys, name, ToData(region, value));
  }
  return object;
}

InstanceObject* ToObject(Region& region, const cim::Instance& instance) {
  InstanceObject* object = NewInstance(region, *ToObject(region, instance.path));
  for (const cim::Property& property : instance.properties) {
    SetNamed(region, object->properties, property.name, ToData(region, property.value));
  }
  return object;
}

// ---------------------------------------------------------------------------------------------
// To C++ values

namespace {

cim::Value ToArrayValue(const CMPIData& data) {
  const ArrayObject& array = *Behind<ArrayObject>(data.value.array);
  cim::Value::Array elements;
  elements.reserve(array.size);
  for (CMPICount i = 0; i < array.size; ++i) elements.push_back(ToValue(array.elements[i]));
  return cim::Value::ArrayOf(array.element_type, std::move(elements));
}

}  // namespace

cim::Value ToValue(const CMPIData& data) {
  if ((data.state & CMPI_nullValue) != 0) return cim::Value::Null(data.type);
  if ((data.type & CMPI_ARRAY) != 0) return ToArrayValue(data);
  switch (data.type) {
    case CMPI_boolean: return cim::Value(data.value.boolean != 0);
    case CMPI_char16: return cim::Value(static_cast<char16_t>(data.value.char16));
    case CMPI_real32: return cim::Value(data.value.real32);
    case CMPI_real64: return cim::Value(data.value.real64);
    case CMPI_uint8: return cim::Value(std::uint8_t{data.value.uint8});
    case CMPI_uint16: return cim::Value(std::uint16_t{data.value.uint16});
    case CMPI_uint32: return cim::Value(std::uint32_t{data.value.uint32});
    case CMPI_uint64: return cim::Value(std::uint64_t{data.value.uint64});
    case CMPI_sint8: return cim::Value(std::int8_t{data.value.sint8});
    case CMPI_sint16: return cim::Value(std::int16_t{data.value.sint16});
    case CMPI_sint32: return cim::Value(std::int32_t{data.value.sint32});
    case CMPI_sint64: return cim::Value(std::int64_t{data.value.sint64});
    case CMPI_string: return cim::Value(Behind<StringObject>(data.value.string)->view());
    case CMPI_ref: return cim::Value(ToValue(*Behind<PathObject>(data.value.ref)));
    case CMPI_instance: return cim::Value(ToValue(*Behind<InstanceObject>(data.value.inst)));
    case CMPI_dateTime:
      return cim::Value(cim::DateTime{Behind<DateTimeObject>(data.value.dateTime)->text});
    default: return cim::Value::Null(data.type);
  }
}

cim::ObjectPath ToValue(const PathObject& path) {
  cim::ObjectPath value;
  if (!path.host.empty()) value.host = path.host;
  value.name_space = path.name_space;
  value.class_name = path.class_name;
  value.keys.reserve(path.keys.size);
  for (const NamedData& key : path.keys) value.keys.emplace_back(key.name, ToValue(key.data));
  return value;
}

cim::Instance ToValue(const InstanceObject& instance) {
  cim::Instance value;
  value.path = ToValue(*instance.path);
  value.properties.reserve(instance.properties.size);
  for (const NamedData& property : instance.properties) {
    value.properties.push_back({std::string(property.name), ToValue(property.data)});
  }
  return value;
}

std::optional<std::string> TextOf(const PathObject& path) {
  try {
    return cim::ToWbemUri(ToValue(path));
  } catch (const std::invalid_argument&) {
    return std::nullopt;
  }
}

const char* RecordName(ObjectKind kind) {
  switch (kind) {
    case ObjectKind::kString: return "CMPIString";
    case ObjectKind::kArray: return "CMPIArray";
    case ObjectKind::kPath: return "CMPIObjectPath";
    case ObjectKind::kInstance: return "CMPIInstance";
    case ObjectKind::kContext: return "CMPIContext";
    case ObjectKind::kResult: return "CMPIResult";
    case ObjectKind::kEnumeration: return "CMPIEnumeration";
    case ObjectKind::kDateTime: return "CMPIDateTime";
  }
  return "";
}

}  // namespace broker
