#pragma once

#include <string_view>

namespace velmora {

class Sounds {
 public:
  virtual ~Sounds() = default;
  // Plays a short system sound once: "Glass", "Ping" or "Hero". Returns at once; failures are
  // ignored.
  virtual void play(std::string_view name) = 0;
};

}  // namespace velmora
