#include "wbem/worker_pool.h"

#include <fmt/format.h>

#include <cstring>
#include <exception>
#include <stdexcept>
#include <utility>

namespace wbem {

namespace {

// What Linux gives a thread unless it is told otherwise.
constexpr std::size_t kStackBytes = 8U << 20U;

}  // namespace

WorkerPool::WorkerPool(std::size_t threads, std::size_t max_waiting, Event& pressure)
    : max_waiting_(max_waiting), pressure_(pressure) {
  threads_.reserve(threads);
  try {
    while (threads_.size() < threads) StartThread();
  } catch (...) {
    WorkerPool::shutdown();
    throw;
  }
}

WorkerPool::~WorkerPool() { WorkerPool::shutdown(); }

void WorkerPool::StartThread() {
  constexpr auto run = [](void* pool) -> void* {
    static_cast<WorkerPool*>(pool)->Work();
    return nullptr;
  };
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, kStackBytes);
  pthread_t thread{};
  const int error = pthread_create(&thread, &attributes, run, this);
  pthread_attr_destroy(&attributes);
  if (error != 0) {
    throw std::runtime_error(
        fmt::format("cannot start the server's threads: {}", std::strerror(error)));
  }
  threads_.push_back(thread);
}

void WorkerPool::enqueue(std::function<void()> task) {
  const auto arrival = Clock::now();
  std::unique_lock lock(mutex_);
  room_.wait(lock, [this] { return waiting_.size() < max_waiting_ || ended_; });
  waiting_.push_back({std::move(task), arrival});
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
  for (const pthread_t thread : threads_) pthread_join(thread, nullptr);
  threads_.clear();
}

void WorkerPool::Work() {
  Task task;
  while (Take(task)) {
    task_arrival_ = task.arrival;
    try {
      task.run();
    } catch (const std::exception&) {
      // There was no memory for this connection; there may be for the next one.
    }
    task.run = nullptr;
  }
}

bool WorkerPool::Take(Task& task) {
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
