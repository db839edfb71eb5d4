// Memory runs short at one allocation after another, while the cache is built and during requests:
// every answer is a status, nothing leaks, and the next request is answered as before.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
#include <new>
#include <set>
#include <string>
#include <thread>
#include <tuple>
#include <variant>
#include <vector>

#include "broker/provider_library.h"
#include "cim/wbem_uri.h"
#include "providers/failing_library.h"
#include "providers/linked_bench.h"
#include "providers/provider_run.h"
#include "providers/request_pool.h"
#include "providers/varied_hosts.h"

namespace {

using naive::Answer;
using naive::Request;

// The rich host with names and texts for which a string needs memory.
fake::Host LongNamedHost() {
  const std::string rest = ".with.a.name.of.more.than.a.few.letters";
  fake::Host host = RichHost();
  host.system_name += rest;
  for (fake::Device& device : host.devices) {
    device.name += rest;
    if (device.parent) device.parent->insert(1, rest);  // behind the "b" of "b-sec"
    device.VendorName("A vendor" + rest).DeviceName("A device" + rest);
  }
  return host;
}

// Whether the providers are part of this program, or in the library as an object manager opens it.
enum class Providers { kLinked, kOpened };

std::string NameOf(Providers providers) {
  return providers == Providers::kLinked ? "Linked" : "Opened";
}
std::string NameOf(Fail mode) { return mode == Fail::kOnce ? "Once" : "FromThen"; }

std::shared_ptr<const broker::ProviderLibrary> Start(Providers providers) {
  ResetCache();  // of the linked ones, whose devices are counted with all others
  return WithFailures(providers == Providers::kLinked
                          ? LinkedProviders()
                          : broker::ProviderLibrary::Open(OSTREL_PROVIDER_LIBRARY));
}

// Runs `work` on a thread of its own, whose object manager has no memory kept from earlier calls:
// so the same is allocated every time.
void OnFreshThread(const std::function<void()>& work) { std::thread(work).join(); }

bool SameButForLog(const Answer& left, const Answer& right) {
  return std::tie(left.code, left.message, left.events) ==
         std::tie(right.code, right.message, right.events);
}
bool Same(const Answer& left, const Answer& right) {
  return SameButForLog(left, right) && left.log == right.log;
}

template <typename List>
bool StartsWith(const List& list, const List& start) {
  return start.size() <= list.size() && std::equal(start.begin(), start.end(), list.begin());
}

std::string Text(const Answer& answer) {
  std::string text;
  for (const std::string& line : naive::Describe(answer)) text += line + '\n';
  return text;
}

// ---------------------------------------------------------------------------------------------
// Requests

class RequestMemoryFaults : public testing::TestWithParam<std::tuple<Providers, const char*>> {
 protected:
  RequestMemoryFaults() : run_(LongNamedHost(), Start(std::get<Providers>(GetParam()))) {}

  Answer Ask(const Request& request) { return AskFailing(request, 0, Fail::kOnce); }
  Answer AskFailing(const Request& request, std::size_t n, Fail mode) {
    Answer answer;
    OnFreshThread([&] {
      PlanFailures(Within::kOperations, n, mode);
      answer = run_.Ask(request);
    });
    return answer;
  }

  // What is wrong with the answer to a request in which an allocation failed. It is whole where the
  // library can do without: what cannot be marked is freed later.
  std::string Complaint(const Answer& failed, const Answer& whole) {
    if (Same(failed, whole)) {
      ++answered_whole_;
      return "";
    }
    const std::string message = failed.message.value_or("");
    const bool is_failure = failed.code == CMPI_RC_ERR_FAILED &&
                            (message.empty() || message == std::bad_alloc().what());
    const bool is_part =
        StartsWith(whole.events, failed.events) && StartsWith(whole.log, failed.log);
    return is_failure && is_part ? "" : "answered\n" + Text(failed) + "of\n" + Text(whole);
  }

  // The n-th allocation fails in the request, and the next request is answered whole. Sets `failed`
  // to whether there was one to fail.
  void FailAllocation(const Request& request, std::size_t n, Fail mode, const Answer& whole,
                      bool& failed) {
    const Answer answer = AskFailing(request, n, mode);
    const AllocationReport report = LastReport();
    failed = report.failed() > 0;
    if (!failed) return;
    ++failed_requests_;
    failed_allocations_ += static_cast<int>(report.failed());
    ASSERT_EQ(Complaint(answer, whole), "") << "allocation " << n;
    ASSERT_TRUE(Same(Ask(request), whole)) << "after allocation " << n;
    ASSERT_EQ(run_.Faults(LongNamedHost().devices.size()), "") << "after allocation " << n;
  }

