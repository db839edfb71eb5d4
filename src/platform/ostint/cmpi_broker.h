// The object manager as a provider sees it: up-calls, results, contexts, and the memory scope of
// one element.
//
// Thread rule: a CmpiBroker may be used from many threads at once; results, contexts and
// enumerations belong to one call.
// Errors: every operation throws CmpiStatus when the CMPI call behind it fails.

#ifndef PLATFORM_OSTINT_CMPI_BROKER_H_
#define PLATFORM_OSTINT_CMPI_BROKER_H_

#include <atomic>
#include <utility>

#include "platform/cmpi/cmpi.h"
#include "platform/ostint/cmpi_data.h"
#include "platform/ostint/cmpi_object.h"

namespace ostInt {

class CmpiContext {
 public:
  explicit CmpiContext(const CMPIContext* context) : context_(context) {}
  const CMPIContext* raw() const { return context_; }

 private:
  const CMPIContext* context_;
};

// Takes the results of one operation, one at a time; the object manager copies each.
class CmpiResult {
 public:
  explicit CmpiResult(const CMPIResult* result) : result_(result) {}
  virtual ~CmpiResult() = default;
  CmpiResult(const CmpiResult&) = delete;
  CmpiResult& operator=(const CmpiResult&) = delete;

  void returnData(const CmpiObjectPath& path) {
    ThrowUnlessOk(result_->ft->returnObjectPath(result_, path.raw()));
  }
  virtual void returnData(const CmpiInstance& instance) {
    ThrowUnlessOk(result_->ft->returnInstance(result_, instance.raw()));
  }
  virtual void returnDone() { ThrowUnlessOk(result_->ft->returnDone(result_)); }

 private:
  const CMPIResult* result_;
};

// The answer to an up-call.
class CmpiEnumeration {
 public:
  explicit CmpiEnumeration(const CMPIEnumeration* enumeration) : enumeration_(enumeration) {}

  // The next element, or a null CmpiData when there is none (left).
  CmpiData getNext();

 private:
  const CMPIEnumeration* enumeration_;
};

class CmpiBroker {
 public:
  explicit CmpiBroker(const CMPIBroker* broker) : broker_(broker) {}
  // What was found out about the object manager stays behind.
  CmpiBroker(const CmpiBroker& other) : CmpiBroker(other.broker_) {}
  CmpiBroker& operator=(const CmpiBroker&) = delete;

  // Up-calls to whatever provider serves the class of `path`. The object manager's own status is
  // thrown when it refuses.
  CmpiEnumeration enumInstanceNames(const CmpiContext& context, const CmpiObjectPath& path) const;
  CmpiEnumeration enumInstances(const CmpiContext& context, const CmpiObjectPath& path,
                                const char** properties) const;

  // Whether new instances have their path's keys as properties. `instance` is a new one, made from
  // `path`: the first whose path has keys tells, and is asked no further question of.
  bool CopiesKeys(const CmpiInstance& instance, const CmpiObjectPath& path) const {
    const KeyCopying known = key_copying_.load(std::memory_order_relaxed);
    return known == KeyCopying::kYes ||
           (known == KeyCopying::kUnknown && FindOutKeyCopying(instance, path));
  }

  const CMPIBroker* raw() const { return broker_; }

 private:
  enum class KeyCopying : unsigned char { kUnknown, kYes, kNo };

  bool FindOutKeyCopying(const CmpiInstance& instance, const CmpiObjectPath& path) const;

  const CMPIBroker* broker_;
  // Threads that find it out at once find the same.
  mutable std::atomic<KeyCopying> key_copying_{KeyCopying::kUnknown};
};

// The broker of the call that this thread is in, or null outside of calls. Value classes make their
// objects with it, because their constructors take none. It is always the calling provider's own:
// some object managers give every provider a broker, and take it away with the provider.
[[gnu::tls_model("initial-exec")]] inline constinit thread_local const CmpiBroker* call_broker =
    nullptr;
inline const CMPIBroker* CallBroker() {
  return call_broker == nullptr ? nullptr : call_broker->raw();
}

// Makes a broker, which outlives the scope and may be null, that of this thread's call for as long
// as the scope lives. Scopes nest: an object manager may answer a provider's up-call by calling
// another provider on the same thread.
class BrokerScope {
 public:
  explicit BrokerScope(const CmpiBroker* broker) : outer_(std::exchange(call_broker, broker)) {}
  ~BrokerScope() { call_broker = outer_; }
  BrokerScope(const BrokerScope&) = delete;
  BrokerScope& operator=(const BrokerScope&) = delete;

 private:
  const CmpiBroker* outer_;
};

// Brackets one element of a walk: what the object manager made for the provider inside the scope is
// freed at its end, so that a long enumeration runs in flat memory. Does nothing where the broker
// offers no mark and release.
class CmpiElementScope {
 public:
  CmpiElementScope() {
    const CMPIBroker* broker = CallBroker();
    if (Offered(broker)) mark_ = broker->mft->mark(broker, nullptr);
  }
  ~CmpiElementScope() {
    if (mark_ == nullptr) return;
    const CMPIBroker* broker = CallBroker();
    broker->mft->release(broker, mark_);
  }
  CmpiElementScope(const CmpiElementScope&) = delete;
  CmpiElementScope& operator=(const CmpiElementScope&) = delete;

 private:
  // Brokers of CMPI 1.0 end before `mft`: the capability bit is looked at first.
  static bool Offered(const CMPIBroker* broker) {
    return (broker->bft->brokerCapabilities & CMPI_MB_Supports_MemEnhancements) != 0 &&
           broker->mft != nullptr;
  }

  CMPIGcStat* mark_ = nullptr;
};

}  // namespace ostInt

#endif  // PLATFORM_OSTINT_CMPI_BROKER_H_
