// The providers that are linked into this program and their model on one host, asked the same.
//
// Thread rule: on the test's own thread.

#ifndef PROVIDERS_LINKED_PAIR_H_
#define PROVIDERS_LINKED_PAIR_H_

#include <cstddef>
#include <set>
#include <string>

#include "broker/object_manager.h"
#include "providers/comparison.h"
#include "providers/linked_bench.h"
#include "providers/provider_run.h"
#include "support/fake_host.h"
#include "support/naive_providers.h"

class LinkedPair {
 public:
  explicit LinkedPair(const fake::Host& host)
      : real_(host, LinkedBench().start()), model_(host, {ObjectManagerSystem(host)}) {}

  // The calls of these numbers fail, from now on.
  void FailAt(const std::set<std::size_t>& calls, fake::Thrown thrown) {
    fake::FailAt(calls, thrown);
    model_.FailAt({calls, thrown});
  }
  void FailNever() {
    fake::FailNever();
    model_.FailAt({});
  }

  // Asks both. Answers what differs, in the answers or in the number of the host's calls.
  std::string Ask(const naive::Request& request) {
    const std::size_t real_before = fake::CallCount();
    const bool was_built = model_.topology().built;
    const std::size_t model_before = was_built ? model_.topology().calls : 0;
    expected_ = Expect(model_, request);
    actual_ = real_.Ask(request);
    calls_ = model_.topology().calls - model_before;
    std::string text = Difference(expected_, actual_);
    if (fake::CallCount() - real_before != calls_) {
      text += "expected " + std::to_string(calls_) + " calls of the host, there were " +
              std::to_string(fake::CallCount() - real_before) + '\n';
    }
    text += real_.Faults(model_.topology().devices.size());
    return text.empty() ? "" : naive::Describe(request) + '\n' + text;
  }

  const naive::Answer& actual() const { return actual_; }
  std::size_t calls() const { return calls_; }  // of the last request

  // The real ones' object manager, for what the model does not know.
  broker::ObjectManager& manager() { return real_.manager(); }

 private:
  ProviderRun real_;
  naive::Providers model_;
  naive::Answer expected_;
  naive::Answer actual_;
  std::size_t calls_ = 0;
};

#endif  // PROVIDERS_LINKED_PAIR_H_
