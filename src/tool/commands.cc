#include "tool/commands.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <exception>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "cim/text.h"
#include "cim/wbem_uri.h"
#include "pci/error.h"
#include "tool/class_names.h"
#include "tool/command_line.h"
#include "tool/element_writer.h"
#include "tool/errors.h"
#include "tool/function_path.h"
#include "tool/inventory/record.h"
#include "tool/inventory/selected_elements.h"
#include "tool/inventory/selection.h"
#include "tool/inventory/tree_facts.h"
#include "tool/json_value.h"
#include "tool/library_file.h"
#include "tool/managers/register_command.h"
#include "tool/output.h"
#include "tool/path_completion.h"
#include "tool/serve_command.h"
#include "tool/session.h"
#include "tool/table.h"
#include "tool/topology_render.h"
#include "tool/topology_walk.h"

namespace tool {
namespace {

using cim::ObjectPath;
using cim::schema::Class;

std::unique_ptr<ElementWriter> MakeWriter(const Arguments& arguments, std::ostream& out) {
  switch (arguments.format) {
    case Format::kJson: return MakeJsonWriter(out);
    case Format::kMof: return MakeMofWriter(out);
    case Format::kTable:
    case Format::kDot: break;
  }
  if (arguments.command == Command::kGet) return MakeSheetWriter(out);
  return MakeTableWriter(out, {TerminalWidth(STDOUT_FILENO), Utf8Locale(), arguments.properties});
}

// ---------------------------------------------------------------------------------------------
// classes

// Of a description of several sentences.
std::string FirstSentence(std::string_view description) {
  const std::size_t end = description.find(". ");
  return std::string(description.substr(0, end == std::string_view::npos ? end : end + 1));
}

void ListClasses(const Arguments& arguments, std::ostream& out) {
  Table table{{"CLASS", "SUPERCLASS", "DESCRIPTION"}, {}, {false, false, true}};
  Json json = Json::array();
  for (const Class* cls : ServedClasses()) {
    table.rows.push_back(
        {std::string(cls->name), std::string(cls->superclass), FirstSentence(cls->description)});
    json.push_back({{"className", cls->name},
                    {"superclass", cls->superclass},
                    {"association", cls->association},
                    {"description", cls->description}});
  }
  if (arguments.format == Format::kJson) {
    out << json.dump(2) << '\n';
  } else {
    PrintTable(table, TerminalWidth(STDOUT_FILENO), Ellipsis(), out);
  }
}

// ---------------------------------------------------------------------------------------------
// Requests for instances and object paths

// The properties that were asked for, as the schema spells them. Each is one of a class that is or
// is below `cls`; of any class where that is nullptr.
broker::PropertyList Properties(const Arguments& arguments, const Class* cls) {
  if (arguments.properties.empty()) return std::nullopt;
  std::vector<std::string> properties;
  for (const std::string& name : arguments.properties) {
    properties.emplace_back(ResolveProperty(name, cls));
  }
  return properties;
}

// "CLASS" or "NAMESPACE:CLASS".
const Class& ReadClass(const std::string& operand, const ObjectPath& system) {
  if (operand.find_first_of(":.") == std::string::npos) return ResolveClass(operand);
  const ObjectPath path = ReadPath(operand, system);
  if (cim::ParseWbemUri(operand).keys.empty()) return ResolveClass(path.class_name);
  throw UsageError(fmt::format("\"{}\" names an instance, not a class", operand));
}

// The user's class names as the schema spells them.
std::optional<std::string> ResolvedClass(const std::optional<std::string>& name) {
  if (!name) return std::nullopt;
  return std::string(ResolveClass(*name).name);
}

// The keys of the class that neither the user nor the host's system determines.
std::string MissingKeys(const ObjectPath& path) {
  std::vector<std::string_view> missing;
  for (const std::string_view key : cim::schema::KeyNames(ResolveClass(path.class_name))) {
    if (path.Key(key) == nullptr) missing.push_back(key);
  }
  return fmt::format("{}", fmt::join(missing, ", "));
}

// At least one instance. A provider may do with a part of the keys; where it does not, the user
// should know what lacks.
std::vector<cim::Instance> Find(const ObjectPath& path, const broker::PropertyList& properties,
                                Session& session) {
  try {
    std::vector<cim::Instance> found = session.Get(path, properties);
    if (!found.empty()) return found;
  } catch (const StatusError& error) {
    const std::string missing = MissingKeys(path);
    if (!missing.empty()) {
      throw CommandError(fmt::format("{}; the path has no {}", error.what(), missing));
    }
    if (error.code() != CMPI_RC_ERR_NOT_FOUND) throw;
  }
  throw CommandError("not found: there is no instance " + ToWbemUri(path));
}

// An object path, or the address of a function, which stands for the function in its own class.
ObjectPath ReadElement(const std::string& operand, Session& session) {
  if (LooksLikeAddress(operand)) return PathOfFunction(operand, session);
  return ReadPath(operand, session.system());
}

// What associations are asked of, which must be there.
ObjectPath ReadSource(const std::string& operand, Session& session) {
  ObjectPath path = ReadElement(operand, session);
  // Of the path's keys, those that are missing are the providers' to judge.
  if (MissingKeys(path).empty()) Find(path, broker::PropertyList(std::in_place), session);
  return path;
}

void Enumerate(const Arguments& arguments, Session& session, ElementWriter& writer) {
  const Class& cls = ReadClass(arguments.operand, session.system());
  const broker::PropertyList properties = Properties(arguments, &cls);
  const auto ask = [&](broker::ResultSink& sink) {
    if (arguments.names) return session.EnumerateNames(cls, sink);
    session.Enumerate(cls, properties, sink);
  };
  const Selection selection(arguments.selection);
  if (selection.is_all()) return ask(writer);
  SelectedElements selected(SelectedAddresses(selection), writer);
  ask(selected);
  if (!selected.any()) {
    throw CommandError(fmt::format("no instance of {} belongs to a selected function", cls.name));
  }
}

void Associators(const Arguments& arguments, Session& session, ElementWriter& writer) {
  const broker::AssociationFilter& filter = arguments.filter;
  const requests::AssociationRequest request{
      ReadSource(arguments.operand, session), ResolvedClass(filter.assoc_class),
      ResolvedClass(filter.result_class), filter.role, filter.result_role};
  if (arguments.names) return session.AssociatorNames(request, writer);
  session.Associators(request, Properties(arguments, nullptr), writer);
}

void References(const Arguments& arguments, Session& session, ElementWriter& writer) {
  const broker::AssociationFilter& filter = arguments.filter;
  const requests::AssociationRequest request{ReadSource(arguments.operand, session),
                                             ResolvedClass(filter.result_class), std::nullopt,
                                             filter.role, std::nullopt};
  if (arguments.names) return session.ReferenceNames(request, writer);
  session.References(request, Properties(arguments, nullptr), writer);
}

void Get(const Arguments& arguments, Session& session, ElementWriter& writer) {
  const ObjectPath path = ReadElement(arguments.operand, session);
  const Class& cls = ResolveClass(path.class_name);
  std::vector<cim::Instance> found = Find(path, Properties(arguments, &cls), session);
  for (cim::Instance& instance : found) {
    if (arguments.names) {
      writer.OnObjectPath(std::move(instance.path));
    } else {
      writer.OnInstance(std::move(instance));
    }
  }
}

// What CIM does not tell, where the functions are those of the reading that the host control
// library shares. Details of them are read for whoever shows them.
void AddFactsTo(Topology& topology, const Session& session, bool with_details) {
  if (session.host() == nullptr) return;
  if (!with_details) return AddFacts(*session.host(), topology);
  const pci::Host::Wanted wanted{.names = false, .details = {.driver = true, .numa_node = true}};
  try {
    AddFacts(pci::Host::Read(pci::Source::FromEnvironment(), wanted), topology);
  } catch (const pci::Error&) {
    AddFacts(*session.host(), topology);  // it has been there a moment ago
  }
}

void Tree(const Arguments& arguments, Session& session, std::ostream& out) {
  // Of a host that could not be read standard error tells all there is.
  if (session.incomplete() && session.host() == nullptr) return;
  TreeStyle style = arguments.tree;
  style.utf8 = style.utf8 && Utf8Locale();
  style.width = TerminalWidth(STDOUT_FILENO);
  style.fold = style.fold && style.width > 0;
  style.counts = true;
  Topology topology = WalkTopology(session, {style.ports, style.buses});
  AddFactsTo(topology, session, style.drivers || arguments.format == Format::kJson);
  const Selection selection(arguments.selection);
  if (!selection.is_all()) KeepSelected(SelectedAddresses(selection), topology);
  switch (arguments.format) {
    case Format::kJson: return RenderJson(topology, style, out);
    case Format::kDot: return RenderDot(topology, style, out);
    default: return RenderText(topology, style, out);
  }
}

void ShowElements(const Arguments& arguments, Session& session, std::ostream& out) {
  const std::unique_ptr<ElementWriter> writer = MakeWriter(arguments, out);
  try {
    switch (arguments.command) {
      case Command::kEnumerate: Enumerate(arguments, session, *writer); break;
      case Command::kGet: Get(arguments, session, *writer); break;
      case Command::kAssociators: Associators(arguments, session, *writer); break;
      case Command::kReferences: References(arguments, session, *writer); break;
      default: break;
    }
  } catch (const CommandError&) {
    writer->Finish(true);
    throw;
  }
  writer->Finish(false);
}

// The providers' name for it: a platform's own host control library may have another than this
// machine.
std::string NameOfHostingSystem(const Arguments& arguments) {
  const Session session({arguments.library, SystemName(), arguments.verbose});
  return *session.system().Key("Name")->text();
}

int Register(const Arguments& arguments, std::ostream& out) {
  SelectHost(arguments.source);
  RegisterOptions options = arguments.registration;
  options.root = geteuid() == 0;
  if (!options.unregister) options.library = FindLibrary(arguments.library);
  options.schema_folder = FindSchemaFolder();
  if (options.AddsSystem()) options.system_name = NameOfHostingSystem(arguments);
  return RunRegister(options, out, std::cerr);
}

int Run(const Arguments& arguments, std::ostream& out) {
  if (arguments.command == Command::kRegister) return Register(arguments, out);
  if (arguments.command == Command::kClasses) {
    ListClasses(arguments, out);
    return kExitOk;
  }
  if (arguments.command == Command::kDiff) {
    return RunDiff(arguments.diff, arguments.format == Format::kJson, out);
  }
  SelectHost(arguments.source);
  if (arguments.command == Command::kList) {
    return RunList(arguments.list, arguments.selection, out);
  }
  if (arguments.command == Command::kRecord) return RunRecord(out);
  if (arguments.command == Command::kPath) {
    return RunPath(arguments.path, arguments.selection, arguments.format == Format::kJson, out);
  }
  if (arguments.command == Command::kLinks) {
    return RunLinks(arguments.links, arguments.selection, arguments.format == Format::kJson, out);
  }
  if (arguments.command == Command::kServe) {
    RunServe(arguments, out);
    return kExitOk;
  }
  Session session({arguments.library, SystemName(), arguments.verbose});
  if (arguments.command == Command::kTree) {
    Tree(arguments, session, out);
  } else {
    ShowElements(arguments, session, out);
  }
  return session.incomplete() ? kExitFailed : kExitOk;
}

int Fail(std::string_view what, int status) {
  WriteDiagnostic(fmt::format("ostrel-pci: {}\n", what));
  return status;
}

int OutputFailed(const OutputError& error) {
  // Whoever read the data has had enough, as "head" does.
  if (error.code().value() == EPIPE) return kExitOk;
  return Fail(fmt::format("writing the output failed: {}", error.code().message()), kExitFailed);
}

// Help and version, which may go to a full disk as well.
int WriteHelp(const std::string& help, int status) {
  FileOutput out(STDOUT_FILENO);
  out << help;
  out.flush();
  return status;
}

int ReadAndRun(int argc, const char* const* argv) {
  std::ostringstream help;
  const auto parsed = ParseCommandLine(argc, argv, help, std::cerr);
  if (const int* status = std::get_if<int>(&parsed)) return WriteHelp(help.str(), *status);
  FileOutput out(STDOUT_FILENO);
  const int status = Run(std::get<Arguments>(parsed), out);
  out.flush();
  return status;
}

}  // namespace

int Main(int argc, const char* const* argv) {
  HoldStandardDescriptors();
  (void)std::signal(SIGPIPE, SIG_IGN);
  try {
    return ReadAndRun(argc, argv);
  } catch (const CommandError& error) {
    return Fail(error.what(), error.exit_status());
  } catch (const OutputError& error) {
    return OutputFailed(error);
  } catch (const std::exception& error) {
    return Fail(error.what(), kExitFailed);
  }
}

}  // namespace tool
