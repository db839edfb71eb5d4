#include "wbem/connection.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace wbem {

namespace {

using std::chrono::milliseconds;
using Clock = Connection::Clock;

// How long, and for how many bytes, a connection that ends early reads on so that the client gets
// the answer: closing with unread input would make the kernel take the answer back.
constexpr milliseconds kLinger{500};
constexpr std::size_t kLingerBytes = 16U << 20U;

int MillisecondsUntil(Clock::time_point deadline) {
  const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now());
  return static_cast<int>(std::clamp<milliseconds::rep>(left.count(), 0, 1'000'000'000));
}

// Whether one of the descriptors is ready before the deadline.
bool Poll(pollfd* wanted, nfds_t count, Clock::time_point deadline) {
  while (true) {
    const int ready = poll(wanted, count, MillisecondsUntil(deadline));
    if (ready > 0) return true;
    if (ready == 0 || errno != EINTR) return false;
  }
}

bool AwaitReady(int socket, short events, Clock::time_point deadline) {
  pollfd wanted{socket, events, 0};
  return Poll(&wanted, 1, deadline);
}

}  // namespace

Connection::Connection(int socket, Clock::time_point arrival, const ConnectionLimits& limits)
    : socket_(socket), arrival_(arrival), limits_(limits) {}

Connection::~Connection() {
  if (ending_) Linger();
  close(socket_);
}

void Connection::Linger() const {
  if (shutdown(socket_, SHUT_WR) != 0) return;
  const auto deadline = Clock::now() + kLinger;
  std::array<char, 4096> discarded{};
  std::size_t total = 0;
  while (total < kLingerBytes && AwaitReady(socket_, POLLIN, deadline)) {
    const ssize_t size = recv(socket_, discarded.data(), discarded.size(), MSG_DONTWAIT);
    if (size <= 0) return;
    total += static_cast<std::size_t>(size);
  }
}

void Connection::Break() { shutdown(socket_, SHUT_RDWR); }

bool Connection::AwaitInput(const Event& stop, const Event& pressure) const {
  const auto now = Clock::now();
  const auto deadline = now + limits_.idle;
  pollfd wanted[] = {{socket_, POLLIN, 0}, {stop.fd(), POLLIN, 0}, {pressure.fd(), POLLIN, 0}};
  // A client that has just come would take the end of its connection for a failure; one that has
  // had an answer connects again. One that has long waited for a thread had the time to send.
  const auto grace = served_ ? now + limits_.grace : arrival_ + limits_.first_grace;
  if (!Poll(wanted, 2, std::min(grace, deadline)) && !Poll(wanted, 3, deadline)) return false;
  return wanted[0].revents != 0 && wanted[1].revents == 0;
}

bool Connection::NextRequest(const Event& stop, const Event& pressure) {
  if (stop.IsSet()) return false;
  if (begin_ == end_ && !AwaitInput(stop, pressure)) return false;
  served_ = true;
  read_deadline_ = Clock::now() + limits_.request;
  write_deadline_ = {};
  handed_out_ = 0;
  line_length_ = 0;
  in_header_ = true;

  while (end_ - begin_ < 2) {
    if (!Fill()) return false;
  }
  mandatory_ = buffer_[begin_] == 'M' && buffer_[begin_ + 1] == '-';
  if (mandatory_) begin_ += 2;
  return true;
}

// Reads more behind what is not handed out yet.
bool Connection::Fill() {
  std::copy(buffer_.begin() + static_cast<std::ptrdiff_t>(begin_),
            buffer_.begin() + static_cast<std::ptrdiff_t>(end_), buffer_.begin());
  end_ -= begin_;
  begin_ = 0;
  if (!AwaitReady(socket_, POLLIN, read_deadline_)) return false;
  const ssize_t size = recv(socket_, buffer_.data() + end_, buffer_.size() - end_, MSG_DONTWAIT);
  if (size <= 0) return false;
  end_ += static_cast<std::size_t>(size);
  return true;
}

// Counts what is handed out, and notices the empty line that ends the headers.
bool Connection::IsTooLong(const char* handed_out, std::size_t size) {
  handed_out_ += size;
  for (std::size_t i = 0; in_header_ && i < size; ++i) {
    if (handed_out[i] == '\n') {
      in_header_ = line_length_ != 0;
      line_length_ = 0;
    } else if (handed_out[i] != '\r') {
      ++line_length_;
    }
  }
  return handed_out_ > (in_header_ ? limits_.header_bytes : limits_.request_bytes);
}

ssize_t Connection::read(char* to, size_t size) {
  if (begin_ == end_ && !Fill()) return -1;
  const std::size_t count = std::min(size, end_ - begin_);
  std::copy_n(buffer_.data() + begin_, count, to);
  begin_ += count;
  if (!IsTooLong(to, count)) return static_cast<ssize_t>(count);
  ending_ = true;
  return -1;
}

ssize_t Connection::write(const char* from, size_t size) {
  const auto now = Clock::now();
  if (write_deadline_ == Clock::time_point()) write_deadline_ = now + limits_.answer;
  const auto deadline = std::min(now + limits_.write_stall, write_deadline_);
  if (!AwaitReady(socket_, POLLOUT, deadline)) return -1;
  return send(socket_, from, size, MSG_NOSIGNAL | MSG_DONTWAIT);
}

bool Connection::is_readable() const { return begin_ != end_ || AwaitReady(socket_, POLLIN, {}); }

bool Connection::is_writable() const {
  return AwaitReady(socket_, POLLOUT, Clock::now() + limits_.write_stall);
}

// Nobody here asks where a client is: it is on this host.
void Connection::get_remote_ip_and_port(std::string& ip, int& port) const {
  ip.clear();
  port = 0;
}
void Connection::get_local_ip_and_port(std::string& ip, int& port) const {
  ip.clear();
  port = 0;
}

}  // namespace wbem
