#include "wbem/server.h"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <httplib.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>
#include <utility>

#include "wbem/answer_stream.h"
#include "wbem/cim_error.h"
#include "wbem/cim_xml_request.h"
#include "wbem/connection.h"
#include "wbem/event.h"
#include "wbem/http_request.h"
#include "wbem/operations.h"
#include "wbem/worker_pool.h"

namespace wbem {

namespace {

constexpr int kBacklog = 512;
constexpr const char* kXml = "application/xml; charset=\"utf-8\"";
constexpr const char* kExtensionUri = "http://www.dmtf.org/cim/mapping/http/v1.0";

// The connection that the thread is serving: httplib's handlers are not told.
thread_local Connection* current_connection = nullptr;

// The address in numbers. Throws std::invalid_argument unless it is one of this host's own.
std::string LoopbackAddress(const std::string& address) {
  if (address == "localhost") return "127.0.0.1";
  in_addr v4{};
  if (inet_pton(AF_INET, address.c_str(), &v4) == 1 && (ntohl(v4.s_addr) >> 24) == 127) {
    return address;
  }
  in6_addr v6{};
  if (inet_pton(AF_INET6, address.c_str(), &v6) == 1 && IN6_IS_ADDR_LOOPBACK(&v6)) return address;
  throw std::invalid_argument(fmt::format(
      "not listening on \"{}\": only loopback addresses (127.0.0.1, ::1) are served, because "
      "nobody is asked for a password; remote access is a production object manager's job",
      address));
}

// Writes a response through httplib, chunk by chunk.
class HttpSink : public ByteSink {
 public:
  explicit HttpSink(httplib::DataSink& sink) : sink_(sink) {}
  void Write(std::string_view bytes) override {
    if (!sink_.write(bytes.data(), bytes.size())) throw StreamBroken("the client is gone");
  }

 private:
  httplib::DataSink& sink_;
};

// An extension header of the answer, with the request's prefix where that came by M-POST.
void SetExtensionHeader(const httplib::Request& request, httplib::Response& response,
                        const std::string& name, const std::string& value) {
  response.set_header(request.get_header_value(kExtensionPrefix) + name, value);
}

// RFC 2774: an answer to a mandatory request says that the extension was understood.
void AcknowledgeExtension(const httplib::Request& request, httplib::Response& response) {
  const std::string prefix = request.get_header_value(kExtensionPrefix);
  if (prefix.empty()) return;
  response.set_header("Ext", "");
  response.set_header("Man", fmt::format("{} ; ns={}", kExtensionUri,
                                         std::string_view(prefix).substr(0, prefix.size() - 1)));
}

void Refuse(const httplib::Request& request, httplib::Response& response,
            const RequestError& error) {
  response.status = error.http_status();
  AcknowledgeExtension(request, response);
  if (!error.cim_error().empty()) {
    SetExtensionHeader(request, response, "CIMError", error.cim_error());
  }
  response.set_content(std::string(error.what()) + "\n", "text/plain; charset=utf-8");
}

void AnswerOptions(httplib::Response& response) {
  response.set_header("Opt", fmt::format("{} ; ns=73", kExtensionUri));
  response.set_header("73-CIMProtocolVersion", "1.0");
  response.set_header("73-CIMSupportedFunctionalGroups", "basic-read, association-traversal");
  response.set_header("73-CIMValidation", "loosely-validating");
  response.set_header("Allow", "POST, M-POST, OPTIONS");
}

// What can be said of a request before its body is read.
void CheckBeforeBody(const httplib::Request& request, httplib::Response& response) {
  if (request.method != "POST") {
    response.set_header("Allow", "POST, M-POST, OPTIONS");
    throw RequestError(405, {}, "CIM operations are called by POST");
  }
  if (request.has_header("Origin")) throw RequestError(403, {}, "not for browsers");
  if (current_connection->is_mandatory() && !request.has_header(kExtensionPrefix)) {
    throw RequestError(510, {}, "the mandatory extension is not CIM operations");
  }
  CheckHeaders(request);
}

// Takes away what httplib would act on and a CIM client never means.
void Normalize(httplib::Request& request) {
  request.headers.erase(kExtensionPrefix);
  request.headers.erase("Accept-Encoding");
  request.headers.erase("Range");
  request.ranges.clear();
  request.path = "/";
  if (current_connection->is_mandatory()) AdoptExtensionHeaders(request);
}

}  // namespace

class Server::Impl : private httplib::Server {
 public:
  Impl(broker::ObjectManager& manager, ServerOptions options)
      : manager_(manager), options_(std::move(options)) {
    options_.address = LoopbackAddress(options_.address);
    SetUp();
  }
  ~Impl() override { Stop(); }
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;

