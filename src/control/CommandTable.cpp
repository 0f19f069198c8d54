#include "control/CommandTable.h"

#include <algorithm>
#include <charconv>

#include "base/Text.h"
#include "control/DesktopCommands.h"
#include "control/ScheduleCommands.h"
#include "control/SettingsTable.h"
#include "core/StoredSettings.h"

namespace velmora {
namespace {

using Arguments = CommandTable::Arguments;
using Environment = CommandTable::Environment;
using commands::findPreset;
using commands::hardRefusal;
using commands::joined;
using commands::jsonLine;
using commands::line;
using commands::takeFlag;

// An option's value: everything behind it. Nothing when the option is not there.
std::optional<std::string> takeOption(Arguments& arguments, std::string_view option) {
  const auto at = std::ranges::find(arguments, option);
  if (at == arguments.end()) return {};
  const auto index = static_cast<size_t>(at - arguments.begin());
  std::string value = joined(arguments, index + 1);
  arguments.resize(index);
  return value;
}

// --- status --------------------------------------------------------------------------------------

CommandResult status(const Environment& e, Arguments arguments) {
  if (takeFlag(arguments, "--json")) return CommandResult::done(jsonLine(e.state.status()));
  const TimerService& t = e.app.timer;
  std::string out;
  if (t.isScheduledSessionActive.get()) out += line("Mission: " + t.scheduledMissionName.get());
  const char* state = t.isRunning.get()               ? "running"
                      : t.isSessionActive.get()       ? "active"
                      : e.app.screens.isGateShowing() ? "waiting at the gate"
                                                      : "stopped";
  out += line(std::string(label(t.currentSessionType.get())) + " · " + t.timeString() + " · " +
              state + (t.effectiveIsHardcore() ? " · hardcore" : ""));
  if (t.isStopwatchMode.get())
    out += line(t.isChronoCountdownMode.get() ? "Countdown " + t.countdownString()
                                              : "Stopwatch " + t.stopwatchString());
  out += line(std::string("Mode: ") + (t.effectiveBrakModeEnabled() ? "Brak" : "soft"));
  if (const auto& context = e.app.presets.activeContext.get())
    out += line("Focus: " + context->taskName + " (" + context->presetName + ")");
  const json::Value now = e.state.status();
  out += line(e.app.engine.isRunning()
                  ? "Blocking: " + *now.find("enforcement")->find("rule")->asString()
                  : "Blocking: off");
  const auto& browsers = *now.find("browsers")->asArray();
  if (browsers.empty()) out += line("Browsers: none linked (velmora install-browser-link)");
  const NativeBlockerStatus& sites = e.app.websites.status.get();
  if (!sites.blockedDomains.empty())
    out += line("Sites: " + std::to_string(sites.blockedDomains.size()) + " blocked · " +
                sites.sessionType);
  if (e.app.appBlocker.isBlocking.get())
    out += line(std::string("Apps: ") + StateDocument::appRule(e.app.appBlocker));
  for (const auto& browser : browsers) out += line("Browser: " + *browser.find("name")->asString());
  out += line("Wall: " + std::string(rawText(e.app.blockPage.state().get())));
  return CommandResult::done(out);
}

CommandResult state(const Environment& e, const Arguments&) {
  return CommandResult::done(jsonLine(e.state.whole()));
}

// --- the clocks ----------------------------------------------------------------------------------

CommandResult atGate(const Environment& e) {
  std::string names;
  for (const auto& preset : e.app.presets.presets.get())
    names += (names.empty() ? "" : ", ") + preset.name;
  return CommandResult::refused("Brak mode asks for your focus first",
                                "velmora focus PRESET [--task TEXT]; presets: " + names);
}

// A gate that was raised in Brak mode has no purpose once the clock runs without it.
void dismissIdleGate(const Environment& e) {
  if (e.app.timer.isRunning.get() || !e.app.timer.effectiveBrakModeEnabled())
    e.app.screens.dismissFocusSelection();
}

CommandResult start(const Environment& e, const Arguments&) {
  TimerService& t = e.app.timer;
  if (t.isRunning.get()) return CommandResult::done(line("Running · " + t.timeString()));
  t.start(false);
  if (!t.isRunning.get()) return atGate(e);
  return CommandResult::done(line("Running · " + t.timeString()));
}

CommandResult pause(const Environment& e, const Arguments&) {
  TimerService& t = e.app.timer;
  if (!t.isRunning.get()) return CommandResult::done(line("Stopped · " + t.timeString()));
  if (!t.controls().playPause) return hardRefusal();
  t.pause();
  return CommandResult::done(line("Paused · " + t.timeString()));
}

CommandResult reset(const Environment& e, const Arguments&) {
  if (!e.app.timer.controls().reset) return hardRefusal();
  e.app.timer.reset();
  return CommandResult::done();
}

CommandResult skip(const Environment& e, const Arguments&) {
  if (!e.app.timer.controls().skip) return hardRefusal();
  e.app.timer.skipSession();
  return CommandResult::done(line(std::string(label(e.app.timer.currentSessionType.get()))));
}

CommandResult switchType(const Environment& e, const Arguments& arguments) {
  SessionType type = SessionType::focus;
  if (arguments.size() != 1 || rawText(type = sessionTypeFrom(arguments[0])) != arguments[0])
    return CommandResult::misused("switch focus|shortBreak|longBreak");
  if (!e.app.timer.controls().switchType)
    return CommandResult::refused("Can't change mode while session is running");
  e.app.timer.switchSession(type);
  return CommandResult::done();
}

CommandResult pass(const Environment& e, const Arguments&) {
  TimerService& t = e.app.timer;
  if (!t.emergencyPassAvailable())
    return CommandResult::refused("Emergency pass already used this week");
  if (!t.isSessionActive.get()) return CommandResult::refused("No session to cancel");
  t.useEmergencyPass();
  return CommandResult::done(line("Session cancelled. The pass is back on Monday."));
}

enum class ScreenMode { pomodoro, stopwatch, countdown };

// Leaving a running chrono clock's screen in a break lifts what it blocks.
bool loosens(const TimerService& t, ScreenMode to) {
  return to == ScreenMode::pomodoro && t.isStopwatchMode.get() && t.isChronoActive() &&
         t.currentSessionType.get() != SessionType::focus;
}

CommandResult showScreen(const Environment& e, ScreenMode mode) {
  TimerService& t = e.app.timer;
  if (e.app.lifecycle.isSessionHard() && loosens(t, mode)) return hardRefusal();
  if (t.isStopwatchMode.get() != (mode != ScreenMode::pomodoro))
    t.setStopwatchMode(mode != ScreenMode::pomodoro);
  if (mode != ScreenMode::pomodoro &&
      t.isChronoCountdownMode.get() != (mode == ScreenMode::countdown))
    t.setChronoCountdownMode(mode == ScreenMode::countdown);
  return CommandResult::done();
}

CommandResult missionRefusal(const Environment& e, const char* what) {
  return CommandResult::refused("The mission “" + e.app.timer.scheduledMissionName.get() + "” " +
                                what);
}

CommandResult chronoRefusal(const Environment& e) { return missionRefusal(e, "has the clock"); }

CommandResult screen(const Environment& e, const Arguments& arguments) {
  const std::string name = joined(arguments);
  if (name == "pomodoro") return showScreen(e, ScreenMode::pomodoro);
  if (name != "stopwatch" && name != "countdown")
    return CommandResult::misused("screen pomodoro|stopwatch|countdown");
  if (e.app.timer.isScheduledSessionActive.get()) return chronoRefusal(e);
  return showScreen(e, name == "stopwatch" ? ScreenMode::stopwatch : ScreenMode::countdown);
}

CommandResult stopwatch(const Environment& e, const Arguments& arguments) {
  TimerService& t = e.app.timer;
  std::string verb = joined(arguments);
  if (verb.empty()) return CommandResult::done(line(t.stopwatchString()));
  if (verb == "toggle") verb = t.stopwatchRunning.get() ? "pause" : "start";
  if (verb != "start" && verb != "pause" && verb != "reset")
    return CommandResult::misused("stopwatch [start|pause|toggle|reset]");
  if (t.isScheduledSessionActive.get()) return chronoRefusal(e);
  if (verb == "start") {
    showScreen(e, ScreenMode::stopwatch);
    t.startStopwatch();
  } else {
    if (t.effectiveIsHardcore() && t.stopwatchRunning.get()) return hardRefusal();
    if (verb == "pause")
      t.pauseStopwatch();
    else
      t.resetStopwatch();
  }
  return CommandResult::done(line(t.stopwatchString()));
}

// Minutes, or "1:30:00" and "25:00" as the clock shows them. Nothing for anything else.
std::optional<int64_t> parseDuration(std::string_view text) {
  const auto parts = text::split(text, ':');
  int64_t seconds = 0;
  for (const auto part : parts) {
    const auto number = text::digits(part);
    if (!number || *number > 100000 || parts.size() > 3) return {};
    seconds = seconds * 60 + *number;
  }
  return parts.size() == 1 ? seconds * 60 : seconds;
}

CommandResult countdown(const Environment& e, const Arguments& arguments) {
  TimerService& t = e.app.timer;
  if (arguments.empty()) return CommandResult::done(line(t.countdownString()));
  std::string verb = arguments[0];
  if (verb == "toggle") verb = t.countdownRunning.get() ? "pause" : "start";
  const bool known = (verb == "set") == (arguments.size() == 2) && arguments.size() <= 2 &&
                     (verb == "start" || verb == "pause" || verb == "reset" || verb == "set");
  const int64_t seconds = verb == "set" && known ? parseDuration(arguments[1]).value_or(0) : 0;
  if (!known || (verb == "set" && seconds < 1))
    return CommandResult::misused("countdown [start|pause|toggle|reset|set MINUTES|set H:MM:SS]");
  if (t.isScheduledSessionActive.get()) return chronoRefusal(e);
  if (verb == "start") {
    showScreen(e, ScreenMode::countdown);
    t.startCountdown();
    if (!t.countdownRunning.get())
      return CommandResult::refused("The countdown has run out", "velmora countdown reset");
    return CommandResult::done(line(t.countdownString()));
  }
  if (t.effectiveIsHardcore() && t.countdownRunning.get()) return hardRefusal();
  if (verb == "pause") t.pauseCountdown();
  if (verb == "reset") t.resetCountdown();
  if (verb == "set") {
    if (t.countdownRunning.get())
      return CommandResult::refused("The countdown is running", "velmora countdown pause");
    t.setCountdownDuration(seconds);
  }
  return CommandResult::done(line(t.countdownString()));
}

// --- settings ------------------------------------------------------------------------------------

CommandResult store(const Environment& e, const PomodoroSettings& settings) {
  if (settings == e.app.timer.settings.get()) return CommandResult::done();
  e.app.timer.setSettings(settings);
  savePomodoroSettings(e.preferences, settings);
  dismissIdleGate(e);
  return CommandResult::done();
}

CommandResult getSettings(const Environment& e, Arguments arguments) {
  const PomodoroSettings& settings = e.app.timer.settings.get();
  if (takeFlag(arguments, "--json"))
    return CommandResult::done(jsonLine(StateDocument::settings(settings)));
  const std::string key = joined(arguments);
  std::string out;
  for (const auto& setting : settingsTable())
    if (key.empty())
      out += line(std::string(setting.key) + " " + setting.text(settings));
    else if (key == setting.key)
      return CommandResult::done(line(setting.text(settings)));
  const std::string clock = e.app.uses24HourTime.isOn.get() ? "true" : "false";
  if (key == "uses24HourTime") return CommandResult::done(line(clock));
  if (!key.empty()) return CommandResult::refused("No setting " + key);
  return CommandResult::done(out + line("uses24HourTime " + clock));
}

CommandResult setSetting(const Environment& e, const std::string& key, const std::string& value) {
  if (key == "uses24HourTime") {
    bool on = false;
    if (!parseSwitch(value, on)) return CommandResult::refused(key + " is true or false");
    e.app.uses24HourTime.set(on);
    e.app.schedule.tick();  // its line about the next mission has a time
    return CommandResult::done();
  }
  for (const auto& setting : settingsTable()) {
    if (key != setting.key) continue;
    PomodoroSettings settings = e.app.timer.settings.get();
    if (std::string problem = setting.assign(settings, value); !problem.empty())
      return CommandResult::refused(std::move(problem));
    if (setting.flag == &PomodoroSettings::isHardcore && !e.app.timer.controls().hardcoreSwitch)
      return CommandResult::refused("Can't change mode while session is running");
    if (setting.isLockedWhileHard && e.app.lifecycle.isSessionHard()) return hardRefusal();
    return store(e, settings);
  }
  return CommandResult::refused("No setting " + key);
}

CommandResult settings(const Environment& e, const Arguments& arguments) {
  if (arguments.empty() || arguments[0] == "get")
    return getSettings(
        e, arguments.empty() ? arguments : Arguments(arguments.begin() + 1, arguments.end()));
  if (arguments[0] == "set" && arguments.size() == 3)
    return setSetting(e, arguments[1], arguments[2]);
  if (arguments[0] == "--json") return getSettings(e, arguments);
  return CommandResult::misused("settings get [KEY] [--json] | settings set KEY VALUE");
}

CommandResult mode(const Environment& e, const Arguments& arguments) {
  const std::string wanted = joined(arguments);
  PomodoroSettings settings = e.app.timer.settings.get();
  if (wanted.empty())
    return CommandResult::done(line(e.app.timer.effectiveBrakModeEnabled() ? "brak" : "soft"));
  if (wanted != "brak" && wanted != "soft") return CommandResult::misused("mode [brak|soft]");
  if (e.app.lifecycle.isSessionHard()) return hardRefusal();
  if (e.app.timer.isScheduledSessionActive.get()) return missionRefusal(e, "decides the mode");
  settings.isBrakModeEnabled = wanted == "brak";
  settings.isSoftBlocklistEnabled = wanted == "soft";
  return store(e, settings);
}

// --- lists ---------------------------------------------------------------------------------------

template <class T, class Name>
std::string listing(const std::vector<T>& items, Name name) {
  std::string out;
  for (const auto& item : items) out += line(name(item) + (item.isBlocked ? "" : " (off)"));
  return out;
}

// What a list would block by this text; nothing when there can be no such site.
std::optional<std::string> siteFrom(const std::string& text) {
  std::string clean = cleanDomain(text);
  if (!normalizedDomain(text) || clean.empty()) return {};
  return clean;
}

CommandResult noSite(const std::string& text) {
  return CommandResult::refused("“" + text + "” is no site");
}

CommandResult sites(const Environment& e, Arguments arguments) {
  BlocklistStore& lists = e.app.lists;
  const bool asJson = takeFlag(arguments, "--json");
  const std::string verb = arguments.empty() ? "list" : arguments[0];
  if (verb == "list" && arguments.size() <= 1) {
    if (asJson) return CommandResult::done(jsonLine(json::encode(lists.blockedSites.get())));
    return CommandResult::done(
        listing(lists.blockedSites.get(), [](const BlockedSite& s) { return s.domain; }));
  }
  if (verb == "quick") {
    std::string out;
    for (const auto& site : BlocklistStore::quickSites())
      out += line(std::string(site.name) + " " + std::string(site.domain));
    return CommandResult::done(out);
  }
  if (verb == "check" && arguments.size() == 2) {
    const auto site = siteFrom(arguments[1]);
    return site ? CommandResult::done(line(*site)) : noSite(arguments[1]);
  }
  if (arguments.size() < 2 || (verb != "add" && verb != "remove" && verb != "on" && verb != "off"))
    return CommandResult::misused(
        "sites list [--json] | sites quick | sites check SITE | sites add|remove|on|off SITE...");
  if ((verb == "remove" || verb == "off") && e.app.lifecycle.isSessionHard()) return hardRefusal();
  for (size_t i = 1; i < arguments.size(); ++i) {
    const std::string clean = cleanDomain(arguments[i]);
    if (verb == "add") {
      if (!siteFrom(arguments[i])) return noSite(arguments[i]);
      lists.addSite(arguments[i]);
      continue;
    }
    const auto& all = lists.blockedSites.get();
    const auto site =
        std::ranges::find_if(all, [&](const BlockedSite& s) { return s.cleanDomain() == clean; });
    if (site == all.end()) return CommandResult::refused(clean + " is not on the list");
    if (verb == "remove")
      lists.removeSite(BlockedSite(*site));
    else
      lists.setSiteBlocked(Uuid(site->id), verb == "on");
  }
  return CommandResult::done();
}

CommandResult apps(const Environment& e, Arguments arguments) {
  BlocklistStore& lists = e.app.lists;
  const bool asJson = takeFlag(arguments, "--json");
  const std::string verb = arguments.empty() ? "list" : arguments[0];
  if (verb == "list" && arguments.size() <= 1) {
    if (asJson) return CommandResult::done(jsonLine(json::encode(lists.blockedApps.get())));
    return CommandResult::done(listing(lists.blockedApps.get(), [](const BlockedApp& a) {
      return a.name == a.bundleID ? a.name : a.name + " (" + a.bundleID + ")";
    }));
  }
  if (arguments.size() < 2 || (verb != "add" && verb != "remove" && verb != "on" && verb != "off"))
    return CommandResult::misused(
        "apps list [--json] | apps add ID [NAME] | apps remove|on|off ID");
  if ((verb == "remove" || verb == "off") && e.app.lifecycle.isSessionHard()) return hardRefusal();
  const std::string id = e.catalog.canonicalID(text::trim(arguments[1]));
  if (id.empty()) return CommandResult::refused("An application has a name");
  if (verb == "add") {
    lists.addApp(lists.makeApp(arguments.size() > 2 ? joined(arguments, 2) : id, id));
    return CommandResult::done();
  }
  const auto& all = lists.blockedApps.get();
  const auto app = std::ranges::find(all, id, &BlockedApp::bundleID);
  if (app == all.end()) return CommandResult::refused(id + " is not on the list");
  if (verb == "remove")
    lists.removeApp(BlockedApp(*app));
  else
    lists.setAppBlocked(Uuid(app->id), verb == "on");
  return CommandResult::done();
}

// --- presets and modules -------------------------------------------------------------------------

CommandResult noPreset(std::string_view name) {
  return CommandResult::refused("No preset “" + std::string(name) + "”", "velmora presets");
}

std::string describe(const FocusPreset& preset) {
  std::string out = preset.name;
  std::string tools;
  for (const auto& app : preset.allowedApps) tools += (tools.empty() ? "" : ", ") + app.name;
  for (const auto& domain : preset.allowedDomains()) tools += (tools.empty() ? "" : ", ") + domain;
  return tools.empty() ? out : out + ": " + tools;
}

// "8c5cff", with or without a "#".
std::optional<int64_t> parseColor(std::string_view text) {
  if (text.starts_with('#')) text.remove_prefix(1);
  int64_t color = 0;
  const auto [end, error] = std::from_chars(text.begin(), text.end(), color, 16);
  if (text.size() != 6 || text[0] == '-' || error != std::errc() || end != text.end()) return {};
  return color;
}

// The preset by which a hard session goes now. A mission that names none goes by the first.
struct HeldPreset {
  const FocusPreset* preset = nullptr;
  bool isFirstOnly = false;
};
HeldPreset heldPreset(const Environment& e) {
  const FocusPresetStore& presets = e.app.presets;
  if (!e.app.schedule.isHardRoutineActive.get()) {
    const auto& context = presets.activeContext.get();
    if (!context || !e.app.lifecycle.isSessionHard()) return {};
    return {.preset = presets.find(context->presetID)};
  }
  const auto id = e.app.missions.activeEntry();
  const auto* mission = id ? e.app.missions.find(e.app.schedule.operatingMode.get(), *id) : nullptr;
  if (!mission || mission->protectionMode != ScheduleProtectionMode::brak) return {};
  return {.preset = presets.resolve(mission->presetID),
          .isFirstOnly = !mission->presetID || !presets.find(*mission->presetID)};
}

// Whether this would open more in a hard session, at once or when it begins anew.
bool opensMore(const Environment& e, const std::string& verb, const FocusPreset& preset,
               const std::string& rest) {
  const auto [held, isFirstOnly] = heldPreset(e);
  if (!held) return false;
  const FocusPreset* target = verb == "move" ? findPreset(e, rest) : nullptr;
  if (target) return isFirstOnly && (preset.id == held->id || target == held);
  return held->id == preset.id &&
         (verb == "remove" || verb == "allow-site" || verb == "allow-app");
}

CommandResult editPreset(const Environment& e, const Arguments& arguments) {
  const std::string& verb = arguments[0];
  FocusPresetStore& store = e.app.presets;
  const FocusPreset* found = findPreset(e, arguments[1]);
  if (!found) return noPreset(arguments[1]);
  const FocusPreset preset = *found;
  const std::string rest = joined(arguments, 2);
  if (opensMore(e, verb, preset, rest)) return hardRefusal();
  if (verb == "remove" && rest.empty()) return store.removePreset(preset), CommandResult::done();
  if (verb == "duplicate" && rest.empty())
    return store.duplicatePreset(preset), CommandResult::done();
  const bool isEmptyNote = verb == "note" && arguments.size() > 2;
  if (rest.empty() && !isEmptyNote)
    return CommandResult::misused("presets " + verb + " PRESET WHAT");
  if (verb == "rename" || verb == "note" || verb == "icon") {
    FocusPreset changed = preset;
    (verb == "rename" ? changed.name : verb == "note" ? changed.note : changed.iconName) = rest;
    store.updatePreset(changed);
  } else if (verb == "color") {
    FocusPreset changed = preset;
    const auto color = parseColor(rest);
    if (!color) return CommandResult::refused("A color is six hexadecimal digits, such as 8c5cff");
    changed.colorHex = *color;
    store.updatePreset(changed);
  } else if (verb == "move") {
    const FocusPreset* target = findPreset(e, rest);
    if (!target) return noPreset(rest);
    store.movePreset(preset.id, Uuid(target->id));
  } else if (verb == "allow-site") {
    if (!normalizedDomain(rest)) return noSite(rest);
    store.addSite(rest, preset);
  } else if (verb == "disallow-site") {
    store.removeSite({{}, rest}, preset);
  } else if (verb == "allow-app") {
    store.addApp(arguments.size() > 3 ? joined(arguments, 3) : e.catalog.canonicalID(arguments[2]),
                 e.catalog.canonicalID(arguments[2]), preset);
  } else if (verb == "disallow-app") {
    store.removeApp({{}, rest, e.catalog.canonicalID(rest)}, preset);
  }
  return CommandResult::done();
}

CommandResult presets(const Environment& e, Arguments arguments) {
  const bool asJson = takeFlag(arguments, "--json");
  const std::string verb = arguments.empty() ? "list" : arguments[0];
  if (verb == "list" && arguments.size() <= 1) {
    const auto& all = e.app.presets.presets.get();
    if (asJson) return CommandResult::done(jsonLine(json::encode(all)));
    std::string out;
    for (const auto& preset : all) out += line(describe(preset));
    return CommandResult::done(out);
  }
  static constexpr std::string_view kVerbs[] = {
      "remove", "duplicate",  "rename",        "note",      "icon",        "color",
      "move",   "allow-site", "disallow-site", "allow-app", "disallow-app"};
  if (verb == "add" && arguments.size() >= 2) {
    const std::string name = joined(arguments, 1);
    if (text::trim(name).empty()) return CommandResult::refused("A preset has a name");
    e.app.presets.addPreset(name);
    return CommandResult::done();
  }
  if (arguments.size() >= 2 && std::ranges::find(kVerbs, verb) != std::end(kVerbs))
    return editPreset(e, arguments);
  return CommandResult::misused(
      "presets list [--json] | presets add NAME | presets remove|duplicate PRESET | presets "
      "rename|note|icon|color|move|allow-site|disallow-site|allow-app|disallow-app PRESET WHAT");
}

CommandResult focus(const Environment& e, Arguments arguments) {
  const std::string task = takeOption(arguments, "--task").value_or("");
  if (arguments.empty()) return CommandResult::misused("focus PRESET [--task TEXT]");
  const std::string name = joined(arguments);
  const FocusPreset* preset = findPreset(e, name);
  if (!preset) return noPreset(name);
  TimerService& t = e.app.timer;
  if (t.isRunning.get() && !e.app.screens.isGateShowing())
    return CommandResult::refused("A session is running: its focus was chosen when it began");
  e.app.screens.confirmFocusSelection(FocusPreset(*preset), task);
  const auto& context = e.app.presets.activeContext.get();
  return CommandResult::done(
      line("Running · " + t.timeString() + " · " + (context ? context->taskName : name)));
}

CommandResult modules(const Environment& e, Arguments arguments) {
  const bool asJson = takeFlag(arguments, "--json");
  ModuleStore& store = e.app.modules;
  if (arguments.empty() || (arguments[0] == "list" && arguments.size() == 1)) {
    if (asJson) return CommandResult::done(jsonLine(StateDocument::modules(store)));
    std::string out;
    for (const auto& module : BrakModule::all())
      out += line(std::string(store.isEnabled(module) ? "on  " : "off ") +
                  std::string(module.rawText) + " — " + std::string(module.subtitle));
    return CommandResult::done(out);
  }
  if (arguments.size() != 2 || (arguments[0] != "on" && arguments[0] != "off"))
    return CommandResult::misused("modules [list] [--json] | modules on|off NAME");
  const BrakModule* module = BrakModule::find(arguments[1]);
  if (!module) return CommandResult::refused("No module " + arguments[1]);
  const bool wanted = arguments[0] == "on";
  store.set(*module, wanted);
  if (store.isEnabled(*module) != wanted)
    return CommandResult::refused("Disable protection from Brak Porn after the commitment ends.");
  return CommandResult::done();
}

// --- the program ---------------------------------------------------------------------------------

CommandResult doctor(const Environment& e, Arguments arguments) {
  const auto findings = e.diagnostics.examine();
  static constexpr std::string_view kGrades[] = {"works", "limited", "missing"};
  if (takeFlag(arguments, "--json")) {
    json::Value::Array out;
    for (const auto& f : findings)
      out.push_back(json::Value::Object{{"topic", f.topic},
                                        {"grade", kGrades[static_cast<size_t>(f.grade)]},
                                        {"text", f.text},
                                        {"advice", f.advice}});
    return CommandResult::done(jsonLine(std::move(out)));
  }
  static constexpr std::string_view kMarks[] = {"✓ ", "! ", "✗ "};
  std::string out;
  for (const auto& f : findings) {
    out += line(std::string(kMarks[static_cast<size_t>(f.grade)]) + f.topic + ": " + f.text);
    if (!f.advice.empty()) out += line("    → " + f.advice);
  }
  return CommandResult::done(out);
}

CommandResult installBrowserLink(const Environment& e, const Arguments& arguments) {
  return e.installBrowserLink(arguments);
}

}  // namespace

const std::vector<CommandTable::Command>& CommandTable::commands() {
  static const std::vector<Command> kCommands{
      {"status", "[--json]", "The session, what is enforced, browsers and the wall", status},
      {"state", "", "The whole state document, as JSON", state},
      {"start", "", "Start or resume the clock", start},
      {"pause", "", "Pause the clock; blocking lifts", pause},
      {"reset", "", "Back to a clean focus session", reset},
      {"skip", "", "Finish the current phase now", skip},
      {"switch", "focus|shortBreak|longBreak", "Change the phase while stopped", switchType},
      {"focus", "PRESET [--task TEXT]", "Choose a preset and start", focus},
      {"pass", "", "Emergency pass: cancel current session (1 per week)", pass},
      {"stopwatch", "[start|pause|toggle|reset]", "The stopwatch", stopwatch},
      {"countdown", "[start|pause|toggle|reset|set TIME]", "The countdown", countdown},
      {"screen", "pomodoro|stopwatch|countdown", "Which clock the timer shows", screen},
      {"mode", "[brak|soft]", "Allow only a preset's tools, or block only the lists", mode},
      {"settings", "get [KEY] | set KEY VALUE", "The timer's settings", settings},
      {"sites", "list | quick | add|remove|on|off SITE...", "Sites that a session blocks", sites},
      {"apps", "list | add ID [NAME] | remove|on|off ID", "Applications that a session closes",
       apps},
      {"applications", "[--json]", "Applications that can be put on a list",
       commands::applications},
      {"presets", "list | add NAME | ...", "Sets of tools for Brak mode", presets},
      {"modules", "[list] | on|off NAME", "What is on beyond the timer", modules},
      {"missions", "[list] | add|edit|remove|enable|disable ... | undo|redo",
       "Sessions that start by themselves", commands::missions},
      {"schedule", "[on|off] | mode simple|calendar | hard-routine on|off",
       "Whether missions start, which planner's, and how hard", commands::schedule},
      {"next", "", "The next mission", commands::next},
      {"install-browser-link", "[--json]", "Let the browsers on this machine reach Velmora",
       installBrowserLink},
      {"doctor", "[--json]", "What works on this desktop, and what to do about the rest", doctor},
      {"window", "show|hide", "The main window", commands::window},
      {"hud", "move X Y", "Where the mini timer stands", commands::hud},
      {"notice", "dismiss", "Take the notice of a mission's start away", commands::notice},
      {"dock", "on|off", "Show the window among the running applications", commands::dock},
      {"sidebar", "on|off", "The list of pages at the window's side", commands::sidebar},
      {"login", "on|off", "Start Velmora at login", commands::login},
      {"end", "", "Stop the session, after the owner's proof", commands::end},
      {"welcome", "done", "The first run's welcome has been seen", commands::welcome},
      {"alive", "", "A sign of life of whoever draws the windows", commands::alive},
      {"quit", "", "End the program; refused while it is locked", commands::quit},
  };
  return kCommands;
}

CommandResult CommandTable::run(std::string_view name, const Arguments& arguments) const {
  for (const auto& argument : arguments)
    if (!text::isValidUtf8(argument) || argument.find('\0') != std::string::npos)
      return CommandResult::misused("an argument is not text");
  environment_.app.lifecycle.finishLaunching();
  for (const auto& command : commands())
    if (command.name == name) return command.run(environment_, arguments);
  return CommandResult::misused("no command “" + std::string(name) + "” (velmora help)");
}

}  // namespace velmora
