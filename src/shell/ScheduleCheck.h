#pragma once

#include <string>

namespace velmora {

// Starts the resident program at `program` for a mission, without its window, when all of this
// holds: no pass is in force in the store, a mission of the watchdog's table covers this moment,
// nobody holds the user's instance lock, and there is a display. It runs as a unit of the systemd
// user manager where there is one. Waits two seconds at the most for a store that is being written.
// A store that can't be read holds no pass; a table that can't be read holds no mission, and says
// so in the log. The exit code of the process: 1 when what had to be started can't be.
int runScheduleCheck(const std::string& program);

// Becomes a process of its own that does the same now, at each start of a mission, when the table,
// the clock or the zone is changed, and in a hard routine every 15 seconds. It ends when its
// autostart entry is gone, or its display is for ten seconds. One of a user at a time: the next
// waits a minute for it to end, further ones do not. Returns at once, with the exit code of the
// process that called it.
int runScheduleWatch(const std::string& program);

}  // namespace velmora
