#include "pci/written_sources.h"

#include <stdlib.h>

#include <algorithm>
#include <cstdio>
#include <fstream>

namespace pci_test {
namespace {

namespace fs = std::filesystem;

std::string Hex(unsigned value, int digits) {
  char text[16];
  std::snprintf(text, sizeof text, "%0*x", digits, value);
  return text;
}

}  // namespace

TempFolder::TempFolder() {
  std::string pattern = (fs::temp_directory_path() / "pci-XXXXXX").string();
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

Function& Function::Express(unsigned port_type, int slot) {
  const auto number = static_cast<unsigned>(std::max(slot, 0));
  Capability(0x34, 0x40, 0x10, {port_type << 4 | 2, slot < 0 ? 0u : 1u});
  return Set(0x56, {number << 3 & 0xff, number >> 5});
}

Function& Function::Gone() {
  std::fill(bytes_.begin(), bytes_.end(), std::uint8_t{0xff});
  return *this;
}

Function& Function::Resize(std::size_t size) {
  bytes_.resize(size);
  return *this;
}

std::string Function::DumpText(const std::string& text) const {
  std::string dump = address_ + " " + text + "\n";
  for (std::size_t i = 0; i < bytes_.size(); ++i) {
    if (i % 16 == 0) dump += (i ? "\n" : "") + Hex(static_cast<unsigned>(i), 2) + ":";
    dump += " " + Hex(bytes_[i], 2);
  }
  return dump + "\n\n";
}

std::string Function::Digits(std::size_t last_byte, std::size_t count) const {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) text += Hex(bytes_.at(last_byte - i), 2);
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return static_cast<char>(std::toupper(c)); });
  return text;
}

std::string Function::Modalias() const {
  return "pci:v0000" + Digits(1, 2) + "d0000" + Digits(3, 2) + "sv0000" + Digits(0x2d, 2) +
         "sd0000" + Digits(0x2f, 2) + "bc" + Digits(0xb, 1) + "sc" + Digits(0xa, 1) + "i" +
         Digits(9, 1) + "\n";
}

std::string DumpOf(const std::vector<Function>& functions) {
  std::string text;
  for (const Function& function : functions) text += function.DumpText();
  return text;
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

WrittenTree::WrittenTree() { fs::create_directories(Path("bus/pci/devices")); }

void WrittenTree::Add(const std::string& upstream, const Function& function) const {
  const std::string place = "devices/" + upstream + "/" + function.address();
  WriteSysfsFunction(folder_, place, function);
  Link(function.address(), "../../../" + place);
}

void WrittenTree::Link(const std::string& name, const std::string& target) const {
  fs::create_symlink(target, Path("bus/pci/devices/" + name));
}

void WrittenTree::AddSlot(const std::string& label, const std::string& address) const {
  Write("bus/pci/slots/" + label + "/address", address);
}

std::size_t OpenDescriptors() {
  std::size_t count = 0;
  for ([[maybe_unused]] const auto& entry : fs::directory_iterator("/proc/self/fd")) ++count;
  return count;
}

}  // namespace pci_test
