#include "platform/ostint/cmpi_broker.h"

namespace ostInt {

CmpiData CmpiEnumeration::getNext() {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const bool more = enumeration_->ft->hasNext(enumeration_, &status) != 0;
  ThrowUnlessOk(status);
  if (!more) return CmpiData::Null();
  const CMPIData data = enumeration_->ft->getNext(enumeration_, &status);
  ThrowUnlessOk(status);
  return CmpiData(data);
}

CmpiEnumeration CmpiBroker::enumInstanceNames(const CmpiContext& context,
                                              const CmpiObjectPath& path) const {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const CMPIEnumeration* found =
      broker_->bft->enumerateInstanceNames(broker_, context.raw(), path.raw(), &status);
  return CmpiEnumeration(ThrowUnlessMade(found, status, "enumerateInstanceNames"));
}

CmpiEnumeration CmpiBroker::enumInstances(const CmpiContext& context, const CmpiObjectPath& path,
                                          const char** properties) const {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const CMPIEnumeration* found =
      broker_->bft->enumerateInstances(broker_, context.raw(), path.raw(), properties, &status);
  return CmpiEnumeration(ThrowUnlessMade(found, status, "enumerateInstances"));
}

}  // namespace ostInt
