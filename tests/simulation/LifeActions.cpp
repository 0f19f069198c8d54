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
    const auto nudged = [this](int minute) { return minute + static_cast<int>(pick(121)) - 60; };
    switch (pick(8)) {
      case 0:
        name += "removed";
        missions.erase(missions.begin() + (&m - missions.data()));
        break;
      case 1:
        name += "switched";
        m.isEnabled = !m.isEnabled;
        break;
      case 2:
        m.end = std::clamp(nudged(m.end), m.start + 1, 1440);
        name += "until " + std::to_string(m.end);
        break;
      case 3:
        m.start = std::clamp(nudged(m.start), 0, m.end - 1);
        name += "from " + std::to_string(m.start);
        break;
      case 4:
        name += "without a day";
        m.without.insert(chance(0.5) ? today : someDay());
        break;
      case 5:
        name += "on other days";
        if (m.recurs == ScheduleRecurrence::once)
          m.on = chance(0.5) ? today : someDay();
        else
          m.until = today + chrono::days(pick(5) - 1);
        break;
      case 6:
        name += "otherwise";
        m.isBrak = !m.isBrak;
        m.isPomodoro = chance(0.5);
        break;
      default:
        name += "replaced";
        m = randomMission();
    }
  }
  const auto list = entries(missions, expected_.wall);
  const auto replace = [this, simple, list, old = expected_.lists[simple ? 1 : 0]](App& app) {
    auto& schedule = app.schedule;
    // Equal to the last order of days cut out: then it is no step.
    const bool isStep = (simple ? schedule.simpleEntries : schedule.entries).get() != list;
    if (simple)
      schedule.replaceSimpleEntries(list, &undo_, "Edit");
    else
      schedule.replaceEntries(list, &undo_, "Edit");
    if (!isStep) return;
    undoable_.emplace_back(simple, old);
    redoable_.clear();
  };
  const auto rules = [simple, missions](Expectation& e, Date at) {
    e.setMissions(simple, missions, at);
  };
  return {name, replace, rules, {.ticks = true}};
}

Life::Action Life::takeBack(bool again) {
  const auto rules = [this, again](Expectation& e, Date at) {
    auto& from = again ? redoable_ : undoable_;
    if (from.empty()) return;
    const auto [simple, missions] = from.back();
    from.pop_back();
    (again ? undoable_ : redoable_).emplace_back(simple, e.lists[simple ? 1 : 0]);
    e.setMissions(simple, missions, at);
  };
  const auto program = [this, again](App&) { again ? undo_.redo() : undo_.undo(); };
  return {again ? "redo" : "undo", program, rules, {.ticks = true}};
}

std::optional<Life::Action> Life::ofTheMission() {
  switch (pick(5)) {
    case 0:
    case 1: {
      if (!expected_.running) return {};
      const auto control = oneOf(std::vector{&TimerService::pause, &TimerService::reset,
                                             &TimerService::skipSession});
      return Action{"stop by hand", [control](App& app) { (app.timer.*control)(); },
                    &Expectation::stop};
    }
    case 2: {
      const bool on = !expected_.isHard;
      return Action{on ? "hard routine on" : "hard routine off",
                    [on](App& app) { app.schedule.setHardRoutineEnabled(on); },
                    [on](Expectation& e, Date at) { e.setHard(on, at); }, {.ticks = true}};
    }
    case 3: {
      const bool simple = !expected_.isSimple, interrupts = chance(0.5);
      const auto planner = simple ? ScheduleOperatingMode::simple : ScheduleOperatingMode::calendar;
      return Action{
          "the other planner",
          [planner, interrupts](App& app) {
            app.schedule.changeOperatingMode(planner, interrupts);
          },
          [simple, interrupts](Expectation& e, Date at) { e.changePlanner(simple, interrupts, at); },
          {.ticks = true, .isTwo = expected_.running.has_value()}};
    }
    default: {
      const bool on = !expected_.isEnabled || chance(0.6);
      return Action{on ? "schedule on" : "schedule off",
                    [on](App& app) { app.schedule.setEnabled(on); },
                    [on](Expectation& e, Date at) { e.setEnabled(on, at); }, {.ticks = true}};
    }
  }
}

