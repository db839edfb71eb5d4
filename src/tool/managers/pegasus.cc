// OpenPegasus: classes and registrations are loaded into the running server, which then answers for
// them at once.

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <sstream>
#include <string_view>

#include "tool/managers/server_kind.h"

namespace tool {
namespace {

namespace fs = std::filesystem;

constexpr const char* kRegistrationFile = "ostrel-pci.pegasus.mof";
constexpr const char* kModule = "OstrelPCIModule";
constexpr const char* kRegistrationNameSpace = "root/PG_InterOp";
constexpr const char* kSystemClass = "OMC_UnitaryComputerSystem";

constexpr const char* kNotAnsweringHint =
    "The classes are registered, but the server does not answer for them; its words are above. "
    "\"ldd\" of the library must not say \"not found\".";

// Asks first, so that a removal that fails is told apart from nothing to remove.
Step RemoveModule(std::string purpose, std::string_view before_removal = "") {
  return {.purpose = std::move(purpose),
          .hint = "The server must be running.",
          .script = fmt::format("modules=$(cimprovider -l)\n"
                                "if echo \"$modules\" | grep -qx {0}; then\n"
                                "{1}"
                                "  cimprovider -r -m {0}\n"
                                "fi",
                                kModule, before_removal),
          .program = "cimprovider"};
}

// What is asked of the system by an up-call is the first instance that the server has.
Step RemoveOtherSystems(const std::string& system_name) {
  return {.purpose = "Remove the hosting system under other names",
          .hint = "If another provider serves the system, register without --with-system.",
          .script = fmt::format("cimcli ni {0} -n {1} |\n"
                                "  grep '^{0}[.]' | grep -Fv 'Name=\"{2}\"' |\n"
                                "  while read -r path; do\n"
                                "    echo \"removing $path\"\n"
                                "    cimcli di \"$path\" -n {1}\n"
                                "  done",
                                kSystemClass, kNameSpace, system_name),
          .program = "cimcli"};
}

Step AskServer() {
  return {"Ask the server for one of the classes",
          {"cimcli", "ni", kAskedClass, "-n", kNameSpace, "--sum"},
          kNotAnsweringHint};
}

std::vector<Step> Registering(const Registration& registration) {
  std::vector<Step> steps = {
      RemoveModule("An earlier registration goes first"),
      // -aV: a class is replaced whatever its Version, also by an earlier release's.
      {"Load the classes",
       {"cimmof", "-uc", "-aV", "-n", kNameSpace, registration.classes},
       "It needs the CIM schema, version 2.22 or later, in root/cimv2."}};
  if (!registration.system_class.empty()) {
    steps.push_back({"Load the hosting system's class and instance",
                     {"cimmof", "-uc", "-n", kNameSpace, registration.system_class}});
    steps.push_back(RemoveOtherSystems(registration.system_name));
  }
  steps.push_back(
      {"Load who serves them", {"cimmof", "-n", kRegistrationNameSpace, registration.providers}});
  steps.push_back(AskServer());
  return steps;
}

std::vector<Step> Unregistering(const Registration& /*registration*/) {
  return {RemoveModule("Stop the providers and remove the registration",
                       fmt::format("  cimprovider -d -m {} || true\n", kModule))};
}

std::string Trouble() {
  if (!AskProgram({"cimserver", "--status"}).failure.empty()) {
    return "OpenPegasus is not running; start it with \"cimserver\"";
  }
  const Answer modules = AskProgram({"cimprovider", "-l"});
  if (modules.failure.empty()) return "";
  return fmt::format(
      "OpenPegasus runs, which is all that \"cimserver --status\" looks for, but cannot be "
      "reached: "
      "\"cimprovider -l\" {} ({}); start it anew with \"cimserver -s\" and \"cimserver\"",
      modules.failure, modules.text);
}

// ---------------------------------------------------------------------------------------------
// Provider folders

// Of packages, which leave the setting fixed; the server then does not tell it.
constexpr const char* kPackagedFolders[] = {
    "/usr/lib64/Pegasus/providers", "/usr/lib/Pegasus/providers", "/opt/tog-pegasus/providers/lib",
    "/usr/lib64/cmpi", "/usr/lib/cmpi"};

// "a:b" as two folders; one that is not absolute counts from the server's home.
void AddFolders(const std::string& value, ProviderFolders& answer) {
  const char* home = std::getenv("PEGASUS_HOME");
  std::istringstream folders(value);
  for (std::string folder; std::getline(folders, folder, ':');) {
    if (folder.empty()) continue;
    if (fs::path(folder).is_relative()) {
      if (home == nullptr) {
        answer.doubt = fmt::format(
            "its providerDir \"{}\" counts from PEGASUS_HOME, which is not set here", value);
        continue;
      }
      folder = fs::path(home) / folder;
    }
    answer.folders.push_back(folder);
  }
}

ProviderFolders AskForFolders() {
  const Answer told = AskProgram({"cimconfig", "-g", "providerDir"});
  constexpr std::string_view kBeforeValue = ": ";       // "Current value: lib"
  const std::size_t at = told.text.find(kBeforeValue);  // absent also where the value is empty
  ProviderFolders answer;
  answer.setting = "cimconfig -g providerDir";
  if (!told.failure.empty() || at == std::string::npos) {
    answer.folders.assign(std::begin(kPackagedFolders), std::end(kPackagedFolders));
    answer.doubt = fmt::format("\"{}\" does not say it ({})", answer.setting,
                               told.text.empty() ? told.failure : told.text);
    return answer;
  }
  AddFolders(told.text.substr(at + kBeforeValue.size()), answer);
  return answer;
}

std::string AddingFolder(const ProviderFolders& known, const std::string& folder) {
  const std::string value = fmt::format("{}:{}", fmt::join(known.folders, ":"), folder);
  return "run: " + ShellLine({"cimconfig", "-s", "providerDir=" + value, "-c", "-p"});
}

}  // namespace

const ServerKind& Pegasus() {
  static const ServerKind kPegasus = {
      .name = "OpenPegasus",
      .registration_file = kRegistrationFile,
      .registering = Registering,
      .unregistering = Unregistering,
      .asking = {"cimserver", "cimprovider", "cimconfig"},
      .trouble = Trouble,
      .ask_for_folders = AskForFolders,
      .adding_folder = AddingFolder,
      .after_registering = {"The server knows the classes at once"},
      .after_unregistering =
          {"The classes stay in the server without a provider, and answer nothing"},
  };
  return kPegasus;
}

}  // namespace tool
