#include "control/ScheduleCommands.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <utility>

#include "base/Text.h"
#include "control/MissionJson.h"
#include "control/SettingsTable.h"
#include "core/model/AppTimeFormat.h"
#include "schedule/MissionEditing.h"
#include "schedule/model/SchedulePomodoroPlan.h"

namespace velmora::commands {
namespace {

using json::Value;
using Object = Value::Object;
using Planner = ScheduleOperatingMode;
using std::chrono::local_days;

constexpr std::string_view kUsage =
    "missions list|week|plan|add|edit|remove|enable|disable|create|copy|cut|paste|duplicate|undo|"
    "redo ... (see docs/cli.md)";

template <class E>
std::string nameOf(E e) {
  return *json::encode(e).asString();
}
template <class E>
std::optional<E> named(const std::string& text) {
  const auto value = json::decode<E>(Value(text));
  return value ? std::optional(*value) : std::nullopt;
}

// --- words ---------------------------------------------------------------------------------------

// The words of a command: what stands alone, and the options with their values.
struct Words {
  std::vector<std::string> plain;
  std::map<std::string, std::string, std::less<>> options;
  std::string problem;

  Words(const Arguments& arguments, std::initializer_list<std::string_view> known) {
    for (size_t i = 0; i < arguments.size(); ++i) {
      const std::string& word = arguments[i];
      const bool isKnown = std::ranges::find(known, word) != known.end();
      if (!word.starts_with("--"))
        plain.push_back(word);
      else if (!isKnown || i + 1 == arguments.size())
        problem = "missions: " + word + (isKnown ? " needs a value" : " is not known here");
      else
        options[word] = arguments[++i];
    }
  }
  bool has(std::string_view option) const { return options.contains(option); }
  std::optional<std::string> value(std::string_view option) const {
    const auto it = options.find(option);
    return it == options.end() ? std::nullopt : std::optional(it->second);
  }
};

enum class Edge { start, end };
// Minutes of the day, as a number or as a clock shows them. Midnight is the end of the day where
// something ends.
std::optional<int> minutesOf(const std::string& text, Edge edge) {
  const auto number = text::digits(text);
  const auto minutes = number && *number <= 1440 ? std::optional(static_cast<int>(*number))
                       : number                  ? std::nullopt
                                : AppTimeFormat::parse(text, edge == Edge::end);
  return minutes == 0 && edge == Edge::end ? 1440 : minutes;
}

Value::Array listed(const std::string& text) {
  Value::Array out;
  for (const auto part : text::split(text, ','))
    if (!text::trim(part).empty()) out.emplace_back(text::trim(part));
  return out;
}

Value dayOrNothing(const std::string& text) {
  return text == "none" ? Value() : Value(text);
}

// --- one command -------------------------------------------------------------------------------

CommandResult refusal(MissionRefusal why) {
  switch (why) {
    case MissionRefusal::gone:
      return CommandResult::refused("No such mission", "velmora missions");
    case MissionRefusal::running:
      return CommandResult::refused("This mission is running: change it when it has ended");
    case MissionRefusal::hardRoutine:
      return hardRefusal();
    case MissionRefusal::emptyClipboard:
      return CommandResult::refused("There is no mission in the clipboard");
    case MissionRefusal::nothingToUndo:
      break;
  }
  return CommandResult::refused("There is nothing to undo or redo");
}

template <class T>
CommandResult answer(const MissionResult<T>& result) {
  return result ? CommandResult::done() : refusal(result.error());
}

class Missions {
 public:
  Missions(const Environment& e, const Arguments& arguments)
      : e_(e),
        schedule_(e.app.schedule),
        editing_(e.app.missions),
        words_(arguments,
               {"--json", "--planner", "--scope",  "--day",        "--to",    "--action", "--label",
                "--days", "--from",    "--until",  "--recurrence", "--date",  "--starts", "--ends",
                "--mode", "--preset",  "--rhythm", "--hud",        "--sites", "--apps"}) {}

