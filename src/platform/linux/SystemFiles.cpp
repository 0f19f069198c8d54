#include "platform/linux/SystemFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace velmora {
namespace {

constexpr size_t kMostBytes = 1u << 20;

bool writeAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t n = write(fd, bytes.data(), bytes.size());
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return false;
    bytes.remove_prefix(static_cast<size_t>(n));
  }
  return true;
}

std::optional<std::string> readAll(int fd) {
  std::string text;
  char chunk[4096];
  while (text.size() <= kMostBytes) {
    const ssize_t n = read(fd, chunk, sizeof chunk);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return std::nullopt;
    if (n == 0) return text;
    text.append(chunk, static_cast<size_t>(n));
  }
  return std::nullopt;
}

}  // namespace

bool SystemFiles::exists(const std::string& path) const {
  struct stat info;
  return stat(path.c_str(), &info) == 0;
}

std::optional<std::string> SystemFiles::readText(const std::string& path) const {
  // Without O_NONBLOCK a pipe that nobody writes to would hold us up.
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return std::nullopt;
  struct stat info;
  const bool isFile = fstat(fd, &info) == 0 && S_ISREG(info.st_mode);
  auto text = isFile ? readAll(fd) : std::nullopt;
  close(fd);
  return text;
}

bool SystemFiles::writeTextAtomically(const std::string& path, const std::string& text) {
  std::string temporary = path + ".XXXXXX";
  const int fd = mkostemp(temporary.data(), O_CLOEXEC);
  if (fd < 0) return false;
  bool written = writeAll(fd, text) && fsync(fd) == 0;
  written = close(fd) == 0 && written;
  if (written && rename(temporary.c_str(), path.c_str()) == 0) return true;
  unlink(temporary.c_str());
  return false;
}

}  // namespace velmora
