// The object manager behind CIM operations over HTTP (DSP0200), on loopback only.
//
//   wbem::Server server(manager, {.port = 0});
//   int port = server.Start();
//   ...
//   server.Stop();
//
// A fixed number of threads serves connections; more of them wait, and a connection that is idle
// gives way to one that waits. Nobody is asked for a name or password: who may connect is on this
// host. A browser's page is not: what a browser sends (it carries Origin) is refused.
//
// Thread rule: Start and Stop from one thread.

#ifndef WBEM_SERVER_H_
#define WBEM_SERVER_H_

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

#include "broker/object_manager.h"
#include "wbem/connection_limits.h"

namespace wbem {

struct ServerOptions {
  std::string address = "127.0.0.1";
  int port = 5988;  // 0 for a free one
  std::size_t threads = 32;
  std::size_t max_waiting = 1024;
  ConnectionLimits limits;
  std::chrono::milliseconds stop{5'000};  // how long Stop waits for running requests
};

class Server {
 public:
  // `manager` must outlive the server. Throws std::invalid_argument for an address that is not a
  // loopback one.
  Server(broker::ObjectManager& manager, ServerOptions options);
  // Stops it.
  ~Server();

  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  // Listens, and returns the port. Throws std::runtime_error.
  int Start();
  // Lets running requests finish, within the bound, and ends all connections and threads. Once.
  void Stop();
  // Whether it accepts connections. It may cease to for want of resources.
  bool is_running() const;
  // "http://127.0.0.1:5988", after Start.
  std::string Url() const;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace wbem

#endif  // WBEM_SERVER_H_
