#include "wbem/exchange.h"

#include <utility>

namespace wbem {

Exchange::Exchange(HttpRequest request, std::function<void()> notify)
    : request_(std::move(request)), notify_(std::move(notify)) {}

void Exchange::Begin(HttpResponse response) {
  held_ = std::exchange(response.body, {});
  response_ = std::move(response);
}

void Exchange::Write(std::string_view bytes) {
  if (!held_.empty() && !HandOver({std::exchange(held_, {}), End::kNone})) {
    throw StreamBroken("the client is gone");
  }
  held_ = bytes;
}

void Exchange::Finish() {
  if (HandOver({std::exchange(held_, {}), End::kComplete})) record_.status = response_.status;
}

void Exchange::Fail(std::string_view reason) {
  if (handed_over_) {
    HandOver({{}, End::kCutOff});
  } else {
    Begin(PlainResponse(500, reason));
    Finish();
  }
}

// False where the client is gone.
bool Exchange::HandOver(Piece piece) {
  const std::size_t bytes = piece.bytes.size();
  {
    std::unique_lock lock(mutex_);
    room_.wait(lock, [this] { return !piece_ || broken_; });
    if (broken_) return false;
    piece_ = std::move(piece);
    handed_over_ = true;
    record_.bytes += bytes;
  }
  notify_();
  return true;
}

void Exchange::Written() {
  const std::lock_guard lock(mutex_);
  piece_.reset();
  room_.notify_one();
}

void Exchange::Break() {
  const std::lock_guard lock(mutex_);
  broken_ = true;
  room_.notify_one();
}

}  // namespace wbem
