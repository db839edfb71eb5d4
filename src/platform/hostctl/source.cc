#include "platform/hostctl/source.h"

#include <sys/utsname.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "cache/hostctl.h"

namespace HostCtl::Linux {
namespace {

constexpr const char* kRunningKernel = "/sys/bus/pci";

std::string Environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

}  // namespace

Source Source::FromEnvironment() {
  std::string sysfs = Environment("HOSTCTL_PCI_SYSFS");
  std::string dump = Environment("HOSTCTL_PCI_DUMP");
  if (!sysfs.empty() && !dump.empty()) {
    throw Lib::HostCtlException("HOSTCTL_PCI_SYSFS (" + sysfs + ") and HOSTCTL_PCI_DUMP (" + dump +
                                ") are both set: unset one");
  }
  if (!dump.empty()) return {Kind::kDump, std::move(dump)};
  if (!sysfs.empty()) return {Kind::kSysfs, std::move(sysfs)};
  return {Kind::kSysfs, kRunningKernel};
}

const char* Source::WayToSeeAll() const {
  if (kind == Kind::kDump) return "take it with lspci -xxx, as root";
  return path == kRunningKernel ? "run as root, with CAP_SYS_ADMIN" : "copy it as root";
}

std::string SystemName() {
  std::string name = Environment("HOSTCTL_SYSTEM_NAME");
  if (!name.empty()) return name;
  utsname system;
  if (uname(&system) != 0) {
    throw Lib::HostCtlException(std::string("Cannot read the host's name: ") +
                                std::strerror(errno));
  }
  return system.nodename;
}

}  // namespace HostCtl::Linux
