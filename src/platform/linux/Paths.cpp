#include "platform/linux/Paths.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace velmora::paths {
namespace {

// Relative paths in these variables count as unset.
std::string absolute(const char* variable) {
  const char* value = std::getenv(variable);
  return value && value[0] == '/' ? value : "";
}

bool isFolder(const std::string& path) {
  struct stat info;
  return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

// Makes the missing folders of a path, each for this user only.
bool make(const std::string& path) {
  if (isFolder(path)) return true;
  const size_t slash = path.rfind('/');
  if (slash != std::string::npos && slash > 0 && !make(path.substr(0, slash))) return false;
  return mkdir(path.c_str(), 0700) == 0 || errno == EEXIST;
}

// Others may have put anything at a path that they can guess.
bool isOurs(const std::string& path) {
  struct stat info;
  if (lstat(path.c_str(), &info) != 0) return false;
  errno = EPERM;
  if (!S_ISDIR(info.st_mode) || info.st_uid != geteuid()) return false;
  return (info.st_mode & 077) == 0 || chmod(path.c_str(), 0700) == 0;
}

std::optional<std::string> made(const std::string& path, std::string& error) {
  if (make(path) && isOurs(path)) return path;
  error = path + ": " + std::strerror(errno);
  return std::nullopt;
}

}  // namespace

std::string home() {
  if (auto path = absolute("HOME"); !path.empty()) return path;
  const passwd* entry = getpwuid(geteuid());
  return entry && entry->pw_dir ? entry->pw_dir : "";
}

std::optional<std::string> dataFolder(std::string& error) {
  std::string base = absolute("XDG_DATA_HOME");
  if (base.empty()) {
    base = home();
    if (base.empty()) {
      error = "this user has no home folder";
      return std::nullopt;
    }
    base += "/.local/share";
  }
  return made(base + "/velmora", error);
}

std::optional<std::string> runtimeFolder(std::string& error) {
  const std::string user = std::to_string(geteuid());
  for (const auto& base : {absolute("XDG_RUNTIME_DIR"), "/run/user/" + user})
    if (!base.empty() && isFolder(base)) return made(base + "/velmora", error);
  const auto base = made("/tmp/velmora-" + user, error);
  return base ? made(*base + "/velmora", error) : std::nullopt;
}

}  // namespace velmora::paths