  int Start();
  void Stop();
  bool is_listening() const { return listening_; }
  std::string Url() const;

 private:
  class Served;

  void SetUp();
  void Serve(const httplib::Request& http, httplib::Response& response);
  void Stream(const httplib::Request& http, httplib::Response& response,
              std::shared_ptr<const Request> request);
  bool process_and_close_socket(socket_t socket) override;
  void ServeRequests(Connection& connection);

  broker::ObjectManager& manager_;
  ServerOptions options_;
  Event stop_;
  Event pressure_;
  std::unique_ptr<WorkerPool> pool_;  // until httplib takes it
  std::atomic<bool> listening_ = false;
  std::thread listener_;

  std::mutex mutex_;
  std::condition_variable connection_ended_;
  std::set<Connection*> connections_;
};

void Server::Impl::SetUp() {
  // httplib's own default lets several servers share one port, and take turns in answering.
  set_socket_options([](socket_t socket) {
    const int on = 1;
    setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  });
  set_tcp_nodelay(true);
  set_payload_max_length(kMaxRequestBytes);
  // Told to clients in Keep-Alive; the connection itself keeps to its limits.
  set_keep_alive_timeout(std::chrono::ceil<std::chrono::seconds>(options_.limits.idle).count());
  new_task_queue = [this] { return pool_.release(); };

  // After an error the rest of the request is of no use, if it comes at all.
  set_error_handler([](const httplib::Request& /*http*/, httplib::Response& response) {
    current_connection->EndAfterAnswer();
    response.set_header("Connection", "close");
  });
  set_pre_routing_handler([](const httplib::Request& http, httplib::Response& response) {
    if (http.method == "OPTIONS") {
      AnswerOptions(response);
      return HandlerResponse::Handled;
    }
    try {
      CheckBeforeBody(http, response);
      return HandlerResponse::Unhandled;
    } catch (const RequestError& error) {
      Refuse(http, response, error);
      return HandlerResponse::Handled;
    }
  });
  Post("/", [this](const httplib::Request& http, httplib::Response& response) {
    try {
      Serve(http, response);
    } catch (const RequestError& error) {
      Refuse(http, response, error);
    } catch (const std::exception& error) {
      Refuse(http, response, RequestError(500, {}, error.what()));
    }
  });
}

void Server::Impl::Serve(const httplib::Request& http, httplib::Response& response) {
  const auto request = std::make_shared<const Request>(ParseRequest(http.body));
  CheckAgreement(http, *request);
  SetExtensionHeader(http, response, "CIMOperation", "MethodResponse");
  AcknowledgeExtension(http, response);
  response.set_header("Cache-Control", "no-cache");
  Stream(http, response, request);
}

// The operation runs while its answer is written: httplib calls the content provider once the
// headers are out, and all of the answer is written in that one call. It copies the provider.
void Server::Impl::Stream(const httplib::Request& http, httplib::Response& response,
                          std::shared_ptr<const Request> request) {
  const std::string host = HostOf(http);
  const auto write = [this, host, call = std::move(request)](httplib::DataSink& sink) {
    try {
      HttpSink bytes(sink);
      Answer(manager_, *call, host, bytes);
      sink.done();
      return true;
    } catch (const std::exception&) {
      // The client sees the end of the connection before the end of the answer.
      current_connection->EndAfterAnswer();
      return false;
    }
  };
  if (http.version == "HTTP/1.0") {
    // Without chunks only the end of the connection says where the answer ends.
    current_connection->EndAfterAnswer();
    response.set_header("Connection", "close");
    response.set_content_provider(
        kXml, [write](std::size_t /*offset*/, httplib::DataSink& sink) { return write(sink); });
  } else {
    response.set_chunked_content_provider(
        kXml, [write](std::size_t /*offset*/, httplib::DataSink& sink) { return write(sink); });
  }
}

// A connection while it is served: the thread's current one, and one of those that Stop may break.
class Server::Impl::Served {
 public:
  Served(Impl& server, Connection& connection) : server_(server), connection_(connection) {
    const std::lock_guard lock(server_.mutex_);
    server_.connections_.insert(&connection_);
    current_connection = &connection_;
  }
  ~Served() {
    current_connection = nullptr;
    const std::lock_guard lock(server_.mutex_);
    server_.connections_.erase(&connection_);
    server_.connection_ended_.notify_all();
  }
  Served(const Served&) = delete;
  Served& operator=(const Served&) = delete;

