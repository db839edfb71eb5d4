// Which host is shown: this one, a copy of a sysfs tree, or a text dump. The host control library
// reads its choice from the environment; so do other programs that load it.
//
// Thread rule: changes the environment and standard input; call before any other thread exists.

#ifndef TOOL_HOST_SOURCE_H_
#define TOOL_HOST_SOURCE_H_

#include <optional>
#include <string>

namespace tool {

struct HostSource {
  std::optional<std::string> sysfs = {};        // folder with devices/ (--sysfs)
  std::optional<std::string> dump = {};         // file as "lspci -x" prints it, or "-" (--dump)
  std::optional<std::string> system_name = {};  // (--system-name)
};

// Puts the choice into the environment, HOSTCTL_PCI_SYSFS, HOSTCTL_PCI_DUMP and
// HOSTCTL_SYSTEM_NAME; an option takes the place of both source variables. What the options leave
// open stays as the environment has it. A dump that comes through a pipe, as "-" or by its name, is
// read to its end, into memory in place of standard input. Throws CommandError where a named source
// does not exist or cannot be read, UsageError where both are named.
void SelectHost(const HostSource& source);

// The regular file that holds the dump at `path`, which may be "-" or a pipe: that is read to its
// end, as above. Throws CommandError.
std::string DumpFile(const std::string& path);

// The name that the host control library will report, once SelectHost was called.
std::string SystemName();

}  // namespace tool

#endif  // TOOL_HOST_SOURCE_H_
