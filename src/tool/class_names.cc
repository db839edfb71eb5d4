#include "tool/class_names.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <utility>

#include "cim/status.h"
#include "cim/text.h"
#include "tool/errors.h"
#include "tool/near_names.h"

namespace tool {

using cim::schema::Class;

namespace {

constexpr std::string_view kOwnPrefix = "Ostrel_";

// Names that are not a class's own without its prefixes.
constexpr std::pair<std::string_view, std::string_view> kSynonyms[] = {
    {"group", "portgroup"},
    {"bus", "portgroup"},
    {"connection", "deviceconnection"},
    {"collection", "hostedcollection"},
    {"member", "memberofcollection"},
};

void DropPrefix(std::string& text, std::string_view prefix) {
  if (text.starts_with(prefix) && text.size() > prefix.size()) text.erase(0, prefix.size());
}

void DropPlural(std::string& text) {
  for (const std::string_view plural : {"switches", "buses"}) {
    if (text == plural) text.resize(text.size() - 2);
  }
  if (text.ends_with('s') && text != "bus") text.pop_back();
}

// What is left of a name when case and prefixes do not count.
std::string Stem(std::string_view name) {
  std::string stem;
  for (const char c : name) stem += cim::LowerAscii(c);
  DropPrefix(stem, "ostrel_");
  DropPrefix(stem, "pcie");
  DropPrefix(stem, "pci");
  DropPlural(stem);
  for (const auto& [synonym, meaning] : kSynonyms) {
    if (stem == synonym) return std::string(meaning);
  }
  return stem;
}

std::vector<const Class*> KnownClasses() {
  std::vector<const Class*> classes = ServedClasses();
  classes.push_back(cim::schema::FindClass(cim::schema::kSystemClass));
  return classes;
}

}  // namespace

std::vector<const Class*> ServedClasses() {
  std::vector<const Class*> classes;
  for (const Class& cls : cim::schema::AllClasses()) {
    if (cls.name.starts_with(kOwnPrefix)) classes.push_back(&cls);
  }
  return classes;
}

const Class& ResolveClass(std::string_view name) {
  if (const Class* cls = cim::schema::FindClass(name)) return *cls;
  const std::string stem = Stem(name);
  if (stem == "system" || stem == "computersystem") {
    return *cim::schema::FindClass(cim::schema::kSystemClass);
  }
  for (const Class* cls : ServedClasses()) {
    if (Stem(cls->name) == stem) return *cls;
  }
  const std::vector<std::string> near = NearClassNames(name);
  throw CommandError(fmt::format(
      "{}: there is no class \"{}\"; {}", cim::StatusName(CMPI_RC_ERR_INVALID_CLASS), name,
      near.empty() ? std::string("\"ostrel-pci classes\" lists those there are")
                   : fmt::format("did you mean {}?", fmt::join(near, " or "))));
}

std::string_view ResolveProperty(std::string_view name, const Class* cls) {
  std::vector<std::string> names;
  for (const Class* known : KnownClasses()) {
    if (cls != nullptr && !cim::schema::IsA(known->name, cls->name)) continue;
    if (const auto* property = cim::schema::FindProperty(*known, name)) return property->name;
    for (const cim::schema::Property* property : cim::schema::AllProperties(*known)) {
      names.emplace_back(property->name);
    }
  }
  std::sort(names.begin(), names.end());
  names.erase(std::unique(names.begin(), names.end()), names.end());
  throw UsageError(fmt::format("{} has {} property \"{}\"{}",
                               cls == nullptr ? "no class" : cls->name, cls == nullptr ? "a" : "no",
                               name, DidYouMean(name, names)));
}

std::vector<std::string> NearClassNames(std::string_view name) {
  constexpr std::size_t kMost = 3;
  const std::string stem = Stem(name).substr(0, 64);
  const std::size_t tolerance = std::max<std::size_t>(2, stem.size() / 3);
  std::vector<std::pair<std::size_t, std::string>> near;
  for (const Class* cls : KnownClasses()) {
    const std::string other = Stem(cls->name);
    const bool contained = stem.size() > 2 && other.find(stem) != std::string::npos;
    const std::size_t distance = contained ? 0 : EditDistance(stem, other);
    if (distance <= tolerance) near.emplace_back(distance, cls->name);
  }
  std::stable_sort(near.begin(), near.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  if (near.size() > kMost) near.resize(kMost);
  std::vector<std::string> names;
  names.reserve(near.size());
  for (auto& [distance, text] : near) names.push_back(std::move(text));
  return names;
}

}  // namespace tool
