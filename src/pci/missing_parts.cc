#include "pci/missing_parts.h"

#include <algorithm>

namespace pci {
namespace {

constexpr std::size_t kMostTold = 10;

// How a person gets a source that shows all of every function.
std::string WayToSeeAll(const Host& host, const Source& source) {
  if (source.kind == Source::Kind::kDump) return "take it with lspci -xxx, as root";
  return host.from_running_kernel() ? "run as root, with CAP_SYS_ADMIN" : "copy it as root";
}

void AddMissingFunctions(const Host& host, std::vector<std::string>& lines) {
  const std::vector<Trouble>& troubles = host.troubles();
  for (std::size_t i = 0; i < std::min(troubles.size(), kMostTold); ++i) {
    lines.push_back(troubles[i].where + " is left out: " + troubles[i].reason);
  }
  if (troubles.size() <= kMostTold) return;
  lines.push_back(std::to_string(troubles.size() - kMostTold) + " more PCI functions are left out");
}

}  // namespace

std::string MissingFunctions(const Host& host) {
  const std::size_t missing = host.troubles().size();
  if (missing == 0) return {};
  return std::to_string(missing) + " of " + std::to_string(missing + host.functions().size()) +
         " PCI functions could not be read";
}

std::vector<std::string> MissingParts(const Host& host, const Source& source) {
  std::vector<std::string> lines;
  AddMissingFunctions(host, lines);
  if (host.cut_off_functions() > 0) {
    lines.push_back(source.path + ": " + std::to_string(host.cut_off_functions()) + " of " +
                    std::to_string(host.functions().size()) +
                    " functions are shown without their capabilities: port types are unknown, "
                    "switches taken for bridges; " +
                    WayToSeeAll(host, source));
  }
  for (const std::string& notice : {host.slots_notice(), host.names_notice()}) {
    if (!notice.empty()) lines.push_back(notice);
  }
  return lines;
}

}  // namespace pci
