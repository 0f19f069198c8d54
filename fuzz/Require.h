#pragma once

#include <cstdint>
#include <string_view>

namespace velmora::fuzz {

// A broken promise is a finding, in every build.
inline void require(bool promise) {
  if (!promise) __builtin_trap();
}

inline std::string_view text(const uint8_t* data, size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

}  // namespace velmora::fuzz
