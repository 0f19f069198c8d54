#pragma once

#include "base/Uuid.h"

namespace velmora {

class Random {
 public:
  virtual ~Random() = default;
  // A random UUID, version 4.
  virtual Uuid uuid() = 0;
};

}  // namespace velmora
