// The floor under the build of the topology cache: the same calls of the host in the same order,
// the same strings of devices and ports stored once each, and the least by which the cache's
// questions can be answered without a search: one table from names to positions, and the sorted
// port names that the cache hands out. No other index or list, no log. tests/cache holds it against
// the cache.
//
// Thread rule: a plain value. Names are taken to be distinct, and every call to succeed.

#ifndef BENCH_CACHE_FLOOR_H_
#define BENCH_CACHE_FLOOR_H_

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "bench/name_table.h"
#include "cache/hostctl.h"

namespace bench {

struct CacheFloor {
  struct Port {
    std::string parent;
    std::string name;
    std::string peer;
    std::string device_name;
    std::uint8_t bus;
    const HostCtl::Hardware::PciDevice* device;
    const char* class_name = nullptr;
  };

  std::string system_name;
  std::vector<std::unique_ptr<HostCtl::Hardware::PciDevice>> devices;
  std::vector<Port> ports;
  NameTable names;  // of devices and ports
  std::set<std::string> port_names;

  void Build();
};

}  // namespace bench

#endif  // BENCH_CACHE_FLOOR_H_
