#pragma once

#include <string>
#include <utility>
#include <vector>

#include "ports/LaunchAgent.h"
#include "ports/Processes.h"

namespace velmora {

// Where the desktop keeps what it starts by itself.
struct AgentPlaces {
  std::string configHome;   // $XDG_CONFIG_HOME or its default
  std::string userManager;  // the private socket of the systemd user manager
  std::string program;      // the resident program's path
  // "NAME=value": where this process was told to keep its files. The user manager may not know.
  std::vector<std::string> variables{};
  // Of this process.
  static AgentPlaces current(const std::string& program);

  std::string unit(const std::string& name) const;
  std::string autostart(const std::string& name) const;
};

// The systemd user manager, where a user has one.
class UserManager {
 public:
  // `processes` outlives this object.
  UserManager(const AgentPlaces& places, Processes& processes)
      : places_(places), processes_(processes) {}
  bool isThere() const;
  // Lets what the manager starts find the display that we have.
  void importDisplay();
  // `systemctl --user` with these; whether it obeyed.
  bool control(std::vector<std::string> arguments);
  // Runs the program with this argument as a unit of its own, which outlives whoever asks. False
  // when it can't.
  bool startProgram(const std::string& argument);

 private:
  const AgentPlaces places_;
  Processes& processes_;
};

// Brings the program back every 15 seconds when it is gone: a timer of the systemd user manager,
// or, where there is none or it refuses, a watcher process of our own, which the desktop starts at
// login and which ends by itself when it finds its autostart entry removed. The existence of either
// file is the setting.
class GuardianAgent final : public LaunchAgent {
 public:
  // `processes` outlives this object.
  GuardianAgent(AgentPlaces places, Processes& processes);
  bool isInstalled() const override;
  void install() override;
  void remove() override;
  // Starts the watcher if it is installed: the login that should have done so may know no
  // autostart. One that runs already stays alone.
  void revive();

 private:
  bool installUnits();
  void removeUnits();

  const AgentPlaces places_;
  Processes& processes_;
  UserManager manager_;
};

// Starts the program at login, by an autostart entry.
class LoginAgent final : public LaunchAgent {
 public:
  explicit LoginAgent(AgentPlaces places) : places_(std::move(places)) {}
  bool isInstalled() const override;
  void install() override;
  void remove() override;

 private:
  const AgentPlaces places_;
};

// Writes a whole file or nothing, making its folder. False when it can't be.
bool writeAgentFile(const std::string& path, const std::string& text);

}  // namespace velmora
