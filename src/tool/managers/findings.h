// What stands in the way of registering, found before anything is changed.
//
// Thread rule: one thread; asking the server starts its programs and waits for them.

#ifndef TOOL_MANAGERS_FINDINGS_H_
#define TOOL_MANAGERS_FINDINGS_H_

#include <string>
#include <vector>

#include "tool/managers/register_command.h"
#include "tool/managers/server_kind.h"

namespace tool {

// What is missing for these steps: a line each that says what, and where it can what to do. The
// server is asked only if its programs are there.
std::vector<std::string> FindMissing(const RegisterOptions& options, const ServerKind& kind,
                                     const std::vector<Step>& steps);

}  // namespace tool

#endif  // TOOL_MANAGERS_FINDINGS_H_
