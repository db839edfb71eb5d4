#include "tool/host_source.h"

#include <fmt/format.h>
#include <sys/utsname.h>

#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "tool/errors.h"

namespace tool {
namespace {

namespace fs = std::filesystem;

constexpr const char* kSysfs = "HOSTCTL_PCI_SYSFS";
constexpr const char* kDump = "HOSTCTL_PCI_DUMP";
constexpr const char* kSystemName = "HOSTCTL_SYSTEM_NAME";

std::string_view Environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string_view() : std::string_view(value);
}

void Check(bool there, const char* kind, const std::string& path) {
  if (!there) throw CommandError(fmt::format("there is no {} \"{}\"", kind, path));
}

}  // namespace

void SelectHost(const HostSource& source) {
  std::error_code ignored;
  if (source.sysfs && source.dump) throw UsageError("--sysfs and --dump exclude each other");
  if (source.sysfs) {
    Check(fs::is_directory(*source.sysfs, ignored), "sysfs folder", *source.sysfs);
    setenv(kSysfs, source.sysfs->c_str(), 1);
    unsetenv(kDump);
  }
  if (source.dump) {
    Check(fs::exists(*source.dump, ignored) && !fs::is_directory(*source.dump, ignored),
          "dump file", *source.dump);
    setenv(kDump, source.dump->c_str(), 1);
    unsetenv(kSysfs);
  }
  if (source.system_name) setenv(kSystemName, source.system_name->c_str(), 1);
}

std::string SystemName() {
  const std::string_view chosen = Environment(kSystemName);
  if (!chosen.empty()) return std::string(chosen);
  utsname system;
  return uname(&system) == 0 ? system.nodename : "localhost";
}

}  // namespace tool
