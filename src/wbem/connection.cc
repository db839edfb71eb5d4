#include "wbem/connection.h"

#include <fmt/format.h>
#include <netdb.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/generic/stream_protocol.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/buffer_body.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/serializer.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/write.hpp>
#include <chrono>
#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "cim/text.h"

namespace wbem {

namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;

using boost::system::error_code;
using cim::EqualIgnoringCase;
using Clock = std::chrono::steady_clock;
using Socket = asio::generic::stream_protocol::socket;
using RequestParser = http::request_parser<http::string_body>;

// How long, and for how many bytes, a connection that ends before its client does reads on so that
// the client gets the answer: closing with unread input would make the kernel take the answer back.
constexpr std::chrono::milliseconds kLinger{500};
constexpr std::size_t kLingerBytes = 16U << 20U;
constexpr std::size_t kLingerStep = 64U << 10U;

// Bodies that are never too many: what clients send has some thousand bytes.
constexpr std::size_t kShortBody = 64U << 10U;

constexpr std::string_view kGoOn = "HTTP/1.1 100 Continue\r\n\r\n";

template <class Text>
std::string ToString(const Text& text) {
  return {text.data(), text.size()};
}

HttpRequest HeadOf(const RequestParser& parser) {
  const auto& message = parser.get();
  HttpRequest request;
  request.method = ToString(message.method_string());
  request.is_old = message.version() < 11;
  for (const auto& field : message) {
    request.headers.push_back({ToString(field.name_string()), ToString(field.value())});
  }
  return request;
}

HttpResponse UnreadableRequest(const error_code& error) {
  if (error == http::error::header_limit) {
    return PlainResponse(431, "the headers are too long");
  }
  if (error == http::error::body_limit) return PlainResponse(413, "the request is too long");
  return PlainResponse(400, "this is not HTTP: " + error.message());
}

// What a request's head says about how its body comes, where that is not understood.
std::optional<HttpResponse> CheckFraming(const HttpRequest& head) {
  // Where the body ends is then not known: what follows could be taken for another request.
  const std::string_view coding = head.Header("Transfer-Encoding");
  if (head.Has("Transfer-Encoding") && (head.is_old || !EqualIgnoringCase(coding, "chunked"))) {
    return PlainResponse(501, "the transfer coding is not chunked");
  }
  if (head.Has("Expect") && !EqualIgnoringCase(head.Header("Expect"), "100-continue")) {
    return PlainResponse(417, "nothing but 100-continue can be expected");
  }
  return std::nullopt;
}

// The part of all requests' bytes that one request has, given back with it.
class BodyBytes {
 public:
  explicit BodyBytes(std::atomic<std::size_t>& all) : all_(all) {}
  ~BodyBytes() { all_ -= count_; }
  BodyBytes(const BodyBytes&) = delete;
  BodyBytes& operator=(const BodyBytes&) = delete;

  void Set(std::size_t count) {
    all_ += count - count_;  // what is less wraps around, and back
    count_ = count;
  }

