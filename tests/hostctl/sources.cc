#include "hostctl/sources.h"

#include <stdlib.h>

#include <cstdio>
#include <fstream>

namespace hostctl_test {
namespace {

namespace fs = std::filesystem;

constexpr const char* kVariables[] = {"HOSTCTL_PCI_SYSFS", "HOSTCTL_PCI_DUMP",
                                      "HOSTCTL_SYSTEM_NAME"};

std::string Hex(unsigned value, int digits) {
  char text[16];
  std::snprintf(text, sizeof text, "%0*x", digits, value);
  return text;
}

Devices Read() { return HostCtl::Host::GetHardwareInfo()->GetPciInfo()->GetPciDevices(); }

}  // namespace

std::string RecordedDump() { return RECORDED_DUMP; }
std::string RecordedSysfs() { return RECORDED_SYSFS; }

ScopedVariable::ScopedVariable(const char* name, const std::string& value) : name_(name) {
  for (const char* variable : kVariables) unsetenv(variable);
  setenv(name, value.c_str(), 1);
}

ScopedVariable::~ScopedVariable() { unsetenv(name_); }

Devices ReadLiveHost() {
  for (const char* variable : kVariables) unsetenv(variable);
  return Read();
}

Devices ReadDump(const std::string& path) {
  const ScopedVariable dump("HOSTCTL_PCI_DUMP", path);
  return Read();
}

Devices ReadSysfs(const std::string& path) {
  const ScopedVariable sysfs("HOSTCTL_PCI_SYSFS", path);
  return Read();
}

TempFolder::TempFolder() {
  std::string pattern = (fs::temp_directory_path() / "hostctl-XXXXXX").string();
  path_ = mkdtemp(pattern.data());
}

TempFolder::~TempFolder() { fs::remove_all(path_); }

std::string TempFolder::Write(const std::string& name, const std::string& content) const {
  const fs::path path = path_ / name;
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << content;
  return path.string();
}

Function& Function::Set(std::size_t offset, std::initializer_list<unsigned> bytes) {
  for (const unsigned byte : bytes) bytes_.at(offset++) = static_cast<std::uint8_t>(byte);
  return *this;
}

Function& Function::Ids(unsigned vendor, unsigned device) {
  return Set(0, {vendor & 0xff, vendor >> 8, device & 0xff, device >> 8});
}

Function& Function::Bridge(unsigned secondary, unsigned subordinate) {
  return Set(0x0a, {0x04, 0x06, 0, 0, 1}).Set(0x19, {secondary, subordinate});
}

Function& Function::Capability(std::size_t from, std::size_t offset, unsigned id,
                               std::initializer_list<unsigned> rest) {
  bytes_.at(6) |= 0x10;
  return Set(from, {static_cast<unsigned>(offset)}).Set(offset, {id, 0}).Set(offset + 2, rest);
}

Function& Function::Resize(std::size_t size) {
  bytes_.resize(size);
  return *this;
}

std::string Function::DumpText() const {
  std::string text = address_ + " Some device: of some maker\n";
  for (std::size_t i = 0; i < bytes_.size(); ++i) {
    if (i % 16 == 0) text += (i ? "\n" : "") + Hex(static_cast<unsigned>(i), 2) + ":";
    text += " " + Hex(bytes_[i], 2);
  }
  return text + "\n\n";
}

Devices ReadDumpOf(const std::vector<Function>& functions) {
  std::string text;
  for (const Function& function : functions) text += function.DumpText();
  const TempFolder folder;
  return ReadDump(folder.Write("dump", text));
}

void WriteSysfsFunction(const TempFolder& root, const std::string& folder,
                        const Function& function) {
  const std::string config = function.Config();
  const auto byte = [&](std::size_t i) { return Hex(static_cast<std::uint8_t>(config.at(i)), 2); };
  root.Write(folder + "/vendor", "0x" + byte(1) + byte(0) + "\n");
  root.Write(folder + "/device", "0x" + byte(3) + byte(2) + "\n");
  root.Write(folder + "/class", "0x" + byte(0xb) + byte(0xa) + byte(9) + "\n");
  root.Write(folder + "/revision", "0x" + byte(8) + "\n");
  root.Write(folder + "/subsystem_vendor", "0x0000\n");
  root.Write(folder + "/subsystem_device", "0x0000\n");
  root.Write(folder + "/config", config);
}

std::size_t OpenDescriptors() {
  std::size_t count = 0;
  for ([[maybe_unused]] const auto& entry : fs::directory_iterator("/proc/self/fd")) ++count;
  return count;
}

}  // namespace hostctl_test
