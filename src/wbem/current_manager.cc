#include "wbem/current_manager.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace wbem {

CurrentManager::CurrentManager(Open open, RenewalTimes times)
    : open_(std::move(open)), times_(times), manager_(open_()) {}

CurrentManager::Loan CurrentManager::Borrow() {
  Lock lock(mutex_);
  changed_.wait(lock, [this] { return !is_renewing_; });
  if (!manager_ || (is_stale_ && Clock::now() >= not_before_)) Renew(lock);
  ++loans_;
  return Loan(*this);
}

void CurrentManager::TakeBack() {
  const std::lock_guard lock(mutex_);
  --loans_;
  changed_.notify_all();
}

void CurrentManager::MarkStale() {
  const std::lock_guard lock(mutex_);
  last_change_ = Clock::now();
  if (!std::exchange(is_stale_, true)) first_change_ = last_change_;
}

void CurrentManager::AwaitQuiet(Lock& lock) {
  while (true) {
    const auto end = std::min(last_change_ + times_.quiet, first_change_ + times_.longest_burst);
    if (Clock::now() >= end) return;
    changed_.wait_until(lock, end);
  }
}

bool CurrentManager::AwaitLoans(Lock& lock) {
  return changed_.wait_for(lock, times_.patience, [this] { return loans_ == 0; });
}

// Others wait until it is done.
void CurrentManager::Renew(Lock& lock) {
  is_renewing_ = true;
  AwaitQuiet(lock);
  if (AwaitLoans(lock)) {
    is_stale_ = false;  // what comes while it is opened may be missed
    lock.unlock();
    std::exception_ptr failure;
    try {
      manager_.reset();
      manager_ = open_();
    } catch (...) {
      failure = std::current_exception();
    }
    lock.lock();
    is_renewing_ = false;
    changed_.notify_all();
    if (failure) std::rethrow_exception(failure);
  } else {
    not_before_ = Clock::now() + times_.pause;
    is_renewing_ = false;
    changed_.notify_all();
  }
}

}  // namespace wbem
