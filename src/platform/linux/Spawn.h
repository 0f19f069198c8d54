#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace velmora {

// What becomes of the standard error of a program that is started.
enum class ErrorOutput { thrownAway, shared };

// Starts a program found by the PATH with standard input thrown away, standard output going to
// `output` (also thrown away when negative), no signal blocked or ignored, and no other descriptor
// of ours. The caller waits for it, and its thread is the one that the program calls its parent: a
// program that asks to die with its parent dies with that thread. Nothing when it can't be started.
std::optional<pid_t> spawn(const std::vector<std::string>& arguments, int output = -1,
                           ErrorOutput errors = ErrorOutput::thrownAway);

}  // namespace velmora
