// The same work on several threads at once.
//
// Thread rule: may be called from any thread, which waits until the work is done.

#ifndef SUPPORT_ON_THREADS_H_
#define SUPPORT_ON_THREADS_H_

#include <cstddef>
#include <latch>
#include <thread>
#include <vector>

// Runs work(0) to work(count - 1), each on a thread of its own, all let go together. The work
// throws nothing. Where a thread cannot be had the process ends, because the others would wait for
// it.
template <typename Work>
void OnThreads(std::size_t count, const Work& work) noexcept {
  std::latch start(static_cast<std::ptrdiff_t>(count));
  std::vector<std::jthread> threads;
  threads.reserve(count);
  for (std::size_t thread = 0; thread < count; ++thread) {
    threads.emplace_back([&start, &work, thread] {
      start.arrive_and_wait();
      work(thread);
    });
  }
}

#endif  // SUPPORT_ON_THREADS_H_
