// Starts the topology cache of the test program anew. (A provider library opened with dlopen has a
// cache of its own, out of reach here.)
//
// Thread rule: on the test's own thread, while nobody reads the cache.

#ifndef SUPPORT_CACHE_RESET_H_
#define SUPPORT_CACHE_RESET_H_

#include "cache/cache_state.h"
#include "cache/topology_cache.h"
#include "support/fake_host.h"

// As the process starts: empty, not built.
inline void ResetCache() { ProcessCache().Reset(); }

// Takes the controlled-by index away again.
inline void DropControlledBy() {
  TopologyCache& cache = ProcessCache();
  cache.controlled_by.clear();
  cache.cbPortMap.clear();
  cache.cbDevMap.clear();
}

// Resets, installs the host and builds. Throws what LoadCache throws.
inline void LoadHost(const fake::Host& host) {
  ResetCache();
  fake::Use(host);
  LoadCache();
}

#endif  // SUPPORT_CACHE_RESET_H_
