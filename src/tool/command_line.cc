#include "tool/command_line.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <functional>
#include <map>
#include <system_error>
#include <utility>

#include "tool/completion.h"
#include "tool/errors.h"
#include "tool/near_names.h"

namespace tool {
namespace {

constexpr const char* kExamples =
    R"(Without a command, "list" is meant. All options may stand before or after the command.
Examples:
  ostrel-pci
  ostrel-pci list -o +vendor,maxlink
  ostrel-pci --dump machine.lspci tree --ports
  ostrel-pci enumerate device
  ostrel-pci associators system --result-class PCIPort -o json
"ostrel-pci COMMAND --help" (or "ostrel-pci help COMMAND") has more for each command.)";

constexpr const char* kListExamples = R"(Examples:
  ostrel-pci
  sudo ostrel-pci list
  ostrel-pci list -o address,driver,dev --noheadings
  ostrel-pci list --class ethernet,nvme --driver none
  ostrel-pci list -s 03:00
  ostrel-pci list -o json)";

constexpr const char* kLinksExamples =
    R"(The exit status is 3 where a link is degraded. Idle devices slow their links down on purpose.
Examples:
  ostrel-pci links
  sudo ostrel-pci links --degraded --class gpu,nvme
  ostrel-pci links --dump machine.lspci -o json)";

constexpr const char* kPathExamples = R"(Examples:
  ostrel-pci path 07:00.0
  ostrel-pci path 0000:07:00.0 0000:81:00.0
  ostrel-pci path --matrix --class display,ethernet)";

constexpr const char* kDiffExamples =
    R"(Exit status 0: no difference; 1: differences; 2: trouble.
Examples:
  ostrel-pci diff yesterday.lspci live
  ostrel-pci diff golden.json live --ignore link
  ssh root@other lspci -xxxx | ostrel-pci diff machine.lspci -)";

constexpr const char* kRecordExamples = R"(Examples:
  sudo ostrel-pci record > machine.lspci
  ostrel-pci tree --dump machine.lspci)";

constexpr const char* kClassesExamples = R"(Examples:
  ostrel-pci classes
  ostrel-pci classes -o json)";

constexpr const char* kEnumerateExamples =
    R"(CLASS is the name of a class in any letter case, with or without "Ostrel_" and "PCI", or of a
superclass, which stands for all classes below it.
Examples:
  ostrel-pci enumerate Ostrel_PCIDevice
  ostrel-pci enumerate bridge -p DeviceID,SecondaryBusNumber
  ostrel-pci enumerate port -s 03:00
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
  ostrel-pci tree --class ethernet
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

// The words of a command line without the program's name.
using Words = std::vector<std::string>;

class Parser {
 public:
  Parser()
      : app_("Shows the host's PCI devices, and the answers of its CIM providers.", "ostrel-pci") {
    app_.require_subcommand(1);
    app_.set_version_flag("-V,--version", std::string("ostrel-pci ") + OSTREL_VERSION);
    SetHelp(app_);
    app_.footer(kExamples + std::string("\n"));
    AddList();
    AddLinks();
    AddPath();
    AddDiff();
    AddRecord();
    AddTree();
    AddEnumerate("enumerate", kCimCommands, false);
    AddGet("get", kCimCommands);
    AddAssociators("associators", kCimCommands, false);
    AddReferences("references", kCimCommands, false);
    AddClasses();
    AddServe();
    AddRegister("register", "Make an object manager serve the PCI classes", false);
    AddRegister("unregister", "Make an object manager forget the PCI classes", true);
    AddNamesOfWbemcli();
  }

  std::variant<Arguments, int> Parse(int argc, const char* const* argv, std::ostream& out,
                                     std::ostream& err) {
    // For the completions of shells, which the packages bring: not for people, and in no help.
    if (argc > 1 && std::string_view(argv[1]) == "--complete") {
      Complete(Words(argv + 2, argv + argc), out);
      return kExitOk;
    }
    try {
      ParseWords(WithCommandFirst(Words(argv + std::min(argc, 1), argv + argc)));
      return arguments_;
    } catch (const CLI::ParseError& error) {
      if (error.get_exit_code() == 0) return app_.exit(error, out, err);
      return Fail(Explained(error), err);
    } catch (const UsageError& error) {
      return Fail(error.what(), err);
    }
  }

