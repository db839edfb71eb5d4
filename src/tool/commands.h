// The commands.
//
// Thread rule: one thread; changes the environment of the process and ignores SIGPIPE.

#ifndef TOOL_COMMANDS_H_
#define TOOL_COMMANDS_H_

namespace tool {

// Carries out a command line: data on standard output, all else on standard error. Gives the exit
// status: 0 where the request was carried out, also when nothing matched; 1 where it failed; 2 for
// a command line that makes no sense.
int Main(int argc, const char* const* argv);

}  // namespace tool

#endif  // TOOL_COMMANDS_H_
