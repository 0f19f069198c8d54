#include "platform/linux/LaunchAgents.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "platform/linux/LaunchAgentFiles.h"
#include "platform/linux/Paths.h"

namespace velmora {
namespace {

bool exists(const std::string& path) {
  return access(path.c_str(), F_OK) == 0;
}

void erase(const std::string& path) {
  unlink(path.c_str());
}

std::string folderOf(const char* variable, const std::string& fallback) {
  const char* value = std::getenv(variable);
  return value && value[0] == '/' ? value : fallback;
}

}  // namespace

bool writeAgentFile(const std::string& path, const std::string& text) {
  std::error_code error;
  std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
  const std::string fresh = path + ".new";
  {
    std::ofstream out(fresh, std::ios::binary | std::ios::trunc);
    if (!(out << text).flush()) return false;
  }
  std::filesystem::rename(fresh, path, error);
  return !error;
}

AgentPlaces AgentPlaces::current(const std::string& program) {
  const auto runtime = folderOf("XDG_RUNTIME_DIR", "/run/user/" + std::to_string(getuid()));
  return {folderOf("XDG_CONFIG_HOME", paths::home() + "/.config"), runtime + "/systemd/private",
          program};
}

std::string AgentPlaces::unit(const std::string& name) const {
  return configHome + "/systemd/user/" + name;
}

std::string AgentPlaces::autostart(const std::string& name) const {
  return configHome + "/autostart/" + name;
}

GuardianAgent::GuardianAgent(AgentPlaces places, Processes& processes)
    : places_(std::move(places)), processes_(processes) {}

bool GuardianAgent::isInstalled() const {
  return exists(places_.unit(agents::kGuardianTimer)) ||
         exists(places_.autostart(agents::kGuardianEntry));
}

void GuardianAgent::install() {
  if (exists(places_.userManager) && installUnits()) {
    erase(places_.autostart(agents::kGuardianEntry));
    return;
  }
  removeUnits();
  writeAgentFile(places_.autostart(agents::kGuardianEntry), agents::guardianEntry(places_.program));
  revive();
}

void GuardianAgent::remove() {
  removeUnits();
  erase(places_.autostart(agents::kGuardianEntry));
}

void GuardianAgent::revive() {
  if (exists(places_.autostart(agents::kGuardianEntry)))
    processes_.run({places_.program, "--watch"});
}

// What the manager starts finds the display by the manager's own variables.
bool GuardianAgent::installUnits() {
  if (!writeAgentFile(places_.unit(agents::kGuardianService),
                      agents::guardianService(places_.program)) ||
      !writeAgentFile(places_.unit(agents::kGuardianTimer), agents::guardianTimer()))
    return false;
  std::vector<std::string> variables{"import-environment"};
  for (const char* name : {"DISPLAY", "XAUTHORITY", "WAYLAND_DISPLAY"})
    if (std::getenv(name)) variables.emplace_back(name);
  if (variables.size() > 1) control(variables);
  return control({"daemon-reload"}) && control({"enable", "--now", agents::kGuardianTimer});
}

void GuardianAgent::removeUnits() {
  const auto timer = places_.unit(agents::kGuardianTimer);
  const auto service = places_.unit(agents::kGuardianService);
  if (!exists(timer) && !exists(service)) return;
  control({"disable", "--now", agents::kGuardianTimer});
  erase(timer);
  erase(service);
  control({"daemon-reload"});
}

bool GuardianAgent::control(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), {"systemctl", "--user"});
  const auto outcome = processes_.run(arguments);
  return outcome && outcome->status == 0;
}

bool LoginAgent::isInstalled() const {
  return exists(places_.autostart(agents::kLaunchEntry));
}

void LoginAgent::install() {
  writeAgentFile(places_.autostart(agents::kLaunchEntry), agents::launchEntry(places_.program));
}

void LoginAgent::remove() {
  erase(places_.autostart(agents::kLaunchEntry));
}

}  // namespace velmora
