#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "platform/linux/InstanceLock.h"

namespace velmora {

// What our own watchers, which stay without anybody holding them, begin with.
namespace detached {

// As fork(): 0 in the child, which has left the terminal, the session and the files of whoever
// started it, and waits for no children of its own.
pid_t fork();
// The lock when it becomes free within a minute; nothing when it does not, or when somebody waits
// for it already.
std::optional<InstanceLock> waitForTurn(const std::string& lock);

}  // namespace detached
}  // namespace velmora
