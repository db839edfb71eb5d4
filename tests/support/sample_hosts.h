// Hosts to compare with a model: every small host of a set of device kinds, random larger ones, and
// the smallest host that still shows a difference.
//
// Thread rule: values; no shared state.

#ifndef SUPPORT_SAMPLE_HOSTS_H_
#define SUPPORT_SAMPLE_HOSTS_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "support/fake_host.h"

namespace fake {

// Devices of every kind, among them names that occur twice, hold a "-" or a port suffix, or hold
// one another, parents that are bridges, missing, or not in the host, and an unreadable port type.
const std::vector<Device>& SampleKinds();

// Calls `use` with every host of up to `size` devices that starts with this sample kind, and, for
// the first kind, with the empty host too. A kind may occur several times in a host.
void ForEachHost(std::size_t first_kind, std::size_t size,
                 const std::function<void(const Host&)>& use);

// A host of up to `max_size` devices, the same for the same seed. Names come from a small pool, so
// that duplicates and parents happen. `with_faults`: a few operations throw as well.
Host RandomHost(std::uint32_t seed, std::size_t max_size, bool with_faults);

// The host with as many devices removed as leave `fails` true.
Host Shrink(Host host, const std::function<bool(const Host&)>& fails);

}  // namespace fake

#endif  // SUPPORT_SAMPLE_HOSTS_H_
