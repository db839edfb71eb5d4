// What belongs to the whole process: streams, the environment, the command line.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include "support/sanitizers.h"
#include "tool/command_line.h"
#include "tool/commands.h"
#include "tool/errors.h"
#include "tool/host_source.h"
#include "tool/library_file.h"
#include "tool/output.h"
#include "tool/quiet_factory.h"
#include "tool/session.h"

namespace tool {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

TEST(FileOutput, WritesEverythingThroughSmallAndLargePieces) {
  const int file = memfd_create("out", MFD_CLOEXEC);
  const std::string large(200000, 'x');
  FileOutput out(file);
  out << "start" << large << 'e';
  out.flush();
  std::string text(large.size() + 10, '\0');
  lseek(file, 0, SEEK_SET);
  const ssize_t got = read(file, text.data(), text.size());
  close(file);
  ASSERT_EQ(got, static_cast<ssize_t>(large.size() + 6));
  EXPECT_EQ(text.substr(0, 6), "startx");
  EXPECT_EQ(text[large.size() + 5], 'e');
}

TEST(FileOutput, ThrowsTheErrorOfAFailedWrite) {
  const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
  FileOutput out(full);
  out << "text";
  try {
    out.flush();
    FAIL() << "written";
  } catch (const OutputError& error) {
    EXPECT_EQ(error.code().value(), ENOSPC);
  }
  close(full);
}

TEST(RunFactory, GivesWhatIsSaidWithoutTheTraceLine) {
  const auto say = [] { std::fputs("before\n--- _Create_InstanceMI() X\nafter", stderr); };
  testing::internal::CaptureStderr();
  EXPECT_EQ(RunFactory(say, false), "before\nafter");
  EXPECT_EQ(RunFactory(say, true), "before\n--- _Create_InstanceMI() X\nafter") << "verbose";
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(RunFactory, PassesExceptionsOnAndGivesStandardErrorBack) {
  testing::internal::CaptureStderr();
  const auto fail = [] {
    std::fputs("said\n", stderr);
    throw std::runtime_error("x");
  };
  EXPECT_THROW(RunFactory(fail, false), std::runtime_error);
  std::fputs("heard\n", stderr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "said\nheard\n");
}

// The variables as they were, once the test is over.
class Environment : public testing::Test {
 protected:
  void SetUp() override {
    for (const char* name : kNames) unsetenv(name);
  }
  void TearDown() override { SetUp(); }

  static constexpr const char* kNames[] = {"HOSTCTL_PCI_SYSFS", "HOSTCTL_PCI_DUMP",
                                           "HOSTCTL_SYSTEM_NAME", "OSTREL_PCI_LIBRARY"};
};

TEST_F(Environment, IsOverruledByOptions) {
  setenv("HOSTCTL_PCI_SYSFS", "/elsewhere", 1);
  SelectHost({.dump = "/dev/null", .system_name = "name"});
  EXPECT_EQ(std::getenv("HOSTCTL_PCI_SYSFS"), nullptr);
  EXPECT_STREQ(std::getenv("HOSTCTL_PCI_DUMP"), "/dev/null");
  EXPECT_EQ(SystemName(), "name");
  SelectHost({.sysfs = "/"});
  EXPECT_EQ(std::getenv("HOSTCTL_PCI_DUMP"), nullptr);
  EXPECT_STREQ(std::getenv("HOSTCTL_PCI_SYSFS"), "/");
}

TEST_F(Environment, StaysWhereNoOptionSaysOtherwise) {
  setenv("HOSTCTL_PCI_DUMP", "/some/dump", 1);
  SelectHost({});
  EXPECT_STREQ(std::getenv("HOSTCTL_PCI_DUMP"), "/some/dump");
  EXPECT_FALSE(SystemName().empty());
}

TEST_F(Environment, IsLeftAloneByASourceThatIsNotThere) {
  EXPECT_THROW(SelectHost({.dump = "/nonexistent"}), CommandError);
  EXPECT_THROW(SelectHost({.dump = "/"}), CommandError);
  EXPECT_THROW(SelectHost({.sysfs = "/dev/null"}), CommandError);
  EXPECT_THROW(SelectHost({.sysfs = "/", .dump = "/dev/null"}), UsageError);
  EXPECT_EQ(std::getenv("HOSTCTL_PCI_DUMP"), nullptr);
  EXPECT_EQ(std::getenv("HOSTCTL_PCI_SYSFS"), nullptr);
}

TEST_F(Environment, NamesTheLibraryWhereNoOptionDoes) {
  EXPECT_EQ(FindLibrary("/dev/null"), "/dev/null");
  setenv("OSTREL_PCI_LIBRARY", "/dev/zero", 1);
  EXPECT_EQ(FindLibrary(std::nullopt), "/dev/zero");
  EXPECT_EQ(FindLibrary("/dev/null"), "/dev/null");
  EXPECT_THROW(FindLibrary("/nonexistent"), CommandError);
  setenv("OSTREL_PCI_LIBRARY", "/nonexistent", 1);
  EXPECT_THROW(FindLibrary(std::nullopt), CommandError);
}

TEST(LibraryCandidates, StandBesideTheProgramFirst) {
  const std::vector<std::string> files = LibraryCandidates("/opt/x/bin");
  ASSERT_EQ(files.size(), 5U);
  EXPECT_EQ(files[0], "/opt/x/bin/libOstrelPCI.so");
  EXPECT_EQ(files[1], "/opt/x/associations/libOstrelPCI.so");
  EXPECT_TRUE(files[2].starts_with("/opt/x/lib"));
  EXPECT_TRUE(files[2].ends_with("/cmpi/libOstrelPCI.so"));
  EXPECT_EQ(files[3], "/opt/x/lib64/cmpi/libOstrelPCI.so");
}

// In some locales the lower case of "I" is no "i", and names would not be found.
TEST_F(Environment, DoesNotChangeTheLocale) {
  setenv("LC_ALL", "C.UTF-8", 1);
  const char* words[] = {"ostrel-pci", "classes"};
  testing::internal::CaptureStdout();
  EXPECT_EQ(Main(2, words), 0);
  EXPECT_NE(testing::internal::GetCapturedStdout(), "");
  unsetenv("LC_ALL");
  EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C");
}

// A server needs more files than two. It is another process that ends without: one may not raise
// the limit again.
TEST_F(Environment, FailuresOfTheSystemAreNotTakenForThoseOfTheOutput) {
  if (kSanitized) GTEST_SKIP() << "a sanitizer ends the process where it cannot open its own files";
  const char* words[] = {"ostrel-pci", "--library", PROVIDER_LIBRARY, "serve", "--port", "0"};
  testing::internal::CaptureStderr();
  const pid_t child = fork();
  if (child == 0) {
    const auto next = static_cast<rlim_t>(dup(STDIN_FILENO));
    close(static_cast<int>(next));
    const rlimit two_more{next + 2, next + 2};
    setrlimit(RLIMIT_NOFILE, &two_more);
    _exit(Main(std::size(words), words));
  }
  int status = -1;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1) << status;
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              HasSubstr("ostrel-pci: cannot listen on 127.0.0.1 port 0: Too many open files\n"));
}

