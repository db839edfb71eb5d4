// The threads that serve connections, and the connections that wait for one of them. Waiting
// connections are bounded: one too many blocks whoever hands it in, so that it waits in the
// kernel's queue instead.
//
// The threads have a stack of a size of their own, whatever the limits of the process say: httplib
// goes deep into it for some headers.
//
// Thread rule: thread-safe.

#ifndef WBEM_WORKER_POOL_H_
#define WBEM_WORKER_POOL_H_

#include <httplib.h>

#include <pthread.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <vector>

#include "wbem/event.h"

namespace wbem {

class WorkerPool final : public httplib::TaskQueue {
 public:
  using Clock = std::chrono::steady_clock;

  // `pressure` is set as long as somebody waits for a thread; it must outlive the pool. Throws
  // std::runtime_error where there cannot be so many threads.
  WorkerPool(std::size_t threads, std::size_t max_waiting, Event& pressure);
  ~WorkerPool() override;

  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;

  // What a task throws ends that task only.
  void enqueue(std::function<void()> task) override;
  // Runs what waits, then ends the threads.
  void shutdown() override;

  // When the task that the calling thread runs was handed in.
  static Clock::time_point TaskArrival() { return task_arrival_; }

 private:
  struct Task {
    std::function<void()> run;
    Clock::time_point arrival;
  };

  void StartThread();
  void Work();
  bool Take(Task& task);

  static inline thread_local Clock::time_point task_arrival_;

  const std::size_t max_waiting_;
  Event& pressure_;
  std::mutex mutex_;
  std::condition_variable work_;  // wakes one thread for one task, not all of them
  std::condition_variable room_;
  std::deque<Task> waiting_;
  std::size_t idle_ = 0;
  bool ended_ = false;
  std::vector<pthread_t> threads_;
};

}  // namespace wbem

#endif  // WBEM_WORKER_POOL_H_
