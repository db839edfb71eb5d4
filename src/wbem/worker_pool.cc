#include "wbem/worker_pool.h"

#include <fmt/format.h>

#include <exception>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace wbem {

WorkerPool::WorkerPool(std::size_t threads) {
  threads_.reserve(threads);
  try {
    while (threads_.size() < threads) threads_.emplace_back([this] { Work(); });
  } catch (const std::system_error& error) {
    End();
    throw std::runtime_error(
        fmt::format("cannot start the server's threads: {}", error.code().message()));
  }
}

WorkerPool::~WorkerPool() { End(); }

void WorkerPool::Run(std::function<void()> task) {
  const std::lock_guard lock(mutex_);
  waiting_.push_back(std::move(task));
  work_.notify_one();
}

void WorkerPool::End() {
  {
    const std::lock_guard lock(mutex_);
    ended_ = true;
    work_.notify_all();
  }
  for (std::thread& thread : threads_) thread.join();
}

void WorkerPool::Work() {
  std::function<void()> task;
  while (Take(task)) {
    try {
      task();
    } catch (const std::exception&) {
      // There was no memory for this request; there may be for the next one.
    }
    task = nullptr;
  }
}

bool WorkerPool::Take(std::function<void()>& task) {
  std::unique_lock lock(mutex_);
  work_.wait(lock, [this] { return !waiting_.empty() || ended_; });
  if (waiting_.empty()) return false;
  task = std::move(waiting_.front());
  waiting_.pop_front();
  return true;
}

}  // namespace wbem