// The library of the test has the factories of instance providers and no others.
TEST(Session, SaysThatALibraryHasNoAssociations) {
  Session session({INSTANCES_LIBRARY, "host"});
  broker::Recorder found;
  for (const auto& ask : {&Session::AssociatorNames, &Session::ReferenceNames}) {
    try {
      (session.*ask)({session.system(), {}, {}, {}, {}}, found);
      ADD_FAILURE() << "asked";
    } catch (const CommandError& error) {
      EXPECT_THAT(error.what(), HasSubstr("no provider of an association"));
    }
  }
}

Arguments Parsed(std::vector<const char*> words) {
  words.insert(words.begin(), "ostrel-pci");
  std::ostringstream out, err;
  auto parsed = ParseCommandLine(static_cast<int>(words.size()), words.data(), out, err);
  if (const int* status = std::get_if<int>(&parsed)) {
    ADD_FAILURE() << "status " << *status << ": " << err.str();
    return {};
  }
  return std::get<Arguments>(parsed);
}

TEST(CommandLine, ReadsOptionsOnBothSidesOfTheCommand) {
  const Arguments arguments =
      Parsed({"-p", "A", "-o", "json", "associators", "PATH", "-p", "B", "--role", "R", "-v"});
  EXPECT_EQ(arguments.command, Command::kAssociators);
  EXPECT_EQ(arguments.operand, "PATH");
  EXPECT_EQ(arguments.format, Format::kJson);
  EXPECT_EQ(arguments.properties, (std::vector<std::string>{"A", "B"}));
  EXPECT_EQ(arguments.filter.role, "R");
  EXPECT_TRUE(arguments.verbose);
  EXPECT_FALSE(arguments.names);
}

TEST(CommandLine, FindsTheCommandBehindOptionsAndTheirValues) {
  EXPECT_EQ(Parsed({"--dump", "tree", "list"}).command, Command::kList);
  EXPECT_EQ(Parsed({"--dump=x", "tree"}).command, Command::kTree);
  EXPECT_EQ(Parsed({"--dump", "-", "tree"}).source.dump, "-");
  EXPECT_EQ(Parsed({"-ojson", "tree"}).format, Format::kJson);
  EXPECT_EQ(Parsed({"-vo", "json", "tree"}).format, Format::kJson);
  EXPECT_EQ(Parsed({"--dump", "tree"}).command, Command::kList);
  EXPECT_EQ(Parsed({}).command, Command::kList);
}

TEST(CommandLine, TakesPropertiesWithCommas) {
  EXPECT_EQ(Parsed({"ei", "X", "-p", "A,B", "-p", "C"}).properties,
            (std::vector<std::string>{"A", "B", "C"}));
}

