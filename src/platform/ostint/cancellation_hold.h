// Puts off the cancellation of the calling thread (pthread_cancel) while a call of the object
// manager is in the library. Cancellation unwinds the stack by force, which neither handlers that
// keep exceptions in nor pthread_once survive: the process would end. The thread ends where the
// object manager's own code next allows it.
//
// Thread rule: belongs to the thread that makes it.

#ifndef PLATFORM_OSTINT_CANCELLATION_HOLD_H_
#define PLATFORM_OSTINT_CANCELLATION_HOLD_H_

#include <pthread.h>

namespace ostInt {

class CancellationHold {
 public:
  CancellationHold() noexcept { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &state_); }
  ~CancellationHold() {
    int disabled = 0;
    pthread_setcancelstate(state_, &disabled);
  }
  CancellationHold(const CancellationHold&) = delete;
  CancellationHold& operator=(const CancellationHold&) = delete;

 private:
  int state_ = PTHREAD_CANCEL_ENABLE;
};

}  // namespace ostInt

#endif  // PLATFORM_OSTINT_CANCELLATION_HOLD_H_
