// What lspci tells of a function in words, beside its registers: -v and -k print such lines.
// Thread rule: a plain value.

#ifndef PCI_LSPCI_TEXT_H_
#define PCI_LSPCI_TEXT_H_

#include <string>
#include <string_view>

#include "pci/function.h"

namespace pci {

struct LspciText {
  Detail detail;
  std::string slot;  // the kernel's name for the one that the function sits in; empty: not told

  // Takes what one of the function's lines tells; most tell nothing of this.
  void Take(std::string_view line);
};

}  // namespace pci

#endif  // PCI_LSPCI_TEXT_H_
