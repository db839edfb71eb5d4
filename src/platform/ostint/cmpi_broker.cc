#include "platform/ostint/cmpi_broker.h"

#include <new>

namespace ostInt {

pthread_key_t call_broker_key;

namespace {

class KeyOfCallBroker {
 public:
  KeyOfCallBroker() : made_(pthread_key_create(&call_broker_key, nullptr) == 0) {}
  ~KeyOfCallBroker() {
    if (made_) pthread_key_delete(call_broker_key);
  }
  KeyOfCallBroker(const KeyOfCallBroker&) = delete;
  KeyOfCallBroker& operator=(const KeyOfCallBroker&) = delete;

  bool made() const { return made_; }

 private:
  const bool made_;
};

const KeyOfCallBroker key_of_call_broker;

}  // namespace

BrokerScope::BrokerScope(const CMPIBroker* broker) : outer_(nullptr) {
  if (!key_of_call_broker.made()) throw std::bad_alloc();
  outer_ = CallBroker();
  if (pthread_setspecific(call_broker_key, broker) != 0) throw std::bad_alloc();
}

BrokerScope::~BrokerScope() { (void)pthread_setspecific(call_broker_key, outer_); }

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
