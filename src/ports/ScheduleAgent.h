#pragma once

#include <chrono>
#include <optional>
#include <vector>

namespace velmora {

// What something outside the program must know to start it for a mission: a table that is finished
// when it is handed over and refers to nothing.
struct WatchTable {
  struct Entry {
    enum class Recurrence { once, daily, weekly };
    Recurrence recurrence = Recurrence::once;
    std::optional<std::chrono::local_days> date;   // of one that takes place once
    std::optional<std::chrono::local_days> first;  // range of a series, inclusive
    std::optional<std::chrono::local_days> last;
    std::vector<std::chrono::local_days> excluded;
    std::vector<int> weekdays;  // 1 is Sunday to 7, Saturday; of a weekly one
    int startMinutes = 0;
    int endMinutes = 0;  // exclusive, at most 1440
    bool operator==(const Entry&) const = default;
  };
  std::vector<Entry> entries;
  bool isGuard = false;  // wake every 15 seconds, not at the start minutes only
  bool operator==(const WatchTable&) const = default;
};

// Starts the program with --scheduled-launch when a mission covers the present minute, no pass is
// in force and the program does not run. Works while the program is gone. Called from the queue of
// agents, since each call may wait for other processes; failures are swallowed.
class ScheduleAgent {
 public:
  virtual ~ScheduleAgent() = default;
  // Replaces what is installed; a table equal to the installed one rewrites nothing.
  virtual void install(const WatchTable& table) = 0;
  virtual void remove() = 0;
};

}  // namespace velmora
