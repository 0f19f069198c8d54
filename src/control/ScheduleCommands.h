#pragma once

#include "control/DesktopCommands.h"

// The commands about missions and the schedule as a whole. What hard routine holds, and the mission
// that runs, they refuse to change.
namespace velmora::commands {

CommandResult missions(const Environment& e, const Arguments& arguments);
CommandResult schedule(const Environment& e, const Arguments& arguments);
CommandResult next(const Environment& e, const Arguments& arguments);

}  // namespace velmora::commands
