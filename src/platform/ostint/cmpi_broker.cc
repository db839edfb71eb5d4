#include "platform/ostint/cmpi_broker.h"

#include <atomic>

namespace ostInt {

namespace {

// Factories of different classes may run on different threads at once.
std::atomic<const CMPIBroker*> process_broker{nullptr};

// Brokers of CMPI 1.0 end before `mft`: the capability bit is looked at first.
const CMPIBrokerMemFT* MemoryTable(const CMPIBroker* broker) {
  const bool offered = (broker->bft->brokerCapabilities & CMPI_MB_Supports_MemEnhancements) != 0;
  return offered ? broker->mft : nullptr;
}

}  // namespace

void SetProcessBroker(const CMPIBroker* broker) {
  process_broker.store(broker, std::memory_order_release);
}

const CMPIBroker* ProcessBroker() { return process_broker.load(std::memory_order_acquire); }

void CmpiResult::returnData(const CmpiObjectPath& path) {
  ThrowUnlessOk(result_->ft->returnObjectPath(result_, path.raw()));
}

void CmpiResult::returnData(const CmpiInstance& instance) {
  ThrowUnlessOk(result_->ft->returnInstance(result_, instance.raw()));
}

void CmpiResult::returnDone() { ThrowUnlessOk(result_->ft->returnDone(result_)); }

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

CmpiElementScope::CmpiElementScope() {
  const CMPIBroker* broker = ProcessBroker();
  if (const CMPIBrokerMemFT* memory = MemoryTable(broker)) mark_ = memory->mark(broker, nullptr);
}

CmpiElementScope::~CmpiElementScope() {
  if (mark_ == nullptr) return;
  const CMPIBroker* broker = ProcessBroker();
  broker->mft->release(broker, mark_);
}

}  // namespace ostInt