  CommandResult run(const std::string& verb) {
    if (!words_.problem.empty()) return CommandResult::misused(words_.problem);
    planner_ = schedule_.operatingMode.get();
    if (const auto name = words_.value("--planner")) {
      const auto planner = named<Planner>(*name);
      if (!planner) return CommandResult::misused("missions ... --planner simple|calendar");
      planner_ = *planner;
    }
    static const std::map<std::string_view, std::pair<size_t, CommandResult (Missions::*)()>>
        kVerbs{{"week", {1, &Missions::week}},       {"plan", {2, &Missions::plan}},
               {"add", {0, &Missions::add}},         {"edit", {1, &Missions::edit}},
               {"remove", {1, &Missions::remove}},   {"enable", {1, &Missions::enable}},
               {"disable", {1, &Missions::disable}}, {"create", {3, &Missions::create}},
               {"copy", {1, &Missions::copy}},       {"cut", {1, &Missions::cut}},
               {"paste", {1, &Missions::paste}},     {"duplicate", {2, &Missions::duplicate}},
               {"undo", {0, &Missions::undo}},       {"redo", {0, &Missions::redo}}};
    const auto it = kVerbs.find(verb);
    if (it == kVerbs.end() || words_.plain.size() != it->second.first)
      return CommandResult::misused(std::string(kUsage));
    return (this->*it->second.second)();
  }

 private:
  const Calendar& calendar() const { return schedule_.calendar(); }
  Date startOf(local_days day) const { return calendar().instant(day, 0); }
  std::optional<Date> dayFrom(const std::optional<std::string>& text) const {
    const auto day = text ? missions::parseDay(*text) : std::nullopt;
    return day ? std::optional(startOf(*day)) : std::nullopt;
  }
  static CommandResult noDay() { return CommandResult::misused("missions: a day is 2026-11-23"); }

  static CommandResult noDates() {
    return CommandResult::refused("The simple planner has no dates: --planner calendar has");
  }

  static CommandResult selection(const MissionResult<MissionEditing::Selection>& result,
                                 const Calendar& calendar) {
    if (!result) return refusal(result.error());
    const auto day = ScheduleCalendarMath::day(result->date, calendar);
    return CommandResult::done(
        jsonLine(Object{{"id", result->id.text()}, {"day", missions::dayText(day)}}));
  }

  // By identity, or by a name that only one mission of the planner has, letter case ignored. What
  // is wrong is in `problem_`.
  const ScheduleEntry* find(const std::string& name) {
    problem_ = refusal(MissionRefusal::gone);
    if (const auto id = Uuid::parse(name)) return editing_.find(planner_, *id);
    const ScheduleEntry* found = nullptr;
    const std::string wanted = text::lowercased(text::trim(name));
    for (const auto& entry : editing_.list(planner_)) {
      if (text::lowercased(text::trim(entry.label)) != wanted) continue;
      if (found)
        problem_ = CommandResult::refused("Several missions are called “" + name + "”",
                                          "name one by its id: velmora missions list --json");
      if (found) return nullptr;
      found = &entry;
    }
    return found;
  }

  // --- what the user wants of a mission ---

