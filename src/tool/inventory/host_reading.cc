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
  const std::string missing = MissingFunctions(host);
  if (!missing.empty()) warn(missing);
  for (const std::string& line : MissingParts(host, source)) warn(line);
}

// Runs the reading, in the words of a command.
template <class Read>
HostReading Translated(Read read) {
  try {
    return read();
  } catch (const pci::Error& error) {
    throw CommandError(fmt::format("the host could not be read: {}", error.what()));
  }
}

}  // namespace

HostReading ReadHost(const pci::Host::Wanted& wanted) {
  return Translated([&] { return ReadHost(pci::Source::FromEnvironment(), wanted); });
}

HostReading ReadHost(const pci::Source& source, const pci::Host::Wanted& wanted) {
  return Translated([&] {
    HostReading reading{pci::Host::Read(source, wanted)};
    WarnOfWhatIsMissing(reading.host, source);
    reading.incomplete = !reading.host.troubles().empty();
    return reading;
  });
}

}  // namespace tool
