// make_sysfs FUNCTIONS FOLDER: writes a PCI host of so many functions as a sysfs tree. lspci reads
// it with `-O sysfs.path=FOLDER/bus/pci`, ostrel-pci with `--sysfs FOLDER/bus/pci`.

#include <fmt/format.h>

#include <charconv>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <string_view>

#include "bench/sysfs_host.h"

namespace {

int Run(std::string_view functions, const std::filesystem::path& folder) {
  std::size_t count = 0;
  const char* end = functions.data() + functions.size();
  const auto [stop, error] = std::from_chars(functions.data(), end, count);
  if (error != std::errc() || stop != end) {
    fmt::print(stderr, "make_sysfs: \"{}\" is no number of functions\n", functions);
    return 2;
  }
  if (std::filesystem::exists(folder) && !std::filesystem::is_empty(folder)) {
    fmt::print(stderr, "make_sysfs: {} is not an empty folder\n", folder.string());
    return 2;
  }
  bench::SysfsHost(count).Write(folder);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    fmt::print(stderr, "usage: make_sysfs FUNCTIONS FOLDER\n");
    return 2;
  }
  try {
    return Run(argv[1], argv[2]);
  } catch (const std::exception& error) {
    fmt::print(stderr, "make_sysfs: {}\n", error.what());
    return 1;
  }
}
