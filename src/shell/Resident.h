#pragma once

#include <string>

#include "core/Lifecycle.h"

namespace velmora {

// Runs the resident program until it is told to end: takes the user's instance lock, opens the
// preferences, hosts an App on the real platform, keeps its window process and serves the control
// channel. When another one is resident already, that one shows its window, unless the launch is a
// silent one. The exit code of the process: 1 with one line on standard error when it can't be
// resident.
int runResident(Lifecycle::Launch launch);

// Where the running program's control socket is; empty when there is no runtime folder.
std::string controlSocketPath();
// The file that the one resident program of a user locks, in its data folder.
std::string instanceLockPath(const std::string& dataFolder);
// What the watchdog of the schedule knows of the missions, in the same folder.
std::string scheduleTablePath(const std::string& dataFolder);

}  // namespace velmora
