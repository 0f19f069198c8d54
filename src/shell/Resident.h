#pragma once

#include <string>

namespace velmora {

// Runs the resident program until it is told to end: takes the user's instance lock, opens the
// preferences, hosts an App on the real platform and serves the control channel. The exit code of
// the process: 1 with one line on standard error when it can't be resident.
int runResident();

// Where the running program's control socket is; empty when there is no runtime folder.
std::string controlSocketPath();

}  // namespace velmora
