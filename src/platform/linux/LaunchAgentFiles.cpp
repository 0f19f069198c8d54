#include "platform/linux/LaunchAgentFiles.h"

#include <array>
#include <cstdio>

#include "base/Text.h"
#include "platform/linux/ScheduleRules.h"
#include "platform/linux/ScheduleTable.h"

namespace velmora::agents {
namespace {

using Entry = WatchTable::Entry;

// A word of a unit, in which only percent signs stand for values: the program of ExecStart, or a
// variable.
std::string unitWord(const std::string& word) {
  std::string out = "\"";
  for (const char c : word) {
    if (c == '"' || c == '\\') out += '\\';
    out += c;
    if (c == '%') out += c;
  }
  return out + '"';
}

// A word of Exec. First the quoting of the command line, then that of all texts in such a file.
std::string entryWord(const std::string& word) {
  std::string quoted = "\"";
  for (const char c : word) {
    if (c == '"' || c == '\\' || c == '`' || c == '$') quoted += '\\';
    quoted += c;
    if (c == '%') quoted += c;
  }
  return text::replacingAll(quoted + '"', "\\", "\\\\");
}

std::string entry(const std::string& name, const std::string& comment, const std::string& command,
                  const std::string& rest) {
  return "[Desktop Entry]\nType=Application\nName=" + name + "\nComment=" + comment +
         "\nExec=" + command + "\nIcon=com.velmora.app\n" + rest;
}

// Not in menus, and not asked for a window by the desktop.
constexpr char kAtLogin[] = "NoDisplay=true\nStartupNotify=false\nX-GNOME-Autostart-enabled=true\n";

std::string timeText(int minuteOfDay, const char* seconds) {
  std::array<char, 16> text;
  std::snprintf(text.data(), text.size(), "%02d:%02d:", minuteOfDay / 60, minuteOfDay % 60);
  return text.data() + std::string(seconds);
}

// The days of a calendar expression; nothing for an entry that never takes place.
std::optional<std::string> days(const Entry& entry) {
  constexpr std::array kNames{"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  std::string names;
  switch (entry.recurrence) {
    case Entry::Recurrence::once:
      return entry.date ? std::optional(watch::dateText(*entry.date)) : std::nullopt;
    case Entry::Recurrence::daily:
      return "*-*-*";
    case Entry::Recurrence::weekly:
      for (const int day : entry.weekdays)
        if (day >= 1 && day <= 7) names += (names.empty() ? "" : ",") + std::string(kNames[day - 1]);
      return names.empty() ? std::nullopt : std::optional(names + " *-*-*");
  }
  return std::nullopt;
}

std::string calendarLines(const WatchTable& table, Date now, const Calendar& calendar) {
  constexpr const char* kTwice = "00,30\n";
  std::string out;
  for (const auto& entry : table.entries)
    if (const auto on = days(entry))
      out += "OnCalendar=" + *on + " " + timeText(entry.startMinutes, kTwice);
  for (const auto start : watch::startsAfterGaps(table, now, calendar)) {
    const auto day = std::chrono::floor<std::chrono::days>(start);
    const auto minute = std::chrono::floor<std::chrono::minutes>(start - day);
    out += "OnCalendar=" + watch::dateText(day) + " " +
           timeText(static_cast<int>(minute.count()), kTwice);
  }
  return out + "OnClockChange=true\nOnTimezoneChange=true\n";
}

}  // namespace

std::string guardianService(const std::string& program) {
  return "[Unit]\nDescription=Velmora, brought back in a hard session\n\n"
         "[Service]\nExecStart=" +
         unitWord(program) + " --guard\n";
}

// From start to start, so that a program which dies after a while is back at once, and one that
// can't stay is tried again after the whole interval.
std::string guardianTimer() {
  const std::string seconds = std::to_string(kGuardSeconds) + "s\n";
  return "[Unit]\nDescription=Velmora's guardian\n\n[Timer]\nOnActiveSec=" + seconds +
         "OnUnitActiveSec=" + seconds + "AccuracySec=100ms\n\n[Install]\nWantedBy=timers.target\n";
}

std::string guardianEntry(const std::string& program) {
  return entry("Velmora guardian", "Brings Velmora back in a hard session",
               entryWord(program) + " --watch", kAtLogin);
}

std::string scheduleService(const std::string& program,
                            const std::vector<std::string>& variables) {
  std::string out =
      "[Unit]\nDescription=Velmora, started for a mission\n\n"
      "[Service]\nType=oneshot\n";
  for (const auto& variable : variables) out += "Environment=" + unitWord(variable) + "\n";
  return out + "ExecStart=" + unitWord(program) + " --schedule-check\n";
}

std::string scheduleTimer(const WatchTable& table, Date now, const Calendar& calendar) {
  const std::string when =
      table.isGuard ? "OnActiveSec=0\nOnUnitActiveSec=" + std::to_string(kGuardSeconds) + "\n"
                    : calendarLines(table, now, calendar);
  return "[Unit]\nDescription=Velmora's missions\n\n[Timer]\n" + when +
         "AccuracySec=1s\n\n[Install]\nWantedBy=timers.target\n";
}

std::string scheduleEntry(const std::string& program, const std::string& mode) {
  return entry("Velmora missions", "Starts Velmora for a mission", entryWord(program) + " " + mode,
               kAtLogin);
}

std::string launchEntry(const std::string& program) {
  return entry("Velmora", "Starts Velmora at login", entryWord(program), kAtLogin);
}

std::string applicationEntry(const std::string& program) {
  return entry("Velmora", "Timed focus sessions that hold", entryWord(program),
               "Categories=Utility;Office;\nKeywords=focus;timer;pomodoro;block;\n"
               "StartupNotify=true\nStartupWMClass=velmora\n");
}

}  // namespace velmora::agents
