#include "support/failing_allocator.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>

namespace {

// Constant at its start and trivial at its end: the first and the last allocations of a thread come
// before and after everything else in it.
struct ThreadState {
  bool failing = false;
  int pauses = 0;
  std::size_t n = 0;
  Fail mode = Fail::kOnce;
  AllocationReport report;
};
constinit thread_local ThreadState state;

constinit std::atomic<std::size_t> live{0};

// Counts an allocation; whether it fails.
bool Fails() {
  if (!state.failing || state.pauses > 0) return false;
  const std::size_t number = ++state.report.allocations;
  if (state.n == 0 || number < state.n) return false;
  return number == state.n || state.mode == Fail::kFromThen;
}

void* Take(std::size_t size, std::size_t alignment) noexcept {
  size = std::max(size, std::size_t{1});
  const AllocationPause already_counted;
  void* memory =
      alignment <= __STDCPP_DEFAULT_NEW_ALIGNMENT__
          ? std::malloc(size)
          : std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
  if (memory != nullptr) live.fetch_add(1, std::memory_order_relaxed);
  return memory;
}

void* TakeOrThrow(std::size_t size, std::size_t alignment = 0) {
  const bool fails = Fails();
  void* memory = fails ? nullptr : Take(size, alignment);
  if (memory != nullptr) return memory;
  state.report.thrown += fails ? 1 : 0;
  throw std::bad_alloc();
}

void* TakeOrNull(std::size_t size, std::size_t alignment = 0) noexcept {
  if (!Fails()) return Take(size, alignment);
  ++state.report.refused;
  return nullptr;
}

void GiveBack(void* memory) noexcept {
  if (memory == nullptr) return;
  live.fetch_sub(1, std::memory_order_relaxed);
  std::free(memory);
}

std::size_t Of(std::align_val_t alignment) { return static_cast<std::size_t>(alignment); }

}  // namespace

FailingAllocations::FailingAllocations(std::size_t n, Fail mode, AllocationReport& report)
    : report_(report) {
  state = {.failing = true, .pauses = 0, .n = n, .mode = mode, .report = {}};
}

FailingAllocations::~FailingAllocations() {
  report_ = state.report;
  state = {};
}

void AllocationPause::Bracket(bool begins) { state.pauses += begins ? 1 : -1; }

bool CAllocationFails() {
  if (!Fails()) return false;
  ++state.report.refused;
  return true;
}

std::size_t LiveAllocations() { return live.load(std::memory_order_relaxed); }

// All forms: a sanitizer's runtime has each of them by itself, and would serve those left out.
// NOLINTBEGIN(cert-dcl54-cpp,cert-dcl58-cpp)
void* operator new(std::size_t size) { return TakeOrThrow(size); }
void* operator new[](std::size_t size) { return TakeOrThrow(size); }
void* operator new(std::size_t size, std::align_val_t alignment) {
  return TakeOrThrow(size, Of(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
  return TakeOrThrow(size, Of(alignment));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return TakeOrNull(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return TakeOrNull(size); }
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return TakeOrNull(size, Of(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return TakeOrNull(size, Of(alignment));
}

void operator delete(void* memory) noexcept { GiveBack(memory); }
void operator delete[](void* memory) noexcept { GiveBack(memory); }
void operator delete(void* memory, std::size_t) noexcept { GiveBack(memory); }
void operator delete[](void* memory, std::size_t) noexcept { GiveBack(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { GiveBack(memory); }
void operator delete[](void* memory, std::align_val_t) noexcept { GiveBack(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { GiveBack(memory); }
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept { GiveBack(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { GiveBack(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { GiveBack(memory); }
void operator delete(void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
  GiveBack(memory);
}
void operator delete[](void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
  GiveBack(memory);
}
// NOLINTEND(cert-dcl54-cpp,cert-dcl58-cpp)
