// The command line: what is asked for, read with CLI11.
//
// Thread rule: pure functions.

#ifndef TOOL_COMMAND_LINE_H_
#define TOOL_COMMAND_LINE_H_

#include <optional>
#include <ostream>
#include <string>
#include <variant>
#include <vector>

#include "broker/object_manager.h"
#include "tool/host_source.h"
#include "tool/inventory/diff.h"
#include "tool/inventory/links.h"
#include "tool/inventory/list.h"
#include "tool/inventory/path.h"
#include "tool/inventory/selection.h"
#include "tool/managers/register_command.h"
#include "tool/topology_render.h"

namespace tool {

enum class Command {
  kList,
  kLinks,
  kPath,
  kDiff,
  kRecord,
  kClasses,
  kEnumerate,
  kGet,
  kAssociators,
  kReferences,
  kTree,
  kRegister,
  kServe
};
enum class Format { kTable, kJson, kMof, kDot };

struct Arguments {
  Command command = Command::kList;
  std::string operand;  // the class or the path
  Format format = Format::kTable;
  bool names = false;
  std::vector<std::string> properties;
  broker::AssociationFilter filter;  // class names as the user wrote them
  TreeStyle tree{.fold = true};
  bool verbose = false;
  std::string address = "127.0.0.1";  // of serve
  int port = 5988;                    // of serve
  SelectionOptions selection;
  ListOptions list;
  LinksOptions links;
  PathOptions path;
  DiffOptions diff;
  HostSource source;
  std::optional<std::string> library;
  RegisterOptions registration;  // what the options of register and unregister say
};

// Reads the command line (argv[0] is the program). Without a command it is that of "list". Help and
// version go to `out`, what is wrong to `err`. Gives the arguments, or the exit status where there
// is nothing left to do.
std::variant<Arguments, int> ParseCommandLine(int argc, const char* const* argv, std::ostream& out,
                                              std::ostream& err);

}  // namespace tool

#endif  // TOOL_COMMAND_LINE_H_