 private:
  static constexpr const char* kInventoryCommands = "Commands";
  static constexpr const char* kCimCommands = "Commands that ask the CIM providers";
  static constexpr const char* kServerCommands = "Commands for servers";
  static constexpr const char* kHidden = "";

  // ---- the words

  void ParseWords(const Words& words) {
    RefuseValuesOfFlags(words);
    std::vector<const char*> argv = {"ostrel-pci"};
    for (const std::string& word : words) argv.push_back(word.c_str());
    app_.parse(static_cast<int>(argv.size()), argv.data());
    arguments_.format = FormatNamed(format_);
  }

  // The command's word comes before its options, which may stand on both sides of it. Where there
  // is none, "list" is meant, unless it is help or version that is asked for.
  Words WithCommandFirst(Words words) {
    const std::size_t place = PlaceOfOperand(words);
    if (place == words.size()) {
      if (!AsksAboutProgram(words)) words.insert(words.begin(), "list");
      return words;
    }
    std::string command = words[place];
    words.erase(words.begin() + static_cast<std::ptrdiff_t>(place));
    if (command == "help") return HelpWords(words);
    if (FindCommand(command) == nullptr) {
      throw UsageError("unknown command \"" + command + '"' + DidYouMean(command, CommandNames()));
    }
    words.insert(words.begin(), std::move(command));
    return words;
  }

  // "help", "help tree".
  Words HelpWords(const Words& topics) const {
    if (topics.empty()) return {"--help"};
    if (FindCommand(topics.front()) == nullptr) {
      throw UsageError("there is no command \"" + topics.front() + '"' +
                       DidYouMean(topics.front(), CommandNames()));
    }
    return {topics.front(), "--help"};
  }

  static bool AsksAboutProgram(const Words& words) {
    return std::any_of(words.begin(), words.end(), [](const std::string& word) {
      return word == "-h" || word == "--help" || word == "-V" || word == "--version";
    });
  }

  // Of the first word that is neither an option nor the value of one; else the number of words.
  std::size_t PlaceOfOperand(const Words& words) const {
    for (std::size_t i = 0; i < words.size(); ++i) {
      const std::string& word = words[i];
      if (word == "--") return words.size();
      if (!word.starts_with('-') || word == "-") return i;
      if (TakesNextWord(word)) ++i;
    }
    return words.size();
  }

  bool TakesNextWord(const std::string& word) const {
    if (word.starts_with("--")) return word.find('=') == std::string::npos && TakesValue(word);
    for (std::size_t i = 1; i < word.size(); ++i) {
      if (TakesValue(std::string("-") + word[i])) return i + 1 == word.size();
    }
    return false;
  }

  bool TakesValue(const std::string& name) const {
    const CLI::Option* option = FindOption(name);
    return option != nullptr && option->get_expected_max() > 0;
  }

  // CLI11 would take "--names=no" for the flag's opposite.
  void RefuseValuesOfFlags(const Words& words) const {
    for (const std::string& word : words) {
      if (word == "--") return;
      const std::string name = word.substr(0, word.find('='));
      if (!word.starts_with("--") || name == word) continue;
      const CLI::Option* option = FindOption(name);
      if (option != nullptr && option->get_expected_max() == 0) {
        throw UsageError(name + " takes no value");
      }
    }
  }

  // ---- what there is

  std::vector<const CLI::App*> Commands() const {
    const CLI::App& app = app_;
    return app.get_subcommands([](const CLI::App*) { return true; });
  }

  const CLI::App* FindCommand(const std::string& name) const {
    for (const CLI::App* command : Commands()) {
      if (command->check_name(name)) return command;
    }
    return nullptr;
  }

  Words CommandNames() const {
    Words names = {"help"};
    for (const CLI::App* command : Commands()) names.push_back(command->get_name());
    return names;
  }

  // Of any command: options of one name are alike in all that have it.
  const CLI::Option* FindOption(const std::string& name) const {
    for (const CLI::App* command : Commands()) {
      if (const CLI::Option* option = command->get_option_no_throw(name)) return option;
    }
    return app_.get_option_no_throw(name);
  }

  static Words OptionNames(const CLI::App& command) {
    Words names;
    for (const CLI::Option* option : command.get_options()) {
      for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    }
    return names;
  }

  // ---- what may come next

