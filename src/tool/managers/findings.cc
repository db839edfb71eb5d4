#include "tool/managers/findings.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include "cim/text.h"
#include "tool/managers/program.h"

namespace tool {
namespace {

namespace fs = std::filesystem;

bool Exists(const fs::path& path) {
  std::error_code ignored;
  return fs::exists(path, ignored);
}

bool Holds(const std::vector<std::string>& folders, const std::string& folder) {
  std::error_code ignored;
  return std::any_of(folders.begin(), folders.end(), [&](const std::string& other) {
    return other == folder || fs::equivalent(other, folder, ignored);
  });
}

// A host's name that can stand in MOF and in a sed command as it is.
bool IsPlainName(const std::string& name) {
  const auto plain = [](char c) {
    const char lower = cim::LowerAscii(c);
    return (lower >= 'a' && lower <= 'z') || (c >= '0' && c <= '9') || c == '.' || c == '-' ||
           c == '_';
  };
  return !name.empty() && std::all_of(name.begin(), name.end(), plain);
}

// Into which of the server's folders the library goes, as a command: the one for CMPI providers, or
// else any that there is.
std::string Linking(const std::string& library, const std::vector<std::string>& folders) {
  const auto rank = [](const std::string& folder) {
    return !Exists(folder) ? 2 : fs::path(folder).filename() == "cmpi" ? 0 : 1;
  };
  const auto by_rank = [&](const auto& a, const auto& b) { return rank(a) < rank(b); };
  const std::string& folder = *std::min_element(folders.begin(), folders.end(), by_rank);
  const std::string making = Exists(folder) ? "" : "mkdir -p " + ShellWord(folder) + " && ";
  return fmt::format("{}ln -s {} {}/", making, ShellWord(library), ShellWord(folder));
}

class Findings {
 public:
  Findings(const RegisterOptions& options, const ServerKind& kind, const std::vector<Step>& steps)
      : options_(options), kind_(kind) {
    LookForPrograms(steps);
    if (missing_.empty()) AskServer();
    LookForFiles();
    if (options.AddsSystem() && !IsPlainName(options.system_name)) {
      Add("the host's name \"{}\" cannot be an instance's name; give one with --system-name",
          options.system_name);
    }
    if (!options.root) Add("{} can only be changed by root; run this command as root", kind_.name);
  }

  const std::vector<std::string>& missing() const { return missing_; }

 private:
  template <typename... Parts>
  void Add(fmt::format_string<Parts...> format, Parts&&... parts) {
    missing_.push_back(fmt::format(format, std::forward<Parts>(parts)...));
  }

  void LookForPrograms(const std::vector<Step>& steps) {
    std::vector<std::string> programs = kind_.asking;
    for (const Step& step : steps) {
      const std::string program = step.script.empty() ? step.command.front() : step.program;
      if (std::find(programs.begin(), programs.end(), program) == programs.end()) {
        programs.push_back(program);
      }
    }
    for (const std::string& program : programs) {
      if (!FindOnPath(program).empty()) continue;
      Add("{} is not on the PATH; it comes with {}", program, kind_.name);
    }
  }

  void AskServer() {
    if (const std::string trouble = kind_.trouble(); !trouble.empty()) {
      Add("{}", trouble);
    } else if (!options_.unregister) {
      LookForLibrary(kind_.ask_for_folders());
    }
  }

  void LookForFiles() {
    std::vector<const char*> names = {kClassesFile, kind_.registration_file};
    if (options_.AddsSystem()) names.push_back(kSystemClassFile);
    for (const char* name : names) {
      const std::string file = fs::path(options_.schema_folder) / name;
      if (!Exists(file)) Add("there is no {}", file);
    }
  }

  bool HoldLibrary(const std::vector<std::string>& folders) const {
    const fs::path file = fs::path(options_.library).filename();
    return std::any_of(folders.begin(), folders.end(),
                       [&](const std::string& folder) { return Exists(fs::path(folder) / file); });
  }

  void LookForLibrary(const ProviderFolders& server) {
    const std::string file = fs::path(options_.library).filename();
    if (!server.doubt.empty()) {
      const std::vector<std::string>& folders =
          options_.provider_folders.empty() ? server.folders : options_.provider_folders;
      if (HoldLibrary(folders)) return;
      Add("where {} looks for providers is not known: {}; put {} there and name the folder with "
          "--provider-dir{}",
          kind_.name, server.doubt, file,
          folders.empty() ? "" : fmt::format(" (it is not in {})", fmt::join(folders, ", ")));
      return;
    }
    for (const std::string& folder : options_.provider_folders) {
      if (Holds(server.folders, folder)) continue;
      Add("{} does not look for providers in {}, but in {} ({}); leave --provider-dir out, or {}",
          kind_.name, folder, fmt::join(server.folders, ", "), server.setting,
          kind_.adding_folder(server, folder));
    }
    if (HoldLibrary(server.folders)) return;
    Add("{} is in no folder where {} looks for providers: {} ({}); run: {}", file, kind_.name,
        fmt::join(server.folders, ", "), server.setting, Linking(options_.library, server.folders));
  }

  const RegisterOptions& options_;
  const ServerKind& kind_;
  std::vector<std::string> missing_;
};

}  // namespace

std::vector<std::string> FindMissing(const RegisterOptions& options, const ServerKind& kind,
                                     const std::vector<Step>& steps) {
  return Findings(options, kind, steps).missing();
}

}  // namespace tool
