// Every command on the recorded host: what goes where, and with which exit status.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "e2e/run_tool.h"

namespace e2e {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using Json = nlohmann::ordered_json;

// Good answers are silent on standard error.
std::string Good(const Words& arguments, const Setting& setting = {}) {
  const Outcome run = RunOnRecord(arguments, setting);
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.err, "");
  return run.out;
}

// Bad ones leave standard output empty and name the program.
std::string Bad(int status, const Words& arguments, const Setting& setting = {}) {
  const Outcome run = RunOnRecord(arguments, setting);
  EXPECT_EQ(run.status, status) << run.out;
  EXPECT_EQ(run.out, "");
  EXPECT_THAT(run.err, StartsWith("ostrel-pci: "));
  return run.err;
}

TEST(Commands, ListTheTenClasses) {
  const std::string table = RunTool({"classes"}).out;
  EXPECT_EQ(Lines(table).size(), 11U);
  EXPECT_THAT(table, HasSubstr("Ostrel_PCIeSwitch             CIM_PCIeSwitch"));
  EXPECT_EQ(Json::parse(RunTool({"classes", "-o", "json"}).out).size(), 10U);
}

TEST(Commands, EnumerateAsATable) {
  const std::string table = Good({"enumerate", "Ostrel_PCIeSwitch"});
  const std::vector<std::string> lines = Lines(table);
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_THAT(lines[0], StartsWith("ADDRESS       PORTS  NAME"));
  EXPECT_THAT(lines[1], StartsWith("0000:01:00.0  3      "));
  EXPECT_THAT(lines[2], StartsWith("0000:05:00.0  2      "));
}

TEST(Commands, HaveShortFormsThatMeanTheSame) {
  EXPECT_EQ(Good({"ei", "port"}), Good({"enumerate", "Ostrel_PCIPort"}));
  EXPECT_EQ(Good({"ein", "port"}), Good({"enumerate", "ostrel_pciport", "--names"}));
  EXPECT_EQ(Good({"gi", "system"}), Good({"get", "OMC_UnitaryComputerSystem"}));
  const std::string port = "PCIPort.DeviceID=\"0000:02:00.0-ep\"";
  EXPECT_EQ(Good({"ai", port}), Good({"associators", port}));
  EXPECT_EQ(Good({"ain", port}), Good({"associators", port, "--names"}));
  EXPECT_EQ(Good({"ri", port}), Good({"references", port}));
  EXPECT_EQ(Good({"rin", port}), Good({"references", port, "--names"}));
}

TEST(Commands, TakeOptionsBeforeAndAfterTheCommand) {
  EXPECT_EQ(Good({"-o", "json", "-p", "DeviceID", "enumerate", "device"}),
            Good({"enumerate", "device", "-o", "json", "-p", "DeviceID"}));
}

TEST(Commands, TakeAClassWithItsNamespace) {
  EXPECT_EQ(Good({"ein", "root/cimv2:Ostrel_PCIDevice"}), Good({"ein", "device"}));
  EXPECT_THAT(Bad(1, {"ein", "root/other:Ostrel_PCIDevice"}),
              HasSubstr("CMPI_RC_ERR_INVALID_NAMESPACE (3)"));
  EXPECT_THAT(Bad(2, {"ein", "Ostrel_PCIDevice.DeviceID=\"x\""}), HasSubstr("not a class"));
}

TEST(Commands, EnumerateASuperclassAsAllItsSubclasses) {
  EXPECT_EQ(Good({"ein", "CIM_PCIDevice"}),
            Good({"ein", "device"}) + Good({"ein", "bridge"}) + Good({"ein", "switch"}));
}

