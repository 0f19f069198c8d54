#pragma once

#include <cstdint>
#include <string_view>

namespace velmora::fuzz {

// A broken promise is a finding, in every build.
inline void require(bool promise) {
  if (!promise) __builtin_trap();
}

// What each program defines: feeds one text to a parser and requires its promises.
void examine(std::string_view text);

}  // namespace velmora::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  velmora::fuzz::examine({reinterpret_cast<const char*>(data), size});
  return 0;
}
