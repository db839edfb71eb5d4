#include "hostctl/sources.h"

#include <stdlib.h>

#include "pci/hosts.h"

namespace hostctl_test {
namespace {

constexpr const char* kVariables[] = {"HOSTCTL_PCI_SYSFS", "HOSTCTL_PCI_DUMP",
                                      "HOSTCTL_SYSTEM_NAME"};

Devices Read() { return HostCtl::Host::GetHardwareInfo()->GetPciInfo()->GetPciDevices(); }

}  // namespace

std::string RecordedDump() { return pci_test::RecordedDump("guest-switches"); }
std::string RecordedSysfs() { return pci_test::RecordedSysfs("guest-switches"); }

ScopedVariable::ScopedVariable(const char* name, const std::string& value) : name_(name) {
  for (const char* variable : kVariables) unsetenv(variable);
  setenv(name, value.c_str(), 1);
}

ScopedVariable::~ScopedVariable() { unsetenv(name_); }

Devices ReadDump(const std::string& path) {
  const ScopedVariable dump("HOSTCTL_PCI_DUMP", path);
  return Read();
}

Devices ReadSysfs(const std::string& path) {
  const ScopedVariable sysfs("HOSTCTL_PCI_SYSFS", path);
  return Read();
}

Devices ReadDumpOf(const std::vector<Function>& functions) {
  const TempFolder folder;
  return ReadDump(folder.Write("dump", pci_test::DumpOf(functions)));
}

}  // namespace hostctl_test
