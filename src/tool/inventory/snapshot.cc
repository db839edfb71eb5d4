#include "tool/inventory/snapshot.h"

#include <fmt/format.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include "tool/errors.h"
#include "tool/host_source.h"
#include "tool/inventory/column.h"
#include "tool/inventory/host_reading.h"
#include "tool/json_value.h"
#include "tool/utf8_text.h"

namespace tool {
namespace {

namespace fs = std::filesystem;

// ---------------------------------------------------------------------------------------------
// JSON

std::string ValueText(const Json& value, const std::string& source) {
  if (value.is_null()) return "";
  if (value.is_string()) return value.get<std::string>();
  if (value.is_number_integer()) return value.dump();
  std::string joined;
  if (value.is_array()) {
    for (const Json& element : value) {
      if (!element.is_string()) break;
      joined += (joined.empty() ? "" : ",") + element.get<std::string>();
    }
    return joined;
  }
  throw CommandError(fmt::format("{}: {} is no value of a function", source, value.dump()));
}

FunctionRecord RecordOf(const Json& function, const std::string& source) {
  if (!function.is_object()) {
    throw CommandError(fmt::format("{}: {} is no function", source, function.dump()));
  }
  FunctionRecord record;
  for (const auto& [name, value] : function.items()) {
    record.emplace(name, ValueText(value, source));
  }
  return record;
}

Snapshot ParseJson(const std::string& text, const std::string& source) {
  Json json;
  try {
    json = Json::parse(text);
  } catch (const Json::parse_error& error) {
    throw CommandError(fmt::format("{} is no JSON: {}", source, error.what()));
  }
  const Json& functions = json.is_object() && json.contains("functions") ? json["functions"] : json;
  if (!functions.is_array()) {
    throw CommandError(fmt::format("{} has no functions as \"list -o json\" writes them", source));
  }
  Snapshot snapshot{.functions = {}, .is_partial = true};
  for (const Json& function : functions) snapshot.functions.push_back(RecordOf(function, source));
  return snapshot;
}

// Whether it begins as JSON does and no dump. Then it is read whole.
bool IsJson(std::istream& file) {
  char first = ' ';
  while (file.get(first) && (first == ' ' || first == '\n' || first == '\t' || first == '\r')) {
  }
  const bool is_json = file && (first == '{' || first == '[');
  file.clear();
  file.seekg(0);
  return is_json;
}

// ---------------------------------------------------------------------------------------------
// Hosts

// Who says nothing of any function does not tell: a dump of drivers, a machine of NUMA nodes.
void DropWhatIsNotTold(Snapshot& snapshot) {
  std::set<std::string> told;
  for (const FunctionRecord& record : snapshot.functions) {
    for (const auto& [name, value] : record) {
      if (!value.empty()) told.insert(name);
    }
  }
  for (FunctionRecord& record : snapshot.functions) {
    std::erase_if(record, [&](const auto& member) { return !told.contains(member.first); });
  }
}

Snapshot SnapshotOf(const pci::Source& source) {
  pci::Host::Wanted wanted;
  wanted.details = {.driver = true, .numa_node = true, .iommu_group = true, .system_devices = true};
  const HostReading reading = ReadHost(source, wanted);
  const DescribedHost described(reading.host);
  Snapshot snapshot;
  snapshot.incomplete = reading.incomplete;
  for (std::uint32_t i = 0; i < reading.host.functions().size(); ++i) {
    FunctionRecord& record = snapshot.functions.emplace_back();
    for (const FunctionColumn& column : AllColumns()) {
      record.emplace(Lower(column.name), CellText(column.value(described, i)));
    }
  }
  DropWhatIsNotTold(snapshot);
  return snapshot;
}

}  // namespace

Snapshot ReadSnapshot(const std::string& source) {
  std::error_code ignored;
  if (source == "live") return SnapshotOf(pci::Source::RunningKernel());
  if (fs::is_directory(source, ignored)) return SnapshotOf({pci::Source::Kind::kSysfs, source});
  const std::string path = DumpFile(source);
  std::ifstream file(path);
  if (!IsJson(file)) return SnapshotOf({pci::Source::Kind::kDump, path});
  std::ostringstream text;
  text << file.rdbuf();
  return ParseJson(text.str(), source);
}

}  // namespace tool
