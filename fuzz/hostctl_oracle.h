// What holds of the host control library whatever its source: it answers devices that make sense,
// or throws its one exception with a text; either way it leaves no file open.
//
// Thread rule: on the target's own thread.

#ifndef FUZZ_HOSTCTL_ORACLE_H_
#define FUZZ_HOSTCTL_ORACLE_H_

#include <cstddef>
#include <string>

#include "cache/hostctl.h"
#include "fuzz_target.h"
#include "hostctl/device_text.h"
#include "hostctl/sources.h"

namespace fuzz {

// `read` gives the devices of a source.
template <typename Read>
void CheckSource(Read read) {
  const std::size_t open_before = hostctl_test::OpenDescriptors();
  try {
    RequireNone(hostctl_test::Complaints(read()));
  } catch (const HostCtl::Lib::HostCtlException& error) {
    if (error.message.empty()) RequireNone("an exception without a text");
  }
  if (hostctl_test::OpenDescriptors() != open_before) RequireNone("a file is left open");
}

}  // namespace fuzz

#endif  // FUZZ_HOSTCTL_ORACLE_H_
