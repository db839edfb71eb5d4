#include "tool/managers/register_command.h"

#include <fmt/format.h>
#include <fmt/ostream.h>
#include <fmt/ranges.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <system_error>

#include "cim/schema_files.h"
#include "cim/text.h"
#include "tool/errors.h"
#include "tool/managers/findings.h"
#include "tool/managers/server_kind.h"

namespace tool {
namespace {

namespace fs = std::filesystem;

const ServerKind& KindOf(Server server) { return server == Server::kSfcb ? Sfcb() : Pegasus(); }

std::string LowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), cim::LowerAscii);
  return text;
}

// A folder of its own for the filled-in template; goes with the object.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::error_code error;
    const fs::path parent = fs::temp_directory_path(error);
    if (error) throw CommandError("no folder for temporary files: " + error.message());
    std::string name = parent / "ostrel-pci-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) {
      throw CommandError(
          fmt::format("cannot make {}: {}", name, std::generic_category().message(errno)));
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
  constexpr std::string_view kPlaceholder = cim::schema::kSystemNamePlaceholder;
  for (std::size_t at = 0; (at = text.find(kPlaceholder, at)) != std::string::npos;) {
    text.replace(at, kPlaceholder.size(), name);
  }
  std::ofstream out(to);
  if (!(out << text << std::flush)) throw CommandError(fmt::format("cannot write {}", to));
}

// As a shell would be told.
std::string ScriptOf(const Step& step) {
  return step.script.empty() ? ShellLine(step.command) : step.script;
}

Failure Run(const Step& step) {
  return RunProgram(step.script.empty() ? step.command : Invocation{"sh", "-ec", step.script});
}

void Print(const Step& step, std::ostream& out) {
  fmt::print(out, "# {}\n{}\n", step.purpose, ScriptOf(step));
}

int CarryOut(const std::vector<Step>& steps, std::ostream& out, std::ostream& err) {
  for (std::size_t i = 0; i < steps.size(); ++i) {
    const Step& step = steps[i];
    Print(step, out);
    out.flush();  // before what the program prints
    const Failure failure = Run(step);
    if (failure.empty()) continue;
    fmt::print(err, "ostrel-pci: step {} of {} failed: \"{}\" {}.{}{}\n", i + 1, steps.size(),
               step.script.empty() ? ShellLine(step.command) : step.purpose, failure,
               step.hint.empty() ? "" : " ", step.hint);
    return kExitFailed;
  }
  return kExitOk;
}

std::vector<Step> StepsOf(const RegisterOptions& options, const fs::path& working_folder) {
  const ServerKind& kind = KindOf(options.server);
  const fs::path schema(options.schema_folder);
  const Registration registration = {
      .classes = schema / kClassesFile,
      .providers = schema / kind.registration_file,
      .system_class = options.with_system ? working_folder / kSystemClassFile : fs::path(),
      .system_name = LowerCase(options.system_name)};
  return (options.unregister ? kind.unregistering : kind.registering)(registration);
}

// The steps in the words of a shell, the template filled in by sed in the current folder.
void PrintSteps(const RegisterOptions& options, std::ostream& out) {
  fmt::print(out, "set -e\n");
  if (options.AddsSystem()) {
    fmt::print(out, "# Put the host's name into the hosting system's instance\n{} > {}\n",
               ShellLine({"sed",
                          fmt::format("s/{}/{}/", cim::schema::kSystemNamePlaceholder,
                                      LowerCase(options.system_name)),
                          fs::path(options.schema_folder) / kSystemClassFile}),
               kSystemClassFile);
  }
  for (const Step& step : StepsOf(options, "")) Print(step, out);
}

int CarryOutIn(const fs::path& folder, const RegisterOptions& options, std::ostream& out,
               std::ostream& err) {
  const std::vector<Step> steps = StepsOf(options, folder);
  if (options.AddsSystem()) {
    FillInSystemClass(fs::path(options.schema_folder) / kSystemClassFile, folder / kSystemClassFile,
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
    if (fs::exists(candidate / kClassesFile, ignored)) return tried.back();
  }
  throw CommandError(
      fmt::format("the schema files were not found; tried {}", fmt::join(tried, ", ")));
}

int RunRegister(const RegisterOptions& options, std::ostream& out, std::ostream& err) {
  const ServerKind& kind = KindOf(options.server);
  const std::vector<std::string> missing = FindMissing(options, kind, StepsOf(options, ""));
  for (const std::string& what : missing) fmt::print(err, "ostrel-pci: {}\n", what);

  int status = missing.empty() ? kExitOk : kExitFailed;
  if (options.dry_run) {
    PrintSteps(options, out);
  } else if (status == kExitOk) {
    const TemporaryFolder folder;
    status = CarryOutIn(folder.path(), options, out, err);
  } else {
    fmt::print(err, "ostrel-pci: nothing was changed\n");
  }
  if (options.dry_run || status == kExitOk) {
    const auto& lines = options.unregister ? kind.after_unregistering : kind.after_registering;
    for (const char* line : lines) fmt::print(out, "# {}\n", line);
  }
  return status;
}

}  // namespace tool
