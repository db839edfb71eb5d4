// "ostrel-pci serve" asked by wbemcli, a WBEM client of other makers, on the recorded host: the
// same answers, in the same order, as the tool prints by itself.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "e2e/run_tool.h"

namespace {

using Json = nlohmann::ordered_json;
using testing::HasSubstr;
using testing::IsSupersetOf;

const std::vector<std::string> kElements = {"Ostrel_PCIDevice", "Ostrel_PCIBridge",
                                            "Ostrel_PCIeSwitch", "Ostrel_PCIPort",
                                            "Ostrel_PCIPortGroup"};
const std::vector<std::string> kAssociations = {
    "Ostrel_PCISystemDevice", "Ostrel_PCIDeviceConnection", "Ostrel_PCIControlledBy",
    "Ostrel_PCIHostedCollection", "Ostrel_PCIMemberOfCollection"};

std::vector<std::string> AllClasses() {
  std::vector<std::string> all = kElements;
  all.insert(all.end(), kAssociations.begin(), kAssociations.end());
  return all;
}

// ---------------------------------------------------------------------------------------------
// The tool

Json Tool(e2e::Words words) {
  words.insert(words.end(), {"-o", "json"});
  const e2e::Outcome outcome = e2e::RunOnRecord(words);
  EXPECT_EQ(outcome.status, 0) << words[0] << " " << words[1] << ": " << outcome.err;
  return Json::parse(outcome.out);
}

std::string Escaped(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '"' || c == '\\') escaped += '\\';
    escaped += c;
  }
  return escaped;
}

// A path as the tool reads it.
std::string ToolPath(const Json& path) {
  std::string text = path["className"];
  const char* separator = ".";
  for (const auto& [name, value] : path["keys"].items()) {
    const std::string key = value.is_object() ? ToolPath(value) : value.get<std::string>();
    text += separator + name + "=\"" + Escaped(key) + "\"";
    separator = ",";
  }
  return text;
}

// ---------------------------------------------------------------------------------------------
// wbemcli

// A path as wbemcli prints it: references without quotes.
std::string ClientPath(const Json& path) {
  std::string text = "root/cimv2:" + path["className"].get<std::string>();
  const char* separator = ".";
  for (const auto& [name, value] : path["keys"].items()) {
    text += separator + name + "=" +
            (value.is_object() ? ClientPath(value) : "\"" + value.get<std::string>() + "\"");
    separator = ",";
  }
  return text;
}

std::string ClientValue(const Json& value) {
  if (value.is_null()) return "";
  if (value.is_object()) return ClientPath(value);
  if (value.is_string()) return "\"" + value.get<std::string>() + "\"";
  if (!value.is_array()) return value.dump();
  std::string text;
  for (const Json& element : value) text += (text.empty() ? "" : ",") + ClientValue(element);
  return text;
}

// "ostrel-pci serve" on a dump, from its first line to its end.
class RunningServer {
 public:
  explicit RunningServer(const std::string& dump) {
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    process_ = fork();
    if (process_ == 0) {
      prctl(PR_SET_PDEATHSIG, SIGTERM);
      dup2(ends[1], STDOUT_FILENO);
      execl(OSTREL_PCI, OSTREL_PCI, "--dump", dump.c_str(), "--system-name", "recorded", "serve",
            "--port", "0", nullptr);
      _exit(126);
    }
    close(ends[1]);
    std::string line;
    for (char c = 0; read(ends[0], &c, 1) == 1 && c != '\n';) line += c;
    close(ends[0]);
    const std::string start = "listening on http://";
    EXPECT_TRUE(line.starts_with(start + "127.0.0.1:")) << line;
    host_ = line.substr(std::min(start.size(), line.size())) + "/";
  }
  // Ends by the signal that service managers send, and well.
  ~RunningServer() {
    Signal(SIGTERM);
    int status = -1;
    EXPECT_EQ(waitpid(process_, &status, 0), process_);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
  }
  RunningServer(const RunningServer&) = delete;
  RunningServer& operator=(const RunningServer&) = delete;

  void Signal(int signal) const { EXPECT_EQ(kill(process_, signal), 0); }
  const std::string& host() const { return host_; }  // "127.0.0.1:40000/"

 private:
  pid_t process_;
  std::string host_;
};

class ServeTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { server = std::make_unique<RunningServer>(RECORDED_DUMP); }
  static void TearDownTestSuite() { server.reset(); }

  // What wbemcli prints, errors included, less the host in front of paths.
  static std::vector<std::string> Client(const std::string& operation, const std::string& path,
                                         const std::string& options = {}) {
    // Through cat, because wbemcli's exit status says whether there was an error.
    const std::string& host = server->host();
    const std::string output = e2e::OutputOf("wbemcli " + operation + " " + options + " 'http://" +
                                             host + path + "' 2>&1 | cat");
    std::vector<std::string> lines;
    for (std::string line : e2e::Lines(output)) {
      if (line.starts_with(host)) line.erase(0, host.size());
      if (!line.empty()) lines.push_back(line);
    }
    return lines;
  }

  static std::vector<std::string> ExpectedPaths(const Json& paths) {
    std::vector<std::string> lines;
    for (const Json& path : paths) lines.push_back(ClientPath(path));
    return lines;
  }

  // As wbemcli -nl prints instances: the path, then a line for each property.
  static std::vector<std::string> ExpectedInstances(const Json& instances) {
    std::vector<std::string> lines;
    for (const Json& instance : instances) {
      lines.push_back(ClientPath(instance["path"]));
      for (const auto& [name, value] : instance["properties"].items()) {
        lines.push_back("-" + name + "=" + ClientValue(value));
      }
    }
    return lines;
  }

  static std::unique_ptr<RunningServer> server;
};

std::unique_ptr<RunningServer> ServeTest::server;

TEST_F(ServeTest, EnumeratesEveryClassAsTheToolDoes) {
  for (const std::string& cls : AllClasses()) {
    EXPECT_EQ(Client("ein", "root/cimv2:" + cls), ExpectedPaths(Tool({"ein", cls}))) << cls;
    EXPECT_EQ(Client("ei", "root/cimv2:" + cls, "-nl"), ExpectedInstances(Tool({"ei", cls})))
        << cls;
  }
}

TEST_F(ServeTest, EnumeratesSuperclassesAsTheToolDoes) {
  for (const char* cls : {"CIM_PCIDevice", "CIM_LogicalDevice", "CIM_Dependency"}) {
    EXPECT_EQ(Client("ein", std::string("root/cimv2:") + cls), ExpectedPaths(Tool({"ein", cls})));
    EXPECT_EQ(Client("ei", std::string("root/cimv2:") + cls, "-nl"),
              ExpectedInstances(Tool({"ei", cls})));
  }
}

TEST_F(ServeTest, GetsEveryInstanceAsTheToolDoes) {
  for (const std::string& cls : AllClasses()) {
    for (const Json& path : Tool({"ein", cls})) {
      Json found = Tool({"get", ToolPath(path)});
      ASSERT_EQ(found.size(), 1U) << path;
      // wbemcli prints the path that it was given.
      found[0]["path"] = path;
      EXPECT_EQ(Client("gi", ClientPath(path), "-nl"), ExpectedInstances(found)) << path;
    }
  }
}

TEST_F(ServeTest, FollowsAssociationsAsTheToolDoes) {
  std::vector<std::string> classes = AllClasses();
  classes.emplace_back("OMC_UnitaryComputerSystem");
  for (const std::string& cls : classes) {
    const Json names = Tool({"ein", cls});
    if (names.empty()) continue;  // no two ports of the recorded host are connected
    for (const Json& source : {names.front(), names.back()}) {
      const std::string path = ClientPath(source);
      const std::string tool_path = ToolPath(source);
      EXPECT_EQ(Client("ain", path), ExpectedPaths(Tool({"ain", tool_path}))) << path;
      EXPECT_EQ(Client("ai", path, "-nl"), ExpectedInstances(Tool({"ai", tool_path}))) << path;
      EXPECT_EQ(Client("rin", path), ExpectedPaths(Tool({"rin", tool_path}))) << path;
      EXPECT_EQ(Client("ri", path, "-nl"), ExpectedInstances(Tool({"ri", tool_path}))) << path;
    }
  }
}

TEST_F(ServeTest, NarrowsAssociationsAsTheToolDoes) {
  const Json port = Tool({"ein", "Ostrel_PCIPort"}).front();
  const std::string path = ClientPath(port);
  const std::string tool_path = ToolPath(port);
  EXPECT_EQ(Client("ain", path, "-ac CIM_SystemDevice"),
            ExpectedPaths(Tool({"ain", tool_path, "--assoc-class", "CIM_SystemDevice"})));
  EXPECT_EQ(Client("ain", path, "-arc CIM_Collection"),
            ExpectedPaths(Tool({"ain", tool_path, "--result-class", "CIM_Collection"})));
  EXPECT_EQ(Client("ain", path, "-ar PartComponent"),
            ExpectedPaths(Tool({"ain", tool_path, "--role", "PartComponent"})));
  EXPECT_EQ(Client("ain", path, "-arr Collection"),
            ExpectedPaths(Tool({"ain", tool_path, "--result-role", "Collection"})));
  EXPECT_EQ(Client("rin", path, "-arc CIM_MemberOfCollection"),
            ExpectedPaths(Tool({"rin", tool_path, "--result-class", "CIM_MemberOfCollection"})));
}

