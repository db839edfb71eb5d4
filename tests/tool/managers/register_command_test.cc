// Registering with object managers: which of their tools are called, with what and in which order.
// Stand-ins for the tools on the PATH write down how they were called; those of OpenPegasus keep
// what is registered, as the server does.

#include "tool/managers/register_command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "tool/errors.h"

// The environment and a shell, on one thread.
// NOLINTBEGIN(cert-env33-c)
namespace {

using testing::_;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

namespace fs = std::filesystem;

std::string TextOf(const fs::path& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

class RegisterTest : public testing::Test {
 protected:
  RegisterTest() {
    std::string name = fs::temp_directory_path() / "register-test-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
    folder_ = name;
    for (const char* made : {"bin", "cmpi", "etc/sfcb", "home/lib", "installed"}) {
      fs::create_directories(folder_ / made);
    }
    for (const char* made : {"cmpi", "installed"}) {
      std::ofstream(folder_ / made / "libOstrelPCI.so") << "a library\n";
    }
    setenv("PATH", ((folder_ / "bin").string() + ":/usr/bin:/bin").c_str(), 1);
    setenv("REGISTER_TEST", folder_.c_str(), 1);
    setenv("PEGASUS_HOME", (folder_ / "home").c_str(), 1);

    options_.root = true;
    options_.library = folder_ / "installed" / "libOstrelPCI.so";
    options_.schema_folder = SCHEMA_FOLDER;
    options_.system_name = "Host.Example";
  }

  ~RegisterTest() override {
    setenv("PATH", path_.c_str(), 1);
    fs::remove_all(folder_);
  }

  // A program that notes its arguments, keeps a copy of the last one if it is a file, and goes on
  // as the script says.
  void AddTool(const std::string& name, const std::string& script = "") {
    const fs::path tool = folder_ / "bin" / name;
    std::ofstream(tool) << "#!/bin/sh\n"
                        << "echo \"" << name << " $*\" >>\"$REGISTER_TEST/calls\"\n"
                        << "for last; do :; done\n"
                        << "[ ! -f \"$last\" ] || cp \"$last\" \"$REGISTER_TEST/calls.file\"\n"
                        << "cd \"$REGISTER_TEST\"\n"
                        << script << "\n";
    fs::permissions(tool, fs::perms::owner_all);
  }
  void AddSfcb() {
    for (const char* name : {"sfcbstage", "sfcbunstage", "sfcbrepos"}) AddTool(name);
    SetProviderDirs("/nonexistent " + (folder_ / "cmpi").string());
  }
  void SetProviderDirs(const std::string& value) {
    std::ofstream(Configuration()) << "## providerDirs: /comment\n"
                                   << "httpPort:       5988\n"
                                   << "providerDirs: " << value << "\n"
                                   << "enableInterOp:  true\n";
  }
  std::string Configuration() const { return folder_ / "etc/sfcb/sfcb.cfg"; }

  // A server without our classes whose provider folder is "cmpi". Modules and systems are files of
  // a line each.
  void AddPegasus() {
    options_.server = tool::Server::kPegasus;
    AddTool("cimserver", "echo The CIM Server is running.");
    AddCimconfig((folder_ / "cmpi").string());
    AddTool("cimmof",
            "case $last in *pegasus.mof) echo OstrelPCIModule >>modules;;\n"
            "*Computer*) echo OMC_UnitaryComputerSystem.CreationClassName="
            "\\\"OMC_UnitaryComputerSystem\\\",$(grep -o 'Name = \".*\"' $last | tail -1 |"
            " sed 's/ //g') >>systems;; esac");
    AddTool(
        "cimprovider",
        "case $1 in -l) cat modules;; -r) echo removed; sed -i /OstrelPCIModule/d modules;; esac");
    AddTool(
        "cimcli",
        "case \"$1 $2\" in 'ni OMC'*) cat systems;; di*) grep -Fxv \"$2\" systems >left; mv left "
        "systems;; *) echo '12  Ostrel_PCIDevice returned.';; esac");
    std::ofstream(folder_ / "modules") << "OperatingSystemModule\n";
    std::ofstream(folder_ / "systems") << "";
  }
  void AddCimconfig(const std::string& folders) {
    AddTool("cimconfig", "echo 'Current value: " + folders + "'");
  }
  std::string RegisteredModules() const { return TextOf(folder_ / "modules"); }

  // What a dry run printed, by a shell in the test's folder.
  int RunPrintedScript() const {
    std::ofstream(folder_ / "script") << out_.str();
    return system(("cd " + folder_.string() + " && sh script >/dev/null 2>&1").c_str());
  }

  int Run() {
    out_.str("");
    err_.str("");
    return tool::RunRegister(options_, out_, err_);
  }

  // The calls so far, the schema folder's path shortened to its name. What is only asked does not
  // count.
  std::vector<std::string> Calls() const {
    std::ifstream file(folder_ / "calls");
    std::vector<std::string> calls;
    for (std::string line; std::getline(file, line);) {
      const std::string schema = options_.schema_folder + "/";
      for (std::size_t at = 0; (at = line.find(schema)) != std::string::npos;) {
        line.replace(at, schema.size(), "schema/");
      }
      if (line == "cimserver --status" || line == "cimprovider -l") continue;
      if (!line.starts_with("cimconfig ")) calls.push_back(line);
    }
    return calls;
  }

  // Without the folder of the filled-in template, which is another one in each run.
  static std::vector<std::string> WithoutFolders(std::vector<std::string> calls) {
    for (std::string& call : calls) {
      if (call.ends_with("/OMC_UnitaryComputerSystem.mof")) {
        call.erase(call.rfind(' ') + 1, call.rfind('/') - call.rfind(' '));
      }
    }
    return calls;
  }

  tool::RegisterOptions options_;
  fs::path folder_;
  std::ostringstream out_;
  std::ostringstream err_;

 private:
  std::string path_ = getenv("PATH");
};

TEST_F(RegisterTest, StagesWithSfcbAndRebuildsItsRepository) {
  AddSfcb();
  EXPECT_EQ(Run(), 0) << err_.str();
  EXPECT_THAT(Calls(), ElementsAre("sfcbstage -n root/cimv2 -r schema/ostrel-pci.sfcb.reg "
                                   "schema/Ostrel_PCI.mof",
                                   "sfcbrepos -f"));
  EXPECT_THAT(err_.str(), IsEmpty());
  EXPECT_THAT(out_.str(), AllOf(HasSubstr("\n# Restart SFCB"), HasSubstr("\n# Then ask it: ")));
}

TEST_F(RegisterTest, TakesAwayFromSfcbWhatItStaged) {
  AddSfcb();
  options_.unregister = true;
  EXPECT_EQ(Run(), 0) << err_.str();
  EXPECT_THAT(Calls(), ElementsAre("sfcbunstage -n root/cimv2 -r ostrel-pci.sfcb.reg "
                                   "Ostrel_PCI.mof",
                                   "sfcbrepos -f"));
}

TEST_F(RegisterTest, LoadsClassesAndProvidersIntoPegasus) {
  AddPegasus();
  EXPECT_EQ(Run(), 0) << err_.str();
  EXPECT_THAT(Calls(), ElementsAre("cimmof -uc -aV -n root/cimv2 schema/Ostrel_PCI.mof",
                                   "cimmof -n root/PG_InterOp schema/ostrel-pci.pegasus.mof",
                                   "cimcli ni Ostrel_PCIDevice -n root/cimv2 --sum"));
  EXPECT_EQ(RegisteredModules(), "OperatingSystemModule\nOstrelPCIModule\n");
}

TEST_F(RegisterTest, RemovesAnEarlierRegistrationFromPegasusFirst) {
  AddPegasus();
  EXPECT_EQ(Run(), 0) << err_.str();
  fs::remove(folder_ / "calls");
  EXPECT_EQ(Run(), 0) << err_.str();
  EXPECT_THAT(Calls(), ElementsAre("cimprovider -r -m OstrelPCIModule", HasSubstr("Ostrel_PCI.mof"),
                                   HasSubstr("pegasus.mof"), _));
  EXPECT_EQ(RegisteredModules(), "OperatingSystemModule\nOstrelPCIModule\n");
}

TEST_F(RegisterTest, StopsWherePegasusDoesNotRemoveAnEarlierRegistration) {
  AddPegasus();
  std::ofstream(folder_ / "modules") << "OstrelPCIModule\n";
  AddTool("cimprovider", "case $1 in -l) cat modules;; *) exit 1;; esac");
  EXPECT_EQ(Run(), 1);
  EXPECT_THAT(Calls(), ElementsAre("cimprovider -r -m OstrelPCIModule"));
}

TEST_F(RegisterTest, StopsAndRemovesTheModuleInPegasus) {
  AddPegasus();
  std::ofstream(folder_ / "modules", std::ios::app) << "OstrelPCIModule\n";
  options_.unregister = true;
  EXPECT_EQ(Run(), 0) << err_.str();
  EXPECT_THAT(Calls(), ElementsAre("cimprovider -d -m OstrelPCIModule",
                                   "cimprovider -r -m OstrelPCIModule"));
  EXPECT_EQ(RegisteredModules(), "OperatingSystemModule\n");
}

TEST_F(RegisterTest, UnregistersASecondTimeFromPegasusWithoutFailure) {
  AddPegasus();
  options_.unregister = true;
  EXPECT_EQ(Run(), 0) << err_.str();
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_THAT(err_.str(), IsEmpty());
}

TEST_F(RegisterTest, SaysThatPegasusRunsAndCannotBeReached) {
  AddPegasus();
  AddTool("cimprovider", "echo The CIM server may not be running.; exit 1");
  for (const bool unregister : {false, true}) {
    options_.unregister = unregister;
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(
        err_.str(),
        "ostrel-pci: OpenPegasus runs, which is all that \"cimserver --status\" looks for, but "
        "cannot be reached: \"cimprovider -l\" ended with status 1 (The CIM server may not be "
        "running.); start it anew with \"cimserver -s\" and \"cimserver\"\n"
        "ostrel-pci: nothing was changed\n");
  }
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(RegisterTest, SaysWhatPegasusAnswersForAClass) {
  AddPegasus();
  testing::internal::CaptureStdout();
  EXPECT_EQ(Run(), 0) << err_.str();
  EXPECT_THAT(testing::internal::GetCapturedStdout(), EndsWith("12  Ostrel_PCIDevice returned.\n"));
}

TEST_F(RegisterTest, FailsWherePegasusDoesNotAnswerForAClass) {
  AddPegasus();
  AddTool("cimcli", "echo CIM_ERR_FAILED: ProviderLoadFailure >&2; exit 1");
  EXPECT_EQ(Run(), 1);
  EXPECT_THAT(
      err_.str(),
      AllOf(HasSubstr("\"cimcli ni Ostrel_PCIDevice -n root/cimv2 --sum\" ended with status 1"),
            HasSubstr("registered, but the server does not answer")));
}

TEST_F(RegisterTest, FillsTheHostsNameIntoTheSystemClass) {
  AddSfcb();
  options_.with_system = true;
  EXPECT_EQ(Run(), 0) << err_.str();
  ASSERT_EQ(Calls().size(), 3U);
  EXPECT_THAT(Calls()[1], AllOf(StartsWith("sfcbstage -n root/cimv2 /"),
                                EndsWith("/OMC_UnitaryComputerSystem.mof")));
  const std::string loaded = TextOf(folder_ / "calls.file");
  EXPECT_THAT(loaded, HasSubstr("Name = \"host.example\";"));
  EXPECT_THAT(loaded, Not(HasSubstr("@SYSTEM_NAME@")));
  const std::string file = Calls()[1].substr(Calls()[1].rfind(' ') + 1);
  EXPECT_FALSE(fs::exists(file)) << "the filled-in copy is left behind";
}

TEST_F(RegisterTest, TakesTheSystemClassOffTheStageOfSfcb) {
  AddSfcb();
  options_.with_system = true;
  options_.unregister = true;
  EXPECT_EQ(Run(), 0) << err_.str();
  EXPECT_THAT(Calls(), ElementsAre("sfcbunstage -n root/cimv2 -r ostrel-pci.sfcb.reg "
                                   "Ostrel_PCI.mof",
                                   "sfcbunstage -n root/cimv2 OMC_UnitaryComputerSystem.mof",
                                   "sfcbrepos -f"));
}

TEST_F(RegisterTest, LoadsTheSystemClassIntoPegasusBeforeTheProviders) {
  AddPegasus();
  options_.with_system = true;
  EXPECT_EQ(Run(), 0) << err_.str();
  EXPECT_THAT(Calls(), ElementsAre(HasSubstr("Ostrel_PCI.mof"),
                                   AllOf(StartsWith("cimmof -uc -n root/cimv2 /"),
                                         EndsWith("/OMC_UnitaryComputerSystem.mof")),
                                   "cimcli ni OMC_UnitaryComputerSystem -n root/cimv2",
                                   StartsWith("cimmof -n root/PG_InterOp "), _));
}

TEST_F(RegisterTest, RemovesTheSystemUnderOtherNamesFromPegasusAndSaysWhich) {
  AddPegasus();
  options_.with_system = true;
  const std::string of_class =
      "OMC_UnitaryComputerSystem.CreationClassName=\"OMC_UnitaryComputerSystem\"";
  const std::string of_subclass = "Other_System.CreationClassName=\"Other_System\",Name=\"host\"\n";
  std::ofstream(folder_ / "systems") << of_class << ",Name=\"host\"\n"
                                     << of_subclass << of_class << ",Name=\"a.host.example\"\n\n";
  testing::internal::CaptureStdout();
  EXPECT_EQ(Run(), 0) << err_.str();
  EXPECT_THAT(testing::internal::GetCapturedStdout(),
              AllOf(HasSubstr("removing " + of_class + ",Name=\"host\"\n"),
                    HasSubstr("removing " + of_class + ",Name=\"a.host.example\"\n"),
                    Not(HasSubstr("removing Other"))));
  EXPECT_EQ(TextOf(folder_ / "systems"),
            of_subclass + "\n" + of_class + ",Name=\"host.example\"\n");
}

TEST_F(RegisterTest, StopsWhereASystemUnderAnotherNameCannotBeRemoved) {
  AddPegasus();
  options_.with_system = true;
  AddTool("cimcli",
          "case $1 in ni) echo 'OMC_UnitaryComputerSystem.Name=\"other\"';; di) exit 7;; esac");
  EXPECT_EQ(Run(), 1);
  EXPECT_THAT(err_.str(), AllOf(HasSubstr("\"Remove the hosting system under other names\" ended "
                                          "with status 7. If another provider")));
}

TEST_F(RegisterTest, PrintsTheStepsOfADryRunAndCallsNothing) {
  AddSfcb();
  options_.dry_run = true;
  options_.with_system = true;
  EXPECT_EQ(Run(), 0) << err_.str();
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_THAT(out_.str(),
              AllOf(HasSubstr("\nsed s/@SYSTEM_NAME@/host.example/ "),
                    HasSubstr("\nsfcbstage -n root/cimv2 -r "),
                    HasSubstr("\nsfcbstage -n root/cimv2 OMC_UnitaryComputerSystem.mof"),
                    HasSubstr("\nsfcbrepos -f\n")));
}

// What a dry run prints is a script: run by a shell, it makes the calls that the real run makes.
TEST_F(RegisterTest, PrintsADryRunThatAShellCanCarryOut) {
  AddPegasus();
  options_.with_system = true;
  const auto register_before = [this] {
    std::ofstream(folder_ / "modules") << "OstrelPCIModule\n";
    std::ofstream(folder_ / "systems") << "OMC_UnitaryComputerSystem.Name=\"other\"\n";
  };
  register_before();
  testing::internal::CaptureStdout();
  EXPECT_EQ(Run(), 0) << err_.str();
  testing::internal::GetCapturedStdout();
  const std::vector<std::string> real = Calls();
  EXPECT_THAT(real, SizeIs(7));
  fs::remove(folder_ / "calls");

  register_before();
  options_.dry_run = true;
  EXPECT_EQ(Run(), 0) << err_.str();
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_EQ(RunPrintedScript(), 0);
  EXPECT_EQ(WithoutFolders(Calls()), WithoutFolders(real));
}

TEST_F(RegisterTest, PrintsADryRunThatEndsWhereAStepFails) {
  AddPegasus();
  options_.dry_run = true;
  EXPECT_EQ(Run(), 0) << err_.str();
  AddTool("cimprovider", "exit 1");
  EXPECT_NE(RunPrintedScript(), 0);
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(RegisterTest, QuotesWhatAShellWouldReadOtherwise) {
  AddSfcb();
  const fs::path odd = folder_ / "it's a $folder";
  fs::copy(options_.schema_folder, odd);
  options_.schema_folder = odd;
  options_.dry_run = true;
  EXPECT_EQ(Run(), 0) << err_.str();
  EXPECT_EQ(RunPrintedScript(), 0);
  EXPECT_THAT(Calls(), ElementsAre("sfcbstage -n root/cimv2 -r schema/ostrel-pci.sfcb.reg "
                                   "schema/Ostrel_PCI.mof",
                                   "sfcbrepos -f"));
}

TEST_F(RegisterTest, StopsAtTheStepThatFailsAndNamesIt) {
  AddSfcb();
  AddTool("sfcbstage", "exit 3");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Calls().size(), 1U);
  EXPECT_THAT(err_.str(), AllOf(HasSubstr("step 1 of 2 failed: \"sfcbstage -n root/cimv2 "),
                                HasSubstr("ended with status 3")));
}

TEST_F(RegisterTest, SaysWhatMostLikelyIsWrongWhenTheRepositoryDoesNotBuild) {
  AddSfcb();
  AddTool("sfcbrepos", "exit 1");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Calls().size(), 2U);
  EXPECT_THAT(err_.str(), AllOf(HasSubstr("step 2 of 2 failed"), HasSubstr("CIM schema")));
}

TEST_F(RegisterTest, TellsASignalThatEndsAStep) {
  AddSfcb();
  std::ofstream(folder_ / "bin" / "sfcbrepos") << "#!/bin/sh\nkill -KILL $$\n";
  EXPECT_EQ(Run(), 1);
  EXPECT_THAT(err_.str(), HasSubstr("\"sfcbrepos -f\" was ended by signal 9."));
}

TEST_F(RegisterTest, StartsToolsWithBrokenPipesAsUsual) {
  AddSfcb();
  std::ofstream(folder_ / "bin" / "sfcbrepos") << "#!/bin/sh\nkill -PIPE $$\n";
  const auto before = std::signal(SIGPIPE, SIG_IGN);
  EXPECT_EQ(Run(), 1);
  (void)std::signal(SIGPIPE, before);
  EXPECT_THAT(err_.str(), HasSubstr("\"sfcbrepos -f\" was ended by signal 13."));
}

TEST_F(RegisterTest, TellsAToolThatCannotBeStarted) {
  AddSfcb();
  std::ofstream(folder_ / "bin" / "sfcbstage") << "#!/nonexistent/interpreter\n";
  EXPECT_EQ(Run(), 1);
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_THAT(err_.str(), HasSubstr("could not be started: No such file or directory."));
}

TEST_F(RegisterTest, TellsThatThereIsNowhereToPutTemporaryFiles) {
  AddSfcb();
  for (const char* folder : {"/nonexistent", "/proc"}) {
    setenv("TMPDIR", folder, 1);
    EXPECT_THROW(Run(), tool::CommandError) << folder;
  }
  setenv("TMPDIR", folder_.parent_path().c_str(), 1);
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(RegisterTest, SaysThatPegasusIsNotRunning) {
  AddPegasus();
  AddTool("cimserver", "exit 2");
  EXPECT_EQ(Run(), 1);
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_THAT(err_.str(), HasSubstr("is not running; start it with \"cimserver\"\n"));
}

TEST_F(RegisterTest, NamesEachMissingToolOnceAndChangesNothing) {
  AddPegasus();
  fs::remove(folder_ / "bin" / "cimmof");
  fs::remove(folder_ / "bin" / "cimserver");
  EXPECT_EQ(Run(), 1);
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_EQ(err_.str(),
            "ostrel-pci: cimserver is not on the PATH; it comes with OpenPegasus\n"
            "ostrel-pci: cimmof is not on the PATH; it comes with OpenPegasus\n"
            "ostrel-pci: nothing was changed\n");
}

// Provider folders

TEST_F(RegisterTest, NamesTheFoldersOfSfcbThatLackTheLibraryAndTheCommandThatHelps) {
  AddSfcb();
  fs::remove(folder_ / "cmpi" / "libOstrelPCI.so");
  EXPECT_EQ(Run(), 1);
  EXPECT_THAT(Calls(), IsEmpty());
  const std::string cmpi = folder_ / "cmpi";
  EXPECT_EQ(err_.str(),
            "ostrel-pci: libOstrelPCI.so is in no folder where SFCB looks for providers: "
            "/nonexistent, " +
                cmpi + " (providerDirs in " + Configuration() + "); run: ln -s " +
                options_.library + " " + cmpi + "/\nostrel-pci: nothing was changed\n");

  const std::string command = err_.str().substr(err_.str().find("ln -s"));
  EXPECT_EQ(system(command.substr(0, command.find('\n')).c_str()), 0);
  EXPECT_EQ(Run(), 0) << err_.str();
}

TEST_F(RegisterTest, TakesADanglingLinkForNoLibrary) {
  AddSfcb();
  fs::remove(folder_ / "cmpi" / "libOstrelPCI.so");
  fs::create_symlink("/nonexistent", folder_ / "cmpi" / "libOstrelPCI.so");
  EXPECT_EQ(Run(), 1);
}

TEST_F(RegisterTest, ReadsTheLastProviderDirsOfSfcb) {
  AddSfcb();
  std::ofstream(Configuration(), std::ios::app) << "\t providerDirs:/somewhere/else\n";
  EXPECT_EQ(Run(), 1);
  EXPECT_THAT(err_.str(), AllOf(HasSubstr("looks for providers: /somewhere/else (providerDirs"),
                                HasSubstr("run: mkdir -p /somewhere/else && ln -s ")));
}

TEST_F(RegisterTest, RefusesAFolderWhereSfcbDoesNotLook) {
  AddSfcb();
  options_.provider_folders = {folder_ / "cmpi", folder_ / "installed"};
  EXPECT_EQ(Run(), 1);
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_THAT(err_.str(),
              HasSubstr("SFCB does not look for providers in " + (folder_ / "installed").string() +
                        ", but in /nonexistent, " + (folder_ / "cmpi").string()));
  EXPECT_THAT(err_.str(), HasSubstr("add " + (folder_ / "installed").string() +
                                    " to providerDirs in " + Configuration()));
}

TEST_F(RegisterTest, NeedsToBeToldWhereSfcbLooksIfItsConfigurationDoesNotSay) {
  AddSfcb();
  std::ofstream(Configuration()) << "httpPort: 5988\n#providerDirs: /commented/out\n";
  EXPECT_EQ(Run(), 1);
  EXPECT_THAT(err_.str(), HasSubstr("where SFCB looks for providers is not known: " +
                                    Configuration() + " has no line \"providerDirs:\""));
  fs::remove(Configuration());
  EXPECT_EQ(Run(), 1);
  EXPECT_THAT(err_.str(), AllOf(HasSubstr(Configuration() + " cannot be read"),
                                HasSubstr("name the folder with --provider-dir")));
  EXPECT_THAT(Calls(), IsEmpty());

  options_.provider_folders = {folder_ / "bin"};
  EXPECT_EQ(Run(), 1);
  EXPECT_THAT(err_.str(), HasSubstr("it is not in " + (folder_ / "bin").string()));
  options_.provider_folders = {folder_ / "bin", folder_ / "cmpi"};
  EXPECT_EQ(Run(), 0) << err_.str();
}

TEST_F(RegisterTest, AsksPegasusForItsFoldersAndCountsThemFromItsHome) {
  AddPegasus();
  AddCimconfig("lib:" + (folder_ / "cmpi").string());
  EXPECT_EQ(Run(), 0) << err_.str();

  AddCimconfig("lib:provider");
  EXPECT_EQ(Run(), 1);
  const std::string lib = folder_ / "home/lib";
  EXPECT_THAT(
      err_.str(),
      HasSubstr("libOstrelPCI.so is in no folder where OpenPegasus looks for providers: " + lib +
                ", " + (folder_ / "home/provider").string() +
                " (cimconfig -g providerDir); run: ln -s " + options_.library + " " + lib + "/\n"));
  fs::create_symlink(options_.library, lib + "/libOstrelPCI.so");
  EXPECT_EQ(Run(), 0) << err_.str();
}

TEST_F(RegisterTest, NeedsTheHomeOfPegasusForFoldersThatCountFromIt) {
  AddPegasus();
  AddCimconfig("lib");
  unsetenv("PEGASUS_HOME");
  EXPECT_EQ(Run(), 1);
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_THAT(err_.str(),
              HasSubstr("where OpenPegasus looks for providers is not known: its "
                        "providerDir \"lib\" counts from PEGASUS_HOME, which is not set "
                        "here; put libOstrelPCI.so there"));
  options_.provider_folders = {folder_ / "cmpi"};
  EXPECT_EQ(Run(), 0) << err_.str();
}

TEST_F(RegisterTest, RefusesAFolderWherePegasusDoesNotLook) {
  AddPegasus();
  options_.provider_folders = {folder_ / "installed"};
  EXPECT_EQ(Run(), 1);
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_THAT(err_.str(), HasSubstr("run: cimconfig -s providerDir=" + (folder_ / "cmpi").string() +
                                    ":" + (folder_ / "installed").string() + " -c -p\n"));
}

TEST_F(RegisterTest, RepeatsWhyPegasusDoesNotSayWhereItLooks) {
  AddPegasus();
  AddTool("cimconfig", "echo Specified property name was not found.; exit 1");
  EXPECT_EQ(Run(), 1);
  EXPECT_THAT(
      err_.str(),
      AllOf(HasSubstr("\"cimconfig -g providerDir\" does not say it (Specified property name "
                      "was not found.)"),
            HasSubstr("it is not in /usr/lib64/Pegasus/providers, ")));
  options_.provider_folders = {folder_ / "cmpi"};
  EXPECT_EQ(Run(), 0) << err_.str();
}

TEST_F(RegisterTest, UnregistersAlsoWhereTheLibraryIsGone) {
  AddSfcb();
  fs::remove(folder_ / "cmpi" / "libOstrelPCI.so");
  options_.unregister = true;
  EXPECT_EQ(Run(), 0) << err_.str();
}

TEST_F(RegisterTest, NamesTheSchemaFileThatIsNotThere) {
  AddSfcb();
  options_.schema_folder = folder_;
  EXPECT_EQ(Run(), 1);
  EXPECT_THAT(err_.str(), HasSubstr("there is no " + (folder_ / "Ostrel_PCI.mof").string()));
}

TEST_F(RegisterTest, RefusesATemplateThatCannotBeRead) {
  AddSfcb();
  fs::copy(options_.schema_folder, folder_ / "schema");
  options_.schema_folder = folder_ / "schema";
  options_.with_system = true;
  const fs::path file = folder_ / "schema" / "OMC_UnitaryComputerSystem.mof";
  fs::remove(file);
  fs::create_directory(file);
  try {
    Run();
    ADD_FAILURE() << "carried out";
  } catch (const tool::CommandError& error) {
    EXPECT_EQ(error.what(), "cannot read " + file.string());
  }
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(RegisterTest, AsksForRoot) {
  AddSfcb();
  options_.root = false;
  EXPECT_EQ(Run(), 1);
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_THAT(err_.str(), HasSubstr("run this command as root"));
}

TEST_F(RegisterTest, PrintsTheStepsOfADryRunWhateverIsMissingAndSaysWhatIs) {
  options_.dry_run = true;
  options_.root = false;
  EXPECT_EQ(Run(), 1);
  EXPECT_THAT(out_.str(), HasSubstr("\nsfcbrepos -f\n"));
  EXPECT_THAT(err_.str(), AllOf(HasSubstr("sfcbstage is not on the PATH"), HasSubstr("root"),
                                Not(HasSubstr("nothing was changed"))));
}

TEST_F(RegisterTest, RefusesAHostNameThatIsNone) {
  AddSfcb();
  options_.with_system = true;
  options_.system_name = "a/b\"; rm";
  EXPECT_EQ(Run(), 1);
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_THAT(err_.str(), HasSubstr("--system-name"));
}

}  // namespace
// NOLINTEND(cert-env33-c)
