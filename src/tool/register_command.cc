#include "tool/register_command.h"

#include <fmt/format.h>
#include <fmt/ostream.h>
#include <fmt/ranges.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <system_error>

#include "broker/schema_files.h"
#include "broker/text.h"
#include "tool/errors.h"

namespace tool {
namespace {

namespace fs = std::filesystem;

constexpr const char* kClasses = "Ostrel_PCI.mof";
constexpr const char* kSystemClass = "OMC_UnitaryComputerSystem.mof";
constexpr const char* kSfcbRegistration = "ostrel-pci.sfcb.reg";
constexpr const char* kPegasusRegistration = "ostrel-pci.pegasus.mof";
constexpr const char* kPegasusModule = "OstrelPCIModule";
constexpr const char* kNameSpace = "root/cimv2";
constexpr const char* kRegistrationNameSpace = "root/PG_InterOp";

struct Step {
  std::string purpose;
  std::vector<std::string> command;
  std::string hint;       // what is most often wrong when it fails
  bool may_fail = false;  // nothing to undo is no failure
};

// The files that the steps name.
struct Files {
  std::string classes;
  std::string system_class;  // the template, filled in; empty where it is not wanted
  std::string sfcb_registration;
  std::string pegasus_registration;
};

struct ServerKind {
  const char* name;
  std::vector<Step> (*registering)(const Files& files);
  std::vector<Step> (*unregistering)(const Files& files);
  std::vector<std::string> provider_folders;
  const char* folders_setting;  // where the server is told of other folders
  const char* afterwards;
};

// ---------------------------------------------------------------------------------------------
// SFCB

constexpr const char* kSfcbSchemaHint =
    "It needs the CIM schema, version 2.22 or later (sfcbrepos -c names its folder).";

Step RebuildSfcb() {
  return {"Build what is staged into the repository", {"sfcbrepos", "-f"}, kSfcbSchemaHint};
}

std::vector<Step> RegisterWithSfcb(const Files& files) {
  std::vector<Step> steps = {
      {"Stage the classes and who serves them",
       {"sfcbstage", "-n", kNameSpace, "-r", files.sfcb_registration, files.classes},
       ""}};
  if (!files.system_class.empty()) {
    steps.push_back({"Stage the hosting system's class and instance",
                     {"sfcbstage", "-n", kNameSpace, files.system_class},
                     ""});
  }
  steps.push_back(RebuildSfcb());
  return steps;
}

std::vector<Step> UnregisterFromSfcb(const Files& files) {
  std::vector<Step> steps = {{"Take the classes and who serves them off the stage",
                              {"sfcbunstage", "-n", kNameSpace, "-r", kSfcbRegistration, kClasses},
                              ""}};
  if (!files.system_class.empty()) {
    steps.push_back({"Take the hosting system's class off the stage",
                     {"sfcbunstage", "-n", kNameSpace, kSystemClass},
                     ""});
  }
  steps.push_back(RebuildSfcb());
  return steps;
}

// ---------------------------------------------------------------------------------------------
// OpenPegasus

Step RequireRunningServer() {
  return {"The server must be running", {"cimserver", "--status"}, "Start it with \"cimserver\"."};
}

Step RemoveModule() {
  return {"Remove the registration", {"cimprovider", "-r", "-m", kPegasusModule}, ""};
}

std::vector<Step> RegisterWithPegasus(const Files& files) {
  Step remove_earlier = RemoveModule();
  remove_earlier.purpose = "An earlier registration goes first; it is no failure if there is none";
  remove_earlier.may_fail = true;
  std::vector<Step> steps = {RequireRunningServer(),
                             remove_earlier,
                             {"Load the classes",
                              {"cimmof", "-uc", "-n", kNameSpace, files.classes},
                              "It needs the CIM schema, version 2.22 or later, in root/cimv2."}};
  if (!files.system_class.empty()) {
    steps.push_back({"Load the hosting system's class and instance",
                     {"cimmof", "-uc", "-n", kNameSpace, files.system_class},
                     ""});
  }
  steps.push_back({"Load who serves them",
                   {"cimmof", "-n", kRegistrationNameSpace, files.pegasus_registration},
                   ""});
  return steps;
}

std::vector<Step> UnregisterFromPegasus(const Files& /*files*/) {
  return {RequireRunningServer(),
          {"Stop the providers", {"cimprovider", "-d", "-m", kPegasusModule}, "", true},
          RemoveModule()};
}

// ---------------------------------------------------------------------------------------------

const ServerKind& KindOf(Server server) {
  static const ServerKind kSfcb = {
      "SFCB",
      RegisterWithSfcb,
      UnregisterFromSfcb,
      {"/usr/lib64/cmpi", "/usr/lib/cmpi", "/usr/local/lib64/cmpi", "/usr/local/lib/cmpi"},
      "providerDirs in sfcb.cfg",
      "Restart SFCB: it reads the repository when it starts (systemctl restart sblim-sfcb)"};
  static const ServerKind kPegasus = {
      "OpenPegasus",
      RegisterWithPegasus,
      UnregisterFromPegasus,
      {"/usr/lib64/Pegasus/providers", "/usr/lib/Pegasus/providers", "/usr/lib64/cmpi",
       "/usr/lib/cmpi"},
      "providerDir (cimconfig -g providerDir)",
      "The server knows at once; classes without a provider stay in it and answer nothing"};
  return server == Server::kSfcb ? kSfcb : kPegasus;
}

std::string ErrorText(int error) { return std::generic_category().message(error); }

bool Exists(const fs::path& path) {
  std::error_code ignored;
  return fs::exists(path, ignored);
}

bool IsOnPath(const std::string& program) {
  const char* path = std::getenv("PATH");  // NOLINT(concurrency-mt-unsafe): one thread
  std::string_view rest = path == nullptr ? "" : path;
  while (!rest.empty()) {
    std::string file(rest.substr(0, rest.find(':')));
    rest.remove_prefix(std::min(rest.size(), file.size() + 1));
    if (file.empty()) continue;
    file.append("/").append(program);
    if (access(file.c_str(), X_OK) == 0) return true;
  }
  return false;
}

std::string ShellWord(const std::string& word) {
  constexpr std::string_view kPlain =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-./:=@%+,";
  if (!word.empty() && word.find_first_not_of(kPlain) == std::string::npos) return word;
  std::string quoted = "'";
  for (const char c : word) {
    if (c == '\'') {
      quoted += "'\\''";
    } else {
      quoted += c;
    }
  }
  quoted += '\'';
  return quoted;
}

std::string ShellCommand(const std::vector<std::string>& command) {
  std::vector<std::string> words;
  std::transform(command.begin(), command.end(), std::back_inserter(words), ShellWord);
  return fmt::format("{}", fmt::join(words, " "));
}

// A host's name that can stand in MOF and in a sed command as it is.
bool IsPlainName(const std::string& name) {
  const auto plain = [](char c) {
    const char lower = broker::LowerAscii(c);
    return (lower >= 'a' && lower <= 'z') || (c >= '0' && c <= '9') || c == '.' || c == '-' ||
           c == '_';
  };
  return !name.empty() && std::all_of(name.begin(), name.end(), plain);
}

std::string LowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), broker::LowerAscii);
  return text;
}

