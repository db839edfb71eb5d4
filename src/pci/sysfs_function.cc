#include "pci/sysfs_function.h"

#include <cerrno>

#include "pci/error.h"

namespace pci {
namespace {

// The last component of a path, removed from it.
std::string_view TakeLastComponent(std::string_view& path) {
  const std::size_t slash = path.rfind('/');
  const std::string_view last = slash == std::string_view::npos ? path : path.substr(slash + 1);
  path = slash == std::string_view::npos ? std::string_view{} : path.substr(0, slash);
  return last;
}

}  // namespace

const char* SysfsFunction::PathOf() {
  path_.resize(length_);
  return path_.c_str();
}

const char* SysfsFunction::PathOf(const char* name) {
  path_.resize(length_);
  path_ += '/';
  path_ += name;
  return path_.c_str();
}

Upstream SysfsFunction::FindUpstream() {
  // .../pci0000:00/0000:00:03.0/0000:01:00.0 is behind 0000:00:03.0, and that one on a root bus.
  std::string_view target = devices_.ReadLink(PathOf(), buffer_).value_or("");
  if (ParseAddress(TakeLastComponent(target)) != address_) return {};
  const std::string_view folder = TakeLastComponent(target);
  if (const auto upstream = ParseAddress(folder)) return {Upstream::Kind::kFunction, *upstream};
  if (folder.starts_with("pci")) return {Upstream::Kind::kRootBus};
  return {};
}

std::optional<Address> SysfsFunction::FindPhysicalFunction() {
  std::string_view target = ReadLink("physfn").value_or("");
  return ParseAddress(TakeLastComponent(target));
}

std::optional<std::string> SysfsFunction::ReasonWithoutFiles() {
  if (devices_.Reaches(PathOf())) return std::nullopt;
  return "The link " + devices_.PathOf(PathOf()) + " leads nowhere: " + SystemReason(errno);
}

}  // namespace pci
