// The reading that a host control library of ours answers from, shown to the program that opened
// it. So a tool reads no function a second time, what it draws is of the same moment as what the
// providers say, and it knows what is missing. A library that has no such function is another
// platform's: its devices need not be PCI functions of this machine at all.
//
// Thread rule: thread-safe.

#ifndef PCI_SHARED_HOST_H_
#define PCI_SHARED_HOST_H_

#include <cstddef>
#include <string>
#include <string_view>

#include "pci/host.h"

namespace pci {

// What two programs must have in common that look at one Host.
struct HostLayout {
  const char* release = OSTREL_VERSION;
  std::size_t host_size = sizeof(Host);
  std::size_t function_size = sizeof(Function);

  bool operator==(const HostLayout& other) const {
    return std::string_view(release) == other.release && host_size == other.host_size &&
           function_size == other.function_size;
  }
};

// The latest reading.
struct SharedReading {
  const Host* host = nullptr;  // lives as long as any device of it; nullptr where there is none
  std::string failure = {};    // why the host could not be read; else empty
};

// The library's C function of that name. False, and `reading` as it was, where the caller was built
// of other sources than the library and would misread it.
using SharedHostFunction = bool(const HostLayout& callers, SharedReading& reading);
inline constexpr const char* kSharedHostSymbol = "OstrelSharedPciHost";

}  // namespace pci

#endif  // PCI_SHARED_HOST_H_
