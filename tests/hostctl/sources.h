// Sources for the host control library in tests, and the devices that it finds in them.

#ifndef HOSTCTL_SOURCES_H_
#define HOSTCTL_SOURCES_H_

#include <memory>
#include <string>
#include <vector>

#include "cache/hostctl.h"
#include "pci/written_sources.h"

namespace hostctl_test {

using Devices = std::vector<std::unique_ptr<HostCtl::Hardware::PciDevice>>;

// Of guest-switches: the file, and the folder with devices/ and slots/.
std::string RecordedDump();
std::string RecordedSysfs();

// Sets one environment variable for as long as it lives, and unsets the library's other ones.
class ScopedVariable {
 public:
  ScopedVariable(const char* name, const std::string& value);
  ~ScopedVariable();

 private:
  const char* name_;
};

// The functions that the library finds in a source. Throw HostCtlException.
Devices ReadDump(const std::string& path);
Devices ReadSysfs(const std::string& path);

using pci_test::Endpoint;
using pci_test::Function;
using pci_test::OpenDescriptors;
using pci_test::Random;
using pci_test::TempFolder;
using pci_test::WriteSysfsFunction;

// Functions as the library sees them in a dump of them.
Devices ReadDumpOf(const std::vector<Function>& functions);

}  // namespace hostctl_test

#endif  // HOSTCTL_SOURCES_H_
