// The object manager behind CIM operations over HTTP (DSP0200), on loopback only.
//
//   wbem::Server server(manager, {.port = 0});
//   int port = server.Start();
//   ...
//   server.Stop();
//
// One thread accepts, reads and writes all connections; a fixed number of others answers the
// requests that are whole. A connection that says nothing, or little, costs none of them. Nobody is
// asked for a name or password: who may connect is on this host. A page in a browser is not, and is
// refused.
//
// Thread rule: Start and Stop from one thread.

#ifndef WBEM_SERVER_H_
#define WBEM_SERVER_H_

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

#include "wbem/current_manager.h"
#include "wbem/limits.h"
#include "wbem/request_log.h"

namespace wbem {

struct ServerOptions {
  std::string address = "127.0.0.1";
  int port = 5988;  // 0 for a free one
  std::size_t threads = 32;
  // At once, as far as the process may have so many descriptors; more of them wait in the kernel's
  // queue.
  std::size_t max_connections = 4096;
  Limits limits;
  RequestLog log;
  std::chrono::milliseconds stop{5'000};  // how long Stop waits for running requests
};

class Server {
 public:
  // `manager` must outlive the server. Throws std::invalid_argument for an address that is not a
  // loopback one.
  Server(CurrentManager& manager, ServerOptions options);
  // Stops it.
  ~Server();

  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  // Listens, and returns the port. Throws std::runtime_error.
  int Start();
  // Lets running requests finish, within the bound, and ends all connections and threads.
  void Stop();
  // Whether it accepts connections. It may cease to where the system takes its socket away.
  bool is_running() const;
  // "http://127.0.0.1:5988", after Start.
  const std::string& Url() const { return url_; }

 private:
  class Impl;

  CurrentManager& manager_;
  ServerOptions options_;
  std::string url_;
  std::unique_ptr<Impl> impl_;
};

}  // namespace wbem

#endif  // WBEM_SERVER_H_
