#include "platform/ostint/cmpi_broker.h"

#include "platform/ostint/object_path_keys.h"

namespace ostInt {

CmpiData CmpiEnumeration::getNext() {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const bool more = enumeration_->ft->hasNext(enumeration_, &status) != 0;
  ThrowUnlessOk(status);
  if (!more) return CmpiData::Null();
  CMPIData data = enumeration_->ft->getNext(enumeration_, &status);
  ThrowUnlessOk(status);
  // An element is there whose pointer is, though its state may say null (object_managers.h).
  data.state = static_cast<CMPIValueState>(data.state & ~CMPI_nullValue);
  return CmpiData(data);
}

bool CmpiBroker::FindOutKeyCopying(const CmpiInstance& instance, const CmpiObjectPath& path) const {
  const CMPICount count = KeyCount(path);
  if (count == 0) return true;  // there is nothing to copy, and nothing to learn
  CMPICount copied = 0;
  while (copied < count && instance.has(KeyAt(path, copied).name)) ++copied;
  key_copying_.store(copied == count ? KeyCopying::kYes : KeyCopying::kNo,
                     std::memory_order_relaxed);
  return copied == count;
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
