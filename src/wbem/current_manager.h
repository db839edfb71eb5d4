// The object manager that requests are answered by. When the host has changed, it is closed and
// opened anew, with the provider library in it, before the next request is answered. Requests that
// are being answered end on the old one first, so that the library is never there twice and no
// request sees a part of either.
//
// Thread rule: thread-safe.

#ifndef WBEM_CURRENT_MANAGER_H_
#define WBEM_CURRENT_MANAGER_H_

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>

#include "broker/object_manager.h"

namespace wbem {

struct RenewalTimes {
  // Since the last change: functions come and go in bursts, and the middle of one is no host. And
  // since the first change, however long the burst.
  std::chrono::milliseconds quiet{100};
  std::chrono::milliseconds longest_burst{2'000};
  // How long the next requests wait for those that are being answered. Where a slow client keeps
  // one of them, they are answered by the old manager, and it is tried again after the pause.
  std::chrono::milliseconds patience{500};
  std::chrono::milliseconds pause{5'000};
};

class CurrentManager {
 public:
  using Open = std::function<std::shared_ptr<broker::ObjectManager>()>;

  // Opens the first one. Throws what `open` throws.
  explicit CurrentManager(Open open, RenewalTimes times = {});

  CurrentManager(const CurrentManager&) = delete;
  CurrentManager& operator=(const CurrentManager&) = delete;

  // The manager, for one request.
  class Loan {
   public:
    explicit Loan(CurrentManager& owner) : owner_(owner) {}
    ~Loan() { owner_.TakeBack(); }
    Loan(const Loan&) = delete;
    Loan& operator=(const Loan&) = delete;

    broker::ObjectManager& operator*() const { return *owner_.manager_; }

   private:
    CurrentManager& owner_;
  };

  // Waits while it is opened anew. Throws what `open` throws; the next request tries again.
  Loan Borrow();

  // The host has changed.
  void MarkStale();

 private:
  using Clock = std::chrono::steady_clock;
  using Lock = std::unique_lock<std::mutex>;

  void TakeBack();
  void AwaitQuiet(Lock& lock);
  bool AwaitLoans(Lock& lock);
  void Renew(Lock& lock);

  const Open open_;
  const RenewalTimes times_;

  std::mutex mutex_;
  std::condition_variable changed_;
  std::shared_ptr<broker::ObjectManager> manager_;  // stays while there are loans
  std::size_t loans_ = 0;
  bool is_stale_ = false;
  bool is_renewing_ = false;
  Clock::time_point first_change_;
  Clock::time_point last_change_;
  Clock::time_point not_before_;  // a renewal
};

}  // namespace wbem

#endif  // WBEM_CURRENT_MANAGER_H_
