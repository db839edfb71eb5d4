// Where a host is read from: the running kernel, a copy of a sysfs tree or a text dump.
// Thread rule: a plain value; reading the environment is as safe as getenv is.

#ifndef PCI_SOURCE_H_
#define PCI_SOURCE_H_

#include <string>

namespace pci {

// The variables that choose it, and the system's name.
inline constexpr const char* kSysfsVariable = "HOSTCTL_PCI_SYSFS";
inline constexpr const char* kDumpVariable = "HOSTCTL_PCI_DUMP";
inline constexpr const char* kSystemNameVariable = "HOSTCTL_SYSTEM_NAME";

struct Source {
  enum class Kind { kSysfs, kDump };

  Kind kind;
  std::string path;  // a folder as ReadSysfs takes it, or the dump's file

  static Source RunningKernel();

  // The source that HOSTCTL_PCI_SYSFS or HOSTCTL_PCI_DUMP names, else the running kernel. An empty
  // variable counts as unset. Throws Error where both are set.
  static Source FromEnvironment();
};

// HOSTCTL_SYSTEM_NAME where it is set and not empty, else the kernel's host name (never looked up
// in the network). Throws Error.
std::string SystemName();

}  // namespace pci

#endif  // PCI_SOURCE_H_