  // The object that was sent, or the options as one.
  Value fields() {
    if (const auto text = words_.value("--json")) {
      const auto object = json::parse(*text);
      return object && object->asObject() ? *object : Value();
    }
    Object out;
    for (const auto& [option, text] : words_.options)
      if (!field(out, option, text)) return Value();
    return out;
  }
  bool field(Object& out, const std::string& option, const std::string& text) {
    const auto put = [&](const char* key, Value value) {
      out.emplace_back(key, std::move(value));
      return true;
    };
    if (option == "--label") return put("label", text);
    if (option == "--days") return put("days", listed(text));
    if (option == "--sites") return put("softBlockedSites", listed(text));
    if (option == "--apps") return put("softBlockedApps", listed(text));
    if (option == "--recurrence") return put("recurrence", text);
    if (option == "--date") return put("scheduledDate", dayOrNothing(text));
    if (option == "--starts") return put("recurrenceStartDate", dayOrNothing(text));
    if (option == "--ends") return put("recurrenceEndDate", dayOrNothing(text));
    if (option == "--mode") return put("protectionMode", text);
    if (option == "--rhythm") return put("rhythm", text);
    if (option == "--from" || option == "--until") {
      const bool isStart = option == "--from";
      const auto minutes = minutesOf(text, isStart ? Edge::start : Edge::end);
      return minutes && put(isStart ? "startMinutes" : "endMinutes", *minutes);
    }
    if (option == "--hud") {
      bool on = false;
      return parseSwitch(text, on) && put("showFloatingProgress", on);
    }
    if (option == "--preset") {
      const FocusPreset* preset = findPreset(e_, text);
      return preset && put("presetID", preset->id.text());
    }
    return true;
  }

  // False: refused, with the reason in `problem_`.
  bool applyTo(ScheduleEntry& entry) { return applyTo(entry, fields()); }
  bool applyTo(ScheduleEntry& entry, const Value& object) {
    std::string problem =
        object.isNull()
            ? "There is no such time, preset or switch, or no object"
            : missions::apply(entry, object,
                              {calendar(), e_.catalog, [this] { return editing_.newID(); }});
    if (problem.empty()) return true;
    problem_ = CommandResult::refused(std::move(problem));
    return false;
  }

  // --- the verbs ---

  CommandResult week() {
    const auto date = dayFrom(words_.plain[0]);
    if (!date) return noDay();
    Value::Array out;
    const Date start = ScheduleCalendarMath::weekStart(*date, calendar());
    for (const auto& occurrence :
         ScheduleCalendarMath::occurrences(schedule_.entries.get(), start, calendar()))
      out.push_back(
          Object{{"id", occurrence.id()},
                 {"entryID", occurrence.entry.id.text()},
                 {"day", missions::dayText(ScheduleCalendarMath::day(occurrence.date, calendar()))},
                 {"startMinutes", occurrence.entry.startMinutes},
                 {"endMinutes", occurrence.entry.endMinutes}});
    return CommandResult::done(jsonLine(std::move(out)));
  }

  CommandResult plan() {
    const auto start = minutesOf(words_.plain[0], Edge::start);
    const auto end = minutesOf(words_.plain[1], Edge::end);
    if (!start || !end) return CommandResult::misused("missions plan START END");
    Value::Array out;
    for (const auto& phase :
         SchedulePomodoroPlan::phases(int64_t{*end - *start} * 60, e_.app.timer.settings.get()))
      out.push_back(
          Object{{"type", rawText(phase.type)}, {"start", phase.start}, {"end", phase.end}});
    return CommandResult::done(jsonLine(std::move(out)));
  }

  CommandResult add() {
    ScheduleEntry entry = editing_.newMission();
    const Value object = fields();
    // Who names a day and no rhythm of days means that day.
    const Value* date = object.asObject() ? object.find("scheduledDate") : nullptr;
    if (date && !date->isNull() && !object.find("recurrence"))
      entry.recurrence = ScheduleRecurrence::once;
    if (!applyTo(entry, object)) return problem_;
    const auto done = editing_.addMission(planner_, entry);
    return done ? CommandResult::done(line(entry.id.text())) : refusal(done.error());
  }

  CommandResult create() {
    const auto date = dayFrom(words_.plain[0]);
    const auto start = minutesOf(words_.plain[1], Edge::start);
    const auto end = minutesOf(words_.plain[2], Edge::end);
    if (!date) return noDay();
    if (!start || !end || *start >= *end)
      return CommandResult::misused("missions create DATE START END");
    if (planner_ != Planner::calendar) return noDates();
    return selection(editing_.createMission(*date, *start, *end), calendar());
  }

