#include "platform/linux/LaunchAgentFiles.h"

#include "base/Text.h"

namespace velmora::agents {
namespace {

// The program of ExecStart, in which only percent signs stand for values.
std::string unitProgram(const std::string& word) {
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

}  // namespace

std::string guardianService(const std::string& program) {
  return "[Unit]\nDescription=Velmora, brought back in a hard session\n\n"
         "[Service]\nExecStart=" +
         unitProgram(program) + " --guard\n";
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

std::string launchEntry(const std::string& program) {
  return entry("Velmora", "Starts Velmora at login", entryWord(program), kAtLogin);
}

std::string applicationEntry(const std::string& program) {
  return entry("Velmora", "Timed focus sessions that hold", entryWord(program),
               "Categories=Utility;Office;\nKeywords=focus;timer;pomodoro;block;\n"
               "StartupNotify=true\nStartupWMClass=velmora\n");
}

}  // namespace velmora::agents
