#include "platform/linux/SystemRandom.h"

#include <sys/random.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace velmora {

Uuid SystemRandom::uuid() {
  std::array<uint8_t, 16> bytes;
  // A request this small comes whole, or the kernel has no random source at all.
  if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
    std::perror("velmora: getrandom");
    std::abort();
  }
  bytes[6] = static_cast<uint8_t>((bytes[6] & 0x0f) | 0x40);
  bytes[8] = static_cast<uint8_t>((bytes[8] & 0x3f) | 0x80);
  return Uuid(bytes);
}

}  // namespace velmora
