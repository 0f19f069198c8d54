#include "simulation/Expectation.h"

#include <algorithm>
#include <cmath>

namespace velmora::simulation {

static int64_t whole(Seconds s) {
  return static_cast<int64_t>(std::floor(s.count()));
}

const std::vector<Due>& Expectation::dueOn(Day day) const {
  if (day_ != day) {
    dueToday_ = missionsOf(inForce(), day, wall);
    day_ = day;
  }
  return dueToday_;
}

std::optional<Due> Expectation::due(Date at) const {
  if (!isEnabled) return {};
  for (const Due& due : dueOn(wall.day(at)))
    if (due.covers(at)) return due;
  return {};
}

bool Expectation::isPassFree(Date at) const {
  return !passUsedAt || wall.week(Date::sinceUnixEpoch(*passUsedAt)) != wall.week(at);
}

// A round is so many focus phases with short breaks between them, and a long break; the end of
// the mission cuts whatever stands there.
Expectation::Phase Expectation::phase(Date at) const {
  const int64_t total = whole(running->end - running->start);
  const int64_t elapsed = std::clamp<int64_t>(whole(at - running->start), 0, total);
  if (!running->mission.isPomodoro) return {SessionType::focus, whole(running->end - at)};
  const PomodoroSettings& s = running->settings;
  const int64_t focus = s.focusDuration * 60, rest = s.shortBreakDuration * 60;
  const int64_t longRest = s.longBreakDuration * 60;
  const int64_t worked = s.sessionsBeforeLongBreak * (focus + rest) - rest;
  const int64_t place = elapsed % (worked + longRest);
  Phase phase{SessionType::longBreak, worked + longRest - place};
  if (place < worked) {
    const int64_t step = place % (focus + rest);
    phase = step < focus ? Phase{SessionType::focus, focus - step}
                         : Phase{SessionType::shortBreak, focus + rest - step};
  }
  phase.remaining = std::min(phase.remaining, total - elapsed);
  return phase;
}

Date Expectation::nextChange(Date at) const {
  const Day day = wall.day(at);
  Date next = wall.first(day + std::chrono::days(1), 0);
  for (const Due& due : dueOn(day))
    for (const Date edge : {due.start, due.end})
      if (edge > at) next = std::min(next, edge);
  if (passUntil && *passUntil > at) next = std::min(next, *passUntil);
  if (running) {
    const auto into = whole(at - running->start) + phase(at).remaining;
    next = std::min(next, running->start + Seconds(static_cast<double>(into)));
  }
  return next;
}

void Expectation::tick(Date at) {
  const auto due = this->due(at);
  const bool hasTravelled = std::exchange(hasTravelled_, false);
  if (stopped) {
    const bool lasts =
        due && stopped->day == due->day && std::ranges::any_of(dueOn(due->day), [&](const Due& d) {
          return d.mission->id == stopped->id && d.covers(at);
        });
    if (!lasts) stopped.reset();
  }
  // A pass goes with its mission, and is of no other.
  if (passUntil && hasTravelled) {
    const bool isSame = due && passed && passed->id == due->mission->id && passed->day == due->day;
    passUntil = isSame ? std::optional(due->end) : std::nullopt;
  }
  if (!due || (passUntil && at >= *passUntil)) passUntil.reset();

  if (due && isHard && !passUntil) session.becomesHard();
  const bool isLeft = due && stopped && stopped->id == due->mission->id && !isHard;
  if (!due || passUntil || isLeft) {
    if (running) session.missionEnds(at.secondsSinceUnixEpoch());
    running.reset();
    return;
  }
  if (running && running->mission.id == due->mission->id && running->start == due->start &&
      running->end == due->end) {
    const Phase there = phase(at);
    return session.missionIsAt(there.type, there.remaining);
  }
  if (stopped && stopped->id == due->mission->id) stopped.reset();
  // Another block of the same mission is over before this one begins.
  if (running && running->mission.id == due->mission->id &&
      (running->end <= at || at < running->start))
    session.missionEnds(at.secondsSinceUnixEpoch());
  running = Running{*due->mission, due->start, due->end, session.settings};
  const Phase first = phase(at);
  session.missionStarts(due->mission->isBrak, first.type, first.remaining,
                        at.secondsSinceUnixEpoch());
}

void Expectation::second(Date end) {
  session.half(true, (end - Seconds(0.5)).secondsSinceUnixEpoch());
  tick(end - Seconds(0.2));
  session.half(false, end.secondsSinceUnixEpoch());
}

void Expectation::setMissions(bool simple, Missions missions, Date at) {
  lists[simple ? 1 : 0] = std::move(missions);
  forgetDay();
  tick(at);
}

void Expectation::setEnabled(bool on, Date at) {
  if (isEnabled == on) return;
  isEnabled = on;
  tick(at);
}

void Expectation::setHard(bool on, Date at) {
  if (isHard == on) return;
  isHard = on;
  tick(at);
}

bool Expectation::changePlanner(bool simple, bool interrupts, Date at) {
  if (simple == isSimple) return true;
  if (due(at)) {
    if (isHard || !interrupts) return false;
    if (running) session.missionEnds(at.secondsSinceUnixEpoch());
    running.reset();
  }
  stopped.reset();
  passUntil.reset();
  isSimple = simple;
  forgetDay();
  tick(at);
  return true;
}

void Expectation::travel(Zone zone) {
  wall = WallTime(std::move(zone));
  forgetDay();
  hasTravelled_ = true;
}

void Expectation::stop(Date at) {
  if (!running || isHardActive(at)) return;
  stopped = Stop{running->mission.id, wall.day(at)};
  session.missionEnds(at.secondsSinceUnixEpoch());
  running.reset();
}

void Expectation::pass(Date at) {
  if (!isPassFree(at) || !session.now.isActive) return;
  passUsedAt = at.secondsSinceUnixEpoch();
  const auto due = this->due(at);
  stopped.reset();
  passed.reset();
  if (due) passed = Stop{due->mission->id, due->day};
  passUntil = due ? due->end : at + Seconds(3600);
  running.reset();
  session.pass(*passUsedAt);
}

void Expectation::quit(Date at) {
  if (session.now.isActive && !isHardActive(at)) session.save(at.secondsSinceUnixEpoch());
}

void Expectation::relaunch(Date boot) {
  stopped.reset();
  running.reset();
  forgetDay();
  session.relaunch(boot.secondsSinceUnixEpoch());
  tick(boot + Seconds(0.1));
  session.resume((boot + Seconds(0.3)).secondsSinceUnixEpoch());
}

}  // namespace velmora::simulation
