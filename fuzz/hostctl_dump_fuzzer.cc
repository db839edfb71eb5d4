// Any text as a dump of a host's PCI functions.

#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz_target.h"
#include "hostctl/sources.h"
#include "hostctl_oracle.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const hostctl_test::TempFolder folder;
  const std::string file = folder.Write("dump", std::string(fuzz::TextOf(data, size)));
  fuzz::CheckSource([&] { return hostctl_test::ReadDump(file); });
  return 0;
}
