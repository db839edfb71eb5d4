#include "tool/inventory/links.h"

#include <unistd.h>

#include <algorithm>

#include "tool/errors.h"
#include "tool/inventory/function_text.h"
#include "tool/inventory/host_link.h"
#include "tool/inventory/host_reading.h"
#include "tool/json_text.h"
#include "tool/output.h"
#include "tool/table.h"
#include "tool/utf8_text.h"

namespace tool {
namespace {

using State = HostLink::State;

std::vector<HostLink> LinksOf(const pci::Host& host, const Selection& selection) {
  const std::vector<std::uint32_t> selected = selection.Of(host);
  const auto is_selected = [&](std::uint32_t end) {
    return std::binary_search(selected.begin(), selected.end(), end);
  };
  std::vector<HostLink> links = HostLinks(host).all();
  std::erase_if(links, [&](const HostLink& link) {
    return !is_selected(link.upper) && !is_selected(link.lower);
  });
  return links;
}

std::string EndText(const pci::Host& host, std::uint32_t end, const char* missing) {
  return end == pci::kNone ? missing : FormatAddress(host.functions()[end].address);
}

// "0000:00:03.0 -> 0000:01:00.0".
std::string EndsText(const pci::Host& host, const HostLink& link) {
  if (link.state == State::kIntegrated) return EndText(host, link.lower, "");
  const char* below = link.state == State::kDown ? "nothing" : "not shown";
  return EndText(host, link.upper, "not shown") + " -> " + EndText(host, link.lower, below);
}

// What the link leads to; of a port without anything below it the slot.
Cell TargetCell(const pci::Host& host, const HostLink& link) {
  if (link.lower == pci::kNone) {
    const std::uint32_t slot = host.functions()[link.upper].slot_below;
    return slot == pci::kNone ? "" : PrintableUtf8("slot " + host.slots()[slot].name);
  }
  const pci::Function& function = host.functions()[link.lower];
  const std::string class_name = ClassText(function) + ": ";
  return {PrintableUtf8(class_name + NameText(host, function)),
          PrintableUtf8(class_name + host.DeviceName(function))};
}

void PrintLinks(const pci::Host& host, const std::vector<HostLink>& links, std::ostream& out) {
  Table table{.titles = {"ends", "now", "of", "possible", "state", "target"},
              .rows = {},
              .cuttable = {false, false, false, false, false, true},
              .headings = false};
  for (const HostLink& link : links) {
    const std::string possible = RateText(link.possible);
    table.rows.push_back({EndsText(host, link), RateText(link.now), possible.empty() ? "" : "of",
                          possible, std::string(StateText(link.state)), TargetCell(host, link)});
  }
  DropEmptyColumns(table);
  PrintTable(table, TerminalWidth(STDOUT_FILENO), Ellipsis(), out);
}

void WriteMember(JsonText& json, std::string_view name, const std::string& text) {
  json.Name(name);
  text.empty() ? json.Null() : json.Text(text);
}

void WriteLinks(const pci::Host& host, const std::vector<HostLink>& links, std::ostream& out) {
  JsonText json(out);
  json.BeginArray();
  for (const HostLink& link : links) {
    json.BeginObject();
    WriteMember(json, "upper", EndText(host, link.upper, ""));
    WriteMember(json, "lower", EndText(host, link.lower, ""));
    WriteMember(json, "now", RateText(link.now));
    WriteMember(json, "possible", RateText(link.possible));
    const std::string_view state = StateText(link.state);
    WriteMember(json, "state", state.empty() ? "in order" : std::string(state));
    json.EndObject();
  }
  json.EndArray();
  out << '\n';
}

bool IsDegraded(const HostLink& link) { return link.state == State::kDegraded; }

}  // namespace

int RunLinks(const LinksOptions& options, const SelectionOptions& selected, bool as_json,
             std::ostream& out) {
  const Selection selection(selected);
  pci::Host::Wanted wanted{.names = !as_json};
  selection.AddWanted(wanted);
  const HostReading reading = ReadHost(wanted);
  std::vector<HostLink> links = LinksOf(reading.host, selection);
  if (options.degraded) std::erase_if(links, [](const auto& link) { return !IsDegraded(link); });
  as_json ? WriteLinks(reading.host, links, out) : PrintLinks(reading.host, links, out);
  if (reading.incomplete) return kExitFailed;
  return std::any_of(links.begin(), links.end(), IsDegraded) ? kExitDegraded : kExitOk;
}

}  // namespace tool
