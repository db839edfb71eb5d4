// CMPIInstance.

#include "broker/entry.h"
#include "broker/object_manager.h"
#include "broker/provider_objects.h"
#include "broker/tables.h"
#include "cim/text.h"

namespace broker {

namespace {

// A clone is a region by itself: independent of any call, until its release.
CMPIStatus Release(CMPIInstance* inst) {
  auto* instance = Use<InstanceObject>(inst, "CMPIInstance.release");
  if (instance == nullptr) return Answer(CMPI_RC_ERR_INVALID_HANDLE);
  ObjectManager& manager = instance->state.region->manager();
  if (instance->state.clone_root) {
    manager.EndClone(*instance->state.region);
  } else if (manager.checking()) {
    KillObject(instance->state);
  }
  return Answer(CMPI_RC_OK);
}

CMPIInstance* Clone(const CMPIInstance* inst, CMPIStatus* rc) {
  const auto* instance = Use<InstanceObject>(inst, "CMPIInstance.clone");
  if (instance == nullptr) {
    return Answer(rc, CMPI_RC_ERR_INVALID_HANDLE, static_cast<CMPIInstance*>(nullptr));
  }
  ObjectManager& manager = instance->state.region->manager();
  Region& region = manager.NewCloneRegion();
  try {
    InstanceObject* copy = Copy(region, *instance);
    copy->state.clone_root = true;
    return Made(rc, copy);
  } catch (...) {
    manager.EndClone(region);
    throw;
  }
}

CMPIData GetProperty(const CMPIInstance* inst, const char* name, CMPIStatus* rc) {
  const auto* instance = Use<InstanceObject>(inst, "CMPIInstance.getProperty");
  if (instance == nullptr) return Unusable(rc);
  return NamedByName(instance->properties, name, rc, "CMPIInstance.getProperty");
}

// Whether the instance's class has the property with that type; reports where it has not.
CMPIrc CheckAgainstClass(const InstanceObject& instance, const char* name, CMPIType type,
                         const cim::schema::Property* declared, const char* function) {
  if (instance.cls == nullptr) return CMPI_RC_OK;
  const auto report = [&](const std::string& text) {
    ReportMisuse(function, std::string(instance.cls->name) + "." + name + ": " + text);
  };
  if (declared == nullptr) {
    report("the class has no such property");
    return CMPI_RC_ERR_NO_SUCH_PROPERTY;
  }
  if (type == CMPI_null || KeptType(type) == declared->type) return CMPI_RC_OK;
  report(cim::TypeName(type) + " where the class says " + cim::TypeName(declared->type));
  return CMPI_RC_ERR_TYPE_MISMATCH;
}

CMPIStatus SetProperty(const CMPIInstance* inst, const char* name, const CMPIValue* value,
                       CMPIType type) {
  constexpr const char* kFunction = "CMPIInstance.setProperty";
  auto* instance = Use<InstanceObject>(inst, kFunction);
  if (instance == nullptr) return Answer(CMPI_RC_ERR_INVALID_HANDLE);
  if (name == nullptr) {
    ReportMisuse(kFunction, "a null name");
    return Answer(CMPI_RC_ERR_INVALID_PARAMETER);
  }
  const cim::schema::Property* declared =
      instance->cls != nullptr ? cim::schema::FindProperty(*instance->cls, name) : nullptr;
  CMPIrc code = CheckAgainstClass(*instance, name, type, declared, kFunction);
  if (code != CMPI_RC_OK) return Answer(code);
  Region& region = *instance->state.region;
  CMPIData taken;
  code = TakeValue(region, value, type, kFunction, &taken);
  if (code != CMPI_RC_OK) return Answer(code);
  if (type == CMPI_null && declared != nullptr) taken.type = declared->type;
  if (declared != nullptr && declared->name == name) {
    // The name of a declared property is a constant: nothing to copy.
    SetNamedConstant(region, instance->properties, declared->name, taken);
  } else {
    SetNamed(region, instance->properties, name, taken);
  }
  return Answer(CMPI_RC_OK);
}

CMPIObjectPath* GetObjectPath(const CMPIInstance* inst, CMPIStatus* rc) {
  const auto* instance = Use<InstanceObject>(inst, "CMPIInstance.getObjectPath");
  if (instance == nullptr) {
    return Answer(rc, CMPI_RC_ERR_INVALID_HANDLE, static_cast<CMPIObjectPath*>(nullptr));
  }
  return Made(rc, Copy(RegionFor(instance->state), *instance->path));
}

bool IsListed(const char** list, std::string_view name) {
  for (; list != nullptr && *list != nullptr; ++list) {
    if (cim::EqualIgnoringCase(*list, name)) return true;
  }
  return false;
}

bool IsKey(const InstanceObject& instance, std::string_view name) {
  if (instance.path->keys.Find(name) != nullptr) return true;
  const cim::schema::Property* declared =
      instance.cls != nullptr ? cim::schema::FindProperty(*instance.cls, name) : nullptr;
  return declared != nullptr && declared->key;
}

// Object managers keep the keys, listed or not.
CMPIStatus SetPropertyFilter(CMPIInstance* inst, const char** listed, const char** keys) {
  auto* instance = Use<InstanceObject>(inst, "CMPIInstance.setPropertyFilter");
  if (instance == nullptr) return Answer(CMPI_RC_ERR_INVALID_HANDLE);
  if (listed == nullptr) return Answer(CMPI_RC_OK);
  NamedList& properties = instance->properties;
  std::uint32_t kept = 0;
  for (const NamedData& property : properties) {
    if (IsListed(listed, property.name) || IsListed(keys, property.name) ||
        IsKey(*instance, property.name)) {
      properties.items[kept++] = property;
    }
  }
  properties.size = kept;
  return Answer(CMPI_RC_OK);
}

}  // namespace

CMPIInstanceFT instance_table = {
    CMPIVersion200,     Entry<Release>,       Entry<Clone>,
    Entry<GetProperty>, kNotSupported,        kNotSupported,
    Entry<SetProperty>, Entry<GetObjectPath>, Entry<SetPropertyFilter>,
    kNotSupported,      kNotSupported,
};

}  // namespace broker