Life::Action Life::otherSettings() {
  PomodoroSettings s = expected_.session.settings;
  s.focusDuration = 1 + pick(chance(0.5) ? 3 : 40);
  s.shortBreakDuration = 1 + pick(6);
  s.longBreakDuration = 1 + pick(20);
  s.sessionsBeforeLongBreak = 1 + pick(4);
  s.focusSessionLimit = chance(0.5) ? 0 : pick(5);
  s.autoStart = chance(0.5);
  s.isBrakModeEnabled = chance(0.5);
  s.isSoftBlocklistEnabled = chance(0.3);
  const auto program = [this, s](App& app) {
    savePomodoroSettings(device_.preferences, s);
    app.timer.setSettings(s);
  };
  return {"other settings", program, [s](Expectation& e, Date) { e.session.change(s); }};
}

// What the user does with a clock of his own.
Life::Action Life::control(const char* name, std::function<void(TimerService&)> program,
                           std::function<void(Session&, double)> rule, bool isTwo) {
  return {name, [program](App& app) { program(app.timer); },
          [rule](Expectation& e, Date at) { rule(e.session, at.secondsSinceUnixEpoch()); },
          {.isTwo = isTwo}};
}

std::optional<Life::Action> Life::ofTheUser() {
  const auto kind = pick(9);
  if (kind == 0) return otherSettings();
  if (kind == 1)
    return Action{"emergency pass", [](App& app) { app.timer.useEmergencyPass(); },
                  &Expectation::pass, {.isOneWrite = true}};
  if (kind == 2 && expected_.session.isGateUp)
    return Action{"choose a focus",
                  [](App& app) {
                    app.screens.confirmFocusSelection(app.presets.presets.get().front(), "");
                  },
                  [](Expectation& e, Date at) { e.session.confirm(at.secondsSinceUnixEpoch()); }};
  if (kind == 2 || expected_.running) return {};
  switch (kind) {
    case 3:
      return control("pause", &TimerService::pause, &Session::pause);
    case 4:
      return control("reset", &TimerService::reset, &Session::reset, true);
    case 5:
      return control("skip", &TimerService::skipSession, &Session::skip);
    case 6: {
      if (expected_.session.now.countdownRuns)
        return control("countdown paused", &TimerService::pauseCountdown,
                       &Session::pauseCountdown);
      const int64_t seconds = 1 + pick(300);
      const auto program = [seconds](TimerService& timer) {
        timer.setCountdownDuration(seconds);
        timer.startCountdown();
      };
      const auto rule = [seconds](Session& session, double at) {
        session.setCountdown(seconds, at);
        session.startCountdown(at);
      };
      return control("countdown", program, rule, true);
    }
    default:
      return control("start", [](TimerService& timer) { timer.start(false); },
                     [](Session& session, double at) { session.start(false, at); });
  }
}

std::optional<Life::Action> Life::randomAction() {
  std::discrete_distribution<int> kinds{weights_[0] * 2, weights_[1] / 2, weights_[2] * 2,
                                        weights_[3] * 2, weights_[4]};
  const int kind = kinds(random_);
  if (kind == 4) return {};
  for (int tries = 0; tries < 20; ++tries) {
    const auto action = kind == 0   ? editOfMissions()
                        : kind == 1 ? takeBack(chance(0.4))
                        : kind == 2 ? ofTheMission()
                                    : ofTheUser();
    if (action) return action;
  }
  return editOfMissions();
}

void Life::fault() {
  const auto span = [this] {
    const int64_t most = oneOf(std::vector<int64_t>{60, 3600, 86400, 4 * 86400});
    return static_cast<double>(1 + pick(most));
  };
  switch (pick(4)) {
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
      if (const auto wrong = storedDiffers(expected_)) fail(*wrong);
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
    default: {
      const char* place = kZones[static_cast<size_t>(pick(kZones.size()))];
      const double hours = chance(0.5) ? static_cast<double>(pick(12)) : 0;
      note(std::string("travels to ") + place);
      if (device_.clock.localZone.name() == place) break;
      world_.jump(Seconds(hours * 3600));
      device_.clock.localZone = *Zone::named(place);
      expected_.travel(device_.clock.localZone);
      // Without a mission nobody looks where the user is, until a command about missions comes.
      if (std::ranges::all_of(expected_.lists, &Missions::empty)) app().schedule.tick();
    }
  }
  second();
}

}  // namespace velmora::simulation
