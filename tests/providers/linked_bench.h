// The providers that are linked into this program, started anew for every host.
//
// Thread rule: on the test's own thread.

#ifndef PROVIDERS_LINKED_BENCH_H_
#define PROVIDERS_LINKED_BENCH_H_

#include "providers/comparison.h"
#include "providers/provider_run.h"
#include "support/cache_reset.h"

inline Bench LinkedBench(SystemClassMode system_class = SystemClassMode::kServed) {
  const auto start = [] {
    ResetCache();
    return LinkedProviders();
  };
  return {start, system_class};
}

#endif  // PROVIDERS_LINKED_BENCH_H_
