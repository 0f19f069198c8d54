#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "platform/linux/DisplayWatch.h"
#include "shell/ControlClient.h"
#include "shell/LocalCommands.h"
#include "shell/Resident.h"
#include "shell/ScheduleCheck.h"
#include "shell/Watcher.h"

namespace {

using velmora::CommandResult;
using Launch = velmora::Lifecycle::Launch;
using Words = std::vector<std::string>;

int show(const CommandResult& result) {
  std::fwrite(result.output.data(), 1, result.output.size(), stdout);
  std::fflush(stdout);
  if (result.status == 0) return 0;
  const char* prefix = result.status == 2 ? "velmora: usage: velmora " : "velmora: ";
  const std::string hint = result.hint.empty() ? "" : " (" + result.hint + ")";
  std::fprintf(stderr, "%s%s%s\n", prefix, result.error.c_str(), hint.c_str());
  return result.status;
}

// Asked of a person only; a script has made up its mind.
bool isPassConfirmed() {
  if (isatty(STDIN_FILENO) == 0) return true;
  std::printf(
      "Use your Emergency Pass?\nYou only get 1 per week. Save it for real emergencies.\n"
      "Cancel session? [y/N] ");
  std::fflush(stdout);
  std::string answer;
  std::getline(std::cin, answer);
  return answer == "y" || answer == "Y" || answer == "yes";
}

CommandResult tellTheRunningOne(const std::string& command, const Words& arguments) {
  auto client = velmora::ControlClient::connect(velmora::controlSocketPath());
  if (!client) return CommandResult::refused("Velmora is not running. Start it with: velmora");
  if (command == "watch")
    return client->follow([](std::string_view line) {
      return std::fwrite(line.data(), 1, line.size(), stdout) == line.size() &&
             std::fputc('\n', stdout) != EOF && std::fflush(stdout) == 0;
    });
  if (command == "pass" && !isPassConfirmed()) return CommandResult::refused("Not used");
  return client->run(command, arguments);
}

// Started by the system in the background, again and again: a program without a display would hold
// the lock and enforce nothing, so it is left to a time when there is one.
int guard() {
  if (!velmora::DisplayWatch::canReach()) return 0;
  return velmora::runResident(Launch::silent);
}

int showGallery() {
  const std::string program = velmora::local::programFolder() + "/velmora-window";
  execl(program.c_str(), program.c_str(), "--gallery", nullptr);
  return show(CommandResult::refused(program + " can't be started"));
}

}  // namespace

int main(int argc, char** argv) {
  const Words words(argv + 1, argv + argc);
  if (words.empty()) return velmora::runResident(Launch::shown);
  const std::string& command = words.front();
  const Words arguments(words.begin() + 1, words.end());
  // Given by whoever starts the program for a mission, and by whoever brings it back.
  if (command == "--scheduled-launch" || command == "--background")
    return velmora::runResident(Launch::silent);
  if (command == "--guard") return guard();
  if (command == "--watch") return velmora::runWatcher(velmora::local::residentProgram());
  if (command == "--schedule-check")
    return velmora::runScheduleCheck(velmora::local::residentProgram());
  if (command == "--schedule-watch")
    return velmora::runScheduleWatch(velmora::local::residentProgram());
  if (command == "--gallery") return showGallery();
  if (command == "--version") return show(CommandResult::done("velmora " VELMORA_VERSION "\n"));
  if (command == "help" || command == "--help" || command == "-h")
    return show(CommandResult::done(velmora::local::help()));
  if (command == "prefs") return show(velmora::local::prefs(arguments));
  if (command == "install-browser-link") return show(velmora::local::installBrowserLink(arguments));
  if (command == "install-desktop") return show(velmora::local::installDesktop(arguments));
  return show(tellTheRunningOne(command, arguments));
}
