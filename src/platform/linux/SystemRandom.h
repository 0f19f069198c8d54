#pragma once

#include "ports/Random.h"

namespace velmora {

// The system's random source. Safe from every thread.
class SystemRandom : public Random {
 public:
  Uuid uuid() override;
};

}  // namespace velmora
