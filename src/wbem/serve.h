// Runs a server until the process is told to end.
//
// Thread rule: call it from the main thread, before the process has started any other: the signals
// are blocked in the threads that it starts.

#ifndef WBEM_SERVE_H_
#define WBEM_SERVE_H_

#include <functional>
#include <optional>
#include <ostream>

#include "wbem/current_manager.h"
#include "wbem/server.h"

namespace wbem {

// Who knows that the host has changed.
struct HostWatch {
  int descriptor;  // readable when there is something to know
  std::function<bool()> has_changed;
};

// Serves until SIGTERM or SIGINT, after saying "listening on http://127.0.0.1:PORT" on `out`. By
// SIGHUP, and when the watch says so, the manager becomes stale. Throws as Server does, and
// std::runtime_error where the server ceased by itself.
void Serve(CurrentManager& manager, const ServerOptions& options,
           const std::optional<HostWatch>& watch, std::ostream& out);

}  // namespace wbem

#endif  // WBEM_SERVE_H_
