#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "shell/ControlClient.h"
#include "shell/LocalCommands.h"
#include "shell/Resident.h"

namespace {

using velmora::CommandResult;
using Words = std::vector<std::string>;

int show(const CommandResult& result) {
  std::fwrite(result.output.data(), 1, result.output.size(), stdout);
  std::fflush(stdout);
  if (result.status == 0) return 0;
  const char* prefix = result.status == 2 ? "velmora: usage: velmora " : "velmora: ";
  std::fprintf(stderr, "%s%s\n", prefix, result.error.c_str());
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

}  // namespace

int main(int argc, char** argv) {
  Words words(argv + 1, argv + argc);
  // Given by whoever starts the program for a mission: it then starts without a window.
  std::erase(words, "--scheduled-launch");
  if (words.empty()) return velmora::runResident();
  const std::string command = words.front();
  const Words arguments(words.begin() + 1, words.end());
  if (command == "--version") return show(CommandResult::done("velmora " VELMORA_VERSION "\n"));
  if (command == "help" || command == "--help" || command == "-h")
    return show(CommandResult::done(velmora::local::help()));
  if (command == "prefs") return show(velmora::local::prefs(arguments));
  if (command == "install-browser-link") return show(velmora::local::installBrowserLink(arguments));
  return show(tellTheRunningOne(command, arguments));
}