TEST(CommandLine, KnowsShortCommands) {
  EXPECT_TRUE(Parsed({"ein", "X"}).names);
  EXPECT_TRUE(Parsed({"ain", "X"}).names);
  EXPECT_TRUE(Parsed({"rin", "X"}).names);
  EXPECT_FALSE(Parsed({"ei", "X"}).names);
  EXPECT_EQ(Parsed({"gi", "X"}).command, Command::kGet);
  EXPECT_EQ(Parsed({"ri", "X"}).command, Command::kReferences);
}

TEST(CommandLine, TakesOneValueForEveryProperty) {
  EXPECT_EQ(Parsed({"-p", "A", "ei", "X"}).operand, "X");
  EXPECT_EQ(Parsed({"ei", "-p", "A", "X"}).operand, "X");
}

// What is said of a command line that makes no sense.
std::string Refused(std::vector<const char*> words) {
  words.insert(words.begin(), "ostrel-pci");
  std::ostringstream out, err;
  const auto parsed = ParseCommandLine(static_cast<int>(words.size()), words.data(), out, err);
  const int* status = std::get_if<int>(&parsed);
  EXPECT_TRUE(status != nullptr && *status == 2) << words.back();
  EXPECT_EQ(out.str(), "");
  return err.str();
}

TEST(CommandLine, KnowsTwoObjectManagersToRegisterWith) {
  EXPECT_THAT(Refused({"register", "--for", "other"}),
              HasSubstr("--for other: this command knows pegasus, sfcb\n"));
}

TEST(CommandLine, NamesTheWordThatIsNoCommand) {
  for (const char* word : {"foo", "TREE", ""}) {
    const std::string expected = std::string("ostrel-pci: unknown command \"") + word + '"';
    EXPECT_THAT(Refused({word}), StartsWith(expected));
    EXPECT_THAT(Refused({"-v", word, "tree2", "--names"}), StartsWith(expected));
  }
  EXPECT_THAT(Refused({"TREE"}), HasSubstr("; did you mean tree?\n"));
  EXPECT_THAT(Refused({"--", "tree"}),
              StartsWith("ostrel-pci: \"list\" takes no further operand \"tree\"\n"));
  EXPECT_THAT(Refused({"--colour", "foo"}), StartsWith("ostrel-pci: unknown command \"foo\""));
  EXPECT_THAT(Refused({"--colour"}), StartsWith("ostrel-pci: unknown option \"--colour\""));
  EXPECT_THAT(Refused({"tree", "foo"}), HasSubstr("foo"));
}

TEST(CommandLine, RefusesValuesOfFlags) {
  for (const char* flag :
       {"--names=no", "--names=true", "--verbose=1", "--verbose=", "--version=no", "--help=no"}) {
    const std::string name = std::string(flag).substr(0, std::string(flag).find('='));
    EXPECT_THAT(Refused({"ei", "X", flag}), HasSubstr(name + " takes no value\n"));
    EXPECT_THAT(Refused({flag, "ei", "X"}), HasSubstr(name + " takes no value\n"));
  }
  EXPECT_THAT(Refused({"tree", "--ports=no"}), HasSubstr("--ports takes no value\n"));
  EXPECT_NE(Refused({"ei", "X", "-v=0"}), "");
  EXPECT_EQ(Parsed({"ei", "X", "--output=json"}).format, Format::kJson);
}

TEST(CommandLine, ReadsPortsInDecimal) {
  EXPECT_EQ(Parsed({"serve", "--port", "0"}).port, 0);
  EXPECT_EQ(Parsed({"serve", "--port", "010"}).port, 10);
  EXPECT_EQ(Parsed({"serve", "--port=65535"}).port, 65535);
  for (const char* port : {"0x50", "abc", "", "-1", "+1", " 1", "1.0", "65536", "1e3"}) {
    EXPECT_THAT(Refused({"serve", "--port", port}),
                HasSubstr("--port " + std::string(port) + ": no port number"));
  }
}

TEST(CommandLine, ReadsWhatToRegisterWith) {
  const Arguments arguments = Parsed({"register", "--for", "pegasus", "--dry-run", "--with-system",
                                      "--provider-dir", "/a", "--provider-dir", "/b"});
  EXPECT_EQ(arguments.command, Command::kRegister);
  EXPECT_EQ(arguments.registration.server, Server::kPegasus);
  EXPECT_FALSE(arguments.registration.unregister);
  EXPECT_TRUE(arguments.registration.dry_run);
  EXPECT_TRUE(arguments.registration.with_system);
  EXPECT_EQ(arguments.registration.provider_folders, (std::vector<std::string>{"/a", "/b"}));
  EXPECT_EQ(Parsed({"unregister", "--for", "sfcb"}).registration.server, Server::kSfcb);
  EXPECT_TRUE(Parsed({"unregister", "--for", "sfcb"}).registration.unregister);
}

TEST(CommandLine, TakesPathsAsTheyAre) {
  const char* path = "root/cimv2:X.A=\"[1,2]\",B=\"a b\\\"c\"";
  EXPECT_EQ(Parsed({"gi", path}).operand, path);
}

}  // namespace
}  // namespace tool