 private:
  std::atomic<std::size_t>& all_;
  std::size_t count_ = 0;
};

void Log(const ConnectionShare& share, Exchange& exchange, const std::string& client,
         Clock::duration time) {
  if (!share.log) return;
  RequestRecord record = exchange.record();
  record.client = client;
  record.time = time;
  share.log(LogLine(record));
}

class HttpConnection final : public Connection,
                             public std::enable_shared_from_this<HttpConnection> {
 public:
  HttpConnection(Socket socket, ConnectionShare& share, std::function<void(Connection&)> ended)
      : share_(share),
        ended_(std::move(ended)),
        socket_(std::move(socket)),
        deadline_(share.context) {}

  void AwaitRequest();
  void EndSoon() override;
  void Break() override;

 private:
  enum class Phase { kIdle, kReading, kAnswering, kLingering, kEnded };

  // One step after the other: each starts what calls the next.
  void ReadHead();
  void OnHead(const error_code& error);
  void TellToGoOn();
  void ReadBody();
  void OnBody(const error_code& error);
  void HandToWorker();
  void WritePiece();
  void OnPieceWritten(const error_code& error);
  void Linger();
  void ReadOn();

  // Writes a response that is made here, and ends the connection unless the request is whole.
  void Respond(HttpResponse response);
  void OnReadError(const error_code& error);
  void BeginResponse(bool is_whole);

  std::string Client();

  void SetDeadline(Clock::time_point when);
  void OnDeadline();

  // `then`, as what Asio calls when something is done; it keeps the connection alive until then.
  template <class Then>
  auto Next(Then then) {
    return [self = shared_from_this(), then](const error_code& error, std::size_t size = 0) {
      if (self->phase_ != Phase::kEnded) then(*self, error, size);
    };
  }

  ConnectionShare& share_;
  const std::function<void(Connection&)> ended_;
  Socket socket_;
  asio::steady_timer deadline_;
  boost::beast::flat_buffer buffer_;  // what is read but not taken apart
  Phase phase_ = Phase::kIdle;
  bool is_late_ = false;   // a request that is being read
  bool goes_on_ = true;    // with another request
  bool is_whole_ = false;  // the current request has come to its end

  // Of the current request:
  std::optional<RequestParser> parser_;
  std::shared_ptr<BodyBytes> body_bytes_;
  Clock::time_point last_deadline_;  // of reading it, then of answering it
  HttpRequest request_;              // until it is handed to a worker
  std::shared_ptr<Exchange> exchange_;
  http::response<http::buffer_body> response_;
  std::optional<http::response_serializer<http::buffer_body>> serializer_;
  std::size_t lingered_ = 0;
};

// -------------------------------------------------------------------------------------------------
// Reading

void HttpConnection::AwaitRequest() {
  phase_ = Phase::kIdle;
  serializer_.reset();
  exchange_.reset();
  if (buffer_.size() != 0) {  // sent ahead
    ReadHead();
    return;
  }
  buffer_ = {};
  SetDeadline(Clock::now() + share_.limits.idle);
  // A silent client takes no buffer.
  socket_.async_wait(asio::socket_base::wait_read,
                     Next([](HttpConnection& self, const error_code& error, std::size_t /*size*/) {
                       error ? self.Break() : self.ReadHead();
                     }));
}

void HttpConnection::ReadHead() {
  phase_ = Phase::kReading;
  is_late_ = false;
  is_whole_ = false;
  parser_.emplace();
  parser_->header_limit(static_cast<std::uint32_t>(share_.limits.head_bytes));
  parser_->body_limit(share_.limits.body_bytes);
  const auto now = Clock::now();
  last_deadline_ = now + share_.limits.request;
  SetDeadline(std::min(now + share_.limits.head, last_deadline_));
  http::async_read_header(socket_, buffer_, *parser_,
                          Next([](HttpConnection& self, const error_code& error,
                                  std::size_t /*size*/) { self.OnHead(error); }));
}

void HttpConnection::OnHead(const error_code& error) {
  if (error) {
    OnReadError(error);
    return;
  }
  request_ = HeadOf(*parser_);
  body_bytes_ = std::make_shared<BodyBytes>(share_.body_bytes);
  goes_on_ = goes_on_ && parser_->keep_alive() && !request_.is_old;
  std::optional<HttpResponse> answer = CheckFraming(request_);
  if (!answer) answer = share_.handler.AnswerHead(request_);
  if (answer) {
    Respond(std::move(*answer));
  } else if (parser_->is_done()) {
    HandToWorker();
  } else if (request_.Has("Expect") && !request_.is_old) {
    TellToGoOn();
  } else {
    ReadBody();
  }
}

void HttpConnection::TellToGoOn() {
  SetDeadline(last_deadline_);
  asio::async_write(socket_, asio::buffer(kGoOn),
                    Next([](HttpConnection& self, const error_code& error, std::size_t /*size*/) {
                      error ? self.OnReadError(error) : self.ReadBody();
                    }));
}

void HttpConnection::ReadBody() {
  SetDeadline(last_deadline_);
  parser_->eager(true);
  http::async_read_some(socket_, buffer_, *parser_,
                        Next([](HttpConnection& self, const error_code& error,
                                std::size_t /*size*/) { self.OnBody(error); }));
}

void HttpConnection::OnBody(const error_code& error) {
  if (error) {
    OnReadError(error);
    return;
  }
  const std::size_t size = parser_->get().body().size();
  body_bytes_->Set(size);
  if (size > kShortBody && share_.body_bytes > share_.limits.all_body_bytes) {
    Respond(PlainResponse(503, "too many long requests at once"));
  } else if (parser_->is_done()) {
    HandToWorker();
  } else {
    ReadBody();
  }
}

void HttpConnection::OnReadError(const error_code& error) {
  if (is_late_) {
    Respond(PlainResponse(408, "the request took too long to arrive"));
  } else if (error != http::error::end_of_stream &&
             error.category() == make_error_code(http::error::end_of_stream).category()) {
    Respond(UnreadableRequest(error));
  } else {
    Break();
  }
}

// -------------------------------------------------------------------------------------------------
// Answering

void HttpConnection::HandToWorker() {
  phase_ = Phase::kAnswering;
  is_whole_ = true;
  request_.body = std::move(parser_->get().body());
  parser_.reset();
  last_deadline_ = Clock::now() + share_.limits.answer;
  SetDeadline(last_deadline_);
  exchange_ = std::make_shared<Exchange>(std::exchange(request_, {}),
                                         [weak = weak_from_this(), &context = share_.context] {
                                           asio::post(context, [weak] {
                                             const auto self = weak.lock();
                                             if (self && self->phase_ == Phase::kAnswering)
                                               self->WritePiece();
                                           });
                                         });
  share_.workers.Run([exchange = exchange_, &share = share_, client = Client(),
                      bytes = std::exchange(body_bytes_, nullptr),
                      guard = asio::make_work_guard(share_.context)] {
    const auto start = Clock::now();
    try {
      share.handler.Answer(*exchange);
      exchange->Finish();
    } catch (const std::exception& error) {
      exchange->Fail(error.what());
    }
    Log(share, *exchange, client, Clock::now() - start);
  });
}

// For the log: "127.0.0.1:40712". Empty where nobody logs.
std::string HttpConnection::Client() {
  sockaddr_storage address{};
  socklen_t size = sizeof address;
  std::array<char, NI_MAXHOST> host{};
  std::array<char, NI_MAXSERV> port{};
  auto* const peer = reinterpret_cast<sockaddr*>(&address);
  if (!share_.log || getpeername(socket_.native_handle(), peer, &size) != 0 ||
      getnameinfo(peer, size, host.data(), host.size(), port.data(), port.size(),
                  NI_NUMERICHOST | NI_NUMERICSERV) != 0) {
    return {};
  }
  if (peer->sa_family == AF_INET6) return fmt::format("[{}]:{}", host.data(), port.data());
  return fmt::format("{}:{}", host.data(), port.data());
}

void HttpConnection::Respond(HttpResponse response) {
  phase_ = Phase::kAnswering;
  last_deadline_ = Clock::now() + share_.limits.answer;
  is_whole_ = parser_->is_done();
  goes_on_ = goes_on_ && is_whole_;
  parser_.reset();
  exchange_ = std::make_shared<Exchange>(std::exchange(request_, {}), [] {});
  body_bytes_.reset();
  exchange_->Begin(std::move(response));
  exchange_->Finish();
  // Whoever reads the log may be slow: no work for this thread.
  if (share_.log) {
    share_.workers.Run([exchange = exchange_, &share = share_, client = Client()] {
      Log(share, *exchange, client, {});
    });
  }
  WritePiece();
}

// Frames the response: by its length where all of it is there, else in chunks.
void HttpConnection::BeginResponse(bool is_whole) {
  const HttpResponse& head = exchange_->response();
  goes_on_ = goes_on_ && head.status < 400 && (is_whole || !exchange_->request().is_old);
  response_ = {};
  response_.result(static_cast<unsigned>(head.status));
  for (const auto& [name, value] : head.headers) response_.insert(name, value);
  if (is_whole) {
    response_.content_length(exchange_->piece().bytes.size());
  } else {
    response_.chunked(!exchange_->request().is_old);
  }
  response_.keep_alive(goes_on_);
  serializer_.emplace(response_);
}

void HttpConnection::WritePiece() {
  const Exchange::Piece& piece = exchange_->piece();
  const bool is_last = piece.end == Exchange::End::kComplete;
  if (piece.end == Exchange::End::kCutOff) {
    goes_on_ = false;
    Linger();
    return;
  }
  if (!serializer_) BeginResponse(is_last);
  auto& body = response_.body();
  // The body does not change what it is given to write.
  body.data = piece.bytes.empty() ? nullptr : const_cast<char*>(piece.bytes.data());
  body.size = piece.bytes.size();
  body.more = !is_last;
  SetDeadline(std::min(Clock::now() + share_.limits.piece, last_deadline_));
  http::async_write(
      socket_, *serializer_,
      [self = shared_from_this(), exchange = exchange_](error_code error, std::size_t /*size*/) {
        if (error == http::error::need_buffer) error = {};
        if (self->phase_ != Phase::kEnded) self->OnPieceWritten(error);
      });
}

void HttpConnection::OnPieceWritten(const error_code& error) {
  if (error) {
    Break();
    return;
  }
  const bool was_last = exchange_->piece().end == Exchange::End::kComplete;
  exchange_->Written();
  if (!was_last) {
    SetDeadline(last_deadline_);
  } else if (goes_on_) {
    AwaitRequest();
  } else {
    Linger();
  }
}

// -------------------------------------------------------------------------------------------------
// Ending

void HttpConnection::Linger() {
  phase_ = Phase::kLingering;
  error_code error;
  if (is_whole_ && buffer_.size() == 0 && socket_.available(error) == 0) {
    Break();
    return;
  }
  socket_.shutdown(asio::socket_base::shutdown_send, error);
  SetDeadline(Clock::now() + kLinger);
  buffer_.clear();
  ReadOn();
}

void HttpConnection::ReadOn() {
  socket_.async_read_some(buffer_.prepare(kLingerStep),
                          Next([](HttpConnection& self, const error_code& error, std::size_t size) {
                            self.lingered_ += size;
                            error || self.lingered_ > kLingerBytes ? self.Break() : self.ReadOn();
                          }));
}

void HttpConnection::EndSoon() {
  goes_on_ = false;
  if (phase_ == Phase::kIdle || phase_ == Phase::kReading) Break();
}

void HttpConnection::Break() {
  if (phase_ == Phase::kEnded) return;
  phase_ = Phase::kEnded;
  if (exchange_) exchange_->Break();
  deadline_.cancel();
  error_code error;
  socket_.close(error);
  ended_(*this);
}

void HttpConnection::SetDeadline(Clock::time_point when) {
  deadline_.expires_at(when);
  deadline_.async_wait(
      Next([](HttpConnection& self, const error_code& error, std::size_t /*size*/) {
        // A later deadline may have been set when this one was over already.
        if (!error && self.deadline_.expiry() <= Clock::now()) self.OnDeadline();
      }));
}

void HttpConnection::OnDeadline() {
  if (phase_ == Phase::kReading) {
    is_late_ = true;
    socket_.cancel();  // what is being read or written ends with an error
  } else {
    Break();
  }
}

}  // namespace

std::shared_ptr<Connection> Connection::Start(int socket, ConnectionShare& share,
                                              std::function<void(Connection&)> ended) {
  Socket owner(share.context);
  error_code error;
  owner.assign({AF_UNSPEC, 0}, socket, error);
  if (error) {
    close(socket);
    throw std::system_error(error);
  }
  auto connection = std::make_shared<HttpConnection>(std::move(owner), share, std::move(ended));
  connection->AwaitRequest();
  return connection;
}

}  // namespace wbem