// Names come from the machine's pci.ids, which is not the test's to fix. To write the file anew:
//   ostrel-pci --dump guest-switches.lspci --system-name recorded ei Ostrel_PCIDevice -o json > ...
TEST(Commands, EnumerateDevicesAsEver) {
  const auto without_names = [](Json devices) {
    for (Json& device : devices) device["properties"].erase("ElementName");
    return devices.dump(1);
  };
  const Json golden = Json::parse(ReadFile(GOLDEN_FOLDER "/guest-switches.devices.json.golden"));
  const Json devices = Json::parse(Good({"enumerate", "Ostrel_PCIDevice", "-o", "json"}));
  EXPECT_EQ(without_names(devices), without_names(golden));
}

TEST(Commands, AnswerTheSameFromTheDumpAndTheSysfsTree) {
  const auto sysfs = [](Words words) {
    words.insert(words.end(), {"--sysfs", RECORDED_SYSFS, "--system-name", "recorded"});
    return RunTool(words).out;
  };
  for (const std::string cls : {"bridge", "switch", "port", "group", "controlledby"}) {
    EXPECT_EQ(sysfs({"ein", cls}), Good({"ein", cls}));
  }
}

TEST(Commands, NarrowToTheNamedProperties) {
  const Json devices = Json::parse(Good({"ei", "device", "-p", "ClassCode", "-o", "json"}));
  for (const Json& device : devices) {
    EXPECT_TRUE(device["properties"].contains("ClassCode"));
    EXPECT_FALSE(device["properties"].contains("ElementName"));
  }
  EXPECT_EQ(Lines(Good({"ei", "switch", "-p", "NumberOfPorts", "-p", "DeviceID"})),
            (std::vector<std::string>{"NumberOfPorts  DeviceID", "3              0000:01:00.0",
                                      "2              0000:05:00.0"}));
}

TEST(Commands, GetOneInstanceWithTheMeaningOfCodes) {
  const std::string sheet = Good({"get", "PCIPort.DeviceID=\"0000:0a:03.0-sec\""});
  EXPECT_THAT(sheet, StartsWith("Ostrel_PCIPort\n"));
  EXPECT_THAT(sheet, HasSubstr("PortType                 150 (PCI)\n"));
  // The other port of the bridge, which the provider hands out as well, is not shown.
  EXPECT_THAT(sheet, testing::Not(HasSubstr("-pri")));
}

TEST(Commands, GetAnAssociationByOneOfItsEnds) {
  const std::string path =
      "root/cimv2:Ostrel_PCISystemDevice.PartComponent=\"PCIDevice.DeviceID=\\\"0000:00:1f.2\\\"\"";
  const Json found = Json::parse(Good({"get", path, "-o", "json"}));
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0]["properties"]["GroupComponent"]["keys"]["Name"], "recorded");
  EXPECT_EQ(found[0]["properties"]["PartComponent"]["keys"]["DeviceID"], "0000:00:1f.2");
}

TEST(Commands, SayThatAnInstanceIsNotFound) {
  EXPECT_THAT(Bad(1, {"get", "PCIDevice.DeviceID=\"0000:7f:00.0\""}), HasSubstr("not found"));
  EXPECT_THAT(Bad(1, {"get", "PCIDevice.DeviceID=\"0000:7f:00.0\"", "-o", "json"}),
              HasSubstr("not found"));
  EXPECT_EQ(Bad(1, {"get", "PCIBridge.DeviceID=\"0000:00:1f.2\""}),
            "ostrel-pci: not found: there is no instance "
            "root/cimv2:Ostrel_PCIBridge.SystemCreationClassName=\"OMC_UnitaryComputerSystem\","
            "SystemName=\"recorded\",CreationClassName=\"Ostrel_PCIBridge\","
            "DeviceID=\"0000:00:1f.2\"\n");
  EXPECT_THAT(Bad(1, {"get", "PCIDevice"}), HasSubstr("the path has no DeviceID"));
  EXPECT_EQ(Bad(1, {"ain", "PCIPortGroup", "--assoc-class", "MemberOfCollection"}),
            "ostrel-pci: associator names of root/cimv2:Ostrel_PCIPortGroup by "
            "Ostrel_PCIMemberOfCollection: CMPI_RC_ERR_NO_SUCH_PROPERTY (12)\n");
}