  // Writes what may stand in the place of the last word.
  void Complete(Words words, std::ostream& out) const {
    std::string current;
    if (!words.empty()) {
      current = std::move(words.back());
      words.pop_back();
    }
    const std::size_t place = PlaceOfOperand(words);
    const CLI::App* command =
        place < words.size() ? FindCommand(words[place]) : FindCommand("list");
    const std::string before = words.empty() ? "" : words.back();
    if (before.starts_with('-') && TakesNextWord(before)) {
      if (command != nullptr) OfferValue(*command, words, current, out);
    } else if (command != nullptr && current.starts_with('-')) {
      OfferOptions(*command, place == words.size(), current, out);
    } else if (place == words.size() || words[place] == "help") {
      OfferCommands(current, out);
    } else if (command != nullptr) {
      OfferOperand(*command, words, current, out);
    }
  }

  void OfferCommands(const std::string& current, std::ostream& out) const {
    Offers offers{.words = {{"help", "Show the help of a command"}}};
    for (const CLI::App* command : Commands()) {
      if (command->get_group() == kHidden) continue;
      offers.words.push_back({command->get_name(), command->get_description()});
    }
    WriteOffers(offers, current, out);
  }

  // With those of the program itself where no command is named.
  void OfferOptions(const CLI::App& command, bool with_program, const std::string& current,
                    std::ostream& out) const {
    Offers offers;
    const auto add = [&offers](const CLI::Option& option) {
      for (const std::string& name : option.get_snames()) {
        offers.words.push_back({'-' + name, option.get_description()});
      }
      for (const std::string& name : option.get_lnames()) {
        offers.words.push_back({"--" + name, option.get_description()});
      }
    };
    for (const CLI::Option* option : command.get_options()) add(*option);
    if (with_program) add(*app_.get_option("--version"));
    WriteOffers(offers, current, out);
  }

  void OfferValue(const CLI::App& command, const Words& words, const std::string& current,
                  std::ostream& out) const {
    // Of several letters behind one dash the last one takes the value.
    const std::string& word = words.back();
    const std::string name = word.starts_with("--") ? word : std::string("-") + word.back();
    const CLI::Option* option = command.get_option_no_throw(name);
    if (option == nullptr) return;
    const auto choices = choices_.find(option);
    if (choices != choices_.end()) {
      Offers offers;
      for (const std::string& choice : choices->second) offers.words.push_back({choice});
      WriteOffers(offers, current, out);
      return;
    }
    const Words& names = option->get_lnames();
    const std::string long_name = names.empty() ? name : "--" + names.front();
    const std::string type = option->get_type_name();
    WriteOffers(OffersAt({.name = type, .option = long_name, .command = command.get_name()},
                         SourceOf(words)),
                current, out);
  }

  void OfferOperand(const CLI::App& command, const Words& words, const std::string& current,
                    std::ostream& out) const {
    for (const CLI::Option* option : command.get_options()) {
      if (!option->get_positional()) continue;
      const std::string name = option->get_name(true);
      WriteOffers(
          OffersAt({.name = name, .option = "", .command = command.get_name()}, SourceOf(words)),
          current, out);
    }
  }

  // The host that the words so far are about.
  static pci::Source SourceOf(const Words& words) {
    pci::Source source = pci::Source::RunningKernel();
    for (std::size_t i = 0; i + 1 < words.size(); ++i) {
      if (words[i] == "--sysfs") source = {pci::Source::Kind::kSysfs, words[i + 1]};
      if (words[i] == "--dump") source = {pci::Source::Kind::kDump, words[i + 1]};
    }
    return source;
  }

  // ---- what is wrong

  const CLI::App* ChosenCommand() const {
    const std::vector<CLI::App*> chosen = app_.get_subcommands();
    return chosen.empty() ? nullptr : chosen.front();
  }

  int Fail(const std::string& what, std::ostream& err) const {
    const CLI::App* command = ChosenCommand();
    const std::string name = command == nullptr ? "" : command->get_name() + ' ';
    err << "ostrel-pci: " << what << "\nTry \"ostrel-pci " << name << "--help\" for more.\n";
    return kExitUsage;
  }

