#include "tool/inventory/tree_facts.h"

#include <fmt/format.h>

#include "pci/parents.h"
#include "tool/inventory/function_text.h"
#include "tool/inventory/host_link.h"

namespace tool {
namespace {

std::string LinkOf(const pci::Function& function, const HostLink* link) {
  const std::string now = RateText(function.link.now);
  const bool degraded = link != nullptr && link->state == HostLink::State::kDegraded;
  return degraded && !now.empty() ? now + " of " + RateText(link->possible) : now;
}

FunctionFacts FactsOf(const pci::Host& host, const pci::Function& function, const HostLink* link) {
  const pci::Detail& detail = host.DetailOf(function);
  FunctionFacts facts;
  facts.type = KindText(function);
  facts.ids = IdsText(function.ids.vendor, function.ids.device);
  facts.revision = fmt::format("{:02x}", function.revision);
  facts.driver = detail.driver;
  facts.link = LinkOf(function, link);
  facts.numa_node = detail.numa_node;
  if (function.physical_function != pci::kNone) {
    facts.physical_function = FormatAddress(host.functions()[function.physical_function].address);
  }
  return facts;
}

}  // namespace

void AddFacts(const pci::Host& host, Topology& topology) {
  const HostLinks links(host);
  for (Function& function : topology.functions) {
    const auto address = pci::ParseAddress(function.id);
    const std::uint32_t place =
        address ? pci::FindFunction(host.functions(), *address) : pci::kNone;
    if (place == pci::kNone) continue;
    function.facts = FactsOf(host, host.functions()[place], links.Above(place));
  }
}

}  // namespace tool
