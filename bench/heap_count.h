// What the process takes from the heap, counted per thread: the program that links this replaces
// malloc and its kin, so that every operator new and every malloc counts, in the program and in all
// libraries that it loads.
//
// Thread rule: each thread counts its own calls; what another thread frees counts there.

#ifndef BENCH_HEAP_COUNT_H_
#define BENCH_HEAP_COUNT_H_

#include <cstddef>
#include <cstdint>

namespace bench {

// The allocations of this thread so far.
std::uint64_t AllocationCount();

// Watches how many bytes this thread holds, from its construction on; one at a time. Bytes are
// those that the allocator sets aside for a block, without the allocator's own header.
class HeapWatch {
 public:
  HeapWatch();
  ~HeapWatch();
  HeapWatch(const HeapWatch&) = delete;
  HeapWatch& operator=(const HeapWatch&) = delete;

  // Bytes taken and not given back since the construction. Negative where more was given back.
  std::int64_t held() const;
  // The most that were held at once.
  std::int64_t peak() const;
};

}  // namespace bench

#endif  // BENCH_HEAP_COUNT_H_
