// Registering with object managers: which of their tools are called, with what and in which order.
// Fake tools on the PATH write down how they were called.

#include "tool/register_command.h"

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
// NOLINTBEGIN(concurrency-mt-unsafe,cert-env33-c)
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
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
    fs::create_directories(folder_ / "bin");
    fs::create_directories(folder_ / "cmpi");
    std::ofstream(folder_ / "cmpi" / "libOstrelPCI.so") << "a library\n";
    setenv("PATH", ((folder_ / "bin").string() + ":/usr/bin:/bin").c_str(), 1);
    setenv("REGISTER_TEST_CALLS", (folder_ / "calls").c_str(), 1);

    options_.root = true;
    options_.library = folder_ / "cmpi" / "libOstrelPCI.so";
    options_.schema_folder = SCHEMA_FOLDER;
    options_.system_name = "Host.Example";
    options_.provider_folders = {folder_ / "cmpi"};
  }

  ~RegisterTest() override {
    setenv("PATH", path_.c_str(), 1);
    fs::remove_all(folder_);
  }

  // A program that notes its arguments, keeps a copy of the last one if it is a file, and ends with
  // `status`.
  void AddTool(const std::string& name, int status = 0) {
    const fs::path tool = folder_ / "bin" / name;
    std::ofstream(tool) << "#!/bin/sh\n"
                        << "echo \"" << name << " $*\" >>\"$REGISTER_TEST_CALLS\"\n"
                        << "for last; do :; done\n"
                        << "[ ! -f \"$last\" ] || cp \"$last\" \"$REGISTER_TEST_CALLS.file\"\n"
                        << "exit " << status << "\n";
    fs::permissions(tool, fs::perms::owner_all);
  }
  void AddSfcb() {
    for (const char* name : {"sfcbstage", "sfcbunstage", "sfcbrepos"}) AddTool(name);
  }
  void AddPegasus() {
    for (const char* name : {"cimserver", "cimmof", "cimprovider"}) AddTool(name);
  }

  int Run() {
    out_.str("");
    err_.str("");
    return tool::RunRegister(options_, out_, err_);
  }

  // The calls so far, the schema folder's path shortened to its name.
  std::vector<std::string> Calls() const {
    std::ifstream file(folder_ / "calls");
    std::vector<std::string> calls;
    for (std::string line; std::getline(file, line);) {
      const std::string schema = options_.schema_folder + "/";
      for (std::size_t at = 0; (at = line.find(schema)) != std::string::npos;) {
        line.replace(at, schema.size(), "schema/");
      }
      calls.push_back(line);
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
  EXPECT_THAT(out_.str(), HasSubstr("Restart SFCB"));
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
  options_.server = tool::Server::kPegasus;
  EXPECT_EQ(Run(), 0) << err_.str();
  EXPECT_THAT(Calls(), ElementsAre("cimserver --status", "cimprovider -r -m OstrelPCIModule",
                                   "cimmof -uc -n root/cimv2 schema/Ostrel_PCI.mof",
                                   "cimmof -n root/PG_InterOp schema/ostrel-pci.pegasus.mof"));
}

TEST_F(RegisterTest, GoesOnWherePegasusHasNoEarlierRegistrationToRemove) {
  AddPegasus();
  AddTool("cimprovider", 1);
  options_.server = tool::Server::kPegasus;
  EXPECT_EQ(Run(), 0) << err_.str();
  EXPECT_EQ(Calls().size(), 4U);
}

TEST_F(RegisterTest, StopsAndRemovesTheModuleInPegasus) {
  AddPegasus();
  options_.server = tool::Server::kPegasus;
  options_.unregister = true;
  EXPECT_EQ(Run(), 0) << err_.str();
  EXPECT_THAT(Calls(), ElementsAre("cimserver --status", "cimprovider -d -m OstrelPCIModule",
                                   "cimprovider -r -m OstrelPCIModule"));
}

TEST_F(RegisterTest, FillsTheHostsNameIntoTheSystemClass) {
  AddSfcb();
  AddTool("sfcbrepos");
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
  options_.server = tool::Server::kPegasus;
  options_.with_system = true;
  EXPECT_EQ(Run(), 0) << err_.str();
  ASSERT_EQ(Calls().size(), 5U);
  EXPECT_THAT(Calls()[3], AllOf(StartsWith("cimmof -uc -n root/cimv2 /"),
                                EndsWith("/OMC_UnitaryComputerSystem.mof")));
  EXPECT_THAT(Calls()[4], StartsWith("cimmof -n root/PG_InterOp "));
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
  AddTool("cimprovider", 1);
  options_.server = tool::Server::kPegasus;
  EXPECT_EQ(Run(), 0) << err_.str();
  const std::vector<std::string> real = Calls();
  fs::remove(folder_ / "calls");

  options_.dry_run = true;
  EXPECT_EQ(Run(), 0) << err_.str();
  std::ofstream(folder_ / "script") << "set -e\n" << out_.str();
  EXPECT_EQ(system(("sh " + (folder_ / "script").string()).c_str()), 0);
  EXPECT_EQ(Calls(), real);
}

TEST_F(RegisterTest, QuotesWhatAShellWouldReadOtherwise) {
  AddSfcb();
  const fs::path odd = folder_ / "it's a $folder";
  fs::copy(options_.schema_folder, odd);
  options_.schema_folder = odd;
  options_.dry_run = true;
  EXPECT_EQ(Run(), 0) << err_.str();
  std::ofstream(folder_ / "script") << "set -e\n" << out_.str();
  EXPECT_EQ(system(("sh " + (folder_ / "script").string()).c_str()), 0);
  EXPECT_THAT(Calls(), ElementsAre("sfcbstage -n root/cimv2 -r schema/ostrel-pci.sfcb.reg "
                                   "schema/Ostrel_PCI.mof",
                                   "sfcbrepos -f"));
}

TEST_F(RegisterTest, StopsAtTheStepThatFailsAndNamesIt) {
  AddSfcb();
  AddTool("sfcbstage", 3);
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Calls().size(), 1U);
  EXPECT_THAT(err_.str(), AllOf(HasSubstr("step 1 of 2 failed: \"sfcbstage -n root/cimv2 "),
                                HasSubstr("ended with status 3")));
}

