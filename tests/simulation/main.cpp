// Lives through simulated desktops until one breaks a rule.
// usage: simulation [--seeds N | --hours H] [--from SEED] [--days D] [--missions M] [--calm]
//                   [--eventful P]
// With hours it goes on for that long, from a seed that nobody has chosen.

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <string_view>

#include "simulation/Life.h"

using velmora::simulation::Broken;
using velmora::simulation::Life;

int main(int argc, char** argv) {
  using std::chrono::steady_clock;
  uint64_t seeds = 100, from = 1;
  double hours = 0;
  Life::Plan plan;
  for (int i = 1; i < argc; ++i) {
    const std::string_view option = argv[i];
    if (option == "--calm") {
      plan.isCalm = true;
      continue;
    }
    const char* value = i + 1 < argc ? argv[++i] : nullptr;
    if (value && option == "--seeds")
      seeds = std::strtoull(value, nullptr, 10);
    else if (value && option == "--hours")
      hours = std::strtod(value, nullptr), seeds = UINT64_MAX, from = std::random_device{}();
    else if (value && option == "--from")
      from = std::strtoull(value, nullptr, 10);
    else if (value && option == "--days")
      plan.days = std::strtod(value, nullptr);
    else if (value && option == "--missions")
      plan.missions = static_cast<int>(std::strtol(value, nullptr, 10));
    else if (value && option == "--eventful")
      plan.eventful = std::strtod(value, nullptr);
    else
      return std::fprintf(stderr, "unknown option, or one without its value: %s\n", argv[i]), 2;
  }
  int64_t steps = 0, actions = 0;
  const auto end = steady_clock::now() + std::chrono::duration<double, std::ratio<3600>>(hours);
  uint64_t lived = 0;
  for (; lived < seeds && (hours == 0 || steady_clock::now() < end); ++lived) {
    try {
      Life life(from + lived, plan);
      life.live();
      steps += life.steps();
      actions += life.actions();
    } catch (const Broken& broken) {
      std::fprintf(stderr, "%s", broken.what());
      return 1;
    }
  }
  std::printf("%llu seeds from %llu on: %.0f days, %lld steps, %lld actions, nothing broken\n",
              static_cast<unsigned long long>(lived), static_cast<unsigned long long>(from),
              static_cast<double>(lived) * plan.days, static_cast<long long>(steps),
              static_cast<long long>(actions));
  return 0;
}
