#include "tool/inventory/path.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>

#include "tool/errors.h"
#include "tool/inventory/function_text.h"
#include "tool/inventory/host_reading.h"
#include "tool/inventory/named_function.h"
#include "tool/inventory/way.h"
#include "tool/json_text.h"
#include "tool/output.h"
#include "tool/table.h"
#include "tool/utf8_text.h"

namespace tool {
namespace {

using Places = std::vector<std::uint32_t>;

struct ReadWays {
  explicit ReadWays(const pci::Host& read) : host(read), links(read) {}

  std::string AddressOf(std::uint32_t place) const {
    return FormatAddress(host.functions()[place].address);
  }

  const pci::Host& host;
  HostLinks links;
};

// At what the link above the function runs.
std::string LinkText(const ReadWays& ways, std::uint32_t place) {
  const HostLink* link = ways.links.Above(place);
  if (link == nullptr) return "";
  const bool degraded = link->state == HostLink::State::kDegraded;
  return RateText(link->now) + (degraded ? " of " + RateText(link->possible) : "");
}

// "2.5 GT/s x1, 0000:06:00.0 -> 0000:07:00.0"; empty where no link tells.
std::string NarrowestText(const ReadWays& ways, const Way& way) {
  const HostLink* link = NarrowestLink(way, ways.links);
  if (link == nullptr) return "";
  const std::string upper = link->upper == pci::kNone ? "not shown" : ways.AddressOf(link->upper);
  return fmt::format("{}, {} -> {}", RateText(link->now), upper, ways.AddressOf(link->lower));
}

// ---------------------------------------------------------------------------------------------
// One way

void AddFunction(const ReadWays& ways, std::uint32_t place, Table& table) {
  const pci::Function& function = ways.host.functions()[place];
  table.rows.push_back({ways.AddressOf(place), KindText(function), LinkText(ways, place),
                        PrintableUtf8(SlotName(ways.host, function)),
                        Cell(PrintableUtf8(NameText(ways.host, function)),
                             PrintableUtf8(ways.host.DeviceName(function)))});
}

void AddRootBus(const ReadWays& ways, std::uint32_t below, Table& table) {
  const pci::Address& address = ways.host.functions()[below].address;
  const std::string bus = fmt::format("{:04x}:{:02x}", address.domain, address.bus);
  if (table.rows.back()[0].text == bus) return;
  table.rows.push_back({bus, "root bus", "", "", ""});
}

void PrintWay(const ReadWays& ways, const Way& way, std::ostream& out) {
  Table table{.titles = {"ADDRESS", "KIND", "LINK", "SLOT", "NAME"},
              .rows = {},
              .cuttable = {false, false, false, false, true}};
  for (const std::uint32_t place : way.up) AddFunction(ways, place, table);
  if (!way.has_common_top) AddRootBus(ways, way.up.back(), table);
  if (!way.has_common_top && !way.down.empty()) AddRootBus(ways, way.down.back(), table);
  for (auto place = way.down.rbegin(); place != way.down.rend(); ++place) {
    AddFunction(ways, *place, table);
  }
  const std::size_t hops = table.rows.size() - 1;
  DropEmptyColumns(table);
  PrintTable(table, TerminalWidth(STDOUT_FILENO), Ellipsis(), out);
  const std::string narrowest = NarrowestText(ways, way);
  out << fmt::format("{}: {} hop{}{}{}\n",
                     way.down.empty() && !way.has_common_top ? "to the root" : KindText(way.kind),
                     hops, hops == 1 ? "" : "s", narrowest.empty() ? "" : "; narrowest link ",
                     narrowest);
}

void WriteText(JsonText& json, std::string_view name, const std::string& text) {
  json.Name(name);
  text.empty() ? json.Null() : json.Text(text);
}

void WriteFunctions(const ReadWays& ways, std::string_view name, const Places& places,
                    JsonText& json) {
  json.Name(name);
  json.BeginArray();
  for (const std::uint32_t place : places) json.Text(ways.AddressOf(place));
  json.EndArray();
}

void WriteWay(const ReadWays& ways, const Way& way, JsonText& json) {
  json.BeginObject();
  const bool to_root = way.down.empty() && !way.has_common_top;
  WriteText(json, "kind", to_root ? "to the root" : std::string(KindText(way.kind)));
  WriteFunctions(ways, "up", way.up, json);
  WriteFunctions(ways, "down", {way.down.rbegin(), way.down.rend()}, json);
  const HostLink* link = NarrowestLink(way, ways.links);
  WriteText(json, "narrowest", link == nullptr ? "" : RateText(link->now));
  json.EndObject();
}

void ShowWay(const ReadWays& ways, const Way& way, bool as_json, std::ostream& out) {
  if (!as_json) return PrintWay(ways, way, out);
  JsonText json(out);
  WriteWay(ways, way, json);
  out << '\n';
}

// ---------------------------------------------------------------------------------------------
// All pairs

void PrintLegend(std::vector<Way::Kind> kinds, std::ostream& out) {
  std::sort(kinds.begin(), kinds.end());
  kinds.erase(std::unique(kinds.begin(), kinds.end()), kinds.end());
  for (const Way::Kind kind : kinds) {
    if (kind == Way::Kind::kSelf) continue;
    out << fmt::format("{:<4}  {}\n", ShortKindText(kind), KindText(kind));
  }
}

void PrintMatrix(const ReadWays& ways, const Places& places, std::ostream& out) {
  Table table{.titles = {""}, .rows = {}};
  std::vector<Way::Kind> kinds;
  for (const std::uint32_t place : places) table.titles.push_back(ways.AddressOf(place));
  for (const std::uint32_t from : places) {
    std::vector<Cell>& row = table.rows.emplace_back();
    row.emplace_back(ways.AddressOf(from));
    for (const std::uint32_t to : places) {
      kinds.push_back(WayBetween(ways.host, from, to).kind);
      row.emplace_back(std::string(ShortKindText(kinds.back())));
    }
  }
  PrintTable(table, 0, "", out);
  out << '\n';
  PrintLegend(std::move(kinds), out);
}

void WriteMatrix(const ReadWays& ways, const Places& places, std::ostream& out) {
  JsonText json(out);
  json.BeginArray();
  for (std::size_t i = 0; i < places.size(); ++i) {
    for (std::size_t j = i + 1; j < places.size(); ++j) {
      WriteWay(ways, WayBetween(ways.host, places[i], places[j]), json);
    }
  }
  json.EndArray();
  out << '\n';
}

void ShowMatrix(const ReadWays& ways, const Places& places, bool as_json, std::ostream& out) {
  constexpr std::size_t kMost = 256;
  if (places.size() > kMost) {
    throw CommandError(
        fmt::format("{} functions are too many for a table of all pairs: select "
                    "some, --class display,ethernet for example",
                    places.size()));
  }
  as_json ? WriteMatrix(ways, places, out) : PrintMatrix(ways, places, out);
}

void CheckOperands(const PathOptions& options, const Selection& selection) {
  if (options.matrix && !options.ends.empty()) {
    throw UsageError("--matrix is of selected functions and takes no address");
  }
  if (!options.matrix && !selection.is_all()) {
    throw UsageError("functions are selected for --matrix alone");
  }
  if (!options.matrix && options.ends.empty()) {
    throw UsageError("the address of a function is missing");
  }
}

}  // namespace

int RunPath(const PathOptions& options, const SelectionOptions& selected, bool as_json,
            std::ostream& out) {
  const Selection selection(selected);
  CheckOperands(options, selection);
  pci::Host::Wanted wanted{.names = !as_json, .details = {.numa_node = true}};
  selection.AddWanted(wanted);
  const HostReading reading = ReadHost(wanted);
  const ReadWays ways(reading.host);
  if (options.matrix) {
    ShowMatrix(ways, selection.Of(reading.host), as_json, out);
  } else {
    const std::uint32_t from = FunctionNamed(options.ends[0], reading.host);
    const Way way =
        options.ends.size() == 1
            ? WayToRoot(reading.host, from)
            : WayBetween(reading.host, from, FunctionNamed(options.ends[1], reading.host));
    ShowWay(ways, way, as_json, out);
  }
  return reading.incomplete ? kExitFailed : kExitOk;
}

}  // namespace tool
