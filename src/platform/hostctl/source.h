// Where a snapshot is read from: the running kernel, a copy of a sysfs tree or a text dump.
// Thread rule: a plain value; reading the environment is as safe as getenv is.

#ifndef PLATFORM_HOSTCTL_SOURCE_H_
#define PLATFORM_HOSTCTL_SOURCE_H_

#include <string>

namespace HostCtl::Linux {

struct Source {
  enum class Kind { kSysfs, kDump };

  Kind kind;
  std::string path;  // the folder with devices/ and slots/, or the dump's file

  // How a person gets a source that shows all of every function, where this one does not.
  const char* WayToSeeAll() const;

  // The source that HOSTCTL_PCI_SYSFS or HOSTCTL_PCI_DUMP names, else the running kernel. An empty
  // variable counts as unset. Throws HostCtlException where both are set.
  static Source FromEnvironment();
};

// HOSTCTL_SYSTEM_NAME where it is set and not empty, else the kernel's host name (never looked up
// in the network). Throws HostCtlException.
std::string SystemName();

}  // namespace HostCtl::Linux

#endif  // PLATFORM_HOSTCTL_SOURCE_H_
