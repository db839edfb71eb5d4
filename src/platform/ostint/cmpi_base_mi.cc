#include "platform/ostint/cmpi_base_mi.h"

#include "platform/ostint/drive.h"

namespace ostInt {

CmpiBaseMI::CmpiBaseMI(const CmpiBroker& broker, const CmpiContext& /*context*/)
    : broker_(broker) {}

CmpiBaseMI::~CmpiBaseMI() = default;

CmpiStatus CmpiBaseMI::initialize(const CmpiContext& /*context*/) { return CMPI_RC_OK; }
CmpiStatus CmpiBaseMI::cleanup(CmpiContext& /*context*/, bool /*terminating*/) {
  return CMPI_RC_OK;
}
bool CmpiBaseMI::isUnloadable() const { return true; }

namespace {

// Drops one use at its end, whether cleanup() has returned or thrown.
struct UseDrop {
  CmpiProviderBase* base;
  ~UseDrop() {
    if (base != nullptr) base->dropUse();
  }
};

}  // namespace

CMPIStatus CmpiBaseMI::DriveCleanup(const void* handle, const CMPIContext* context,
                                    CMPIBoolean terminating) {
  CmpiBaseMI* provider = ObjectBehind(handle);
  return Drive(provider, [&]() -> CmpiStatus {
    if (provider == nullptr) return CMPI_RC_OK;
    const UseDrop drop{provider->provider_base_};
    CmpiContext wrapped_context(context);
    return provider->cleanup(wrapped_context, terminating != 0);
  });
}

CMPIStatus CmpiBaseMI::driveBaseCleanup(CMPIInstanceMI* mi, const CMPIContext* context,
                                        CMPIBoolean terminating) {
  return DriveCleanup(mi->hdl, context, terminating);
}

CMPIStatus CmpiBaseMI::driveBaseCleanup(CMPIAssociationMI* mi, const CMPIContext* context,
                                        CMPIBoolean terminating) {
  return DriveCleanup(mi->hdl, context, terminating);
}

CmpiProviderBase::~CmpiProviderBase() { delete object_; }

void CmpiProviderBase::dropUse() {
  if (use_count_ > 0) --use_count_;
  if (use_count_ > 0 || object_ == nullptr || !object_->isUnloadable()) return;
  delete object_;
  object_ = nullptr;
  // Both records lead to the object, whichever of them was cleaned up last.
  if (instance_record_ != nullptr) instance_record_->hdl = nullptr;
  if (association_record_ != nullptr) association_record_->hdl = nullptr;
}

}  // namespace ostInt
