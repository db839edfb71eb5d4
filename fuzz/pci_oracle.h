// What holds of a host whatever its source: it is read and makes sense, or ends in an error with a
// text; either way no file is left open.
//
// Thread rule: on the target's own thread.

#ifndef FUZZ_PCI_ORACLE_H_
#define FUZZ_PCI_ORACLE_H_

#include <cstddef>
#include <string>

#include "fuzz_target.h"
#include "pci/error.h"
#include "pci/host.h"
#include "pci/hosts.h"
#include "pci/written_sources.h"

namespace fuzz {

// Without names: the list is the same for every input.
inline void CheckSource(const pci::Source& source) {
  const std::size_t open_before = pci_test::OpenDescriptors();
  try {
    const pci::Host host =
        pci::Host::Read(source, {.names = false, .details = pci::WantedDetails::All()});
    RequireNone(pci_test::Complaints(host));
  } catch (const pci::Error& error) {
    if (std::string(error.what()).empty()) RequireNone("an error without a text");
  }
  if (pci_test::OpenDescriptors() != open_before) RequireNone("a file is left open");
}

}  // namespace fuzz

#endif  // FUZZ_PCI_ORACLE_H_
