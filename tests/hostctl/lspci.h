// What lspci says of a source: the second opinion that the library's answers are held against.

#ifndef HOSTCTL_LSPCI_H_
#define HOSTCTL_LSPCI_H_

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace hostctl_test {

// One function as lspci shows it; numbers are what its text says, names as it prints them.
struct LspciFunction {
  std::string slot;  // the address
  unsigned vendor = 0, device = 0, class_code = 0, revision = 0;
  unsigned subsystem_vendor = 0, subsystem = 0;
  std::string vendor_name, device_name;
  int physical_slot = -1;
  unsigned secondary_bus = 0;
  std::vector<std::uint32_t> capability_codes;
};

// `arguments` choose lspci's source; none is the running kernel. lspci must be installed.
std::vector<LspciFunction> RunLspci(const std::string& arguments);

}  // namespace hostctl_test

#endif  // HOSTCTL_LSPCI_H_
