#pragma once

#include "base/Date.h"
#include "base/Zone.h"

namespace velmora {

class Clock {
 public:
  virtual ~Clock() = default;
  // Wall time. The user and the network may set it forwards or backwards at any moment.
  virtual Date now() const = 0;
  // Time since boot, suspend included. Nobody can set it.
  virtual Monotonic monotonic() const = 0;
  // The zone of this machine now; it changes when the user travels.
  virtual Zone zone() const = 0;
};

}  // namespace velmora
