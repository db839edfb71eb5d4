// Any text as a dump of a host's PCI functions.

#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz_target.h"
#include "pci_oracle.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const pci_test::TempFolder folder;
  const std::string file = folder.Write("dump", std::string(fuzz::TextOf(data, size)));
  fuzz::CheckSource({pci::Source::Kind::kDump, file});
  return 0;
}
