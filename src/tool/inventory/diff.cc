#include "tool/inventory/diff.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>

#include "tool/errors.h"
#include "tool/inventory/difference.h"
#include "tool/json_text.h"
#include "tool/near_names.h"
#include "tool/utf8_text.h"

namespace tool {
namespace {

using Change = Difference::Change;

std::string ValueOf(const FunctionRecord& function, const std::string& name) {
  const auto found = function.find(name);
  return found == function.end() ? "" : found->second;
}

// What the function is called by here: its address, or the next best.
std::string PlaceOf(const FunctionRecord& function) {
  for (const char* name : {"address", "path"}) {
    std::string value = ValueOf(function, name);
    if (!value.empty()) return value;
  }
  const std::string slot = ValueOf(function, "slot");
  return slot.empty() ? "a function" : "slot " + slot;
}

// "8086:10d3  Ethernet controller: ... (slot 11)".
std::string Description(const FunctionRecord& function) {
  std::string text;
  const auto add = [&](std::string_view separator, const std::string& part) {
    if (!part.empty()) text.append(text.empty() ? "" : separator).append(part);
  };
  add("", ValueOf(function, "ids"));
  add("  ", ValueOf(function, "class"));
  add(": ", ValueOf(function, "name"));
  const std::string slot = ValueOf(function, "slot");
  add(" ", slot.empty() ? "" : "(slot " + slot + ")");
  return text;
}

std::string OrNone(const std::string& text) { return text.empty() ? "none" : text; }

std::string LineOf(const Difference& difference) {
  const auto& [change, before, after, value] = difference;
  switch (change) {
    case Change::kMissing: return fmt::format("- {}  {}", PlaceOf(before), Description(before));
    case Change::kNew: return fmt::format("+ {}  {}", PlaceOf(after), Description(after));
    case Change::kMoved:
      return fmt::format("> {} -> {}  {}", PlaceOf(before), PlaceOf(after), Description(after));
    case Change::kChanged: break;
  }
  return fmt::format("! {}  {}: {} -> {}", PlaceOf(after), value, OrNone(ValueOf(before, value)),
                     OrNone(ValueOf(after, value)));
}

std::string_view ChangeName(Change change) {
  switch (change) {
    case Change::kMissing: return "missing";
    case Change::kNew: return "new";
    case Change::kMoved: return "moved";
    case Change::kChanged: break;
  }
  return "changed";
}

void WriteRecord(std::string_view name, const FunctionRecord& function, JsonText& json) {
  json.Name(name);
  if (function.empty()) return json.Null();
  json.BeginObject();
  for (const auto& [member, value] : function) {
    json.Name(member);
    value.empty() ? json.Null() : json.Text(value);
  }
  json.EndObject();
}

void WriteDifferences(const std::vector<Difference>& differences, std::ostream& out) {
  JsonText json(out);
  json.BeginArray();
  for (const Difference& difference : differences) {
    json.BeginObject();
    json.Name("change");
    json.Text(ChangeName(difference.change));
    json.Name("value");
    difference.value.empty() ? json.Null() : json.Text(difference.value);
    WriteRecord("old", difference.before, json);
    WriteRecord("new", difference.after, json);
    json.EndObject();
  }
  json.EndArray();
  out << '\n';
}

std::set<std::string> CheckedNames(const std::vector<std::string>& ignored) {
  const std::vector<std::string> known(ComparedValues().begin(), ComparedValues().end());
  std::set<std::string> names;
  for (const std::string& word : ignored) {
    const std::string name = Lower(word);
    if (std::find(known.begin(), known.end(), name) == known.end()) {
      throw UsageError(
          fmt::format("--ignore {}: this is not compared{}", word, DidYouMean(word, known)));
    }
    names.insert(name);
  }
  return names;
}

int ShowDifferences(const DiffOptions& options, bool as_json, std::ostream& out) {
  const std::set<std::string> ignored = CheckedNames(options.ignored);
  if (options.sources[0] == "-" && options.sources[1] == "-") {
    throw UsageError("standard input is one host, not two");
  }
  const Snapshot before = ReadSnapshot(options.sources[0]);
  const Snapshot after = ReadSnapshot(options.sources[1]);
  const std::vector<Difference> differences = Compare(before, after, ignored);
  if (as_json) {
    WriteDifferences(differences, out);
  } else {
    for (const Difference& difference : differences) {
      out << PrintableUtf8(LineOf(difference)) << '\n';
    }
  }
  if (before.incomplete || after.incomplete) return kExitTrouble;
  return differences.empty() ? kExitEqual : kExitDifferent;
}

}  // namespace

int RunDiff(const DiffOptions& options, bool as_json, std::ostream& out) {
  try {
    return ShowDifferences(options, as_json, out);
  } catch (const CommandError& error) {
    throw CommandError(error.what(), kExitTrouble);
  }
}

}  // namespace tool
