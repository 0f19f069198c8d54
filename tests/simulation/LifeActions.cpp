// What happens to the desktop, at random.

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "core/StoredSettings.h"
#include "simulation/Life.h"

namespace velmora::simulation {

namespace chrono = std::chrono;

// Round times, so that missions touch, begin together and meet the hours in which clocks change.
int Life::randomMinute() {
  static constexpr std::array kLoved{0, 30, 60, 90, 120, 150, 180, 540, 600, 720, 1020, 1380};
  if (chance(0.4)) return kLoved[static_cast<size_t>(pick(kLoved.size()))];
  return static_cast<int>(chance(0.7) ? pick(96) * 15 : pick(1440));
}

Day Life::someDay() {
  return expected_.wall.day(now()) + chrono::days(pick(40) - 8);
}

Mission Life::randomMission() {
  Mission m;
  m.id = device_.random.uuid();
  m.start = std::min(randomMinute(), 1439);
  const int length = static_cast<int>(chance(0.5) ? 15 * (1 + pick(16)) : 1 + pick(1440));
  m.end = chance(0.05) ? 1440 : std::min(m.start + length, 1440);
  if (chance(0.05)) m.start = 0, m.end = 1440;
  m.label = "mission " + std::to_string(m.start) + "-" + std::to_string(m.end);
  m.isEnabled = chance(0.9);
  const auto kind = pick(10);
  m.recurs = kind < 3   ? ScheduleRecurrence::once
             : kind < 6 ? ScheduleRecurrence::daily
                        : ScheduleRecurrence::weekly;
  if (m.recurs == ScheduleRecurrence::once && chance(0.95)) m.on = someDay();
  for (unsigned day = 0; day < 7; ++day)
    if (chance(0.5)) m.weekdays.insert(day);
  if (chance(0.2)) m.from = someDay();
  if (chance(0.2)) m.until = someDay() + chrono::days(7);
  while (chance(0.3)) m.without.insert(someDay());
  m.isBrak = chance(0.4);
  m.isPomodoro = chance(0.4);
  const auto& presets = app().presets.presets.get();
  if (chance(0.6)) m.preset = chance(0.9) ? oneOf(presets).id : device_.random.uuid();
  m.sites = {{device_.random.uuid(), chance(0.5) ? "x.com" : "youtube.com"}};
  if (chance(0.3)) m.apps = {{device_.random.uuid(), "Player", "org.example.Player"}};
  return m;
}

Life::Action Life::editOfMissions() {
  const bool simple = chance(0.2) ? !expected_.isSimple : expected_.isSimple;
  Missions missions = expected_.lists[simple ? 1 : 0];
  std::string name = "edit: ";
  // Rather the mission that runs than any other.
  const auto which = [&]() -> Mission& {
    const auto& running = expected_.running;
    if (running && chance(0.5))
      for (auto& m : missions)
        if (m.id == running->mission.id) return m;
    return missions[static_cast<size_t>(pick(static_cast<int64_t>(missions.size())))];
  };
  const auto today = expected_.wall.day(now());
  if (missions.empty() || (missions.size() < 15 && chance(0.25))) {
    missions.insert(missions.begin() + pick(static_cast<int64_t>(missions.size()) + 1),
                    randomMission());
    name += "one more";
  } else {
    Mission& m = which();
    name += m.label + " ";
    switch (pick(8)) {
      case 0:
        missions.erase(missions.begin() + (&m - missions.data()));
        name += "removed";
        break;
      case 1:
        m.isEnabled = !m.isEnabled;
        name += "switched";
        break;
      case 2:
        m.end = std::clamp<int>(m.end + static_cast<int>(pick(121)) - 60, m.start + 1, 1440);
        name += "until " + std::to_string(m.end);
        break;
      case 3:
        m.start = std::clamp<int>(m.start + static_cast<int>(pick(121)) - 60, 0, m.end - 1);
        name += "from " + std::to_string(m.start);
        break;
      case 4:
        m.without.insert(chance(0.5) ? today : someDay());
        name += "without a day";
        break;
      case 5:
        if (m.recurs == ScheduleRecurrence::once)
          m.on = chance(0.5) ? today : someDay();
        else
          m.until = today + chrono::days(pick(5) - 1);
        name += "on other days";
        break;
      case 6:
        m.isBrak = !m.isBrak;
        m.isPomodoro = chance(0.5);
        name += "otherwise";
        break;
      default:
        name += "replaced";
        m = randomMission();
        break;
    }
  }
  const auto list = entries(missions, expected_.wall);
  return {name,
          [this, simple, list, old = expected_.lists[simple ? 1 : 0]] {
            auto& schedule = app().schedule;
            // Equal to the last order of days cut out: then it is no step.
            const bool isStep = (simple ? schedule.simpleEntries : schedule.entries).get() != list;
            if (simple)
              schedule.replaceSimpleEntries(list, &undo_, "Edit");
            else
              schedule.replaceEntries(list, &undo_, "Edit");
            if (!isStep) return;
            undoable_.emplace_back(simple, old);
            redoable_.clear();
          },
          [this, simple, missions](Expectation& e) { e.setMissions(simple, missions, now()); },
          true};
}

Life::Action Life::takeBack(bool again) {
  return {again ? "redo" : "undo", [this, again] { again ? undo_.redo() : undo_.undo(); },
          [this, again](Expectation& e) {
            auto& from = again ? redoable_ : undoable_;
            if (from.empty()) return;
            const auto [simple, missions] = from.back();
            from.pop_back();
            (again ? undoable_ : redoable_).emplace_back(simple, e.lists[simple ? 1 : 0]);
            e.setMissions(simple, missions, now());
          },
          true};
}

std::optional<Life::Action> Life::ofTheMission() {
  switch (pick(5)) {
    case 0:
    case 1: {
      const auto how = pick(3);
      if (!expected_.running) return {};
      return Action{"stop by hand",
                    [this, how] {
                      if (how == 0) app().timer.pause();
                      if (how == 1) app().timer.reset();
                      if (how == 2) app().timer.skipSession();
                    },
                    [this](Expectation& e) { e.stop(now()); }};
    }
    case 2: {
      const bool on = !expected_.isHard;
      return Action{on ? "hard routine on" : "hard routine off",
                    [this, on] { app().schedule.setHardRoutineEnabled(on); },
                    [this, on](Expectation& e) { e.setHard(on, now()); }, true};
    }
    case 3: {
      const bool interrupts = chance(0.5);
      const bool simple = !expected_.isSimple;
      return Action{"the other planner",
                    [this, simple, interrupts] {
                      app().schedule.changeOperatingMode(
                          simple ? ScheduleOperatingMode::simple : ScheduleOperatingMode::calendar,
                          interrupts);
                    },
                    [this, simple, interrupts](Expectation& e) {
                      e.changePlanner(simple, interrupts, now());
                    },
                    true,
                    false,
                    expected_.running.has_value()};
    }
    default: {
      const bool on = !expected_.isEnabled || chance(0.6);
      return Action{on ? "schedule on" : "schedule off",
                    [this, on] { app().schedule.setEnabled(on); },
                    [this, on](Expectation& e) { e.setEnabled(on, now()); }, true};
    }
  }
}

std::optional<Life::Action> Life::ofTheUser() {
  const bool isMission = expected_.running.has_value();
  const auto at = [this] { return now().secondsSinceUnixEpoch(); };
  auto& timer = app().timer;
  switch (pick(9)) {
    case 0: {
      PomodoroSettings s = expected_.session.settings;
      s.focusDuration = 1 + pick(chance(0.5) ? 3 : 40);
      s.shortBreakDuration = 1 + pick(6);
      s.longBreakDuration = 1 + pick(20);
      s.sessionsBeforeLongBreak = 1 + pick(4);
      s.focusSessionLimit = chance(0.5) ? 0 : pick(5);
      s.autoStart = chance(0.5);
      s.isBrakModeEnabled = chance(0.5);
      s.isSoftBlocklistEnabled = chance(0.3);
      return Action{"other settings",
                    [this, s] {
                      savePomodoroSettings(device_.preferences, s);
                      app().timer.setSettings(s);
                    },
                    [s](Expectation& e) { e.session.change(s); }};
    }
    case 1:
    case 2:
      if (isMission) return {};
      return Action{"start", [&timer] { timer.start(false); },
                    [at](Expectation& e) { e.session.start(false, at()); }};
    case 3:
      if (!expected_.session.isGateUp) return {};
      return Action{
          "choose a focus",
          [this] { app().screens.confirmFocusSelection(app().presets.presets.get().front(), ""); },
          [at](Expectation& e) { e.session.confirm(at()); }};
    case 4:
      if (isMission) return {};
      return Action{"pause", [&timer] { timer.pause(); },
                    [at](Expectation& e) { e.session.pause(at()); }};
    case 5:
      if (isMission) return {};
      return Action{"reset",
                    [&timer] { timer.reset(); },
                    [at](Expectation& e) { e.session.reset(at()); },
                    false,
                    false,
                    true};
    case 6:
      if (isMission) return {};
      return Action{"skip", [&timer] { timer.skipSession(); },
                    [at](Expectation& e) { e.session.skip(at()); }};
    case 7: {
      if (isMission) return {};
      if (expected_.session.now.countdownRuns)
        return Action{"countdown paused", [&timer] { timer.pauseCountdown(); },
                      [at](Expectation& e) { e.session.pauseCountdown(at()); }};
      const int64_t seconds = 1 + pick(300);
      return Action{"countdown",
                    [&timer, seconds] {
                      timer.setCountdownDuration(seconds);
                      timer.startCountdown();
                    },
                    [at, seconds](Expectation& e) {
                      e.session.setCountdown(seconds, at());
                      e.session.startCountdown(at());
                    },
                    false,
                    false,
                    true};
    }
    default:
      return Action{"emergency pass", [&timer] { timer.useEmergencyPass(); },
                    [this](Expectation& e) { e.pass(now()); }, false, true};
  }
}

// Nothing: a fault, or an edit by the windows' road.
std::optional<Life::Action> Life::randomAction() {
  enum { edits, takesBack, missions, user, faults, kinds };
  std::array<double, kinds> weight{weights_[0] * 2, weights_[1] / 2, weights_[2] * 2,
                                   weights_[3] * 2, weights_[4]};
  double sum = 1e-9;
  for (const double w : weight) sum += w;
  double at = static_cast<double>(random_() >> 11) * 0x1p-53 * sum;
  int kind = 0;
  while (kind < faults && at >= weight[static_cast<size_t>(kind)])
    at -= weight[static_cast<size_t>(kind++)];
  for (int tries = 0; tries < 20; ++tries) {
    std::optional<Action> action;
    if (kind == edits) action = editOfMissions();
    if (kind == takesBack) action = takeBack(chance(0.4));
    if (kind == missions) action = ofTheMission();
    if (kind == user) action = ofTheUser();
    if (kind == faults) return {};
    if (action) return action;
  }
  return editOfMissions();
}

void Life::fault() {
  const auto span = [this] {
    const auto scale = pick(4);
    return static_cast<double>(1 + pick(scale == 0   ? 60
                                        : scale == 1 ? 3600
                                        : scale == 2 ? 86400
                                                     : 4 * 86400));
  };
  switch (pick(5)) {
    case 0: {
      const bool isKilled = chance(0.7);
      note(isKilled ? "killed" : "quit");
      // A program that may end lifts its blocks and keeps its position first.
      if (!isKilled) expected_.quit(now());
      die(isKilled);
      boot();
      expected_.relaunch(now() - Seconds(0.3));
      note("back");
      check();
      break;
    }
    case 1: {
      const double seconds = span();
      note("suspended for " + std::to_string(seconds));
      world_.jump(Seconds(seconds));
      break;
    }
    case 2: {
      const double seconds = chance(0.5) ? span() : -span();
      note("the clock is set by " + std::to_string(seconds));
      device_.clock.skew += Seconds(seconds);
      break;
    }
    case 3: {
      static constexpr std::array kPlaces{"Europe/Berlin", "America/New_York",    "Asia/Tokyo",
                                          "Pacific/Apia",  "Australia/Lord_Howe", "Asia/Beirut",
                                          "Africa/Cairo",  "America/Santiago",    "UTC"};
      const auto* place = kPlaces[static_cast<size_t>(pick(kPlaces.size()))];
      const double hours = chance(0.5) ? static_cast<double>(pick(12)) : 0;
      note(std::string("travels to ") + place);
      if (device_.clock.localZone.name() == place) break;
      world_.jump(Seconds(hours * 3600));
      device_.clock.localZone = *Zone::named(place);
      expected_.travel(device_.clock.localZone);
      // Without a mission nobody looks where the user is, until a command about missions comes.
      if (std::ranges::all_of(expected_.lists, &Missions::empty)) app().schedule.tick();
      break;
    }
    default:
      checkReload();
      break;
  }
  second();
}

}  // namespace velmora::simulation