// ---------------------------------------------------------------------------------------------
// What is missing

class Findings {
 public:
  Findings(const RegisterOptions& options, const std::vector<Step>& steps)
      : options_(options), kind_(KindOf(options.server)) {
    LookForTools(steps);
    LookForFiles();
    if (!options.unregister) LookForLibrary();
    if (options.with_system && !IsPlainName(options.system_name)) {
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

  void LookForTools(const std::vector<Step>& steps) {
    std::vector<std::string> absent;
    for (const Step& step : steps) {
      const std::string& program = step.command.front();
      const bool known = std::find(absent.begin(), absent.end(), program) != absent.end();
      if (!known && !IsOnPath(program)) absent.push_back(program);
    }
    for (const std::string& program : absent) {
      Add("{} is not on the PATH; it comes with {}", program, kind_.name);
    }
  }

  void LookForFiles() {
    std::vector<const char*> names = {
        kClasses, options_.server == Server::kSfcb ? kSfcbRegistration : kPegasusRegistration};
    if (options_.with_system) names.push_back(kSystemClass);
    for (const char* name : names) {
      const std::string file = fs::path(options_.schema_folder) / name;
      if (!Exists(file)) Add("there is no {}", file);
    }
  }

  void LookForLibrary() {
    const std::string file = fs::path(options_.library).filename();
    const std::vector<std::string>& folders =
        options_.provider_folders.empty() ? kind_.provider_folders : options_.provider_folders;
    const bool found = std::any_of(folders.begin(), folders.end(), [&](const std::string& folder) {
      return Exists(fs::path(folder) / file);
    });
    if (found) return;
    Add("{} is in no folder where {} looks for providers ({}); link it into one (ln -s {} FOLDER), "
        "or, if {} names another folder, say so with --provider-dir",
        file, kind_.name, fmt::join(folders, ", "), ShellWord(options_.library),
        kind_.folders_setting);
  }

  const RegisterOptions& options_;
  const ServerKind& kind_;
  std::vector<std::string> missing_;
};

// ---------------------------------------------------------------------------------------------
// Carrying out

// A folder of its own for the filled-in template; goes with the object.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::error_code error;
    const fs::path parent = fs::temp_directory_path(error);
    if (error) throw CommandError("no folder for temporary files: " + error.message());
    std::string name = parent / "ostrel-pci-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) {
      throw CommandError(fmt::format("cannot make {}: {}", name, ErrorText(errno)));
    }
    path_ = name;
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const fs::path& path() const { return path_; }

