// Runs a server until the process is told to end.
//
// Thread rule: call it from the main thread, before the process has started any other: the signals
// are blocked in the threads that it starts.

#ifndef WBEM_SERVE_H_
#define WBEM_SERVE_H_

#include <ostream>

#include "broker/object_manager.h"
#include "wbem/server.h"

namespace wbem {

// Serves until SIGTERM or SIGINT, after saying "listening on http://127.0.0.1:PORT" on `out`.
// Throws as Server does, and std::runtime_error where the server ceased by itself.
void Serve(broker::ObjectManager& manager, const ServerOptions& options, std::ostream& out);

}  // namespace wbem

#endif  // WBEM_SERVE_H_
