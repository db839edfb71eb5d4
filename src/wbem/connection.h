// One client's connection: reads a request, hands it to a worker, writes the response piece by
// piece, and so on, each with its deadline. Nothing in here waits: one thread runs all connections.
//
// Thread rule: all of it on the thread that runs the context.

#ifndef WBEM_CONNECTION_H_
#define WBEM_CONNECTION_H_

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>

#include "wbem/limits.h"
#include "wbem/request_handler.h"
#include "wbem/request_log.h"
#include "wbem/worker_pool.h"

namespace boost::asio {
class io_context;
}

namespace wbem {

// What the connections of a server share; it must outlive them all.
struct ConnectionShare {
  boost::asio::io_context& context;
  WorkerPool& workers;
  RequestHandler& handler;
  const Limits& limits;
  const RequestLog& log;                    // empty for none
  std::atomic<std::size_t> body_bytes = 0;  // of all requests that are read or answered
};

class Connection {
 public:
  virtual ~Connection() = default;

  // Takes over a connected stream socket, and reads its first request. `ended` is called once, when
  // the connection has ended. Throws std::exception where the system has no room for it; then the
  // socket is closed.
  static std::shared_ptr<Connection> Start(int socket, ConnectionShare& share,
                                           std::function<void(Connection&)> ended);

  // Ends the connection; where a request is being answered, after its answer.
  virtual void EndSoon() = 0;
  // Ends it at once.
  virtual void Break() = 0;
};

}  // namespace wbem

#endif  // WBEM_CONNECTION_H_
