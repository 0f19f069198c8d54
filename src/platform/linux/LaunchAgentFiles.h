#pragma once

#include <string>
#include <vector>

namespace velmora {

// The texts by which a desktop is told to start the program, and where they belong. Every text
// names the program by its path, whatever characters that has.
namespace agents {

inline constexpr const char* kGuardianService = "com.velmora.guardian.service";
inline constexpr const char* kGuardianTimer = "com.velmora.guardian.timer";
inline constexpr const char* kGuardianEntry = "com.velmora.guardian.desktop";
inline constexpr const char* kLaunchEntry = "com.velmora.launch.desktop";
inline constexpr int kGuardSeconds = 15;

// Units of the systemd user manager: every kGuardSeconds, `program --guard`.
std::string guardianService(const std::string& program);
std::string guardianTimer();
// What a desktop session starts at login: the watcher, and the program itself.
std::string guardianEntry(const std::string& program);
std::string launchEntry(const std::string& program);
// The program in the desktop's list of applications.
std::string applicationEntry(const std::string& program);

}  // namespace agents
}  // namespace velmora
