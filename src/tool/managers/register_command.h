// Tells an object manager about the provider library, or makes it forget it, with the object
// manager's own tools.
//
// Thread rule: one thread; starts programs and waits for them.

#ifndef TOOL_MANAGERS_REGISTER_COMMAND_H_
#define TOOL_MANAGERS_REGISTER_COMMAND_H_

#include <ostream>
#include <string>
#include <vector>

namespace tool {

enum class Server { kSfcb, kPegasus };

struct RegisterOptions {
  Server server = Server::kSfcb;
  bool unregister = false;
  bool dry_run = false;      // print the steps and carry out none
  bool with_system = false;  // the hosting system's class too, for servers that lack it
  bool root = false;         // whether this process may change the server's files
  std::string library;       // libOstrelPCI.so, as it is installed
  std::string schema_folder;
  std::string system_name;  // the hosting system's Name, where its instance is added
  // Where the server looks for provider libraries, if it does not tell; what it tells counts.
  std::vector<std::string> provider_folders;

  bool AddsSystem() const { return with_system && !unregister; }
};

// The folder of the schema files: under the prefix that the program is installed in, in the build
// tree, or where it was configured to be. Throws CommandError where there is none.
std::string FindSchemaFolder();

// Looks what is missing, which asks the server where it looks for providers, then carries out the
// server's steps in order. The steps go to `out`, each with a comment, as a script that does the
// same; so does all that their programs print to standard output. What is missing, and the step
// that failed, go to `err`. Gives the exit status: 0 where all is done (or, dry, could be), 1 where
// something is missing or a step failed; later steps are then not tried.
int RunRegister(const RegisterOptions& options, std::ostream& out, std::ostream& err);

}  // namespace tool

#endif  // TOOL_MANAGERS_REGISTER_COMMAND_H_
