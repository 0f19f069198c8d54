#include "shell/LocalCommands.h"

#include <filesystem>

#include "base/Json.h"
#include "base/Text.h"
#include "platform/linux/BrowserInstallations.h"
#include "platform/linux/LaunchAgentFiles.h"
#include "platform/linux/LaunchAgents.h"
#include "platform/linux/Paths.h"
#include "platform/linux/SqlitePreferences.h"
#include "platform/linux/SystemLog.h"

namespace velmora::local {
namespace {

using Kind = BrowserInstallation::Kind;
using Packaging = BrowserInstallation::Packaging;

// The value as scripts need it: bare scalars, a record's JSON as it is, lists and dictionaries as
// JSON.
std::string plainText(const PreferenceValue& value);

json::Value jsonOf(const PreferenceValue& value) {
  return std::visit(
      [](const auto& v) -> json::Value {
        using T = std::decay_t<decltype(v)>;
        if constexpr (std::is_same_v<T, PreferenceValue::Bytes>) {
          const std::string text(v.begin(), v.end());
          if (auto record = json::parse(text)) return *record;
          return json::Value::Object{{"bytes", static_cast<int64_t>(v.size())}};
        } else if constexpr (std::is_same_v<T, PreferenceValue::TextList>) {
          return json::encode(v);
        } else if constexpr (std::is_same_v<T, PreferenceValue::Dictionary>) {
          json::Value::Object out;
          for (const auto& [key, member] : v) out.emplace_back(key, jsonOf(member));
          return out;
        } else {
          return v;
        }
      },
      value.data);
}

std::string plainText(const PreferenceValue& value) {
  if (const auto* b = std::get_if<bool>(&value.data)) return *b ? "1" : "0";
  if (const auto* s = std::get_if<std::string>(&value.data)) return *s;
  if (const auto* b = std::get_if<PreferenceValue::Bytes>(&value.data))
    return std::string(b->begin(), b->end());
  return json::dump(jsonOf(value));
}

const char* typeName(const PreferenceValue& value) {
  static constexpr const char* kNames[] = {"bool",  "integer", "double",    "text",
                                           "bytes", "list",    "dictionary"};
  return kNames[value.data.index()];
}

constexpr const char* kSandboxed =
    " can't start Velmora's link. Install the browser as an ordinary package to have its tabs "
    "blocked.";

// What is left to the user; `what` is to be typed, or copied, as it is.
struct Step {
  std::string text;
  std::string what;
};
using Steps = std::vector<Step>;

Steps stepsInChromium() {
  return {{"Open the page of the extensions", "chrome://extensions"},
          {"Switch on “Developer mode”, choose “Load unpacked” and pick this folder",
           shareFolder() + "/extension"},
          {"For private windows: the extension's “Details”, “Allow in Incognito”", {}}};
}

Steps stepsInFirefox(Packaging packaging) {
  Steps steps{{"Firefox ESR: open about:config and set this to false",
               "xpinstall.signatures.required"},
              {"Then open this file", shareFolder() + "/velmora-browser-link.xpi"},
              {"Other Firefox builds accept only signed add-ons: about:debugging, “This Firefox”, "
               "“Load Temporary Add-on” with the same file, at every start of the browser",
               {}},
              {"For private windows: about:addons, Velmora, “Run in Private Windows”", {}}};
  if (packaging == Packaging::snap)
    steps.insert(steps.begin(),
                 {"This is a snap: Firefox asks once whether Velmora may be started; say yes", {}});
  return steps;
}

// How far the link of a browser got that was found.
struct Linked {
  enum class Outcome { ready, barred, failed };
  BrowserInstallation browser;
  Outcome outcome;
  std::string text;
  Steps steps;
};

Linked linkOne(const BrowserInstallations& browsers, const BrowserInstallation& browser) {
  if (browser.packaging == Packaging::flatpak ||
      (browser.packaging == Packaging::snap && browser.kind == Kind::chromium)) {
    const std::string kind = browser.packaging == Packaging::snap ? "snap" : "flatpak";
    return {browser, Linked::Outcome::barred, "The sandbox of a " + kind + kSandboxed, {}};
  }
  std::string error;
  if (!browsers.link(browser, error)) return {browser, Linked::Outcome::failed, error, {}};
  return {browser, Linked::Outcome::ready, browser.manifestPath(),
          browser.kind == Kind::chromium ? stepsInChromium() : stepsInFirefox(browser.packaging)};
}

std::string textOf(const Linked& row) {
  static constexpr const char* kMarks[] = {"✓", "!", "✗"};
  std::string out = kMarks[static_cast<size_t>(row.outcome)] + (" " + row.browser.name) + ": " + row.text + "\n";
  for (const auto& step : row.steps)
    out += "    " + step.text + (step.what.empty() ? "" : ":\n      " + step.what) + "\n";
  return out;
}

json::Value jsonOf(const Linked& row) {
  json::Value::Array steps;
  for (const auto& [text, what] : row.steps)
    steps.push_back(json::Value::Object{{"text", text}, {"what", what}});
  return json::Value::Object{{"id", row.browser.bundleID},
                             {"name", row.browser.name},
                             {"ready", row.outcome == Linked::Outcome::ready},
                             {"text", row.text},
                             {"steps", std::move(steps)}};
}

}  // namespace

std::string programFolder() {
  std::error_code error;
  return std::filesystem::read_symlink("/proc/self/exe", error).parent_path().string();
}

std::string residentProgram() {
  return programFolder() + "/velmora";
}

std::string shareFolder() {
  return std::filesystem::path(programFolder()).parent_path().string() + "/share/velmora";
}

CommandResult prefs(const std::vector<std::string>& arguments) {
  const bool reads = arguments.size() == 2 && arguments[0] == "read";
  const bool dumps = !arguments.empty() && arguments[0] == "dump" &&
                     (arguments.size() == 1 || (arguments.size() == 2 && arguments[1] == "--json"));
  if (!reads && !dumps) return CommandResult::misused("prefs read KEY | prefs dump [--json]");
  std::string error;
  const auto folder = paths::dataFolder(error);
  if (!folder) return CommandResult::refused(error);
  SystemLog log;
  const auto store = SqlitePreferences::readOnly(*folder + "/preferences.sqlite3", log);
  if (!store) return CommandResult::refused("There are no preferences yet");
  if (reads) {
    const auto value = store->read(arguments[1]);
    if (!value) return CommandResult::refused(arguments[1] + " is not set");
    return CommandResult::done(plainText(*value) + "\n");
  }
  json::Value::Object all;
  std::string lines;
  for (const auto& [key, value] : store->all()) {
    all.emplace_back(key, json::Value::Object{{"type", typeName(value)}, {"value", jsonOf(value)}});
    lines += key + " (" + typeName(value) + ") " + plainText(value) + "\n";
  }
  return CommandResult::done(arguments.size() == 2 ? json::dump(all) + "\n" : lines);
}

CommandResult installBrowserLink(const std::vector<std::string>& arguments) {
  const bool asJson = arguments == std::vector<std::string>{"--json"};
  if (!arguments.empty() && !asJson) return CommandResult::misused("install-browser-link [--json]");
  const std::string host = programFolder() + "/velmora-browser-host";
  const BrowserInstallations browsers(BrowserInstallations::Environment::current(), host);
  const auto found = browsers.find();
  if (found.empty()) return CommandResult::refused("No browser that can be linked was found");
  std::string text;
  json::Value::Array rows;
  bool failed = false;
  for (const auto& browser : found) {
    const Linked row = linkOne(browsers, browser);
    failed = failed || row.outcome == Linked::Outcome::failed;
    text += textOf(row);
    rows.push_back(jsonOf(row));
  }
  return {failed ? 1 : 0, asJson ? json::dump(rows) + "\n" : text,
          failed ? "some browsers could not be linked" : ""};
}

CommandResult installDesktop(const std::vector<std::string>& arguments) {
  if (!arguments.empty()) return CommandResult::misused("install-desktop");
  std::string error;
  const auto data = paths::dataFolder(error);
  if (!data) return CommandResult::refused(error);
  const std::filesystem::path home = std::filesystem::path(*data).parent_path();
  const auto entry = home / "applications/com.velmora.app.desktop";
  if (!writeAgentFile(entry, agents::applicationEntry(residentProgram())))
    return CommandResult::refused(entry.string() + " can't be written");
  std::error_code failed;
  const auto icons = home / "icons/hicolor";
  std::filesystem::create_directories(icons, failed);
  std::filesystem::copy(
      shareFolder() + "/desktop/icons/hicolor", icons,
      std::filesystem::copy_options::recursive | std::filesystem::copy_options::overwrite_existing,
      failed);
  if (failed) return CommandResult::refused(icons.string() + ": " + failed.message());
  // Desktops look again when the folder of a theme has changed.
  std::filesystem::last_write_time(icons, std::filesystem::file_time_type::clock::now(), failed);
  return CommandResult::done(entry.string() + "\n");
}

std::string help() {
  std::string out =
      "velmora                     start Velmora in this terminal, or show the running one\n"
      "velmora --background        start it without its window\n"
      "velmora COMMAND ...         tell the running Velmora what to do\n\n";
  const auto row = [&out](std::string_view name, std::string_view usage, std::string_view text) {
    std::string left = "  " + std::string(name) + " " + std::string(usage);
    if (left.size() < 46) left.resize(46, ' ');
    out += left + " " + std::string(text) + "\n";
  };
  for (const auto& command : CommandTable::commands())
    row(command.name, command.usage, command.help);
  row("watch", "", "Print every change of the state, as JSON lines");
  row("prefs", "read KEY | dump [--json]", "The stored values");
  row("install-desktop", "", "Add Velmora to this user's list of applications");
  row("--gallery", "", "Show every control of the windows in each of its states");
  row("--version", "", "The version");
  out += "\nExit codes: 0 done, 1 refused or failed, 2 wrong usage.\n";
  return out;
}

}  // namespace velmora::local