TEST(Commands, SayThatTheSourceOfAnAssociationIsNotFound) {
  const std::string port = "PCIPort.DeviceID=\"none\"";
  for (const std::string command : {"associators", "ain", "references", "rin"}) {
    EXPECT_THAT(
        Bad(1, {command, port}),
        StartsWith("ostrel-pci: not found: there is no instance root/cimv2:Ostrel_PCIPort."));
    EXPECT_EQ(Bad(1, {command, "66:00.0"}),
              "ostrel-pci: not found: there is no PCI function 66:00.0\n");
  }
}

TEST(Commands, TakeTheAddressOfAFunctionForItsPathInItsOwnClass) {
  const auto path = [](const std::string& cls, const std::string& address) {
    return cls + ".DeviceID=\"" + address + "\"";
  };
  for (const auto& [cls, address] :
       {std::pair<std::string, std::string>{"PCIDevice", "0000:07:00.0"},
        {"PCIeSwitch", "0000:05:00.0"},
        {"PCIBridge", "0000:09:00.0"},
        {"PCIBridge", "0000:00:1f.0"},
        {"PCIDevice", "0000:06:00.0"}}) {
    EXPECT_EQ(Good({"get", address}), Good({"get", path(cls, address)}));
    EXPECT_EQ(Good({"get", address.substr(5)}), Good({"get", address}));
    EXPECT_EQ(Good({"ain", address}), Good({"ain", path(cls, address)}));
    EXPECT_EQ(Good({"rin", address}), Good({"rin", path(cls, address)}));
  }
  EXPECT_EQ(Good({"get", "07:"}), Good({"get", "07:00.0"}));
  EXPECT_THAT(Bad(1, {"get", "02:"}), HasSubstr("02: is 3 PCI functions"));
  EXPECT_EQ(Bad(1, {"get", "66:00.0"}),
            "ostrel-pci: not found: there is no PCI function 66:00.0\n");
}

TEST(Commands, KnowThePropertiesOfTheSchema) {
  EXPECT_EQ(Lines(Good({"ei", "switch", "-p", "numberofports,DEVICEID"})).at(0),
            "NumberOfPorts  DeviceID");
  EXPECT_EQ(Bad(2, {"ei", "switch", "-p", "NumberOfPort"}),
            "ostrel-pci: Ostrel_PCIeSwitch has no property \"NumberOfPort\"; did you mean "
            "NumberOfPorts?\n");
  EXPECT_THAT(Good({"ei", "CIM_PCIDevice", "-p", "NumberOfPorts"}), HasSubstr("3\n"));
  EXPECT_THAT(Bad(2, {"get", "07:00.0", "-p", "Colour"}), HasSubstr("has no property \"Colour\""));
  EXPECT_THAT(Bad(2, {"ai", "07:00.0", "-p", "Colour"}),
              HasSubstr("no class has a property \"Colour\""));
}

TEST(Commands, ExplainCodesAndIdentifiers) {
  const std::string sheet = Good({"get", "03:00.0"});
  EXPECT_THAT(sheet, HasSubstr("{6 (PCI Power Management Supported), 7 (Message Signaled "
                               "Interrupts Supported), 13 (Supports PCIe)}\n"));
  EXPECT_THAT(sheet, HasSubstr("PCIDeviceID              4307 (0x10d3)\n"));
  EXPECT_THAT(sheet, HasSubstr("SubClassCode             0 (Ethernet controller)\n"));
  EXPECT_THAT(sheet, HasSubstr("BusNumber                3 (0x03)\n"));
}