 private:
  fs::path path_;
};

void FillInSystemClass(const std::string& from, const std::string& to, const std::string& name) {
  std::ostringstream read;
  read << std::ifstream(from).rdbuf();
  if (!read) throw CommandError(fmt::format("cannot read {}", from));
  std::string text = read.str();
  constexpr std::string_view kPlaceholder = broker::schema::kSystemNamePlaceholder;
  for (std::size_t at = 0; (at = text.find(kPlaceholder, at)) != std::string::npos;) {
    text.replace(at, kPlaceholder.size(), name);
  }
  std::ofstream out(to);
  if (!(out << text << std::flush)) throw CommandError(fmt::format("cannot write {}", to));
}

// Runs the program and waits for it. Gives "" where it ended with status 0, else how it ended.
std::string RunProgram(const std::vector<std::string>& command) {
  std::vector<char*> arguments;
  arguments.reserve(command.size() + 1);
  for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  // This process ignores SIGPIPE; the program should not.
  sigset_t handled_as_usual;
  sigemptyset(&handled_as_usual);
  sigaddset(&handled_as_usual, SIGPIPE);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setsigdefault(&attributes, &handled_as_usual);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
  pid_t child = 0;
  const int error =
      posix_spawnp(&child, arguments[0], nullptr, &attributes, arguments.data(), environ);
  posix_spawnattr_destroy(&attributes);
  if (error != 0) return fmt::format("could not be started: {}", ErrorText(error));
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return fmt::format("was lost: {}", ErrorText(errno));
  }
  if (WIFSIGNALED(status)) return fmt::format("was ended by signal {}", WTERMSIG(status));
  return WEXITSTATUS(status) == 0 ? "" : fmt::format("ended with status {}", WEXITSTATUS(status));
}

