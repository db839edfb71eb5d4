// Many threads at once get the answers that one thread gets.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "providers/asked_alone.h"
#include "providers/linked_bench.h"
#include "providers/varied_hosts.h"
#include "support/on_threads.h"

namespace {

constexpr std::size_t kThreads = 4;

TEST(Threads, AskingEverythingAtOnceAreAnsweredAsOneThread) {
  for (std::uint32_t seed = 1; seed <= 12; ++seed) {
    const fake::Host host = TreeHost(seed);
    const std::vector<Asked> asked = AskedAlone(host, seed, 200);
    ProviderRun run(host, LinkedBench().start(), SystemClassMode::kServed, false);
    for (const char* name : kProviderClasses) {
      cim::Status status;
      run.manager().InstanceProvider(name, &status);
      run.manager().AssociationProvider(name, &status);
    }
    Finding finding;
    OnThreads(kThreads, [&](std::size_t thread) {
      for (std::size_t i = 0; i < asked.size(); ++i) {
        finding.Add(AskAgain(run, asked[(i + thread * 37) % asked.size()]));
      }
    });
    ASSERT_EQ(finding.text(), "") << "seed " << seed;
    ASSERT_EQ(run.Faults(host.devices.size()), "");
  }
}

// Whoever comes first builds the cache; the others wait for it.
TEST(Threads, CallingTheFactoriesOfAllClassesAtOnceBuildOnce) {
  for (std::uint32_t seed = 1; seed <= 5; ++seed) {
    const fake::Host host = TreeHost(seed);
    naive::Providers model(host, {ObjectManagerSystem(host)});
    std::vector<Asked> asked;
    for (const char* name : kProviderClasses) {
      Asked next;
      next.request.class_name = name;
      next.request.operation = naive::Operation::kEnumInstances;
      next.request.path = {{}, naive::kNameSpace, name, {}};
      next.answer = Expect(model, next.request);
      next.answer.log.clear();
      asked.push_back(std::move(next));
    }
    ProviderRun run(host, LinkedBench().start(), SystemClassMode::kServed, false);
    Finding finding;
    OnThreads(asked.size(), [&](std::size_t i) {
      finding.Add(AskAgain(run, asked[i]));
      cim::Status status;
      run.manager().AssociationProvider(asked[i].request.class_name, &status);
    });
    ASSERT_EQ(finding.text(), "") << "seed " << seed;
    ASSERT_EQ(fake::CallCount("GetPciDevices"), 1U);
    ASSERT_EQ(run.Faults(host.devices.size()), "");
  }
}

// Requests of every kind at once, to an object manager that has called no factory yet.
TEST(Threads, AskingAColdObjectManagerAreAnsweredAsOneThread) {
  for (std::uint32_t seed = 1; seed <= 12; ++seed) {
    const fake::Host host = TreeHost(seed);
    const std::vector<Asked> asked = AskedAlone(host, seed, 40);
    ProviderRun run(host, LinkedBench().start(), SystemClassMode::kServed, false);
    Finding finding;
    OnThreads(kThreads, [&](std::size_t thread) {
      for (std::size_t i = 0; i < asked.size(); ++i) {
        finding.Add(AskAgain(run, asked[(i + thread * 7) % asked.size()]));
      }
    });
    ASSERT_EQ(finding.text(), "") << "seed " << seed;
    ASSERT_EQ(fake::CallCount("GetPciDevices"), 1U);
    ASSERT_EQ(run.Faults(host.devices.size()), "");
  }
}

}  // namespace
