#include "tool/command_line.h"

#include <CLI/CLI.hpp>

#include <charconv>
#include <cstdint>
#include <functional>
#include <map>
#include <string_view>
#include <system_error>

#include "tool/errors.h"

namespace tool {
namespace {

constexpr std::string_view kHint = "Try \"ostrel-pci --help\" for more.\n";

constexpr const char* kExamples = R"(Examples:
  ostrel-pci tree
  ostrel-pci --dump machine.lspci tree --ports
  ostrel-pci enumerate device
  ostrel-pci get 'PCIDevice.DeviceID="0000:00:1f.2"'
  ostrel-pci associators system --result-class PCIPort -o json
"ostrel-pci COMMAND --help" has more for each command; all options may follow the command.)";

constexpr const char* kCommonHint =
    "\n\"ostrel-pci --help\" has the options of all commands, which may follow the command as "
    "well.";

constexpr const char* kClassesExamples = R"(Examples:
  ostrel-pci classes
  ostrel-pci classes -o json)";

constexpr const char* kEnumerateExamples =
    R"(CLASS is the name of a class in any letter case, with or without "Ostrel_" and "PCI", or of a
superclass, which stands for all classes below it.
Examples:
  ostrel-pci enumerate Ostrel_PCIDevice
  ostrel-pci ei bridge -p DeviceID -p SecondaryBusNumber
  ostrel-pci ein port
  ostrel-pci enumerate CIM_PCIDevice -o json)";

constexpr const char* kGetExamples =
    R"(PATH is an object path, CLASS.KEY="VALUE",...; keys that the class and the host determine need not
be written.
Examples:
  ostrel-pci get 'Ostrel_PCIDevice.DeviceID="0000:00:1f.2"'
  ostrel-pci gi 'portgroup.InstanceID="Ostrel:bus-0"' -o mof
  ostrel-pci gi system)";

constexpr const char* kAssociatorsExamples =
    R"(The elements at the other end of the associations that PATH takes part in.
Examples:
  ostrel-pci associators system --result-class PCIPort
  ostrel-pci ai 'PCIBridge.DeviceID="0000:00:03.0"' --assoc-class ControlledBy
  ostrel-pci ain 'PCIPort.DeviceID="0000:00:1f.2-ep"')";

constexpr const char* kReferencesExamples = R"(The associations that PATH takes part in.
Examples:
  ostrel-pci references 'PCIPort.DeviceID="0000:00:1f.2-ep"'
  ostrel-pci rin system --result-class HostedCollection)";

constexpr const char* kTreeExamples = R"(Examples:
  ostrel-pci tree
  ostrel-pci tree --ports --buses
  ostrel-pci tree -o json
  ostrel-pci tree -o dot | dot -Tsvg > host.svg)";

constexpr const char* kRegisterExamples =
    R"(Calls the object manager's own tools; "ostrel-pci unregister" takes back what "register" did,
but for the classes that OpenPegasus keeps.
With --dry-run the steps are printed and none is carried out.
Examples:
  ostrel-pci register --for sfcb --dry-run
  sudo ostrel-pci register --for sfcb --with-system
  sudo ostrel-pci unregister --for pegasus)";

constexpr const char* kServeExamples =
    R"(Serves read requests of WBEM clients (CIM-XML) in the namespace root/cimv2, to this host alone,
until SIGTERM or Control-C.
Examples:
  ostrel-pci serve
  ostrel-pci serve --port 0
  wbemcli ein http://localhost:5988/root/cimv2:Ostrel_PCIDevice)";

class Parser {
 public:
  Parser() : app_("Shows the host's PCI topology through its CIM providers.", "ostrel-pci") {
    app_.require_subcommand(1);
    app_.fallthrough();
    app_.set_version_flag("--version", std::string("ostrel-pci ") + OSTREL_VERSION);
    app_.footer(kExamples);
    AddCommonOptions();
    AddClasses();
    AddEnumerate("enumerate", "ei", false);
    AddEnumerate("ein", "", true);
    AddGet();
    AddAssociators("associators", "ai", false);
    AddAssociators("ain", "", true);
    AddReferences("references", "ri", false);
    AddReferences("rin", "", true);
    AddTree();
    AddServe();
    AddRegister("register", "Make an object manager serve the PCI classes", false);
    AddRegister("unregister", "Make an object manager forget the PCI classes", true);
  }

