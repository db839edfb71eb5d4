// Hosts whose devices differ in everything that a request can show.
//
// Thread rule: values; no shared state.

#ifndef PROVIDERS_VARIED_HOSTS_H_
#define PROVIDERS_VARIED_HOSTS_H_

#include <cstddef>
#include <cstdint>
#include <random>

#include "support/fake_host.h"

// Draws from 0 to n - 1; plain modulo, so that every standard library draws the same.
class Dice {
 public:
  explicit Dice(std::uint32_t seed) : engine_(seed) {}
  int Draw(int n) { return static_cast<int>(engine_() % static_cast<std::uint32_t>(n)); }
  bool OneIn(int n) { return Draw(n) == 0; }
  template <typename List>
  const auto& OneOf(const List& list) {
    return list[static_cast<std::size_t>(Draw(static_cast<int>(std::size(list))))];
  }

 private:
  std::mt19937 engine_;
};

// Gives every device ids, names, a slot, capabilities (at times more than 256) and numbers.
void Vary(fake::Host& host, std::uint32_t seed);

// A well-formed hierarchy, up to some thirty devices: bridges of every subclass, switches within
// switches and below bridges, downstream ports with and without devices. At times shuffled, with a
// name twice, with a downstream port that lost its parent, or with buses up to 255.
fake::Host TreeHost(std::uint32_t seed);

// Every kind of device in every place that some operation distinguishes.
fake::Host RichHost();

#endif  // PROVIDERS_VARIED_HOSTS_H_
