// The topology cache of the test program, read into the naive model's terms, so that the two can be
// compared.
//
// Thread rule: on the test's own thread, after the build.

#ifndef CACHE_OBSERVE_CACHE_H_
#define CACHE_OBSERVE_CACHE_H_

#include <string>
#include <vector>

#include "support/fake_host.h"
#include "support/naive_topology.h"

// Everything that the cache holds; `built`, `calls` and `log` are left to the caller.
naive::Topology ObserveCache();

// Builds the real cache and the model over the host and tells in lines where they differ; empty
// when they agree. Compares what the build leaves, every lookup by name asked after it, all log
// lines, that no object of the host is left over, and that a build is not done again. `failures`
// apply to the build alone.
std::string CompareWithModel(const fake::Host& host, const naive::Failures& failures = {},
                             bool dump_file = false);

#endif  // CACHE_OBSERVE_CACHE_H_
