#pragma once

#include <array>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "simulation/Missions.h"
#include "simulation/Session.h"

namespace velmora::simulation {

// What must be true of the program, worked out from what happened to it and from the rules alone.
struct Expectation {
  Expectation(WallTime w, const PomodoroSettings& settings)
      : wall(std::move(w)), session(settings) {}

  WallTime wall;
  bool isEnabled = false;
  bool isHard = false;  // the switch
  bool isSimple = false;
  std::array<Missions, 2> lists;  // of the calendar planner, of the simple one
  Session session;
  std::optional<double> passUsedAt;  // seconds since 1970
  std::optional<Date> passUntil;

  struct Stop {
    Uuid id;
    Day day;
    bool operator==(const Stop&) const = default;
  };
  std::optional<Stop> stopped;
  std::optional<Stop> passed;  // what the pass was used on
  struct Running {
    Mission mission;
    Date start, end;
    PomodoroSettings settings;  // as they were when it began
  };
  std::optional<Running> running;

  const Missions& inForce() const { return lists[isSimple ? 1 : 0]; }
  std::optional<Due> due(Date at) const;
  bool hasPass() const { return passUntil.has_value(); }
  bool isPassFree(Date at) const;
  bool isHardActive(Date at) const { return isHard && due(at) && !hasPass(); }
  struct Phase {
    SessionType type;
    int64_t remaining;
  };
  Phase phase(Date at) const;  // of the running mission
  // The next moment at which something may change by itself.
  Date nextChange(Date at) const;

  // Compares what is due with what runs; the program does so once a second and after each change.
  void tick(Date at);
  // A second goes by, in which the program ticks once.
  void second(Date end);
  // The program stood still and ticks late.
  void late(Date end) { tick(end); }
  void setMissions(bool simple, Missions missions, Date at);
  void setEnabled(bool on, Date at);
  void setHard(bool on, Date at);
  bool changePlanner(bool simple, bool interrupts, Date at);
  void travel(Zone zone);
  void stop(Date at);
  void pass(Date at);
  // Asked to end: a hard session refuses, any other keeps its position.
  void quit(Date at);
  // Killed, and started again: what is in memory is gone. Ends with the resumption of clocks.
  void relaunch(Date boot);
  // A copy needs this before its first question: what is worked out refers to the lists.
  void forgetDay() { day_.reset(); }

 private:
  const std::vector<Due>& dueOn(Day day) const;

  bool hasTravelled_ = false;
  mutable std::optional<Day> day_;
  mutable std::vector<Due> dueToday_;
};

}  // namespace velmora::simulation
