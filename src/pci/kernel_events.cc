#include "pci/kernel_events.h"

#include <linux/netlink.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace pci {

bool IsComingOrGoing(std::string_view message) {
  bool is_pci = false;
  bool comes_or_goes = false;
  while (!message.empty()) {
    const std::string_view text = message.substr(0, message.find('\0'));
    is_pci = is_pci || text == "SUBSYSTEM=pci";
    comes_or_goes = comes_or_goes || text == "ACTION=add" || text == "ACTION=remove";
    message.remove_prefix(text.size() < message.size() ? text.size() + 1 : text.size());
  }
  return is_pci && comes_or_goes;
}

KernelEvents::KernelEvents()
    : socket_(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_KOBJECT_UEVENT)) {
  sockaddr_nl address{};
  address.nl_family = AF_NETLINK;
  address.nl_groups = 1;  // the kernel's own messages
  if (socket_ < 0 || bind(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    const int error = errno;
    if (socket_ >= 0) close(socket_);
    throw std::system_error(error, std::generic_category(), "the kernel's events");
  }
}

KernelEvents::~KernelEvents() { close(socket_); }

bool KernelEvents::Read() const {
  bool found = false;
  std::array<char, 8192> message;
  while (true) {
    sockaddr_nl sender{};
    socklen_t size = sizeof sender;
    const ssize_t count = recvfrom(socket_, message.data(), message.size(), 0,
                                   reinterpret_cast<sockaddr*>(&sender), &size);
    if (count < 0 && errno == ENOBUFS) {
      found = true;
    } else if (count < 0 && errno != EINTR) {
      return found;
    } else if (count > 0 && sender.nl_pid == 0) {  // the kernel itself, not another process
      found = found || IsComingOrGoing({message.data(), static_cast<std::size_t>(count)});
    }
  }
}

}  // namespace pci
