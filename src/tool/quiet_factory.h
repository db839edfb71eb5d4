// Keeps the provider library's trace line off the terminal: every instance factory call writes one
// to standard error, which is for people here.
//
// Thread rule: not thread-safe: standard error belongs to the whole process.

#ifndef TOOL_QUIET_FACTORY_H_
#define TOOL_QUIET_FACTORY_H_

#include <functional>

namespace tool {

// Runs `call` with standard error caught, then writes out all that was caught except the trace
// lines. What `call` throws passes on. Where standard error cannot be caught, just runs `call`.
void WithoutTraceLines(const std::function<void()>& call);

}  // namespace tool

#endif  // TOOL_QUIET_FACTORY_H_
