#include "wbem/server.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <netinet/tcp.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <algorithm>
#include <atomic>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

#include "wbem/cim_service.h"
#include "wbem/connection.h"
#include "wbem/worker_pool.h"

namespace wbem {

namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

// Descriptors that are left to the rest of the process.
constexpr std::size_t kSpareDescriptors = 64;
// How long accepting rests where there are no descriptors.
constexpr std::chrono::milliseconds kRest{50};

// Throws std::invalid_argument unless the address is one of this host's own.
asio::ip::address LoopbackAddress(const std::string& text) {
  error_code error;
  auto address = asio::ip::make_address(text == "localhost" ? "127.0.0.1" : text, error);
  if (!error && address.is_loopback()) return address;
  throw std::invalid_argument(fmt::format(
      "not listening on \"{}\": only loopback addresses (127.0.0.1, ::1) are served, because "
      "nobody is asked for a password; remote access is a production object manager's job",
      text));
}

// How many connections there can be.
std::size_t MaxConnections(std::size_t wanted) {
  rlimit files{};
  if (getrlimit(RLIMIT_NOFILE, &files) != 0 || files.rlim_cur > wanted + kSpareDescriptors) {
    return wanted;
  }
  return files.rlim_cur > 2 * kSpareDescriptors ? files.rlim_cur - kSpareDescriptors
                                                : kSpareDescriptors;
}

bool IsWantOfResources(int error) {
  return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM;
}

// Errors that accept() passes on from a connection that has failed already.
bool IsOfOneConnection(int error) {
  return error == ECONNABORTED || error == EINTR || error == EPROTO || error == EPERM ||
         error == ENETDOWN || error == ENOPROTOOPT || error == EHOSTDOWN || error == ENONET ||
         error == EHOSTUNREACH || error == EOPNOTSUPP || error == ENETUNREACH || error == ETIMEDOUT;
}

}  // namespace

// A server that runs, from its constructor to its destructor.
class Server::Impl {
 public:
  Impl(CurrentManager& manager, const ServerOptions& options);
  ~Impl();
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;

  bool is_listening() const { return listening_; }
  int port() const { return port_; }

 private:
  void Listen();
  void Run();
  // On the thread that runs the context:
  void AwaitClient();
  void Accept();
  void Serve(int socket);
  void Rest();
  void WindDown();
  void OnEnded(const Connection& connection);

  const ServerOptions& options_;
  const std::size_t max_connections_;
  CimService service_;
  asio::io_context context_{1};
  tcp::acceptor acceptor_{context_};
  asio::steady_timer rest_{context_};  // while there are no descriptors
  asio::steady_timer stop_{context_};  // while running requests finish
  ConnectionShare share_{context_, workers_, service_, options_.limits, options_.log};
  WorkerPool workers_;  // ends before what its tasks use
  std::map<const Connection*, std::shared_ptr<Connection>> connections_;
  bool is_full_ = false;
  bool is_stopping_ = false;

  int port_ = 0;
  std::atomic<bool> listening_ = false;
  std::thread thread_;
};

Server::Impl::Impl(CurrentManager& manager, const ServerOptions& options)
    : options_(options),
      max_connections_(MaxConnections(options.max_connections)),
      service_(manager),
      workers_(options.threads) {
  Listen();
  listening_ = true;
  AwaitClient();
  thread_ = std::thread([this] { Run(); });
}

void Server::Impl::Listen() {
  const tcp::endpoint endpoint(LoopbackAddress(options_.address),
                               static_cast<std::uint16_t>(options_.port));
  acceptor_.open(endpoint.protocol());
  acceptor_.set_option(tcp::acceptor::reuse_address(true));
  acceptor_.bind(endpoint);
  acceptor_.listen();
  acceptor_.non_blocking(true);
  fcntl(acceptor_.native_handle(), F_SETFD, FD_CLOEXEC);
  port_ = acceptor_.local_endpoint().port();
}

// Until nothing is left to do, which is after WindDown.
void Server::Impl::Run() {
  bool is_done = false;
  while (!is_done) {
    try {
      context_.run();
      is_done = true;
    } catch (const std::exception&) {
      // There was no memory for one step of a connection; its deadline ends it.
    }
  }
}

void Server::Impl::AwaitClient() {
  is_full_ = connections_.size() >= max_connections_;
  if (is_full_ || is_stopping_) return;
  acceptor_.async_wait(tcp::acceptor::wait_read, [this](const error_code& error) {
    if (!error) Accept();
  });
}

// Takes the clients that wait.
void Server::Impl::Accept() {
  while (connections_.size() < max_connections_) {
    const int socket =
        accept4(acceptor_.native_handle(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (socket >= 0) {
      Serve(socket);
    } else if (errno == EAGAIN) {
      break;
    } else if (IsWantOfResources(errno)) {
      Rest();
      return;
    } else if (!IsOfOneConnection(errno)) {
      listening_ = false;
      return;
    }
  }
  AwaitClient();
}

void Server::Impl::Serve(int socket) {
  const int on = 1;
  setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  try {
    auto connection =
        Connection::Start(socket, share_, [this](const Connection& ended) { OnEnded(ended); });
    connections_.emplace(connection.get(), connection);
  } catch (const std::exception&) {
    // No memory for one more. It is closed.
  }
}

void Server::Impl::Rest() {
  rest_.expires_after(kRest);
  rest_.async_wait([this](const error_code& error) {
    if (!error) AwaitClient();
  });
}

void Server::Impl::OnEnded(const Connection& connection) {
  connections_.erase(&connection);
  if (is_full_) AwaitClient();
  if (is_stopping_ && connections_.empty()) stop_.cancel();
}

Server::Impl::~Impl() {
  asio::post(context_, [this] { WindDown(); });
  thread_.join();
}

void Server::Impl::WindDown() {
  listening_ = false;
  is_stopping_ = true;
  acceptor_.close();
  rest_.cancel();
  const auto each = [this](void (Connection::*end)()) {
    const auto connections = connections_;  // of which ended ones are taken out
    for (const auto& [key, connection] : connections) (*connection.*end)();
  };
  each(&Connection::EndSoon);
  if (connections_.empty()) return;
  stop_.expires_after(options_.stop);
  stop_.async_wait([each](const error_code& error) {
    if (!error) each(&Connection::Break);
  });
}

Server::Server(CurrentManager& manager, ServerOptions options)
    : manager_(manager), options_(std::move(options)) {
  options_.address = LoopbackAddress(options_.address).to_string();
}

Server::~Server() = default;

int Server::Start() {
  try {
    impl_ = std::make_unique<Impl>(manager_, options_);
  } catch (const boost::system::system_error& error) {
    throw std::runtime_error(fmt::format("cannot listen on {} port {}: {}", options_.address,
                                         options_.port, error.code().message()));
  }
  const bool v6 = options_.address.find(':') != std::string::npos;
  const std::string host = v6 ? "[" + options_.address + "]" : options_.address;
  url_ = fmt::format("http://{}:{}", host, impl_->port());
  return impl_->port();
}

void Server::Stop() { impl_.reset(); }

bool Server::is_running() const { return impl_ && impl_->is_listening(); }

}  // namespace wbem
