#include "tool/library_file.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "tool/errors.h"

namespace tool {
namespace {

namespace fs = std::filesystem;

constexpr const char* kFile = "libOstrelPCI.so";

bool Exists(const std::string& file) {
  std::error_code ignored;
  return fs::exists(file, ignored);
}

std::string Named(const std::string& file, const char* by) {
  if (!Exists(file)) {
    throw CommandError(fmt::format("there is no provider library \"{}\" (named by {})", file, by));
  }
  return file.find('/') == std::string::npos ? "./" + file : file;
}

std::string ProgramFolder() {
  std::error_code ignored;
  return fs::read_symlink("/proc/self/exe", ignored).parent_path();
}

}  // namespace

std::vector<std::string> LibraryCandidates(const std::string& program_folder) {
  const fs::path folder(program_folder);
  const fs::path candidates[] = {
      folder / kFile,
      folder / "../associations" / kFile,
      folder / ".." / OSTREL_LIBDIR / "cmpi" / kFile,
      folder / "../lib64/cmpi" / kFile,  // RPMs have it there whatever the build was configured for
      fs::path(OSTREL_FULL_LIBDIR) / "cmpi" / kFile,
  };
  std::vector<std::string> files;
  for (const fs::path& candidate : candidates) files.push_back(candidate.lexically_normal());
  return files;
}

std::string FindLibrary(const std::optional<std::string>& option) {
  if (option) return Named(*option, "--library");
  const char* variable = std::getenv("OSTREL_PCI_LIBRARY");
  if (variable != nullptr && *variable != '\0') return Named(variable, "OSTREL_PCI_LIBRARY");
  const std::vector<std::string> candidates = LibraryCandidates(ProgramFolder());
  for (const std::string& file : candidates) {
    if (Exists(file)) return file;
  }
  throw CommandError(
      fmt::format("the provider library was not found; tried {}; name it with "
                  "--library or OSTREL_PCI_LIBRARY",
                  fmt::join(candidates, ", ")));
}

}  // namespace tool
