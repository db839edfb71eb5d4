#include "bench/heap_count.h"

#include <malloc.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

// What the C library's own malloc and its kin are also called.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
void* __libc_malloc(std::size_t bytes);
void* __libc_calloc(std::size_t count, std::size_t bytes);
void* __libc_realloc(void* block, std::size_t bytes);
void* __libc_memalign(std::size_t alignment, std::size_t bytes);
void __libc_free(void* block);
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

// Nothing to construct: malloc may be called before anything is.
struct Counts {
  std::uint64_t allocations;
  bool watched;
  std::int64_t held;
  std::int64_t peak;
};
constinit thread_local Counts counts{};

void* Taken(void* block) {
  ++counts.allocations;
  if (counts.watched && block != nullptr) {
    counts.held += static_cast<std::int64_t>(malloc_usable_size(block));
    counts.peak = std::max(counts.peak, counts.held);
  }
  return block;
}

void GivenBack(void* block) {
  if (counts.watched && block != nullptr) {
    counts.held -= static_cast<std::int64_t>(malloc_usable_size(block));
  }
}

}  // namespace

#define REPLACEMENT extern "C" __attribute__((visibility("default")))

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): the C library's are reserved
REPLACEMENT void* malloc(std::size_t bytes) { return Taken(__libc_malloc(bytes)); }
REPLACEMENT void* calloc(std::size_t count, std::size_t bytes) {
  return Taken(__libc_calloc(count, bytes));
}
REPLACEMENT void* realloc(void* block, std::size_t bytes) {
  GivenBack(block);
  return Taken(__libc_realloc(block, bytes));
}
REPLACEMENT void* memalign(std::size_t alignment, std::size_t bytes) {
  return Taken(__libc_memalign(alignment, bytes));
}
REPLACEMENT void* aligned_alloc(std::size_t alignment, std::size_t bytes) {
  return memalign(alignment, bytes);
}
REPLACEMENT int posix_memalign(void** block, std::size_t alignment, std::size_t bytes) {
  *block = memalign(alignment, bytes);
  return *block == nullptr ? ENOMEM : 0;
}
REPLACEMENT void free(void* block) {
  GivenBack(block);
  __libc_free(block);
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)

namespace bench {

std::uint64_t AllocationCount() { return counts.allocations; }

HeapWatch::HeapWatch() { counts = {counts.allocations, true, 0, 0}; }
HeapWatch::~HeapWatch() { counts.watched = false; }
std::int64_t HeapWatch::held() const { return counts.held; }
std::int64_t HeapWatch::peak() const { return counts.peak; }

}  // namespace bench
