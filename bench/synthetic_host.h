// A host of any size behind the host control interface, for benchmarks: as little work per call as
// an implementation can do, so that what is measured is the caller.
//
// The library of this header carries the soname libHostCtl.so.1 and also takes the place of syslog,
// whose cost is the log daemon's and not ours.
//
// Thread rule: UseSyntheticHost on the benchmark's own thread while nobody reads the host; devices
// may be read from any thread.

#ifndef BENCH_SYNTHETIC_HOST_H_
#define BENCH_SYNTHETIC_HOST_H_

#include <cstddef>

#define BENCH_HOST_API __attribute__((visibility("default")))

namespace bench {

// How the parent of an endpoint behind a bridge is called: as the bridge, or as the bridge's
// primary port. Only parents called as ports have connections (Ostrel_PCIDeviceConnection).
enum class Parents { kCalledAsDevices, kCalledAsPorts };

// From now on the host has `functions` PCI functions: a host bridge, up to eight switches of four
// downstream ports, then groups of one PCI-to-PCI bridge and seven endpoints behind it; each in
// segments of 256 buses. The devices of an earlier host stay valid.
BENCH_HOST_API void UseSyntheticHost(std::size_t functions,
                                     Parents parents = Parents::kCalledAsDevices);

}  // namespace bench

#endif  // BENCH_SYNTHETIC_HOST_H_
