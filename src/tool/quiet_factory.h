// What the provider library says while it starts, when its first factory call reads the host: kept
// off the terminal but for what a person must know.
//
// Thread rule: not thread-safe: standard error and the log's mask belong to the whole process.

#ifndef TOOL_QUIET_FACTORY_H_
#define TOOL_QUIET_FACTORY_H_

#include <functional>

namespace tool {

// Says how the process's log goes to the system log, and to standard error in a verbose process.
void OpenLog(bool verbose);

// Runs `call` with standard error caught, then writes out what was caught. Unless `verbose`, that
// is without the trace line of every instance factory, and of the log with errors and warnings
// only. What `call` throws passes on. Gives whether the log said that the host could not be read as
// a whole: the library then goes on with what it has, and no status tells. Where standard error
// cannot be caught, just runs `call`.
bool RunFactory(const std::function<void()>& call, bool verbose);

}  // namespace tool

#endif  // TOOL_QUIET_FACTORY_H_