TEST(Commands, FollowAssociationsToControllersAndPorts) {
  EXPECT_EQ(
      Lines(Good({"ain", "PCIBridge.DeviceID=\"0000:09:00.0\"", "--assoc-class", "ControlledBy"}))
          .size(),
      2U);
  const Json controller = Json::parse(Good({"ai", "port.DeviceID=\"0000:01:00.0-up\"",
                                            "--assoc-class", "CIM_ControlledBy", "-o", "json"}));
  ASSERT_EQ(controller.size(), 1U);
  EXPECT_EQ(controller[0]["path"]["className"], "Ostrel_PCIeSwitch");
}

TEST(Commands, KeepOnlyTheResultClass) {
  EXPECT_EQ(Good({"ain", "system", "--result-class", "PCIPort"}), Good({"ein", "port"}));
  EXPECT_EQ(Good({"ain", "system", "--result-class", "CIM_PCIDevice"}), Good({"ein", "device"}));
  EXPECT_EQ(Good({"rin", "system", "--result-class", "HostedCollection"}),
            Good({"ein", "HostedCollection"}));
}

TEST(Commands, AskOnlyAssociationsThatHaveTheRoles) {
  EXPECT_EQ(Good({"ain", "system", "--role", "GroupComponent"}),
            Good({"ain", "system", "--assoc-class", "SystemDevice"}));
  EXPECT_EQ(Good({"ain", "system", "--result-role", "Dependent"}), Good({"ein", "group"}));
  EXPECT_EQ(Good({"ain", "system", "--role", "Nothing"}), "");
}

TEST(Commands, SucceedWhereNothingMatches) {
  EXPECT_EQ(Good({"ain", "system", "--role", "Nothing", "-o", "json"}), "[]\n");
}

TEST(Commands, WriteMofInstances) {
  const std::string mof = Good({"ei", "switch", "-o", "mof"});
  EXPECT_THAT(mof, StartsWith("instance of Ostrel_PCIeSwitch {\n"));
  EXPECT_THAT(mof, HasSubstr("  NumberOfPorts = 3;\n"));
  EXPECT_THAT(mof, HasSubstr("  DeviceID = \"0000:05:00.0\";\n"));
}

TEST(Usage, IsAnsweredWithStatus2) {
  EXPECT_THAT(Bad(2, {"--unknown", "tree"}), HasSubstr("unknown option \"--unknown\""));
  EXPECT_THAT(Bad(2, {"tree", "--unknown"}), HasSubstr("unknown option \"--unknown\""));
  EXPECT_THAT(Bad(2, {"frobnicate"}), HasSubstr("--help"));
  EXPECT_THAT(Bad(2, {"enumerate"}), HasSubstr("CLASS"));
  EXPECT_THAT(Bad(2, {"enumerate", "device", "extra"}), HasSubstr("extra"));
  EXPECT_THAT(Bad(2, {"tree", "-o", "mof"}), HasSubstr("mof"));
  EXPECT_THAT(Bad(2, {"enumerate", "device", "-o", "dot"}), HasSubstr("dot"));
  EXPECT_THAT(Bad(2, {"tree", "--sysfs", RECORDED_SYSFS}), HasSubstr("--sysfs"));
  EXPECT_THAT(Bad(2, {"get", "PCIDevice.DeviceID=unquoted"}), HasSubstr("no object path"));
  EXPECT_THAT(Bad(2, {"get", "PCIDevice.Colour=\"red\""}), HasSubstr("no key property \"Colour\""));
}

TEST(Usage, RefusesWhatACommandDoesNotUse) {
  const auto refused = [](const Words& words) {
    const Outcome run = RunTool(words);
    EXPECT_EQ(run.status, 2) << run.out;
    EXPECT_EQ(run.out, "");
    return Lines(run.err).at(0);
  };
  EXPECT_EQ(refused({"tree", "-p", "X"}), "ostrel-pci: \"tree\" takes no -p");
  EXPECT_EQ(refused({"-o", "json", "serve"}), "ostrel-pci: \"serve\" takes no -o");
  EXPECT_EQ(refused({"ein", "device", "--property=X"}), "ostrel-pci: \"ein\" takes no --property");
  EXPECT_EQ(refused({"classes", "--dump", "x"}), "ostrel-pci: \"classes\" takes no --dump");
  EXPECT_EQ(refused({"list", "--ports"}), "ostrel-pci: \"list\" takes no --ports");
  EXPECT_EQ(refused({"tree", "--ports=yes"}), "ostrel-pci: --ports takes no value");
}

