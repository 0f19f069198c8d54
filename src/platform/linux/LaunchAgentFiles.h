#pragma once

#include <string>
#include <vector>

#include "base/Calendar.h"
#include "ports/ScheduleAgent.h"

namespace velmora {

// The texts by which a desktop is told to start the program, and where they belong. Every text
// names the program by its path, whatever characters that has.
namespace agents {

inline constexpr const char* kGuardianService = "com.velmora.guardian.service";
inline constexpr const char* kGuardianTimer = "com.velmora.guardian.timer";
inline constexpr const char* kGuardianEntry = "com.velmora.guardian.desktop";
inline constexpr const char* kLaunchEntry = "com.velmora.launch.desktop";
inline constexpr const char* kScheduleService = "com.velmora.schedule.service";
inline constexpr const char* kScheduleTimer = "com.velmora.schedule.timer";
// At login: one look, where the units do the rest, or the watcher.
inline constexpr const char* kScheduleCheckEntry = "com.velmora.schedule.desktop";
inline constexpr const char* kScheduleWatchEntry = "com.velmora.schedule-watch.desktop";
inline constexpr int kGuardSeconds = 15;

// Units of the systemd user manager: every kGuardSeconds, `program --guard`.
std::string guardianService(const std::string& program);
std::string guardianTimer();
// What a desktop session starts at login: the watcher, and the program itself.
std::string guardianEntry(const std::string& program);
std::string launchEntry(const std::string& program);
// `program --schedule-check`, with these variables ("NAME=value") besides the manager's own.
std::string scheduleService(const std::string& program,
                            const std::vector<std::string>& variables);
// Every kGuardSeconds, or at the start minutes and whenever the clock or the zone is changed; half
// a minute after each start once more, should the clock have been set back a little. `calendar` and
// `now` tell which starts of the year to come fall into a gap of the clock.
std::string scheduleTimer(const WatchTable& table, Date now, const Calendar& calendar);
// What a desktop session starts at login: --schedule-check or --schedule-watch.
std::string scheduleEntry(const std::string& program, const std::string& mode);
// The program in the desktop's list of applications.
std::string applicationEntry(const std::string& program);

}  // namespace agents
}  // namespace velmora
