#include "control/DesktopCommands.h"

#include <cmath>
#include <optional>

#include "base/Text.h"
#include "control/SettingsTable.h"

namespace velmora::commands {
namespace {

// Points on the desktop; far more than any has.
std::optional<double> coordinate(std::string_view text) {
  const auto value = json::parse(text);
  const auto number = value ? value->asNumber() : std::nullopt;
  return number && std::abs(*number) <= 100000 ? number : std::nullopt;
}

std::string onOff(bool on) {
  return line(on ? "on" : "off");
}

}  // namespace

CommandResult hardRefusal() {
  return CommandResult::refused(
      "HARDCORE — STAY FOCUSED: the emergency pass is the only way out", "velmora pass");
}

std::string line(std::string text) {
  return text + "\n";
}

std::string jsonLine(const json::Value& value) {
  return line(json::dump(value));
}

std::string joined(const Arguments& words, size_t from) {
  std::string out;
  for (size_t i = from; i < words.size(); ++i) out += (i == from ? "" : " ") + words[i];
  return out;
}

bool takeFlag(Arguments& arguments, std::string_view flag) {
  return std::erase(arguments, flag) > 0;
}

const FocusPreset* findPreset(const Environment& e, std::string_view name) {
  if (const auto id = Uuid::parse(name)) return e.app.presets.find(*id);
  const std::string wanted = text::lowercased(text::trim(name));
  for (const auto& preset : e.app.presets.presets.get())
    if (text::lowercased(preset.name) == wanted) return &preset;
  return nullptr;
}

CommandResult applications(const Environment& e, const Arguments& arguments) {
  Arguments rest = arguments;
  const bool asJson = takeFlag(rest, "--json");
  if (!rest.empty()) return CommandResult::misused("applications [--json]");
  json::Value::Array list;
  std::string lines;
  for (const auto& app : e.app.appBlocker.pickableApps()) {
    if (asJson)
      list.push_back(
          json::Value::Object{{"id", app.bundleID}, {"name", app.name}, {"icon", app.icon}});
    else
      lines += line(app.name + " (" + app.bundleID + ")");
  }
  e.app.appBlocker.preloadInstalledApps();
  return CommandResult::done(asJson ? jsonLine(std::move(list)) : lines);
}

CommandResult window(const Environment& e, const Arguments& arguments) {
  const std::string verb = joined(arguments);
  if (verb == "show")
    e.app.lifecycle.showWindow();
  else if (verb == "hide")
    e.app.lifecycle.hideWindow();
  else
    return CommandResult::misused("window show|hide");
  return CommandResult::done();
}

CommandResult hud(const Environment& e, const Arguments& arguments) {
  if (arguments.size() == 3 && arguments[0] == "move") {
    const auto x = coordinate(arguments[1]);
    const auto y = coordinate(arguments[2]);
    if (x && y) return e.app.screens.moveHUD({*x, *y}), CommandResult::done();
  }
  return CommandResult::misused("hud move X Y");
}

CommandResult notice(const Environment& e, const Arguments& arguments) {
  if (joined(arguments) != "dismiss") return CommandResult::misused("notice dismiss");
  e.app.screens.dismissScheduledTransition();
  return CommandResult::done();
}

CommandResult dock(const Environment& e, const Arguments& arguments) {
  if (arguments.empty()) return CommandResult::done(onOff(e.app.lifecycle.showsInDock.isOn.get()));
  bool show = false;
  if (!parseSwitch(joined(arguments), show)) return CommandResult::misused("dock [on|off]");
  e.app.lifecycle.applyDockPolicy(show);
  return CommandResult::done();
}

CommandResult sidebar(const Environment& e, const Arguments& arguments) {
  StoredSwitch& shows = e.app.lifecycle.showsSidebar;
  if (arguments.empty()) return CommandResult::done(onOff(shows.isOn.get()));
  bool on = false;
  if (!parseSwitch(joined(arguments), on)) return CommandResult::misused("sidebar [on|off]");
  shows.set(on);
  return CommandResult::done();
}

CommandResult login(const Environment& e, const Arguments& arguments) {
  if (arguments.empty()) return CommandResult::done(onOff(e.app.launchAtLogin.isEnabled.get()));
  bool on = false;
  if (!parseSwitch(joined(arguments), on)) return CommandResult::misused("login [on|off]");
  if (on)
    e.app.launchAtLogin.enable();
  else
    e.app.launchAtLogin.disable();
  return CommandResult::done();
}

CommandResult end(const Environment& e, const Arguments&) {
  if (e.app.lifecycle.isSessionHard()) return hardRefusal();
  if (!e.app.timer.isSessionActive.get()) return CommandResult::refused("No session to stop");
  if (!e.authentication.canAsk())
    return CommandResult::refused(
        "Nothing on this computer can ask for the proof that stops a session", "velmora doctor");
  e.app.lifecycle.endSessionWithAuth();
  return CommandResult::done(line("The session stops when you have proved to be the owner."));
}

CommandResult welcome(const Environment& e, const Arguments& arguments) {
  if (joined(arguments) != "done") return CommandResult::misused("welcome done");
  e.app.lifecycle.hasSeenWelcome.set(true);
  return CommandResult::done();
}

CommandResult alive(const Environment& e, const Arguments&) {
  e.app.lifecycle.noteWindowSign();
  return CommandResult::done();
}

CommandResult quit(const Environment& e, const Arguments&) {
  if (e.app.lifecycle.isSessionHard()) return hardRefusal();
  if (e.app.lifecycle.isLocked())
    return CommandResult::refused("🛡 Brak Porn protection active: Velmora runs until it ends");
  e.quit();
  return CommandResult::done();
}

}  // namespace velmora::commands
