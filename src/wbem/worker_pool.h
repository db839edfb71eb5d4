// The threads that answer requests, and the requests that wait for one of them.
//
// Thread rule: thread-safe.

#ifndef WBEM_WORKER_POOL_H_
#define WBEM_WORKER_POOL_H_

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace wbem {

class WorkerPool {
 public:
  // Throws std::runtime_error where there cannot be so many threads.
  explicit WorkerPool(std::size_t threads);
  // Runs what waits, then ends the threads.
  ~WorkerPool();

  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;

  // What a task throws ends that task only.
  void Run(std::function<void()> task);

 private:
  void Work();
  bool Take(std::function<void()>& task);
  void End();

  std::mutex mutex_;
  std::condition_variable work_;  // wakes one thread for one task, not all of them
  std::deque<std::function<void()>> waiting_;
  bool ended_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace wbem

#endif  // WBEM_WORKER_POOL_H_
