// One client's connection, as the stream that httplib reads requests from and writes answers to. It
// bounds what httplib does not: how long a request may take to arrive, how long its headers are,
// and how long a client may take to read an answer.
//
// Thread rule: one thread per connection; Break may be called from any.

#ifndef WBEM_CONNECTION_H_
#define WBEM_CONNECTION_H_

#include <httplib.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <string>

#include "wbem/connection_limits.h"
#include "wbem/event.h"

namespace wbem {

class Connection : public httplib::Stream {
 public:
  using Clock = std::chrono::steady_clock;

  // Takes over the socket of a client that came at `arrival`. `limits` must outlive the object.
  Connection(int socket, Clock::time_point arrival, const ConnectionLimits& limits);
  // Lets the client read what was written, and closes the socket.
  ~Connection() override;

  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // Waits for a request and makes it the current one. False when there is none: the client is gone
  // or idle for too long, or `stop` or, after a grace, `pressure` is set.
  bool NextRequest(const Event& stop, const Event& pressure);
  // Whether the current request came with a mandatory method ("M-POST", RFC 2774). httplib, which
  // does not know these, reads "POST".
  bool is_mandatory() const { return mandatory_; }

  // Asks whoever serves the connection to end it after the current answer.
  void EndAfterAnswer() { ending_ = true; }
  bool is_ending() const { return ending_; }

  // Makes all further reading and writing fail.
  void Break();

  bool is_readable() const override;
  bool is_writable() const override;
  ssize_t read(char* to, size_t size) override;
  ssize_t write(const char* from, size_t size) override;
  void get_remote_ip_and_port(std::string& ip, int& port) const override;
  void get_local_ip_and_port(std::string& ip, int& port) const override;
  socket_t socket() const override { return socket_; }

 private:
  bool Fill();
  bool IsTooLong(const char* handed_out, std::size_t size);
  bool AwaitInput(const Event& stop, const Event& pressure) const;
  void Linger() const;

  const int socket_;
  const Clock::time_point arrival_;
  const ConnectionLimits& limits_;
  std::array<char, 4096> buffer_{};
  std::size_t begin_ = 0;  // what is read but not handed out
  std::size_t end_ = 0;

  // Of the current request:
  Clock::time_point read_deadline_;
  Clock::time_point write_deadline_;  // the epoch before the first write
  std::size_t handed_out_ = 0;
  std::size_t line_length_ = 0;  // of the header line that is being handed out
  bool in_header_ = true;
  bool mandatory_ = false;

  bool served_ = false;  // there was a request
  bool ending_ = false;
};

}  // namespace wbem

#endif  // WBEM_CONNECTION_H_
