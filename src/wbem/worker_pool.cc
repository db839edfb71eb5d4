#include "wbem/worker_pool.h"

#include <utility>

namespace wbem {

WorkerPool::WorkerPool(std::size_t threads, std::size_t max_waiting, Event& pressure)
    : max_waiting_(max_waiting), pressure_(pressure) {
  for (std::size_t i = 0; i < threads; ++i) threads_.emplace_back([this] { Work(); });
}

WorkerPool::~WorkerPool() { WorkerPool::shutdown(); }

void WorkerPool::enqueue(std::function<void()> task) {
  std::unique_lock lock(mutex_);
  room_.wait(lock, [this] { return waiting_.size() < max_waiting_ || ended_; });
  waiting_.push_back(std::move(task));
  if (waiting_.size() > idle_) pressure_.Set();
  work_.notify_one();
}

void WorkerPool::shutdown() {
  {
    const std::lock_guard lock(mutex_);
    ended_ = true;
    work_.notify_all();
    room_.notify_all();
  }
  for (std::thread& thread : threads_) {
    if (thread.joinable()) thread.join();
  }
}

void WorkerPool::Work() {
  std::function<void()> task;
  while (Take(task)) {
    task();
    task = nullptr;
  }
}

bool WorkerPool::Take(std::function<void()>& task) {
  std::unique_lock lock(mutex_);
  ++idle_;
  work_.wait(lock, [this] { return !waiting_.empty() || ended_; });
  --idle_;
  if (waiting_.empty()) return false;
  task = std::move(waiting_.front());
  waiting_.pop_front();
  if (waiting_.size() <= idle_) pressure_.Clear();
  room_.notify_one();
  return true;
}

}  // namespace wbem