TEST(Usage, NamesWhatWasMeantAndTheHelpThatHasIt) {
  const auto refused = [](const Words& words) { return RunTool(words).err; };
  EXPECT_EQ(refused({"tre"}),
            "ostrel-pci: unknown command \"tre\"; did you mean tree?\n"
            "Try \"ostrel-pci --help\" for more.\n");
  EXPECT_EQ(refused({"tree", "--port"}),
            "ostrel-pci: \"tree\" takes no --port\nTry \"ostrel-pci tree --help\" for more.\n");
  EXPECT_EQ(refused({"tree", "--asci"}),
            "ostrel-pci: unknown option \"--asci\"; did you mean --ascii?\n"
            "Try \"ostrel-pci tree --help\" for more.\n");
  EXPECT_EQ(refused({"help", "lst"}),
            "ostrel-pci: there is no command \"lst\"; did you mean list?\n"
            "Try \"ostrel-pci --help\" for more.\n");
}

TEST(Usage, HelpAndVersionGoToStandardOutput) {
  const auto shown = [](const Words& words) {
    const Outcome run = RunTool(words);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    return run.out;
  };
  EXPECT_THAT(shown({"--version"}), StartsWith("ostrel-pci "));
  EXPECT_EQ(shown({"-V"}), shown({"--version"}));
  EXPECT_THAT(shown({"--help"}), HasSubstr("Examples:"));
  EXPECT_EQ(shown({"help"}), shown({"--help"}));
  for (const std::string command : {"list", "classes", "enumerate", "ein", "get", "associators",
                                    "references", "tree", "serve", "register"}) {
    EXPECT_THAT(shown({command, "--help"}), HasSubstr("Examples:\n  ostrel-pci"));
    EXPECT_EQ(shown({"help", command}), shown({command, "--help"}));
  }
  EXPECT_THAT(shown({"tree", "--help"}), HasSubstr("--dump"));
}

TEST(Commands, PrintHowToRegister) {
  // The tools of the object managers need not be there: a dry run says so and goes on.
  const Outcome run = RunTool(
      {"register", "--for", "sfcb", "--dry-run", "--with-system", "--system-name", "recorded"});
  EXPECT_THAT(run.out, HasSubstr("\nsed s/@SYSTEM_NAME@/recorded/ /"));
  EXPECT_THAT(run.out, HasSubstr("/schema/ostrel-pci.sfcb.reg "));
  EXPECT_THAT(run.out, HasSubstr("\nsfcbrepos -f\n"));
  const Outcome back = RunTool({"unregister", "--for", "pegasus", "--dry-run"});
  EXPECT_THAT(back.out, HasSubstr("\n  cimprovider -r -m OstrelPCIModule\n"));
}

TEST(Commands, RegisterTheSystemThatAPlatformsOwnLibraryNames) {
  const Setting platform{.environment = {{"LD_LIBRARY_PATH", SILENT_PLATFORM_FOLDER}}};
  const Outcome run =
      RunTool({"register", "--for", "sfcb", "--dry-run", "--with-system"}, platform);
  EXPECT_THAT(run.out, HasSubstr("\nsed s/@SYSTEM_NAME@/acme-rack-1/ /"));
}

// The library may be gone by then.
TEST(Commands, UnregisterTheSystemWithoutTheLibrary) {
  const Outcome run = RunTool({"unregister", "--for", "sfcb", "--dry-run", "--with-system"},
                              {.environment = {{"OSTREL_PCI_LIBRARY", "/nonexistent"}}});
  EXPECT_THAT(run.out, HasSubstr("\nsfcbunstage -n root/cimv2 "));
  EXPECT_THAT(run.out, Not(HasSubstr("@SYSTEM_NAME@")));
}