  enum class Scope { all, one, future };
  struct Occurrence {
    Scope scope = Scope::all;
    Date day;
    Date target;
  };
  static bool isOnce(const ScheduleEntry& entry) {
    return entry.recurrence == ScheduleRecurrence::once;
  }
  // A mission that takes place once has no other occurrences to spare.
  std::optional<Occurrence> occurrence(const ScheduleEntry& entry) {
    const std::string name = words_.value("--scope").value_or("all");
    if (name == "all" || (name != "one" && name != "future")) {
      if (name == "all") return Occurrence{};
      problem_ = CommandResult::misused("missions ... --scope one|future|all --day DATE");
      return {};
    }
    if (isOnce(entry)) return Occurrence{};
    const auto day = dayFrom(words_.value("--day"));
    const auto target = words_.has("--to") ? dayFrom(words_.value("--to")) : day;
    if (!day || !target)
      problem_ = noDay();
    else if (planner_ != Planner::calendar)
      problem_ = CommandResult::refused("The simple planner has no single occurrences");
    else if (!entry.occurs(*day, calendar()))
      problem_ = CommandResult::refused("The mission does not take place on that day");
    else
      return Occurrence{name == "one" ? Scope::one : Scope::future, *day, *target};
    return {};
  }

  CommandResult edit() {
    const ScheduleEntry* found = find(words_.plain[0]);
    if (!found) return problem_;
    const ScheduleEntry original = *found;
    const auto at = occurrence(original);
    if (!at) return problem_;
    ScheduleEntry updated = original;
    const auto to = words_.value("--to");
    if (to && at->scope == Scope::all) {
      const auto target = dayFrom(to);
      if (!target) return noDay();
      if (!isOnce(original))
        return CommandResult::refused("A series is moved by one or its future occurrences");
      updated.scheduledDate = *target;
      updated.days = {weekdayOf(ScheduleCalendarMath::day(*target, calendar()))};
    }
    if (!applyTo(updated)) return problem_;
    if (at->scope == Scope::all) {
      std::string name = words_.value("--action").value_or("Edit");
      if (!name.ends_with("Mission")) name += " Mission";
      const auto done = editing_.updateMission(planner_, updated, name);
      if (!done || planner_ != Planner::calendar || !isOnce(updated)) return answer(done);
      return selection(MissionEditing::Selection{updated.id, *updated.scheduledDate}, calendar());
    }
    if (updated.recurrence != original.recurrence)
      return CommandResult::refused("How often a mission takes place is changed for all of it");
    const PendingScheduleSeriesEdit pending{original, updated, at->day, at->target};
    return selection(at->scope == Scope::one ? editing_.applyEditToSingleOccurrence(pending)
                                             : editing_.applyEditToFutureOccurrences(pending),
                     calendar());
  }

  CommandResult removeFrom(const ScheduleEntry& entry, const Occurrence& at) {
    if (at.scope == Scope::one) return answer(editing_.deleteSingleOccurrence({entry, at.day}));
    if (at.scope == Scope::future) return answer(editing_.deleteFutureOccurrences({entry, at.day}));
    return answer(editing_.removeMission(planner_, entry.id));
  }

  CommandResult remove() {
    const ScheduleEntry* found = find(words_.plain[0]);
    if (!found) return problem_;
    const auto at = occurrence(*found);
    return at ? removeFrom(ScheduleEntry(*found), *at) : problem_;
  }

  CommandResult cut() {
    const ScheduleEntry* found = find(words_.plain[0]);
    if (!found) return problem_;
    const ScheduleEntry entry = *found;
    const auto at = occurrence(entry);
    if (!at) return problem_;
    const auto result = removeFrom(entry, *at);
    if (result.status == 0) editing_.copyMission(entry);
    return result;
  }

