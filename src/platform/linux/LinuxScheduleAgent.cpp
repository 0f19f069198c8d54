#include "platform/linux/LinuxScheduleAgent.h"

#include <unistd.h>

#include <utility>

#include "platform/linux/LaunchAgentFiles.h"
#include "platform/linux/ScheduleTable.h"
#include "platform/linux/SystemFiles.h"

namespace velmora {
namespace {

enum class Written { no, asBefore, anew };

Written put(const std::string& path, const std::string& text) {
  if (SystemFiles().readText(path) == text) return Written::asBefore;
  return writeAgentFile(path, text) ? Written::anew : Written::no;
}

// Whether there was one.
bool erase(const std::string& path) {
  return unlink(path.c_str()) == 0;
}

}  // namespace

LinuxScheduleAgent::LinuxScheduleAgent(AgentPlaces places, std::string table, Processes& processes,
                                       const Clock& clock)
    : places_(places),
      table_(std::move(table)),
      processes_(processes),
      clock_(clock),
      manager_(std::move(places), processes) {}

void LinuxScheduleAgent::install(const WatchTable& table) {
  const std::string text = watch::tableText(table);
  SystemFiles files;
  if (files.readText(table_) != text) files.writeTextAtomically(table_, text);
  const auto watcher = places_.autostart(agents::kScheduleWatchEntry);
  const auto check = places_.autostart(agents::kScheduleCheckEntry);
  if (manager_.isThere() && installUnits(table)) {
    erase(watcher);
    put(check, agents::scheduleEntry(places_.program, "--schedule-check"));
    isInForce_ = true;
    return;
  }
  removeUnits();
  erase(check);
  // A watcher that runs sees the new table by itself.
  const auto entry = agents::scheduleEntry(places_.program, "--schedule-watch");
  if (put(watcher, entry) == Written::anew || !isInForce_)
    processes_.run({places_.program, "--schedule-watch"});
  isInForce_ = true;
}

void LinuxScheduleAgent::remove() {
  removeUnits();
  erase(places_.autostart(agents::kScheduleWatchEntry));
  erase(places_.autostart(agents::kScheduleCheckEntry));
  erase(table_);
  isInForce_ = false;
}

bool LinuxScheduleAgent::installUnits(const WatchTable& table) {
  const auto service = put(places_.unit(agents::kScheduleService),
                           agents::scheduleService(places_.program, places_.variables));
  const auto timer = put(places_.unit(agents::kScheduleTimer),
                         agents::scheduleTimer(table, clock_.now(), Calendar(clock_.zone())));
  if (service == Written::no || timer == Written::no) return false;
  const bool isNew = service == Written::anew || timer == Written::anew;
  if (!isNew && isInForce_) return true;
  manager_.importDisplay();
  return manager_.control({"daemon-reload"}) &&
         manager_.control({"enable", agents::kScheduleTimer}) &&
         manager_.control({isNew ? "restart" : "start", agents::kScheduleTimer});
}

void LinuxScheduleAgent::removeUnits() {
  const auto timer = places_.unit(agents::kScheduleTimer);
  const auto service = places_.unit(agents::kScheduleService);
  if (access(timer.c_str(), F_OK) != 0 && access(service.c_str(), F_OK) != 0) return;
  manager_.control({"disable", "--now", agents::kScheduleTimer});
  erase(timer);
  erase(service);
  manager_.control({"daemon-reload"});
}

}  // namespace velmora
