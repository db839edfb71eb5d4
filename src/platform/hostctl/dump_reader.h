// Reads text dumps as lspci -x, -xxx and -xxxx print them.
//
// libpci has a reader for them too; access.h tells why it is not used.
// Thread rule: no state is shared; each call reads its own file.

#ifndef PLATFORM_HOSTCTL_DUMP_READER_H_
#define PLATFORM_HOSTCTL_DUMP_READER_H_

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "platform/hostctl/pci_address.h"

namespace HostCtl::Linux {

// Takes one function of a dump and the start of its configuration space: at least the standard
// header, at most kConfigSize bytes. The bytes are the callee's to use during the call.
using DumpedFunctionHandler = std::function<void(const PciAddress&, std::span<std::uint8_t>)>;

// Calls `handle` for every function in the file at `path`, in the file's order, in memory that does
// not grow with the file. An empty file is the dump of a host without PCI functions. Throws
// HostCtlException with file and line where the text is no such dump, is cut off within a function,
// or cannot be read; the functions before were then already handled.
void ReadDump(const std::string& path, const DumpedFunctionHandler& handle);

}  // namespace HostCtl::Linux

#endif  // PLATFORM_HOSTCTL_DUMP_READER_H_
