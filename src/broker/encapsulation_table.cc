// CMPIBrokerEncFT: factories of objects and helpers. Dates come in requests only, and there is no
// message catalogue.

#include <optional>
#include <string>

#include "broker/entry.h"
#include "broker/provider_objects.h"
#include "broker/tables.h"
#include "cim/schema.h"

namespace broker {

namespace {

// The factories are alike: take the call, refuse what is not there, make the object on top.
template <class T, class Make>
typename T::Record* New(const CMPIBroker* mb, const char* function, CMPIStatus* rc, Make make) {
  Call* call = CallFor(mb, function, rc);
  if (call == nullptr) return nullptr;
  T* object = make(call->region());
  if (object == nullptr) {
    SetCode(rc, CMPI_RC_ERR_INVALID_PARAMETER);
    return nullptr;
  }
  return Made(rc, object);
}

CMPIInstance* NewInstanceFor(const CMPIBroker* mb, const CMPIObjectPath* op, CMPIStatus* rc) {
  constexpr const char* kFunction = "CMPIBroker.newInstance";
  return New<InstanceObject>(mb, kFunction, rc, [&](Region& region) -> InstanceObject* {
    const auto* path = Use<PathObject>(op, kFunction);
    return path != nullptr ? NewInstance(region, *path) : nullptr;
  });
}

CMPIObjectPath* NewObjectPath(const CMPIBroker* mb, const char* ns, const char* cn,
                              CMPIStatus* rc) {
  constexpr const char* kFunction = "CMPIBroker.newObjectPath";
  return New<PathObject>(mb, kFunction, rc, [&](Region& region) -> PathObject* {
    if (cn == nullptr) {
      ReportMisuse(kFunction, "a null class name");
      return nullptr;
    }
    return NewPath(region, ns != nullptr ? ns : "", cn);
  });
}

CMPIString* NewText(const CMPIBroker* mb, const char* data, CMPIStatus* rc) {
  return New<StringObject>(mb, "CMPIBroker.newString", rc, [&](Region& region) {
    return NewString(region, data != nullptr ? data : "");
  });
}

CMPIArray* NewArrayOf(const CMPIBroker* mb, CMPICount max, CMPIType type, CMPIStatus* rc) {
  constexpr const char* kFunction = "CMPIBroker.newArray";
  return New<ArrayObject>(mb, kFunction, rc, [&](Region& region) -> ArrayObject* {
    // Some providers name the array's type, most the elements'.
    const auto element_type = static_cast<CMPIType>(type & ~CMPI_ARRAY);
    if (!IsDataType(element_type)) {
      ReportMisuse(kFunction, "elements of type " + cim::TypeName(type));
      return nullptr;
    }
    return NewArray(region, max, element_type);
  });
}

CMPIBoolean ClassPathIsA(const CMPIBroker*, const CMPIObjectPath* op, const char* type,
                         CMPIStatus* rc) {
  const auto* path = Use<PathObject>(op, "CMPIBroker.classPathIsA");
  if (path == nullptr) return Answer(rc, CMPI_RC_ERR_INVALID_HANDLE, CMPIBoolean{0});
  if (type == nullptr) {
    ReportMisuse("CMPIBroker.classPathIsA", "a null class name");
    return Answer(rc, CMPI_RC_ERR_INVALID_PARAMETER, CMPIBoolean{0});
  }
  const bool is_a = cim::schema::IsA(path->class_name, type);
  return Answer(rc, CMPI_RC_OK, static_cast<CMPIBoolean>(is_a));
}

std::optional<std::string> ObjectText(const void* object, ObjectKind kind) {
  switch (kind) {
    case ObjectKind::kPath: return TextOf(*static_cast<const PathObject*>(object));
    case ObjectKind::kInstance:
      return cim::ToText(cim::Value(ToValue(*static_cast<const InstanceObject*>(object))));
    default: return RecordName(kind);
  }
}

CMPIString* ObjectToString(const CMPIBroker* mb, const void* object, CMPIStatus* rc) {
  constexpr const char* kFunction = "CMPIBroker.toString";
  return New<StringObject>(mb, kFunction, rc, [&](Region& region) -> StringObject* {
    const ObjectState* state = UseAny(object, kFunction);
    if (state == nullptr) return nullptr;
    const auto text = ObjectText(object, state->kind);
    return text ? NewString(region, *text) : nullptr;
  });
}

}  // namespace

CMPIBrokerEncFT broker_encapsulation = {
    CMPIVersion200,      Entry<NewInstanceFor>, Entry<NewObjectPath>, kNotSupported, Entry<NewText>,
    Entry<NewArrayOf>,   kNotSupported,         kNotSupported,        kNotSupported, kNotSupported,
    Entry<ClassPathIsA>, Entry<ObjectToString>, kNotSupported,        kNotSupported, kNotSupported,
    kNotSupported,       kNotSupported,         kNotSupported,        kNotSupported, kNotSupported,
    kNotSupported,
};

}  // namespace broker
