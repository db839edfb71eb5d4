// Many threads at once get the answers that one thread gets.

#include <gtest/gtest.h>

#include <barrier>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "providers/comparison.h"
#include "providers/linked_bench.h"
#include "providers/request_pool.h"
#include "providers/varied_hosts.h"

namespace {

constexpr std::size_t kThreads = 4;

// Runs `work` on every thread, all starting at once.
void OnThreads(std::size_t count, const std::function<void(std::size_t)>& work) {
  std::barrier start(static_cast<std::ptrdiff_t>(count));
  std::vector<std::jthread> threads;
  for (std::size_t i = 0; i < count; ++i) {
    threads.emplace_back([&start, &work, i] {
      start.arrive_and_wait();
      work(i);
    });
  }
}

// The first difference that any thread finds.
class Finding {
 public:
  void Add(const std::string& difference) {
    const std::lock_guard lock(mutex_);
    if (text_.empty()) text_ = difference;
  }
  const std::string& text() const { return text_; }

 private:
  std::mutex mutex_;
  std::string text_;
};

struct Asked {
  naive::Request request;
  naive::Answer answer;  // without log lines
};

// What one thread is answered.
std::vector<Asked> AskedAlone(const fake::Host& host, std::uint32_t seed, int count) {
  naive::Providers model(host, {ObjectManagerSystem(host)});
  RequestPool pool(host, seed);
  std::vector<Asked> asked;
  for (int i = 0; i < count; ++i) {
    Asked next{pool.Draw(), {}};
    next.answer = model.Ask(next.request);
    next.answer.log.clear();
    asked.push_back(std::move(next));
  }
  return asked;
}

std::string AskAgain(ProviderRun& run, const Asked& asked) {
  const std::string difference = Difference(asked.answer, run.AskWithoutLog(asked.request));
  return difference.empty() ? "" : naive::Describe(asked.request) + '\n' + difference;
}

TEST(Threads, AskingEverythingAtOnceAreAnsweredAsOneThread) {
  for (std::uint32_t seed = 1; seed <= 12; ++seed) {
    const fake::Host host = TreeHost(seed);
    const std::vector<Asked> asked = AskedAlone(host, seed, 200);
    ProviderRun run(host, LinkedBench().start(), broker::SystemClassMode::kServed, false);
    for (const char* name : kProviderClasses) {
      broker::Status status;
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
      next.answer = model.Ask(next.request);
      next.answer.log.clear();
      asked.push_back(std::move(next));
    }
    ProviderRun run(host, LinkedBench().start(), broker::SystemClassMode::kServed, false);
    Finding finding;
    OnThreads(asked.size(), [&](std::size_t i) {
      finding.Add(AskAgain(run, asked[i]));
      broker::Status status;
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
    ProviderRun run(host, LinkedBench().start(), broker::SystemClassMode::kServed, false);
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
