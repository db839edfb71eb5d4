// The threads that serve connections, and the connections that wait for one of them. Waiting
// connections are bounded: one too many blocks whoever hands it in, so that it waits in the
// kernel's queue instead.
//
// Thread rule: thread-safe.

#ifndef WBEM_WORKER_POOL_H_
#define WBEM_WORKER_POOL_H_

#include <httplib.h>

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "wbem/event.h"

namespace wbem {

class WorkerPool final : public httplib::TaskQueue {
 public:
  // `pressure` is set as long as somebody waits for a thread; it must outlive the pool.
  WorkerPool(std::size_t threads, std::size_t max_waiting, Event& pressure);
  ~WorkerPool() override;

  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;

  void enqueue(std::function<void()> task) override;
  // Runs what waits, then ends the threads.
  void shutdown() override;

 private:
  void Work();
  bool Take(std::function<void()>& task);

  const std::size_t max_waiting_;
  Event& pressure_;
  std::mutex mutex_;
  std::condition_variable work_;  // wakes one thread for one task, not all of them
  std::condition_variable room_;
  std::deque<std::function<void()>> waiting_;
  std::size_t idle_ = 0;
  bool ended_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace wbem

#endif  // WBEM_WORKER_POOL_H_
