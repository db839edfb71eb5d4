// A TCP client that sends what a test says, byte for byte.
//
// Thread rule: one thread per client.

#ifndef WBEM_RAW_CLIENT_H_
#define WBEM_RAW_CLIENT_H_

#include <sys/socket.h>

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>

// An HTTP response: the status, the headers (names in lower case), the body without its chunks.
struct RawResponse {
  int status = 0;
  std::map<std::string, std::string> headers;
  std::string body;
};

class RawClient {
 public:
  // Connects to the port of this host, at its address of that family. Throws std::system_error.
  explicit RawClient(int port, int family = AF_INET);
  ~RawClient();
  RawClient(const RawClient&) = delete;
  RawClient& operator=(const RawClient&) = delete;

  // False where the server takes no more.
  bool Send(const std::string& bytes);
  // Says that no more will come.
  void EndSending();
  // Ends the connection in an instant, answers or not.
  void Reset();

  // The next response; nothing when the connection ends before the response does.
  std::optional<RawResponse> Receive();
  // The same for a response in chunks, of which each is handed over and forgotten. False when the
  // connection ends before the response does.
  bool ReceivePieces(const std::function<void(const std::string& piece)>& take);
  // Whether there is something to receive, or the end of the connection.
  bool HasInput() const;
  // Whether the server has ended the connection, everything else having been received. Waits for
  // it.
  bool IsEnded();

 private:
  bool Fill();
  std::optional<std::string> Line();
  std::optional<std::string> Bytes(std::size_t count);
  std::optional<RawResponse> Head();
  bool Chunks(const std::function<void(const std::string& piece)>& take);

  int socket_;
  std::string received_;
};

#endif  // WBEM_RAW_CLIENT_H_