void Print(const Step& step, std::ostream& out) {
  fmt::print(out, "# {}\n{}{}\n", step.purpose, ShellCommand(step.command),
             step.may_fail ? " || true" : "");
}

int CarryOut(const std::vector<Step>& steps, std::ostream& out, std::ostream& err) {
  for (std::size_t i = 0; i < steps.size(); ++i) {
    const Step& step = steps[i];
    Print(step, out);
    out.flush();  // before what the program prints
    const std::string failure = RunProgram(step.command);
    if (failure.empty() || step.may_fail) continue;
    fmt::print(err, "ostrel-pci: step {} of {} failed: \"{}\" {}.{}{}\n", i + 1, steps.size(),
               ShellCommand(step.command), failure, step.hint.empty() ? "" : " ", step.hint);
    return kExitFailed;
  }
  return kExitOk;
}

Files FilesOf(const RegisterOptions& options, const fs::path& working_folder) {
  const fs::path schema(options.schema_folder);
  return {schema / kClasses, options.with_system ? working_folder / kSystemClass : fs::path(),
          schema / kSfcbRegistration, schema / kPegasusRegistration};
}

std::vector<Step> StepsOf(const RegisterOptions& options, const fs::path& working_folder) {
  const ServerKind& kind = KindOf(options.server);
  return (options.unregister ? kind.unregistering
                             : kind.registering)(FilesOf(options, working_folder));
}

// The steps in the words of a shell, the template filled in by sed in the current folder.
void PrintSteps(const RegisterOptions& options, std::ostream& out) {
  if (options.with_system && !options.unregister) {
    fmt::print(out, "# Put the host's name into the hosting system's instance\n{} > {}\n",
               ShellCommand({"sed",
                             fmt::format("s/{}/{}/", broker::schema::kSystemNamePlaceholder,
                                         LowerCase(options.system_name)),
                             fs::path(options.schema_folder) / kSystemClass}),
               kSystemClass);
  }
  for (const Step& step : StepsOf(options, "")) Print(step, out);
}

int CarryOutIn(const fs::path& folder, const RegisterOptions& options, std::ostream& out,
               std::ostream& err) {
  const std::vector<Step> steps = StepsOf(options, folder);
  if (options.with_system) {
    FillInSystemClass(fs::path(options.schema_folder) / kSystemClass, folder / kSystemClass,
                      LowerCase(options.system_name));
  }
  return CarryOut(steps, out, err);
}

}  // namespace

std::string FindSchemaFolder() {
  std::error_code ignored;
  const fs::path program = fs::read_symlink("/proc/self/exe", ignored).parent_path();
  const fs::path candidates[] = {
      program / ".." / OSTREL_DATADIR / "ostrel-pci",
      program / "../../schema",  // of the build tree
      fs::path(OSTREL_FULL_DATADIR) / "ostrel-pci",
  };
  std::vector<std::string> tried;
  for (const fs::path& candidate : candidates) {
    tried.push_back(candidate.lexically_normal());
    if (Exists(candidate / kClasses)) return tried.back();
  }
  throw CommandError(
      fmt::format("the schema files were not found; tried {}", fmt::join(tried, ", ")));
}

int RunRegister(const RegisterOptions& options, std::ostream& out, std::ostream& err) {
  const ServerKind& kind = KindOf(options.server);
  const Findings findings(options, StepsOf(options, ""));
  for (const std::string& what : findings.missing()) fmt::print(err, "ostrel-pci: {}\n", what);

  int status = findings.missing().empty() ? kExitOk : kExitFailed;
  if (options.dry_run) {
    PrintSteps(options, out);
  } else if (status == kExitOk) {
    const TemporaryFolder folder;
    status = CarryOutIn(folder.path(), options, out, err);
  } else {
    fmt::print(err, "ostrel-pci: nothing was changed\n");
  }
  if (options.dry_run || status == kExitOk) fmt::print(out, "# {}\n", kind.afterwards);
  return status;
}

}  // namespace tool
