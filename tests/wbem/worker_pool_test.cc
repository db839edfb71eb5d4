#include "wbem/worker_pool.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <future>
#include <new>
#include <stdexcept>

#include "support/sanitizers.h"

namespace wbem {
namespace {

TEST(WorkerPool, WhatATaskThrowsEndsThatTaskOnly) {
  WorkerPool pool(1);
  std::promise<int> answer;
  pool.Run([] { throw std::bad_alloc(); });
  pool.Run([&] { answer.set_value(5); });
  EXPECT_EQ(answer.get_future().get(), 5);
}

// No address space beyond what is taken, while it lives.
class NoMoreMemory {
 public:
  NoMoreMemory() {
    getrlimit(RLIMIT_AS, &before_);
    const rlimit none{1, before_.rlim_max};
    EXPECT_EQ(setrlimit(RLIMIT_AS, &none), 0);
  }
  ~NoMoreMemory() { setrlimit(RLIMIT_AS, &before_); }
  NoMoreMemory(const NoMoreMemory&) = delete;
  NoMoreMemory& operator=(const NoMoreMemory&) = delete;

 private:
  rlimit before_{};
};

TEST(WorkerPool, ThreadsThatCannotAllBeStartedAreAnError) {
  if (kSanitized) GTEST_SKIP() << "the sanitizer needs address space of its own";
  // The C library keeps the stacks of some threads that have ended: a few can be started.
  { const WorkerPool some(3); }
  const NoMoreMemory none;
  EXPECT_THROW(WorkerPool(64), std::runtime_error);
}

}  // namespace
}  // namespace wbem
