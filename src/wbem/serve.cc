#include "wbem/serve.h"

#include <sys/resource.h>

#include <csignal>
#include <ctime>
#include <stdexcept>

namespace wbem {

namespace {

// Blocks the signals that end the process, so that one thread can wait for them.
class BlockedSignals {
 public:
  BlockedSignals() {
    sigemptyset(&signals_);
    sigaddset(&signals_, SIGINT);
    sigaddset(&signals_, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals_, &before_);
  }
  ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  BlockedSignals(const BlockedSignals&) = delete;
  BlockedSignals& operator=(const BlockedSignals&) = delete;

  // Whether one of them arrives within a second.
  bool Await() const {
    constexpr timespec kSecond{1, 0};
    return sigtimedwait(&signals_, nullptr, &kSecond) > 0;
  }

 private:
  sigset_t signals_{};
  sigset_t before_{};
};

// Every connection takes a descriptor, and the usual limit is that of programs that use select().
void RaiseDescriptorLimit() {
  rlimit files{};
  if (getrlimit(RLIMIT_NOFILE, &files) != 0) return;
  files.rlim_cur = files.rlim_max;
  setrlimit(RLIMIT_NOFILE, &files);
}

}  // namespace

void Serve(broker::ObjectManager& manager, const ServerOptions& options, std::ostream& out) {
  const BlockedSignals signals;
  RaiseDescriptorLimit();
  Server server(manager, options);
  server.Start();
  out << "listening on " << server.Url() << std::endl;
  while (!signals.Await()) {
    if (!server.is_running()) throw std::runtime_error("the server takes no more connections");
  }
  server.Stop();
}

}  // namespace wbem
