#include "platform/linux/Spawn.h"

#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

#include <csignal>

namespace velmora {
namespace {

// The C interface wants pairs of init and destroy.
struct Setup {
  Setup() {
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
  }
  ~Setup() {
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
  }
  posix_spawn_file_actions_t actions;
  posix_spawnattr_t attributes;
};

void resetSignals(posix_spawnattr_t& attributes) {
  sigset_t none;
  sigset_t all;
  sigemptyset(&none);
  sigfillset(&all);
  posix_spawnattr_setsigmask(&attributes, &none);
  posix_spawnattr_setsigdefault(&attributes, &all);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
}

}  // namespace

std::optional<pid_t> spawn(const std::vector<std::string>& arguments, int output,
                           ErrorOutput errors) {
  if (arguments.empty()) return std::nullopt;
  std::vector<char*> argv;
  for (const auto& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);

  Setup setup;
  auto* actions = &setup.actions;
  if (output >= 0)
    posix_spawn_file_actions_adddup2(actions, output, STDOUT_FILENO);
  else
    posix_spawn_file_actions_addopen(actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  if (errors == ErrorOutput::thrownAway)
    posix_spawn_file_actions_addopen(actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addclosefrom_np(actions, STDERR_FILENO + 1);
  resetSignals(setup.attributes);

  pid_t pid = 0;
  const int error = posix_spawnp(&pid, argv[0], actions, &setup.attributes, argv.data(), environ);
  return error == 0 ? std::optional(pid) : std::nullopt;
}

}  // namespace velmora