TEST_F(RegisterTest, SaysWhatMostLikelyIsWrongWhenTheRepositoryDoesNotBuild) {
  AddSfcb();
  AddTool("sfcbrepos", 1);
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
  AddTool("cimserver", 1);
  options_.server = tool::Server::kPegasus;
  EXPECT_EQ(Run(), 1);
  EXPECT_THAT(Calls(), ElementsAre("cimserver --status"));
  EXPECT_THAT(err_.str(), HasSubstr("Start it with \"cimserver\""));
}

TEST_F(RegisterTest, NamesEachMissingToolOnceAndChangesNothing) {
  AddTool("cimserver");
  AddTool("cimprovider");
  options_.server = tool::Server::kPegasus;
  EXPECT_EQ(Run(), 1);
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_EQ(err_.str(),
            "ostrel-pci: cimmof is not on the PATH; it comes with OpenPegasus\n"
            "ostrel-pci: nothing was changed\n");
}

TEST_F(RegisterTest, NamesTheFoldersThatLackTheLibrary) {
  AddSfcb();
  fs::remove(folder_ / "cmpi" / "libOstrelPCI.so");
  EXPECT_EQ(Run(), 1);
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_THAT(err_.str(), AllOf(HasSubstr("libOstrelPCI.so is in no folder where SFCB looks"),
                                HasSubstr((folder_ / "cmpi").string())));
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
// NOLINTEND(concurrency-mt-unsafe,cert-env33-c)
