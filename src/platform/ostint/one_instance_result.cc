#include "platform/ostint/one_instance_result.h"

#include "platform/ostint/object_path_keys.h"

namespace ostInt {

namespace {

void Release(CMPIInstance* instance) {
  if (instance != nullptr) instance->ft->release(instance);
}

CMPIInstance* Clone(const CmpiInstance& instance) {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  CMPIInstance* clone = instance.raw()->ft->clone(instance.raw(), &status);
  return ThrowUnlessMade(clone, status, "clone");
}

}  // namespace

OneInstanceResult::OneInstanceResult(const CMPIResult* result, const CmpiObjectPath& asked)
    : CmpiResult(result), asked_(asked) {}

OneInstanceResult::~OneInstanceResult() { Release(chosen_); }

void OneInstanceResult::returnData(const CmpiInstance& instance) {
  if (has_asked_keys_) return;
  has_asked_keys_ = KeysAreIn(asked_, instance.objectPath());
  if (chosen_ != nullptr && !has_asked_keys_) return;
  Release(chosen_);
  chosen_ = nullptr;
  chosen_ = Clone(instance);
}

CmpiStatus OneInstanceResult::Deliver(const char** properties) {
  if (chosen_ == nullptr) return CMPI_RC_ERR_NOT_FOUND;
  CmpiInstance instance(chosen_);
  instance.setPropertyFilter(properties, nullptr);
  CmpiResult::returnData(instance);
  CmpiResult::returnDone();
  return CMPI_RC_OK;
}

}  // namespace ostInt
