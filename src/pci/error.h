// What the room throws where a source cannot be read.
// Thread rule: a plain value.

#ifndef PCI_ERROR_H_
#define PCI_ERROR_H_

#include <stdexcept>
#include <string>
#include <system_error>

namespace pci {

// Plain words first: what could not be done, where, and the system's reason.
struct Error : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// The system's words for an errno.
inline std::string SystemReason(int error) { return std::generic_category().message(error); }

}  // namespace pci

#endif  // PCI_ERROR_H_
