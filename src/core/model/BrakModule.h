#pragma once

#include <array>
#include <string_view>

namespace velmora {

// What can be turned on beyond the timer.
struct BrakModule {
  enum class Name {
    schedule, budget, scrollGuard, creatorGate, brakPorn, dailyTasks, habit, deadline, sounds,
    posture
  };
  Name name;
  std::string_view rawText;  // the stored form
  std::string_view title;
  std::string_view subtitle;
  std::string_view category;

  bool operator<(const BrakModule& other) const { return name < other.name; }
  bool operator==(const BrakModule& other) const { return name == other.name; }

  static const std::array<BrakModule, 10>& all();
  static const BrakModule& named(Name name) { return all()[static_cast<size_t>(name)]; }
  // Null for an unknown text.
  static const BrakModule* find(std::string_view rawText);
};

enum class AppTab { focus, schedule, rules, progress, sounds, posture, extensions, settings };
std::string_view title(AppTab tab);

}  // namespace velmora
