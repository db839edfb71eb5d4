#include "platform/ostint/cmpi_base_mi.h"

#include "platform/ostint/drive.h"

namespace ostInt {

CmpiBaseMI::CmpiBaseMI(const CmpiBroker& broker, const CmpiContext& /*context*/) : broker_(broker) {
  SetProcessBroker(broker.raw());
}

CmpiBaseMI::~CmpiBaseMI() = default;

CmpiStatus CmpiBaseMI::initialize(const CmpiContext& /*context*/) { return CMPI_RC_OK; }
CmpiStatus CmpiBaseMI::cleanup(CmpiContext& /*context*/, bool /*terminating*/) {
  return CMPI_RC_OK;
}
bool CmpiBaseMI::isUnloadable() const { return true; }

template <typename Mi>
CMPIStatus CmpiBaseMI::DriveCleanup(Mi* mi, const CMPIContext* context, CMPIBoolean terminating) {
  return Drive([&]() -> CmpiStatus {
    CmpiBaseMI* provider = ObjectBehind(mi->hdl);
    if (provider == nullptr) return CMPI_RC_OK;
    CmpiContext wrapped_context(context);
    CmpiStatus status = provider->cleanup(wrapped_context, terminating != 0);
    CmpiProviderBase* base = provider->provider_base_;
    if (base != nullptr && base->dropUse()) mi->hdl = nullptr;
    return status;
  });
}

CMPIStatus CmpiBaseMI::driveBaseCleanup(CMPIInstanceMI* mi, const CMPIContext* context,
                                        CMPIBoolean terminating) {
  return DriveCleanup(mi, context, terminating);
}

CMPIStatus CmpiBaseMI::driveBaseCleanup(CMPIAssociationMI* mi, const CMPIContext* context,
                                        CMPIBoolean terminating) {
  return DriveCleanup(mi, context, terminating);
}

CmpiProviderBase::~CmpiProviderBase() { delete object_; }

bool CmpiProviderBase::dropUse() {
  if (use_count_ > 0) --use_count_;
  if (use_count_ > 0 || object_ == nullptr || !object_->isUnloadable()) return false;
  delete object_;
  object_ = nullptr;
  return true;
}

}  // namespace ostInt
