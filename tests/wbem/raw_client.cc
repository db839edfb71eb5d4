#include "wbem/raw_client.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <utility>

RawClient::RawClient(int port, int family)
    : socket_(socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in v4{};
  v4.sin_family = AF_INET;
  v4.sin_port = htons(static_cast<in_port_t>(port));
  v4.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  sockaddr_in6 v6{};
  v6.sin6_family = AF_INET6;
  v6.sin6_port = v4.sin_port;
  v6.sin6_addr = in6addr_loopback;
  const bool is_v6 = family == AF_INET6;
  const void* address = is_v6 ? static_cast<const void*>(&v6) : &v4;
  const socklen_t size = is_v6 ? sizeof v6 : sizeof v4;
  if (socket_ < 0 || connect(socket_, static_cast<const sockaddr*>(address), size) != 0) {
    throw std::system_error(errno, std::generic_category(), "connect");
  }
}

RawClient::~RawClient() {
  if (socket_ >= 0) close(socket_);
}

bool RawClient::Send(const std::string& bytes) {
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    const ssize_t count = send(socket_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (count <= 0) return false;
    sent += static_cast<std::size_t>(count);
  }
  return true;
}

void RawClient::EndSending() { shutdown(socket_, SHUT_WR); }

void RawClient::Reset() {
  const linger at_once{1, 0};
  setsockopt(socket_, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
  close(socket_);
  socket_ = -1;
}

bool RawClient::Fill() {
  std::array<char, 65536> bytes;
  const ssize_t count = recv(socket_, bytes.data(), bytes.size(), 0);
  if (count <= 0) return false;
  received_.append(bytes.data(), static_cast<std::size_t>(count));
  return true;
}

std::optional<std::string> RawClient::Line() {
  std::size_t end = 0;
  while ((end = received_.find("\r\n")) == std::string::npos) {
    if (!Fill()) return std::nullopt;
  }
  std::string line = received_.substr(0, end);
  received_.erase(0, end + 2);
  return line;
}

std::optional<std::string> RawClient::Bytes(std::size_t count) {
  while (received_.size() < count) {
    if (!Fill()) return std::nullopt;
  }
  std::string bytes = received_.substr(0, count);
  received_.erase(0, count);
  return bytes;
}

bool RawClient::Chunks(const std::function<void(const std::string& piece)>& take) {
  while (true) {
    const auto size = Line();
    if (!size) return false;
    const auto chunk = Bytes(std::strtoul(size->c_str(), nullptr, 16));
    if (!chunk || !Line()) return false;
    if (chunk->empty()) return true;
    take(*chunk);
  }
}

std::optional<RawResponse> RawClient::Head() {
  RawResponse response;
  const auto status = Line();
  if (!status || !status->starts_with("HTTP/1.1 ")) return std::nullopt;
  response.status = static_cast<int>(std::strtol(status->c_str() + 9, nullptr, 10));
  for (auto line = Line(); line != ""; line = Line()) {
    if (!line) return std::nullopt;
    const std::size_t colon = line->find(": ");
    std::string name = line->substr(0, colon);
    std::transform(name.begin(), name.end(), name.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    response.headers[name] = colon == std::string::npos ? "" : line->substr(colon + 2);
  }
  return response;
}

std::optional<RawResponse> RawClient::Receive() {
  auto response = Head();
  if (!response || response->status == 100) return response;
  if (response->headers.contains("transfer-encoding")) {
    if (!Chunks([&](const std::string& piece) { response->body += piece; })) return std::nullopt;
  } else if (response->headers.contains("content-length")) {
    auto body = Bytes(std::strtoul(response->headers.at("content-length").c_str(), nullptr, 10));
    if (!body) return std::nullopt;
    response->body = std::move(*body);
  } else {
    while (Fill()) {
    }
    response->body = std::exchange(received_, {});
  }
  return response;
}

bool RawClient::ReceivePieces(const std::function<void(const std::string& piece)>& take) {
  const auto response = Head();
  return response && response->headers.contains("transfer-encoding") && Chunks(take);
}

bool RawClient::HasInput() const {
  pollfd input{socket_, POLLIN, 0};
  return !received_.empty() || poll(&input, 1, 0) > 0;
}

bool RawClient::IsEnded() {
  if (!received_.empty()) return false;
  return !Fill();
}
