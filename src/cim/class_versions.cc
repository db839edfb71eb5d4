#include "cim/class_versions.h"

#include <fmt/format.h>

#include <array>
#include <charconv>
#include <cstdint>
#include <optional>
#include <sstream>
#include <system_error>

#include "cim/class_mof.h"

namespace cim::schema {
namespace {

constexpr std::string_view kHead =
    R"(# What each class declares under which Version: its name, its Version, and a
# hash of its declaration. A class that changes gets a higher Version, because
# an object manager may keep the class that it has where the Versions are the
# same. Written by script/schema, which refuses a class that changed under its
# old Version.
)";

// DSP0004, 5.6.3.55: major.minor.update.
using Version = std::array<unsigned, 3>;

std::optional<Version> ReadVersion(std::string_view text) {
  Version version{};
  for (std::size_t i = 0; i < version.size(); ++i) {
    if (i != 0) {
      if (!text.starts_with('.')) return std::nullopt;
      text.remove_prefix(1);
    }
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, version[i]);
    if (error != std::errc()) return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(stop - text.data()));
  }
  return text.empty() ? std::optional(version) : std::nullopt;
}

// FNV-1a of the declaration without its Version; blanks and quotes, which depend on where the
// writer breaks lines, are left out.
std::string DeclarationHash(Class cls) {
  cls.version = "";
  std::uint64_t hash = 14695981039346656037ULL;
  for (const char c : ClassMof(cls)) {
    if (c == ' ' || c == '\n' || c == '"') continue;
    hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
  }
  return fmt::format("{:016x}", hash);
}

struct Recorded {
  std::string name;
  std::string version;
  std::string hash;
};

std::string Higher(const Version& version) {
  return fmt::format("{}.{}.0", version[0], version[1] + 1);
}

// "" where nothing is wrong.
std::string FaultOf(const Class& cls, const Recorded& recorded) {
  const std::optional<Version> now = ReadVersion(cls.version);
  const std::optional<Version> before = ReadVersion(recorded.version);
  if (!now) return fmt::format("{}: \"{}\" is no Version (1.0.0 is one)", cls.name, cls.version);
  if (!before) return fmt::format("{}: no Version on record: \"{}\"", cls.name, recorded.version);
  if (*now > *before) return "";
  if (*now < *before) {
    return fmt::format("{}: Version {} is lower than {}, which was there before; give it {}",
                       cls.name, cls.version, recorded.version, Higher(*before));
  }
  if (DeclarationHash(cls) == recorded.hash) return "";
  return fmt::format(
      "{}: the declaration changed, the Version is still {}; make it {} in "
      "src/cim/schema_table.h, then run script/schema",
      cls.name, cls.version, Higher(*before));
}

}  // namespace

std::string ClassVersions(std::span<const Class* const> classes) {
  std::string text(kHead);
  for (const Class* cls : classes) {
    text += fmt::format("{} {} {}\n", cls->name, cls->version, DeclarationHash(*cls));
  }
  return text;
}

std::vector<std::string> VersionFaults(std::string_view record,
                                       std::span<const Class* const> classes) {
  std::vector<std::string> faults;
  std::istringstream lines{std::string(record)};
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with('#')) continue;
    Recorded recorded;
    std::istringstream(line) >> recorded.name >> recorded.version >> recorded.hash;
    for (const Class* cls : classes) {
      if (cls->name != recorded.name) continue;
      if (std::string fault = FaultOf(*cls, recorded); !fault.empty()) {
        faults.push_back(std::move(fault));
      }
    }
  }
  return faults;
}

}  // namespace cim::schema
