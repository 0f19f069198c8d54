// How time goes by, and what is compared.

#include "simulation/Life.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "base/Domain.h"

namespace velmora::simulation {
namespace {

// A little before the clocks change somewhere.
constexpr std::array kSeasons{std::chrono::year(2026) / 3 / 1,   std::chrono::year(2026) / 3 / 22,
                              std::chrono::year(2026) / 4 / 1,   std::chrono::year(2026) / 8 / 30,
                              std::chrono::year(2026) / 10 / 12, std::chrono::year(2027) / 3 / 7,
                              std::chrono::year(2027) / 10 / 25, std::chrono::year(2026) / 12 / 20};

constexpr size_t kEventsKept = 100;

std::string show(bool value) {
  return value ? "true" : "false";
}
std::string show(int64_t value) {
  return std::to_string(value);
}
std::string show(SessionType value) {
  return std::string(rawText(value));
}
std::string show(Date value) {
  return std::to_string(value.secondsSinceUnixEpoch());
}
std::string show(const Uuid& value) {
  return value.text();
}
std::string show(const std::string& value) {
  return "“" + value + "”";
}
std::string show(const SiteBlockEngine::FocusRule& rule) {
  std::string text = rule.index() == 0 ? "off" : rule.index() == 1 ? "all but" : "only";
  const auto add = [&text](const DomainSet& domains) {
    for (const auto& domain : domains) text += " " + domain;
  };
  if (const auto* list = std::get_if<SiteBlockEngine::Blocklist>(&rule)) add(list->domains);
  if (const auto* list = std::get_if<SiteBlockEngine::Allowlist>(&rule)) add(list->domains);
  return text;
}
template <class T>
std::string show(const std::optional<T>& value) {
  return value ? show(*value) : "nothing";
}

// Keeps the first difference.
class Comparison {
 public:
  template <class T>
  void operator()(const char* what, const T& is, const T& must) {
    if (!found && !(is == must))
      found = std::string(what) + " is " + show(is) + " and must be " + show(must);
  }
  std::optional<std::string> found;
};

}  // namespace

Life::Life(uint64_t seed, const Plan& plan)
    : seed_(seed),
      plan_(plan),
      random_(seed),
      world_(seed),
      device_(world_),
      expected_(WallTime(Zone::utc()), {}) {
  const Day first = std::chrono::local_days(
      kSeasons[static_cast<size_t>(pick(static_cast<int64_t>(kSeasons.size())))]);
  device_.clock.start = Date::sinceUnixEpoch(
      static_cast<double>(std::chrono::seconds(first.time_since_epoch()).count() + pick(86400)));
  device_.clock.localZone =
      *Zone::named(kZones[static_cast<size_t>(pick(static_cast<int64_t>(kZones.size())))]);
  for (int i = 0; i < 16; ++i) weights_.push_back(chance(0.25) ? 0 : 1 + double(pick(10)));

  // A first start prepares what the user has: lists, presets, missions.
  world_.advance(Seconds(0.2));
  app().lists.addSite("reddit.com");
  device_.start();
  expected_ = Expectation(WallTime(device_.clock.localZone), app().timer.settings.get());
  expected_.relaunch(now());
  world_.advance(Seconds(0.3));
  note("begins in " + device_.clock.localZone.name());
  const int64_t count = plan_.missions ? plan_.missions : pick(13);
  for (const bool simple : {false, true}) {
    Missions missions;
    for (int64_t i = 0; i < count; ++i) missions.push_back(randomMission());
    const auto list = entries(missions, expected_.wall);
    if (simple)
      app().schedule.replaceSimpleEntries(list, nullptr, "");
    else
      app().schedule.replaceEntries(list, nullptr, "");
    expected_.setMissions(simple, std::move(missions), now());
  }
  app().schedule.setEnabled(true);
  expected_.setEnabled(true, now());
  world_.settle();
  check();
}

int64_t Life::pick(int64_t below) {
  return below <= 1 ? 0 : static_cast<int64_t>(random_() % static_cast<uint64_t>(below));
}

bool Life::chance(double p) {
  return static_cast<double>(random_() >> 11) * 0x1p-53 < p;
}

void Life::live() {
  const auto end = world_.sinceBoot() + sim::World::exactly(Seconds(plan_.days * 86400));
  while (world_.sinceBoot() < end) {
    if (!expected_.session.isStill()) {
      for (int64_t n = pick(40); n >= 0; --n) second();
    } else {
      const auto gap = static_cast<int64_t>((expected_.nextChange(now()) - now()).count());
      const int64_t seconds = chance(plan_.eventful / 2) ? pick(gap) : gap;
      if (seconds > 0) standStill(seconds);
      for (int64_t n = plan_.isCalm ? 0 : pick(3); n >= 0; --n) second();
    }
    if (chance(plan_.eventful)) {
      ++actions_;
      if (auto action = randomAction())
        perform(std::move(*action));
      else if (plan_.isCalm || chance(0.4))
        editAsTheWindowsDo();
      else
        fault();
    }
    tidy();
  }
  die(true);
  boot();
  expected_.relaunch(now() - Seconds(0.3));
  check();
  if (const auto wrong = storedDiffers(expected_)) fail(*wrong);
}

// --- time ----------------------------------------------------------------------------------------

// The program's clocks lie on the halves of its seconds and the schedule's tick between them, so
// that each has seen all of a second when it is over.
void Life::second() {
  world_.advance(Seconds(1));
  expected_.second(now());
  check();
}

void Life::standStill(int64_t seconds) {
  world_.stall(Seconds(static_cast<double>(seconds)));
  world_.settle();
  expected_.late(now());
  check();
}

void Life::die(bool isKilled) {
  if (isKilled || !app().lifecycle.applicationShouldTerminate()) return device_.kill();
  world_.settle();
  device_.kill();
}

// Back after a while, on the fraction of a second from which all clocks lie where they did.
void Life::boot() {
  world_.jump(Seconds(0.7 + static_cast<double>(chance(0.7) ? pick(40) : pick(20000))));
  device_.boot();
  device_.start(chance(0.5) ? Lifecycle::Launch::shown : Lifecycle::Launch::silent);
  world_.advance(Seconds(0.3));
  undo_.removeAllActions();
  undoable_.clear();
  redoable_.clear();
}

// --- what an action does -------------------------------------------------------------------------

void Life::perform(Action action) {
  const bool tears = !plan_.isCalm && expected_.session.isStill() && !action.kind.isTwo && chance(0.05);
  note(action.name + (tears ? ", killed within" : ""));
  if (tears) return performTorn(action);
  action.program(app());
  action.rules(expected_, now());
  world_.settle();
  check(action.kind.ticks);
  if (const auto wrong = storedDiffers(expected_)) fail(*wrong);
  second();
}

void Life::performTorn(const Action& action) {
  const sim::FakePreferences disk = device_.preferences;
  std::vector<Preferences::Changes> writes;
  device_.preferences.journal = &writes;
  action.program(app());
  world_.settle();
  device_.preferences.journal = nullptr;
  const auto kept = pick(static_cast<int64_t>(writes.size()) + 1);
  note(std::to_string(kept) + " of " + std::to_string(writes.size()) + " writes are kept");
  Expectation after = expected_;
  after.forgetDay();
  action.rules(after, now());

  device_.kill();
  device_.preferences = disk;
  for (int64_t i = 0; i < kept; ++i) device_.preferences.write(writes[static_cast<size_t>(i)]);
  boot();

  // The lists with their switches, the timer, the pass, the chosen focus, and beforehand that a
  // mission is about to begin, are a write each.
  const Date booted = now() - Seconds(0.3);
  std::string wrongs;
  for (unsigned parts = 0; parts < 32; ++parts) {
    const bool isBefore = parts == 0, isAfter = parts == 15;
    if (action.kind.isOneWrite && !isBefore && !isAfter) continue;
    if (kept == 0 ? !isBefore : kept == std::ssize(writes) && !isAfter) continue;
    Expectation candidate = expected_;
    if (parts & 1) {
      candidate.lists = after.lists;
      candidate.isEnabled = after.isEnabled;
      candidate.isHard = after.isHard;
      candidate.isSimple = after.isSimple;
    }
    if (parts & 2) {
      candidate.session = after.session;
      candidate.passUsedAt = after.passUsedAt;
    }
    if (parts & 4) {
      candidate.passUntil = after.passUntil;
      candidate.passed = after.passed;
    }
    if (parts & 16) candidate.session.saveMission();
    candidate.session.hasContext = (parts & 8 ? after : expected_).session.hasContext;
    candidate.relaunch(booted);
    auto wrong = mismatch(candidate, true);
    if (!wrong) wrong = storedDiffers(candidate);
    if (wrong) {
      wrongs += "\n  " + std::to_string(parts) + ": " + *wrong;
      continue;
    }
    expected_ = std::move(candidate);
    expected_.forgetDay();
    return second();
  }
  fail("what a kill within “" + action.name + "” left is neither before nor after it:" + wrongs);
}

// --- what must be true ---------------------------------------------------------------------------

SiteBlockEngine::FocusRule Life::rule(const Expectation& expected) const {
  const auto domains = [](const std::vector<BlockedSite>& sites) {
    DomainSet set;
    for (const auto& site : sites)
      if (auto domain = normalizedDomain(site.domain)) set.insert(std::move(*domain));
    return set;
  };
  const auto& fields = expected.session.now;
  if (!fields.isActive || fields.type != SessionType::focus) return SiteBlockEngine::Off{};
  const auto& presets = app().presets.presets.get();
  if (const auto& running = expected.running) {
    if (!running->mission.isBrak)
      return SiteBlockEngine::Blocklist{domains(running->mission.sites)};
    const auto chosen = std::ranges::find_if(
        presets, [&](const FocusPreset& p) { return p.id == running->mission.preset; });
    return SiteBlockEngine::Allowlist{
        domains((chosen == presets.end() ? presets.front() : *chosen).allowedSites)};
  }
  if (!expected.session.isBrak())
    return SiteBlockEngine::Blocklist{domains(app().lists.blockedSites.get())};
  if (!expected.session.hasContext) return SiteBlockEngine::Off{};
  return SiteBlockEngine::Allowlist{domains(presets.front().allowedSites)};
}

// `isSettled`: the program has ticked since the last thing that happened to it.
std::optional<std::string> Life::mismatch(const Expectation& expected, bool isSettled) const {
  const Date at = now();
  const auto& schedule = app().schedule;
  const auto& timer = app().timer;
  const auto& running = expected.running;
  const auto& fields = expected.session.now;
  const auto due = expected.due(at);
  Comparison compare;
  compare("the schedule's switch", schedule.isEnabled.get(), expected.isEnabled);
  compare("hard routine's switch", schedule.hardRoutineEnabled.get(), expected.isHard);
  compare("the simple planner's turn",
          schedule.operatingMode.get() == ScheduleOperatingMode::simple, expected.isSimple);
  compare("the number of missions",
          static_cast<int64_t>(schedule.entries.get().size() + schedule.simpleEntries.get().size()),
          static_cast<int64_t>(expected.lists[0].size() + expected.lists[1].size()));
  if (isSettled) {
    compare("“in a mission”", schedule.isCurrentlyInBlock.get(), due.has_value());
    compare("“hard now”", schedule.isHardRoutineActive.get(), expected.isHardActive(at));
    compare("the timer's “hard now”", timer.scheduledHardModeActive.get(),
            expected.isHardActive(at));
    std::optional<Uuid> active;
    if (due && !expected.hasPass()) active = due->mission->id;
    compare("the active mission", schedule.activeEntryID.get(), active);
    compare("a pass in force", schedule.hasPass(), expected.hasPass());
    compare("a stored pass", device_.preferences.has("vm_schedule_passUntil"), expected.hasPass());
  }
  compare("a mission running", timer.isScheduledSessionActive.get(), running.has_value());
  std::optional<Uuid> id;
  if (running) id = running->mission.id;
  compare("the running mission", timer.scheduledBlockID.get(), id);
  compare("its start", timer.scheduledStartDate(),
          running ? std::optional(running->start) : std::nullopt);
  compare("its end", timer.scheduledEndDate(),
          running ? std::optional(running->end) : std::nullopt);
  compare("a running clock", timer.isRunning.get(), fields.isRunning);
  compare("an active session", timer.isSessionActive.get(), fields.isActive);
  compare("the phase", timer.currentSessionType.get(), fields.type);
  if (running && isSettled) {
    compare("the mission's rest", timer.scheduledMissionRemaining.get(),
            static_cast<int64_t>((running->end - at).count()));
    compare("the phase's rest", timer.timeRemaining.get(), expected.phase(at).remaining);
  } else if (!running) {
    compare("the clock", timer.timeRemaining.get(), fields.remaining);
  }
  compare("finished phases", timer.completedSessions.get(), fields.completed);
  compare("finished phases of the block", timer.focusSessionsInBlock.get(), fields.inBlock);
  compare("the stopwatch", timer.stopwatchElapsed.get(), fields.stopwatch);
  compare("the stopwatch's run", timer.stopwatchRunning.get(), fields.stopwatchRuns);
  compare("the countdown", timer.countdownRemaining.get(), fields.countdown);
  compare("the countdown's run", timer.countdownRunning.get(), fields.countdownRuns);
  compare("a chosen focus", app().presets.hasActiveFocusContext(), expected.session.hasContext);
  compare("the gate", app().screens.isGateShowing(), expected.session.isGateUp);
  compare("the pass of this week", timer.emergencyPassAvailable(), expected.isPassFree(at));

  const auto must = rule(expected);
  compare("what sites are judged by", app().engine.focus(), must);
  const bool closesApps = std::holds_alternative<SiteBlockEngine::Allowlist>(must) ||
                          (running && !std::holds_alternative<SiteBlockEngine::Off>(must) &&
                           !running->mission.apps.empty());
  compare("closing applications", app().appBlocker.isBlocking.get(), closesApps);
  return compare.found;
}

void Life::check(bool isSettled) {
  ++steps_;
  noteRunning();
  if (const auto wrong = mismatch(expected_, isSettled)) fail(*wrong);
}

std::optional<std::string> Life::storedDiffers(const Expectation& expected) const {
  const auto& schedule = app().schedule;
  // The order in which days were cut out tells nothing.
  const auto inOrder = [](std::vector<ScheduleEntry> list) {
    for (auto& entry : list) std::ranges::sort(entry.excludedDates);
    return list;
  };
  if (inOrder(schedule.entries.get()) == entries(expected.lists[0], expected.wall) &&
      inOrder(schedule.simpleEntries.get()) == entries(expected.lists[1], expected.wall) &&
      app().timer.settings.get() == expected.session.settings) {
    const auto& disk = device_.preferences;
    const auto* position = expected.session.stored();
    if (!position) return {};
    Comparison compare;
    compare("the stored clock", disk.integer("vm_timer_timeRemaining"), position->remaining);
    compare("the stored phase", disk.text("vm_timer_sessionType").value_or(""),
            std::string(rawText(position->type)));
    compare("the stored run", disk.boolean("vm_timer_isRunning"), position->isRunning);
    compare("the stored mission", disk.boolean("vm_schedule_session_active_v4"),
            position->isMission);
    compare("the stored stopwatch", disk.integer("vm_sw_elapsed"), position->stopwatch);
    compare("the stored countdown", disk.integer("vm_cd_remaining"), position->countdown);
    return compare.found;
  }
  return "the missions or the settings are not those that the user has made";
}

// --- telling -------------------------------------------------------------------------------------

void Life::note(const std::string& event) {
  const auto civil = expected_.wall.zone().civil(now());
  const auto day = std::chrono::floor<std::chrono::days>(civil);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss time(civil - day);
  std::array<char, 64> when{};
  std::snprintf(when.data(), when.size(), "%04d-%02u-%02u %02d:%02d:%02d  ", int(date.year()),
                unsigned(date.month()), unsigned(date.day()), int(time.hours().count()),
                int(time.minutes().count()), int(time.seconds().count()));
  events_.push_back(when.data() + event);
  if (events_.size() > kEventsKept) events_.pop_front();
}

void Life::noteRunning() {
  std::optional<Uuid> id;
  if (expected_.running) id = expected_.running->mission.id;
  if (id == noted_) return;
  noted_ = id;
  note(id ? "  now " + expected_.running->mission.label : "  now no mission");
}

// What a test would look at afterwards would fill the memory here.
void Life::tidy() {
  device_.log.debugLines.clear();
  device_.log.notices.clear();
  device_.sounds.played.clear();
  device_.notifications.posted.clear();
  device_.guardian.told.clear();
  device_.screen->instantRules.clear();
  device_.screen->reads.clear();
}

void Life::fail(const std::string& what) const {
  std::string text = "seed " + std::to_string(seed_) + ": " + what + "\nthe last events:\n";
  for (const auto& event : events_) text += "  " + event + "\n";
  throw Broken(text);
}

}  // namespace velmora::simulation
