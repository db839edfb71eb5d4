#include "wbem/serve.h"

#include <poll.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <system_error>

namespace wbem {

namespace {

// Signals that are not delivered but read, so that one thread can wait for them.
class Signals {
 public:
  Signals() {
    sigemptyset(&signals_);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&signals_, signal);
    descriptor_ = signalfd(-1, &signals_, SFD_CLOEXEC | SFD_NONBLOCK);
    if (descriptor_ < 0) throw std::system_error(errno, std::generic_category(), "signalfd");
    pthread_sigmask(SIG_BLOCK, &signals_, &before_);
  }
  ~Signals() {
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    close(descriptor_);
  }
  Signals(const Signals&) = delete;
  Signals& operator=(const Signals&) = delete;

  int descriptor() const { return descriptor_; }
  // The next one that has come; 0 for none.
  int Next() const {
    signalfd_siginfo signal{};
    return read(descriptor_, &signal, sizeof signal) == sizeof signal
               ? static_cast<int>(signal.ssi_signo)
               : 0;
  }

 private:
  sigset_t signals_{};
  sigset_t before_{};
  int descriptor_;
};

// Every connection takes a descriptor, and the usual limit is that of programs that use select().
void RaiseDescriptorLimit() {
  rlimit files{};
  if (getrlimit(RLIMIT_NOFILE, &files) != 0) return;
  files.rlim_cur = files.rlim_max;
  setrlimit(RLIMIT_NOFILE, &files);
}

}  // namespace

void Serve(CurrentManager& manager, const ServerOptions& options,
           const std::optional<HostWatch>& watch, std::ostream& out) {
  constexpr int kSecond = 1'000;
  const Signals signals;
  RaiseDescriptorLimit();
  Server server(manager, options);
  server.Start();
  out << "listening on " << server.Url() << std::endl;
  while (true) {
    pollfd wanted[] = {{signals.descriptor(), POLLIN, 0},
                       {watch ? watch->descriptor : -1, POLLIN, 0}};
    poll(wanted, 2, kSecond);
    const int signal = signals.Next();
    if (signal == SIGINT || signal == SIGTERM) return;
    if (signal == SIGHUP || (watch && watch->has_changed())) manager.MarkStale();
    if (!server.is_running()) throw std::runtime_error("the server takes no more connections");
  }
}

}  // namespace wbem
