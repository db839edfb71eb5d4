// Holds the real providers against their model, and says for the smallest host where they differ.
//
// Thread rule: on the test's own thread.

#ifndef PROVIDERS_COMPARISON_H_
#define PROVIDERS_COMPARISON_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "broker/object_manager.h"
#include "broker/provider_library.h"
#include "support/fake_host.h"
#include "support/naive_providers.h"

// What the compared providers run on.
struct Bench {
  // Answers the library as a process that starts has it: nothing built.
  std::function<std::shared_ptr<const broker::ProviderLibrary>()> start;
  SystemClassMode system_class = SystemClassMode::kServed;
};

// What was compared.
struct Tally {
  std::size_t hosts = 0;
  std::size_t requests = 0;
  // Events of the answers, so that nobody compares silence alone.
  std::size_t instances = 0;
  std::size_t paths = 0;
  std::size_t log_lines = 0;

  std::string Text() const;
};

// Starts both on the host and asks both `requests` drawn requests. Answers the first difference,
// shown on the smallest host that has it; empty when there is none.
std::string CompareOnHost(const Bench& bench, const fake::Host& host, std::uint32_t seed,
                          int requests, Tally& tally);

// The lines of two answers that differ; empty when the real one is as expected.
std::string Difference(const naive::Answer& expected, const naive::Answer& actual);

#endif  // PROVIDERS_COMPARISON_H_
