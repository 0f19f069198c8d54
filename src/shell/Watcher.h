#pragma once

#include <string>

namespace velmora {

// Becomes a process of its own that every 15 seconds starts the resident program at `program` when
// nobody holds the user's instance lock. It ends when the guardian's autostart entry is gone, or
// the display that it was started for. One of a user at a time: the next waits a minute for it to
// end, further ones do not. Returns at once, with the exit code of the process that called it.
int runWatcher(const std::string& program);

}  // namespace velmora
