// A flag that poll() can wait for.
//
// Thread rule: thread-safe.

#ifndef WBEM_EVENT_H_
#define WBEM_EVENT_H_

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace wbem {

class Event {
 public:
  Event() : fd_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (fd_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
  }
  ~Event() { close(fd_); }
  Event(const Event&) = delete;
  Event& operator=(const Event&) = delete;

  void Set() { eventfd_write(fd_, 1); }
  void Clear() {
    eventfd_t value = 0;
    eventfd_read(fd_, &value);
  }
  bool IsSet() const {
    pollfd wanted{fd_, POLLIN, 0};
    return poll(&wanted, 1, 0) == 1;
  }

  // Readable while the flag is set.
  int fd() const { return fd_; }

 private:
  const int fd_;
};

}  // namespace wbem

#endif  // WBEM_EVENT_H_
