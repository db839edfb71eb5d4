#include "support/failing_allocator.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "support/fake_host.h"

namespace {

struct alignas(128) Wide {
  char bytes[128];
};

// A form of operator new with one of the deletes that go with it, called as functions so that the
// compiler cannot leave them out.
struct Form {
  const char* name;
  void* (*take)();
  void (*give_back)(void*);
  bool throws;
};

constexpr auto kWide = std::align_val_t{128};

const Form kForms[] = {
    {"plain", [] { return ::operator new(8); }, [](void* p) { ::operator delete(p); }, true},
    {"array", [] { return ::operator new[](8); }, [](void* p) { ::operator delete[](p); }, true},
    {"aligned", [] { return ::operator new(8, kWide); },
     [](void* p) { ::operator delete(p, kWide); }, true},
    {"aligned array", [] { return ::operator new[](8, kWide); },
     [](void* p) { ::operator delete[](p, kWide); }, true},
    {"nothrow", [] { return ::operator new(8, std::nothrow); },
     [](void* p) { ::operator delete(p, std::nothrow); }, false},
    {"nothrow array", [] { return ::operator new[](8, std::nothrow); },
     [](void* p) { ::operator delete[](p, std::nothrow); }, false},
    {"nothrow aligned", [] { return ::operator new(8, kWide, std::nothrow); },
     [](void* p) { ::operator delete(p, kWide, std::nothrow); }, false},
    {"nothrow aligned array", [] { return ::operator new[](8, kWide, std::nothrow); },
     [](void* p) { ::operator delete[](p, kWide, std::nothrow); }, false},
#ifdef __cpp_sized_deallocation
    {"sized", [] { return ::operator new(8); }, [](void* p) { ::operator delete(p, 8); }, true},
    {"sized array", [] { return ::operator new[](8); }, [](void* p) { ::operator delete[](p, 8); },
     true},
    {"sized aligned", [] { return ::operator new(8, kWide); },
     [](void* p) { ::operator delete(p, 8, kWide); }, true},
    {"sized aligned array", [] { return ::operator new[](8, kWide); },
     [](void* p) { ::operator delete[](p, 8, kWide); }, true},
#endif
};

// Runs `call` with allocations failing; whether std::bad_alloc came out.
template <typename Call>
bool Throws(std::size_t n, Fail mode, AllocationReport& report, Call call) {
  const FailingAllocations failing(n, mode, report);
  try {
    call();
  } catch (const std::bad_alloc&) {
    return true;
  }
  return false;
}

TEST(FailingAllocatorTest, EveryFormIsCountedAndGivenBack) {
  for (const Form& form : kForms) {
    const std::size_t live = LiveAllocations();
    AllocationReport report;
    void* memory = nullptr;
    EXPECT_FALSE(Throws(0, Fail::kOnce, report, [&] { memory = form.take(); })) << form.name;
    EXPECT_EQ(report.allocations, 1U) << form.name;
    EXPECT_EQ(report.failed(), 0U) << form.name;
    EXPECT_EQ(LiveAllocations(), live + 1) << form.name;
    form.give_back(memory);
    EXPECT_EQ(LiveAllocations(), live) << form.name;
  }
}

TEST(FailingAllocatorTest, EveryFormFailsAsItsCallersKnowIt) {
  for (const Form& form : kForms) {
    const std::size_t live = LiveAllocations();
    AllocationReport report;
    void* memory = &report;
    const auto take = [&] { memory = form.take(); };
    EXPECT_EQ(Throws(1, Fail::kOnce, report, take), form.throws) << form.name;
    EXPECT_EQ(memory == nullptr, !form.throws) << form.name;
    EXPECT_EQ(report.thrown, form.throws ? 1U : 0U) << form.name;
    EXPECT_EQ(report.refused, form.throws ? 0U : 1U) << form.name;
    EXPECT_EQ(LiveAllocations(), live) << form.name;
  }
}

TEST(FailingAllocatorTest, AlignedMemoryIsAligned) {
  const auto wide = std::make_unique<Wide>();
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(wide.get()) % alignof(Wide), 0U);
}

// The n-th, and where asked the later ones; none before it.
TEST(FailingAllocatorTest, TheNthAllocationFails) {
  const auto five_strings = [](std::vector<bool>& failed) {
    for (int i = 0; i < 5; ++i) {
      try {
        const std::string text(100, 'x');
        failed.push_back(text.empty());
      } catch (const std::bad_alloc&) {
        failed.push_back(true);
      }
    }
  };
  for (const Fail mode : {Fail::kOnce, Fail::kFromThen}) {
    std::vector<bool> failed;
    failed.reserve(5);
    AllocationReport report;
    {
      const FailingAllocations failing(3, mode, report);
      five_strings(failed);
    }
    const bool later = mode == Fail::kFromThen;
    EXPECT_EQ(failed, (std::vector<bool>{false, false, true, later, later}));
    EXPECT_EQ(report.allocations, 5U);
    EXPECT_EQ(report.thrown, later ? 3U : 1U);
  }
}

TEST(FailingAllocatorTest, NothingFailsBeforeOrAfterwards) {
  AllocationReport report;
  EXPECT_TRUE(Throws(1, Fail::kFromThen, report, [] { std::string(100, 'x'); }));
  EXPECT_EQ(std::string(100, 'x').size(), 100U);
  EXPECT_EQ(report.allocations, 1U);
}

TEST(FailingAllocatorTest, APauseIsNeitherCountedNorFails) {
  AllocationReport report;
  const bool threw = Throws(1, Fail::kFromThen, report, [] {
    const AllocationPause pause;
    const AllocationPause again;
    std::string(100, 'x');
  });
  EXPECT_FALSE(threw);
  EXPECT_EQ(report.allocations, 0U);
}

TEST(FailingAllocatorTest, OtherThreadsAreLeftAlone) {
  AllocationReport report;
  std::size_t size = 0;
  {
    const FailingAllocations failing(1, Fail::kFromThen, report);
    const AllocationPause pause;  // making a thread allocates here
    std::thread([&] { size = std::string(100, 'x').size(); }).join();
  }
  EXPECT_EQ(size, 100U);
  EXPECT_EQ(report.allocations, 0U);
}

// Code of the C++ library and of a library that is opened later allocates through the program too.
TEST(FailingAllocatorTest, ReachesSharedLibraries) {
  void* handle = dlopen(DLOPEN_PROBE, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(handle, nullptr) << dlerror();
  auto* const count = reinterpret_cast<int (*)()>(dlsym(handle, "ProbeCountDevices"));
  fake::Use(fake::Host().Add(fake::Endpoint("a name that is long enough for memory of its own")));
  EXPECT_EQ(count(), 1);
  const std::size_t live = LiveAllocations();
  AllocationReport whole;
  Throws(0, Fail::kOnce, whole, count);
  ASSERT_GT(whole.allocations, 4U);
  for (std::size_t n = 1; n <= whole.allocations; ++n) {
    AllocationReport report;
    EXPECT_TRUE(Throws(n, Fail::kOnce, report, count));
    EXPECT_EQ(report.thrown, 1U);
    EXPECT_EQ(LiveAllocations(), live);
  }
  dlclose(handle);
}

}  // namespace
