#include "pci/source.h"

#include <sys/utsname.h>

#include <cerrno>
#include <cstdlib>

#include "pci/error.h"

namespace pci {
namespace {

constexpr const char* kRunningKernel = "/sys/bus/pci";

std::string Environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

}  // namespace

Source Source::RunningKernel() { return {Kind::kSysfs, kRunningKernel}; }

Source Source::FromEnvironment() {
  std::string sysfs = Environment(kSysfsVariable);
  std::string dump = Environment(kDumpVariable);
  if (!sysfs.empty() && !dump.empty()) {
    throw Error("HOSTCTL_PCI_SYSFS (" + sysfs + ") and HOSTCTL_PCI_DUMP (" + dump +
                ") are both set: unset one");
  }
  if (!dump.empty()) return {Kind::kDump, std::move(dump)};
  if (!sysfs.empty()) return {Kind::kSysfs, std::move(sysfs)};
  return RunningKernel();
}

std::string SystemName() {
  std::string name = Environment(kSystemNameVariable);
  if (!name.empty()) return name;
  utsname system;
  if (uname(&system) != 0) {
    throw Error("Cannot read the host's name: " + SystemReason(errno));
  }
  return system.nodename;
}

}  // namespace pci
