// SFCB, the Small Footprint CIM Broker: classes and registrations are files on its stage, which
// sfcbrepos builds into the repository that the server reads when it starts.

#include <fmt/format.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>

#include "tool/managers/server_kind.h"

namespace tool {
namespace {

namespace fs = std::filesystem;

constexpr const char* kRegistrationFile = "ostrel-pci.sfcb.reg";
constexpr const char* kSchemaHint =
    "It needs the CIM schema, version 2.22 or later (sfcbrepos -c names its folder).";

Step Rebuild() {
  return {"Build what is staged into the repository", {"sfcbrepos", "-f"}, kSchemaHint};
}

std::vector<Step> Registering(const Registration& registration) {
  std::vector<Step> steps = {
      {"Stage the classes and who serves them",
       {"sfcbstage", "-n", kNameSpace, "-r", registration.providers, registration.classes}}};
  if (!registration.system_class.empty()) {
    steps.push_back({"Stage the hosting system's class and instance",
                     {"sfcbstage", "-n", kNameSpace, registration.system_class}});
  }
  steps.push_back(Rebuild());
  return steps;
}

std::vector<Step> Unregistering(const Registration& registration) {
  std::vector<Step> steps = {
      {"Take the classes and who serves them off the stage",
       {"sfcbunstage", "-n", kNameSpace, "-r", kRegistrationFile, kClassesFile}}};
  if (!registration.system_class.empty()) {
    steps.push_back({"Take the hosting system's class off the stage",
                     {"sfcbunstage", "-n", kNameSpace, kSystemClassFile}});
  }
  steps.push_back(Rebuild());
  return steps;
}

// The configuration that sfcbd reads unless it is started with -c: below the prefix that its
// programs are installed in, /etc for /usr.
fs::path ConfigurationFile() {
  const fs::path prefix = fs::path(FindOnPath("sfcbrepos")).parent_path().parent_path();
  return (prefix == "/usr" ? fs::path("/") : prefix) / "etc/sfcb/sfcb.cfg";
}

// The value of an option in lines of the form "option: value", of which the last one counts; empty
// where there is none.
std::string OptionOf(std::istream& configuration, std::string_view option) {
  std::string value;
  for (std::string line; std::getline(configuration, line);) {
    const std::size_t start = line.find_first_not_of(" \t");
    if (start == std::string::npos) continue;
    const std::string_view rest = std::string_view(line).substr(start);
    if (rest.starts_with(option) && rest.substr(option.size()).starts_with(':')) {
      value = rest.substr(option.size() + 1);
    }
  }
  return value;
}

ProviderFolders AskForFolders() {
  const fs::path file = ConfigurationFile();
  ProviderFolders answer;
  answer.setting = fmt::format("providerDirs in {}", file.string());
  std::ifstream configuration(file);
  std::istringstream words(OptionOf(configuration, "providerDirs"));
  for (std::string folder; words >> folder;) answer.folders.push_back(folder);
  if (!configuration.is_open()) {
    answer.doubt = fmt::format("{} cannot be read", file.string());
  } else if (answer.folders.empty()) {
    answer.doubt = fmt::format("{} has no line \"providerDirs:\" with folders", file.string());
  }
  return answer;
}

std::string AddingFolder(const ProviderFolders& known, const std::string& folder) {
  return fmt::format("add {} to {}", folder, known.setting);
}

}  // namespace

const ServerKind& Sfcb() {
  static const ServerKind kSfcb = {
      .name = "SFCB",
      .registration_file = kRegistrationFile,
      .registering = Registering,
      .unregistering = Unregistering,
      .asking = {},
      .trouble = [] { return std::string(); },
      .ask_for_folders = AskForFolders,
      .adding_folder = AddingFolder,
      .after_registering =
          {"Restart SFCB: it reads the repository when it starts (systemctl restart sblim-sfcb)",
           "Then ask it: wbemcli ein http://localhost:5988/root/cimv2:Ostrel_PCIDevice"},
      .after_unregistering =
          {"Restart SFCB: it reads the repository when it starts (systemctl restart sblim-sfcb)"},
  };
  return kSfcb;
}

}  // namespace tool
