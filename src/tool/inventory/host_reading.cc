#include "tool/inventory/host_reading.h"

#include <fmt/format.h>

#include <utility>

#include "pci/error.h"
#include "pci/missing_parts.h"
#include "tool/errors.h"
#include "tool/output.h"

namespace tool {
namespace {

void WarnOfWhatIsMissing(const pci::Host& host, const pci::Source& source) {
  const auto warn = [](const std::string& text) { WriteDiagnostic("ostrel-pci: " + text + "\n"); };
  const std::size_t missing = host.troubles().size();
  if (missing > 0) {
    warn(fmt::format("{} of {} PCI functions could not be read", missing,
                     missing + host.functions().size()));
  }
  for (const std::string& line : MissingParts(host, source)) warn(line);
}

}  // namespace

HostReading ReadHost(const pci::Host::Wanted& wanted) {
  try {
    const pci::Source source = pci::Source::FromEnvironment();
    pci::Host host = pci::Host::Read(source, wanted);
    WarnOfWhatIsMissing(host, source);
    const bool incomplete = !host.troubles().empty();
    return {std::move(host), incomplete};
  } catch (const pci::Error& error) {
    throw CommandError(fmt::format("the host could not be read: {}", error.what()));
  }
}

}  // namespace tool
