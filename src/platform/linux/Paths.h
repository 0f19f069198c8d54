#pragma once

#include <optional>
#include <string>

namespace velmora {

// Where this user's files are. Each function makes its folder with mode 0700 when it is missing,
// and gives nothing, with the reason in `error`, when there can be none.
namespace paths {

// $XDG_DATA_HOME/velmora, by default ~/.local/share/velmora: the store, the log of the watchers.
std::optional<std::string> dataFolder(std::string& error);
// velmora/ in $XDG_RUNTIME_DIR, else in /run/user/<uid>, else in /tmp/velmora-<uid>; for sockets.
// Always a real folder of this user's that nobody else can enter.
std::optional<std::string> runtimeFolder(std::string& error);
// This user's home folder by $HOME, else by the user database; empty when neither knows it.
std::string home();

}  // namespace paths
}  // namespace velmora