TEST(Failures, NameClassesThatWereMeant) {
  const std::string message = Bad(1, {"enumerate", "PCIDevise"});
  EXPECT_THAT(message, HasSubstr("CMPI_RC_ERR_INVALID_CLASS (5)"));
  EXPECT_THAT(message, HasSubstr("Ostrel_PCIDevice"));
  EXPECT_THAT(Bad(1, {"enumerate", "CIM_Fan"}), HasSubstr("ostrel-pci classes"));
  EXPECT_THAT(Bad(1, {"ai", "system", "--assoc-class", "port"}), HasSubstr("no association class"));
}

TEST(Commands, TakeADumpThroughAPipe) {
  const std::string tree = Good({"tree"});
  const std::string feed = "cat " RECORDED_DUMP " | " OSTREL_PCI " --system-name recorded tree";
  EXPECT_EQ(OutputOf(feed + " --dump -"), tree);
  EXPECT_EQ(OutputOf(feed + " --dump /dev/stdin"), tree);
  EXPECT_EQ(OutputOf("bash -c '" OSTREL_PCI
                     " --system-name recorded tree --dump <(cat " RECORDED_DUMP ")'"),
            tree);
  const Words words = {"tree", "--dump", "-", "--system-name", "recorded"};
  EXPECT_EQ(RunTool(words, {.in_file = RECORDED_DUMP}).out, tree);
}

TEST(Failures, TellThatStandardInputIsNoDump) {
  const auto error = [](const Setting& setting) {
    const Outcome run = RunTool({"ein", "device", "--dump", "-"}, setting);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "");
    return run.err;
  };
  EXPECT_EQ(error({.closed = {0}}),
            "ostrel-pci: cannot read standard input: Bad file descriptor\n");
  EXPECT_EQ(error({.in_file = "/"}), "ostrel-pci: cannot read standard input: Is a directory\n");
  EXPECT_EQ(error({.in_file = "/dev/zero"}),
            "ostrel-pci: standard input is no dump: it has more than 256 MiB\n");
  EXPECT_THAT(error({.in_file = GOLDEN_FOLDER "/guest-switches.tree.golden"}),
              HasSubstr("error /dev/stdin: no PCI function in the dump"));
}

TEST(Failures, TellSourcesThatAreNotThere) {
  const Outcome dump = RunTool({"tree", "--dump", "/nonexistent"});
  EXPECT_EQ(dump.status, 1);
  EXPECT_THAT(dump.err, HasSubstr("there is no dump file \"/nonexistent\""));
  const Outcome folder = RunTool({"tree", "--dump", "/"});
  EXPECT_EQ(folder.status, 1);
  EXPECT_EQ(folder.err, "ostrel-pci: \"/\" is a folder, not a dump file\n");
  const Outcome sysfs = RunTool({"tree", "--sysfs", "/nonexistent"});
  EXPECT_EQ(sysfs.status, 1);
  EXPECT_THAT(sysfs.err, HasSubstr("there is no sysfs folder \"/nonexistent\""));
}

TEST(Failures, TellThatTheHostCannotBeRead) {
  const Outcome run =
      RunTool({"ein", "device"}, {.environment = {{"HOSTCTL_PCI_DUMP", "/nonexistent"}}});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.err, HasSubstr("error Cannot open /nonexistent"));
  EXPECT_THAT(run.err, testing::Not(HasSubstr("_Create_InstanceMI")));
}

