// What the kernel says about PCI functions that come and go.
//
// Thread rule: one thread at a time.

#ifndef PCI_KERNEL_EVENTS_H_
#define PCI_KERNEL_EVENTS_H_

#include <string_view>

namespace pci {

// Whether a message of the kernel (NETLINK_KOBJECT_UEVENT: "add@/devices/...", then "NAME=VALUE"
// texts, each ended by a null byte) says that a PCI function has come or gone.
bool IsComingOrGoing(std::string_view message);

class KernelEvents {
 public:
  // Listens from now on. Throws std::system_error where that is not possible.
  KernelEvents();
  ~KernelEvents();
  KernelEvents(const KernelEvents&) = delete;
  KernelEvents& operator=(const KernelEvents&) = delete;

  // Readable while there are messages.
  int descriptor() const { return socket_; }

  // Reads all messages that have come. Whether functions have come or gone, or may have: messages
  // are lost where too many come at once.
  bool Read() const;

 private:
  const int socket_;
};

}  // namespace pci

#endif  // PCI_KERNEL_EVENTS_H_
