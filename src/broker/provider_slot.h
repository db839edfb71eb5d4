// Where one provider record of one class stands: made when first needed, used by many requests at
// once, dropped when it is cleaned up and idle.
//
// Thread rule: thread-safe. Only making and dropping take the lock.

#ifndef BROKER_PROVIDER_SLOT_H_
#define BROKER_PROVIDER_SLOT_H_

#include <atomic>
#include <mutex>
#include <thread>
#include <utility>

#include "cim/status.h"

namespace broker {

template <class MI>
class ProviderSlot {
 public:
  // `mutex` is the one of the class: its factories and cleanups run one at a time, because the
  // provider object behind its records is one. Recursive, as a factory may ask for the other
  // record.
  explicit ProviderSlot(std::recursive_mutex& mutex) : mutex_(mutex) {}

  // While one stands, the record is not dropped.
  class Use {
   public:
    explicit Use(ProviderSlot& slot) : slot_(slot) { slot_.users_.fetch_add(1); }
    ~Use() { slot_.users_.fetch_sub(1); }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;

    // The record, made with `make` (Status(MI**)) where there is none; nullptr and its status where
    // that fails.
    template <class Make>
    MI* Get(Make make, cim::Status* status) {
      MI* record = slot_.record_.load();
      return record != nullptr ? record : slot_.GetOrMake(std::move(make), status);
    }

   private:
    ProviderSlot& slot_;
  };

  bool empty() const { return record_.load() == nullptr; }

  // Takes the record out and runs `drop` (bool(MI*)) on it; where that answers false the record
  // goes back. Answers whether there was one that nobody used.
  enum class Dropped { kYes, kNone, kInUse };
  template <class Drop>
  Dropped TryDrop(Drop drop) {
    const std::lock_guard lock(mutex_);
    MI* record = record_.exchange(nullptr);
    if (record == nullptr) return Dropped::kNone;
    // A request that came before the exchange is counted; one that comes after waits for the lock.
    if (users_.load() != 0) {
      record_.store(record);
      return Dropped::kInUse;
    }
    if (!drop(record)) record_.store(record);
    return Dropped::kYes;
  }

 private:
  template <class Make>
  MI* GetOrMake(Make make, cim::Status* status) {
    if (maker_.load() == std::this_thread::get_id()) {
      *status = {CMPI_RC_ERR_FAILED, "a provider asked for its own class while it was being made"};
      return nullptr;
    }
    const std::lock_guard lock(mutex_);
    if (MI* record = record_.load()) return record;
    const Making making(*this);
    MI* made = nullptr;
    *status = make(&made);
    record_.store(made);
    return made;
  }

  // This thread makes the record, until the end or an exception.
  struct Making {
    explicit Making(ProviderSlot& in) : slot(in) { slot.maker_.store(std::this_thread::get_id()); }
    ~Making() { slot.maker_.store(std::thread::id()); }
    Making(const Making&) = delete;
    Making& operator=(const Making&) = delete;
    ProviderSlot& slot;
  };

  std::recursive_mutex& mutex_;
  std::atomic<MI*> record_{nullptr};
  std::atomic<int> users_{0};
  std::atomic<std::thread::id> maker_{};
};

}  // namespace broker

#endif  // BROKER_PROVIDER_SLOT_H_
