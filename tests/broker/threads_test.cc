#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>

#include "guest.h"
#include "support/on_threads.h"

namespace broker {
namespace {

class Counter : public ResultSink {
 public:
  void OnInstanceView(const InstanceView&) override { ++count; }
  int count = 0;
};

int CountOf(ObjectManager& manager, const cim::ObjectPath& path) {
  Counter counter;
  EXPECT_TRUE(manager.EnumerateInstances(path.class_name, path, std::nullopt, counter).ok());
  return counter.count;
}

TEST(ManyThreads, ShareOneManager) {
  const auto manager = ManagerWith({"Guest_Plain", "Guest_Ask", "Guest_Long", "Guest_Thread"});
  OnThreads(4, [&](std::size_t) {
    for (int i = 0; i < 50; ++i) {
      EXPECT_EQ(CountOf(*manager, manager->ClassPath("Guest_Plain")), 3);
      EXPECT_EQ(CountOf(*manager, PathWith("Guest_Ask", "Ask", cim::Value("Guest_Plain"))), 3);
      EXPECT_EQ(CountOf(*manager, PathWith("Guest_Long", "Count", cim::Value(std::uint32_t{40}))),
                40);
    }
    EXPECT_EQ(CountOf(*manager, manager->ClassPath("Guest_Thread")), 1);
  });
  for (const ProviderError& error : manager->ProviderErrors()) ADD_FAILURE() << ToString(error);
}

TEST(ManyThreads, CallAFactoryOnce) {
  std::atomic<int> calls{0};
  Options options;
  options.around_factory = [&](std::string_view, ProviderKind, const auto& call) {
    ++calls;
    call();
  };
  const auto manager = ManagerWith({"Guest_Plain"}, options);
  OnThreads(4, [&](std::size_t) { CountOf(*manager, manager->ClassPath("Guest_Plain")); });
  EXPECT_EQ(calls.load(), 1);
}

TEST(ManyThreads, RunWhileIdleProvidersAreCleanedUp) {
  const auto manager = ManagerWith({"Guest_Plain"});
  OnThreads(4, [&](std::size_t thread) {
    for (int i = 0; i < 100; ++i) {
      if (thread == 0) {
        manager->Cleanup("Guest_Plain", ProviderKind::kInstance, false);
      } else {
        EXPECT_EQ(CountOf(*manager, manager->ClassPath("Guest_Plain")), 3);
      }
    }
  });
}

TEST(ManyThreads, KeepTheirMisusesTogether) {
  const auto manager = ManagerWith({"Guest_AfterDone"});
  OnThreads(4, [&](std::size_t) {
    for (int i = 0; i < 10; ++i) {
      Counter counter;
      manager->EnumerateInstances("Guest_AfterDone", manager->ClassPath("Guest_AfterDone"),
                                  std::nullopt, counter);
    }
  });
  EXPECT_EQ(manager->ProviderErrors().size(), 40U);
}

}  // namespace
}  // namespace broker