  void FailEveryAllocation(const Request& request, Fail mode) {
    Ask(request);  // the first one of a class builds more than its answer
    const Answer whole = Ask(request);
    const std::size_t live = LiveAllocations();
    for (std::size_t n = 1;; ++n) {
      bool failed = false;
      FailAllocation(request, n, mode, whole, failed);
      if (HasFatalFailure() || !failed) return;
      ASSERT_EQ(LiveAllocations(), live) << "after allocation " << n;
    }
  }

  ProviderRun run_;
  int failed_requests_ = 0;
  int failed_allocations_ = 0;
  int answered_whole_ = 0;
};

TEST_P(RequestMemoryFaults, EndARequestWithAStatus) {
  const std::string class_name = std::get<const char*>(GetParam());
  for (const Request& request : RequestPool::OrdinaryRequests(LongNamedHost())) {
    if (request.class_name != class_name) continue;
    for (const Fail mode : {Fail::kOnce, Fail::kFromThen}) {
      FailEveryAllocation(request, mode);
      if (HasFatalFailure()) FAIL() << NameOf(mode) << ": " << naive::Describe(request);
    }
  }
  EXPECT_GT(failed_requests_, 2 * answered_whole_);
  RecordProperty("failed_requests", failed_requests_);
  RecordProperty("failed_allocations", failed_allocations_);
  RecordProperty("answered_whole", answered_whole_);
}

INSTANTIATE_TEST_SUITE_P(Classes, RequestMemoryFaults,
                         testing::Combine(testing::Values(Providers::kLinked, Providers::kOpened),
                                          testing::ValuesIn(kProviderClasses)),
                         [](const auto& test) {
                           return NameOf(std::get<Providers>(test.param)) + "_" +
                                  std::get<const char*>(test.param);
                         });

// ---------------------------------------------------------------------------------------------
// The build

constexpr const char* kStarted = "GetPCIData started to analyze and cache HKI PCI data";
constexpr const char* kCaught =
    "Unexpected exception from PCI initialization, reporting may be incomplete.";

bool Logs(const Answer& answer, const LogLine& line) {
  return std::find(answer.log.begin(), answer.log.end(), line) != answer.log.end();
}

// The elements that an answer returned, as text.
std::vector<std::string> ElementsOf(const Answer& answer) {
  std::vector<std::string> elements;
  for (const naive::Event& event : answer.events) {
    if (const auto* instance = std::get_if<cim::Instance>(&event)) {
      elements.push_back("instance " + cim::ToWbemUri(instance->path));
    } else if (const auto* path = std::get_if<cim::ObjectPath>(&event)) {
      elements.push_back("path " + cim::ToWbemUri(*path));
    }
  }
  return elements;
}

class BuildMemoryFaults : public testing::TestWithParam<std::tuple<Providers, Fail>> {
 protected:
  // What a build that nothing fails in makes of every request.
  void SetUp() override {
    PlanFailures(Within::kFactories, 0, mode_);
    ProviderRun run(LongNamedHost(), Start(providers_));
    run.Ask(requests_.front());  // builds
    for (const Request& request : requests_) {
      whole_.push_back(run.Ask(request));
      for (const std::string& element : ElementsOf(whole_.back())) {
        known_.insert(request.class_name + ": " + element);
      }
    }
    ASSERT_FALSE(known_.empty());
  }
  void TearDown() override { ResetCache(); }

  // What is wrong with the answers of a process whose first factory call left with the exception:
  // the next one must build as if nothing had been.
  std::string ComplaintAfterLeaving(ProviderRun& run, const Answer& first, const Request& asked) {
    if (first.code != CMPI_RC_ERR_FAILED || !first.events.empty() ||
        first.message != "factory of " + asked.class_name + ": " + std::bad_alloc().what()) {
      return Text(first);
    }
    if (!Logs(run.Ask(requests_.front()), {LOG_DEBUG, kStarted})) return "not built again\n";
    return ComplaintAboutWhole(run);
  }