  std::variant<Arguments, int> Parse(int argc, const char* const* argv, std::ostream& out,
                                     std::ostream& err) {
    try {
      RefuseValuesOfFlags(argc, argv);
      app_.parse(argc, argv);
      arguments_.format = Checked(format_);
    } catch (const CLI::ParseError& error) {
      if (error.get_exit_code() == 0) return app_.exit(error, out, err);
      err << "ostrel-pci: " << Explained(error) << '\n' << kHint;
      return kExitUsage;
    } catch (const UsageError& error) {
      err << "ostrel-pci: " << error.what() << '\n' << kHint;
      return kExitUsage;
    }
    return arguments_;
  }

 private:
  // CLI11 would take "--names=no" for the flag's opposite.
  void RefuseValuesOfFlags(int argc, const char* const* argv) const {
    std::vector<const CLI::App*> apps = app_.get_subcommands({});
    apps.push_back(&app_);
    for (int i = 1; i < argc; ++i) {
      const std::string word = argv[i];
      if (word == "--") return;
      const std::string name = word.substr(0, word.find('='));
      if (!word.starts_with("--") || name == word) continue;
      for (const CLI::App* app : apps) {
        const CLI::Option* option = app->get_option_no_throw(name);
        if (option != nullptr && option->get_expected_max() == 0) {
          throw UsageError(name + " takes no value");
        }
      }
    }
  }

  // Where there is no command, the word that was not taken for one.
  std::string Explained(const CLI::ParseError& error) const {
    const std::vector<std::string> unknown = app_.remaining();
    if (!app_.get_subcommands().empty() || unknown.empty()) return error.what();
    const std::string& word = unknown.front();
    const char* kind = word.starts_with('-') ? "option" : "command";
    return std::string("unknown ") + kind + " \"" + word + '"';
  }

  void AddCommonOptions() {
    app_.add_flag("--names", arguments_.names, "Object paths instead of instances");
    app_.add_option("-p,--property", arguments_.properties,
                    "Only this property (may be given several times)")
        ->allow_extra_args(false)
        ->type_name("NAME");
    app_.add_option("-o,--output", format_,
                    "table (default), json or mof; for tree: text (default), json or dot")
        ->type_name("FORMAT");
    CLI::Option* sysfs = app_.add_option("--sysfs", arguments_.source.sysfs,
                                         "Read a copy of /sys/bus/pci instead of this host")
                             ->type_name("DIR");
    app_.add_option(
            "--dump", arguments_.source.dump,
            "Read a text dump as lspci -x prints it instead of this host; - for standard input")
        ->type_name("FILE")
        ->excludes(sysfs);
    app_.add_option("--system-name", arguments_.source.system_name, "The name of the host")
        ->type_name("NAME");
    app_.add_option("--library", arguments_.library, "The provider library")->type_name("FILE");
    app_.add_flag("-v,--verbose", arguments_.verbose,
                  "Log and trace lines of the library on standard error");
  }

  CLI::App* AddCommand(const std::string& name, const std::string& alias, Command command,
                       const std::string& description, const char* footer) {
    CLI::App* subcommand = app_.add_subcommand(name, description);
    if (!alias.empty()) subcommand->alias(alias);
    subcommand->footer(std::string(footer) + kCommonHint);
    subcommand->callback([this, command] { arguments_.command = command; });
    return subcommand;
  }

  void AddNames(CLI::App* command) {
    command->parse_complete_callback([this] { arguments_.names = true; });
  }

  void AddOperand(CLI::App* command, const char* name, const char* description) {
    command->add_option(name, arguments_.operand, description)->required()->type_name("");
  }

  void AddClass(CLI::App* command, const std::string& option, std::optional<std::string>& value,
                const char* description) {
    command->add_option(option, value, description)->type_name("CLASS");
  }

  void AddClasses() {
    AddCommand("classes", "", Command::kClasses, "List the classes that can be asked for",
               kClassesExamples);
  }

  void AddEnumerate(const char* name, const char* alias, bool names) {
    CLI::App* command = AddCommand(name, alias, Command::kEnumerate,
                                   names ? "enumerate --names" : "Show the instances of a class",
                                   kEnumerateExamples);
    AddOperand(command, "CLASS", "The class");
    if (names) AddNames(command);
  }

  void AddGet() {
    CLI::App* command = AddCommand("get", "gi", Command::kGet, "Show one instance", kGetExamples);
    AddOperand(command, "PATH", "Its object path");
  }

  void AddAssociators(const char* name, const char* alias, bool names) {
    CLI::App* command =
        AddCommand(name, alias, Command::kAssociators,
                   names ? "associators --names" : "Show what an element is associated with",
                   kAssociatorsExamples);
    AddOperand(command, "PATH", "The element's object path");
    AddClass(command, "--assoc-class", arguments_.filter.assoc_class,
             "Ask only this association class");
    AddClass(command, "--result-class", arguments_.filter.result_class,
             "Show only elements of this class");
    AddRole(command, "--role", arguments_.filter.role, "The role that PATH plays");
    AddRole(command, "--result-role", arguments_.filter.result_role,
            "The role that the other end plays");
    if (names) AddNames(command);
  }