TEST(Failures, TellWhyTheLibraryDoesNotLoad) {
  EXPECT_THAT(Bad(1, {"tree", "--library", "/nonexistent.so"}),
              HasSubstr("\"/nonexistent.so\" (named by --library)"));
  EXPECT_THAT(Bad(1, {"tree"}, {.environment = {{"OSTREL_PCI_LIBRARY", "/nonexistent.so"}}}),
              HasSubstr("(named by OSTREL_PCI_LIBRARY)"));
  EXPECT_THAT(Bad(1, {"tree", "--library", RECORDED_DUMP}), HasSubstr("cannot be loaded"));
  EXPECT_THAT(Bad(1, {"tree", "--library", HOSTCTL_LIBRARY}), HasSubstr("no provider of"));
}

TEST(Failures, TellThatTheOutputCannotBeWritten) {
  for (const Words& words : {Words{"ei", "port"}, Words{"tree"}, Words{"--help"}}) {
    const Outcome run = RunOnRecord(words, {.out_file = "/dev/full"});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("writing the output failed: No space left on device"));
  }
}

TEST(Failures, EndWithTheirStatusWhereNobodyCanBeTold) {
  for (const Setting& setting : {Setting{.out_file = "/dev/full", .err_file = "/dev/full"},
                                 Setting{.out_file = "/dev/full", .closed = {2}}}) {
    EXPECT_EQ(RunOnRecord({"enumerate", "nosuch"}, setting).status, 1);
    EXPECT_EQ(RunOnRecord({"tree"}, setting).status, 1);
    EXPECT_EQ(RunOnRecord({"--help"}, setting).status, 1);
    EXPECT_EQ(RunOnRecord({"tree", "--unknown"}, setting).status, 2);
  }
  const Outcome run = RunOnRecord({"ein", "device", "-v"}, {.err_file = "/dev/full"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out, Good({"ein", "device"}));
}

TEST(Failures, TellThatThereIsNoOutput) {
  for (const Words& words : {Words{"tree"}, Words{"serve", "--port", "0"}, Words{"--help"}}) {
    const Outcome run = RunOnRecord(words, {.closed = {0, 1}});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "ostrel-pci: writing the output failed: Bad file descriptor\n");
  }
}

TEST(Failures, EndQuietlyWhenNobodyReads) {
  for (const std::string format : {"table", "json", "mof"}) {
    const Outcome run = RunOnRecord({"ei", "port", "-o", format}, {.reader_gone = true});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
  }
}

TEST(Verbose, ShowsLogAndTraceLinesOfTheLibrary) {
  const Outcome run = RunOnRecord({"ein", "device", "-v"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out, Good({"ein", "device"}));
  EXPECT_THAT(run.err, HasSubstr("--- _Create_InstanceMI() PN6ostInt10CmpiBaseMIE\n"));
  EXPECT_THAT(run.err, HasSubstr("GetPCIData started"));
  // Lines of the lowest priority, of a request that is no factory call.
  EXPECT_THAT(RunOnRecord({"ain", "PCIBridge.DeviceID=\"0000:00:03.0\"", "-v"}).err,
              HasSubstr("PCISystemDevice ai ignoring"));
}

TEST(Table, CutsNamesAndNothingThatIdentifies) {
  const Outcome narrow = RunOnRecord({"ei", "bridge"}, {.terminal = 72});
  EXPECT_THAT(narrow.out, HasSubstr("…"));
  const Outcome wide =
      RunOnRecord({"ei", "bridge"}, {.environment = {{"COLUMNS", "400"}}, .terminal = 72});
  EXPECT_THAT(wide.out, testing::Not(HasSubstr("…")));
  EXPECT_THAT(Lines(narrow.out), testing::Contains(testing::AllOf(StartsWith("0000:0a:03.0"),
                                                                  HasSubstr("0000:09:00.0"))));
  const Outcome ascii =
      RunOnRecord({"ei", "device"}, {.environment = {{"LC_ALL", "C"}}, .terminal = 80});
  for (const std::string& line : Lines(ascii.out)) EXPECT_LE(line.size(), 80U + 1) << line;  // CR
}

}  // namespace
}  // namespace e2e