  CommandResult copy() {
    const ScheduleEntry* found = find(words_.plain[0]);
    if (!found) return problem_;
    editing_.copyMission(*found);
    return CommandResult::done();
  }

  CommandResult paste() {
    const auto date = dayFrom(words_.plain[0]);
    if (!date) return noDay();
    if (planner_ != Planner::calendar) return noDates();
    return selection(editing_.pasteMission(*date), calendar());
  }

  CommandResult duplicate() {
    const ScheduleEntry* found = find(words_.plain[0]);
    if (!found) return problem_;
    const auto date = dayFrom(words_.plain[1]);
    if (!date) return noDay();
    if (planner_ != Planner::calendar) return noDates();
    return selection(editing_.duplicateMission(ScheduleEntry(*found), *date), calendar());
  }

  CommandResult enable() { return switchOn(true); }
  CommandResult disable() { return switchOn(false); }
  CommandResult switchOn(bool on) {
    const ScheduleEntry* found = find(words_.plain[0]);
    if (!found) return problem_;
    ScheduleEntry updated = *found;
    updated.isEnabled = on;
    return answer(
        editing_.updateMission(planner_, updated, on ? "Enable Mission" : "Disable Mission"));
  }

  CommandResult undo() { return stepped(editing_.takeBack()); }
  CommandResult redo() { return stepped(editing_.doAgain()); }
  static CommandResult stepped(const MissionResult<std::string>& result) {
    return result ? CommandResult::done(line(*result)) : refusal(result.error());
  }

