#pragma once

#include <array>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "simulation/Expectation.h"
#include "support/SimDevice.h"

namespace velmora::simulation {

// Half-hour and odd offsets, changes at midnight, changes of half an hour, and none at all.
inline constexpr std::array kZones{"UTC",           "Europe/Berlin",      "America/New_York",
                                   "Asia/Kolkata",  "Asia/Kathmandu",     "Australia/Lord_Howe",
                                   "Africa/Cairo",  "America/St_Johns",   "Pacific/Chatham",
                                   "Asia/Beirut",   "America/Santiago",   "Asia/Tokyo",
                                   "Pacific/Apia",  "Pacific/Kiritimati", "Atlantic/Azores",
                                   "America/Havana"};

// An invariant did not hold; the text says which, and tells the last hundred events.
struct Broken : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// One simulated desktop with the whole application on it, lived through under a seed. Missions,
// edits, sessions of the user's, kills, suspends and clocks that jump come at random, and after
// every step the program is compared with what the rules make of all that. Time goes by second by
// second where something is to happen; in between the program is let stand still and tick late.
class Life {
 public:
  struct Plan {
    double days = 28;
    int missions = 0;       // as many in each planner; 0: a few, as the seed has it
    double eventful = 0.3;  // of the steps, how many come with an action
    bool isCalm = false;    // no kills, clocks or journeys: what a year costs
  };
  Life(uint64_t seed, const Plan& plan);

  void live();  // throws Broken
  int64_t steps() const { return steps_; }
  int64_t actions() const { return actions_; }

 private:
  using Random = std::mt19937_64;
  // What an action does to the program, and what the rules make of it.
  struct Action {
    std::string name;
    std::function<void(App&)> program;
    std::function<void(Expectation&, Date)> rules;
    struct Kind {
      bool ticks = false;       // the program answers at once
      bool isOneWrite = false;  // the store may not hold a part of it
      bool isTwo = false;       // really two things, with a state between them
    } kind = {};
  };

  int64_t pick(int64_t below);
  bool chance(double p);
  template <class T>
  const T& oneOf(const std::vector<T>& all) {
    return all[static_cast<size_t>(pick(static_cast<int64_t>(all.size())))];
  }
  Date now() const { return device_.clock.now(); }
  App& app() { return *device_.app; }
  const App& app() const { return *device_.app; }

  Mission randomMission();
  int randomMinute();
  Day someDay();
  std::optional<Action> randomAction();
  Action editOfMissions();
  Action takeBack(bool again);
  std::optional<Action> ofTheMission();
  Action otherSettings();
  Action control(const char* name, std::function<void(TimerService&)> program,
                 std::function<void(Session&, double)> rule, bool isTwo = false);
  std::optional<Action> ofTheUser();
  void editAsTheWindowsDo();
  void fault();

  void perform(Action action);
  // Killed in the middle: of the writes only the first few have reached the disk.
  void performTorn(const Action& action);
  void die(bool isKilled);
  void boot();
  void second();
  void standStill(int64_t seconds);
  void check(bool isSettled = true);
  std::optional<std::string> mismatch(const Expectation& expected, bool isSettled) const;
  SiteBlockEngine::FocusRule rule(const Expectation& expected) const;
  std::optional<std::string> storedDiffers(const Expectation& expected) const;
  void note(const std::string& event);
  void noteRunning();
  void tidy();
  [[noreturn]] void fail(const std::string& what) const;

  const uint64_t seed_;
  const Plan plan_;
  Random random_;
  sim::World world_;
  sim::SimDevice device_;
  Expectation expected_;
  UndoManager undo_;
  std::vector<std::pair<bool, Missions>> undoable_, redoable_;
  std::vector<double> weights_;
  std::deque<std::string> events_;
  std::optional<Uuid> noted_;
  int64_t steps_ = 0;
  int64_t actions_ = 0;
};

}  // namespace velmora::simulation
