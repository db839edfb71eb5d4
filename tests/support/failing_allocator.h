// Makes operator new fail, at the n-th allocation from a given moment on.
//
// A program that links the library of this header has its operator new and delete in place of the
// C++ library's, in all their forms: for itself, for the C++ library and for the shared libraries
// that it links or opens with dlopen. They take their memory from malloc, so that the address
// sanitizer still finds leaks and late uses (but not a delete of the wrong form). What C libraries
// take from malloc, and the memory of exceptions themselves, is neither counted nor made to fail,
// but in programs that also name failing_malloc.cc.
//
// Thread rule: what fails and what is counted is the calling thread's alone; LiveAllocations is the
// process's.

#ifndef SUPPORT_FAILING_ALLOCATOR_H_
#define SUPPORT_FAILING_ALLOCATOR_H_

#include <cstddef>

enum class Fail {
  kOnce,      // the n-th allocation
  kFromThen,  // the n-th and all later ones: memory is short and stays so
};

// What happened while allocations failed.
struct AllocationReport {
  std::size_t allocations = 0;  // asked for, with those that failed
  std::size_t thrown = 0;       // std::bad_alloc
  std::size_t refused = 0;      // answered with null: forms that do not throw

  std::size_t failed() const { return thrown + refused; }
};

// From its construction to its end, allocations of this thread are counted and fail as asked. One
// at a time per thread.
class FailingAllocations {
 public:
  // The n-th from now, 1 being the next; 0: none, they are only counted. `report` receives the
  // counts at the end.
  FailingAllocations(std::size_t n, Fail mode, AllocationReport& report);
  ~FailingAllocations();
  FailingAllocations(const FailingAllocations&) = delete;
  FailingAllocations& operator=(const FailingAllocations&) = delete;

 private:
  AllocationReport& report_;
};

// Allocations of this thread are the test's own meanwhile: not counted, and they do not fail.
class AllocationPause {
 public:
  AllocationPause() { Bracket(true); }
  ~AllocationPause() { Bracket(false); }
  AllocationPause(const AllocationPause&) = delete;
  AllocationPause& operator=(const AllocationPause&) = delete;

  // Begins or ends a pause, for those who cannot hold an object.
  static void Bracket(bool begins);
};

// Counts an allocation of the C library's; whether it is to fail.
bool CAllocationFails();

// Blocks taken by operator new and not given back, on all threads.
std::size_t LiveAllocations();

#endif  // SUPPORT_FAILING_ALLOCATOR_H_