  const Environment& e_;
  const ScheduleService& schedule_;
  MissionEditing& editing_;
  const Words words_;
  Planner planner_ = Planner::calendar;
  CommandResult problem_;
};

// --- the list ------------------------------------------------------------------------------------

std::string whenText(const ScheduleEntry& entry, const Calendar& calendar) {
  if (entry.recurrence == ScheduleRecurrence::once)
    return entry.scheduledDate
               ? missions::dayText(ScheduleCalendarMath::day(*entry.scheduledDate, calendar))
               : "no day";
  if (entry.recurrence == ScheduleRecurrence::daily || entry.isEveryDay()) return "every day";
  if (entry.isWeekdays()) return "Mon to Fri";
  if (entry.isWeekend()) return "Sat and Sun";
  std::string out;
  for (const Weekday day : weekdays::ordered)
    if (entry.days.contains(day))
      out += (out.empty() ? "" : ", ") + std::string(fullName(day).substr(0, 3));
  return out.empty() ? "no day" : out;
}

CommandResult list(const Environment& e, Arguments arguments) {
  const ScheduleService& s = e.app.schedule;
  const bool asJson = takeFlag(arguments, "--json");
  auto planner = std::optional(s.operatingMode.get());
  if (arguments.size() == 2 && arguments[0] == "--planner") planner = named<Planner>(arguments[1]);
  if ((arguments.size() != 0 && arguments.size() != 2) || !planner)
    return CommandResult::misused("missions list [--json] [--planner simple|calendar]");
  if (asJson) return CommandResult::done(jsonLine(StateDocument::missions(e.app, *planner)));
  std::string out;
  const bool isSimple = *planner == Planner::simple;
  for (const auto& entry : e.app.missions.list(*planner)) {
    const bool is24 = e.app.uses24HourTime.isOn.get();
    out += line(entry.label + " · " + whenText(entry, s.calendar()) + " · " +
                entry.startTimeString(is24) + " – " + entry.endTimeString(is24) + " · " +
                std::string(title(entry.protectionMode)) + " · " +
                std::string(title(entry.rhythm)) + (entry.isEnabled ? "" : " (off)") +
                ((isSimple ? s.simpleOverlaps(entry) : s.overlaps(entry)) ? " (overlaps)" : ""));
  }
  return CommandResult::done(out);
}

// --- the schedule as a whole ---------------------------------------------------------------------

CommandResult forfeit() {
  return CommandResult::refused("This would forfeit the emergency pass that is in force",
                                "to do it, add --yes");
}

CommandResult describeSchedule(const ScheduleService& s) {
  return CommandResult::done(line(std::string(s.isEnabled.get() ? "on" : "off") + " · " +
                                  nameOf(s.operatingMode.get()) + " · hard routine " +
                                  (s.hardRoutineEnabled.get() ? "on" : "off") +
                                  (s.hasPass() ? " · pass in force" : "")));
}

CommandResult enableSchedule(ScheduleService& s, bool on, bool isSure) {
  if (on == s.isEnabled.get()) return CommandResult::done();
  if (s.isHardRoutineActive.get()) return hardRefusal();
  if (s.hasPass() && !isSure) return forfeit();
  s.setEnabled(on);
  return CommandResult::done();
}

CommandResult setHardRoutine(ScheduleService& s, bool on) {
  if (on == s.hardRoutineEnabled.get()) return CommandResult::done();
  if (s.isHardRoutineActive.get()) return hardRefusal();
  s.setHardRoutineEnabled(on);
  return CommandResult::done();
}

CommandResult changePlanner(ScheduleService& s, Planner to, bool interrupt, bool isSure) {
  if (to == s.operatingMode.get()) return CommandResult::done();
  if (s.isHardRoutineActive.get()) return hardRefusal();
  if (s.isCurrentlyInBlock.get() && s.hardRoutineEnabled.get())
    return CommandResult::refused(
        "Hard routine keeps the planner until the mission's time is over");
  if (s.isCurrentlyInBlock.get() && !interrupt)
    return CommandResult::refused("A mission is running", "to end it, add --interrupt");
  if (s.hasPass() && !isSure) return forfeit();
  return s.changeOperatingMode(to, interrupt) ? CommandResult::done() : hardRefusal();
}

}  // namespace

// Each looks first where the user is: with nothing planned, nobody else does.
CommandResult missions(const Environment& e, const Arguments& arguments) {
  e.app.schedule.tick();
  if (arguments.empty() || arguments[0].starts_with("--")) return list(e, arguments);
  const Arguments rest(arguments.begin() + 1, arguments.end());
  if (arguments[0] == "list") return list(e, rest);
  return Missions(e, rest).run(arguments[0]);
}

CommandResult schedule(const Environment& e, const Arguments& arguments) {
  ScheduleService& s = e.app.schedule;
  s.tick();
  Arguments words = arguments;
  const bool isSure = takeFlag(words, "--yes");
  const bool interrupt = takeFlag(words, "--interrupt");
  if (words.empty()) return describeSchedule(s);
  if (words == Arguments{"refresh"}) {
    s.startMonitoring();
    return CommandResult::done();
  }
  bool on = false;
  if (words.size() == 1 && parseSwitch(words[0], on)) return enableSchedule(s, on, isSure);
  if (words.size() == 2 && words[0] == "hard-routine" && parseSwitch(words[1], on))
    return setHardRoutine(s, on);
  const auto planner =
      words.size() == 2 && words[0] == "mode" ? named<Planner>(words[1]) : std::nullopt;
  if (planner) return changePlanner(s, *planner, interrupt, isSure);
  return CommandResult::misused(
      "schedule [on|off] [--yes] | schedule mode simple|calendar [--interrupt] [--yes] | schedule "
      "hard-routine on|off | schedule refresh");
}

CommandResult next(const Environment& e, const Arguments& arguments) {
  if (!arguments.empty()) return CommandResult::misused("next");
  const ScheduleService& s = e.app.schedule;
  const std::string& text = s.nextBlockDescription.get();
  if (!text.empty()) return CommandResult::done(line(text));
  return CommandResult::done(
      line(s.isEnabled.get() ? "No mission is planned" : "The schedule is off"));
}

}  // namespace velmora::commands
