// What the provider library says while it starts, when its first factory call reads the host: kept
// off the terminal but for what a person must know.
//
// Thread rule: not thread-safe: standard error and the log's mask belong to the whole process.

#ifndef TOOL_QUIET_FACTORY_H_
#define TOOL_QUIET_FACTORY_H_

#include <functional>
#include <string>

namespace tool {

// Says how the process's log goes to the system log, and to standard error in a verbose process.
void OpenLog(bool verbose);

// Runs `call` with standard error caught and gives what was caught: unless `verbose`, without the
// trace line of every instance factory, and of the log errors and warnings only. Where `call`
// throws it is written out, and the exception passes on. Where standard error cannot be caught,
// just runs `call`.
std::string RunFactory(const std::function<void()>& call, bool verbose);

}  // namespace tool

#endif  // TOOL_QUIET_FACTORY_H_