TEST_F(ServeTest, TellsItsClasses) {
  for (const std::string& cls : AllClasses()) {
    const auto lines = Client("gc", "root/cimv2:" + cls, "-nl");
    ASSERT_FALSE(lines.empty()) << cls;
    EXPECT_EQ(lines.front(), "root/cimv2:" + cls);
    EXPECT_GT(lines.size(), 2U) << cls;
  }
  std::vector<std::string> paths;
  for (const std::string& cls : AllClasses()) paths.push_back("root/cimv2:" + cls);
  EXPECT_THAT(Client("ecn", "root/cimv2"), IsSupersetOf(paths));
}

// wbemcli prints an error as "Cim: (5) CIM_ERR_INVALID_CLASS: ..." between asterisks.
std::string Joined(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\n";
  return text;
}

TEST_F(ServeTest, ErrorsHaveTheirCodes) {
  EXPECT_THAT(Joined(Client("ein", "root/cimv2:No_Such")), HasSubstr("(5) CIM_ERR_INVALID_CLASS"));
  EXPECT_THAT(Joined(Client("gc", "root/cimv2:No_Such")), HasSubstr("(6) CIM_ERR_NOT_FOUND"));
  EXPECT_THAT(Joined(Client("ein", "root/other:Ostrel_PCIDevice")),
              HasSubstr("(3) CIM_ERR_INVALID_NAMESPACE"));
  Json path = Tool({"ein", "Ostrel_PCIDevice"}).front();
  path["keys"]["DeviceID"] = "0000:ff:1f.7";
  EXPECT_THAT(Joined(Client("gi", ClientPath(path))), HasSubstr("(6) CIM_ERR_NOT_FOUND"));
  EXPECT_THAT(Joined(Client("gi", "root/cimv2:Ostrel_PCIDevice.NoKey=\"x\"")),
              HasSubstr("(4) CIM_ERR_INVALID_PARAMETER"));
  EXPECT_THAT(Joined(Client("di", ClientPath(path))), HasSubstr("(7) CIM_ERR_NOT_SUPPORTED"));
}

TEST(ServeReload, ASignalMakesItReadTheHostAnew) {
  const std::string dump = testing::TempDir() + "serve_reload.lspci";
  const auto write = [&](const std::string& text) { std::ofstream(dump) << text; };
  const auto devices = [](const RunningServer& server) {
    return e2e::OutputOf("wbemcli ein 'http://" + server.host() +
                         "root/cimv2:Ostrel_PCIDevice' 2>&1 | cat");
  };
  // A header without capabilities is all that a device needs.
  const std::string device =
      "\n00: 86 80 d3 10 00 00 10 00 00 00 00 02 00 00 00 00\n"
      "10: 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n"
      "20: 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n"
      "30: 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n\n";
  write("0000:00:01.0 Ethernet" + device);
  const RunningServer server(dump);
  EXPECT_THAT(devices(server), HasSubstr("0000:00:01.0"));
  write("0000:00:02.0 Ethernet" + device);
  server.Signal(SIGHUP);
  // The server's main thread takes the signal some time soon.
  std::string found;
  for (int i = 0; i < 100 && found.find("0000:00:02.0") == std::string::npos; ++i) {
    found = devices(server);
  }
  EXPECT_THAT(found, HasSubstr("0000:00:02.0"));
  EXPECT_THAT(found, testing::Not(HasSubstr("0000:00:01.0")));
  std::remove(dump.c_str());
}

TEST(ServeOptions, OtherAddressesAreRefused) {
  for (const char* address : {"0.0.0.0", "192.168.0.1", "::", "example.com"}) {
    const e2e::Outcome outcome = e2e::RunOnRecord({"serve", "--port", "0", "--address", address});
    EXPECT_EQ(outcome.status, 2) << address;
    EXPECT_THAT(outcome.err, HasSubstr("a production object manager's job")) << address;
    EXPECT_EQ(outcome.out, "") << address;
  }
  EXPECT_EQ(e2e::RunOnRecord({"serve", "--port", "65536"}).status, 2);
}

TEST(ServeOptions, AHostThatCannotBeReadIsSaidAtOnce) {
  const e2e::Outcome outcome = e2e::RunTool({"--dump", "/nonexistent", "serve", "--port", "0"});
  EXPECT_NE(outcome.status, 0);
  EXPECT_NE(outcome.err, "");
  const e2e::Outcome unreadable =
      e2e::RunTool({"serve", "--port", "0"}, {.environment = {{"HOSTCTL_PCI_DUMP", OSTREL_PCI}}});
  EXPECT_EQ(unreadable.status, 1);
  EXPECT_EQ(unreadable.out, "");
  EXPECT_THAT(
      unreadable.err,
      testing::EndsWith("ostrel-pci: the host cannot be read: there is nothing to serve\n"));
}

}  // namespace
