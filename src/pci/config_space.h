// A function's configuration space: what it is, the buses behind it, the chain of its capabilities,
// its PCI Express link and slot (PCI Local Bus 3.0, chapter 6; PCI Express Base, 7.5).
//
// In a copy, registers are bytes of a file: they are had at once, because each piece costs a system
// call. On the running kernel a register costs a cycle on the bus, or an exit of the virtual
// machine: many times what a system call costs. Some chips lock up where a register is read that
// they do not have. There only the registers that are wanted are read.
// Thread rule: one thread at a time.

#ifndef PCI_CONFIG_SPACE_H_
#define PCI_CONFIG_SPACE_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "pci/function.h"

namespace pci {

class ConfigSpace {
 public:
  // Bytes of configuration space that hold the header and every capability of the chain.
  static constexpr std::size_t kSize = 256;
  static constexpr std::size_t kHeaderSize = 64;

  enum class Fetch { kAtOnce, kAsWanted };

  // The start of a configuration space, of which no more than kSize bytes count.
  explicit ConfigSpace(std::span<const std::uint8_t> bytes);

  // What can be read of an open "config" file, which the caller keeps open. Negative: nothing.
  ConfigSpace(int file, Fetch fetch);

  // Whether there is a header, and not all ones as of a function that has gone.
  bool Answer() { return HasHeader() && !HasGone(); }

  // A virtual function (SR-IOV) reads all ones in its id registers, and nowhere else (PCI Express
  // Base, 9.3.4.1).
  bool HideIds() { return Answer() && Long(0) == 0xffffffff; }

  // Sets ids and class as the registers have them, also where all of them read as ones.
  void Identify(Function& function);

  // Sets the rest of what registers that answer tell, and puts the chain of capabilities behind
  // those that are there. A chain that loops ends there.
  void Describe(Function& function, std::vector<Capability>& capabilities);

  // Sets the subsystem's ids of a function that has been described, with its chain.
  void FindSubsystem(Function& function, std::span<const Capability> chain);

 private:
  static constexpr std::size_t kIdentitySize = 16;

  bool HasHeader() { return Holds(0, kIdentitySize); }
  bool HasGone();
  bool Holds(std::size_t position, std::size_t size);
  void FetchFromFile(std::size_t position, std::size_t size);
  std::uint8_t Byte(std::size_t position);
  std::uint16_t Word(std::size_t position);
  std::uint32_t Long(std::size_t position);
  void WalkChain(Function& function, std::vector<Capability>& capabilities);
  void DescribeExpress(std::size_t position, Function& function);

  int file_ = -1;  // where registers that are not held can be had
  std::array<std::uint8_t, kSize> bytes_;
  std::uint64_t held_ = 0;  // a bit for each register of four bytes
};

}  // namespace pci

#endif  // PCI_CONFIG_SPACE_H_
