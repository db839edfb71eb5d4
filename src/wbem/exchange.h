// One request and the response to it, between the worker thread that answers and the thread that
// reads and writes all connections. The response goes piece by piece: while one is being written
// the worker makes the next and then waits, so that a slow client costs no more memory than two
// pieces.
//
// Thread rule: what is said at each part; between the two threads it is thread-safe.

#ifndef WBEM_EXCHANGE_H_
#define WBEM_EXCHANGE_H_

#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "wbem/answer_stream.h"
#include "wbem/http_message.h"
#include "wbem/request_log.h"

namespace wbem {

class Exchange : public ByteSink {
 public:
  enum class End {
    kNone,      // more pieces follow
    kComplete,  // the last piece
    kCutOff,    // no more pieces, though the response is not whole
  };
  struct Piece {
    std::string bytes;
    End end = End::kNone;
  };

  // `notify` is called on the worker's thread after each piece.
  Exchange(HttpRequest request, std::function<void()> notify);

  const HttpRequest& request() const { return request_; }

  // The worker's part. ----------------------------------------------------------------------------

  // Status and headers of the response, and the first bytes of its body. Before any Write.
  void Begin(HttpResponse response);
  // Further bytes of the body. Waits while the client is slow. Throws StreamBroken once it is gone.
  void Write(std::string_view bytes) override;
  // Ends the response.
  void Finish();
  // Ends it where it cannot be completed: with a 500 in its place, where nothing of it was handed
  // over.
  void Fail(std::string_view reason);
  // What the log is to say of the request: the handler adds operation, class, error and elements,
  // the exchange itself status and bytes.
  RequestRecord& record() { return record_; }

  // The writing thread's part. --------------------------------------------------------------------

  // Status and headers, once there is a piece.
  const HttpResponse& response() const { return response_; }
  // The piece that is to be written, after a notification; stays until Written or Break.
  const Piece& piece() const { return *piece_; }
  // The piece is written: there is room for the next.
  void Written();
  // The client is gone: whatever the worker does from now on comes to nothing.
  void Break();

 private:
  bool HandOver(Piece piece);

  const HttpRequest request_;
  const std::function<void()> notify_;

  // The worker's, until it has handed the first piece over.
  HttpResponse response_;
  // The worker's. Held back until more follows, so that a short response is one piece.
  std::string held_;
  bool handed_over_ = false;
  RequestRecord record_;

  std::mutex mutex_;
  std::condition_variable room_;
  std::optional<Piece> piece_;
  bool broken_ = false;
};

}  // namespace wbem

#endif  // WBEM_EXCHANGE_H_
