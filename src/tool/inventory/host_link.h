// Links of PCI Express, as both of their ends tell of them.
//
// Thread rule: plain values; immutable once made.

#ifndef TOOL_INVENTORY_HOST_LINK_H_
#define TOOL_INVENTORY_HOST_LINK_H_

#include <cstdint>
#include <string_view>
#include <vector>

#include "pci/host.h"

namespace tool {

struct HostLink {
  enum class State {
    kInOrder,     // runs at what both ends can
    kDegraded,    // runs slower or narrower
    kDown,        // nothing answers below the port
    kUnknown,     // an end does not say what it can, or at what the link runs
    kOneEnd,      // the other end is no function of this host
    kIntegrated,  // a function of the root complex, which has no link
  };

  // Places in Host::functions(); kNone: not shown, or nothing is there.
  std::uint32_t upper = pci::kNone;  // the port that the link leads down from
  std::uint32_t lower = pci::kNone;  // the first function of the device that it leads to
  pci::LinkRate now = {};
  pci::LinkRate possible =
      {};  // the lesser of both ends; of kDown and kOneEnd what the one end can
  State state = State::kUnknown;
};

// "degraded"; "" of a link in order.
std::string_view StateText(HostLink::State state);

// All links of the host, ascending by the address of the upper end, else of the lower one.
class HostLinks {
 public:
  explicit HostLinks(const pci::Host& host);

  const std::vector<HostLink>& all() const { return links_; }

  // The link above the function of this place, that all functions of its device share; nullptr
  // where it has none.
  const HostLink* Above(std::uint32_t function) const;

 private:
  std::vector<HostLink> links_;
  std::vector<std::uint32_t> above_;  // by place of function: place in links_
};

}  // namespace tool

#endif  // TOOL_INVENTORY_HOST_LINK_H_