  std::string Explained(const CLI::ParseError& error) const {
    const CLI::App* command = ChosenCommand();
    const bool is_extra = error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError);
    if (command == nullptr || !is_extra) return error.what();
    const Words extra = app_.remaining(true);
    const auto option = std::find_if(extra.begin(), extra.end(), [](const std::string& word) {
      return word.starts_with('-') && word != "-";
    });
    if (option == extra.end()) {
      return '"' + command->get_name() + "\" takes no further operand \"" + extra.front() + '"';
    }
    const std::string name = option->substr(0, option->find('='));
    if (FindOption(name) != nullptr) return '"' + command->get_name() + "\" takes no " + name;
    return "unknown option \"" + name + '"' + DidYouMean(name, OptionNames(*command));
  }

  // ---- the options that several commands have

  static void SetHelp(CLI::App& app) { app.set_help_flag("-h,--help", "Show this help"); }

  CLI::App* AddCommand(const std::string& name, const std::string& group, Command command,
                       const std::string& description, const std::string& footer) {
    CLI::App* subcommand = app_.add_subcommand(name, description);
    subcommand->group(group);
    SetHelp(*subcommand);
    subcommand->footer(footer + "\n");
    subcommand->callback([this, command] { arguments_.command = command; });
    return subcommand;
  }

  void AddSource(CLI::App* command, bool with_name = true) {
    CLI::Option* sysfs = command
                             ->add_option("--sysfs", arguments_.source.sysfs,
                                          "Read a copy of /sys/bus/pci instead of this host")
                             ->type_name("DIR");
    command
        ->add_option(
            "--dump", arguments_.source.dump,
            "Read a text dump as lspci -x prints it instead of this host; - for standard input")
        ->type_name("FILE")
        ->excludes(sysfs);
    if (with_name) AddSystemName(command);
  }

  // Of a command that can be about some functions alone.
  void AddSelection(CLI::App* command) {
    SelectionOptions& selection = arguments_.selection;
    const auto add = [&](const char* name, std::vector<std::string>& values, const char* type,
                         const char* description) {
      return command->add_option(name, values, description)
          ->allow_extra_args(false)
          ->type_name(type);
    };
    add("-s", selection.places, "PLACE",
        "Functions there: [[[[domain]:]bus]:][device][.[function]], as with lspci");
    add("-d", selection.ids, "IDS",
        "Functions with these: [vendor]:[device][:class[:interface]], as with lspci");
    add("--class", selection.classes, "CLASS", "Functions of this class: 0200, 02, ethernet, ...")
        ->delimiter(',');
    add("--slot", selection.slots, "NAME", "Functions in the slot of this name");
    add("--driver", selection.drivers, "NAME", "Functions with this driver; none: without one")
        ->delimiter(',');
  }

  void AddSystemName(CLI::App* command) {
    command->add_option("--system-name", arguments_.source.system_name, "The name of the host")
        ->type_name("NAME");
  }

  void AddLibrary(CLI::App* command) {
    command->add_option("--library", arguments_.library, "The provider library")->type_name("FILE");
  }

  // Of a command that asks providers.
  void AddProviders(CLI::App* command) {
    AddSource(command);
    AddLibrary(command);
    command->add_flag("-v,--verbose", arguments_.verbose,
                      "Log and trace lines of the library on standard error");
  }

  // The first format is the one that is meant where none is named.
  void AddFormat(CLI::App* command, const Words& formats) {
    std::string description = formats.front() + " (default)";
    for (const std::string& format : formats) {
      if (format == formats.front()) continue;
      description += (format == formats.back() ? " or " : ", ") + format;
    }
    const auto choose = [this, formats](const std::string& format) {
      if (std::find(formats.begin(), formats.end(), format) == formats.end()) {
        throw UsageError("--output " + format + ": this command knows " + Joined(formats));
      }
      format_ = format;
    };
    choices_[command->add_option_function<std::string>("-o,--output", choose, description)
                 ->type_name("FORMAT")] = formats;
  }

  static std::string Joined(const Words& words) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
    return text;
  }

  static Format FormatNamed(const std::string& name) {
    if (name == "json") return Format::kJson;
    if (name == "mof") return Format::kMof;
    if (name == "dot") return Format::kDot;
    return Format::kTable;
  }

  // Of a command that shows instances or, with --names, object paths.
  void AddElements(CLI::App* command, bool names) {
    if (names) {
      command->parse_complete_callback([this] { arguments_.names = true; });
    } else {
      command->add_flag("--names", arguments_.names, "Object paths instead of instances");
      command
          ->add_option("-p,--property", arguments_.properties,
                       "Only these properties, with commas between them or given several times")
          ->allow_extra_args(false)
          ->delimiter(',')
          ->type_name("NAME");
    }
    AddFormat(command, {"table", "json", "mof"});
    AddProviders(command);
  }

  void AddOperand(CLI::App* command, const char* name, const char* description) {
    command->add_option(name, arguments_.operand, description)->required()->type_name("");
  }

  void AddClass(CLI::App* command, const std::string& option, std::optional<std::string>& value,
                const char* description) {
    command->add_option(option, value, description)->type_name("CLASS");
  }

  void AddRole(CLI::App* command, const std::string& option, std::optional<std::string>& value,
               const char* description) {
    command->add_option(option, value, description)->type_name("ROLE");
  }

  // ---- the commands

  void AddList() {
    CLI::App* command = AddCommand("list", kInventoryCommands, Command::kList,
                                   "List the PCI functions, one to a line (the default)",
                                   ColumnsHelp() + kListExamples);
    command
        ->add_option("-o,--output", arguments_.list.output,
                     "These columns, with commas between them, +COLUMN beside the usual ones; json")
        ->allow_extra_args(false)
        ->delimiter(',')
        ->type_name("COLUMNS");
    command->add_flag("--noheadings", no_headings_, "No line of titles");
    command->parse_complete_callback([this] { arguments_.list.headings = !no_headings_; });
    AddSelection(command);
    AddSource(command);
  }

  void AddLinks() {
    CLI::App* command = AddCommand(
        "links", kInventoryCommands, Command::kLinks,
        "List the PCI Express links: at what they run, what both ends can", kLinksExamples);
    command->add_flag("--degraded", arguments_.links.degraded,
                      "Only links that run slower or narrower than both ends can");
    AddFormat(command, {"text", "json"});
    AddSelection(command);
    AddSource(command);
  }

  void AddPath() {
    CLI::App* command =
        AddCommand("path", kInventoryCommands, Command::kPath,
                   "Show the way from a function to the root, or to another one", kPathExamples);
    command->add_option("ADDRESS", arguments_.path.ends, "A function, or two")
        ->expected(1, 2)
        ->type_name("");
    command->add_flag("--matrix", arguments_.path.matrix,
                      "The kind of way between all pairs of the selected functions");
    AddFormat(command, {"text", "json"});
    AddSelection(command);
    AddSource(command);
  }

  void AddDiff() {
    CLI::App* command =
        AddCommand("diff", kInventoryCommands, Command::kDiff,
                   "Show what has changed between two hosts or moments of one", kDiffExamples);
    command->add_option("OLD NEW", arguments_.diff.sources, "Dumps, folders, JSON files, -, live")
        ->expected(2)
        ->required()
        ->type_name("");
    command
        ->add_option("--ignore", arguments_.diff.ignored,
                     "Values not to compare, with commas between them: ids, subsystem, rev, slot, "
                     "driver, numa, link")
        ->allow_extra_args(false)
        ->delimiter(',')
        ->type_name("NAMES");
    AddFormat(command, {"text", "json"});
  }

  void AddRecord() {
    CLI::App* command =
        AddCommand("record", kInventoryCommands, Command::kRecord,
                   "Write the host as a dump, for --dump and lspci -F", kRecordExamples);
    AddSource(command, false);
  }

  void AddTree() {
    CLI::App* command = AddCommand("tree", kInventoryCommands, Command::kTree,
                                   "Draw the topology as a tree", kTreeExamples);
    TreeStyle& tree = arguments_.tree;
    command->add_flag("--ports", tree.ports, "With the ports of every function");
    command->add_flag("--buses", tree.buses, "With the port groups, one to a bus");
    command->add_flag("--links", tree.links, "With what every link runs at");
    command->add_flag("--drivers", tree.drivers, "With the kernel's drivers");
    command->add_flag("--all", all_, "Every function on a line of its own, on a terminal too");
    command->add_flag("--ascii", ascii_, "Draw with plain characters");
    command->parse_complete_callback([this, &tree] {
      tree.fold = !all_;
      tree.utf8 = !ascii_;
    });
    AddFormat(command, {"text", "json", "dot"});
    AddSelection(command);
    AddProviders(command);
  }

  void AddEnumerate(const char* name, const char* group, bool names) {
    CLI::App* command = AddCommand(name, group, Command::kEnumerate,
                                   "Show the instances of a class", kEnumerateExamples);
    AddOperand(command, "CLASS", "The class");
    AddSelection(command);
    AddElements(command, names);
  }

  void AddGet(const char* name, const char* group) {
    CLI::App* command = AddCommand(name, group, Command::kGet, "Show one instance", kGetExamples);
    AddOperand(command, "PATH", "Its object path");
    AddElements(command, false);
  }

  void AddAssociators(const char* name, const char* group, bool names) {
    CLI::App* command = AddCommand(name, group, Command::kAssociators,
                                   "Show what an element is associated with", kAssociatorsExamples);
    AddOperand(command, "PATH", "The element's object path");
    AddClass(command, "--assoc-class", arguments_.filter.assoc_class,
             "Ask only this association class");
    AddClass(command, "--result-class", arguments_.filter.result_class,
             "Show only elements of this class");
    AddRole(command, "--role", arguments_.filter.role, "The role that PATH plays");
    AddRole(command, "--result-role", arguments_.filter.result_role,
            "The role that the other end plays");
    AddElements(command, names);
  }

  void AddReferences(const char* name, const char* group, bool names) {
    CLI::App* command = AddCommand(name, group, Command::kReferences,
                                   "Show the associations of an element", kReferencesExamples);
    AddOperand(command, "PATH", "The element's object path");
    AddClass(command, "--result-class,--assoc-class", arguments_.filter.result_class,
             "Ask only this association class");
    AddRole(command, "--role", arguments_.filter.role, "The role that PATH plays");
    AddElements(command, names);
  }

  void AddClasses() {
    CLI::App* command = AddCommand("classes", kCimCommands, Command::kClasses,
                                   "List the classes that can be asked for", kClassesExamples);
    AddFormat(command, {"table", "json"});
  }

  // For hands that know wbemcli.
  void AddNamesOfWbemcli() {
    AddEnumerate("ei", kHidden, false);
    AddEnumerate("ein", kHidden, true);
    AddGet("gi", kHidden);
    AddAssociators("ai", kHidden, false);
    AddAssociators("ain", kHidden, true);
    AddReferences("ri", kHidden, false);
    AddReferences("rin", kHidden, true);
  }

  static Server ServerOf(const std::string& name) {
    if (name == "sfcb") return Server::kSfcb;
    if (name == "pegasus") return Server::kPegasus;
    throw UsageError("--for " + name + ": this command knows pegasus, sfcb");
  }

  void AddRegister(const char* name, const char* description, bool unregister) {
    RegisterOptions& options = arguments_.registration;
    CLI::App* command =
        AddCommand(name, kServerCommands, Command::kRegister, description, kRegisterExamples);
    command->parse_complete_callback([&options, unregister] { options.unregister = unregister; });
    choices_[command
                 ->add_option_function<std::string>(
                     "--for",
                     [&options](const std::string& server) { options.server = ServerOf(server); },
                     "The object manager: sfcb or pegasus")
                 ->required()
                 ->type_name("SERVER")] = {"sfcb", "pegasus"};
    command->add_flag("--dry-run", options.dry_run, "Print the steps, carry out none");
    command->add_flag("--with-system", options.with_system,
                      "The hosting system's class too, where no other provider serves it");
    command
        ->add_option("--provider-dir", options.provider_folders,
                     "A folder where the object manager looks for providers, if it does not tell")
        ->allow_extra_args(false)
        ->type_name("DIR");
    AddSystemName(command);
    AddLibrary(command);
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
    CLI::App* command = AddCommand("serve", kServerCommands, Command::kServe,
                                   "Answer WBEM clients over HTTP on this host", kServeExamples);
    command
        ->add_option_function<std::string>(
            "--port", [this](const std::string& port) { arguments_.port = PortOf(port); },
            "The port; 0 for a free one (default: 5988)")
        ->type_name("NUMBER");
    command->add_option("--address", arguments_.address, "A loopback address (default: 127.0.0.1)")
        ->type_name("ADDRESS");
    AddProviders(command);
  }

  CLI::App app_;
  std::map<const CLI::Option*, Words> choices_;  // of options with few values
  Arguments arguments_;
  std::string format_;
  bool no_headings_ = false;
  bool all_ = false;
  bool ascii_ = false;
};

}  // namespace

std::variant<Arguments, int> ParseCommandLine(int argc, const char* const* argv, std::ostream& out,
                                              std::ostream& err) {
  return Parser().Parse(argc, argv, out, err);
}

}  // namespace tool