  // The same where the build went through: what it could not store is not missed in any answer.
  std::string ComplaintAboutWhole(ProviderRun& run) const {
    for (std::size_t i = 0; i < requests_.size(); ++i) {
      const Answer answer = run.Ask(requests_[i]);
      if (!Same(answer, whole_[i])) return Difference(whole_[i], answer);
    }
    return "";
  }

  // The same where the build was ended half way: no answer has anything that the host has not, and
  // it is not built again.
  std::string ComplaintAboutHalf(ProviderRun& run) const {
    for (std::size_t i = 0; i < requests_.size(); ++i) {
      const Answer answer = run.Ask(requests_[i]);
      const bool is_code = answer.code == CMPI_RC_OK || answer.code == CMPI_RC_ERR_NOT_FOUND ||
                           answer.code == whole_[i].code;
      if (!is_code || Logs(answer, {LOG_DEBUG, kStarted})) return Text(answer);
      for (const std::string& element : ElementsOf(answer)) {
        if (!known_.contains(requests_[i].class_name + ": " + element)) return element;
      }
    }
    return "";
  }

  // What is wrong after the first call, however its build came out.
  std::string ComplaintAfter(const Answer& first, const Request& asked, ProviderRun& run) {
    if (first.code == CMPI_RC_ERR_FAILED) {
      ++left_;
      return ComplaintAfterLeaving(run, first, asked);
    }
    if (Logs(first, {LOG_ERR, kCaught})) {
      ++half_built_;
      return ComplaintAboutHalf(run);
    }
    ++whole_built_;
    return ComplaintAboutWhole(run);
  }

  // A process whose first factory call fails at its n-th allocation, and all requests after it.
  // Answers what is wrong; sets `report` to what happened in that call.
  std::string RunProcess(std::size_t n, AllocationReport& report) {
    ProviderRun run(LongNamedHost(), Start(providers_));
    const Request& asked = requests_[n * 7 % requests_.size()];
    PlanFailures(Within::kFactories, n, mode_);
    const Answer first = run.Ask(asked);
    report = LastReport();
    PlanFailures(Within::kFactories, 0, mode_);
    if (report.failed() == 0) return "";
    const std::string complaint = ComplaintAfter(first, asked, run);
    if (!complaint.empty()) return naive::Describe(asked) + '\n' + complaint;
    return run.Faults(static_cast<std::size_t>(fake::LiveObjects().devices));
  }

  const Providers providers_ = std::get<Providers>(GetParam());
  const Fail mode_ = std::get<Fail>(GetParam());
  const std::vector<Request> requests_ = RequestPool::OrdinaryRequests(LongNamedHost());
  std::vector<Answer> whole_;
  std::set<std::string> known_;
  int left_ = 0;
  int half_built_ = 0;
  int whole_built_ = 0;
};

TEST_P(BuildMemoryFaults, LeaveTheFactoryOrEndTheBuild) {
  AllocationReport report;
  report.thrown = 1;
  int failed_allocations = 0;
  for (std::size_t n = 1; report.failed() > 0; ++n) {
    ResetCache();
    const std::size_t live = LiveAllocations();
    OnFreshThread([&] {
      ASSERT_EQ(RunProcess(n, report), "") << "allocation " << n;
      ResetCache();
    });
    if (HasFatalFailure()) return;
    ASSERT_EQ(LiveAllocations(), live) << "after allocation " << n;
    ASSERT_EQ(fake::LiveObjects(), fake::Live{}) << "after allocation " << n;
    failed_allocations += static_cast<int>(report.failed());
  }
  EXPECT_GT(left_, 0);
  EXPECT_GT(half_built_, 100);
  RecordProperty("failed_allocations", failed_allocations);
  RecordProperty("left_the_factory", left_);
  RecordProperty("half_built", half_built_);
  RecordProperty("whole_built", whole_built_);
}

INSTANTIATE_TEST_SUITE_P(Modes, BuildMemoryFaults,
                         testing::Values(std::tuple(Providers::kLinked, Fail::kOnce),
                                         std::tuple(Providers::kOpened, Fail::kFromThen)),
                         [](const auto& test) {
                           return NameOf(std::get<Providers>(test.param)) + "_" +
                                  NameOf(std::get<Fail>(test.param));
                         });

}  // namespace
