#include "tool/serve_command.h"

#include <cstdlib>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>

#include "broker/result_sink.h"
#include "pci/kernel_events.h"
#include "tool/class_names.h"
#include "tool/errors.h"
#include "tool/host_source.h"
#include "tool/output.h"
#include "tool/session.h"
#include "wbem/serve.h"

namespace tool {
namespace {

bool HasDevices(Session& session) {
  broker::Recorder found;
  session.EnumerateNames(ResolveClass("CIM_PCIDevice"), found);
  return !found.paths.empty();
}

// The provider library opened anew, with the host read; the session lives as long as its manager.
std::shared_ptr<broker::ObjectManager> OpenManager(const Arguments& arguments) {
  const auto session =
      std::make_shared<Session>(SessionOptions{arguments.library, SystemName(), arguments.verbose});
  broker::ObjectManager& manager = session->ManagerForThreads();
  if (session->incomplete() && !HasDevices(*session)) {
    throw CommandError("the host cannot be read: there is nothing to serve");
  }
  return {session, &manager};
}

bool IsRunningKernel() {
  return getenv("HOSTCTL_PCI_SYSFS") == nullptr && getenv("HOSTCTL_PCI_DUMP") == nullptr;
}

// The kernel's word about PCI functions; nothing for a copy of a host, or where it cannot be had.
std::unique_ptr<const pci::KernelEvents> ListenToKernel() {
  if (!IsRunningKernel()) return nullptr;
  try {
    return std::make_unique<const pci::KernelEvents>();
  } catch (const std::system_error& error) {
    WriteDiagnostic(std::string("ostrel-pci: changes of the host are not seen: ") + error.what() +
                    '\n');
    return nullptr;
  }
}

wbem::ServerOptions OptionsOf(const Arguments& arguments) {
  wbem::ServerOptions options;
  options.address = arguments.address;
  options.port = arguments.port;
  if (arguments.verbose) {
    options.log = [](const std::string& line) { WriteDiagnostic(line + '\n'); };
  }
  return options;
}

}  // namespace

void RunServe(const Arguments& arguments, std::ostream& out) {
  // Listening comes first, so that nothing is missed between it and the first reading.
  const auto events = ListenToKernel();
  std::optional<wbem::HostWatch> watch;
  if (events) watch = {events->descriptor(), [&events] { return events->Read(); }};
  wbem::CurrentManager manager([&arguments] { return OpenManager(arguments); });
  try {
    wbem::Serve(manager, OptionsOf(arguments), watch, out);
  } catch (const std::invalid_argument& error) {
    throw UsageError(error.what());
  }
}

}  // namespace tool
