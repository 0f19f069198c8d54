#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/Subscription.h"
#include "ports/Log.h"
#include "ports/Sounds.h"

namespace velmora {

class EventLoop;

// Plays <folder>/<name>.wav with the first of the system's players that is installed and succeeds.
// At most a few sounds at once; further ones are dropped. The loop's thread only.
class ThemeSounds : public Sounds {
 public:
  // Each player is a command to which the file is appended, in the order of preference.
  using Players = std::vector<std::vector<std::string>>;
  static Players systemPlayers();

  ThemeSounds(EventLoop& loop, Log& log, std::string folder, Players players = systemPlayers());
  ~ThemeSounds() override;
  ThemeSounds(const ThemeSounds&) = delete;
  ThemeSounds& operator=(const ThemeSounds&) = delete;

  void play(std::string_view name) override;

 private:
  struct Playing;
  void start(const std::string& file, size_t player);
  void giveUp(Playing& playing);
  void ended(Playing& playing);

  EventLoop& loop_;
  Log& log_;
  std::string folder_;
  Players players_;
  std::vector<std::shared_ptr<Playing>> playing_;
};

}  // namespace velmora
