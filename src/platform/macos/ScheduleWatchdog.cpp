#include "platform/macos/ScheduleWatchdog.h"

#include <cstdio>
#include <filesystem>
#include <utility>
#include <vector>

#include "platform/macos/AgentTexts.h"

namespace velmora {
namespace {

namespace fs = std::filesystem;
using Entry = WatchTable::Entry;
using std::chrono::local_days;
using std::chrono::year_month_day;

constexpr const char* kLabel = "com.velmora.schedule";
// The number is of the script's format: it changes when the text changes its meaning.
constexpr const char* kScript = "schedule-watchdog-v5.zsh";
constexpr const char* kOldScripts[] = {"schedule-watchdog-v3.zsh", "schedule-watchdog-v4.zsh"};

std::string joined(const std::vector<std::string>& pieces, const char* separator) {
  std::string out;
  for (const auto& piece : pieces) out += (out.empty() ? "" : separator) + piece;
  return out;
}

std::string dateText(local_days day) {
  const year_month_day date(day);
  char text[24];
  std::snprintf(text, sizeof text, "%04d-%02u-%02u", int(date.year()), unsigned(date.month()),
                unsigned(date.day()));
  return text;
}

std::string dateTest(const char* comparison, local_days day) {
  return std::string("[[ \"$iso_date\" ") + comparison + " \"" + dateText(day) + "\" ]]";
}

std::string minutesTest(const Entry& entry) {
  return "minutes >= " + std::to_string(entry.startMinutes) + " && minutes < " +
         std::to_string(entry.endMinutes) + " ))";
}

void addConditions(const Entry& entry, std::vector<std::string>& out) {
  if (entry.recurrence == Entry::Recurrence::once) {
    if (entry.date) out.push_back(dateTest("==", *entry.date) + " && (( " + minutesTest(entry));
    return;
  }
  std::string guards;
  if (entry.first) guards += "! " + dateTest("<", *entry.first) + " && ";
  if (entry.last) guards += "! " + dateTest(">", *entry.last) + " && ";
  for (const auto day : entry.excluded) guards += dateTest("!=", day) + " && ";
  if (entry.recurrence == Entry::Recurrence::daily) {
    out.push_back(guards + "(( " + minutesTest(entry));
    return;
  }
  for (const int weekday : entry.weekdays)
    out.push_back(guards + "(( weekday == " + std::to_string(weekday) + " && " +
                  minutesTest(entry));
}

std::string condition(const WatchTable& table) {
  std::vector<std::string> conditions;
  for (const auto& entry : table.entries) addConditions(entry, conditions);
  return joined(conditions, " || ");
}

std::string number(const char* key, unsigned value) {
  return "        <key>" + std::string(key) + "</key><integer>" + std::to_string(value) +
         "</integer>\n";
}

std::string interval(const std::string& day, const Entry& entry) {
  const auto start = static_cast<unsigned>(entry.startMinutes);
  return "    <dict>\n" + day + number("Hour", start / 60) + number("Minute", start % 60) +
         "    </dict>\n";
}

// One that takes place once has no year here: the script's own test keeps the firings of later
// years harmless. Weekdays keep our numbers, in which Sunday is 1, for the same reason.
std::string intervals(const Entry& entry) {
  if (entry.recurrence == Entry::Recurrence::once) {
    if (!entry.date) return "";
    const year_month_day date(*entry.date);
    return interval(number("Month", unsigned(date.month())) + number("Day", unsigned(date.day())),
                    entry);
  }
  const bool isDaily = entry.recurrence == Entry::Recurrence::daily;
  std::string out;
  for (const int day : isDaily ? std::vector<int>{1, 2, 3, 4, 5, 6, 7} : entry.weekdays)
    out += interval(number("Weekday", static_cast<unsigned>(day)), entry);
  return out;
}

}  // namespace

ScheduleWatchdog::ScheduleWatchdog(Processes& processes, Places places)
    : processes_(processes), places_(std::move(places)) {}

// Where the script looks for a pass. A program outside a bundle has no identifier, and stores under
// the name that the bundle's would have.
std::string ScheduleWatchdog::preferenceDomain() const {
  return places_.preferenceDomain.empty() ? "com.velmora.app" : places_.preferenceDomain;
}

std::string ScheduleWatchdog::scriptPath() const {
  return places_.support + "/" + kScript;
}

std::string ScheduleWatchdog::agentPath() const {
  return places_.agents + "/" + kLabel + ".plist";
}

std::string ScheduleWatchdog::script(const WatchTable& table) const {
  return "#!/bin/zsh\n"
         "pass_until=$(/usr/bin/defaults read " +
         preferenceDomain() +
         " vm_schedule_passUntil 2>/dev/null || /bin/echo 0)\n"
         "now_epoch=$(/bin/date +%s)\n"
         "if [[ \"$pass_until\" == <-> ]] && (( now_epoch < pass_until )); then exit 0; fi\n"
         "weekday=$(( $(/bin/date +%w) + 1 ))\n"
         "hour=$(( 10#$(/bin/date +%H) ))\n"
         "minute=$(( 10#$(/bin/date +%M) ))\n"
         "minutes=$(( hour * 60 + minute ))\n"
         "iso_date=$(/bin/date +%Y-%m-%d)\n"
         "if " +
         condition(table) +
         "; then\n"
         "    /usr/bin/pgrep -x \"Velmora\" >/dev/null 2>&1 || /usr/bin/open -g \"" +
         shellEscaped(places_.bundlePath) +
         "\" --args --scheduled-launch\n"
         "fi";
}

std::string ScheduleWatchdog::propertyList(const WatchTable& table) const {
  std::string rest =
      "    <key>StartInterval</key><integer>15</integer>\n"
      "    <key>RunAtLoad</key><true/>\n"
      "    <key>ProcessType</key><string>Background</string>\n";
  if (!table.isGuard) {
    rest = "    <key>StartCalendarInterval</key><array>\n";
    for (const auto& entry : table.entries) rest += intervals(entry);
    rest += "    </array>\n";
  }
  return std::string(kPropertyListHead) +
         "<plist version=\"1.0\"><dict>\n"
         "    <key>Label</key><string>" +
         kLabel +
         "</string>\n"
         "    <key>ProgramArguments</key><array><string>/bin/zsh</string><string>" +
         xmlEscaped(scriptPath()) + "</string></array>\n" + rest + "</dict></plist>";
}

void ScheduleWatchdog::install(const WatchTable& table) {
  auto script = this->script(table);
  auto propertyList = this->propertyList(table);
  if (script == script_ && propertyList == propertyList_) return;
  std::error_code error;
  fs::create_directories(places_.agents, error);
  unloadAgent();
  fs::create_directories(places_.support, error);
  writeWhole(scriptPath(), script);
  writeWhole(agentPath(), propertyList);
  processes_.run({"/bin/launchctl", "load", agentPath()});
  script_ = std::move(script);
  propertyList_ = std::move(propertyList);
}

// Scripts of earlier versions are left alone by an installation, and go here.
void ScheduleWatchdog::remove() {
  unloadAgent();
  std::error_code error;
  fs::remove(agentPath(), error);
  fs::remove(scriptPath(), error);
  for (const char* old : kOldScripts) fs::remove(places_.support + "/" + old, error);
  script_.clear();
  propertyList_.clear();
}

void ScheduleWatchdog::unloadAgent() {
  processes_.run({"/bin/launchctl", "unload", agentPath()});
}

}  // namespace velmora
