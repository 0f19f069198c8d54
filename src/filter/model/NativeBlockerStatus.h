#pragma once

#include <string>
#include <vector>

namespace velmora {

// What sessions block on the whole system, as shown to the user.
struct NativeBlockerStatus {
  std::vector<std::string> blockedDomains;  // clean, sorted
  std::string sessionType = "idle";         // or the phase that blocks, in lower case
  bool operator==(const NativeBlockerStatus&) const = default;
};

}  // namespace velmora
