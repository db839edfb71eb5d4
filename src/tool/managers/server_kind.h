// What registering takes with one kind of object manager: the steps, and where it looks for
// providers. One source file per kind; a table of functions each.
//
// Thread rule: one thread; asking a server starts its programs and waits for them.

#ifndef TOOL_MANAGERS_SERVER_KIND_H_
#define TOOL_MANAGERS_SERVER_KIND_H_

#include <string>
#include <vector>

#include "tool/managers/program.h"

namespace tool {

inline constexpr const char* kClassesFile = "Ostrel_PCI.mof";
inline constexpr const char* kSystemClassFile = "OMC_UnitaryComputerSystem.mof";
inline constexpr const char* kNameSpace = "root/cimv2";
inline constexpr const char* kAskedClass = "Ostrel_PCIDevice";  // one that every host has

// A program to run, or a script for a shell that ends at the first command that fails.
struct Step {
  std::string purpose;
  Invocation command = {};
  std::string hint = {};  // what is most often wrong when it fails
  std::string script = {};
  const char* program = nullptr;  // the script's, of the server
};

// What the steps are about. Paths of files, and the hosting system's name in lower case.
struct Registration {
  std::string classes;
  std::string providers;     // who serves the classes, in the server's own form
  std::string system_class;  // the template, filled in; empty where it is not wanted
  std::string system_name;
};

// Where a server looks for provider libraries.
struct ProviderFolders {
  std::vector<std::string> folders;
  std::string setting;  // what says so: "providerDirs in /etc/sfcb/sfcb.cfg"
  // Why the server could not tell, as a sentence without its end; then the folders are those that
  // packages of the server use, or none. Empty where it told.
  std::string doubt;
};

struct ServerKind {
  const char* name;
  const char* registration_file;
  std::vector<Step> (*registering)(const Registration& registration);
  std::vector<Step> (*unregistering)(const Registration& registration);
  std::vector<std::string> asking;  // its programs that the two functions below start
  // Why the server is in no state to be registered with, with the way out; empty where it is.
  std::string (*trouble)();
  ProviderFolders (*ask_for_folders)();
  // What is to be done for the server to look in one more folder, as a sentence without its end.
  std::string (*adding_folder)(const ProviderFolders& known, const std::string& folder);
  std::vector<const char*> after_registering;  // what is left to do or to know, a line each
  std::vector<const char*> after_unregistering;
};

const ServerKind& Sfcb();
const ServerKind& Pegasus();

}  // namespace tool

#endif  // TOOL_MANAGERS_SERVER_KIND_H_
