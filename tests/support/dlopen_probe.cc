// A library that a test opens with dlopen, to see that log lines, the dump file and the host reach
// the test's stand-ins from there too.

#include <syslog.h>
#include <unistd.h>

#include "cache/hostctl.h"

#define PROBE_API extern "C" __attribute__((visibility("default")))

PROBE_API void ProbeLog(const char* text) { syslog(LOG_ERR, "probe says %s", text); }

PROBE_API int ProbeAccess(const char* path) { return access(path, R_OK); }

// The number of devices, or -1 when the host throws a HostCtlException.
PROBE_API int ProbeCountDevices() {
  try {
    HostCtl::HostFactory::GetHost();
    const auto pci_info = HostCtl::Host::GetHardwareInfo()->GetPciInfo();
    return static_cast<int>(pci_info->GetPciDevices().size());
  } catch (const HostCtl::Lib::HostCtlException&) {
    return -1;
  }
}
