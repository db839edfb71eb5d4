#include "wbem/worker_pool.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>

#include <future>
#include <new>
#include <stdexcept>

#include "support/sanitizers.h"

namespace wbem {
namespace {

using Clock = WorkerPool::Clock;

TEST(WorkerPool, ATaskKnowsWhenItWasHandedInNotWhenItBegan) {
  Event pressure;
  WorkerPool pool(1, 10, pressure);
  std::promise<void> let_go;
  std::promise<Clock::time_point> arrival;
  pool.enqueue([&] { let_go.get_future().wait(); });
  const auto before = Clock::now();
  pool.enqueue([&] { arrival.set_value(WorkerPool::TaskArrival()); });
  const auto after = Clock::now();
  let_go.set_value();
  const auto told = arrival.get_future().get();
  EXPECT_GE(told, before);
  EXPECT_LE(told, after);
}

TEST(WorkerPool, WhatATaskThrowsEndsThatTaskOnly) {
  Event pressure;
  WorkerPool pool(1, 10, pressure);
  std::promise<int> answer;
  pool.enqueue([] { throw std::bad_alloc(); });
  pool.enqueue([&] { answer.set_value(5); });
  EXPECT_EQ(answer.get_future().get(), 5);
}

// A default size as "ulimit -s" sets it, while it lives.
class SmallStacks {
 public:
  SmallStacks() {
    pthread_attr_init(&attributes_);
    pthread_getattr_default_np(&attributes_);
    pthread_attr_getstacksize(&attributes_, &before_);
    Set(std::size_t{1} << 20U);
  }
  ~SmallStacks() {
    Set(before_);
    pthread_attr_destroy(&attributes_);
  }
  SmallStacks(const SmallStacks&) = delete;
  SmallStacks& operator=(const SmallStacks&) = delete;

 private:
  void Set(std::size_t bytes) {
    pthread_attr_setstacksize(&attributes_, bytes);
    EXPECT_EQ(pthread_setattr_default_np(&attributes_), 0);
  }

  pthread_attr_t attributes_{};
  std::size_t before_ = 0;
};

std::size_t OwnStackBytes() {
  pthread_attr_t attributes;
  std::size_t bytes = 0;
  pthread_getattr_np(pthread_self(), &attributes);
  pthread_attr_getstacksize(&attributes, &bytes);
  pthread_attr_destroy(&attributes);
  return bytes;
}

TEST(WorkerPool, StacksAreLargeWhateverTheLimit) {
  const SmallStacks small;
  Event pressure;
  WorkerPool pool(1, 10, pressure);
  std::promise<std::size_t> bytes;
  pool.enqueue([&] { bytes.set_value(OwnStackBytes()); });
  EXPECT_GE(bytes.get_future().get(), std::size_t{8} << 20U);
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
  Event pressure;
  // The C library keeps the stacks of some threads that have ended: a few can be started.
  { const WorkerPool some(3, 10, pressure); }
  const NoMoreMemory none;
  EXPECT_THROW(WorkerPool(64, 10, pressure), std::runtime_error);
}

}  // namespace
}  // namespace wbem
