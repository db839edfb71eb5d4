#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>

#include "support/on_threads.h"
#include "test_providers.h"

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
  const auto manager = ManagerWith({"Test_Plain", "Test_Ask", "Test_Long"});
  OnThreads(4, [&](std::size_t) {
    for (int i = 0; i < 50; ++i) {
      EXPECT_EQ(CountOf(*manager, manager->ClassPath("Test_Plain")), 3);
      EXPECT_EQ(CountOf(*manager, PathWith("Test_Ask", "Ask", cim::Value("Test_Plain"))), 3);
      EXPECT_EQ(CountOf(*manager, PathWith("Test_Long", "Count", cim::Value(std::uint32_t{40}))),
                40);
    }
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
  const auto manager = ManagerWith({"Test_Plain"}, options);
  OnThreads(4, [&](std::size_t) { CountOf(*manager, manager->ClassPath("Test_Plain")); });
  EXPECT_EQ(calls.load(), 1);
}

TEST(ManyThreads, RunWhileIdleProvidersAreCleanedUp) {
  const auto manager = ManagerWith({"Test_Plain"});
  OnThreads(4, [&](std::size_t thread) {
    for (int i = 0; i < 100; ++i) {
      if (thread == 0) {
        manager->Cleanup("Test_Plain", ProviderKind::kInstance, false);
      } else {
        EXPECT_EQ(CountOf(*manager, manager->ClassPath("Test_Plain")), 3);
      }
    }
  });
}

TEST(ManyThreads, KeepTheirMisusesTogether) {
  const auto manager = ManagerWith({"Test_AfterDone"});
  OnThreads(4, [&](std::size_t) {
    for (int i = 0; i < 10; ++i) {
      Counter counter;
      manager->EnumerateInstances("Test_AfterDone", manager->ClassPath("Test_AfterDone"),
                                  std::nullopt, counter);
    }
  });
  EXPECT_EQ(manager->ProviderErrors().size(), 40U);
}

}  // namespace
}  // namespace broker
