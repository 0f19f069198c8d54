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

constexpr const char* kDisplayVariables[] = {"DISPLAY", "XAUTHORITY", "WAYLAND_DISPLAY"};

std::vector<std::string> variablesOfUser() {
  std::vector<std::string> out;
  for (const char* name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME"})
    if (const char* value = std::getenv(name)) out.push_back(name + std::string("=") + value);
  return out;
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
          program, variablesOfUser()};
}

std::string AgentPlaces::unit(const std::string& name) const {
  return configHome + "/systemd/user/" + name;
}

std::string AgentPlaces::autostart(const std::string& name) const {
  return configHome + "/autostart/" + name;
}

bool UserManager::isThere() const {
  return exists(places_.userManager);
}

void UserManager::importDisplay() {
  std::vector<std::string> variables{"import-environment"};
  for (const char* name : kDisplayVariables)
    if (std::getenv(name)) variables.emplace_back(name);
  if (variables.size() > 1) control(variables);
}

bool UserManager::control(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), {"systemctl", "--user"});
  const auto outcome = processes_.run(arguments);
  return outcome && outcome->status == 0;
}

// A name of its own each time: what is left of one that was killed may still be ending.
bool UserManager::startProgram(const std::string& argument) {
  const auto unit = "--unit=app-com.velmora.app@" + std::to_string(getpid()) + ".service";
  std::vector<std::string> words{"systemd-run", "--user", "--quiet", "--collect",
                                 "--service-type=exec", "--slice=app.slice", unit};
  for (const char* name : kDisplayVariables)
    if (std::getenv(name)) words.push_back(std::string("--setenv=") + name);
  for (const auto& variable : places_.variables) words.push_back("--setenv=" + variable);
  words.insert(words.end(), {"--", places_.program, argument});
  const auto outcome = processes_.run(words);
  return outcome && outcome->status == 0;
}

GuardianAgent::GuardianAgent(AgentPlaces places, Processes& processes)
    : places_(places), processes_(processes), manager_(places, processes) {}

bool GuardianAgent::isInstalled() const {
  return exists(places_.unit(agents::kGuardianTimer)) ||
         exists(places_.autostart(agents::kGuardianEntry));
}

void GuardianAgent::install() {
  if (manager_.isThere() && installUnits()) {
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

bool GuardianAgent::installUnits() {
  if (!writeAgentFile(places_.unit(agents::kGuardianService),
                      agents::guardianService(places_.program)) ||
      !writeAgentFile(places_.unit(agents::kGuardianTimer), agents::guardianTimer()))
    return false;
  manager_.importDisplay();
  return manager_.control({"daemon-reload"}) &&
         manager_.control({"enable", "--now", agents::kGuardianTimer});
}

void GuardianAgent::removeUnits() {
  const auto timer = places_.unit(agents::kGuardianTimer);
  const auto service = places_.unit(agents::kGuardianService);
  if (!exists(timer) && !exists(service)) return;
  manager_.control({"disable", "--now", agents::kGuardianTimer});
  erase(timer);
  erase(service);
  manager_.control({"daemon-reload"});
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