  void AddReferences(const char* name, const char* alias, bool names) {
    CLI::App* command = AddCommand(
        name, alias, Command::kReferences,
        names ? "references --names" : "Show the associations of an element", kReferencesExamples);
    AddOperand(command, "PATH", "The element's object path");
    AddClass(command, "--result-class,--assoc-class", arguments_.filter.result_class,
             "Ask only this association class");
    AddRole(command, "--role", arguments_.filter.role, "The role that PATH plays");
    if (names) AddNames(command);
  }

  void AddRole(CLI::App* command, const std::string& option, std::optional<std::string>& value,
               const char* description) {
    command->add_option(option, value, description)->type_name("ROLE");
  }

  void AddTree() {
    CLI::App* command =
        AddCommand("tree", "", Command::kTree, "Draw the topology as a tree", kTreeExamples);
    command->add_flag("--ports", arguments_.ports, "With the ports of every function");
    command->add_flag("--buses", arguments_.buses, "With the port groups, one to a bus");
    command->add_flag("--ascii", arguments_.ascii, "Draw with plain characters");
  }

  static Server ServerOf(const std::string& name) {
    if (name == "sfcb") return Server::kSfcb;
    if (name == "pegasus") return Server::kPegasus;
    throw UsageError("--for " + name + ": this command knows pegasus, sfcb");
  }

  void AddRegister(const char* name, const char* description, bool unregister) {
    RegisterOptions& options = arguments_.registration;
    CLI::App* command = AddCommand(name, "", Command::kRegister, description, kRegisterExamples);
    command->parse_complete_callback([&options, unregister] { options.unregister = unregister; });
    command
        ->add_option_function<std::string>(
            "--for", [&options](const std::string& server) { options.server = ServerOf(server); },
            "The object manager: sfcb or pegasus")
        ->required()
        ->type_name("SERVER");
    command->add_flag("--dry-run", options.dry_run, "Print the steps, carry out none");
    command->add_flag("--with-system", options.with_system,
                      "The hosting system's class too, where no other provider serves it");
    command
        ->add_option("--provider-dir", options.provider_folders,
                     "A folder where the object manager looks for providers, if it does not tell")
        ->allow_extra_args(false)
        ->type_name("DIR");
  }

  static int PortOf(const std::string& text) {
    std::uint16_t port = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, port);
    if (error != std::errc() || stop != end) {
      throw UsageError("--port " + text + ": no port number, which is one from 0 to 65535");
    }
    return port;
  }

  void AddServe() {
    CLI::App* command = AddCommand("serve", "", Command::kServe,
                                   "Answer WBEM clients over HTTP on this host", kServeExamples);
    command
        ->add_option_function<std::string>(
            "--port", [this](const std::string& port) { arguments_.port = PortOf(port); },
            "The port; 0 for a free one (default: 5988)")
        ->type_name("NUMBER");
    command->add_option("--address", arguments_.address, "A loopback address (default: 127.0.0.1)")
        ->type_name("ADDRESS");
  }

  // The formats that a command knows.
  Format Checked(const std::string& name) const {
    const std::map<std::string, Format> kElements = {
        {"table", Format::kTable}, {"json", Format::kJson}, {"mof", Format::kMof}};
    const std::map<std::string, Format> kClasses = {{"table", Format::kTable},
                                                    {"json", Format::kJson}};
    const std::map<std::string, Format> kTree = {
        {"text", Format::kTable}, {"json", Format::kJson}, {"dot", Format::kDot}};
    if (name.empty()) return Format::kTable;
    const auto& formats = arguments_.command == Command::kTree      ? kTree
                          : arguments_.command == Command::kClasses ? kClasses
                                                                    : kElements;
    const auto found = formats.find(name);
    if (found != formats.end()) return found->second;
    std::string known;
    for (const auto& [format, value] : formats) known += (known.empty() ? "" : ", ") + format;
    throw UsageError("--output " + name + ": this command knows " + known);
  }

  CLI::App app_;
  Arguments arguments_;
  std::string format_;
};

}  // namespace

std::variant<Arguments, int> ParseCommandLine(int argc, const char* const* argv, std::ostream& out,
                                              std::ostream& err) {
  return Parser().Parse(argc, argv, out, err);
}

}  // namespace tool