 private:
  Impl& server_;
  Connection& connection_;
};

bool Server::Impl::process_and_close_socket(socket_t socket) {
  Connection connection(socket, WorkerPool::TaskArrival(), options_.limits);
  const Served served(*this, connection);
  ServeRequests(connection);
  return true;
}

void Server::Impl::ServeRequests(Connection& connection) {
  while (!connection.is_ending() && connection.NextRequest(stop_, pressure_)) {
    const bool last = pressure_.IsSet() || stop_.IsSet();
    bool closed = false;
    const bool answered = process_request(connection, last, closed, Normalize);
    if (!answered || closed || last) return;
  }
}

int Server::Impl::Start() {
  pool_ = std::make_unique<WorkerPool>(options_.threads, options_.max_waiting, pressure_);
  const int port = options_.port == 0 ? bind_to_any_port(options_.address)
                   : bind_to_port(options_.address, options_.port) ? options_.port
                                                                   : -1;
  if (port < 0) {
    throw std::runtime_error(fmt::format("cannot listen on {} port {}: {}", options_.address,
                                         options_.port, std::strerror(errno)));
  }
  options_.port = port;
  ::listen(svr_sock_, kBacklog);  // httplib's own queue holds five
  listening_ = true;
  listener_ = std::thread([this] {
    try {
      listen_after_bind();
    } catch (const std::exception&) {
      // No memory to note the next connection.
    }
    listening_ = false;
  });
  // httplib ignores a stop that comes before.
  while (!is_running() && listening_) std::this_thread::yield();
  return port;
}

void Server::Impl::Stop() {
  if (!listener_.joinable()) return;
  stop_.Set();
  {
    std::unique_lock lock(mutex_);
    connection_ended_.wait_for(lock, options_.stop, [this] { return connections_.empty(); });
    for (Connection* connection : connections_) connection->Break();
  }
  stop();
  listener_.join();
}

std::string Server::Impl::Url() const {
  const bool v6 = options_.address.find(':') != std::string::npos;
  const std::string host = v6 ? "[" + options_.address + "]" : options_.address;
  return fmt::format("http://{}:{}", host, options_.port);
}

Server::Server(broker::ObjectManager& manager, ServerOptions options)
    : impl_(std::make_unique<Impl>(manager, std::move(options))) {}
Server::~Server() = default;
int Server::Start() { return impl_->Start(); }
void Server::Stop() { impl_->Stop(); }
bool Server::is_running() const { return impl_->is_listening(); }
std::string Server::Url() const { return impl_->Url(); }

}  // namespace wbem
